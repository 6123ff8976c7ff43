// CDib: header arithmetic, BMP files (checked against PIL and ImageMagick),
// bad input, sections and palettes.
#include "image/dib.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "image/dib_ex.h"
#include "image_test_util.h"
#include "platform/file.h"
#include "tests/support/test_support.h"

namespace {

using image_test::ReadAll;
using image_test::RunPil;

class DibTest : public testing_support::DeviceTest {
 protected:
  std::string Path(const char* name) { return root_ + "/" + name; }
  // Writes raw bytes as a file and reads it with CDib::Read.
  int ReadBytes(CDib& dib, const std::string& bytes) {
    WriteHostFile(Path("in.bmp"), bytes);
    CFile file;
    if (!file.Open(L"\\in.bmp", CFile::modeRead)) return -1;
    return dib.Read(&file);
  }
};

std::string BmpBytes(int width, int height, int bits, DWORD clrUsed = 0) {
  CDibEx dib;
  dib.Create(CSize(width, height), bits, int(clrUsed ? clrUsed : 256), bits == 8 && !clrUsed, 7);
  std::string out(14 + dib.GetSizeHeader() + dib.GetSizeImage(), '\0');
  BITMAPFILEHEADER fh{0x4D42, 0, 0, 0, DWORD(14 + dib.GetSizeHeader())};
  std::memcpy(out.data(), &fh, 14);
  std::memcpy(out.data() + 14, dib.m_infoHeader, dib.GetSizeHeader());
  std::memcpy(out.data() + 14 + dib.GetSizeHeader(), dib.m_imageBits, dib.GetSizeImage());
  return out;
}

// Offsets of header fields in a BMP file, and a field written at one.
enum : int { kOffBits = 10, kSize = 14, kWidth = 18, kHeight = 22, kBits = 28 };
enum : int { kCompression = 30, kSizeImage = 34, kClrUsed = 46 };
struct Field {
  int at;
  uint32_t value;
  int bytes = 4;
};
void Patch(std::string& bytes, const std::vector<Field>& fields) {
  for (const Field& f : fields) std::memcpy(bytes.data() + f.at, &f.value, size_t(f.bytes));
}

// The packed DIB (header, table, pixels) of a BMP file, 4-byte aligned.
std::vector<uint32_t> PackedDib(const std::string& bmp) {
  std::vector<uint32_t> block((bmp.size() - 14 + 3) / 4);
  std::memcpy(block.data(), bmp.data() + 14, bmp.size() - 14);
  return block;
}

TEST_F(DibTest, MetricsSectionPaletteAndAttachedMemory) {
  CDib colour(CSize(640, 480), 24), mono(CSize(33, 2), 1), palette(CSize(3, 3), 8);
  EXPECT_EQ(colour.GetSizeImage(), 921600);
  EXPECT_EQ(colour.m_colorTable, reinterpret_cast<BYTE*>(colour.m_infoHeader) + 40);
  EXPECT_EQ(mono.GetSizeImage(), 16);  // 8-byte rows
  EXPECT_EQ(mono.m_colorEntries, 2);
  EXPECT_EQ(palette.GetSizeHeader(), 1064);
  // A section gives the pixels only to a header without them.
  const HBITMAP section = palette.CreateSection();
  ASSERT_NE(section, nullptr);
  EXPECT_EQ(palette.CreateSection(), nullptr);
  EXPECT_EQ(palette.m_sectionBitmap, section);
  EXPECT_EQ(CDib().CreateSection(), nullptr);
  // The palette comes from the colour table.
  CDibEx table;
  table.Create(CSize(2, 2), 8, 3, FALSE, 0);
  reinterpret_cast<RGBQUAD*>(table.m_colorTable)[2] = RGBQUAD{10, 20, 30, 0};
  ASSERT_TRUE(table.MakePalette());
  PALETTEENTRY entries[3];
  ASSERT_EQ(GetPaletteEntries(table.m_palette, 0, 3, entries), 3u);
  EXPECT_EQ(entries[2].peRed + 256 * entries[2].peBlue, 30 + 256 * 10);
  CDibEx noTable;
  noTable.Create(CSize(2, 2), 24, 0, FALSE, 0);
  EXPECT_FALSE(noTable.MakePalette());
  // A packed DIB is adopted, not freed; a global one is reported.
  auto block = PackedDib(BmpBytes(4, 2, 8, 17));
  CDib dib;
  EXPECT_TRUE(dib.AttachMemory(block.data()));
  EXPECT_EQ(dib.m_colorEntries, 17);
  EXPECT_EQ(dib.m_imageBits, reinterpret_cast<BYTE*>(block.data()) + 40 + 68);
  EXPECT_NE(dib.m_palette, nullptr);
  dib.Empty();
  EXPECT_EQ(boxes_.size(), 0u);
  dib.AttachMemory(block.data(), TRUE, reinterpret_cast<void*>(0x1234));
  dib.Empty();
  EXPECT_EQ(boxes_.LastText(), L"Not Supported in WinCE. E-514");
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
}

// The file header counts only the headers and the table; writing what was
// read gives the same bytes, also through an archive.
TEST_F(DibTest, WriteReadWriteIsByteExact) {
  for (int bits : {8, 24}) {
    CDibEx dib;
    dib.Create(CSize(7, 5), bits, 256, TRUE, 0);
    for (int i = 0; i < dib.GetSizeImage(); ++i) dib.m_imageBits[i] = BYTE(i * 37);
    CString first(L"\\a.bmp"), second(L"\\b.bmp");
    ASSERT_TRUE(dib.WriteBMP(first));
    const std::string bytes = ReadAll(Path("a.bmp"));
    const DWORD tableBytes = bits == 8 ? 1024 : 0;
    ASSERT_EQ(bytes.size(), 54u + tableBytes + size_t(dib.GetSizeImage()));
    BITMAPFILEHEADER fh;
    std::memcpy(&fh, bytes.data(), 14);
    EXPECT_EQ((std::vector<DWORD>{fh.bfType, DWORD(fh.bfOffBits), DWORD(fh.bfSize)}),
              (std::vector<DWORD>{0x4D42, 54 + tableBytes, 54 + tableBytes}));
    CDibEx back;
    ASSERT_TRUE(back.ReadBMP(first));
    {
      CFile file;
      ASSERT_TRUE(file.Open(L"\\b.bmp", CFile::modeCreate | CFile::modeWrite));
      CArchive ar(&file, CArchive::store);
      back.Serialize(ar);
    }
    EXPECT_EQ(ReadAll(Path("b.bmp")), bytes) << bits;
    CFile file;
    ASSERT_TRUE(file.Open(L"\\b.bmp", CFile::modeRead));
    CArchive ar(&file, CArchive::load);
    CDibEx loaded;
    loaded.Serialize(ar);
    EXPECT_EQ(image_test::RgbOf(loaded), image_test::RgbOf(dib));
  }
}

// PIL's reading of the BMP file argv[1] as RGB bytes (top row first) into argv[2].
constexpr char kPilToRgb[] =
    "import sys\nfrom PIL import Image\nim = Image.open(sys.argv[1])\n"
    "open(sys.argv[2], \"wb\").write(im.convert(\"RGB\").tobytes())";

// A BMP file another program writes (foreign_bmp.py) reads as that program reads it back,
// and our own file of it reads the same in PIL.
using ForeignBmp = std::pair<const char*, const char*>;  // name, foreign_bmp.py arguments
class ForeignBmpTest : public DibTest, public testing::WithParamInterface<ForeignBmp> {};

TEST_P(ForeignBmpTest, EveryPixelAsItsWriterReadsIt) {
  const std::string command = "/usr/bin/python3 '" SURVEYCAM_SOURCE_DIR
                              "/tests/image/foreign_bmp.py' '" +
                              Path("in.bmp") + "' '" + Path("in.rgb") + "' " + GetParam().second;
  const int status = std::system(command.c_str());
  if (WIFEXITED(status) && WEXITSTATUS(status) == 77)
    GTEST_SKIP() << "ImageMagick (convert) is not installed";
  ASSERT_EQ(status, 0);
  CDibEx dib;
  CString in(L"\\in.bmp"), out(L"\\out.bmp");
  ASSERT_TRUE(dib.ReadBMP(in));
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(dib.m_infoHeader->biSize + dib.m_infoHeader->biCompression, 40u + BI_RGB);
  EXPECT_EQ(dib.GetDimensions(), CSize(13, 7));
  const std::string reference = ReadAll(Path("in.rgb"));
  const auto rgb = image_test::RgbOf(dib);
  EXPECT_EQ(std::string(rgb.begin(), rgb.end()), reference);
  ASSERT_TRUE(dib.WriteBMP(out));
  ASSERT_TRUE(RunPil(kPilToRgb, {Path("out.bmp"), Path("out.rgb")}));
  EXPECT_EQ(ReadAll(Path("out.rgb")), reference);
}

INSTANTIATE_TEST_SUITE_P(
    Programs,
    ForeignBmpTest,
    testing::Values(ForeignBmp{"CoreHeaderRgb", "convert rgb BMP2:"},
                    ForeignBmp{"CoreHeaderPalette", "convert palette BMP2:"},  // 3-byte entries
                    ForeignBmp{"CoreHeaderFlipped", "convert rgb -flip BMP2:"},
                    ForeignBmp{"InfoHeaderRgb", "convert rgb BMP3:"},
                    ForeignBmp{"InfoHeaderAlpha", "convert rgba -define bmp3:alpha=true BMP3:"},
                    ForeignBmp{"InfoHeaderRle8", "convert palette BMP3:"},
                    ForeignBmp{"InfoHeaderRgb565Masks",
                               "masks40 rgb -define bmp:subtype=RGB565 BMP:"},
                    ForeignBmp{"V5Rgb", "convert rgb BMP:"},
                    ForeignBmp{"V5Alpha", "convert rgba BMP:"},
                    ForeignBmp{"V5Rle8Flipped", "convert palette -flip BMP:"},
                    ForeignBmp{"V5Rgb555", "convert rgb -define bmp:subtype=RGB555 BMP:"},
                    ForeignBmp{"V4Alpha", "convert rgba -intent undefined BMP:"},
                    ForeignBmp{"TopDownRgb", "topdown rgb BMP3:"},
                    ForeignBmp{"TopDownPalette", "topdown palette -compress none BMP3:"},
                    ForeignBmp{"PilPalette", "pil palette"},
                    ForeignBmp{"PilGrey", "pil grey"}),
    [](const testing::TestParamInfo<ForeignBmp>& info) { return std::string(info.param.first); });

// Run-length rows by hand: literal with pad byte, repeat, skip (left 0), repeat cut at the row end.
TEST_F(DibTest, Rle8RowsAreDecodedBottomUp) {
  std::string bytes = BmpBytes(4, 3, 8);
  const std::string runs(
      "\0\3\x0A\x0B\x0C\0"
      "\1\x0D"
      "\0\0"  // bottom row: A B C D
      "\0\2\2\0"
      "\2\x0E"
      "\0\0"  // middle row: 0 0 E E
      "\5\x0F"
      "\0\1",  // top row: F F F F
      22);
  bytes.replace(bytes.size() - 12, 12, runs);
  Patch(bytes, {{kCompression, BI_RLE8}, {kSizeImage, 22}});
  CDib dib;
  ASSERT_TRUE(ReadBytes(dib, bytes));
  EXPECT_EQ(dib.m_infoHeader->biCompression, BI_RGB);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(dib.m_imageBits), size_t(dib.GetSizeImage())),
            std::string("\x0A\x0B\x0C\x0D"
                        "\0\0\x0E\x0E"
                        "\x0F\x0F\x0F\x0F",
                        12));
}

// Malformed headers are refused (reading beyond the blocks: the sanitizer build and fuzz/).
TEST_F(DibTest, MalformedHeadersAreRefused) {
  struct Case {
    const char* what;
    std::string file;
    std::vector<Field> fields;
    size_t cut = 0;
  };
  const std::string good = BmpBytes(5, 4, 8);
  const Case cases[] = {
      {"not a bitmap", good, {{0, 'X', 1}}},
      {"offset inside the file header", good, {{kOffBits, 10}}},
      {"offset inside the info header", good, {{kOffBits, 30}}},
      {"offset beyond the file", good, {{kOffBits, 1u << 30}}},
      {"pixels beyond the file", good, {}, 3},
      {"zero width", good, {{kWidth, 0}}},
      {"absurd width", good, {{kWidth, 0x7FFFFFFF}}},
      {"absurd height", good, {{kHeight, 1u << 30}}},
      {"bit count 7", good, {{kBits, 7, 2}}},
      {"colour table beyond the header", good, {{kClrUsed, 300}}},
      {"4-bit run lengths", good, {{kCompression, BI_RLE4}}},
      {"top-down run lengths", good, {{kCompression, BI_RLE8}, {kHeight, uint32_t(-4)}}},
      {"run lengths of a huge picture",
       good,
       {{kCompression, BI_RLE8}, {kWidth, 4000}, {kHeight, 4000}}},
      {"run lengths beyond the file", good, {{kCompression, BI_RLE8}, {kSizeImage, 100}}},
      {"run lengths for more than 128 times their bytes",  // 4 x 129 from 4 bytes
       BmpBytes(4, 129, 8),
       {{kCompression, BI_RLE8}, {kSizeImage, 4}}},
      {"masks on a palette image", good, {{kCompression, BI_BITFIELDS}}},
      {"image size smaller than the rows", good, {{kSizeImage, 3}}},
      {"other header size", good, {{kSize, 20}}},
      {"header larger than its block", BmpBytes(5, 4, 24), {{kSize, 108}}},
      {"masks beyond the header block", BmpBytes(4, 4, 16), {{kCompression, BI_BITFIELDS}}},
      {"core palette without its table",
       std::string("BM\x22\0\0\0\0\0\0\0\x1A\0\0\0\x0C\0\0\0\2\0\2\0\1\0\x08\0\0\0\0\0\0\0\0\0",
                   34),
       {}},
  };
  CDib ok;
  ASSERT_TRUE(ReadBytes(ok, good));
  CDib filled(CSize(2, 2), 24);
  EXPECT_EQ(ReadBytes(filled, "BM\x10\x00"), FALSE);  // short file header: silent, emptied
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(filled.m_infoHeader, nullptr);
  for (const Case& c : cases) {
    std::string bytes = c.file.substr(0, c.file.size() - c.cut);
    Patch(bytes, c.fields);
    CDib dib;
    boxes_.clear();
    EXPECT_EQ(ReadBytes(dib, bytes), FALSE) << c.what;
    EXPECT_EQ(boxes_.LastText() + boxes_.LastCaption(), L"Invalid bitmap file. E-513ERROR")
        << c.what;
    EXPECT_EQ(dib.m_infoHeader, nullptr) << c.what;
  }
}

}  // namespace
