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

// Quotients drop the carried fields; a zero divisor gives zero, or leaves the value in place.
TEST(XYZ, OperatorsKeepTheFieldsExceptQuotients) {
  const CXYZ p = Tagged(1.5, -2.25, 7), o(-0.5, 3, 0.25), q = Tagged(1, 2, 3);
  CXYZ a = p, b = p, c = p, d = p, e = p, f = q, g, h;
  a += o;
  b -= o;
  c *= o;
  d *= -3.0;
  e = e;  // self-assignment keeps everything
  f /= CXYZ(2, 0, 4);
  g = f;
  g /= 0.0;
  h = g;
  h /= 2.0;
  const struct {
    CXYZ r;
    double x, y, z;
    bool keeps;
  } cases[] = {{+p, 1.5, -2.25, 7, true},
               {-p, -1.5, 2.25, -7, true},
               {p + o, 1, 0.75, 7.25, true},
               {p - o, 2, -5.25, 6.75, true},
               {p * o, -0.75, -6.75, 1.75, true},
               {p * -3.0, -4.5, 6.75, -21, true},
               {a, 1, 0.75, 7.25, true},
               {b, 2, -5.25, 6.75, true},
               {c, -0.75, -6.75, 1.75, true},
               {d, -4.5, 6.75, -21, true},
               {CXYZ(e), 1.5, -2.25, 7, true},
               {q / CXYZ(2, 0, 4), 0.5, 0, 0.75, false},
               {q / 0.0, 0, 0, 0, false},
               {q / 4.0, 0.25, 0.5, 0.75, false},
               {f, 0.5, 2, 0.75, true},
               {g, 0.5, 2, 0.75, true},
               {h, 0.25, 1, 0.375, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    EXPECT_EQ(KeepsFields(c.r), c.keeps);
    EXPECT_TRUE(c.keeps || (c.r.Name.IsEmpty() && c.r.Code.IsEmpty() && c.r.Num == 0));
    EXPECT_THAT(c.r, IsNearXYZ(c.x, c.y, c.z, 0.0));
  }
  e.Init();
  EXPECT_TRUE(e.Name.IsEmpty() && e.Code.IsEmpty() && e.Aux1 == 0 && e.Aux2 == 0 && e.Num == 0);
  EXPECT_THAT(e, IsNearXYZ(0, 0, 0, 0.0));
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
