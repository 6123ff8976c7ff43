// Median, Sobel and thinning bit for bit against plain references, on random images of odd sizes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "corner/median.h"
#include "corner/sobel.h"
#include "corner/thinning.h"

namespace {

using Image = std::vector<uint8_t>;

Image RandomImage(int w, int h, unsigned seed, int levels = 256) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> u(0, levels - 1);
  Image img(size_t(w * h));
  for (auto& p : img) p = uint8_t(u(rng) * 255 / std::max(levels - 1, 1));
  return img;
}

Image MedianReference(const Image& src, Image dst, int w, int h, int window, int margin) {
  const int r = window / 2, lo = margin + r - 1;
  for (int y = lo; y < h - lo; ++y)
    for (int x = lo; x < w - lo; ++x) {
      std::vector<uint8_t> v;
      for (int dy = -r; dy <= r; ++dy)
        for (int dx = -r; dx <= r; ++dx) v.push_back(src[size_t((y + dy) * w + x + dx)]);
      std::sort(v.begin(), v.end());
      dst[size_t(y * w + x)] = v[v.size() / 2];
    }
  return dst;
}

struct SobelResult {
  std::vector<uint32_t> dst;
  int ok;
  unsigned mean;
};

SobelResult SobelReference(
    const Image& src, std::vector<uint32_t> dst, int w, int h, int margin, unsigned t) {
  unsigned count = 0, sum = 0;
  for (int y = margin; y < h - margin; ++y)
    for (int x = margin; x < w - margin; ++x) {
      auto p = [&](int dy, int dx) { return int(src[size_t((y + dy) * w + x + dx)]); };
      const int gx = -p(-1, -1) + p(-1, 1) - 2 * p(0, -1) + 2 * p(0, 1) - p(1, -1) + p(1, 1);
      const int gy = -p(-1, -1) - 2 * p(-1, 0) - p(-1, 1) + p(1, -1) + 2 * p(1, 0) + p(1, 1);
      const unsigned s = unsigned(gx * gx) + unsigned(gy * gy);
      if (s >= t) {
        dst[size_t(y * w + x)] = s;
        ++count;
        sum += s / 1000;
      }
    }
  if (count == 0) return {dst, 0, 0};
  return {dst, 1, sum / count * 1000};
}

int ConnectivityReference(const int* b) {  // b: 0/1, nine entries
  int n = 0;
  for (int k = 0; k < 8; k += 2) n += (1 - b[k]) - (1 - b[k]) * (1 - b[k + 1]) * (1 - b[k + 2]);
  return n;
}

// Hilditch's thinning written step by step; rows x cols, row-major.
void ThinningReference(Image& img, int rows, int cols, int m) {
  const int dy[8] = {0, -1, -1, -1, 0, 1, 1, 1}, dx[8] = {1, 1, 0, -1, -1, -1, 0, 1};
  int marker = 100;
  for (;;) {
    int deleted = 0;
    for (int y = m; y < rows - m; ++y)
      for (int x = m; x < cols - m; ++x) {
        uint8_t& p = img[size_t(y * cols + x)];
        if (p != 255) continue;
        int first[9], second[8], nfirst = 0, nsecond = 0;
        for (int k = 0; k < 8; ++k) {
          const int v = img[size_t((y + dy[k]) * cols + x + dx[k])];
          first[k] = (v == marker || v == 255) ? 1 : 0;
          second[k] = v == 255 ? 1 : 0;
          nfirst += first[k];
          nsecond += second[k];
        }
        first[8] = first[0];
        if (first[0] + first[2] + first[4] + first[6] == 4) continue;
        if (nfirst < 2 || nsecond < 1) continue;
        if (ConnectivityReference(first) != 1) continue;
        bool keep = false;
        for (int k : {2, 4}) {
          if (img[size_t((y + dy[k]) * cols + x + dx[k])] != marker) continue;
          first[k] = 0;
          keep |= ConnectivityReference(first) != 1;
          first[k] = 1;
        }
        if (keep) continue;
        p = uint8_t(marker);
        ++deleted;
      }
    ++marker;
    if (deleted == 0) break;
  }
  for (auto& p : img)
    if (p < 255) p = 0;
}

TEST(Median, MatchesReferenceOnOddSizes) {
  const int sizes[][2] = {
      {7, 5}, {13, 9}, {33, 17}, {37, 41}, {97, 31}, {640, 11}, {531, 6}, {1033, 9}};
  unsigned seed = 1;
  for (int window : {3, 5})
    for (const auto& s : sizes)
      for (int margin : {1, 2, 4}) {
        const int w = s[0], h = s[1];
        const int levels = (++seed % 3) ? 256 : 4;  // few levels: many ties
        const Image src = RandomImage(w, h, seed, levels);
        const Image init = RandomImage(w, h, ++seed);
        Image dst = init;
        CMedian median;
        median.SetParam(window);
        median.SetParam(4);  // even windows are ignored
        ASSERT_EQ(
            median.Median_Fliter(const_cast<uint8_t*>(src.data()), dst.data(), CSize(w, h), margin),
            1);
        EXPECT_EQ(dst, MedianReference(src, init, w, h, window, margin))
            << window << " " << w << "x" << h << " m" << margin;
      }
}

// The mean and sorting helpers kept beside the filter.
struct MedianHelpers : CMedian {
  using CMedian::insertionSort;
  using CMedian::smooth;
};

TEST(Median, HelpersGiveTheMeanAndTheMiddleValue) {
  MedianHelpers m;
  unsigned char v[9] = {90, 10, 80, 20, 70, 30, 60, 40, 55};
  EXPECT_EQ(m.smooth(v), 50);  // 455 / 9
  EXPECT_EQ(m.insertionSort(v, 9), 55);
  EXPECT_EQ(std::vector<int>(v, v + 9), (std::vector<int>{10, 20, 30, 40, 55, 60, 70, 80, 90}));
}

TEST(Sobel, MatchesReferenceOnOddSizes) {
  const int sizes[][2] = {{5, 5}, {9, 7}, {17, 13}, {41, 23}, {640, 9}, {333, 21}};
  unsigned seed = 50, mean = 0;
  CSobel sobel;  // one filter throughout: with nothing above the threshold its mean stays
  for (const auto& s : sizes)
    for (unsigned t : {0u, 2000u, 150000u})
      for (int margin : {1, 3}) {
        const int w = s[0], h = s[1];
        const int levels = (++seed % 2) ? 256 : 3;
        const Image src = RandomImage(w, h, seed, levels);
        std::vector<uint32_t> dst(size_t(w * h), 7u);
        const SobelResult ref = SobelReference(src, dst, w, h, margin, t);
        sobel.SetParam(t);
        EXPECT_EQ(sobel.Sobel(const_cast<uint8_t*>(src.data()), dst.data(), CSize(w, h), margin),
                  ref.ok);
        EXPECT_EQ(dst, ref.dst) << w << "x" << h << " t" << t;
        if (ref.ok) mean = ref.mean;
        EXPECT_EQ(sobel.GetMeanStrength(), mean);
      }
}

TEST(Thinning, MatchesReferenceOnRandomBlobs) {
  unsigned seed = 200;
  const int sizes[][2] = {{9, 11}, {31, 17}, {64, 48}, {23, 101}};
  for (const auto& s : sizes)
    for (int margin : {1, 2}) {
      const int rows = s[0], cols = s[1];
      // Random rectangles of 255 and scattered pixels over 0.
      std::mt19937 rng(++seed);
      Image img(size_t(rows * cols), 0);
      for (int b = 0; b < 6; ++b) {
        const int y0 = int(rng() % unsigned(rows)), x0 = int(rng() % unsigned(cols));
        const int hh = 1 + int(rng() % 9u), ww = 1 + int(rng() % 12u);
        for (int y = y0; y < std::min(rows, y0 + hh); ++y)
          for (int x = x0; x < std::min(cols, x0 + ww); ++x) img[size_t(y * cols + x)] = 255;
      }
      for (int k = 0; k < rows * cols / 10; ++k) img[rng() % img.size()] = 255;
      img[rng() % img.size()] = 40;  // any other value is background, and cleared
      Image ref = img;
      ThinningReference(ref, rows, cols, margin);
      CThinning thinning;
      thinning.Thinning(img.data(), CSize(rows, cols), margin);  // cx = rows
      EXPECT_EQ(img, ref) << rows << "x" << cols;
    }
}

TEST(Thinning, ThresholdBinarisesStrictlyAboveOverTheWholeImage) {
  std::vector<uint32_t> strength(20, 100);  // equal to the threshold: background
  strength[0] = 101;                        // inside the margin: binarised too
  Image img(20, 0);
  CThinning().Thinning(strength.data(), img.data(), CSize(4, 5), 1, 100);
  EXPECT_EQ(img[0] + std::count(img.begin(), img.end(), 255), 256);
}

}  // namespace
