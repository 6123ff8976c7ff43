// Corner mode end to end on the simulated instrument's tele camera: the paint
// after a tap marks the corner of a target board nearest to the tap (judged
// against the board's geometry projected through the tele camera, not
// against the finder), whose aiming differences bring it to the reticle.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "sim/camera_pose.h"
#include "tests/support/live_view.h"
#include "tests/support/site.h"

namespace liveview_test {
namespace {

constexpr double kDegPerPixel = 0.0056 / 248.46 * 180.0 / 3.141592653589793;  // tele, at scale 1

struct ClientPt {
  double x = 0.0;
  double y = 0.0;
};

class CornerModeTest : public SimLiveViewTest {
 protected:
  void Start() { SimLiveViewTest::Start(calibration_); }
  // Where a world point (pipeline axes, metres) appears in the client area
  // on the tele camera: pinhole of the telescope's focal length through the
  // middle of the image-centre pixel, then the driver's display record
  // (sensor pixel i fills screen pixels s*(i - src) ... s*(i - src) + s - 1).
  ClientPt TeleClient(const sim::Vec3& world) const {
    const sim::StationState state = instrument_->station().State();
    const sim::CameraPose pose = sim::CameraPose::Telescope(state);
    const sim::Vec3 eye = pose.ToEye(world - pose.centre);
    const double f = 248.46 / calibration_.resolution_x;
    const double px = calibration_.tele_center_x + f * eye.x / -eye.z;
    const double py = calibration_.tele_center_y - f * eye.y / -eye.z;
    const VCAP_DISP_PARAMETER& d = view_->m_DispParam[0];
    const double s =
        double(d.DstRect.right - d.DstRect.left + 1) / (d.SrcRect.right - d.SrcRect.left + 1);
    return {d.DstRect.left + (px - d.SrcRect.left) * s + (s - 1) / 2,
            d.DstRect.top + (py - d.SrcRect.top) * s + (s - 1) / 2};
  }
  // Every corner of a board's pattern in the client area: the outer corners,
  // the inner corners of the black frame, and the corners of the two black
  // quadrants (their meeting point included), in board units of half size.
  std::vector<ClientPt> BoardCorners(const sim::Target& t) const {
    const sim::Vec3 centre{t.y, t.x, t.z};
    const sim::Vec3 normal = (instrument_->station().State().AxisPoint() - centre).Normalized();
    const sim::Vec3 right = sim::Vec3(0, 0, 1).Cross(normal).Normalized();
    const sim::Vec3 up = normal.Cross(right);
    std::vector<std::pair<double, double>> at = {
        {0, 0}, {0.8, 0.8}, {-0.8, -0.8}, {0, 0.8}, {0.8, 0}, {0, -0.8}, {-0.8, 0}};
    for (double k : {1.0, 0.9})
      for (double sx : {-1.0, 1.0})
        for (double sy : {-1.0, 1.0}) at.push_back({sx * k, sy * k});
    std::vector<ClientPt> out;
    for (const auto& [u, v] : at)
      out.push_back(TeleClient(centre + right * (u * t.half_size) + up * (v * t.half_size)));
    return out;
  }
  void Tap(int x, int y) {
    platform::InjectTap(x, y);
    platform::PumpMessages();
  }

  sim::Calibration calibration_;
};

int Nearest(const std::vector<ClientPt>& corners, double x, double y, double* margin) {
  std::vector<double> d;
  for (const ClientPt& c : corners) d.push_back(std::hypot(c.x - x, c.y - y));
  const int best = int(std::min_element(d.begin(), d.end()) - d.begin());
  std::sort(d.begin(), d.end());
  *margin = d[1] - d[0];
  return best;
}

// 100 seeded trials: a board 90..180 m away turned to the instrument, one of
// its outer corners placed near the view's centre, zoom ratio 1, 2 or 4, a
// tap up to 20 pixels from the corner. The corner meant is the one of the
// board's pattern nearest to the tap (taps that are nearly as near to a
// second one are drawn again).
TEST_F(CornerModeTest, TapsNearABoardCornerFindItWithinAPixel) {
  Start();
  view_->SetCurCamera(0);
  std::mt19937 rng(8);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int trial = 0; trial < 100; ++trial) {
    SCOPED_TRACE(::testing::Message() << "trial " << trial);
    // Lines of sight from 4 degrees up to half a degree down; the board
    // always stands clear of the ground (drawn again when it would not).
    const double v = 86.0 + unit(rng) * 4.5, h = unit(rng) * 360.0;
    instrument_->SetScene(sim::Scene());
    Turn(v, h);
    view_->InitZoom();
    const int zoom_steps = int(unit(rng) * 3);
    for (int k = 0; k < zoom_steps; ++k) view_->ZoomIn();
    const double s = view_->m_dZoom[0];
    // Board half size in sensor pixels 55..110; the chosen corner lands
    // within 25 client pixels of the centre.
    const double half_px = 55 + unit(rng) * 55;
    const double distance = 0.25 * 248.46 / 0.0056 / half_px;
    const double sx = unit(rng) < 0.5 ? -1 : 1, sy = unit(rng) < 0.5 ? -1 : 1;
    const double off_x = (unit(rng) * 50 - 25) / s - sx * half_px;
    const double off_y = (unit(rng) * 50 - 25) / s + sy * half_px;
    const sim::StationState state = instrument_->station().State();
    const sim::Target board = sim_test::TargetAt(
        state, v + off_y * kDegPerPixel, h + off_x * kDegPerPixel, distance, 0.25);
    if (board.z - board.half_size < 0.2) {
      --trial;
      continue;
    }
    instrument_->AddTarget(board);
    const std::vector<ClientPt> corners = BoardCorners(board);
    // The outer corners are entries 7..10 of BoardCorners, by sign.
    const int chosen = 7 + (sx > 0 ? 2 : 0) + (sy > 0 ? 1 : 0);
    int tap_x = 0, tap_y = 0, expected = 0;
    for (int attempt = 0;; ++attempt) {
      const double r = 20 * std::sqrt(unit(rng)), a = unit(rng) * 6.283185307179586;
      tap_x = int(std::lround(corners[size_t(chosen)].x + r * std::cos(a)));
      tap_y = int(std::lround(corners[size_t(chosen)].y + r * std::sin(a)));
      double margin = 0;
      expected = Nearest(corners, tap_x, tap_y, &margin);
      if (margin >= 3.0 || attempt > 50) break;
    }
    view_->BeginCornerMode();
    view_->SetGetMeas();
    boxes_.clear();
    Tap(tap_x, tap_y);
    ASSERT_EQ(view_->m_bTapped, 1);
    double dv = 0.0, dh = 0.0;
    const bool found = view_->GetCornerMoveAng(dv, dh);
    EXPECT_EQ(boxes_.size(), 0u);
    const ClientPt want = corners[size_t(expected)];
    // Judged in camera pixels (client pixels / display scale): a zoomed view
    // only magnifies the camera's pixels, and the simulated camera resolves
    // a board's edge to a quarter of one (2 x 2 samples a pixel). The cross
    // sits on whole client pixels: within one camera pixel on each axis.
    const double dx = (view_->m_ptCorner.x - want.x) / s, dy = (view_->m_ptCorner.y - want.y) / s;
    EXPECT_TRUE(found && std::fabs(dx) <= 1.0 && std::fabs(dy) <= 1.0)
        << "corner " << view_->m_ptCorner.x << "," << view_->m_ptCorner.y << " want " << want.x
        << "," << want.y << " (corner " << expected << ") zoom " << s;
    EXPECT_EQ(view_->m_ptTap.x, tap_x);  // the tap mark stays where tapped
    // Aiming: turned by the corner's differences, the corner sits at the
    // reticle (the view's centre pixel).
    if (trial < 12) {
      Turn(v - dv, h + dh);
      const ClientPt after = BoardCorners(board)[size_t(expected)];
      EXPECT_LE(std::fabs(after.x - 160.0) / s, 1.0);
      EXPECT_LE(std::fabs(after.y - 120.0) / s, 1.0);
    }
    view_->EndCornerMode();
    view_->ClrGetMeas();
  }
}

// Zooming in corner mode freezes the picture and scales the tap about the
// centre; the paint finds the corner again there.
TEST_F(CornerModeTest, ZoomFindsTheCornerAgainAtTheNewScale) {
  Start();
  view_->SetCurCamera(0);
  Turn(88.0, 10.0);
  const sim::StationState state = instrument_->station().State();
  // Half size 80 camera pixels; the top-left corner 12 right and 9 above the centre.
  const double half_px = 80.0, distance = 0.25 * 248.46 / 0.0056 / half_px;
  const sim::Target board = sim_test::TargetAt(state,
                                               88.0 + (-9 + half_px) * kDegPerPixel,
                                               10.0 + (12 + half_px) * kDegPerPixel,
                                               distance,
                                               0.25);
  instrument_->AddTarget(board);
  view_->BeginCornerMode();
  view_->SetGetMeas();
  const ClientPt corner = BoardCorners(board)[8];  // (-1, +1): top left
  Tap(int(corner.x) + 6, int(corner.y) - 5);
  ASSERT_EQ(view_->m_bCornerFound, 1);
  EXPECT_LE(std::fabs(view_->m_ptCorner.x - corner.x), 1.0);
  EXPECT_LE(std::fabs(view_->m_ptCorner.y - corner.y), 1.0);
  view_->ZoomIn();
  platform::PumpMessages();
  EXPECT_EQ(view_->m_bSnapShot, 1);
  ASSERT_EQ(view_->m_bCornerFound, 1);
  const ClientPt zoomed = BoardCorners(board)[8];
  EXPECT_LE(std::fabs(view_->m_ptCorner.x - zoomed.x), 2.0);  // one camera pixel at scale 2
  EXPECT_LE(std::fabs(view_->m_ptCorner.y - zoomed.y), 2.0);
  view_->EndCornerMode();
  view_->EndSnapShot();
}

}  // namespace
}  // namespace liveview_test
