// The 5-6-5 to 24-bit bottom-up conversion of a 640 x 480 grab, side by side
// with a memcpy of its 921600 output bytes (the goal: within 2x of it).
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "liveview/frame_convert.h"

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr int kStride = kWidth * 3;

std::vector<WORD> Frame() {
  std::vector<WORD> pixels(size_t(kWidth) * kHeight);
  std::mt19937 rng(7);
  for (auto& p : pixels) p = WORD(rng());
  return pixels;
}

void BM_Convert(benchmark::State& state, liveview::FrameConvertPath path) {
  auto pixels = Frame();
  std::vector<BYTE> bits(size_t(kStride) * kHeight);
  if (!liveview::ConvertFrame565To24Using(
          path, pixels.data(), kWidth, kHeight, bits.data(), kStride)) {
    state.SkipWithError("this processor cannot run the path");
    return;
  }
  for (auto _ : state) {
    liveview::ConvertFrame565To24Using(path, pixels.data(), kWidth, kHeight, bits.data(), kStride);
    benchmark::DoNotOptimize(bits.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bits.size()));
}
BENCHMARK_CAPTURE(BM_Convert, avx2, liveview::FrameConvertPath::kAvx2);
BENCHMARK_CAPTURE(BM_Convert, ssse3, liveview::FrameConvertPath::kSsse3);
BENCHMARK_CAPTURE(BM_Convert, portable, liveview::FrameConvertPath::kPortable);

void BM_MemcpyOutput(benchmark::State& state) {
  std::vector<BYTE> src(size_t(kStride) * kHeight, 1), dst(size_t(kStride) * kHeight);
  for (auto _ : state) {
    std::memcpy(dst.data(), src.data(), dst.size());
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(dst.size()));
}
BENCHMARK(BM_MemcpyOutput);

}  // namespace
