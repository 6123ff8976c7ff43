// CDibEx: creation, thumbnails (against naive references), conversions,
// pixel access in top-down coordinates, drawing.
#include "image/dib_ex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "image_test_util.h"
#include "platform/dc.h"

namespace {

RGBQUAD* TableOf(CDibEx& dib) { return reinterpret_cast<RGBQUAD*>(dib.m_colorTable); }

std::vector<int> PixelOf(CDibEx& dib, int x, int y) {
  const int channels = dib.GetSizePixel();
  BYTE p[3];
  dib.GetPixel(p, CPoint(x, y), channels == 1 ? 3 : 4);
  return std::vector<int>(p, p + channels);
}

// Naive box mean, straight from the definition with GetPixel.
std::vector<int> NaiveBox(CDibEx& src, int cx, int cy, int hx, int hy) {
  const CSize size = src.GetDimensions();
  std::vector<int> sum(size_t(src.GetSizePixel()), 0);
  int count = 0;
  for (int y = std::max(0, cy - hy); y <= std::min(int(size.cy) - 1, cy + hy); ++y)
    for (int x = std::max(0, cx - hx); x <= std::min(int(size.cx) - 1, cx + hx); ++x, ++count) {
      const auto p = PixelOf(src, x, y);
      for (size_t c = 0; c < sum.size(); ++c) sum[c] += p[c];
    }
  for (int& s : sum) s /= count;
  return sum;
}

void Fill(CDibEx& dib, int width, int height, int bits) {
  bits == 24 ? image_test::Fill24(dib, width, height, 7) : image_test::Fill8(dib, width, height);
}

TEST(DibExCreate, TablesFillRowsAndCopies) {
  CDibEx dib;
  ASSERT_TRUE(dib.Create(CSize(640, 480), 8, 17, FALSE, 0));
  EXPECT_EQ(dib.m_infoHeader->biClrUsed, 17u);
  EXPECT_FALSE(dib.IsGrayScale());
  ASSERT_TRUE(dib.Create(CSize(640, 480), 8, 17, TRUE, 0x1FF));
  EXPECT_EQ(dib.GetNumColors(), 256);
  EXPECT_TRUE(dib.IsGrayScale());
  EXPECT_EQ(dib.m_imageBits[1000], 0xFF);
  TableOf(dib)[77].rgbGreen = 78;
  EXPECT_FALSE(dib.IsGrayScale());
  // 1- and 4-bit pictures get their full tables, whatever was asked.
  const struct {
    int bits, colours, byteWidth, parity;
  } cases[] = {{1, 2, 4, 4}, {4, 16, 4, 2}, {8, 256, 8, 3}, {24, 0, 16, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bits);
    ASSERT_TRUE(dib.Create(CSize(5, 2), c.bits, 256, TRUE, 0));
    EXPECT_EQ(dib.GetNumColors(), c.colours);
    EXPECT_EQ(int(dib.GetByteWidth()), c.byteWidth);
    EXPECT_EQ(int(dib.GetParityBytes()), c.parity);
  }
  // Copies own their pixels.
  image_test::Fill24(dib, 6, 4);
  CDibEx copy(dib);
  const auto rgb = image_test::RgbOf(dib);
  EXPECT_EQ(image_test::RgbOf(copy), rgb);
  copy.Reverse();
  copy = copy;
  EXPECT_EQ(image_test::RgbOf(dib), rgb);
  EXPECT_NE(image_test::RgbOf(copy), rgb);
}

TEST(DibExPixels, TopDownCoordinatesOverBottomUpRowsAndRectangles) {
  CDibEx dib;
  dib.Create(CSize(4, 2), 24, 0, FALSE, 9);  // 12-byte rows: no padding
  BYTE bgr[3] = {1, 2, 3};
  ASSERT_TRUE(dib.SetPixel(bgr, CPoint(3, 0), 4));
  ASSERT_TRUE(dib.SetPixel(bgr, CPoint(3, 1), 4));
  const BYTE* stored = dib.m_imageBits + 12 + 9;  // picture row 0 is the last stored row
  EXPECT_EQ(std::vector<int>(stored, stored + 3), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(PixelOf(dib, 0, 0), (std::vector<int>{9, 9, 9}));  // exactly three bytes written
  BYTE v = 0;
  for (int mode : {0, 1, 2}) {  // red, green, blue
    ASSERT_TRUE(dib.GetPixel(&v, CPoint(3, 0), mode));
    EXPECT_EQ(v, 3 - mode);
  }
  EXPECT_FALSE(dib.GetPixel(&v, CPoint(4, 0), 0) || dib.GetPixel(&v, CPoint(0, -1), 0) ||
               dib.GetPixel(&v, CPoint(0, 0), 5));
  BYTE lum[3] = {200, 100, 50};  // 0.59*100 + 0.11*200 + 0.3*50 = 96
  dib.SetPixel(lum, CPoint(0, 0), 4);
  ASSERT_TRUE(dib.GetPixel(&v, CPoint(0, 0), 3));
  EXPECT_EQ(v, 96);
  EXPECT_FALSE(dib.SetPixel(&v, CPoint(0, 0), 3) || dib.SetPixel(&v, CPoint(0, 0), 5));
  // A rectangle from the top to the right and bottom edges, picked and replaced.
  CDibEx other;
  image_test::Fill24(dib, 9, 7);
  const CRect rc(4, 0, 9, 7);
  std::vector<BYTE> all(rc.Width() * rc.Height() * 3), red(rc.Width() * rc.Height());
  ASSERT_TRUE(dib.PicupImage(all.data(), rc, 4));
  ASSERT_TRUE(dib.PicupImage(red.data(), rc, 0));
  for (size_t i = 0; i < red.size(); ++i) EXPECT_EQ(red[i], all[3 * i + 2]);
  BYTE p[3];
  dib.GetPixel(p, CPoint(5, 2), 4);
  EXPECT_EQ(0, std::memcmp(p, &all[(2 * 5 + 1) * 3], 3));  // (5,2) is row 2, column 1 of rc
  other.Create(CSize(9, 7), 24, 0, FALSE, 0);
  ASSERT_TRUE(other.ReplaceImage(all.data(), rc, 4));
  std::vector<BYTE> back(all.size());
  other.PicupImage(back.data(), rc, 4);
  EXPECT_EQ(back, all);
  EXPECT_FALSE(
      other.ReplaceImage(all.data(), rc, 3) || other.PicupImage(all.data(), CRect(2, 2, 2, 5), 4) ||
      other.PicupImage(all.data(), CRect(5, 0, 10, 7), 4) || other.PicupImage(all.data(), rc, 5));
}

TEST(DibExThumbnail, BoxMeansMatchNaiveReferenceNearestPixelAndSizeLimits) {
  for (int bits : {8, 24}) {
    for (int n : {1, 2, 3, 4}) {
      CDibEx src, dst;
      Fill(src, 17, 13, bits);
      ASSERT_TRUE(dst.CreateThumbnail2(&src, n));
      ASSERT_EQ(dst.GetDimensions(), CSize(17 / n - 1, 13 / n - 1));
      const int h = std::max(1, n / 2);
      for (int y = 0; y < 13 / n - 1; ++y)
        for (int x = 0; x < 17 / n - 1; ++x)
          ASSERT_EQ(PixelOf(dst, x, y), NaiveBox(src, x * n, y * n, h, h)) << bits << " n=" << n;
    }
    for (double ratio : {1.5, 2.0, 3.3}) {
      CDibEx src, dst;
      Fill(src, 19, 11, bits);
      ASSERT_TRUE(dst.CreateThumbnail3(&src, ratio, ratio + 0.4));
      const int w = int(19 / ratio + 0.5), h = int(11 / (ratio + 0.4) + 0.5);
      ASSERT_EQ(dst.GetDimensions(), CSize(w, h));
      const int hx = std::max(1, int((ratio + 1) * 0.5)),
                hy = std::max(1, int((ratio + 1.4) * 0.5));
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
          ASSERT_EQ(PixelOf(dst, x, y),
                    NaiveBox(src, int(x * ratio + 0.5), int(y * (ratio + 0.4) + 0.5), hx, hy));
    }
  }
  CDibEx src, dst;  // nearest pixels, a hand-worked box mean and size limits
  Fill(src, 10, 8, 24);
  ASSERT_TRUE(dst.CreateThumbnail(&src, 2.5, 2.0));
  EXPECT_EQ(dst.GetDimensions(), CSize(4, 4));
  EXPECT_EQ(PixelOf(dst, 3, 2), PixelOf(src, 7, 4));  // trunc(3 * 2.5) = 7
  ASSERT_TRUE(dst.CreateThumbnail(&src, CSize(5, 4)));
  EXPECT_EQ(PixelOf(dst, 4, 3), PixelOf(src, 8, 6));
  EXPECT_FALSE(dst.CreateThumbnail(&src, 0.0, 1.0) || dst.CreateThumbnail(&src, CSize(0, 4)));
  src.Create(CSize(16, 16), 8, 256, TRUE, 0);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) {
      BYTE v = BYTE(x + 2 * y);
      src.SetPixel(&v, CPoint(x, y), 3);
    }
  ASSERT_TRUE(dst.CreateThumbnail2(&src, 4));
  EXPECT_EQ(dst.GetDimensions(), CSize(3, 3));
  // Hand-worked: the box around (4, 8) spans columns 2..6 and rows 6..10,
  // mean x = 4 and mean y = 8, so the mean of x + 2y is 20.
  EXPECT_EQ(PixelOf(dst, 1, 2), std::vector<int>{20});
  Fill(src, 8, 8, 8);
  EXPECT_FALSE(dst.CreateThumbnail2(&src, 4));
  // Refused for size: a header with the new size, no pixels.
  EXPECT_FALSE(dst.CreateThumbnail3(&src, 3.0, 6.0));
  EXPECT_EQ(dst.GetDimensions(), CSize(3, 1));
  EXPECT_EQ(dst.m_imageBits, nullptr);
  CDibEx sixteen;
  sixteen.Create(CSize(16, 16), 16, 0, FALSE, 0);
  EXPECT_FALSE(dst.CreateThumbnail2(&sixteen, 2));
}

TEST(DibExColour, GreyFullColourReverseDensityHistogramAndRange) {
  CDibEx src, dst;
  src.Create(CSize(1, 1), 24, 0, FALSE, 0);
  BYTE bgrBlue[3] = {255, 0, 0};
  src.SetPixel(bgrBlue, CPoint(0, 0), 4);
  ASSERT_TRUE(src.GrayScale(&dst));
  EXPECT_TRUE(dst.IsGrayScale());
  EXPECT_EQ(dst.m_imageBits[0], 28);  // 0.11 * 255
  CDibEx grey;                        // already grey: refused
  grey.Create(CSize(2, 2), 8, 256, TRUE, 5);
  EXPECT_FALSE(grey.GrayScale(&dst) || grey.FullColor(&dst));
  CDibEx indexed;  // through the palette
  indexed.Create(CSize(3, 2), 8, 4, FALSE, 1);
  TableOf(indexed)[1] = RGBQUAD{0, 255, 0, 0};  // green: 0.59 * 255 = 150.45
  TableOf(indexed)[3] = RGBQUAD{10, 20, 30, 0};
  BYTE index = 3;
  indexed.SetPixel(&index, CPoint(1, 1), 0);
  ASSERT_TRUE(indexed.GrayScale(&dst));
  EXPECT_EQ(dst.m_imageBits[0], 150);
  ASSERT_TRUE(indexed.FullColor(&dst));
  EXPECT_EQ(dst.m_infoHeader->biBitCount, 24);
  EXPECT_EQ(PixelOf(dst, 1, 1), (std::vector<int>{10, 20, 30}));
  EXPECT_EQ(PixelOf(dst, 0, 0), (std::vector<int>{0, 255, 0}));
  EXPECT_FALSE(dst.FullColor(&indexed));  // 24-bit source
  // Negative, density maps on pixels or on the table, histogram and ranges.
  CDibEx dib;
  image_test::Fill24(dib, 5, 3);
  const auto original = image_test::RgbOf(dib);
  ASSERT_TRUE(dib.Reverse());
  const auto negative = image_test::RgbOf(dib);
  for (size_t i = 0; i < original.size(); ++i) ASSERT_EQ(negative[i], 255 - original[i]);
  dib.Reverse();
  BYTE identity[256], zero[256], half[256];
  for (int i = 0; i < 256; ++i) identity[i] = BYTE(i), zero[i] = 0, half[i] = BYTE(i / 2);
  ASSERT_TRUE(dib.ChangeDensity(half, identity, zero));
  const auto mapped = image_test::RgbOf(dib);
  for (size_t i = 0; i < original.size(); i += 3)
    ASSERT_EQ(std::vector<int>(&mapped[i], &mapped[i] + 3),
              (std::vector<int>{original[i] / 2, original[i + 1], 0}));
  CDibEx palette;
  palette.Create(CSize(3, 5), 8, 256, TRUE, 7);
  ASSERT_TRUE(palette.ChangeDensity(zero, identity, half));
  EXPECT_EQ(TableOf(palette)[200].rgbRed + TableOf(palette)[200].rgbBlue, 100);
  ASSERT_TRUE(palette.Reverse());
  EXPECT_EQ(TableOf(palette)[200].rgbGreen + 256 * TableOf(palette)[200].rgbBlue, 55 + 256 * 155);
  // A packed picture with a short table right before its pixels: the maps
  // stop at the table's last entry, the pixels stay.
  uint32_t packed[10 + 3 + 1] = {};
  const BITMAPINFOHEADER info{40, 4, 1, 1, 8, BI_RGB, 4, 0, 0, 3, 3};
  std::memcpy(packed, &info, sizeof info);
  std::memset(packed + 13, 7, 4);
  CDibEx three;
  ASSERT_TRUE(three.AttachMemory(packed));
  ASSERT_TRUE(three.Reverse());
  ASSERT_TRUE(three.ChangeDensity(zero, zero, zero));
  EXPECT_EQ(TableOf(three)[2].rgbGreen, 0);
  EXPECT_EQ(packed[13], 0x07070707u);
  CDibEx sixteen;
  sixteen.Create(CSize(2, 2), 16, 0, FALSE, 0);
  EXPECT_FALSE(sixteen.ChangeDensity(zero, zero, zero));
  // Histogram (padding not counted: 3 × 5 pixels) and ranges per channel.
  int red[256], green[256], blue[256], mins[4], maxs[4];
  ASSERT_TRUE(palette.Create(CSize(3, 5), 8, 256, TRUE, 7));
  red[7] = 99;
  ASSERT_TRUE(palette.GetHistgram(red, green, blue));
  EXPECT_EQ(red[7] + blue[7], 30);
  ASSERT_TRUE(sixteen.GetHistgram(red, green, blue));  // no colours to count
  EXPECT_EQ(red[0] + green[0] + blue[0], 0);
  dib.Create(CSize(1, 1), 24, 0, FALSE, 0);
  BYTE bgr[3] = {10, 20, 30};
  dib.SetPixel(bgr, CPoint(0, 0), 4);
  ASSERT_TRUE(dib.GetDensityRange(mins, maxs));
  EXPECT_EQ(std::vector<int>(mins, mins + 4), (std::vector<int>{30, 20, 10, 10}));
  EXPECT_EQ(std::vector<int>(maxs, maxs + 4), (std::vector<int>{30, 20, 10, 30}));
  CDibEx empty;
  EXPECT_FALSE(empty.GetHistgram(red, green, blue) || empty.GetDensityRange(mins, maxs) ||
               empty.IsGrayScale());
  EXPECT_EQ(red[7], 0);  // zeroed before the refusal
}

// 4 × 2 picture (top row red, bottom row blue, column 3 green) drawn whole,
// in part, row by row (the same pixels as one blit) and upside down.
TEST(DibExDraw, WholePartsAndRowByRow) {
  platform::Framebuffer fb;
  fb.Resize(40, 30, 0x123456);
  CDC dc;
  dc.AttachFramebuffer(&fb, RECT{0, 0, 40, 30});
  CDibEx dib;
  dib.Create(CSize(4, 2), 24, 0, FALSE, 0);
  for (int x = 0; x < 4; ++x) {
    BYTE top[3] = {0, 0, 255}, bottom[3] = {255, 0, 0}, green[3] = {0, 255, 0};
    dib.SetPixel(x == 3 ? green : top, CPoint(x, 0), 4);
    dib.SetPixel(x == 3 ? green : bottom, CPoint(x, 1), 4);
  }
  const auto same = [&](int x0, int y0, int w, int h, int dx) {
    for (int y = y0; y < y0 + h; ++y)
      for (int x = x0; x < x0 + w; ++x)
        if (fb.At(x, y) != fb.At(x + dx, y)) return false;
    return true;
  };
  ASSERT_TRUE(dib.Draw2(&dc, CPoint(1, 1), CSize(8, 6)));
  ASSERT_TRUE(dib.Draw(&dc, CPoint(20, 1), CSize(8, 6)));
  EXPECT_TRUE(same(1, 1, 8, 6, 19));
  EXPECT_EQ(dib.m_infoHeader->biHeight, 2);  // header restored
  // Columns 2..3 stretched to 4 × 2; a zero source size is the whole image.
  ASSERT_TRUE(dib.DrawEx(&dc, CPoint(0, 10), CSize(4, 2), CPoint(2, 0), CSize(2, 2)));
  ASSERT_TRUE(dib.DrawEx2(&dc, CPoint(10, 10), CSize(4, 2), CPoint(2, 0), CSize(2, 2)));
  ASSERT_TRUE(dib.DrawEx(&dc, CPoint(20, 10), CSize(4, 2), CPoint(0, 0), CSize(0, 0)));
  EXPECT_TRUE(same(0, 10, 4, 2, 10));
  EXPECT_FALSE(dib.DrawEx(&dc, CPoint(0, 0), CSize(4, 2), CPoint(4, 0), CSize(1, 1)) ||
               dib.DrawEx(&dc, CPoint(0, 0), CSize(4, 2), CPoint(2, 0), CSize(3, 2)) ||
               dib.DrawEx2(&dc, CPoint(0, 0), CSize(4, 2), CPoint(0, 1), CSize(4, 2)));
  // Without an attribute context the height is negative: upside down above y.
  dc.ReleaseAttribDC();
  ASSERT_TRUE(dib.Draw(&dc, CPoint(30, 20), CSize(4, 2)));
  const uint32_t red = 0xFF0000, green = 0x00FF00, blue = 0x0000FF;
  // clang-format off
  const uint32_t pixels[][3] = {{1, 1, red}, {1, 6, blue}, {8, 3, green}, {0, 10, red},
      {3, 10, green}, {0, 11, blue}, {23, 11, green}, {20, 11, blue}, {30, 19, blue},
      {30, 20, red}, {33, 19, green}};
  // clang-format on
  for (const auto& p : pixels) EXPECT_EQ(fb.At(p[0], p[1]), p[2]) << p[0] << "," << p[1];
}

}  // namespace
