// CWPK: angle wrapping, the asymmetric difference and the operators.
#include "geometry/wpk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tests/support/matchers.h"

namespace {

using testing_support::IsNearWPK;

const double kPi = 3.141592653589793;

double Normalized(double x) {
  CWPK::NormalizeAngle(x);
  return x;
}

TEST(WPK, NormalizeAngleHandWorkedValues) {
  EXPECT_DOUBLE_EQ(Normalized(3 * kPi / 2), -kPi / 2);
  EXPECT_DOUBLE_EQ(Normalized(-3 * kPi / 2), kPi / 2);
  EXPECT_EQ(Normalized(kPi), kPi);  // a tie keeps the input's sign
  EXPECT_EQ(Normalized(-kPi), -kPi);
  EXPECT_EQ(Normalized(0.0), 0.0);
  EXPECT_DOUBLE_EQ(Normalized(7.0), 7.0 - 2 * kPi);
  EXPECT_DOUBLE_EQ(Normalized(-20.0), -20.0 + 6 * kPi);
}

TEST(WPK, NormalizeAngleKeepsTheDirectionOverAGrid) {
  std::mt19937 rng(20240503);
  std::uniform_real_distribution<double> any(-50.0, 50.0);
  for (int i = 0; i < 2000; ++i) {
    const double x = any(rng);
    const double n = Normalized(x);
    ASSERT_LE(std::fabs(n), kPi) << x;
    EXPECT_NEAR(std::sin(n), std::sin(x), 1e-12) << x;
    EXPECT_NEAR(std::cos(n), std::cos(x), 1e-12) << x;
    EXPECT_EQ(Normalized(n), n) << x;  // idempotent
  }
}

TEST(WPK, SubtractAngleWrapsOnlyLargePositiveDifferences) {
  // 6.2 normalises to 6.2 - 2*PI = -0.0831853...; 0.1 minus that is small.
  EXPECT_NEAR(CWPK::SubtractAngle(0.1, 6.2), 0.1 - (6.2 - 2 * kPi), 1e-15);
  EXPECT_NEAR(CWPK::SubtractAngle(0.1, 6.2), 0.18318530717958623, 1e-15);
  // a large positive difference d becomes 2*PI - d, still positive
  EXPECT_NEAR(CWPK::SubtractAngle(3, -3), 2 * kPi - 6, 1e-15);
  // a large negative difference is never replaced
  EXPECT_DOUBLE_EQ(CWPK::SubtractAngle(-3, 3), -6);
  EXPECT_DOUBLE_EQ(CWPK::SubtractAngle(0.5, 0.2), 0.3);
  EXPECT_DOUBLE_EQ(CWPK::SubtractAngle(0.2, 0.5), -0.3);
}

TEST(WPK, SubtractIsTheArgumentMinusThis) {
  CWPK a(0.1, 3, -0.5);
  CWPK b(0.4, -3, 0.25);
  // phi: -3 - 3 is negative, kept
  EXPECT_THAT(a.Subtract(b), IsNearWPK(CWPK(0.3, -6, 0.75), 1e-15));
  const CWPK e = b.Subtract(a);
  EXPECT_NEAR(e.phi, 2 * kPi - 6, 1e-15);  // 3 - (-3): wrapped
}

TEST(WPK, SumAndDifferenceAreNormalisedNegationIsNot) {
  const double w = 4 - 2 * kPi;
  EXPECT_THAT(CWPK(1, 1, 1) + CWPK(3, 3, 3), IsNearWPK(CWPK(w, w, w), 1e-15));
  EXPECT_THAT(-CWPK(4, 0, -5), IsNearWPK(CWPK(-4, 0, 5), 0.0));
  EXPECT_THAT(+CWPK(4, 5, 6), IsNearWPK(CWPK(4, 5, 6), 0.0));
  EXPECT_THAT(CWPK(-3, 0.5, 0) - CWPK(3, 0.25, -1), IsNearWPK(CWPK(-6 + 2 * kPi, 0.25, 1), 1e-15));
  CWPK a(2, 2, 2);
  a += CWPK(2, -1, 0);
  EXPECT_THAT(a, IsNearWPK(CWPK(w, 1, 2), 1e-15));
  a -= CWPK(0, 5, 0);
  EXPECT_THAT(a, IsNearWPK(CWPK(w, -4 + 2 * kPi, 2), 1e-15));
}

}  // namespace
