// CLeastSq against outside truth: manufactured exact systems, noisy
// overdetermined data checked with an independent QR (Householder) solver
// written here, and singular systems that every solver must refuse.
#include "camera/least_sq.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace {

// Observation rows a (m x n, row-major), right-hand sides l and weights w.
struct System {
  int m, n;
  std::vector<double> a, l, w;
  double& A(int k, int j) { return a[size_t(k * n + j)]; }
  double A(int k, int j) const { return a[size_t(k * n + j)]; }
};

// Random rows for known unknowns `truth`, with normal noise when noise > 0.
System Manufactured(int m, int n, unsigned seed, double noise, std::vector<double>* truth) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> u(-2.0, 2.0);
  std::normal_distribution<double> e(0.0, noise > 0 ? noise : 1.0);
  System s{m, n, std::vector<double>(size_t(m * n)), {}, std::vector<double>(size_t(m), 1.0)};
  truth->resize(size_t(n));
  for (double& x : *truth) x = u(rng);
  for (int k = 0; k < m; ++k) {
    double l = 0.0;
    for (int j = 0; j < n; ++j) l += (s.A(k, j) = u(rng)) * (*truth)[size_t(j)];
    s.l.push_back(l + (noise > 0 ? e(rng) : 0.0));
  }
  return s;
}

void Fill(CLeastSq& ls, const System& s) {
  for (int k = 0; k < s.m; ++k) {
    for (int j = 0; j < s.n; ++j) ASSERT_EQ(ls.SetObeq(j, s.A(k, j)), 1);
    ASSERT_EQ(ls.SetObeq(s.n, s.l[size_t(k)]), 1);
    ASSERT_EQ(ls.SetWeight(s.w[size_t(k)]), 1);
  }
}

// Weighted least squares by Householder QR of sqrt(W)·A: independent of the
// normal equations the engine forms.
std::vector<double> SolveQr(System s) {
  const int m = s.m, n = s.n;
  for (int k = 0; k < m; ++k) {
    const double r = std::sqrt(s.w[size_t(k)]);
    for (int j = 0; j < n; ++j) s.A(k, j) *= r;
    s.l[size_t(k)] *= r;
  }
  for (int j = 0; j < n; ++j) {
    double norm = 0.0;
    for (int k = j; k < m; ++k) norm += s.A(k, j) * s.A(k, j);
    std::vector<double> v(static_cast<size_t>(m), 0.0);
    for (int k = j; k < m; ++k) v[size_t(k)] = s.A(k, j);
    v[size_t(j)] -= s.A(j, j) > 0 ? -std::sqrt(norm) : std::sqrt(norm);
    double vv = 0.0;
    for (int k = j; k < m; ++k) vv += v[size_t(k)] * v[size_t(k)];
    auto reflect = [&](auto at) {
      double d = 0.0;
      for (int k = j; k < m; ++k) d += v[size_t(k)] * at(k);
      for (int k = j; k < m; ++k) at(k) -= 2 * d / vv * v[size_t(k)];
    };
    for (int c = j; c < n; ++c) reflect([&](int k) -> double& { return s.A(k, c); });
    reflect([&](int k) -> double& { return s.l[size_t(k)]; });
  }
  std::vector<double> x(static_cast<size_t>(n));
  for (int i = n - 1; i >= 0; --i) {
    double t = s.l[size_t(i)];
    for (int j = i + 1; j < n; ++j) t -= s.A(i, j) * x[size_t(j)];
    x[size_t(i)] = t / s.A(i, i);
  }
  return x;
}

using Solver = int (CLeastSq::*)();
struct NamedSolver {
  const char* name;
  Solver solve;
};
const NamedSolver kSolvers[] = {{"Solve", &CLeastSq::Solve},
                                {"PISolve", &CLeastSq::PISolve},
                                {"SolveWithSwpMat", &CLeastSq::SolveWithSwpMat}};

TEST(LeastSq, ExactSystemsAreSolvedByEverySolver) {
  for (const auto& solver : kSolvers) {
    for (int n : {1, 2, 5, 12}) {
      std::vector<double> truth;
      const System s = Manufactured(3 * n + 2, n, 17u + unsigned(n), 0.0, &truth);
      CLeastSq ls(s.m, s.n);
      Fill(ls, s);
      // The start (all zeros) is not already the answer.
      ASSERT_NE(ls.GetBcor(0), truth[0]);
      ASSERT_EQ((ls.*solver.solve)(), 1) << solver.name << " n=" << n;
      for (int j = 0; j < n; ++j)  // well-conditioned random data: near machine precision
        EXPECT_NEAR(ls.GetBcor(j), truth[size_t(j)], 1e-10)
            << solver.name << " n=" << n << " j=" << j;
    }
  }
}

TEST(LeastSq, NoisyWeightedDataMatchesIndependentQr) {
  std::vector<double> truth;
  System s = Manufactured(60, 6, 99u, 0.05, &truth);
  std::mt19937 rng(5);
  std::uniform_real_distribution<double> wd(0.2, 3.0);
  for (double& w : s.w) w = wd(rng);
  const std::vector<double> qr = SolveQr(s);
  for (const auto& solver : kSolvers) {
    CLeastSq ls(s.m, s.n);
    Fill(ls, s);
    ASSERT_EQ((ls.*solver.solve)(), 1) << solver.name;
    for (int j = 0; j < s.n; ++j)  // both are backward stable on a condition number ~10
      EXPECT_NEAR(ls.GetBcor(j), qr[size_t(j)], 1e-11) << solver.name << " j=" << j;
  }
}

TEST(LeastSq, StatisticsOfANoisyLineFit) {
  // Line y = 2 + 0.5x through 5 points with residuals +-0.1 built in.
  const double xs[] = {0, 1, 2, 3, 4};
  const double noise[] = {0.1, -0.1, 0.0, 0.1, -0.1};
  System s{5, 2, {}, {}, std::vector<double>(5, 1.0)};
  for (int k = 0; k < 5; ++k) {
    s.a.insert(s.a.end(), {1.0, xs[k]});
    s.l.push_back(2 + 0.5 * xs[k] + noise[k]);
  }
  const std::vector<double> qr = SolveQr(s);
  CLeastSq ls(5, 2);
  Fill(ls, s);
  ASSERT_EQ(ls.Solve(), 1);
  double vv = 0.0;
  for (int k = 0; k < 5; ++k) {
    const double v = s.l[size_t(k)] - qr[0] - qr[1] * xs[k];
    vv += v * v;
  }
  EXPECT_NEAR(ls.CalStandard(), std::sqrt(vv / 5), 1e-12);
  EXPECT_NEAR(ls.CalStandard2(), std::sqrt(vv / 3), 1e-12);
  EXPECT_NEAR(ls.GetSigma(), vv / 3, 1e-12);
  // Covariance of a line fit: sigma·(AᵀA)⁻¹ with AᵀA = [[5, 10], [10, 30]], det 50.
  EXPECT_NEAR(ls.GetCovar(0, 0), vv / 3 * 30 / 50, 1e-12);
  EXPECT_NEAR(ls.GetCovar(0, 1), vv / 3 * -10 / 50, 1e-12);
  EXPECT_NEAR(ls.GetCovar(1, 1), vv / 3 * 5 / 50, 1e-12);
  // Variance of the fitted value at x = 4: sigma·(30 - 80 + 80)/50.
  EXPECT_NEAR(ls.GetVar(4), vv / 3 * (30 - 2 * 10 * 4 + 5 * 16) / 50, 1e-12);
  EXPECT_EQ(ls.GetDegreesOfFreedom(), 3);
  EXPECT_EQ(ls.CheckNoeq(), 1);
  EXPECT_EQ(ls.CheckWeight(), 2);
  EXPECT_EQ(ls.CheckParameterNumber(), 1);
}

// Five unknowns over nine rows: the variance of each observation is its
// quadratic form a·C·aᵀ with the covariance, for rows in blocks of four
// and the rest, and for columns in blocks of four and the rest.
TEST(LeastSq, VarianceOfEveryObservationIsItsQuadraticForm) {
  std::vector<double> truth;
  const System s = Manufactured(9, 5, 31u, 0.1, &truth);
  CLeastSq ls(s.m, s.n);
  Fill(ls, s);
  ASSERT_EQ(ls.Solve(), 1);
  for (int k = 0; k < s.m; ++k) {
    double q = 0.0;
    for (int i = 0; i < s.n; ++i)
      for (int j = 0; j < s.n; ++j) q += s.A(k, i) * ls.GetCovar(i, j) * s.A(k, j);
    EXPECT_NEAR(ls.GetVar(k), q, 1e-12 * (1 + std::fabs(q))) << "row " << k;
    EXPECT_GT(ls.GetVar(k), 0.0);
  }
}

TEST(LeastSq, CheckNoeqLooksAtEachDiagonalElementOnly) {
  // Orthogonal columns: a diagonal normal matrix with zeros beside it.
  CLeastSq ls(3, 3);
  for (int k = 0; k < 3; ++k)
    for (int j = 0; j <= 3; ++j) ls.SetObeq(j, j == k || j == 3 ? 1.0 : 0.0);
  ASSERT_EQ(ls.Solve(), 1);
  EXPECT_EQ(ls.CheckNoeq(), 1);
  ls.SetNoeq(2, 2, 0.0);  // only the last diagonal element vanishes
  EXPECT_EQ(ls.CheckNoeq(), 0);
}

TEST(LeastSq, SingularSystemsAreRefused) {
  // Two identical columns: N is exactly singular.
  for (const auto& solver : {kSolvers[0], kSolvers[1]}) {
    CLeastSq ls(4, 2);
    for (int k = 0; k < 4; ++k) {
      ls.SetObeq(0, 1.0 + k);
      ls.SetObeq(1, 1.0 + k);
      ls.SetObeq(2, 3.0);
    }
    EXPECT_EQ((ls.*solver.solve)(), 0) << solver.name;
  }
  // A zero first pivot in reduced normal equations.
  CLeastSq reduced(2);
  reduced.SetNoeq(0, 0, 0.0);
  reduced.SetNoeq(0, 1, 1.0);
  reduced.SetNoeq(1, 0, 1.0);
  reduced.SetNoeq(1, 1, 1.0);
  reduced.SetNoeq(0, 2, 1.0);
  reduced.SetNoeq(1, 2, 1.0);
  EXPECT_EQ(reduced.SolveWithReduc(), 0);
  EXPECT_EQ(reduced.CheckNoeq(), 0);
  // One unknown with a zero normal: no pivot test in the decomposition, but
  // back substitution refuses it.
  CLeastSq one(3, 1);
  for (int k = 0; k < 3; ++k) {
    one.SetObeq(0, 0.0);
    one.SetObeq(1, 1.0);
  }
  EXPECT_EQ(one.Solve(), 0);
  // The sweep has no pivot test and still returns 1.
  CLeastSq sweep(3, 1);
  for (int k = 0; k < 3; ++k) {
    sweep.SetObeq(0, 0.0);
    sweep.SetObeq(1, 1.0);
  }
  EXPECT_EQ(sweep.SolveWithSwpMat(), 1);
  EXPECT_FALSE(std::isfinite(sweep.GetBcor(0)));
}

TEST(LeastSq, RowsGrowAndColumnsAreChecked) {
  CLeastSq ls(2, 2);
  EXPECT_EQ(ls.SetWeight(2.0), 0);  // no row yet
  EXPECT_EQ(ls.SetObeq(3, 1.0), 0);
  EXPECT_EQ(ls.SetObeq(-1, 1.0), 0);
  for (int k = 0; k < 3; ++k) {
    ls.SetObeq(0, 1.0);
    ls.SetObeq(1, double(k));
    ls.SetObeq(2, 1.0 + 2.0 * k);
  }
  EXPECT_EQ(ls.GetObeqSize(), 3);
  EXPECT_EQ(ls.GetCurrentObeqNumber(), 3);
  EXPECT_EQ(ls.GetDegreesOfFreedom(), 1);
  ASSERT_EQ(ls.Solve(), 1);
  EXPECT_NEAR(ls.GetBcor(0), 1.0, 1e-14);
  EXPECT_NEAR(ls.GetBcor(1), 2.0, 1e-14);
  // SetNoeq on the last column also writes bcor.
  ls.SetNoeq(1, 2, 7.5);
  EXPECT_EQ(ls.GetBcor(1), 7.5);
  EXPECT_EQ(ls.GetNoeq(1, 2), 7.5);
  // Stepping past the last row without column 0 leaves m, the weights and
  // the degrees of freedom alone, and a row outside m takes no values.
  ls.IncrementColumn();
  EXPECT_EQ(ls.GetCurrentObeqNumber(), 4);
  EXPECT_EQ(ls.GetObeqSize(), 3);
  EXPECT_EQ(ls.GetDegreesOfFreedom(), 1);
  EXPECT_EQ(ls.SetObeq(1, 5.0), 0);
  EXPECT_EQ(ls.SetWeight(2.0), 0);
  EXPECT_EQ(ls.CheckParameterNumber(), 0);
}

TEST(LeastSq, SquareAndOneRowSystems) {
  CLeastSq ls(2, 2);  // square: sigma falls back to m, and the fit is exact
  for (double row : {1.0, -1.0}) {
    ls.SetObeq(0, 1.0);
    ls.SetObeq(1, row);
    ls.SetObeq(2, 2.0 + row);
  }
  ASSERT_EQ(ls.Solve(), 1);
  EXPECT_NEAR(ls.GetBcor(0), 2.0, 1e-14);
  EXPECT_NEAR(ls.GetBcor(1), 1.0, 1e-14);
  EXPECT_NEAR(ls.CalSigma2(), 0.0, 1e-24);
  CLeastSq one(1, 1);  // one row: sigma and the variance are left alone
  one.SetSigma(42.0);
  one.SetObeq(0, 2.0);
  one.SetObeq(1, 6.0);
  ASSERT_EQ(one.Solve(), 1);
  EXPECT_DOUBLE_EQ(one.GetBcor(0), 3.0);
  EXPECT_DOUBLE_EQ(one.GetCovar(0, 0), 0.25);  // unscaled (AᵀA)⁻¹
  EXPECT_EQ(one.GetSigma(), 42.0);
  EXPECT_EQ(one.GetVar(0), 0.0);
}

TEST(LeastSq, BuiltInExamplesSolve) {
  CLeastSq ls;
  EXPECT_EQ(ls.TestBook(), 1);
  EXPECT_EQ(ls.TestChores(), 1);
  EXPECT_EQ(ls.TestData31(), 1);
  EXPECT_EQ(ls.TestData4(), 1);
  EXPECT_EQ(ls.TestInvers(), 1);
}

class LeastSqDevice : public testing_support::DeviceTest {};

TEST_F(LeastSqDevice, TimesComeFromThePlatformClock) {
  CLeastSq ls(3, 1);
  for (int k = 0; k < 3; ++k) {
    ls.SetObeq(0, 1.0);
    ls.SetObeq(1, 2.0);
  }
  ls.SetFormTime(9.0);
  EXPECT_EQ(ls.GetFormTime(), 9.0);
  ASSERT_EQ(ls.Solve(), 1);
  // The fixture fixes the clock, so both measured times are exactly zero.
  EXPECT_EQ(ls.GetFormTime(), 0.0);
  EXPECT_EQ(ls.GetComputationTime(), 0.0);
}

TEST_F(LeastSqDevice, WritesMarkedMatrix) {
  CLeastSq ls(1);
  ls.SetNoeq(0, 0, 4.0);
  ls.SetNoeq(0, 1, 1.25);
  ASSERT_EQ(ls.SaveErrorNoeqStatus(1, 2), 1);
  EXPECT_EQ(ReadHostFile(Host(L"\\Noeq.txt")), "Col:1 Row:2\n#4.0e+00 1.2e+00 \n");
  CLeastSq singular(2);
  singular.SetNoeq(0, 1, -3.0);
  singular.SetNoeq(1, 1, 2.0);
  ASSERT_EQ(singular.SaveErrorNoeqStatus(2, 2), 1);
  EXPECT_EQ(ReadHostFile(Host(L"\\Noeq.txt")),
            "Col:2 Row:2\n*0.0e+00 -3.0e+00 \n0.0e+00 #2.0e+00 \n");
}

}  // namespace
