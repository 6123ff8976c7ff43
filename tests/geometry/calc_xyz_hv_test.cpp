// CCalcXYZHV: survey angles by hand, D.MMSS conversions with their quirks, the time helpers.
#include "geometry/calc_xyz_hv.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/decimal_comma_locale.h"
#include "tests/support/matchers.h"
#include "tests/support/test_support.h"

namespace {

SYSTEMTIME Time(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second = 0) {
  return SYSTEMTIME{year, month, 0, day, hour, minute, second, 0};
}

class CalcXYZHVBox : public testing_support::DeviceTest {};

TEST_F(CalcXYZHVBox, HorizontalAndZenithAnglesHandWorkedAndTargetsAboveTheStationRefused) {
  const struct {
    double x, y, z, height, h, v;
  } cases[] = {
      {1, 1, 1, 0, 45, 54.735610317245346},  // 90 - atan(1 / sqrt 2)
      {1, 0, 0, 0, 0, 90},
      {0, 1, 0, 0, 90, 90},
      {-1, 0, 0, 0, 180, 90},
      {0, -1, 0, 0, 270, 90},
      {1, -1, 0, 0, 315, 90},
      {-1, 1, 0, 0, 135, 90},
      {-1, -1, 0, 0, 225, 90},
      {2, 2 * std::sqrt(3.0), -4, 0, 60, 135},  // hd = 4, dz = -4: 45 below level
      // 1.5 m above a station at 100 m, 101.5 m is level; 48.5 m lower, 50 m away, 45 up.
      {1030, 2040, 101.5, 1.5, 53.13010235415598, 90},  // atan2(40, 30)
      {1030, 2040, 101.5, -48.5, 53.13010235415598, 45},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.x << "," << c.y);
    const CXYZ station = c.x > 100 ? CXYZ(1000, 2000, 100) : CXYZ(0, 0, 0);
    double v = -1, h = -1;
    ASSERT_EQ(CCalcXYZHV::XYZToHV(station, CXYZ(c.x, c.y, c.z), c.height, v, h), 1);
    EXPECT_NEAR(std::hypot(h - c.h, v - c.v), 0.0, 1e-12);
  }
  EXPECT_EQ(boxes_.size(), 0u);
  double v = 12.5, h = 99;
  EXPECT_EQ(CCalcXYZHV::XYZToHV(CXYZ(5, 6, 0), CXYZ(5, 6, 30), 0.0, v, h), 0);
  EXPECT_EQ(v + h, 12.5);  // v untouched, h cleared
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(),
            L"The unjust value is set as one of a machine point and the back viewpoints. E-509");
  EXPECT_TRUE(boxes_.calls().back().application);
}

TEST(CalcXYZHV, PackedAnglesHandWorked) {
  const struct {
    bool to60;
    double in, out;
    int wrap;
  } cases[] = {
      {true, 123 + 45. / 60 + 27. / 3600, 123.4527, 0},
      {true, 359.99999, 360.0, 1},  // 359 deg 59 min 59.964 s carries into 360, not wrapped to 0
      {true, -30.5, 329.3, 1},
      {true, 0.5 / 3600, 0.0001, 0},  // half a second rounds up
      {true, 0.49 / 3600, 0.0, 0},
      {false, 123.4527, 123 + (45 * 60 + 27) / 3600.0, 0},
      {false, -30.5, 329 + 50. / 60, 1},  // wraps the packed number: 329.5 is 329 deg 50 min
      {false, -5.3, -4.5, 0},             // the text "-05.3000": -5 degrees plus 30 minutes
  };
  for (const auto& c : cases)
    EXPECT_NEAR(
        c.to60 ? CCalcXYZHV::Angle100To60(c.in, c.wrap) : CCalcXYZHV::Angle60To100(c.in, c.wrap),
        c.out,
        1e-12)
        << c.in;
  for (int d = 0; d < 360; d += 7)
    for (int m = 0; m < 60; m += 7)
      for (int s = 0; s < 60; s += 3) {
        const double deg = d + m / 60.0 + s / 3600.0, packed = d + m * 0.01 + s * 0.0001;
        ASSERT_NEAR(CCalcXYZHV::Angle100To60(deg, 0), packed, 1e-9) << d << " " << m << " " << s;
        ASSERT_NEAR(CCalcXYZHV::Angle60To100(packed, 0), deg, 1e-9) << d << " " << m << " " << s;
        ASSERT_NEAR(CCalcXYZHV::Angle60To100(CCalcXYZHV::Angle100To60(deg, 1), 1), deg, 1e-9);
      }
}

TEST(CalcXYZHV, PackedConversionAndTimeTextIgnoreTheProcessLocale) {
  testing_support::DecimalCommaLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no decimal-comma locale available";
  EXPECT_NEAR(CCalcXYZHV::Angle60To100(123.4527, 0), 123 + (45 * 60 + 27) / 3600.0, 1e-12);
  EXPECT_EQ(CCalcXYZHV::TimeToString(Time(2024, 5, 3, 14, 7)), L"202405031407");
}

TEST(CalcXYZHV, WrapToFullTurn) {
  // 1e9 = 2777777 turns + 280 deg; NaN must return.
  const double in[] = {-30, 725, 360, 0, 720, -720, -360, 359.5, 1e9 + 30, -1e9, std::nan("")};
  const double out[] = {330, 5, 360, 0, 360, 0, 0, 359.5, 310, 80};
  for (int i = 0; i < 11; ++i) {
    double x = in[i];
    CCalcXYZHV::Angle0To360(x);
    EXPECT_TRUE(i < 10 ? std::fabs(x - out[i]) < 1e-9 : std::isnan(x)) << in[i] << " -> " << x;
  }
  // The shortcut for large values agrees with removing one turn at a time.
  for (double base : {360.0 * 4096, -360.0 * 4096, 360.0 * 5000, -360.0 * 5000})
    for (double step : {-720.25, -360.0, -0.125, 0.0, 0.1, 359.9, 360.0, 1234.5678}) {
      double fast = base + step, slow = fast;
      CCalcXYZHV::Angle0To360(fast);
      while (slow > 360 || slow < 0) slow += slow > 360 ? -360 : 360;
      EXPECT_EQ(fast, slow) << base << " + " << step;
    }
}

TEST(CalcXYZHV, SurveyAxesTimesAndTimeText) {
  CXYZ p(L"P", 12.345, -6.789, 101.5);
  CCalcXYZHV::CnvSokuToMath(p);  // survey metres to math millimetres, X and Y swapped
  EXPECT_THAT(p, testing_support::IsNearXYZ(-6789, 12345, 101500, 1e-9));
  EXPECT_EQ(p.Name, L"P");
  CCalcXYZHV::CnvMathToSoku(p);
  EXPECT_THAT(p, testing_support::IsNearXYZ(12.345, -6.789, 101.5, 1e-12));
  // Taken times count hours and minutes only.
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(Time(2024, 5, 3, 23, 50), Time(2024, 5, 4, 0, 10)), -1420);
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(Time(2024, 5, 3, 9, 15, 59), Time(2024, 5, 3, 11, 5, 0)), 110);
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(Time(2023, 1, 1, 8, 0), Time(2024, 5, 3, 8, 0)), 0);
  EXPECT_EQ(CCalcXYZHV::TimeToString(Time(987, 12, 31, 0, 0, 9)), L"098712310000");
}

}  // namespace
