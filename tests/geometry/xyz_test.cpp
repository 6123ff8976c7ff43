// CXYZ: arithmetic by hand, which operators keep the carried fields, the quotients' quirks.
#include "geometry/xyz.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/matchers.h"

namespace {

using testing_support::IsNearXYZ;

CXYZ Tagged(double x, double y, double z) {
  CXYZ p(L"P", x, y, z);
  p.Code = L"TGT";
  p.Aux1 = 1.25;
  p.Aux2 = -7.5;
  p.Num = 42;
  return p;
}

bool KeepsFields(const CXYZ& r) {
  return r.Name == L"P" && r.Code == L"TGT" && r.Aux1 == 1.25 && r.Aux2 == -7.5 && r.Num == 42;
}

TEST(XYZ, OperatorsOtherThanQuotientsKeepTheFields) {
  const CXYZ p = Tagged(1.5, -2.25, 7), o(-0.5, 3, 0.25);
  CXYZ a = p, b = p, c = p, d = p, e = p;
  a += o;
  b -= o;
  c *= o;
  d *= -3.0;
  e = e;  // self-assignment keeps everything
  const struct {
    CXYZ r;
    double x, y, z;
  } cases[] = {{+p, 1.5, -2.25, 7},
               {-p, -1.5, 2.25, -7},
               {p + o, 1, 0.75, 7.25},
               {p - o, 2, -5.25, 6.75},
               {p * o, -0.75, -6.75, 1.75},
               {p * -3.0, -4.5, 6.75, -21},
               {a, 1, 0.75, 7.25},
               {b, 2, -5.25, 6.75},
               {c, -0.75, -6.75, 1.75},
               {d, -4.5, 6.75, -21},
               {CXYZ(e), 1.5, -2.25, 7}};
  for (const auto& c : cases) {
    EXPECT_TRUE(KeepsFields(c.r));
    EXPECT_THAT(c.r, IsNearXYZ(c.x, c.y, c.z, 0.0));
  }
  e.Init();
  EXPECT_TRUE(e.Name.IsEmpty() && e.Code.IsEmpty() && e.Aux1 == 0 && e.Aux2 == 0 && e.Num == 0);
  EXPECT_THAT(e, IsNearXYZ(0, 0, 0, 0.0));
}

TEST(XYZ, QuotientsDropTheFieldsAndSurviveZeroDivisors) {
  const CXYZ p = Tagged(1, 2, 3);
  const CXYZ q = p / CXYZ(2, 0, 4);
  EXPECT_THAT(q, IsNearXYZ(0.5, 0, 0.75, 0.0));  // zero divisor: zero
  EXPECT_TRUE(q.Name.IsEmpty() && q.Code.IsEmpty() && q.Num == 0);
  EXPECT_THAT(p / 0.0, IsNearXYZ(0, 0, 0, 0.0));
  EXPECT_THAT(p / 4.0, IsNearXYZ(0.25, 0.5, 0.75, 0.0));
  CXYZ r = p;
  r /= CXYZ(2, 0, 4);
  EXPECT_THAT(r, IsNearXYZ(0.5, 2, 0.75, 0.0));  // in place: left as it was
  r /= 0.0;
  EXPECT_THAT(r, IsNearXYZ(0.5, 2, 0.75, 0.0));
  r /= 2.0;
  EXPECT_THAT(r, IsNearXYZ(0.25, 1, 0.375, 0.0));
  EXPECT_TRUE(KeepsFields(r));
}

TEST(XYZ, ProductsAndLengths) {
  // With Z first: -1e16 + 1e16 = 0, then + 1 = 1; X first would lose the 1.
  EXPECT_EQ(CXYZ(1, 1e16, -1e16).Inn(CXYZ(1, 1, 1)), 1.0);
  EXPECT_EQ(CXYZ(1, 2, 3).Inn(CXYZ(4, -5, 6)), 12.0);
  const CXYZ ez = CXYZ(L"x", 1, 0, 0).Out(CXYZ(0, 1, 0));  // right-handed
  EXPECT_THAT(ez, IsNearXYZ(0, 0, 1, 0.0));
  EXPECT_TRUE(ez.Name.IsEmpty());
  CXYZ a(0.3, -1.7, 2.9), b(-4.1, 0.6, 1.3);
  // (-1.7·1.3 - 2.9·0.6, 2.9·-4.1 - 0.3·1.3, 0.3·0.6 - -1.7·-4.1)
  EXPECT_THAT(a.Out(b), IsNearXYZ(-3.95, -12.28, -6.79, 1e-14));
  const CXYZ c(1, 2, 2), d(4, 6, 2);
  EXPECT_EQ(c.Len(), 3);
  EXPECT_EQ(c.Len(d) + d.Len(c), 10);
  EXPECT_EQ(c.EQ(d, 5.0), 1);  // distance exactly equal to the tolerance
  EXPECT_EQ(c.EQ(d, std::nextafter(5.0, 0.0)), 0);
}

}  // namespace
