// CRot: single axes by hand, three-axis systems as their products, angle round trips, composition.
#include "geometry/rot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/support/matchers.h"

namespace {

using testing_support::IsNearRot;
using testing_support::IsNearWPK;
using testing_support::IsNearXYZ;

const double kPi = 3.141592653589793;

CRot Make(ROT_SYSTEM sys, double w, double p, double k) {
  CRot r;
  EXPECT_EQ(r.SetMatrix(sys, CWPK(w, p, k)), 1);
  return r;
}

// Angles over a grid with non-round steps, |phi| < PI/2.
std::vector<CWPK> AngleGrid() {
  std::vector<CWPK> grid;
  for (double w = -3.1; w <= 3.1; w += 0.77)
    for (double p = -1.52; p <= 1.52; p += 0.38)
      for (double k = -3.05; k <= 3.1; k += 0.61) grid.emplace_back(w, p, k);
  return grid;
}

TEST(Rot, SingleAxesByHandAndThreeAxisSystemsAsTheirProducts) {
  EXPECT_THAT(Make(ROT_W, kPi / 2, 9, 9) * CXYZ(0, 1, 0), IsNearXYZ(0, 0, 1, 1e-15));
  EXPECT_THAT(Make(ROT_P, 9, kPi / 2, 9) * CXYZ(0, 0, 1), IsNearXYZ(1, 0, 0, 1e-15));
  EXPECT_THAT(Make(ROT_K, 9, 9, kPi / 2) * CXYZ(1, 0, 0), IsNearXYZ(0, 1, 0, 1e-15));
  for (const CWPK& a : AngleGrid()) {
    const CRot W = Make(ROT_W, a.omega, 0, 0), P = Make(ROT_P, 0, a.phi, 0),
               K = Make(ROT_K, 0, 0, a.kappa);
    ASSERT_THAT(Make(ROT_WPK, a.omega, a.phi, a.kappa), IsNearRot(K * P * W, 1e-15));
    ASSERT_THAT(Make(ROT_KPW, a.omega, a.phi, a.kappa), IsNearRot(W * P * K, 1e-15));
    CRot t = K * P * W;  // orthonormal: the transpose undoes it
    t.T();
    ASSERT_THAT(K * P * W * t, IsNearRot(CRot(), 1e-15));
  }
  CRot r = Make(ROT_WPK, 0.3, 0.2, 0.1);
  r.I();
  EXPECT_THAT(r, IsNearRot(CRot(), 0.0));
}

class RotRoundTrip : public ::testing::TestWithParam<ROT_SYSTEM> {};

TEST_P(RotRoundTrip, AnglesComeBackAndAnyReferenceGivesTheSameMatrix) {
  const ROT_SYSTEM sys = GetParam();
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> angle(-4.0, 4.0);
  for (const CWPK& a : AngleGrid()) {
    CRot r = Make(sys, a.omega, a.phi, a.kappa);
    CWPK b(a), c(angle(rng), angle(rng), angle(rng));
    ASSERT_EQ(r.CalAngle(sys, b) + r.CalAngle(sys, c), 2);
    EXPECT_THAT(b, IsNearWPK(a, 1e-12));
    for (double v : {c.omega, c.phi, c.kappa}) ASSERT_LE(std::fabs(v), kPi);
    EXPECT_THAT(Make(sys, c.omega, c.phi, c.kappa), IsNearRot(r, 1e-12));
  }
  // (w + PI, PI - p, k + PI) is the same matrix: a reference near it selects it, zero does not.
  CWPK mirror(0.4 + kPi, kPi - 0.3, -0.7 + kPi);
  mirror.Normalize();
  CRot r = Make(sys, 0.4, 0.3, -0.7);
  CWPK b(mirror.omega + 0.01, mirror.phi - 0.01, mirror.kappa + 0.02), zero;
  ASSERT_EQ(r.CalAngle(sys, b) + r.CalAngle(sys, zero), 2);
  EXPECT_THAT(b, IsNearWPK(mirror, 1e-12));
  EXPECT_THAT(zero, IsNearWPK(CWPK(0.4, 0.3, -0.7), 1e-12));
  // Near gimbal lock the matrix is still rebuilt.
  for (double offset : {1e-3, 1e-6, 1e-9, 1e-11})
    for (double sign : {1.0, -1.0}) {
      const CWPK a(0.35, sign * (kPi / 2 - offset), -1.1);
      r = Make(sys, a.omega, a.phi, a.kappa);
      b = a;
      ASSERT_EQ(r.CalAngle(sys, b), 1);
      EXPECT_NEAR(b.phi, a.phi, 1e-6) << offset;
      EXPECT_THAT(Make(sys, b.omega, b.phi, b.kappa), IsNearRot(r, 1e-9)) << offset;
    }
}

INSTANTIATE_TEST_SUITE_P(ThreeAxis,
                         RotRoundTrip,
                         ::testing::Values(ROT_WPK, ROT_KPW),
                         [](const auto& info) { return info.param == ROT_WPK ? "WPK" : "KPW"; });

// At phi = +-PI/2 omega keeps the reference and kappa takes the rest: kappa - omega is fixed for
// WPK at +PI/2 and KPW at -PI/2, kappa + omega otherwise.
TEST(Rot, GimbalLocked) {
  const struct {
    ROT_SYSTEM sys;
    double phi, kappa;  // kappa expected for omega 0.4, kappa 0.9, reference omega 0.1
  } cases[] = {{ROT_WPK, kPi / 2, 0.1 + (0.9 - 0.4)},
               {ROT_WPK, -kPi / 2, (0.9 + 0.4) - 0.1},
               {ROT_KPW, kPi / 2, (0.9 + 0.4) - 0.1},
               {ROT_KPW, -kPi / 2, 0.1 + (0.9 - 0.4)}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.phi);
    CRot r = Make(c.sys, 0.4, c.phi, 0.9);
    CWPK b(0.1, c.phi, 0.0);
    ASSERT_EQ(r.CalAngle(c.sys, b), 1);
    EXPECT_THAT(b, IsNearWPK(CWPK(0.1, c.phi, c.kappa), 1e-12));
  }
  struct PeekRot : CRot {
    using CRot::CalAngle_KPW;
    using CRot::CalAngle_WPK;
  } r;  // omega 0, kappa 0 at phi = PI/2, the sine rounded past one: clamped, not NaN
  r.m[0][0] = r.m[2][2] = 0;
  r.m[0][2] = 1;
  r.m[2][0] = -1.0000000001;
  CWPK out;
  r.CalAngle_WPK(CWPK(0.2, 1.5, 0), out);
  EXPECT_TRUE(out.phi == kPi / 2 && out.omega == 0.2 && !std::isnan(out.kappa)) << out.phi;
  r.m[0][2] = -1.0000000001;
  r.CalAngle_KPW(CWPK(0.2, -1.5, 0), out);
  EXPECT_TRUE(out.phi == -kPi / 2 && !std::isnan(out.kappa)) << out.phi;
}

TEST(Rot, SingleAxisExtractionAndUnknownSystems) {
  const struct {
    ROT_SYSTEM sys;
    CWPK a;
  } cases[] = {{ROT_W, CWPK(-2.5, 0, 0)}, {ROT_P, CWPK(0, 0.6, 0)}, {ROT_K, CWPK(0, 0, 3.0)}};
  for (const auto& c : cases) {  // the other angles are cleared
    CWPK a(1, 2, 3);
    ASSERT_EQ(Make(c.sys, c.a.omega, c.a.phi, c.a.kappa).CalAngle(c.sys, a), 1);
    EXPECT_THAT(a, IsNearWPK(c.a, 1e-15));
  }
  const CRot start = Make(ROT_WPK, 0.1, 0.2, 0.3);
  for (int bad : {5, -1}) {  // rejected, and nothing changes
    CRot r = start;
    CWPK a(1, 2, 3);
    const auto sys = static_cast<ROT_SYSTEM>(bad);
    EXPECT_EQ(r.CalAngle(sys, a) + r.SetMatrix(sys, a) + r.AddMatrix(sys, a), 0);
    EXPECT_THAT(a, IsNearWPK(CWPK(1, 2, 3), 0.0));
    EXPECT_THAT(r, IsNearRot(start, 0.0));
  }
}

TEST(Rot, DegreeMatricesCompositionOrderAndRotatedPoints) {
  double d[3] = {12.5, -33.25, 101.0};
  CRot r, inv;
  ASSERT_EQ(r.SetDIMat(d) + inv.SetDIMatInv(d), 2);
  const double rad = kPi / 180;
  EXPECT_THAT(r, IsNearRot(Make(ROT_KPW, 12.5 * rad, -33.25 * rad, 101.0 * rad), 1e-15));
  EXPECT_THAT(inv * r, IsNearRot(CRot(), 1e-15));
  // AddMatrix pre-multiplies, *= post-multiplies.
  const CRot M = Make(ROT_WPK, 0.2, -0.5, 1.1), W = Make(ROT_W, 0.7, 0, 0);
  CRot pre = M, post = M, viaRot = M;
  ASSERT_EQ(pre.AddMatrix(ROT_W, CWPK(0.7, 5, 5)), 1);
  post *= W;
  viaRot.AddMatrix(W);
  EXPECT_THAT(pre, IsNearRot(W * M, 1e-15));
  EXPECT_THAT(post, IsNearRot(M * W, 1e-15));
  EXPECT_THAT(pre, ::testing::Not(IsNearRot(post, 0.01)));  // the orders differ here
  EXPECT_THAT(viaRot, IsNearRot(pre, 1e-15));
  CXYZ p(L"P7", 1.5, -2, 0.25);  // rotating a point in place keeps its name
  Make(ROT_K, 0, 0, kPi / 2).Rotate(p, p);
  EXPECT_EQ(p.Name, L"P7");
  EXPECT_THAT(p, IsNearXYZ(2, 1.5, 0.25, 1e-15));
}

}  // namespace
