// A point-symmetric blob drawn off the finder's 0.01 px grid is found between grid points.
#include "photogrammetry/board_centre.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

TEST(BoardCentre, FindsAHandDrawnCentreBetweenGridPointsOrNothing) {
  const double truth_x = 40.335, truth_y = 39.715, sigma = 7.0;
  std::vector<float> light(80 * 80);
  for (int j = 0; j < 80; ++j)
    for (int i = 0; i < 80; ++i) {
      const double dx = i + 0.5 - truth_x, dy = j + 0.5 - truth_y;
      light[size_t(j) * 80 + size_t(i)] =
          float(1.0 - 0.8 * std::exp(-(dx * dx + dy * dy) / (2 * sigma * sigma)));
    }
  double x = 0, y = 0;
  ASSERT_TRUE(photogrammetry::FindBoardCentre({light.data(), 80, 80}, 40.0, 40.0, 20.0, 1.5, x, y));
  EXPECT_NEAR(x, truth_x, 0.002);
  EXPECT_NEAR(y, truth_y, 0.002);
  // A window reaching off the picture, a board too small to have an inside, no picture, a flat one.
  x = y = -1;
  EXPECT_FALSE(
      photogrammetry::FindBoardCentre({light.data(), 80, 80}, 15.0, 40.0, 20.0, 1.5, x, y));
  EXPECT_FALSE(photogrammetry::FindBoardCentre({light.data(), 80, 80}, 40.0, 40.0, 3.0, 1.5, x, y));
  EXPECT_FALSE(photogrammetry::FindBoardCentre({nullptr, 80, 80}, 40.0, 40.0, 20.0, 1.5, x, y));
  light.assign(light.size(), 0.5f);
  EXPECT_FALSE(
      photogrammetry::FindBoardCentre({light.data(), 80, 80}, 40.0, 40.0, 20.0, 1.5, x, y));
  EXPECT_EQ(x + y, -2);  // untouched
}

}  // namespace
