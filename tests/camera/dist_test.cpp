// CDist: the forward formula of every model by hand, the inverse as a round trip, the radial table.
#include "camera/dist.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// For a 3.6 x 2.7 mm sensor; non-round values, so that swapped indices show.
void UseRealisticModel(CDist& d, DIST_MODEL model) {
  const double para[5][8] = {
      {},
      {-2.31e-3, 4.7e-5, -1.3e-6, 2.1e-8},
      {-2.31e-3, 4.7e-5, 1.9e-4, -2.7e-4},
      {-2.31e-3, 4.7e-5, -1.3e-6, 1.9e-4, -2.7e-4},
      {-2.31e-3, 4.7e-5, 3.1e-4, -1.7e-4, 2.3e-4, -1.1e-4, 1.4e-4, -2.6e-4},
  };
  d.Init();
  d.SetDistModel(model);
  for (int i = 0; i < d.GetNumPara(); ++i) d.AddPara(i, para[model][i]);
}

TEST(Dist, ForwardFormulaOfEveryModelAtOneTwo) {
  // r² = 5 at (1, 2).
  const struct {
    DIST_MODEL model;
    int count;
    std::vector<double> para;
    double dx, dy;
  } cases[] = {
      {DIST_NONE, 0, {}, 0.0, 0.0},
      // k = 0.01·5 + 0.001·25 + 0.0001·125 + 0.00001·625 = 0.09375
      {DIST_RADIAL, 4, {0.01, 0.001, 0.0001, 0.00001}, 0.09375, 0.1875},
      // k = 0.075; dx = 0.075 + 0.002·(2 + 5) + 2·0.003·2, dy = 0.15 + 0.003·13 + 2·0.002·2
      {DIST_RADIAL_DECENTER, 4, {0.01, 0.001, 0.002, 0.003}, 0.101, 0.197},
      // k = 0.0875; dx = 0.0875 + 0.014 + 0.012, dy = 0.175 + 0.039 + 0.008
      {DIST_RADIAL3_DECENTER, 5, {0.01, 0.001, 0.0001, 0.002, 0.003}, 0.1135, 0.222},
      // asymmetric: dx = 0.075 + 0.1·1 + 0.2·2 + 0.3·2 + 0.4·4, dy = 0.15 + 0.5·2 + 0.6·1
      {DIST_POLY8, 8, {0.01, 0.001, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6}, 2.775, 1.75},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(int(c.model));
    CDist d;
    d.SetDistModel(c.model);
    EXPECT_EQ(d.GetNumPara(), c.count);
    for (size_t i = 0; i < c.para.size(); ++i) d.AddPara(int(i), c.para[i]);
    double dx = 9, dy = 9;
    d.CalDist(1.0, 2.0, dx, dy);
    EXPECT_NEAR(std::hypot(dx - c.dx, dy - c.dy), 0.0, 1e-15);
  }
  CDist d;  // an unknown model is none
  d.SetDistModel(DIST_MODEL(7));
  EXPECT_EQ(d.GetDistModel(), DIST_NONE);
}

TEST(Dist, InverseRoundTripsOverTheSensorForEveryModel) {
  const double tol = 1e-7;  // mm: 1/50000 pixel, what the projection asks for
  for (int model = 0; model < 5; ++model) {
    SCOPED_TRACE(model);
    CDist d;
    UseRealisticModel(d, DIST_MODEL(model));
    for (double y = -1.35; y <= 1.3501; y += 0.27)
      for (double x = -1.8; x <= 1.8001; x += 0.36) {
        double ex = 0, ey = 0, cx = 0, cy = 0;
        d.CalDist(x, y, ex, ey);
        ASSERT_EQ(d.CalDistInv(x + ex, y + ey, cx, cy, tol), 1);
        EXPECT_NEAR(x + ex + cx, x, 2 * tol);
        EXPECT_NEAR(y + ey + cy, y, 2 * tol);
      }
  }
}

TEST(Dist, InverseStartsFromTheMeasurementLessItsDistortion) {
  CDist d;
  UseRealisticModel(d, DIST_RADIAL_DECENTER);
  // Near the centre that first guess is within 1e-5 mm: no search pass.
  double ex = 0, ey = 0, cx = 0, cy = 0, fx = 0, fy = 0;
  int passes = -1;
  d.CalDist(0.5, -0.4, ex, ey);
  ASSERT_EQ(d.CalDistInv(0.5, -0.4, cx, cy, 1e-5, passes), 1);
  EXPECT_EQ(passes, 0);
  EXPECT_NEAR(std::hypot(cx + ex, cy + ey), 0.0, 1e-16);
  // With tol = 0 only an exact reproduction converges; a stopped search returns its best point.
  for (double y = -1.3; y <= 1.3; y += 0.65)
    for (double x = -1.7; x <= 1.7; x += 0.85) {
      const int ok = d.CalDistInv(x, y, cx, cy, 0.0, passes);
      d.CalDist(x + cx, y + cy, fx, fy);
      EXPECT_TRUE(ok || passes >= 1);
      EXPECT_LE(passes, 100);
      EXPECT_TRUE(!ok || x + cx + fx == x);
      EXPECT_NEAR(std::hypot(cx + fx, cy + fy), 0.0, 1e-12);
    }
}

TEST(Dist, RadialTableBothWays) {
  CDist d;
  UseRealisticModel(d, DIST_RADIAL_DECENTER);
  EXPECT_EQ(d.ParaToDist(0.5, 4), 0);  // only the radial model is tabulated
  d.SetDistModel(DIST_RADIAL);
  const double k[] = {0.01, 0.002, 0.0, 0.0};
  for (int i = 0; i < 4; ++i) d.AddPara(i, k[i]);
  ASSERT_EQ(d.ParaToDist(0.5, 4), 1);
  ASSERT_EQ(d.GetRadiusList().GetSize(), 4);
  EXPECT_EQ(d.GetRadiusList()[3], 1.5);
  // r·(K1 r² + K2 r⁴) at r = 1.5: 1.5·(0.0225 + 0.010125).
  EXPECT_NEAR(d.GetDistortionList()[3], 1.5 * (0.0225 + 0.010125), 1e-15);

  // The fit of K1 r² + K2 r⁴ + K3 r⁶ + K4 r⁸ replaces the model, keeps the count.
  CDist fit;
  fit.SetDistModel(DIST_RADIAL3_DECENTER);
  fit.AddPara(4, 0.125);  // beyond the four fitted terms: kept
  const double truth[] = {-2.5e-3, 3.5e-4, -1.5e-5, 2.5e-7};
  for (int i = 0; i < 12; ++i) {
    const double r2 = std::pow(0.25 * (i + 1), 2);
    fit.AddDist(0.25 * (i + 1),
                r2 * (truth[0] + r2 * (truth[1] + r2 * (truth[2] + r2 * truth[3]))));
  }
  ASSERT_EQ(fit.DistToPara(), 1);
  EXPECT_EQ(fit.GetDistModel(), DIST_RADIAL);
  EXPECT_EQ(fit.GetNumPara(), 5);
  EXPECT_EQ(fit.GetPara(4), 0.125);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(fit.GetPara(i), truth[i], 1e-9 * std::pow(0.01, i)) << i;
  CDist bad;  // fewer than four values
  for (int i = 0; i < 3; ++i) bad.AddDist(i + 1.0, 0.1);
  EXPECT_EQ(bad.DistToPara(), 0);
}

}  // namespace
