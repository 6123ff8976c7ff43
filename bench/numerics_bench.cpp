// Camera-model numerics: lens-distortion inversion, the projection
// pipeline and the least-squares solver, side by side with OpenCV
// (undistortPoints) and Eigen (normal equations + LLT) when
// SURVEYCAM_BENCH_COMPARE is on, so each figure reads as a ratio.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "camera/dist.h"
#include "camera/least_sq.h"
#include "projection/projection_cap.h"

#if SURVEYCAM_BENCH_COMPARE
#include <Eigen/Dense>
#include <opencv2/calib3d.hpp>
#endif

namespace {

constexpr double kPixel = 0.0056;  // mm, 640 x 480 sensor
constexpr double kFocal = 8.0;     // mm
constexpr double kTol = 1e-7;      // mm, 1/50000 pixel

// Realistic parameters of each model for millimetre image coordinates.
CDist Model(int model) {
  CDist d;
  d.SetDistModel(DIST_MODEL(model));
  const double para[5][8] = {
      {},
      {-2.31e-3, 4.7e-5, -1.3e-6, 2.1e-8},
      {-2.31e-3, 4.7e-5, 1.9e-4, -2.7e-4},
      {-2.31e-3, 4.7e-5, -1.3e-6, 1.9e-4, -2.7e-4},
      {-2.31e-3, 4.7e-5, 3.1e-4, -1.7e-4, 2.3e-4, -1.1e-4, 1.4e-4, -2.6e-4},
  };
  for (int i = 0; i < d.GetNumPara(); ++i) d.AddPara(i, para[model][i]);
  return d;
}

// Distorted positions of every 4th pixel of the sensor, in mm from the centre.
std::vector<double> SensorGrid(const CDist& d) {
  std::vector<double> pts;
  for (int py = 0; py < 480; py += 4)
    for (int px = 0; px < 640; px += 4) {
      const double x = (px - 319.5) * kPixel, y = (py - 239.5) * kPixel;
      double dx = 0, dy = 0;
      d.CalDist(x, y, dx, dy);
      pts.push_back(x + dx);
      pts.push_back(y + dy);
    }
  return pts;
}

void BM_CalDistInv(benchmark::State& state) {
  const CDist d = Model(int(state.range(0)));
  const std::vector<double> pts = SensorGrid(d);
  long passes = 0, points = 0;
  for (auto _ : state) {
    for (size_t i = 0; i < pts.size(); i += 2) {
      double dx, dy;
      int n = 0;
      benchmark::DoNotOptimize(d.CalDistInv(pts[i], pts[i + 1], dx, dy, kTol, n));
      benchmark::DoNotOptimize(dx);
      passes += n;
      ++points;
    }
  }
  state.SetItemsProcessed(points);
  state.counters["passes_per_point"] = double(passes) / double(points);
}
BENCHMARK(BM_CalDistInv)->DenseRange(0, 4)->Unit(benchmark::kMicrosecond);

void BM_TransformInverse(benchmark::State& state) {
  CProjection_Cap p;
  p.SetPrjMatrix(-1.8, 1.8, 1.35, -1.35, kFocal, 1e7);
  p.RotateX(0.3);
  p.RotateY(-0.7);
  p.Translate(12.5, -3.25, -40000.0);
  p.BeginTrans(1);
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> u(-5000, 5000);
  std::vector<double> pts(3000);
  for (double& v : pts) v = u(rng);
  for (auto _ : state) {
    for (size_t i = 0; i < pts.size(); i += 3) {
      double sx, sy, sz, x, y, z;
      int visible;
      p.Transform(pts[i], pts[i + 1], pts[i + 2], sx, sy, sz, visible);
      p.Inverse(sx, sy, sz, x, y, z);
      benchmark::DoNotOptimize(x);
    }
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(pts.size() / 3));
}
BENCHMARK(BM_TransformInverse);

struct Problem {
  int m, n;
  std::vector<double> a, l;
};

Problem MakeProblem(int m, int n) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(-1, 1);
  Problem p{m, n, std::vector<double>(size_t(m) * size_t(n)), std::vector<double>(size_t(m))};
  for (double& v : p.a) v = u(rng);
  for (double& v : p.l) v = u(rng);
  return p;
}

void BM_Solve(benchmark::State& state) {
  const Problem p = MakeProblem(int(state.range(0)), int(state.range(1)));
  CLeastSq ls(p.m, p.n);
  for (int k = 0; k < p.m; ++k) {
    for (int j = 0; j < p.n; ++j) ls.SetObeq(j, p.a[size_t(k * p.n + j)]);
    ls.SetObeq(p.n, p.l[size_t(k)]);
  }
  for (auto _ : state) benchmark::DoNotOptimize(ls.Solve());
}
BENCHMARK(BM_Solve)
    ->Args({1000, 4})
    ->Args({1000, 20})
    ->Args({200, 100})
    ->Unit(benchmark::kMicrosecond);

#if SURVEYCAM_BENCH_COMPARE
void BM_CvUndistortPoints(benchmark::State& state) {
  // Same sensor grid and model 2 parameters in OpenCV's normalised form.
  const CDist d = Model(2);
  const std::vector<double> pts = SensorGrid(d);
  std::vector<cv::Point2d> in;
  for (size_t i = 0; i < pts.size(); i += 2)
    in.emplace_back(pts[i] / kPixel + 319.5, pts[i + 1] / kPixel + 239.5);
  const double f = kFocal / kPixel;
  const cv::Matx33d k(f, 0, 319.5, 0, f, 239.5, 0, 0, 1);
  const cv::Vec4d dist(
      -2.31e-3 * kFocal * kFocal, 4.7e-5 * std::pow(kFocal, 4), 1.9e-4 * kFocal, -2.7e-4 * kFocal);
  std::vector<cv::Point2d> out;
  for (auto _ : state) {
    cv::undistortPoints(in, out, k, dist);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(in.size()));
}
BENCHMARK(BM_CvUndistortPoints)->Unit(benchmark::kMicrosecond);

void BM_EigenNormalLLT(benchmark::State& state) {
  const Problem p = MakeProblem(int(state.range(0)), int(state.range(1)));
  Eigen::Map<const Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>> a(
      p.a.data(), p.m, p.n);
  Eigen::Map<const Eigen::VectorXd> l(p.l.data(), p.m);
  const Eigen::VectorXd w = Eigen::VectorXd::Ones(p.m);
  for (auto _ : state) {
    const Eigen::MatrixXd n = a.transpose() * w.asDiagonal() * a;
    const Eigen::VectorXd u = a.transpose() * w.cwiseProduct(l);
    const Eigen::VectorXd x = n.llt().solve(u);
    benchmark::DoNotOptimize(x.data());
  }
}
BENCHMARK(BM_EigenNormalLLT)
    ->Args({1000, 4})
    ->Args({1000, 20})
    ->Args({200, 100})
    ->Unit(benchmark::kMicrosecond);
#endif

}  // namespace
