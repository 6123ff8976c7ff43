// What a host sees of the survey geometry through the umbrella header alone,
// checked against values worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "surveycam.h"

namespace {

const double kPi = 3.141592653589793;

// Records the message boxes the library raises.
class BoxLog {
 public:
  BoxLog() {
    previous_ = platform::SetMessageBoxHandler([this](const platform::MessageBoxCall& call) {
      texts.push_back(call.text);
      return IDOK;
    });
  }
  ~BoxLog() { platform::SetMessageBoxHandler(previous_); }
  std::vector<std::wstring> texts;

 private:
  platform::MessageBoxHandler previous_;
};

TEST(GeometryPublic, PointQuotientsDropTheName) {
  CXYZ p(L"P", 1, 2, 3);
  const CXYZ q = p / CXYZ(2, 0, 4);
  EXPECT_EQ(q.X, 0.5);
  EXPECT_EQ(q.Y, 0.0);
  EXPECT_EQ(q.Z, 0.75);
  EXPECT_TRUE(q.Name.IsEmpty());
  p /= CXYZ(2, 0, 4);
  EXPECT_EQ(p.Y, 2.0);
  EXPECT_EQ(p.Name, L"P");
  const CXYZ z = CXYZ(L"Z", 1, 2, 3) / 0.0;
  EXPECT_EQ(z.X + z.Y + z.Z, 0.0);
  EXPECT_EQ(CXYZ(0, 0, 0).EQ(CXYZ(3, 4, 0), 5.0), 1);
  const CXYZ sum = CXYZ(L"S", 1, 2, 3) + CXYZ(1, 1, 1);
  EXPECT_EQ(sum.Name, L"S");
  EXPECT_EQ(sum.Z, 4.0);
}

TEST(GeometryPublic, AngleWrapping) {
  double a = 3 * kPi / 2;
  CWPK::NormalizeAngle(a);
  EXPECT_DOUBLE_EQ(a, -kPi / 2);
  a = kPi;
  CWPK::NormalizeAngle(a);
  EXPECT_EQ(a, kPi);
  a = -kPi;
  CWPK::NormalizeAngle(a);
  EXPECT_EQ(a, -kPi);
  EXPECT_NEAR(CWPK::SubtractAngle(3, -3), 2 * kPi - 6, 1e-15);
  EXPECT_EQ(CWPK::SubtractAngle(-3, 3), -6.0);
  const CWPK s = CWPK(1, 1, 1) + CWPK(3, 3, 3);
  EXPECT_DOUBLE_EQ(s.kappa, 4 - 2 * kPi);
  EXPECT_EQ((-CWPK(4, 0, 0)).omega, -4.0);
}

TEST(GeometryPublic, RotationRoundTripAndGimbalLock) {
  CRot r;
  ASSERT_EQ(r.SetMatrix(ROT_WPK, CWPK(0.3, -0.8, 2.0)), 1);
  CWPK b(0.3, -0.8, 2.0);
  ASSERT_EQ(r.CalAngle(ROT_WPK, b), 1);
  EXPECT_NEAR(b.omega, 0.3, 1e-12);
  EXPECT_NEAR(b.phi, -0.8, 1e-12);
  EXPECT_NEAR(b.kappa, 2.0, 1e-12);

  // At phi = PI/2 omega keeps the reference 0.1 and kappa takes
  // 0.1 + (0.9 - 0.4).
  r.SetMatrix(ROT_WPK, CWPK(0.4, kPi / 2, 0.9));
  CWPK g(0.1, 0, 0);
  r.CalAngle(ROT_WPK, g);
  EXPECT_EQ(g.omega, 0.1);
  EXPECT_NEAR(g.phi, kPi / 2, 1e-15);
  EXPECT_NEAR(g.kappa, 0.6, 1e-12);

  CWPK keep(1, 2, 3);
  EXPECT_EQ(r.CalAngle(static_cast<ROT_SYSTEM>(7), keep), 0);
  EXPECT_EQ(keep.phi, 2.0);

  // A quarter turn in degrees about the third axis (applied first in KPW).
  double d[3] = {0, 0, 90};
  r.SetDIMat(d);
  const CXYZ y = r * CXYZ(L"e1", 1, 0, 0);
  EXPECT_NEAR(y.X, 0, 1e-15);
  EXPECT_NEAR(y.Y, 1, 1e-15);
  EXPECT_EQ(y.Name, L"e1");
  CRot inv;
  inv.SetDIMatInv(d);
  const CXYZ back = inv * y;
  EXPECT_NEAR(back.X, 1, 1e-15);
}

TEST(GeometryPublic, SurveyAngles) {
  BoxLog boxes;
  double v = 0, h = 0;
  ASSERT_EQ(CCalcXYZHV::XYZToHV(CXYZ(0, 0, 0), CXYZ(1, 1, 1), 0.0, v, h), 1);
  EXPECT_NEAR(h, 45, 1e-12);
  EXPECT_NEAR(v, 54.7356, 1e-4);
  CCalcXYZHV::XYZToHV(CXYZ(0, 0, 0), CXYZ(1, -1, 0), 0.0, v, h);
  EXPECT_NEAR(h, 315, 1e-12);
  EXPECT_EQ(CCalcXYZHV::XYZToHV(CXYZ(0, 0, 0), CXYZ(0, 0, 5), 0.0, v, h), 0);
  EXPECT_EQ(h, 0.0);
  ASSERT_EQ(boxes.texts.size(), 1u);
  EXPECT_NE(boxes.texts[0].find(L"E-509"), std::wstring::npos);

  EXPECT_DOUBLE_EQ(CCalcXYZHV::Angle100To60(10.5, 0), 10.3);
  EXPECT_DOUBLE_EQ(CCalcXYZHV::Angle100To60(359.99999, 1), 360.0);
  EXPECT_DOUBLE_EQ(CCalcXYZHV::Angle60To100(10.3, 0), 10.5);
  EXPECT_NEAR(CCalcXYZHV::Angle60To100(123.4527, 0), 123 + (45 * 60 + 27) / 3600.0, 1e-12);
  double w = -30;
  CCalcXYZHV::Angle0To360(w);
  EXPECT_EQ(w, 330.0);
  w = 360;
  CCalcXYZHV::Angle0To360(w);
  EXPECT_EQ(w, 360.0);

  SYSTEMTIME a{2024, 5, 5, 3, 23, 50, 0, 0};
  SYSTEMTIME b{2024, 5, 6, 4, 0, 10, 0, 0};
  EXPECT_EQ(CCalcXYZHV::GetTakenTime(a, b), -1420);
  EXPECT_EQ(CCalcXYZHV::TimeToString(a), L"202405032350");

  CXYZ p(1.5, -2, 3);
  CCalcXYZHV::CnvSokuToMath(p);
  EXPECT_EQ(p.X, -2000.0);
  EXPECT_EQ(p.Y, 1500.0);
}

}  // namespace
