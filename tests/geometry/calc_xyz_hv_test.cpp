// CCalcXYZHV: survey angles from hand-worked geometry, D.MMSS conversions in
// both directions over many values (also under a decimal-comma locale), the
// deliberate quirks of the text-based conversion and of the time helpers.
#include "geometry/calc_xyz_hv.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/decimal_comma_locale.h"
#include "tests/support/matchers.h"
#include "tests/support/test_support.h"

namespace {

using testing_support::IsNearXYZ;

SYSTEMTIME Time(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second = 0) {
  return SYSTEMTIME{year, month, 0, day, hour, minute, second, 0};
}

struct HVCase {
  double x, y, z;
  double h, v;
};

TEST(CalcXYZHV, HorizontalAndZenithAnglesHandWorked) {
  const double level = 90.0;
  const HVCase cases[] = {
      {1, 1, 1, 45, 54.735610317245346},  // 90 - atan(1 / sqrt 2)
      {1, 0, 0, 0, level},
      {0, 1, 0, 90, level},
      {-1, 0, 0, 180, level},
      {0, -1, 0, 270, level},
      {1, -1, 0, 315, level},
      {-1, 1, 0, 135, level},
      {-1, -1, 0, 225, level},
      {2, 2 * std::sqrt(3.0), -4, 60, 135},  // hd = 4, dz = -4: 45 below level
  };
  const CXYZ station(0, 0, 0);
  for (const HVCase& c : cases) {
    double v = -1, h = -1;
    ASSERT_EQ(CCalcXYZHV::XYZToHV(station, CXYZ(c.x, c.y, c.z), 0.0, v, h), 1);
    EXPECT_NEAR(h, c.h, 1e-12) << c.x << "," << c.y;
    EXPECT_NEAR(v, c.v, 1e-12) << c.x << "," << c.y;
  }
}

TEST(CalcXYZHV, HeightIsTheInstrumentHeightAboveTheStation) {
  // Station at 100 m, instrument 1.5 m above it, target at 101.5 m: level.
  const CXYZ station(1000, 2000, 100);
  const CXYZ target(1030, 2040, 101.5);  // 50 m away in plan
  double v = 0, h = 0;
  ASSERT_EQ(CCalcXYZHV::XYZToHV(station, target, 1.5, v, h), 1);
  EXPECT_NEAR(v, 90, 1e-12);
  EXPECT_NEAR(h, 53.13010235415598, 1e-12);                            // atan2(40, 30)
  ASSERT_EQ(CCalcXYZHV::XYZToHV(station, target, 1.5 - 50, v, h), 1);  // 50 m up at 50 m: 45 deg
  EXPECT_NEAR(v, 45, 1e-12);
}

class CalcXYZHVBox : public testing_support::DeviceTest {};

TEST_F(CalcXYZHVBox, TargetAboveTheStationIsRefusedWithE509) {
  double v = 12.5, h = 99;
  EXPECT_EQ(CCalcXYZHV::XYZToHV(CXYZ(5, 6, 0), CXYZ(5, 6, 30), 0.0, v, h), 0);
  EXPECT_EQ(v, 12.5);  // untouched
  EXPECT_EQ(h, 0.0);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(),
            L"The unjust value is set as one of a machine point and the back viewpoints. E-509");
  EXPECT_TRUE(boxes_.calls().back().application);
}

TEST(CalcXYZHV, DecimalToPackedHandWorked) {
  EXPECT_DOUBLE_EQ(CCalcXYZHV::Angle100To60(10.5, 0), 10.3);
  EXPECT_NEAR(CCalcXYZHV::Angle100To60(123 + 45. / 60 + 27. / 3600, 0), 123.4527, 1e-12);
  EXPECT_NEAR(CCalcXYZHV::Angle100To60(30 + 15. / 60 + 20. / 3600, 0), 30.1520, 1e-12);
  // 359.99999 deg is 359 deg 59 min 59.964 s: the seconds round up and carry
  // through the minutes into 360, which is not wrapped to 0.
  EXPECT_DOUBLE_EQ(CCalcXYZHV::Angle100To60(359.99999, 1), 360.0);
  EXPECT_NEAR(CCalcXYZHV::Angle100To60(-30.5, 1), 329.3, 1e-12);
  EXPECT_NEAR(CCalcXYZHV::Angle100To60(0.5 / 3600, 0), 0.0001, 1e-15);  // half a second rounds up
  EXPECT_EQ(CCalcXYZHV::Angle100To60(0.49 / 3600, 0), 0.0);
}

TEST(CalcXYZHV, PackedToDecimalHandWorked) {
  EXPECT_DOUBLE_EQ(CCalcXYZHV::Angle60To100(10.3, 0), 10.5);
  EXPECT_NEAR(CCalcXYZHV::Angle60To100(123.4527, 0), 123 + (45 * 60 + 27) / 3600.0, 1e-12);
  EXPECT_NEAR(CCalcXYZHV::Angle60To100(45.3, 0), 45.5, 1e-12);  // "045.3000"
  // Wrapping works on the packed number: -30.5 becomes 329.5, read as
  // 329 deg 50 min.
  EXPECT_NEAR(CCalcXYZHV::Angle60To100(-30.5, 1), 329 + 50. / 60, 1e-12);
  // The text positions only fit 0 <= value < 1000: "-05.3000" reads as
  // -5 degrees plus 30 minutes.
  EXPECT_NEAR(CCalcXYZHV::Angle60To100(-5.3, 0), -4.5, 1e-12);
}

// Every whole second of a spread of angles: D.MMSS and back.
TEST(CalcXYZHV, PackedRoundTripsOverManyValues) {
  int checked = 0;
  for (int d = 0; d < 360; d += 7)
    for (int m = 0; m < 60; m += 7)
      for (int s = 0; s < 60; s += 3) {
        const double deg = d + m / 60.0 + s / 3600.0;
        const double packed = d + m * 0.01 + s * 0.0001;
        ASSERT_NEAR(CCalcXYZHV::Angle100To60(deg, 0), packed, 1e-9) << d << " " << m << " " << s;
        ASSERT_NEAR(CCalcXYZHV::Angle60To100(packed, 0), deg, 1e-9) << d << " " << m << " " << s;
        ASSERT_NEAR(CCalcXYZHV::Angle60To100(CCalcXYZHV::Angle100To60(deg, 1), 1), deg, 1e-9);
        ++checked;
      }
  EXPECT_EQ(checked, 52 * 9 * 20);
}

TEST(CalcXYZHV, PackedConversionIgnoresTheProcessLocale) {
  testing_support::DecimalCommaLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no decimal-comma locale available";
  EXPECT_DOUBLE_EQ(CCalcXYZHV::Angle60To100(10.3, 0), 10.5);
  EXPECT_NEAR(CCalcXYZHV::Angle60To100(123.4527, 0), 123 + (45 * 60 + 27) / 3600.0, 1e-12);
  EXPECT_EQ(CCalcXYZHV::TimeToString(Time(2024, 5, 3, 14, 7)), L"202405031407");
}

TEST(CalcXYZHV, WrapToFullTurn) {
  // 1e9 = 2777777 turns + 280 deg.
  const struct {
    double in, out;
  } cases[] = {{-30, 330},
               {725, 5},
               {360, 360},
               {0, 0},
               {720, 360},
               {-720, 0},
               {-360, 0},
               {359.5, 359.5},
               {1e9 + 30, 310},
               {-1e9, 80}};
  for (const auto& c : cases) {
    double x = c.in;
    CCalcXYZHV::Angle0To360(x);
    EXPECT_NEAR(x, c.out, 1e-9) << c.in;
  }
  double nan = std::nan("");
  CCalcXYZHV::Angle0To360(nan);  // must return
  EXPECT_TRUE(std::isnan(nan));
}

// Large values take a shortcut; it must agree with removing one turn at a
// time, the plain rule.
TEST(CalcXYZHV, WrapShortcutAgreesWithTurnByTurn) {
  for (double base : {360.0 * 4096, -360.0 * 4096, 360.0 * 5000, -360.0 * 5000})
    for (double step : {-720.25, -360.0, -0.125, 0.0, 0.1, 359.9, 360.0, 1234.5678}) {
      double fast = base + step;
      double slow = fast;
      CCalcXYZHV::Angle0To360(fast);
      while (slow > 360 || slow < 0) slow += slow > 360 ? -360 : 360;
      EXPECT_EQ(fast, slow) << base << " + " << step;
    }
}

TEST(CalcXYZHV, SurveyAndMathAxesSwapAndScale) {
  CXYZ p(L"P", 12.345, -6.789, 101.5);
  CCalcXYZHV::CnvSokuToMath(p);
  EXPECT_THAT(p, IsNearXYZ(-6789, 12345, 101500, 1e-9));
  EXPECT_EQ(p.Name, L"P");
  CCalcXYZHV::CnvMathToSoku(p);
  EXPECT_THAT(p, IsNearXYZ(12.345, -6.789, 101.5, 1e-12));
}

TEST(CalcXYZHV, TakenTimeUsesHoursAndMinutesOnly) {
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(Time(2024, 5, 3, 23, 50), Time(2024, 5, 4, 0, 10)), -1420);
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(Time(2024, 5, 3, 9, 15, 59), Time(2024, 5, 3, 11, 5, 0)), 110);
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(Time(2023, 1, 1, 8, 0), Time(2024, 5, 3, 8, 0)), 0);
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(Time(2024, 5, 3, 12, 30), Time(2024, 5, 3, 12, 0)), -30);
}

TEST(CalcXYZHV, TimeTextIsTwelveDigitsWithoutSeconds) {
  EXPECT_EQ(CCalcXYZHV::TimeToString(Time(2024, 5, 3, 14, 7, 9)), L"202405031407");
  EXPECT_EQ(CCalcXYZHV::TimeToString(Time(987, 12, 31, 0, 0)), L"098712310000");
}

}  // namespace
