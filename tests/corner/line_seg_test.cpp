// CLineSeg: normal forms of hand-worked lines, noisy fits, crossings, angles across theta 0 / pi.
#include "corner/line_seg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr double kPi = 3.141592653589793;

TEST(LineSeg, NormalFormOfHandWorkedLines) {
  const struct {
    CLineSeg s;
    double theta, rho, length;
  } cases[] = {
      {CLineSeg(0, 5, 10, 5), kPi / 2, 5.0, 10.0},  // y = 5, whichever way it runs
      {CLineSeg(10, 5, 0, 5), kPi / 2, 5.0, 10.0},
      {CLineSeg(-3, 8, -3, 0), 0.0, -3.0, 8.0},                                 // x = -3
      {CLineSeg(4, 0, 0, 4), kPi / 4, 4 / std::sqrt(2.0), 4 * std::sqrt(2.0)},  // x + y = 4
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.theta);
    EXPECT_NEAR(c.s.m_dTheta, c.theta, 1e-12);
    EXPECT_NEAR(c.s.m_dRho, c.rho, 1e-12);
    EXPECT_NEAR(c.s.Length(), c.length, 1e-12);
    // Ends in the order of the direction (-sin, cos), on the line.
    EXPECT_LE(c.s.Along(c.s.m_dX1, c.s.m_dY1), c.s.Along(c.s.m_dX2, c.s.m_dY2));
    EXPECT_NEAR(std::hypot(c.s.Distance(c.s.m_dX1, c.s.m_dY1), c.s.Distance(c.s.m_dX2, c.s.m_dY2)),
                0.0,
                1e-12);
  }
  EXPECT_NEAR(cases[3].s.Distance(4, 4), 4 / std::sqrt(2.0), 1e-12);  // the normal side is positive
  CLineSeg s(0, 0, 10, 1);
  s.SetLine(-2.0, kPi + 0.25);  // the same line as rho 2, theta 0.25
  EXPECT_NEAR(s.m_dTheta, 0.25, 1e-12);
  EXPECT_NEAR(s.m_dRho, 2.0, 1e-12);
  EXPECT_NEAR(std::hypot(s.Distance(s.m_dX1, s.m_dY1), s.Distance(s.m_dX2, s.m_dY2)), 0.0, 1e-12);
}

TEST(LineSeg, CrossingsAnglesAndNearness) {
  CLineSeg a(0, 2, 10, 2);  // y = 2
  double x = -1, y = -1;
  ASSERT_EQ(a.Intersect(CLineSeg(7, -5, 7, 5), x, y), 1);
  EXPECT_NEAR(std::hypot(x - 7, y - 2), 0.0, 1e-12);
  ASSERT_EQ(CLineSeg(0, 0, 1, 1).Intersect(CLineSeg(0, 6, 6, 0), x, y), 1);
  EXPECT_NEAR(std::hypot(x - 3, y - 3), 0.0, 1e-12);
  x = y = 42;  // parallels have no crossing and leave the outputs alone
  EXPECT_EQ(a.Intersect(CLineSeg(0, 9, 5, 9), x, y), 0);
  EXPECT_EQ(x + y, 84);
  const double deg = kPi / 180;
  CLineSeg one, other;
  one.SetLine(0, 1 * deg);
  for (double theta : {179.0, 91.0, 121.0}) {  // 2, 90 and 60 degrees apart
    other.SetLine(0, theta * deg);
    EXPECT_NEAR(one.Angle(other), std::min(theta - 1, 181 - theta) * deg, 1e-12) << theta;
  }
  CLineSeg s(0, 0, 10, 0);  // beside the segment, or up to `d` beyond its ends
  EXPECT_EQ(s.IsNear(5, 3, 0) + s.IsNear(12, 0, 2) + s.IsNear(-1.5, 0, 2), 3);
  EXPECT_EQ(s.IsNear(12.5, 0, 2) + s.IsNear(-2.5, 0, 2), 0);
}

TEST(LineSeg, FitRecoversALineFromNoisyPoints) {
  // 400 points of sigma 0.3 across the line give a rho error of ~0.015.
  std::mt19937 rng(5);
  std::normal_distribution<double> across(0.0, 0.3);
  std::uniform_real_distribution<double> along(-40, 40);
  const double theta = 1.8, rho = 7.5, c = std::cos(theta), s = std::sin(theta);
  std::vector<double> xs, ys, ws;
  for (int i = 0; i < 400; ++i) {
    const double t = along(rng), e = across(rng);
    xs.push_back((rho + e) * c - t * s);
    ys.push_back((rho + e) * s + t * c);
    ws.push_back(1.0 + (i % 3));
  }
  CLineSeg seg(xs[0], ys[0], xs[1], ys[1]);
  ASSERT_EQ(seg.Fit(xs.data(), ys.data(), ws.data(), int(xs.size())), 1);
  EXPECT_NEAR(seg.m_dTheta, theta, 0.01);
  EXPECT_NEAR(seg.m_dRho, rho, 0.08);
  // One place has no direction, one weighted point neither; the segment stays.
  const double x1[] = {3, 3, 3}, y1[] = {4, 4, 4}, w1[] = {1, 1, 1};
  const double x2[] = {1, 5}, y2[] = {1, 5}, w2[] = {1, 0};
  CLineSeg kept(0, 0, 10, 0);
  EXPECT_EQ(kept.Fit(x1, y1, w1, 3) + kept.Fit(x2, y2, w2, 2), 0);
  EXPECT_NEAR(kept.m_dTheta, kPi / 2, 1e-12);
  EXPECT_NEAR(kept.m_dRho, 0.0, 1e-12);
}

}  // namespace
