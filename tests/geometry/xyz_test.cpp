// CXYZ: arithmetic, the deliberate quirks of the quotient operators, copying
// of the carried fields, and allocation through the shared heap.
#include "geometry/xyz.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

CXYZ Tagged(const wchar_t* name, double x, double y, double z) {
  CXYZ p(name, x, y, z);
  p.Code = L"TGT";
  p.Aux1 = 1.25;
  p.Aux2 = -7.5;
  p.Num = 42;
  return p;
}

void ExpectXYZ(const CXYZ& p, double x, double y, double z) {
  EXPECT_DOUBLE_EQ(p.X, x);
  EXPECT_DOUBLE_EQ(p.Y, y);
  EXPECT_DOUBLE_EQ(p.Z, z);
}

TEST(XYZ, DefaultAndNamedConstructionStartFromZero) {
  CXYZ p;
  EXPECT_TRUE(p.Name.IsEmpty());
  EXPECT_TRUE(p.Code.IsEmpty());
  ExpectXYZ(p, 0, 0, 0);
  EXPECT_EQ(p.Aux1, 0.0);
  EXPECT_EQ(p.Aux2, 0.0);
  EXPECT_EQ(p.Num, 0);

  CXYZ q(L"BM-17 long name with blanks, commas and more than thirty-two characters", 1, 2, 3);
  EXPECT_EQ(q.Name, L"BM-17 long name with blanks, commas and more than thirty-two characters");
  ExpectXYZ(q, 1, 2, 3);
}

TEST(XYZ, InitClearsEverythingAndSetXYZTouchesOnlyCoordinates) {
  CXYZ p = Tagged(L"A", 1, 2, 3);
  p.SetXYZ(4, 5, 6);
  EXPECT_EQ(p.Name, L"A");
  EXPECT_EQ(p.Num, 42);
  ExpectXYZ(p, 4, 5, 6);
  p.Init();
  EXPECT_TRUE(p.Name.IsEmpty());
  EXPECT_TRUE(p.Code.IsEmpty());
  ExpectXYZ(p, 0, 0, 0);
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
    ExpectXYZ(*p, 1, 2, 3);
  }
  CXYZ& self = c;
  c = self;
  EXPECT_EQ(c.Name, L"A");
  ExpectXYZ(c, 1, 2, 3);
}

TEST(XYZ, QuotientByPointLosesTheNameAndZeroesZeroDivisorComponents) {
  const CXYZ p = Tagged(L"P", 1, 2, 3);
  const CXYZ q = p / CXYZ(2, 0, 4);
  ExpectXYZ(q, 0.5, 0, 0.75);
  EXPECT_TRUE(q.Name.IsEmpty());
  EXPECT_TRUE(q.Code.IsEmpty());
  EXPECT_EQ(q.Num, 0);

  CXYZ r = p;
  r /= CXYZ(2, 0, 4);
  ExpectXYZ(r, 0.5, 2, 0.75);
  EXPECT_EQ(r.Name, L"P");
}

TEST(XYZ, QuotientByScalarZeroGivesZeroesOrLeavesThePoint) {
  const CXYZ p = Tagged(L"P", 1, 2, 3);
  const CXYZ zero = p / 0.0;
  ExpectXYZ(zero, 0, 0, 0);
  EXPECT_TRUE(zero.Name.IsEmpty());

  const CXYZ quarter = p / 4.0;
  ExpectXYZ(quarter, 0.25, 0.5, 0.75);
  EXPECT_TRUE(quarter.Name.IsEmpty());

  CXYZ r = p;
  r /= 0.0;
  ExpectXYZ(r, 1, 2, 3);
  r /= 2.0;
  ExpectXYZ(r, 0.5, 1, 1.5);
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
  ExpectXYZ(results[0], 1, -2, 3);
  ExpectXYZ(results[1], -1, 2, -3);
  ExpectXYZ(results[2], 1.5, 2, 1);
  ExpectXYZ(results[3], 0.5, -6, 5);
  ExpectXYZ(results[4], 0.5, -8, -6);
  ExpectXYZ(results[5], 2, -4, 6);
}

TEST(XYZ, InPlaceOperatorsMatchTheirCopyingForms) {
  const CXYZ p(1.5, -2.25, 7);
  const CXYZ o(-0.5, 3, 0.25);
  CXYZ a = p, b = p, c = p, d = p;
  a += o;
  b -= o;
  c *= o;
  d *= -3.0;
  ExpectXYZ(a, 1, 0.75, 7.25);
  ExpectXYZ(b, 2, -5.25, 6.75);
  ExpectXYZ(c, -0.75, -6.75, 1.75);
  ExpectXYZ(d, -4.5, 6.75, -21);
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
  ExpectXYZ(ez, 0, 0, 1);
  EXPECT_TRUE(ez.Name.IsEmpty());

  CXYZ a(0.3, -1.7, 2.9), b(-4.1, 0.6, 1.3);
  const CXYZ c = a.Out(b);
  EXPECT_NEAR(c.Inn(a), 0, 1e-12);
  EXPECT_NEAR(c.Inn(b), 0, 1e-12);
  const CXYZ d = b.Out(a);
  ExpectXYZ(d, -c.X, -c.Y, -c.Z);
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

TEST(XYZ, ObjectsComeFromTheSharedHeap) {
  const long before = platform::LiveHeapBlocks();
  auto* one = new CXYZ(L"heap", 1, 2, 3);
  auto* many = new CXYZ[4];
  EXPECT_EQ(platform::LiveHeapBlocks(), before + 2);
  EXPECT_EQ(one->Name, L"heap");
  delete one;
  delete[] many;
  EXPECT_EQ(platform::LiveHeapBlocks(), before);

  alignas(CXYZ) unsigned char storage[sizeof(CXYZ)];
  CXYZ* placed = new (storage) CXYZ(4, 5, 6);
  EXPECT_EQ(static_cast<void*>(placed), static_cast<void*>(storage));
  EXPECT_EQ(platform::LiveHeapBlocks(), before);
  placed->~CXYZ();
}

}  // namespace
