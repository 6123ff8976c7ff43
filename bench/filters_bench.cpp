// Median, Sobel and thinning of a 640 x 480 grey image, side by side with
// OpenCV's medianBlur, Sobel + squared magnitude and ximgproc::thinning when
// SURVEYCAM_BENCH_COMPARE is on.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "corner/median.h"
#include "corner/sobel.h"
#include "corner/thinning.h"

#if SURVEYCAM_BENCH_COMPARE
#include <opencv2/imgproc.hpp>
#include <opencv2/ximgproc.hpp>
#endif

namespace {

constexpr int kW = 640, kH = 480;

// A scene-like test image: a gradient, bright and dark rectangles (survey
// targets and their edges) and sensor noise.
const std::vector<uint8_t>& Scene() {
  static const std::vector<uint8_t> img = [] {
    std::vector<uint8_t> v(size_t(kW * kH));
    std::mt19937 rng(11);
    std::normal_distribution<double> noise(0, 6);
    for (int y = 0; y < kH; ++y)
      for (int x = 0; x < kW; ++x) {
        double g = 60 + 0.15 * x + 0.1 * y;
        if ((x / 80 + y / 60) % 3 == 0 && x % 80 > 10 && y % 60 > 10) g = 220;
        if ((x / 40 + y / 40) % 7 == 3) g = 25;
        g += noise(rng);
        v[size_t(y * kW + x)] = uint8_t(g < 0 ? 0 : g > 255 ? 255 : g);
      }
    return v;
  }();
  return img;
}

// Binary edge image (255 edges) from the Sobel strengths of the scene.
const std::vector<uint8_t>& Edges() {
  static const std::vector<uint8_t> edges = [] {
    std::vector<uint32_t> s(size_t(kW * kH), 0);
    CSobel sobel;
    sobel.SetParam(20000);
    sobel.Sobel(const_cast<uint8_t*>(Scene().data()), s.data(), CSize(kW, kH), 1);
    std::vector<uint8_t> e(s.size(), 0);
    for (size_t i = 0; i < s.size(); ++i) e[i] = s[i] > 20000 ? 255 : 0;
    return e;
  }();
  return edges;
}

void BM_Median(benchmark::State& state) {
  std::vector<uint8_t> dst(size_t(kW * kH), 0);
  CMedian median;
  median.SetParam(int(state.range(0)));
  for (auto _ : state) {
    median.Median_Fliter(const_cast<uint8_t*>(Scene().data()), dst.data(), CSize(kW, kH), 1);
    benchmark::DoNotOptimize(dst.data());
  }
}
BENCHMARK(BM_Median)->Arg(3)->Arg(5)->Unit(benchmark::kMicrosecond);

void BM_Sobel(benchmark::State& state) {
  std::vector<uint32_t> dst(size_t(kW * kH), 0);
  CSobel sobel;
  for (auto _ : state) {
    sobel.Sobel(const_cast<uint8_t*>(Scene().data()), dst.data(), CSize(kW, kH), 1);
    benchmark::DoNotOptimize(dst.data());
  }
}
BENCHMARK(BM_Sobel)->Unit(benchmark::kMicrosecond);

// Both thinning benchmarks copy the edge image in each iteration.
void BM_Thinning(benchmark::State& state) {
  std::vector<uint8_t> img(Edges().size());
  CThinning thinning;
  for (auto _ : state) {
    std::memcpy(img.data(), Edges().data(), img.size());
    thinning.Thinning(img.data(), CSize(kH, kW), 1);  // cx = rows
    benchmark::DoNotOptimize(img.data());
  }
}
BENCHMARK(BM_Thinning)->Unit(benchmark::kMicrosecond);

#if SURVEYCAM_BENCH_COMPARE
cv::Mat SceneMat() { return cv::Mat(kH, kW, CV_8U, const_cast<uint8_t*>(Scene().data())); }

void BM_CvMedianBlur(benchmark::State& state) {
  const cv::Mat src = SceneMat();
  cv::Mat dst(kH, kW, CV_8U);
  for (auto _ : state) {
    cv::medianBlur(src, dst, int(state.range(0)));
    benchmark::DoNotOptimize(dst.data);
  }
}
BENCHMARK(BM_CvMedianBlur)->Arg(3)->Arg(5)->Unit(benchmark::kMicrosecond);

void BM_CvSobelSquared(benchmark::State& state) {
  const cv::Mat src = SceneMat();
  cv::Mat gx, gy, mag;
  for (auto _ : state) {
    cv::Sobel(src, gx, CV_32F, 1, 0);
    cv::Sobel(src, gy, CV_32F, 0, 1);
    cv::multiply(gx, gx, mag);
    cv::accumulateSquare(gy, mag);
    benchmark::DoNotOptimize(mag.data);
  }
}
BENCHMARK(BM_CvSobelSquared)->Unit(benchmark::kMicrosecond);

void BM_CvThinning(benchmark::State& state) {
  cv::Mat img(kH, kW, CV_8U), out;
  for (auto _ : state) {
    std::memcpy(img.data, Edges().data(), Edges().size());
    cv::ximgproc::thinning(img, out, cv::ximgproc::THINNING_ZHANGSUEN);
    benchmark::DoNotOptimize(out.data);
  }
}
BENCHMARK(BM_CvThinning)->Unit(benchmark::kMicrosecond);
#endif

}  // namespace
