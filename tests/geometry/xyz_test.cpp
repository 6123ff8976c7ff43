// CXYZ: arithmetic, the deliberate quirks of the quotient operators, copying
// of the carried fields.
#include "geometry/xyz.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/matchers.h"

namespace {

using testing_support::IsNearXYZ;

CXYZ Tagged(const wchar_t* name, double x, double y, double z) {
  CXYZ p(name, x, y, z);
  p.Code = L"TGT";
  p.Aux1 = 1.25;
  p.Aux2 = -7.5;
  p.Num = 42;
  return p;
}

TEST(XYZ, InitClearsEverythingAndSetXYZTouchesOnlyCoordinates) {
  CXYZ p = Tagged(L"A", 1, 2, 3);
  p.SetXYZ(4, 5, 6);
  EXPECT_EQ(p.Name, L"A");
  EXPECT_EQ(p.Num, 42);
  EXPECT_THAT(p, IsNearXYZ(4, 5, 6, 1e-15));
  p.Init();
  EXPECT_TRUE(p.Name.IsEmpty());
  EXPECT_TRUE(p.Code.IsEmpty());
  EXPECT_THAT(p, IsNearXYZ(0, 0, 0, 1e-15));
  EXPECT_EQ(p.Aux1, 0.0);
  EXPECT_EQ(p.Num, 0);
}

TEST(XYZ, CopyAndAssignmentCarryEveryField) {
  const CXYZ a = Tagged(L"A", 1, 2, 3);
  CXYZ b(a);
  CXYZ c;
  c = a;
  for (const CXYZ* p : {&b, &c}) {
    EXPECT_EQ(p->Name, L"A");
    EXPECT_EQ(p->Code, L"TGT");
    EXPECT_EQ(p->Aux1, 1.25);
    EXPECT_EQ(p->Aux2, -7.5);
    EXPECT_EQ(p->Num, 42);
    EXPECT_THAT(*p, IsNearXYZ(1, 2, 3, 1e-15));
  }
  CXYZ& self = c;
  c = self;
  EXPECT_EQ(c.Name, L"A");
  EXPECT_THAT(c, IsNearXYZ(1, 2, 3, 1e-15));
}

TEST(XYZ, QuotientByPointLosesTheNameAndZeroesZeroDivisorComponents) {
  const CXYZ p = Tagged(L"P", 1, 2, 3);
  const CXYZ q = p / CXYZ(2, 0, 4);
  EXPECT_THAT(q, IsNearXYZ(0.5, 0, 0.75, 1e-15));
  EXPECT_TRUE(q.Name.IsEmpty());
  EXPECT_TRUE(q.Code.IsEmpty());
  EXPECT_EQ(q.Num, 0);

  CXYZ r = p;
  r /= CXYZ(2, 0, 4);
  EXPECT_THAT(r, IsNearXYZ(0.5, 2, 0.75, 1e-15));
  EXPECT_EQ(r.Name, L"P");
}

TEST(XYZ, QuotientByScalarZeroGivesZeroesOrLeavesThePoint) {
  const CXYZ p = Tagged(L"P", 1, 2, 3);
  const CXYZ zero = p / 0.0;
  EXPECT_THAT(zero, IsNearXYZ(0, 0, 0, 1e-15));
  EXPECT_TRUE(zero.Name.IsEmpty());

  const CXYZ quarter = p / 4.0;
  EXPECT_THAT(quarter, IsNearXYZ(0.25, 0.5, 0.75, 1e-15));
  EXPECT_TRUE(quarter.Name.IsEmpty());

  CXYZ r = p;
  r /= 0.0;
  EXPECT_THAT(r, IsNearXYZ(1, 2, 3, 1e-15));
  r /= 2.0;
  EXPECT_THAT(r, IsNearXYZ(0.5, 1, 1.5, 1e-15));
  EXPECT_EQ(r.Name, L"P");
}

TEST(XYZ, OtherOperatorsKeepTextsAndExtras) {
  const CXYZ p = Tagged(L"P", 1, -2, 3);
  const CXYZ o(0.5, 4, -2);
  const CXYZ results[] = {+p, -p, p + o, p - o, p * o, p * 2.0};
  for (const CXYZ& r : results) {
    EXPECT_EQ(r.Name, L"P");
    EXPECT_EQ(r.Code, L"TGT");
    EXPECT_EQ(r.Num, 42);
    EXPECT_EQ(r.Aux2, -7.5);
  }
  EXPECT_THAT(results[0], IsNearXYZ(1, -2, 3, 1e-15));
  EXPECT_THAT(results[1], IsNearXYZ(-1, 2, -3, 1e-15));
  EXPECT_THAT(results[2], IsNearXYZ(1.5, 2, 1, 1e-15));
  EXPECT_THAT(results[3], IsNearXYZ(0.5, -6, 5, 1e-15));
  EXPECT_THAT(results[4], IsNearXYZ(0.5, -8, -6, 1e-15));
  EXPECT_THAT(results[5], IsNearXYZ(2, -4, 6, 1e-15));
}

TEST(XYZ, InPlaceOperatorsMatchTheirCopyingForms) {
  const CXYZ p(1.5, -2.25, 7);
  const CXYZ o(-0.5, 3, 0.25);
  CXYZ a = p, b = p, c = p, d = p;
  a += o;
  b -= o;
  c *= o;
  d *= -3.0;
  EXPECT_THAT(a, IsNearXYZ(1, 0.75, 7.25, 1e-15));
  EXPECT_THAT(b, IsNearXYZ(2, -5.25, 6.75, 1e-15));
  EXPECT_THAT(c, IsNearXYZ(-0.75, -6.75, 1.75, 1e-15));
  EXPECT_THAT(d, IsNearXYZ(-4.5, 6.75, -21, 1e-15));
}

TEST(XYZ, DotProductSumsZFirst) {
  // With Z first: -1e16 + 1e16 = 0, then + 1 = 1. Summing X first would
  // lose the 1 against 1e16 and give 0.
  const CXYZ a(1, 1e16, -1e16);
  const CXYZ b(1, 1, 1);
  EXPECT_EQ(a.Inn(b), 1.0);
  EXPECT_DOUBLE_EQ(CXYZ(1, 2, 3).Inn(CXYZ(4, -5, 6)), 4 - 10 + 18);
}

TEST(XYZ, CrossProductIsRightHandedAndOrthogonal) {
  CXYZ ex(L"x", 1, 0, 0), ey(0, 1, 0);
  const CXYZ ez = ex.Out(ey);
  EXPECT_THAT(ez, IsNearXYZ(0, 0, 1, 1e-15));
  EXPECT_TRUE(ez.Name.IsEmpty());

  CXYZ a(0.3, -1.7, 2.9), b(-4.1, 0.6, 1.3);
  const CXYZ c = a.Out(b);
  EXPECT_NEAR(c.Inn(a), 0, 1e-12);
  EXPECT_NEAR(c.Inn(b), 0, 1e-12);
  const CXYZ d = b.Out(a);
  EXPECT_THAT(d, IsNearXYZ(-c.X, -c.Y, -c.Z, 1e-15));
  // |a x b|^2 + (a.b)^2 = |a|^2 |b|^2 (Lagrange's identity).
  EXPECT_NEAR(
      c.Len() * c.Len() + a.Inn(b) * a.Inn(b), a.Len() * a.Len() * b.Len() * b.Len(), 1e-10);
}

TEST(XYZ, LengthsAndInclusiveTolerance) {
  const CXYZ a(1, 2, 2), b(4, 6, 2);
  EXPECT_DOUBLE_EQ(a.Len(), 3);
  EXPECT_DOUBLE_EQ(a.Len(b), 5);
  EXPECT_DOUBLE_EQ(b.Len(a), 5);
  EXPECT_EQ(a.EQ(b, 5.0), 1);  // distance exactly equal to the tolerance
  EXPECT_EQ(a.EQ(b, std::nextafter(5.0, 0.0)), 0);
  EXPECT_EQ(a.EQ(a, 0.0), 1);
}

}  // namespace
