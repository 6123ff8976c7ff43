// Board centres: on pictures the simulated instrument renders, a board moved
// in small steps across a pixel (every sub-pixel phase) is found where the
// library's projection puts it, from a tap a pixel or so off; on a blob drawn
// by hand, between the finder's grid points; nothing where there is no board.
#include "photogrammetry/board_centre.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "sim/instrument.h"
#include "tests/support/picture.h"
#include "tests/support/wide_projection.h"

namespace {

class BoardCentreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    instrument_.SetSampleEveryPixel(true);
    instrument_.station().SetPosition(1000.0, 2000.0, 50.0);
    instrument_.station().SetAngles(89.0, 30.0);
    empty_.set_ground_z(40.0);
  }
  // Renders a board of half size 0.5 m at (x, y, z) as linear light;
  // returns its true sensor position.
  sim_test::SensorPoint Show(double x, double y, double z) {
    sim::Scene scene = empty_;
    scene.AddTarget({L"T", x, y, z, 0.5});
    instrument_.SetScene(scene);
    sim_test::Frame frame = sim_test::NewFrame();
    devices::FrameRequest request;
    request.camera = 1;
    instrument_.Render(request, frame.data());
    light_.resize(frame.size());
    for (size_t k = 0; k < frame.size(); ++k) light_[k] = float(sim_test::LinearLight(frame[k]));
    return *sim_test::LibraryProject(
        instrument_.calibration(), instrument_.station().State(), y, x, z);
  }
  bool Find(double tap_x, double tap_y, double half, double& x, double& y) {
    return photogrammetry::FindBoardCentre(
        {light_.data(), 640, 480}, tap_x, tap_y, half, 1.5, x, y);
  }
  sim::Instrument instrument_;
  sim::Scene empty_;
  std::vector<float> light_;
};

TEST_F(BoardCentreTest, SubPixelCentreAtEveryPhase) {
  double sum2 = 0.0, worst = 0.0;
  const int n = 24;
  for (int k = 0; k < n; ++k) {
    // 40 to 45 m away, stepping about 0.11 px across and 0.08 px down.
    const sim_test::SensorPoint truth = Show(1000.0 + 40.0 * std::cos(0.5236) + k * 0.0031,
                                             2000.0 + 40.0 * std::sin(0.5236) - k * 0.0017,
                                             51.8 - k * 0.0023);
    double cx = 0, cy = 0;
    ASSERT_TRUE(Find(truth.px + 0.9 * std::sin(k),
                     truth.py - 0.9 * std::cos(k),
                     0.5 / 40.0 * 8.0 / 0.0056,
                     cx,
                     cy));
    const double e = std::hypot(cx - truth.px, cy - truth.py);
    sum2 += e * e / n;
    worst = std::max(worst, e);
  }
  // The renderer samples 2 x 2 a pixel, so one edge is known to a quarter
  // pixel; all edges together give the centre to about a tenth.
  EXPECT_LT(std::sqrt(sum2), 0.1);
  EXPECT_LT(worst, 0.2);
}

// A point-symmetric dark blob drawn by hand at a centre off the finder's
// finest grid (0.01 px): the last refinement between grid points finds it.
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
  // Nothing is found with a window reaching off the picture, a board too
  // small to have an inside, a flat picture or none.
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
