// One corner search of CPrcCorner (96 x 96 window: median, Sobel, thinning,
// Hough, sub-pixel line fits) on a 320 x 240 picture of a turned dark square,
// from the 24-bit picture and from a grey buffer, and the Hough stage alone.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "corner/hough.h"
#include "corner/prc_corner.h"
#include "image/dib_ex.h"

namespace {

constexpr int kW = 320, kH = 240;
constexpr double kTurn = 0.35;

bool InSquare(double x, double y) {
  const double u = (x - 160.3) * std::cos(kTurn) + (y - 120.6) * std::sin(kTurn);
  const double v = -(x - 160.3) * std::sin(kTurn) + (y - 120.6) * std::cos(kTurn);
  return std::fabs(u) <= 45 && std::fabs(v) <= 45;
}

// Area-sampled (4 x 4) so the edges carry sub-pixel grey levels.
const std::vector<uint8_t>& Picture() {
  static const std::vector<uint8_t> grey = [] {
    std::vector<uint8_t> g(size_t(kW * kH));
    for (int j = 0; j < kH; ++j)
      for (int i = 0; i < kW; ++i) {
        int hits = 0;
        for (int s = 0; s < 16; ++s)
          hits += InSquare(i - 0.375 + (s % 4) * 0.25, j - 0.375 + (s / 4) * 0.25);
        g[size_t(j * kW + i)] = uint8_t(200 - hits * 150 / 16);
      }
    return g;
  }();
  return grey;
}

// The tap: 12 pixels off the square's corner at (-45, -45) in its own axes.
CPoint Tap() {
  const double x = 160.3 - 45 * std::cos(kTurn) + 45 * std::sin(kTurn);
  const double y = 120.6 - 45 * std::sin(kTurn) - 45 * std::cos(kTurn);
  return CPoint(int(x) + 8, int(y) - 9);
}

void BM_CornerSearchGrey(benchmark::State& state) {
  CPrcCorner finder;
  const std::vector<uint8_t>& grey = Picture();
  double x = 0, y = 0;
  for (auto _ : state) {
    const int ok = finder.FindCorner(grey.data(), CSize(kW, kH), Tap(), x, y);
    benchmark::DoNotOptimize(ok);
  }
  if (!finder.FindCorner(grey.data(), CSize(kW, kH), Tap(), x, y)) state.SkipWithError("no corner");
}
BENCHMARK(BM_CornerSearchGrey)->Unit(benchmark::kMillisecond);

void BM_CornerSearchPicture(benchmark::State& state) {
  CDibEx dib;
  dib.Create(CSize(kW, kH), 24, 0, FALSE, 0);
  const std::vector<uint8_t>& grey = Picture();
  for (int j = 0; j < kH; ++j)
    for (int i = 0; i < kW; ++i) {
      BYTE bgr[3] = {grey[size_t(j * kW + i)], grey[size_t(j * kW + i)], grey[size_t(j * kW + i)]};
      dib.SetPixel(bgr, CPoint(i, j), 4);
    }
  CPrcCorner finder;
  double x = 0, y = 0;
  for (auto _ : state) {
    const int ok = finder.FindCorner(dib, Tap(), x, y);
    benchmark::DoNotOptimize(ok);
  }
  if (!finder.FindCorner(dib, Tap(), x, y)) state.SkipWithError("no corner");
}
BENCHMARK(BM_CornerSearchPicture)->Unit(benchmark::kMillisecond);

// The Hough stage alone on a thinned L of two 60-pixel edges.
void BM_HoughDetect(benchmark::State& state) {
  std::vector<uint8_t> edges(96 * 96, 0);
  for (int k = 20; k < 80; ++k) {
    edges[size_t(30 * 96 + k)] = 255;
    edges[size_t(k * 96 + 25)] = 255;
  }
  CHough hough;
  for (auto _ : state) {
    CKvoArray<CLineSeg, CLineSeg&> segs;
    benchmark::DoNotOptimize(hough.Detect(edges.data(), CSize(96, 96), 2, 12, segs));
  }
}
BENCHMARK(BM_HoughDetect)->Unit(benchmark::kMicrosecond);

}  // namespace
