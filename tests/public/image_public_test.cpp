// What a host sees of the image classes through the umbrella header alone:
// BMP files exchanged with a third-party reader/writer (PIL), the image
// operations, drawing, and JPEG without the instrument's module.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "surveycam.h"

namespace {

class ImagePublic : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("surveycam_image_public_" +
            std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string Path(const char* name) const { return (dir_ / name).string(); }
  CString Wide(const char* name) const { return CString(Path(name).c_str()); }
  std::filesystem::path dir_;
};

bool Pil(const std::string& script, const std::string& a, const std::string& b) {
  return std::system(("/usr/bin/python3 -c '" + script + "' '" + a + "' '" + b + "'").c_str()) == 0;
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST_F(ImagePublic, PilReadsOurOddWidthBmp) {
  CDibEx dib;
  ASSERT_TRUE(dib.Create(CSize(7, 3), 24, 0, FALSE, 0));
  std::string expected;
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 7; ++x) {
      BYTE bgr[3] = {BYTE(x * 30), BYTE(y * 90), BYTE(200 - x * 20)};
      ASSERT_TRUE(dib.SetPixel(bgr, CPoint(x, y), 4));
      expected += {char(bgr[2]), char(bgr[1]), char(bgr[0])};
    }
  CString path = Wide("ours.bmp");
  ASSERT_TRUE(dib.WriteBMP(path));
  ASSERT_TRUE(
      Pil("import sys\nfrom PIL import Image\n"
          "open(sys.argv[2], \"wb\").write(Image.open(sys.argv[1]).convert(\"RGB\").tobytes())",
          Path("ours.bmp"),
          Path("ours.rgb")));
  EXPECT_EQ(ReadAll(Path("ours.rgb")), expected);
}

TEST_F(ImagePublic, WeReadPilPaletteBmp) {
  ASSERT_TRUE(
      Pil("import sys\nfrom PIL import Image\nim = Image.new(\"P\", (5, 2))\n"
          "im.putpalette([v for i in range(256) for v in (i, 255 - i, 7)])\n"
          "im.putdata([0, 1, 2, 3, 4, 250, 251, 252, 253, 254])\nim.save(sys.argv[1])",
          Path("pil.bmp"),
          ""));
  CDibEx dib;
  CString path = Wide("pil.bmp");
  ASSERT_TRUE(dib.ReadBMP(path));
  ASSERT_EQ(dib.GetDimensions(), CSize(5, 2));
  ASSERT_EQ(dib.m_infoHeader->biBitCount, 8);
  BYTE index = 0;
  ASSERT_TRUE(dib.GetPixel(&index, CPoint(3, 1), 0));
  EXPECT_EQ(index, 253);
  const auto* table = reinterpret_cast<const RGBQUAD*>(dib.m_colorTable);
  EXPECT_EQ(table[253].rgbRed, 253);
  EXPECT_EQ(table[253].rgbGreen, 2);
  CDibEx colour;
  ASSERT_TRUE(dib.FullColor(&colour));
  BYTE bgr[3];
  colour.GetPixel(bgr, CPoint(3, 1), 4);
  EXPECT_EQ(bgr[0], 7);
  EXPECT_EQ(bgr[2], 253);
}

TEST_F(ImagePublic, JpegNeedsTheInstrumentsModule) {
  // The library alone has no "JPEG_LIB.dll".
  CDibEx dib;
  dib.Create(CSize(8, 8), 24, 0, FALSE, 128);
  CString path = Wide("snap.jpg");
  EXPECT_FALSE(dib.WriteJPEG(path));
  EXPECT_FALSE(std::filesystem::exists(Path("snap.jpg")));
  EXPECT_FALSE(dib.ReadJPEG(path));
}

TEST_F(ImagePublic, GreyAndDrawing) {
  CDibEx dib, grey;
  dib.Create(CSize(2, 2), 24, 0, FALSE, 0);
  BYTE blue[3] = {255, 0, 0};
  dib.SetPixel(blue, CPoint(0, 0), 4);
  ASSERT_TRUE(dib.GrayScale(&grey));
  BYTE v = 0;
  grey.GetPixel(&v, CPoint(0, 0), 0);
  EXPECT_EQ(v, 28);
  platform::Framebuffer fb;
  fb.Resize(10, 10);
  CDC dc;
  ASSERT_TRUE(dc.AttachFramebuffer(&fb, RECT{2, 2, 8, 8}));
  ASSERT_TRUE(dib.Draw(&dc, CPoint(0, 0), CSize(4, 4)));
  EXPECT_EQ(fb.At(2, 2), 0x0000FFu);  // picture (0, 0) at the client's origin
  EXPECT_EQ(fb.At(5, 5), 0u);
  EXPECT_EQ(fb.At(1, 1), 0u);
}

}  // namespace
