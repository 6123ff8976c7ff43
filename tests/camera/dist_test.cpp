// CDist: the forward formula of every model worked by hand, inverse round
// trips over the sensor, parameter bookkeeping and the radial fit.
#include "camera/dist.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// Image coordinates in millimetres on a 3.6 x 2.7 mm sensor; non-round
// values, so that swapped indices show.
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

// One model at (1, 2), where r² = 5, with its parameters and the distortion
// worked out by hand.
struct ForwardCase {
  DIST_MODEL model;
  int count;
  std::vector<double> para;
  double dx, dy;
};

class DistForward : public ::testing::TestWithParam<ForwardCase> {};

TEST_P(DistForward, HandWorkedValueAtOneTwo) {
  const ForwardCase& c = GetParam();
  CDist d;
  d.SetDistModel(c.model);
  EXPECT_EQ(d.GetDistModel(), c.model);
  EXPECT_EQ(d.GetNumPara(), c.count);
  for (size_t i = 0; i < c.para.size(); ++i) d.AddPara(int(i), c.para[i]);
  double dx = 9, dy = 9;
  d.CalDist(1.0, 2.0, dx, dy);
  EXPECT_NEAR(dx, c.dx, 1e-15);
  EXPECT_NEAR(dy, c.dy, 1e-15);
}

INSTANTIATE_TEST_SUITE_P(
    Models,
    DistForward,
    ::testing::Values(
        ForwardCase{DIST_NONE, 0, {}, 0.0, 0.0},
        // k = 0.01·5 + 0.001·25 + 0.0001·125 + 0.00001·625 = 0.09375
        ForwardCase{DIST_RADIAL, 4, {0.01, 0.001, 0.0001, 0.00001}, 0.09375, 0.1875},
        // k = 0.075; dx = 0.075 + 0.002·(2 + 5) + 2·0.003·2
        //            dy = 0.150 + 0.003·(8 + 5) + 2·0.002·2
        ForwardCase{DIST_RADIAL_DECENTER, 4, {0.01, 0.001, 0.002, 0.003}, 0.101, 0.197},
        // k = 0.0875; dx = 0.0875 + 0.014 + 0.012, dy = 0.175 + 0.039 + 0.008
        ForwardCase{DIST_RADIAL3_DECENTER, 5, {0.01, 0.001, 0.0001, 0.002, 0.003}, 0.1135, 0.222},
        // asymmetric: dx = 0.075 + 0.1·1 + 0.2·2 + 0.3·2 + 0.4·4,
        //             dy = 0.150 + 0.5·2 + 0.6·1
        ForwardCase{DIST_POLY8, 8, {0.01, 0.001, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6}, 2.775, 1.75}),
    [](const auto& info) { return "Model" + std::to_string(int(info.param.model)); });

TEST(Dist, UnknownModelAndParameterBookkeeping) {
  CDist d;
  d.SetDistModel(DIST_MODEL(7));
  EXPECT_EQ(d.GetDistModel(), DIST_NONE);
  EXPECT_EQ(d.GetNumPara(), 0);
  EXPECT_EQ(d.AddPara(5, 1.5), 1);  // grows the count by one
  EXPECT_EQ(d.GetNumPara(), 1);
  EXPECT_EQ(d.GetPara(5), 1.5);
  EXPECT_EQ(d.AddPara(10, 1.0), 0);
  EXPECT_EQ(d.AddPara(-1, 1.0), 0);
  EXPECT_EQ(d.AddPara(0, 2.0), 1);  // 0 < count: no growth
  EXPECT_EQ(d.GetNumPara(), 1);
}

TEST(Dist, InverseRoundTripsOverTheSensorForEveryModel) {
  const double tol = 1e-7;  // mm: 1/50000 pixel, what the projection asks for
  for (int model = 0; model < 5; ++model) {
    SCOPED_TRACE(model);
    CDist d;
    UseRealisticModel(d, DIST_MODEL(model));
    for (double y = -1.35; y <= 1.3501; y += 0.27) {
      for (double x = -1.8; x <= 1.8001; x += 0.36) {
        double ex = 0, ey = 0, cx = 0, cy = 0, fx = 0, fy = 0;
        d.CalDist(x, y, ex, ey);
        const double mx = x + ex, my = y + ey;  // measured (distorted) point
        ASSERT_EQ(d.CalDistInv(mx, my, cx, cy, tol), 1);
        // The corrected point reproduces the measurement within tol.
        d.CalDist(mx + cx, my + cy, fx, fy);
        EXPECT_LE(std::hypot(cx + fx, cy + fy), tol);
        EXPECT_NEAR(mx + cx, x, 2 * tol);
        EXPECT_NEAR(my + cy, y, 2 * tol);
      }
    }
  }
}

TEST(Dist, ZeroToleranceEndsWithTheBestPointFound) {
  // With tol = 0 only an exact reproduction converges; a search that stops
  // (no progress, or 100 passes) still returns a good correction.
  CDist d;
  UseRealisticModel(d, DIST_RADIAL_DECENTER);
  for (double y = -1.3; y <= 1.3; y += 0.65)
    for (double x = -1.7; x <= 1.7; x += 0.85) {
      double dx = 0, dy = 0, fx = 0, fy = 0;
      int passes = 0;
      const int ok = d.CalDistInv(x, y, dx, dy, 0.0, passes);
      d.CalDist(x + dx, y + dy, fx, fy);
      EXPECT_TRUE(ok || passes >= 1);
      EXPECT_LE(passes, 100);
      if (ok) {  // an exact reproduction of the measurement
        EXPECT_EQ(x + dx + fx, x);
        EXPECT_EQ(y + dy + fy, y);
      }
      EXPECT_NEAR(dx + fx, 0.0, 1e-12);
      EXPECT_NEAR(dy + fy, 0.0, 1e-12);
    }
  CDist none;  // no model: done at once, no pass
  double dx = 1, dy = 1;
  int passes = -1;
  EXPECT_EQ(none.CalDistInv(3.0, 4.0, dx, dy, 0.0, passes), 1);
  EXPECT_EQ(dx, 0.0);
  EXPECT_EQ(dy, 0.0);
  EXPECT_EQ(passes, 0);
}

TEST(Dist, FirstGuessIsTheMeasurementLessItsOwnDistortion) {
  // Near the centre the distortion changes slowly, so that guess is already
  // within 1e-5 mm of the ideal point: no search pass is needed.
  CDist d;
  UseRealisticModel(d, DIST_RADIAL_DECENTER);
  const double points[][2] = {{0.5, 0.4}, {-0.6, -0.3}};
  for (const auto& p : points) {
    double ex = 0, ey = 0, cx = 0, cy = 0;
    int passes = -1;
    d.CalDist(p[0], p[1], ex, ey);
    ASSERT_EQ(d.CalDistInv(p[0], p[1], cx, cy, 1e-5, passes), 1);
    EXPECT_EQ(passes, 0);
    EXPECT_NEAR(cx, -ex, 1e-16);
    EXPECT_NEAR(cy, -ey, 1e-16);
  }
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

TEST(Dist, DistToParaFitsEvenPowersAndRefusesBadLists) {
  CDist d;
  d.SetDistModel(DIST_RADIAL3_DECENTER);  // count 5, model to be replaced
  d.AddPara(4, 0.125);                    // beyond the four fitted terms: kept
  const double k[] = {-2.5e-3, 3.5e-4, -1.5e-5, 2.5e-7};
  for (int i = 0; i < 12; ++i) {
    const double r = 0.25 * (i + 1), r2 = r * r;
    d.AddDist(r, k[0] * r2 + k[1] * r2 * r2 + k[2] * r2 * r2 * r2 + k[3] * r2 * r2 * r2 * r2);
  }
  ASSERT_EQ(d.DistToPara(), 1);
  EXPECT_EQ(d.GetDistModel(), DIST_RADIAL);
  EXPECT_EQ(d.GetNumPara(), 5);  // the count stays as it was
  EXPECT_EQ(d.GetPara(4), 0.125);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(d.GetPara(i), k[i], 1e-9 * std::pow(10.0, -2.0 * i)) << i;

  CDist bad;
  for (int i = 0; i < 3; ++i) bad.AddDist(i + 1.0, 0.1);
  EXPECT_EQ(bad.DistToPara(), 0);  // fewer than four
  bad.AddDist(5.0, 0.2);
  bad.GetDistortionList().Add(0.3);
  EXPECT_EQ(bad.DistToPara(), 0);  // unequal lists
  EXPECT_EQ(bad.GetDistModel(), DIST_NONE);
}

TEST(Dist, CopiesCarryModelParametersAndLists) {
  CDist d;
  UseRealisticModel(d, DIST_RADIAL3_DECENTER);
  d.AddDist(0.5, 0.01);
  CDist copy(d);
  d.Init();
  EXPECT_EQ(copy.GetDistModel(), DIST_RADIAL3_DECENTER);
  EXPECT_EQ(copy.GetNumPara(), 5);
  EXPECT_EQ(copy.GetPara(4), -2.7e-4);
  EXPECT_EQ(copy.GetDistortionList()[0], 0.01);
}

}  // namespace
