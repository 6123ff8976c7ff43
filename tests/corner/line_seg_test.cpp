// CLineSeg: normal form from end points against hand-worked lines, fits of
// exact and noisy points, crossings, angles across theta = 0 / pi.
#include "corner/line_seg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr double kPi = 3.141592653589793;

TEST(LineSeg, NormalFormOfHandWorkedLines) {
  // y = 5: normal (0, 1), rho 5, whichever way the segment runs.
  for (const CLineSeg& h : {CLineSeg(0, 5, 10, 5), CLineSeg(10, 5, 0, 5)}) {
    EXPECT_NEAR(h.m_dTheta, kPi / 2, 1e-12);
    EXPECT_NEAR(h.m_dRho, 5.0, 1e-12);
    EXPECT_NEAR(h.Length(), 10.0, 1e-12);
  }
  // x = -3: theta 0, rho -3.
  CLineSeg v(-3, 8, -3, 0);
  EXPECT_NEAR(v.m_dTheta, 0.0, 1e-12);
  EXPECT_NEAR(v.m_dRho, -3.0, 1e-12);
  // x + y = 4 through (4, 0) and (0, 4): theta 45 degrees, rho 4 / sqrt 2.
  CLineSeg d(4, 0, 0, 4);
  EXPECT_NEAR(d.m_dTheta, kPi / 4, 1e-12);
  EXPECT_NEAR(d.m_dRho, 4 / std::sqrt(2.0), 1e-12);
  // Ends are kept in the order of the direction (-sin, cos).
  EXPECT_LE(d.Along(d.m_dX1, d.m_dY1), d.Along(d.m_dX2, d.m_dY2));
  EXPECT_NEAR(d.Distance(d.m_dX1, d.m_dY1), 0.0, 1e-12);
  EXPECT_NEAR(d.Distance(d.m_dX2, d.m_dY2), 0.0, 1e-12);
  // The normal (cos, sin) side is positive.
  EXPECT_NEAR(d.Distance(4, 4), 4 / std::sqrt(2.0), 1e-12);
}

TEST(LineSeg, SetLineFoldsThetaAndProjectsTheEnds) {
  CLineSeg s(0, 0, 10, 1);
  s.SetLine(-2.0, kPi + 0.25);  // the same line as rho 2, theta 0.25
  EXPECT_NEAR(s.m_dTheta, 0.25, 1e-12);
  EXPECT_NEAR(s.m_dRho, 2.0, 1e-12);
  EXPECT_NEAR(s.Distance(s.m_dX1, s.m_dY1), 0.0, 1e-12);
  EXPECT_NEAR(s.Distance(s.m_dX2, s.m_dY2), 0.0, 1e-12);
}

TEST(LineSeg, CrossingsAndParallels) {
  CLineSeg a(0, 2, 10, 2);  // y = 2
  CLineSeg b(7, -5, 7, 5);  // x = 7
  double x = -1, y = -1;
  ASSERT_EQ(a.Intersect(b, x, y), 1);
  EXPECT_NEAR(x, 7.0, 1e-12);
  EXPECT_NEAR(y, 2.0, 1e-12);
  // y = x and y = -x + 6 meet at (3, 3).
  ASSERT_EQ(CLineSeg(0, 0, 1, 1).Intersect(CLineSeg(0, 6, 6, 0), x, y), 1);
  EXPECT_NEAR(x, 3.0, 1e-12);
  EXPECT_NEAR(y, 3.0, 1e-12);
  // Parallel lines have no crossing and leave the outputs alone.
  x = y = 42;
  EXPECT_EQ(a.Intersect(CLineSeg(0, 9, 5, 9), x, y), 0);
  EXPECT_EQ(x, 42);
  EXPECT_EQ(y, 42);
}

TEST(LineSeg, AnglesAcrossTheFold) {
  const double deg = kPi / 180;
  CLineSeg a, b;
  a.SetLine(0, 1 * deg);
  b.SetLine(0, 179 * deg);
  EXPECT_NEAR(a.Angle(b), 2 * deg, 1e-12);
  b.SetLine(0, 91 * deg);
  EXPECT_NEAR(a.Angle(b), 90 * deg, 1e-12);
  b.SetLine(0, 121 * deg);
  EXPECT_NEAR(a.Angle(b), 60 * deg, 1e-12);
}

TEST(LineSeg, IsNearMeasuresBeyondTheEnds) {
  CLineSeg s(0, 0, 10, 0);
  EXPECT_EQ(s.IsNear(5, 3, 0), 1);   // beside the middle: on the segment
  EXPECT_EQ(s.IsNear(12, 0, 2), 1);  // 2 beyond end 2
  EXPECT_EQ(s.IsNear(12.5, 0, 2), 0);
  EXPECT_EQ(s.IsNear(-1.5, 0, 2), 1);
  EXPECT_EQ(s.IsNear(-2.5, 0, 2), 0);
}

TEST(LineSeg, FitRecoversALineFromNoisyPoints) {
  // Points along 0.3 x - 0.954 y = -12 (theta from the normal) with noise
  // across the line; 400 points of sigma 0.3 give a rho error of ~0.015.
  std::mt19937 rng(5);
  std::normal_distribution<double> across(0.0, 0.3);
  std::uniform_real_distribution<double> along(-40, 40);
  const double theta = 1.8, rho = 7.5;
  const double c = std::cos(theta), s = std::sin(theta);
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
}

TEST(LineSeg, FitRefusesDegeneratePointsAndLeavesTheSegment) {
  CLineSeg seg(0, 0, 10, 0);
  const double x[] = {3, 3, 3}, y[] = {4, 4, 4}, w[] = {1, 1, 1};
  EXPECT_EQ(seg.Fit(x, y, w, 3), 0);  // one place: no direction
  const double x2[] = {1, 5}, y2[] = {1, 5}, w2[] = {1, 0};
  EXPECT_EQ(seg.Fit(x2, y2, w2, 2), 0);  // one weighted point
  EXPECT_NEAR(seg.m_dTheta, kPi / 2, 1e-12);
  EXPECT_NEAR(seg.m_dRho, 0.0, 1e-12);
}

TEST(LineSeg, OffsetMovesLineAndEndsTogether) {
  CLineSeg s(1, 2, 9, 7);
  s.Offset(30, -11);
  // Ends come in the order of the direction, whichever was given first.
  EXPECT_NEAR(std::min(s.m_dX1, s.m_dX2), 31, 1e-12);
  EXPECT_NEAR(std::max(s.m_dY1, s.m_dY2), -4, 1e-12);
  EXPECT_NEAR(s.Length(), std::hypot(8.0, 5.0), 1e-12);
  EXPECT_NEAR(s.Distance(s.m_dX1, s.m_dY1), 0.0, 1e-12);
  EXPECT_NEAR(s.Distance(s.m_dX2, s.m_dY2), 0.0, 1e-12);
}

}  // namespace
