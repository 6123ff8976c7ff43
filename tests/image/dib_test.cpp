// CDib: header arithmetic, BMP files (checked against PIL and ImageMagick),
// bad input.
#include "image/dib.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "image/dib_ex.h"
#include "image_test_util.h"
#include "platform/faults.h"
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

std::string BmpBytes(int width, int height, int bits, DWORD clrUsed = 0, DWORD offBitsDelta = 0) {
  CDibEx dib;
  dib.Create(CSize(width, height), bits, int(clrUsed ? clrUsed : 256), bits == 8 && !clrUsed, 7);
  std::string out(14 + dib.GetSizeHeader() + dib.GetSizeImage(), '\0');
  BITMAPFILEHEADER fh{0x4D42, 0, 0, 0, DWORD(14 + dib.GetSizeHeader()) + offBitsDelta};
  std::memcpy(out.data(), &fh, 14);
  std::memcpy(out.data() + 14, dib.m_infoHeader, dib.GetSizeHeader());
  std::memcpy(out.data() + 14 + dib.GetSizeHeader(), dib.m_imageBits, dib.GetSizeImage());
  return out;
}

// Edits the information header of a BMP file image (copied out and back:
// the header is not 4-byte aligned in the file).
template <class Edit>
void EditInfo(std::string& bytes, Edit edit) {
  BITMAPINFOHEADER h;
  std::memcpy(&h, bytes.data() + 14, sizeof h);
  edit(h);
  std::memcpy(bytes.data() + 14, &h, sizeof h);
}

// The packed DIB (header, table, pixels) of a BMP file, 4-byte aligned.
std::vector<uint32_t> PackedDib(const std::string& bmp) {
  std::vector<uint32_t> block((bmp.size() - 14 + 3) / 4);
  std::memcpy(block.data(), bmp.data() + 14, bmp.size() - 14);
  return block;
}

TEST(DibHeader, MetricsFromSizeAndDepth) {
  CDib colour(CSize(640, 480), 24);
  EXPECT_EQ(colour.GetSizeImage(), 921600);
  EXPECT_EQ(colour.GetSizeHeader(), 40);
  EXPECT_EQ(colour.m_imageBits, nullptr);
  EXPECT_EQ(colour.m_colorTable, reinterpret_cast<BYTE*>(colour.m_infoHeader) + 40);
  CDib mono(CSize(33, 2), 1);
  EXPECT_EQ(mono.GetSizeImage(), 16);  // 8-byte rows
  EXPECT_EQ(mono.m_colorEntries, 2);
  CDib palette(CSize(3, 3), 8);
  EXPECT_EQ(palette.m_colorEntries, 256);
  EXPECT_EQ(palette.GetSizeHeader(), 1064);
  EXPECT_EQ(palette.GetDimensions(), CSize(3, 3));
  EXPECT_EQ(CDib().GetDimensions(), CSize(0, 0));
}

TEST(DibHeader, RuntimeClassIsSerialCDib) {
  CDib dib;
  const CRuntimeClass* cls = dib.GetRuntimeClass();
  EXPECT_STREQ(cls->m_lpszClassName, "CDib");
  EXPECT_EQ(cls->m_pBaseClass, RUNTIME_CLASS(CObject));
  EXPECT_TRUE(dib.IsSerializable());
  CObject* made = RUNTIME_CLASS(CDib)->CreateObject();
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CDib)));
  delete made;
}

TEST(DibHeader, AttachMemoryAdoptsPackedDib) {
  auto block = PackedDib(BmpBytes(4, 2, 8, 17));
  CDib dib;
  EXPECT_TRUE(dib.AttachMemory(block.data()));
  EXPECT_EQ(dib.m_colorEntries, 17);
  EXPECT_EQ(dib.m_headerAlloc, CDib::noAlloc);
  EXPECT_EQ(dib.m_imageBits, reinterpret_cast<BYTE*>(block.data()) + 40 + 68);
  EXPECT_NE(dib.m_palette, nullptr);
  dib.Empty();  // the caller's block is not freed
}

TEST_F(DibTest, GlobalHeaderIsNotFreedAndReported) {
  auto block = PackedDib(BmpBytes(2, 2, 24));
  CDib dib;
  dib.AttachMemory(block.data(), TRUE, reinterpret_cast<void*>(0x1234));
  EXPECT_EQ(dib.m_headerAlloc, CDib::heapAlloc);
  dib.Empty();
  EXPECT_EQ(boxes_.LastText(), L"Not Supported in WinCE. E-514");
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
}

TEST_F(DibTest, WriteUsesHeaderOnlyFileSize) {
  CDibEx dib;
  image_test::Fill24(dib, 5, 3);
  CString path(L"\\out.bmp");
  ASSERT_TRUE(dib.WriteBMP(path));
  const std::string bytes = ReadAll(Path("out.bmp"));
  ASSERT_EQ(bytes.size(), 14u + 40u + 16u * 3u);
  BITMAPFILEHEADER fh;
  std::memcpy(&fh, bytes.data(), 14);
  EXPECT_EQ(fh.bfType, 0x4D42);
  const DWORD offBits = fh.bfOffBits, fileSize = fh.bfSize;
  EXPECT_EQ(offBits, 54u);
  EXPECT_EQ(fileSize, 54u);
}

TEST_F(DibTest, WriteReadWriteIsByteExact) {
  for (int bits : {8, 24}) {
    CDibEx dib;
    dib.Create(CSize(7, 5), bits, 256, TRUE, 0);
    for (int i = 0; i < dib.GetSizeImage(); ++i) dib.m_imageBits[i] = BYTE(i * 37);
    CString first(L"\\a.bmp"), second(L"\\b.bmp");
    ASSERT_TRUE(dib.WriteBMP(first));
    CDibEx back;
    ASSERT_TRUE(back.ReadBMP(first));
    EXPECT_EQ(back.m_headerAlloc, CDib::crtAlloc);
    EXPECT_EQ(back.m_imageAlloc, CDib::crtAlloc);
    ASSERT_TRUE(back.WriteBMP(second));
    EXPECT_EQ(ReadAll(Path("a.bmp")), ReadAll(Path("b.bmp"))) << bits;
  }
}

TEST_F(DibTest, SerializeGoesThroughTheArchiveFile) {
  CDibEx dib;
  image_test::Fill24(dib, 3, 3);
  {
    CFile file;
    ASSERT_TRUE(file.Open(L"\\s.bmp", CFile::modeCreate | CFile::modeWrite));
    CArchive ar(&file, CArchive::store);
    dib.Serialize(ar);
  }
  CFile file;
  ASSERT_TRUE(file.Open(L"\\s.bmp", CFile::modeRead));
  CArchive ar(&file, CArchive::load);
  CDibEx back;
  back.Serialize(ar);
  EXPECT_EQ(image_test::RgbOf(back), image_test::RgbOf(dib));
}

// PIL's reading of the BMP file argv[1] as RGB bytes (top row first) into argv[2].
constexpr char kPilToRgb[] =
    "import sys\nfrom PIL import Image\nim = Image.open(sys.argv[1])\n"
    "open(sys.argv[2], \"wb\").write(im.convert(\"RGB\").tobytes())";

// Our files as PIL reads them: same pixels.
TEST_F(DibTest, PilReadsOurBmps) {
  struct Case {
    int width, height, bits;
    bool grey;
  };
  for (Case c : {Case{7, 5, 24, false}, Case{13, 4, 8, true}, Case{5, 6, 8, false}}) {
    CDibEx dib;
    if (c.bits == 24) {
      image_test::Fill24(dib, c.width, c.height);
    } else {
      dib.Create(CSize(c.width, c.height), 8, 256, c.grey, 0);
      auto* table = reinterpret_cast<RGBQUAD*>(dib.m_colorTable);
      if (!c.grey)
        for (int i = 0; i < 256; ++i) table[i] = RGBQUAD{BYTE(i), BYTE(255 - i), BYTE(i * 3), 0};
      for (int y = 0; y < c.height; ++y)
        for (int x = 0; x < c.width; ++x) {
          BYTE v = BYTE(x * 19 + y * 41);
          dib.SetPixel(&v, CPoint(x, y), 3);
        }
      dib.MakePalette();
    }
    CString path(L"\\ours.bmp");
    ASSERT_TRUE(dib.WriteBMP(path));
    ASSERT_TRUE(RunPil(kPilToRgb, {Path("ours.bmp"), Path("ours.rgb")}));
    const std::string rgb = ReadAll(Path("ours.rgb"));
    const auto expected = image_test::RgbOf(dib);
    EXPECT_EQ(rgb, std::string(expected.begin(), expected.end()))
        << c.width << "x" << c.height << " " << c.bits;
  }
}

// A BMP file as another program writes it (tests/image/foreign_bmp.py with
// the writer, the picture and the writer's options) reads with every pixel
// as that program reads it back, into the header and rows the library keeps;
// the library's own file of it then reads the same in PIL.
struct ForeignBmp {
  const char* name;
  const char* args;
};

void PrintTo(const ForeignBmp& bmp, std::ostream* out) { *out << bmp.args; }

class ForeignBmpTest : public DibTest, public testing::WithParamInterface<ForeignBmp> {};

TEST_P(ForeignBmpTest, EveryPixelAsItsWriterReadsIt) {
  const std::string command = "/usr/bin/python3 '" SURVEYCAM_SOURCE_DIR
                              "/tests/image/foreign_bmp.py' '" +
                              Path("in.bmp") + "' '" + Path("in.rgb") + "' " + GetParam().args;
  const int status = std::system(command.c_str());
  if (WIFEXITED(status) && WEXITSTATUS(status) == 77)
    GTEST_SKIP() << "ImageMagick (convert) is not installed";
  ASSERT_EQ(status, 0);
  CDibEx dib;
  CString in(L"\\in.bmp"), out(L"\\out.bmp");
  ASSERT_TRUE(dib.ReadBMP(in));
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(dib.m_infoHeader->biSize, 40u);
  EXPECT_EQ(dib.m_infoHeader->biCompression, BI_RGB);
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
                    ForeignBmp{"V5Rgb565", "convert rgb -define bmp:subtype=RGB565 BMP:"},
                    ForeignBmp{"V4Alpha", "convert rgba -intent undefined BMP:"},
                    ForeignBmp{"TopDownRgb", "topdown rgb BMP3:"},
                    ForeignBmp{"TopDownPalette", "topdown palette -compress none BMP3:"},
                    ForeignBmp{"PilRgb", "pil rgb"},
                    ForeignBmp{"PilAlpha", "pil rgba"},
                    ForeignBmp{"PilPalette", "pil palette"},
                    ForeignBmp{"PilGrey", "pil grey"}),
    [](const testing::TestParamInfo<ForeignBmp>& info) { return std::string(info.param.name); });

// Run-length rows worked by hand: a literal run with its pad byte, a repeat,
// a skip (delta), a repeat past the row's end (cut there), end of line and
// end of picture. Skipped pixels stay 0.
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
  EditInfo(bytes, [](BITMAPINFOHEADER& h) {
    h.biCompression = BI_RLE8;
    h.biSizeImage = 22;
  });
  CDib dib;
  ASSERT_TRUE(ReadBytes(dib, bytes));
  EXPECT_EQ(dib.m_infoHeader->biCompression, BI_RGB);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(dib.m_imageBits), size_t(dib.GetSizeImage())),
            std::string("\x0A\x0B\x0C\x0D"
                        "\0\0\x0E\x0E"
                        "\x0F\x0F\x0F\x0F",
                        12));
}

TEST_F(DibTest, NotABitmapIsReportedAndLeavesTheObjectEmpty) {
  CDib dib(CSize(2, 2), 24);
  std::string bytes = BmpBytes(2, 2, 24);
  bytes[0] = 'X';
  EXPECT_EQ(ReadBytes(dib, bytes), FALSE);
  EXPECT_EQ(boxes_.LastText(), L"Invalid bitmap file. E-513");
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  EXPECT_EQ(dib.m_infoHeader, nullptr);
  EXPECT_EQ(dib.m_imageBits, nullptr);
}

TEST_F(DibTest, ShortFileHeaderFailsSilently) {
  CDib dib;
  EXPECT_EQ(ReadBytes(dib, "BM\x10\x00"), FALSE);
  EXPECT_EQ(boxes_.size(), 0u);
}

// Malformed headers are refused without reading beyond the blocks (the
// sanitizer build checks the "without" part). Each case writes fields of a
// good file (offsets in the file: the information header starts at 14).
TEST_F(DibTest, MalformedHeadersAreRefused) {
  enum : int {
    kOffBits = 10,
    kSize = 14,
    kWidth = 18,
    kHeight = 22,
    kBits = 28,
    kCompression = 30
  };
  enum : int { kSizeImage = 34, kClrUsed = 46 };
  struct Field {
    int at;
    uint32_t value;
    int bytes = 4;
  };
  struct Case {
    const char* what;
    std::string file;
    std::vector<Field> fields;
    size_t cut = 0;
  };
  const std::string good = BmpBytes(5, 4, 8);
  const Case cases[] = {
      {"offset inside the file header", good, {{kOffBits, 10}}},
      {"offset inside the info header", good, {{kOffBits, 30}}},
      {"offset beyond the file", good, {{kOffBits, 1u << 30}}},
      {"pixels beyond the file", good, {}, 3},
      {"zero width", good, {{kWidth, 0}}},
      {"absurd width", good, {{kWidth, 0x7FFFFFFF}}},
      {"absurd height", good, {{kHeight, 1u << 30}}},
      {"bit count 7", good, {{kBits, 7, 2}}},
      {"bit count 0", good, {{kBits, 0, 2}}},
      {"colour table beyond the header", good, {{kClrUsed, 300}}},
      {"4-bit run lengths", good, {{kCompression, BI_RLE4}}},
      {"top-down run lengths", good, {{kCompression, BI_RLE8}, {kHeight, uint32_t(-4)}}},
      {"run lengths of a huge picture",
       good,
       {{kCompression, BI_RLE8}, {kWidth, 4000}, {kHeight, 4000}}},
      {"run lengths beyond the file", good, {{kCompression, BI_RLE8}, {kSizeImage, 100}}},
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
  for (const Case& c : cases) {
    std::string bytes = c.file.substr(0, c.file.size() - c.cut);
    for (const Field& f : c.fields) std::memcpy(bytes.data() + f.at, &f.value, size_t(f.bytes));
    CDib dib;
    boxes_.clear();
    EXPECT_EQ(ReadBytes(dib, bytes), FALSE) << c.what;
    EXPECT_EQ(boxes_.LastText(), L"Invalid bitmap file. E-513") << c.what;
    EXPECT_EQ(dib.m_infoHeader, nullptr) << c.what;
  }
}

TEST_F(DibTest, AllocationFailureFailsCreate) {
  platform::fault::Arm("alloc");
  CDibEx created;
  EXPECT_EQ(created.Create(CSize(4, 4), 24, 0, FALSE, 0), FALSE);
}

TEST(DibSection, CreatedOnlyWithoutPixels) {
  CDib dib(CSize(4, 3), 24);
  const HBITMAP section = dib.CreateSection();
  ASSERT_NE(section, nullptr);
  ASSERT_NE(dib.m_imageBits, nullptr);
  std::memset(dib.m_imageBits, 0xAB, dib.GetSizeImage());  // the rows are writable
  BYTE* bits = dib.m_imageBits;
  EXPECT_EQ(dib.CreateSection(), nullptr);
  EXPECT_EQ(dib.m_imageBits, bits);
  EXPECT_EQ(dib.m_sectionBitmap, section);
  EXPECT_EQ(CDib().CreateSection(), nullptr);
}

TEST(DibPalette, MadeFromTheColourTableOnly) {
  CDibEx palette;
  palette.Create(CSize(2, 2), 8, 3, FALSE, 0);
  reinterpret_cast<RGBQUAD*>(palette.m_colorTable)[2] = RGBQUAD{10, 20, 30, 0};
  ASSERT_TRUE(palette.MakePalette());
  PALETTEENTRY entries[3];
  ASSERT_EQ(GetPaletteEntries(palette.m_palette, 0, 3, entries), 3u);
  EXPECT_EQ(entries[2].peRed, 30);
  EXPECT_EQ(entries[2].peBlue, 10);
  CDibEx colour;
  colour.Create(CSize(2, 2), 24, 0, FALSE, 0);
  EXPECT_FALSE(colour.MakePalette());
  // The display is true colour: no system palette for anyone.
  platform::Framebuffer fb;
  fb.Resize(4, 4);
  CDC dc;
  dc.AttachFramebuffer(&fb, RECT{0, 0, 4, 4});
  EXPECT_FALSE(palette.SetSystemPalette(&dc));
  EXPECT_FALSE(colour.SetSystemPalette(&dc));
  EXPECT_EQ(palette.UsePalette(&dc, FALSE), 0u);
}

// Draw flips the picture when the dc has no attribute context.
TEST(DibDraw, HeightSignFollowsTheAttributeContext) {
  CDibEx dib;
  dib.Create(CSize(1, 2), 24, 0, FALSE, 0);
  BYTE top[3] = {0, 0, 255}, bottom[3] = {255, 0, 0};
  dib.SetPixel(top, CPoint(0, 0), 4);
  dib.SetPixel(bottom, CPoint(0, 1), 4);
  platform::Framebuffer fb;
  fb.Resize(4, 4);
  CDC dc;
  dc.AttachFramebuffer(&fb, RECT{0, 0, 4, 4});
  ASSERT_TRUE(dib.Draw(&dc, CPoint(0, 0), CSize(1, 2)));
  EXPECT_EQ(fb.At(0, 0), 0xFF0000u);
  EXPECT_EQ(fb.At(0, 1), 0x0000FFu);
  dc.ReleaseAttribDC();
  ASSERT_TRUE(dib.Draw(&dc, CPoint(2, 1), CSize(1, 2)));
  // Negative height: rows 0..1 above y = 1, upside down.
  EXPECT_EQ(fb.At(2, 0), 0x0000FFu);
  EXPECT_EQ(fb.At(2, 1), 0xFF0000u);
}

}  // namespace
