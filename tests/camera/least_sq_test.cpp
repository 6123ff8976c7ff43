// CLeastSq: residuals orthogonal to the weighted columns, a line fit by hand, singular systems.
#include "camera/least_sq.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace {

using Solver = int (CLeastSq::*)();
const struct {
  const char* name;
  Solver solve;
} kSolvers[] = {{"Solve", &CLeastSq::Solve},
                {"PISolve", &CLeastSq::PISolve},
                {"SolveWithSwpMat", &CLeastSq::SolveWithSwpMat}};

class LeastSqDevice : public testing_support::DeviceTest {};

// Random weighted rows a (m x n) with noisy right-hand sides l, for every solver and size.
TEST(LeastSq, EverySolverLeavesResidualsOrthogonalToTheWeightedColumns) {
  for (const auto& solver : kSolvers)
    for (int n : {1, 2, 5, 12}) {
      SCOPED_TRACE(std::string(solver.name) + " n=" + std::to_string(n));
      const int m = 5 * n + 3;
      std::mt19937 rng(17u + unsigned(n));
      std::uniform_real_distribution<double> u(-2.0, 2.0), wd(0.2, 3.0);
      std::normal_distribution<double> e(0.0, 0.05);
      std::vector<double> truth(static_cast<size_t>(n)), a, l, w;
      for (double& x : truth) x = u(rng);
      CLeastSq ls(m, n);
      for (int k = 0; k < m; ++k) {
        l.push_back(e(rng));
        for (int j = 0; j < n; ++j) {
          a.push_back(u(rng));
          l.back() += a.back() * truth[size_t(j)];
          ls.SetObeq(j, a.back());
        }
        w.push_back(wd(rng));
        ls.SetObeq(n, l.back());
        ls.SetWeight(w.back());
      }
      ASSERT_EQ((ls.*solver.solve)(), 1);
      std::vector<double> g(size_t(n), 0.0);  // Aᵀ·W·(l - A·x)
      for (int k = 0; k < m; ++k) {
        double r = l[size_t(k)];
        for (int j = 0; j < n; ++j) r -= a[size_t(k * n + j)] * ls.GetBcor(j);
        for (int j = 0; j < n; ++j) g[size_t(j)] += a[size_t(k * n + j)] * w[size_t(k)] * r;
      }
      for (int j = 0; j < n; ++j) EXPECT_NEAR(g[size_t(j)], 0.0, 1e-10) << j;
      if (solver.solve != &CLeastSq::Solve) continue;  // each observation's variance is a·C·aᵀ
      for (int k = 0; k < m; ++k) {
        double q = 0.0;
        for (int i = 0; i < n; ++i)
          for (int j = 0; j < n; ++j)
            q += a[size_t(k * n + i)] * ls.GetCovar(i, j) * a[size_t(k * n + j)];
        EXPECT_NEAR(ls.GetVar(k), q, 1e-12 * (1 + std::fabs(q))) << "row " << k;
      }
    }
}

TEST(LeastSq, StatisticsOfALineFitByHand) {
  // y = 2 + 0.5x at x = 0..4 plus (0.1, -0.1, 0, 0.1, -0.1): the fit is
  // 2.04 + 0.48x, residuals (0.06, -0.12, 0, 0.12, -0.06), vv = 0.036.
  const double noise[] = {0.1, -0.1, 0.0, 0.1, -0.1};
  CLeastSq ls(5, 2);
  for (int x = 0; x < 5; ++x) {
    ls.SetObeq(0, 1.0);
    ls.SetObeq(1, x);
    ls.SetObeq(2, 2 + 0.5 * x + noise[x]);
  }
  ASSERT_EQ(ls.Solve(), 1);
  EXPECT_NEAR(ls.GetBcor(0), 2.04, 1e-14);
  EXPECT_NEAR(ls.GetBcor(1), 0.48, 1e-14);
  EXPECT_NEAR(ls.CalStandard(), std::sqrt(0.036 / 5), 1e-14);
  EXPECT_NEAR(ls.CalStandard2(), std::sqrt(0.036 / 3), 1e-14);
  EXPECT_NEAR(ls.GetSigma(), 0.012, 1e-14);
  // sigma·(AᵀA)⁻¹ with AᵀA = [[5, 10], [10, 30]], det 50.
  EXPECT_NEAR(ls.GetCovar(0, 0), 0.012 * 30 / 50, 1e-14);
  EXPECT_NEAR(ls.GetCovar(0, 1), 0.012 * -10 / 50, 1e-14);
  EXPECT_NEAR(ls.GetCovar(1, 1), 0.012 * 5 / 50, 1e-14);
  EXPECT_NEAR(ls.GetVar(4), 0.012 * (30 - 2 * 10 * 4 + 5 * 16) / 50, 1e-14);  // fit at x = 4
  EXPECT_EQ(
      (std::vector<int>{
          ls.GetDegreesOfFreedom(), ls.CheckNoeq(), ls.CheckWeight(), ls.CheckParameterNumber()}),
      (std::vector<int>{3, 1, 2, 1}));
}

TEST(LeastSq, SingularSystemsAreRefused) {
  for (const auto& solver : {kSolvers[0], kSolvers[1]}) {  // two identical columns
    CLeastSq ls(4, 2);
    for (int k = 0; k < 4; ++k) {
      ls.SetObeq(0, 1.0 + k);
      ls.SetObeq(1, 1.0 + k);
      ls.SetObeq(2, 3.0);
    }
    EXPECT_EQ((ls.*solver.solve)(), 0) << solver.name;
  }
  CLeastSq reduced(2);  // a zero first pivot in reduced normal equations
  const double N[2][3] = {{0, 1, 1}, {1, 1, 1}};
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) reduced.SetNoeq(i, j, N[i][j]);
  EXPECT_EQ(reduced.SolveWithReduc(), 0);
  EXPECT_EQ(reduced.CheckNoeq(), 0);
  CLeastSq one(3, 1);  // one unknown with a zero normal: back substitution refuses it
  for (int k = 0; k < 3; ++k) {
    one.SetObeq(0, 0.0);
    one.SetObeq(1, 1.0);
  }
  EXPECT_EQ(one.Solve(), 0);
  // Orthogonal columns: CheckNoeq looks at each diagonal element, the last one too.
  CLeastSq diag(3, 3);
  for (int k = 0; k < 3; ++k)
    for (int j = 0; j <= 3; ++j) diag.SetObeq(j, j == k || j == 3 ? 1.0 : 0.0);
  ASSERT_EQ(diag.Solve(), 1);
  EXPECT_EQ(diag.CheckNoeq(), 1);
  diag.SetNoeq(2, 2, 0.0);
  EXPECT_EQ(diag.CheckNoeq(), 0);
}

TEST_F(LeastSqDevice, GrowingRowsOneRowTheBuiltInExamplesAndTheNoeqDump) {
  CLeastSq ls(2, 2);
  for (int k = 0; k < 3; ++k) {  // a third row beyond the two announced
    ls.SetObeq(0, 1.0);
    ls.SetObeq(1, double(k));
    ls.SetObeq(2, 1.0 + 2.0 * k);
  }
  EXPECT_EQ(ls.GetDegreesOfFreedom(), 1);
  ASSERT_EQ(ls.Solve(), 1);
  EXPECT_NEAR(ls.GetBcor(1), 2.0, 1e-14);
  CLeastSq one(1, 1);  // one row: sigma and the variance are left alone
  one.SetSigma(42.0);
  one.SetObeq(0, 2.0);
  one.SetObeq(1, 6.0);
  ASSERT_EQ(one.Solve(), 1);
  EXPECT_DOUBLE_EQ(one.GetBcor(0), 3.0);
  EXPECT_DOUBLE_EQ(one.GetCovar(0, 0), 0.25);  // unscaled (AᵀA)⁻¹
  EXPECT_EQ(one.GetSigma() + one.GetVar(0), 42.0);
  EXPECT_EQ(
      one.TestBook() + one.TestChores() + one.TestData31() + one.TestData4() + one.TestInvers(), 5);
  CLeastSq singular(2);
  singular.SetNoeq(0, 1, -3.0);
  singular.SetNoeq(1, 1, 2.0);
  ASSERT_EQ(singular.SaveErrorNoeqStatus(2, 2), 1);
  EXPECT_EQ(ReadHostFile(Host(L"\\Noeq.txt")),
            "Col:2 Row:2\n*0.0e+00 -3.0e+00 \n0.0e+00 #2.0e+00 \n");
}

}  // namespace
