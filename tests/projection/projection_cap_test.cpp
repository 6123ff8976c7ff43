// CProjection_Cap against the standard perspective matrix, hand-worked operations and round trips.
#include "projection/projection_cap.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/matchers.h"

namespace {

using testing_support::IsNearXYZ;

constexpr double PI = 3.141592653589793;

TEST(ProjectionCap, FrustumIsTheStandardPerspectiveMatrix) {
  // glFrustum(l, r, b, t, n, f) written out by hand.
  const double l = -2, r = 3, b = -1, t = 1.5, n = 1, f = 10;
  // clang-format off
  const double expected[16] = {2 * n / (r - l), 0, (r + l) / (r - l), 0,
                               0, 2 * n / (t - b), (t + b) / (t - b), 0,
                               0, 0, -(f + n) / (f - n), -2 * f * n / (f - n),
                               0, 0, -1, 0};
  // clang-format on
  CProjection_Cap p;
  p.SetPrjMatrix(l, r, t, b, n, f);  // top before bottom
  for (int i = 0; i < 16; ++i) EXPECT_DOUBLE_EQ(p.ProjMatrix[i], expected[i]) << i;
  EXPECT_THAT(CXYZ(p.ScaleX, p.OffsetX, p.ScaleY), IsNearXYZ(2.5, 0.5, 1.25, 0.0));
  EXPECT_EQ(p.OffsetY, 0.25);
  // The near plane's corner lands on the screen corner (r, t), the far plane at depth +1.
  ASSERT_EQ(p.BeginTrans(1), 1);
  double sx, sy, sz;
  int visible;
  ASSERT_EQ(p.Transform(r, t, -n, sx, sy, sz, visible), 1);
  EXPECT_THAT(CXYZ(sx, sy, sz), IsNearXYZ(r, t, -1.0, 1e-12));
  ASSERT_EQ(p.Transform(0, 0, -f, sx, sy, sz, visible), 1);
  EXPECT_NEAR(sz, 1.0, 1e-12);
  ASSERT_EQ(p.Transform(0, 0, 2, sx, sy, sz, visible), 1);
  EXPECT_EQ(visible, 0) << "behind the camera";
  // Exactly on the clip planes (x' = y' = w, z' = -w in exact arithmetic) is visible.
  CProjection_Cap exact;
  exact.SetPrjMatrix(-2, 2, 1, -1, 1, 3);
  exact.BeginTrans(0);
  ASSERT_EQ(exact.Transform(2, 1, -1, sx, sy, sz, visible), 1);
  EXPECT_EQ(visible, 1);
  EXPECT_EQ(std::make_pair(sx, sz), std::make_pair(2.0, -1.0));
  ASSERT_EQ(exact.Transform(2.0000001, 1, -1, sx, sy, sz, visible), 1);
  EXPECT_EQ(visible, 0);
  // w = 0 (a point in the eye's plane) is refused, the outputs untouched.
  sx = sy = sz = 7;
  EXPECT_EQ(p.Transform(0.3, 0.2, 0.0, sx, sy, sz, visible), 0);
  EXPECT_THAT(CXYZ(sx, sy, sz), IsNearXYZ(7, 7, 7, 0.0));
}

TEST(ProjectionCap, ModelOperationsPreMultiply) {
  double sx, sy, sz;
  int visible;
  CProjection_Cap p;
  p.Translate(1, 0, 0);
  p.RotateZ(PI / 2);  // acts after the translation
  p.BeginTrans(0);
  p.ScaleX = p.ScaleY = 1;  // identity screen mapping
  ASSERT_EQ(p.Transform(0, 0, 0, sx, sy, sz, visible), 1);
  EXPECT_THAT(CXYZ(sx, sy, sz), IsNearXYZ(0, 1, 0, 1e-15));
  // (0, 1, 0) about X by 90° is (0, 0, 1); about Y by 90° (1, 0, 0); then Scale(2, 3, 4).
  CProjection_Cap q;
  q.RotateX(PI / 2);
  q.RotateY(PI / 2);
  q.Scale(2, 3, 4);
  q.BeginTrans(0);
  q.ScaleX = q.ScaleY = 1;
  ASSERT_EQ(q.Transform(0, 0.25, 0, sx, sy, sz, visible), 1);
  EXPECT_THAT(CXYZ(sx, sy, sz), IsNearXYZ(0.5, 0, 0, 1e-15));
}

TEST(ProjectionCap, TransformThenInverseRoundTrips) {
  CProjection_Cap p;
  p.SetPrjMatrix(-1.8, 1.8, 1.35, -1.35, 8.0, 1e6);  // an 8 mm lens on a 3.6 mm sensor
  p.RotateX(0.3);
  p.RotateY(-0.7);
  p.Translate(12.5, -3.25, -4000.0);
  ASSERT_EQ(p.BeginTrans(1), 1);
  std::mt19937 rng(3);
  std::uniform_real_distribution<double> u(-1500, 1500);
  for (int i = 0; i < 200; ++i) {
    const double x = u(rng), y = u(rng), z = u(rng);
    double sx, sy, sz, bx, by, bz;
    int visible;
    ASSERT_EQ(p.Transform(x, y, z, sx, sy, sz, visible), 1);
    ASSERT_EQ(p.Inverse(sx, sy, sz, bx, by, bz), 1);
    // Depth near 1 loses digits in 1 - sz: relative 1e-6 of the distance.
    EXPECT_THAT(CXYZ(bx, by, bz), IsNearXYZ(x, y, z, 1e-6 * 5000));
  }
}

TEST(ProjectionCap, SingularTransformKeepsTheOldInverseAndCopiesCarryIt) {
  CProjection_Cap p;
  p.Translate(1, 2, 3);
  ASSERT_EQ(p.BeginTrans(1), 1);
  const std::vector<double> before(p.InvMatrix, p.InvMatrix + 16);
  EXPECT_EQ(before[3], -1.0);
  p.Scale(1, 0, 1);
  EXPECT_EQ(p.BeginTrans(1), 0);
  EXPECT_EQ(std::vector<double>(p.InvMatrix, p.InvMatrix + 16), before);
  CProjection_Cap q;
  q = p;
  EXPECT_EQ(std::vector<double>(q.InvMatrix, q.InvMatrix + 16), before);
}

}  // namespace
