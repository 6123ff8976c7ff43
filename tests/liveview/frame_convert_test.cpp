// The 5-6-5 to 24-bit frame conversion: hand-worked pixels, bottom-up rows,
// and the vector paths against the portable code on every value.
#include "liveview/frame_convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(FrameConvertTest, HandWorkedPixelsInBottomUpRows) {
  // white, pure first component, (1,2,1), mid grey (15,31,15), pure third;
  // then a second row of a pure second component.
  const WORD pixels[10] = {0xFFFF, 0xF800, 0x0841, 0x7BEF, 0x001F, 0x07E0, 0x07E0, 0x07E0, 0, 0};
  BYTE bits[32];
  std::fill(std::begin(bits), std::end(bits), 0xAB);
  liveview::ConvertFrame565To24(pixels, 5, 2, bits, 16);
  const BYTE first[15] = {255, 255, 255, 255, 0, 0, 8, 8, 8, 123, 125, 123, 0, 0, 255};
  EXPECT_TRUE(std::equal(first, first + 15, bits + 16)) << "source row 0 is the last row";
  const BYTE second[6] = {0, 255, 0, 0, 255, 0};
  EXPECT_TRUE(std::equal(second, second + 6, bits));
  EXPECT_EQ(bits[31], 0xAB);  // padding untouched
}

// Missing buffers or an empty frame convert nothing and write nothing.
TEST(FrameConvertTest, NothingToConvertWritesNothing) {
  const WORD pixels[2] = {0xFFFF, 0xFFFF};
  BYTE bits[8];
  std::fill(std::begin(bits), std::end(bits), 0x5A);
  liveview::ConvertFrame565To24(pixels, 2, 1, nullptr, 8);
  liveview::ConvertFrame565To24(nullptr, 2, 1, bits, 8);
  liveview::ConvertFrame565To24(pixels, 0, 1, bits, 8);
  liveview::ConvertFrame565To24(pixels, 2, 0, bits, 8);
  liveview::ConvertFrame565To24Portable(pixels, 2, 1, nullptr, 8);
  EXPECT_TRUE(std::all_of(std::begin(bits), std::end(bits), [](BYTE b) { return b == 0x5A; }));
}

TEST(FrameConvertTest, VectorAndPortableAgreeOnEveryValueAndOddWidths) {
  using liveview::FrameConvertPath;
  int pathsRun = 0;
  for (FrameConvertPath path : {FrameConvertPath::kSsse3, FrameConvertPath::kAvx2}) {
    for (int width : {1, 15, 16, 17, 18, 19, 31, 32, 33, 34, 35, 37, 48, 49, 50, 51, 640}) {
      const int height = 65536 / width + 1;
      std::vector<WORD> pixels(size_t(width) * height);
      for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = WORD(i * 40503u);  // visits all 65536 values
      // Tight rows too: the vector stores overlap and must stay inside their row.
      for (int stride : {width * 3, (width * 3 + 3) & ~3}) {
        std::vector<BYTE> fast(size_t(stride) * height, 0x5A), slow(size_t(stride) * height, 0x5A);
        if (!liveview::ConvertFrame565To24Using(
                path, pixels.data(), width, height, fast.data(), stride))
          break;
        liveview::ConvertFrame565To24Portable(pixels.data(), width, height, slow.data(), stride);
        ASSERT_EQ(fast, slow) << "path " << int(path) << " width " << width << " stride " << stride;
        std::fill(fast.begin(), fast.end(), 0x5A);
        liveview::ConvertFrame565To24(pixels.data(), width, height, fast.data(), stride);
        ASSERT_EQ(fast, slow) << "dispatched, width " << width;
        ++pathsRun;
      }
    }
  }
#if defined(__x86_64__)
  EXPECT_GT(pathsRun, 0) << "every x86-64 processor has at least SSSE3 here";
#endif
}

}  // namespace
