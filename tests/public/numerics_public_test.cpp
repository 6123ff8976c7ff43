// What a host sees: the camera model, least squares, projection pipeline and
// filters through the umbrella header only, checked against hand-worked values.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "surveycam.h"

namespace {

TEST(NumericsPublic, LeastSquaresLineThroughFourPoints) {
  // Points (0, 1), (1, 3), (2, 4), (3, 4): normal equations
  // [[4, 6], [6, 14]]·(a, b) = (12, 23) give a = 1.5, b = 1.
  const double xs[] = {0, 1, 2, 3}, ys[] = {1, 3, 4, 4};
  CLeastSq ls(4, 2);
  for (int k = 0; k < 4; ++k) {
    ls.SetObeq(0, 1.0);
    ls.SetObeq(1, xs[k]);
    ls.SetObeq(2, ys[k]);
  }
  ASSERT_EQ(ls.Solve(), 1);
  EXPECT_NEAR(ls.GetBcor(0), 1.5, 1e-14);
  EXPECT_NEAR(ls.GetBcor(1), 1.0, 1e-14);
  // Residuals -0.5, 0.5, 0.5, -0.5: sigma² = 1 / (4 - 2) = 0.5.
  EXPECT_NEAR(ls.GetSigma(), 0.5, 1e-14);
  EXPECT_NEAR(ls.CalStandard(), 0.5, 1e-14);
  // Covariance 0.5·[[14, -6], [-6, 4]] / 20.
  EXPECT_NEAR(ls.GetCovar(0, 0), 0.35, 1e-14);
  EXPECT_NEAR(ls.GetCovar(0, 1), -0.15, 1e-14);
  EXPECT_NEAR(ls.GetCovar(1, 1), 0.1, 1e-14);
}

TEST(NumericsPublic, RadialDistortionHandWorked) {
  // Model 1 with K1 = 0.01 at (3, 4): r² = 25, dx = 3·0.25, dy = 4·0.25.
  CDist d;
  d.SetDistModel(DIST_RADIAL);
  d.AddPara(0, 0.01);
  double dx = 0, dy = 0;
  d.CalDist(3.0, 4.0, dx, dy);
  EXPECT_NEAR(dx, 0.75, 1e-15);
  EXPECT_NEAR(dy, 1.0, 1e-15);
  // The inverse takes the distorted (3.75, 5) back to (3, 4).
  ASSERT_EQ(d.CalDistInv(3.75, 5.0, dx, dy, 1e-9), 1);
  EXPECT_NEAR(3.75 + dx, 3.0, 1e-8);
  EXPECT_NEAR(5.0 + dy, 4.0, 1e-8);
}

TEST(NumericsPublic, ProjectionOfACentredPoint) {
  // Symmetric frustum l = -1, r = 1, t = 1, b = -1, n = 1, f = 3: a point at
  // (0.5, -0.25, -2) projects to (0.25, -0.125) at depth (4 - 3)/2 = 0.5.
  CProjection_Cap p;
  p.SetPrjMatrix(-1, 1, 1, -1, 1, 3);
  ASSERT_EQ(p.BeginTrans(1), 1);
  double sx, sy, sz;
  int visible;
  ASSERT_EQ(p.Transform(0.5, -0.25, -2.0, sx, sy, sz, visible), 1);
  EXPECT_EQ(visible, 1);
  EXPECT_NEAR(sx, 0.25, 1e-15);
  EXPECT_NEAR(sy, -0.125, 1e-15);
  EXPECT_NEAR(sz, 0.5, 1e-15);
  double x, y, z;
  p.Inverse(sx, sy, sz, x, y, z);
  EXPECT_NEAR(z, -2.0, 1e-14);
}

TEST(NumericsPublic, FiltersHandWorked) {
  // 3 x 3 median of a 5 x 5 image with a single bright pixel removes it.
  std::vector<unsigned char> src(25, 10), dst(25, 0);
  src[12] = 250;
  CMedian median;
  EXPECT_EQ(median.Median_Fliter(src.data(), dst.data(), CSize(5, 5), 1), 1);
  EXPECT_EQ(dst[12], 10);
  EXPECT_EQ(dst[0], 0);  // the border is not written
  // Sobel of the same spike: the pixel right of it sees Gx = -2·240.
  std::vector<unsigned int> strength(25, 0);
  CSobel sobel;
  ASSERT_EQ(sobel.Sobel(src.data(), strength.data(), CSize(5, 5), 1), 1);
  EXPECT_EQ(strength[13], 480u * 480u);
  EXPECT_EQ(strength[12], 0u);  // symmetric around the spike itself
  // Thinning keeps a single isolated pixel.
  std::vector<unsigned char> img(25, 0);
  img[12] = 255;
  CThinning().Thinning(img.data(), CSize(5, 5), 1);
  EXPECT_EQ(img[12], 255);
}

}  // namespace
