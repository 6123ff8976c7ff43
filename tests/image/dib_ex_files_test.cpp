// JPEG files through "JPEG_LIB.dll": checked with djpeg and PIL; large pictures read scaled.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "devices/jpeg_module.h"
#include "image/dib_ex.h"
#include "image_test_util.h"
#include "tests/support/test_support.h"

namespace {

class JpegTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterJpegModule();
  }
  std::string Path(const char* name) { return root_ + "/" + name; }
};

double Psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += (double(a[i]) - b[i]) * (double(a[i]) - b[i]);
  const double mse = sum / double(a.size());
  return mse == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 / mse);
}

TEST_F(JpegTest, DjpegDecodesOurFileCloseToTheSourceAndPilSeesGreyAsGrey) {
  CDibEx dib;
  image_test::FillSmooth24(dib, 161, 97);  // odd width: padded rows
  CString path(L"\\q100.jpg");
  ASSERT_TRUE(dib.WriteJPEG(path));
  const std::string command =
      "djpeg -bmp -outfile '" + Path("djpeg.bmp") + "' '" + Path("q100.jpg") + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  CDibEx decoded;
  CString bmp(L"\\djpeg.bmp");
  ASSERT_TRUE(decoded.ReadBMP(bmp));
  ASSERT_EQ(decoded.GetDimensions(), dib.GetDimensions());
  EXPECT_GT(Psnr(image_test::RgbOf(dib), image_test::RgbOf(decoded)), 40.0);
  // Grey pictures are written as grey (PIL) and read back as 24-bit.
  CDibEx grey;
  ASSERT_TRUE(dib.GrayScale(&grey));
  path = L"\\grey.jpg";
  ASSERT_TRUE(grey.WriteJPEG(path));
  ASSERT_TRUE(
      image_test::RunPil("import sys\nfrom PIL import Image\nim = "
                         "Image.open(sys.argv[1])\nsys.exit(0 if im.mode == \"L\" else 1)",
                         {Path("grey.jpg")}));
  CDibEx back;
  ASSERT_TRUE(back.ReadJPEG(path));
  EXPECT_EQ(back.m_infoHeader->biBitCount, 24);
  EXPECT_GT(Psnr(image_test::RgbOf(grey), image_test::RgbOf(back)), 40.0);
}

struct ScaleCase {
  int width, height, readWidth, readHeight;
};

TEST_F(JpegTest, LargePicturesAreReadScaledDown) {
  for (ScaleCase c : {ScaleCase{3000, 2000, 1500, 1000},
                      ScaleCase{2000, 1000, 1000, 500},
                      ScaleCase{1999, 1999, 1999, 1999},
                      ScaleCase{16000, 10, 0, 0}}) {
    CDibEx dib;
    ASSERT_TRUE(dib.Create(CSize(c.width, c.height), 24, 0, FALSE, 90));
    CString path(L"\\big.jpg");
    ASSERT_TRUE(dib.WriteJPEG(path));
    CDibEx back;
    ASSERT_EQ(back.ReadJPEG(path), c.readWidth ? TRUE : FALSE) << c.width;
    if (!c.readWidth) continue;  // too wide for any scale
    EXPECT_EQ(back.GetDimensions(), CSize(c.readWidth, c.readHeight));
    EXPECT_EQ(back.GetSizeImage(), int(back.GetByteWidth()) * c.readHeight);
    BYTE p[3];
    back.GetPixel(p, CPoint(c.readWidth / 2, c.readHeight / 2), 4);
    EXPECT_NEAR(p[1], 90, 2);
  }
}

}  // namespace
