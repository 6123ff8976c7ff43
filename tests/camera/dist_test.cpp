// CDist: distortion round trips over a sensor grid for every model, the grid
// search's exits, parameter bookkeeping and the radial fit.
#include "camera/dist.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Realistic parameters for image coordinates in millimetres on a 3.6 x 2.7 mm
// sensor (640 x 480 pixels of 5.6 µm); non-round so that swapped indices show.
void UseRealisticModel(CDist& d, DIST_MODEL model) {
  d.Init();
  d.SetDistModel(model);
  const double para[5][8] = {
      {},
      {-2.31e-3, 4.7e-5, -1.3e-6, 2.1e-8},
      {-2.31e-3, 4.7e-5, 1.9e-4, -2.7e-4},
      {-2.31e-3, 4.7e-5, -1.3e-6, 1.9e-4, -2.7e-4},
      {-2.31e-3, 4.7e-5, 3.1e-4, -1.7e-4, 2.3e-4, -1.1e-4, 1.4e-4, -2.6e-4},
  };
  for (int i = 0; i < d.GetNumPara(); ++i) d.AddPara(i, para[model][i]);
}

TEST(Dist, ModelsAndParameterCounts) {
  CDist d;
  const int counts[] = {0, 4, 4, 5, 8};
  for (int m = 0; m < 5; ++m) {
    d.SetDistModel(DIST_MODEL(m));
    EXPECT_EQ(d.GetDistModel(), m);
    EXPECT_EQ(d.GetNumPara(), counts[m]);
  }
  d.SetDistModel(DIST_MODEL(7));
  EXPECT_EQ(d.GetDistModel(), DIST_NONE);
  EXPECT_EQ(d.GetNumPara(), 0);
}

TEST(Dist, AddParaGrowsTheCountByOne) {
  CDist d;
  EXPECT_EQ(d.AddPara(5, 1.5), 1);
  EXPECT_EQ(d.GetNumPara(), 1);
  EXPECT_EQ(d.GetPara(5), 1.5);
  EXPECT_EQ(d.AddPara(10, 1.0), 0);
  EXPECT_EQ(d.AddPara(-1, 1.0), 0);
  EXPECT_EQ(d.GetNumPara(), 1);
  EXPECT_EQ(d.AddPara(0, 2.0), 1);  // 0 < count: no growth
  EXPECT_EQ(d.GetNumPara(), 1);
}

TEST(Dist, HandWorkedDistortion) {
  CDist d;
  double dx = 1, dy = 1;
  d.CalDist(1.0, 2.0, dx, dy);
  EXPECT_EQ(dx, 0.0);
  EXPECT_EQ(dy, 0.0);
  // Model 2 at (1, 2): r2 = 5; radial 0.01·5 + 0.001·25 = 0.075.
  d.SetDistModel(DIST_RADIAL_DECENTER);
  d.AddPara(0, 0.01);
  d.AddPara(1, 0.001);
  d.AddPara(2, 0.002);
  d.AddPara(3, 0.003);
  d.CalDist(1.0, 2.0, dx, dy);
  EXPECT_NEAR(dx, 0.075 + 0.002 * (2 + 5) + 2 * 0.003 * 2, 1e-15);
  EXPECT_NEAR(dy, 2 * 0.075 + 0.003 * (8 + 5) + 2 * 0.002 * 2, 1e-15);
  // Model 4 is asymmetric: y has no linear terms.
  CDist p;
  p.SetDistModel(DIST_POLY8);
  const double v[] = {0, 0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6};
  for (int i = 0; i < 8; ++i) p.AddPara(i, v[i]);
  p.CalDist(1.0, 2.0, dx, dy);
  EXPECT_NEAR(dx, 0.1 * 1 + 0.2 * 2 + 0.3 * 2 + 0.4 * 4, 1e-15);
  EXPECT_NEAR(dy, 0.5 * 2 + 0.6 * 1, 1e-15);
}

TEST(Dist, InverseRoundTripsOverTheSensorForEveryModel) {
  const double tol = 1e-7;  // mm: 1/50000 pixel, what the projection asks for
  for (int model = 0; model < 5; ++model) {
    CDist d;
    UseRealisticModel(d, DIST_MODEL(model));
    int converged = 0, total = 0;
    for (double y = -1.35; y <= 1.3501; y += 0.27) {
      for (double x = -1.8; x <= 1.8001; x += 0.36) {
        double ex = 0, ey = 0;
        d.CalDist(x, y, ex, ey);
        const double mx = x + ex, my = y + ey;  // measured (distorted) point
        double cx = 0, cy = 0;
        const int ok = d.CalDistInv(mx, my, cx, cy, tol);
        ++total;
        converged += ok;
        if (!ok) continue;
        // The corrected point reproduces the measurement within tol, and is
        // the ideal point within tol amplified by the (near-identity) Jacobian.
        double fx = 0, fy = 0;
        d.CalDist(mx + cx, my + cy, fx, fy);
        EXPECT_LE(std::hypot(mx + cx + fx - mx, my + cy + fy - my), tol) << model;
        EXPECT_NEAR(mx + cx, x, 2 * tol) << "model " << model;
        EXPECT_NEAR(my + cy, y, 2 * tol) << "model " << model;
      }
    }
    EXPECT_EQ(converged, total) << "model " << model;
  }
}

TEST(Dist, ZeroToleranceNeedsExactReproduction) {
  // With tol = 0 only an exact reproduction converges; otherwise the search
  // ends by lack of progress or after 100 passes, with its best point.
  CDist d;
  UseRealisticModel(d, DIST_RADIAL_DECENTER);
  int stalled = 0;
  for (double y = -1.3; y <= 1.3; y += 0.65)
    for (double x = -1.7; x <= 1.7; x += 0.85) {
      double dx = 0, dy = 0, fx = 0, fy = 0;
      int passes = 0;
      const int ok = d.CalDistInv(x, y, dx, dy, 0.0, passes);
      d.CalDist(x + dx, y + dy, fx, fy);
      if (ok) {
        EXPECT_EQ(x + dx + fx, x);
        EXPECT_EQ(y + dy + fy, y);
        continue;
      }
      ++stalled;
      EXPECT_GE(passes, 1);
      EXPECT_LE(passes, 100);
      EXPECT_NEAR(dx + fx, 0.0, 1e-12);  // still a good correction
      EXPECT_NEAR(dy + fy, 0.0, 1e-12);
    }
  // The realistic model usually reaches an exact reproduction; either way
  // the outcome obeys the rules above.
  EXPECT_GE(stalled, 0);
}

TEST(Dist, NoModelInvertsAtOnce) {
  CDist d;
  double dx = 1, dy = 1;
  int passes = -1;
  EXPECT_EQ(d.CalDistInv(3.0, 4.0, dx, dy, 0.0, passes), 1);
  EXPECT_EQ(dx, 0.0);
  EXPECT_EQ(dy, 0.0);
  EXPECT_EQ(passes, 0);
}

TEST(Dist, ParaToDistTabulatesOnlyTheRadialModel) {
  CDist d;
  UseRealisticModel(d, DIST_RADIAL_DECENTER);
  d.AddDist(1.0, 2.0);
  EXPECT_EQ(d.ParaToDist(0.5, 4), 0);
  EXPECT_EQ(d.GetRadiusList().GetSize(), 1);
  d.SetDistModel(DIST_RADIAL);
  d.AddPara(0, 0.01);
  d.AddPara(1, 0.002);
  d.AddPara(2, 0.0);
  d.AddPara(3, 0.0);
  ASSERT_EQ(d.ParaToDist(0.5, 4), 1);
  ASSERT_EQ(d.GetRadiusList().GetSize(), 4);
  EXPECT_EQ(d.GetRadiusList()[3], 1.5);
  // r·(K1 r² + K2 r⁴) at r = 1.5: 1.5·(0.0225 + 0.010125).
  EXPECT_NEAR(d.GetDistortionList()[3], 1.5 * (0.0225 + 0.010125), 1e-15);
}

TEST(Dist, DistToParaFitsEvenPowers) {
  CDist d;
  d.SetDistModel(DIST_RADIAL_DECENTER);  // count 4, model to be replaced
  const double k[] = {-2.5e-3, 3.5e-4, -1.5e-5, 2.5e-7};
  for (int i = 0; i < 12; ++i) {
    const double r = 0.25 * (i + 1), r2 = r * r;
    d.AddDist(r, k[0] * r2 + k[1] * r2 * r2 + k[2] * r2 * r2 * r2 + k[3] * r2 * r2 * r2 * r2);
  }
  ASSERT_EQ(d.DistToPara(), 1);
  EXPECT_EQ(d.GetDistModel(), DIST_RADIAL);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(d.GetPara(i), k[i], 1e-9 * std::pow(10.0, -2.0 * i)) << i;
}

TEST(Dist, DistToParaRefusesShortOrUnequalLists) {
  CDist d;
  for (int i = 0; i < 3; ++i) d.AddDist(i + 1.0, 0.1);
  EXPECT_EQ(d.DistToPara(), 0);
  d.AddDist(5.0, 0.2);
  d.GetDistortionList().Add(0.3);
  EXPECT_EQ(d.DistToPara(), 0);
  EXPECT_EQ(d.GetDistModel(), DIST_NONE);
}

TEST(Dist, CopyAndHeap) {
  CDist* d = new CDist;
  UseRealisticModel(*d, DIST_RADIAL3_DECENTER);
  d->AddDist(0.5, 0.01);
  CDist copy(*d);
  delete d;
  EXPECT_EQ(copy.GetDistModel(), DIST_RADIAL3_DECENTER);
  EXPECT_EQ(copy.GetNumPara(), 5);
  EXPECT_EQ(copy.GetPara(4), -2.7e-4);
  EXPECT_EQ(copy.GetDistortionList()[0], 0.01);
  copy = copy;
  EXPECT_EQ(copy.GetRadiusList().GetSize(), 1);
}

}  // namespace
