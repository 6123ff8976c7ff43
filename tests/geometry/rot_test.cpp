// CRot: matrices of every rotation system checked against their definition
// as products of single-axis rotations, orthonormality, SetMatrix -> CalAngle
// round trips over grids (including at and near gimbal lock), the choice
// between the two angle solutions, and composition order.
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

double MaxDiff(const CRot& a, const CRot& b) {
  double d = 0;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) d = std::max(d, std::fabs(a.m[r][c] - b.m[r][c]));
  return d;
}

double Det(const CRot& a) {
  const auto& m = a.m;
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
         m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

void ExpectOrthonormal(const CRot& r) {
  CRot t = r;
  t.T();
  EXPECT_THAT(r * t, IsNearRot(CRot(), 1e-14));
  EXPECT_NEAR(Det(r), 1.0, 1e-14);
}

// Angles over a grid with non-round steps, |phi| < PI/2.
std::vector<CWPK> AngleGrid() {
  std::vector<CWPK> grid;
  for (double w = -3.1; w <= 3.1; w += 0.77)
    for (double p = -1.52; p <= 1.52; p += 0.38)
      for (double k = -3.05; k <= 3.1; k += 0.61) grid.emplace_back(w, p, k);
  return grid;
}

TEST(Rot, DefaultIsIdentityAndIResets) {
  CRot r = Make(ROT_WPK, 0.3, 0.2, 0.1);
  EXPECT_GT(MaxDiff(r, CRot()), 0.05);
  r.I();
  EXPECT_EQ(MaxDiff(r, CRot()), 0.0);
}

TEST(Rot, SingleAxisMatricesTurnAxesAsExpected) {
  // A quarter turn about the first axis takes the second axis to the third.
  double X, Y, Z;
  Make(ROT_W, kPi / 2, 9, 9).Rotate(0, 1, 0, X, Y, Z);
  EXPECT_NEAR(X, 0, 1e-15);
  EXPECT_NEAR(Y, 0, 1e-15);
  EXPECT_NEAR(Z, 1, 1e-15);
  // ... about the second axis takes the third to the first ...
  Make(ROT_P, 9, kPi / 2, 9).Rotate(0, 0, 1, X, Y, Z);
  EXPECT_NEAR(X, 1, 1e-15);
  EXPECT_NEAR(Z, 0, 1e-15);
  // ... about the third axis takes the first to the second.
  Make(ROT_K, 9, 9, kPi / 2).Rotate(1, 0, 0, X, Y, Z);
  EXPECT_NEAR(X, 0, 1e-15);
  EXPECT_NEAR(Y, 1, 1e-15);
}

TEST(Rot, ThreeAxisSystemsAreTheProductsOfSingleAxisRotations) {
  for (const CWPK& a : AngleGrid()) {
    const CRot W = Make(ROT_W, a.omega, 0, 0);
    const CRot P = Make(ROT_P, 0, a.phi, 0);
    const CRot K = Make(ROT_K, 0, 0, a.kappa);
    ASSERT_THAT(Make(ROT_WPK, a.omega, a.phi, a.kappa), IsNearRot(K * P * W, 1e-15));
    ASSERT_THAT(Make(ROT_KPW, a.omega, a.phi, a.kappa), IsNearRot(W * P * K, 1e-15));
  }
}

TEST(Rot, EverySystemIsOrthonormalWithDeterminantOne) {
  for (const CWPK& a : AngleGrid())
    for (ROT_SYSTEM sys : {ROT_W, ROT_P, ROT_K, ROT_WPK, ROT_KPW})
      ExpectOrthonormal(Make(sys, a.omega, a.phi, a.kappa));
}

class RotRoundTrip : public ::testing::TestWithParam<ROT_SYSTEM> {};

TEST_P(RotRoundTrip, AnglesComeBackWithThemselvesAsReference) {
  const ROT_SYSTEM sys = GetParam();
  for (const CWPK& a : AngleGrid()) {
    CRot r = Make(sys, a.omega, a.phi, a.kappa);
    CWPK b(a);
    ASSERT_EQ(r.CalAngle(sys, b), 1);
    EXPECT_THAT(b, IsNearWPK(a, 1e-12));
  }
}

TEST_P(RotRoundTrip, AnyReferenceGivesAnglesOfTheSameMatrix) {
  const ROT_SYSTEM sys = GetParam();
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> angle(-4.0, 4.0);
  for (const CWPK& a : AngleGrid()) {
    const CRot r = Make(sys, a.omega, a.phi, a.kappa);
    CWPK b(angle(rng), angle(rng), angle(rng));
    CRot copy = r;
    ASSERT_EQ(copy.CalAngle(sys, b), 1);
    for (double v : {b.omega, b.phi, b.kappa}) ASSERT_LE(std::fabs(v), kPi);
    EXPECT_THAT(Make(sys, b.omega, b.phi, b.kappa), IsNearRot(r, 1e-12));
  }
}

TEST_P(RotRoundTrip, ReferenceNearTheMirrorSolutionSelectsIt) {
  // (w, p, k) and (w + PI, PI - p, k + PI) give the same matrix; a reference
  // close to the second returns the second.
  const ROT_SYSTEM sys = GetParam();
  const CWPK a(0.4, 0.3, -0.7);
  CWPK mirror(a.omega + kPi, kPi - a.phi, a.kappa + kPi);
  mirror.Normalize();
  CRot r = Make(sys, a.omega, a.phi, a.kappa);
  CWPK b(mirror.omega + 0.01, mirror.phi - 0.01, mirror.kappa + 0.02);
  ASSERT_EQ(r.CalAngle(sys, b), 1);
  EXPECT_THAT(b, IsNearWPK(mirror, 1e-12));
  CWPK zero;  // a zero reference picks the principal solution here
  ASSERT_EQ(r.CalAngle(sys, zero), 1);
  EXPECT_NEAR(zero.phi, a.phi, 1e-12);
}

TEST_P(RotRoundTrip, NearGimbalLockStillRebuildsTheMatrix) {
  const ROT_SYSTEM sys = GetParam();
  for (double offset : {1e-3, 1e-6, 1e-9, 1e-11}) {
    for (double sign : {1.0, -1.0}) {
      const CWPK a(0.35, sign * (kPi / 2 - offset), -1.1);
      const CRot r = Make(sys, a.omega, a.phi, a.kappa);
      CWPK b(a);
      CRot copy = r;
      ASSERT_EQ(copy.CalAngle(sys, b), 1);
      EXPECT_NEAR(b.phi, a.phi, 1e-6) << offset;
      EXPECT_THAT(Make(sys, b.omega, b.phi, b.kappa), IsNearRot(r, 1e-9)) << offset;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(ThreeAxis,
                         RotRoundTrip,
                         ::testing::Values(ROT_WPK, ROT_KPW),
                         [](const auto& info) { return info.param == ROT_WPK ? "WPK" : "KPW"; });

// At phi = +-PI/2 only omega -/+ kappa is fixed: omega keeps the reference
// and kappa takes the rest. Hand-worked from the matrices:
//   WPK, phi = +PI/2: kappa - omega fixed; phi = -PI/2: kappa + omega fixed.
//   KPW, phi = +PI/2: kappa + omega fixed; phi = -PI/2: kappa - omega fixed.
struct GimbalCase {
  const char* name;
  ROT_SYSTEM sys;
  double phi;
  double kappa;  // expected, for omega 0.4, kappa 0.9 and reference omega 0.1
};

TEST(Rot, GimbalLocked) {
  const GimbalCase cases[] = {
      {"WPK +PI/2", ROT_WPK, kPi / 2, 0.1 + (0.9 - 0.4)},
      {"WPK -PI/2", ROT_WPK, -kPi / 2, (0.9 + 0.4) - 0.1},
      {"KPW +PI/2", ROT_KPW, kPi / 2, (0.9 + 0.4) - 0.1},
      {"KPW -PI/2", ROT_KPW, -kPi / 2, 0.1 + (0.9 - 0.4)},
  };
  for (const GimbalCase& c : cases) {
    const CRot r = Make(c.sys, 0.4, c.phi, 0.9);
    CRot copy = r;
    CWPK b(0.1, c.phi, 0.0);
    ASSERT_EQ(copy.CalAngle(c.sys, b), 1) << c.name;
    EXPECT_EQ(b.omega, 0.1) << c.name;
    EXPECT_NEAR(b.phi, c.phi, 1e-15) << c.name;
    EXPECT_NEAR(b.kappa, c.kappa, 1e-12) << c.name;
    EXPECT_THAT(Make(c.sys, b.omega, b.phi, b.kappa), IsNearRot(r, 1e-12)) << c.name;
  }
}

class PeekRot : public CRot {
 public:
  using CRot::CalAngle_KPW;
  using CRot::CalAngle_WPK;
};

TEST(Rot, SineJustPastOneIsClampedNotNaN) {
  PeekRot r;
  // Kappa 0, omega 0 at phi = PI/2, with the sine rounded past one.
  // clang-format off
  r.m[0][0] = 0; r.m[0][1] = 0; r.m[0][2] = 1;
  r.m[1][0] = 0; r.m[1][1] = 1; r.m[1][2] = 0;
  r.m[2][0] = -1.0000000001; r.m[2][1] = 0; r.m[2][2] = 0;
  // clang-format on
  CWPK out;
  r.CalAngle_WPK(CWPK(0.2, 1.5, 0), out);
  EXPECT_EQ(out.phi, kPi / 2);
  EXPECT_EQ(out.omega, 0.2);
  EXPECT_FALSE(std::isnan(out.kappa));

  r.m[0][2] = -1.0000000001;
  r.CalAngle_KPW(CWPK(0.2, -1.5, 0), out);
  EXPECT_EQ(out.phi, -kPi / 2);
  EXPECT_FALSE(std::isnan(out.kappa));
}

TEST(Rot, SingleAxisExtractionClearsTheOtherAngles) {
  CRot r = Make(ROT_P, 0, 0.6, 0);
  CWPK a(1, 2, 3);
  ASSERT_EQ(r.CalAngle(ROT_P, a), 1);
  EXPECT_EQ(a.omega, 0);
  EXPECT_NEAR(a.phi, 0.6, 1e-15);
  EXPECT_EQ(a.kappa, 0);
  r = Make(ROT_W, -2.5, 0, 0);
  ASSERT_EQ(r.CalAngle(ROT_W, a), 1);
  EXPECT_NEAR(a.omega, -2.5, 1e-15);
  EXPECT_EQ(a.phi, 0);
  r = Make(ROT_K, 0, 0, 3.0);
  ASSERT_EQ(r.CalAngle(ROT_K, a), 1);
  EXPECT_NEAR(a.kappa, 3.0, 1e-15);
}

TEST(Rot, UnknownSystemIsRejectedAndChangesNothing) {
  const CRot start = Make(ROT_WPK, 0.1, 0.2, 0.3);
  for (int bad : {5, 7, -1, 1000}) {
    CRot r = start;
    CWPK a(1, 2, 3);
    EXPECT_EQ(r.CalAngle(static_cast<ROT_SYSTEM>(bad), a), 0);
    EXPECT_THAT(a, IsNearWPK(CWPK(1, 2, 3), 0.0));
    EXPECT_EQ(r.SetMatrix(static_cast<ROT_SYSTEM>(bad), a), 0);
    EXPECT_EQ(r.AddMatrix(static_cast<ROT_SYSTEM>(bad), a), 0);
    EXPECT_EQ(MaxDiff(r, start), 0.0);
  }
}

TEST(Rot, DegreeMatrixIsKPWAndItsInverseUndoesIt) {
  double d[3] = {12.5, -33.25, 101.0};
  CRot r, inv;
  ASSERT_EQ(r.SetDIMat(d), 1);
  ASSERT_EQ(inv.SetDIMatInv(d), 1);
  EXPECT_LT(MaxDiff(r, Make(ROT_KPW, 12.5 * kPi / 180, -33.25 * kPi / 180, 101.0 * kPi / 180)),
            1e-15);
  EXPECT_THAT(inv * r, IsNearRot(CRot(), 1e-15));
  EXPECT_THAT(r * inv, IsNearRot(CRot(), 1e-15));

  double quarter[3] = {0, 0, 90};
  r.SetDIMat(quarter);
  double X, Y, Z;
  r.Rotate(1, 0, 0, X, Y, Z);
  EXPECT_NEAR(X, 0, 1e-15);
  EXPECT_NEAR(Y, 1, 1e-15);
}

TEST(Rot, AddMatrixPreMultipliesWhileTimesEqualsPostMultiplies) {
  const CRot M = Make(ROT_WPK, 0.2, -0.5, 1.1);
  const CRot W = Make(ROT_W, 0.7, 0, 0);
  CRot pre = M;
  ASSERT_EQ(pre.AddMatrix(ROT_W, CWPK(0.7, 5, 5)), 1);
  CRot post = M;
  post *= W;
  EXPECT_THAT(pre, IsNearRot(W * M, 1e-15));
  EXPECT_THAT(post, IsNearRot(M * W, 1e-15));
  EXPECT_GT(MaxDiff(pre, post), 0.01);  // the two orders really differ here
  CRot viaRot = M;
  viaRot.AddMatrix(W);
  EXPECT_THAT(viaRot, IsNearRot(pre, 1e-15));
}

TEST(Rot, TransposeIsTheInverse) {
  const CRot r = Make(ROT_KPW, 0.9, 0.4, -2.0);
  CRot t = r;
  t.T();
  EXPECT_EQ(t.m[0][1], r.m[1][0]);
  EXPECT_EQ(t.m[2][0], r.m[0][2]);
  const CXYZ p(L"P", 1.5, -2, 0.25);
  EXPECT_THAT(t * (r * p), IsNearXYZ(1.5, -2, 0.25, 1e-14));
}

TEST(Rot, RotatingAPointKeepsItsFieldsAndWorksInPlace) {
  const CRot r = Make(ROT_K, 0, 0, kPi / 2);
  CXYZ p(L"P7", 2, 0, 5);
  p.Code = L"TGT";
  p.Num = 3;
  CXYZ out;
  r.Rotate(p, out);
  EXPECT_EQ(out.Name, L"P7");
  EXPECT_EQ(out.Code, L"TGT");
  EXPECT_EQ(out.Num, 3);
  EXPECT_THAT(out, IsNearXYZ(0, 2, 5, 1e-15));
  r.Rotate(p, p);  // in and out the same object
  EXPECT_THAT(p, IsNearXYZ(0, 2, 5, 1e-15));
  const CXYZ q = r * CXYZ(L"Q", 0, 1, 0);
  EXPECT_EQ(q.Name, L"Q");
  EXPECT_NEAR(q.X, -1, 1e-15);
}

TEST(Rot, ObjectsComeFromTheSharedHeap) {
  const long before = platform::LiveHeapBlocks();
  auto* r = new CRot[2];
  EXPECT_EQ(platform::LiveHeapBlocks(), before + 1);
  delete[] r;
  EXPECT_EQ(platform::LiveHeapBlocks(), before);
}

}  // namespace
