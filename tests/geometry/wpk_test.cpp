// CWPK: angle wrapping, the asymmetric difference and the operators.
#include "geometry/wpk.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/matchers.h"

namespace {

using testing_support::IsNearWPK;

const double kPi = 3.141592653589793;

double Normalized(double x) {
  CWPK::NormalizeAngle(x);
  return x;
}

TEST(WPK, NormalizeAngle) {
  const double cases[][2] = {
      {3 * kPi / 2, -kPi / 2}, {-3 * kPi / 2, kPi / 2}, {kPi, kPi}, {-kPi, -kPi}, {0.0, 0.0}};
  for (const auto& c : cases) EXPECT_NEAR(Normalized(c[0]), c[1], 1e-15) << c[0];
  // The direction is kept; a second pass changes nothing.
  for (double x = -50; x < 50; x += 0.173) {
    const double n = Normalized(x);
    ASSERT_LE(std::fabs(n), kPi) << x;
    EXPECT_NEAR(std::hypot(std::sin(n) - std::sin(x), std::cos(n) - std::cos(x)), 0.0, 1e-12) << x;
    EXPECT_EQ(Normalized(n), n) << x;
  }
}

TEST(WPK, SubtractionWrapsOnlyLargePositiveDifferencesSumsAlways) {
  // 6.2 normalises to 6.2 - 2·PI = -0.0831853...; 0.1 minus that is small.
  EXPECT_NEAR(CWPK::SubtractAngle(0.1, 6.2), 0.18318530717958623, 1e-15);
  EXPECT_NEAR(CWPK::SubtractAngle(3, -3), 2 * kPi - 6, 1e-15);  // 6 becomes 2·PI - 6
  EXPECT_DOUBLE_EQ(CWPK::SubtractAngle(-3, 3), -6);             // never for negatives
  EXPECT_DOUBLE_EQ(CWPK::SubtractAngle(0.2, 0.5), -0.3);
  CWPK a(0.1, 3, -0.5), b(0.4, -3, 0.25);  // Subtract is the argument minus this
  EXPECT_THAT(a.Subtract(b), IsNearWPK(CWPK(0.3, -6, 0.75), 1e-15));
  EXPECT_THAT(b.Subtract(a), IsNearWPK(CWPK(-0.3, 2 * kPi - 6, -0.75), 1e-15));
  // Sums and differences are normalised, the signs are not.
  const double w = 4 - 2 * kPi;
  EXPECT_THAT(CWPK(1, 1, 1) + CWPK(3, 3, 3), IsNearWPK(CWPK(w, w, w), 1e-15));
  EXPECT_THAT(-CWPK(4, 0, -5), IsNearWPK(CWPK(-4, 0, 5), 0.0));
  EXPECT_THAT(+CWPK(4, 5, 6), IsNearWPK(CWPK(4, 5, 6), 0.0));
  EXPECT_THAT(CWPK(-3, 0.5, 0) - CWPK(3, 0.25, -1), IsNearWPK(CWPK(-6 + 2 * kPi, 0.25, 1), 1e-15));
  a.SetWPK(2, 2, 2);
  a += CWPK(2, -1, 0);
  EXPECT_THAT(a, IsNearWPK(CWPK(w, 1, 2), 1e-15));
  a -= CWPK(0, 5, 0);
  EXPECT_THAT(a, IsNearWPK(CWPK(w, -4 + 2 * kPi, 2), 1e-15));
  a.Init();
  EXPECT_THAT(a, IsNearWPK(CWPK(0, 0, 0), 0.0));
}

}  // namespace
