// End to end on the simulated instrument, judged from the pictures and the boards' geometry:
// points on their boards for every lens model, exposure that settles, corner mode.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "sim/camera_pose.h"
#include "tests/support/live_view.h"
#include "tests/support/site.h"

namespace liveview_test {
namespace {

sim::Calibration CalibrationWithModel(int model) {
  sim::Calibration c;
  c.principal_x = 1.801;
  c.principal_y = 1.337;
  c.ccd_offset.SetXYZ(42.0, -18.0, 65.0);  // mm: right of, below and ahead of the axis point
  c.ccd_angle.SetWPK(0.0041, -0.0032, 0.0057);
  c.wide_center_x = 324;
  c.wide_center_y = 236;
  c.dist.SetDistModel(DIST_MODEL(model));
  const std::vector<std::vector<double>> params = {
      {},
      {-0.0079, 0.00027, -0.000011, 0.0000004},    // K1..K4
      {-2.1e-3, 1.4e-5, 1.2e-4, -6.0e-5},          // K1 K2 P1 P2
      {-2.0e-3, 1.1e-5, -3.0e-7, 9.0e-5, 5.0e-5},  // K1 K2 K3 P1 P2
      {-0.0081, 0.00029, 0.00061, -0.00043, 0.00052, -0.00037, 0.00041, 0.00033}};  // poly
  for (size_t i = 0; i < params[size_t(model)].size(); ++i)
    c.dist.AddPara(int(i), params[size_t(model)][i]);
  return c;
}

class EndToEndTest : public SimLiveViewTest {
 protected:
  void StartWith(int model) {
    const sim::Calibration c = CalibrationWithModel(model);
    Start(c, /*every_pixel=*/true);
    // The memory record holds four terms; longer models are handed over.
    if (c.dist.GetNumPara() > 4) view_->m_Camera.Dist = c.dist;
  }
};

// The view's whole projection chain against the board centres found in the picture.
class OverlayTruthTest : public EndToEndTest, public ::testing::WithParamInterface<int> {};

TEST_P(OverlayTruthTest, ProjectedPointsLandOnTheirTargets) {
  StartWith(GetParam());
  ASSERT_EQ(view_->m_Camera.Dist.GetDistModel(), GetParam());
  // Zenith and horizontal offsets (degrees) and distance (m) from the line of sight.
  const double offsets[][3] = {{0, 0, 25}, {-5, -8, 18}, {-2, 7, 30}, {3, -4, 12}, {-3, 9, 40}};
  int judged = 0;
  for (double v : {80.0, 87.5, 90.0}) {
    for (double h : {37.25, 123.5, 311.75}) {
      SCOPED_TRACE(::testing::Message() << "V " << v << " H " << h);
      instrument_->SetScene(sim::Scene());
      Turn(v, h);
      const sim_test::Frame without = Film(1);
      const sim::StationState state = instrument_->station().State();
      std::vector<sim::Target> targets;
      for (const auto& o : offsets) {
        targets.push_back(sim_test::TargetAt(state, v + o[0], h + o[1], o[2], 0.3));
        ASSERT_GT(targets.back().z - targets.back().half_size, 0.2);
        instrument_->AddTarget(targets.back());
      }
      const sim_test::Frame with = Film(1);
      const VCAP_DISP_PARAMETER& disp = view_->m_DispParam[1];
      const double dx = disp.DstRect.left - disp.SrcRect.left;  // sensor -> screen at scale 1
      const double dy = disp.DstRect.top - disp.SrcRect.top;
      view_->m_Proj.BeginTrans(0);
      for (const auto& t : targets) {
        double sx = 0, sy = 0;
        int visible = 0;
        if (view_->XYZtoScr(t.y, t.x, t.z, sx, sy, visible) != 1 || !visible) continue;
        auto centre = sim_test::BoardCentre(with, without, sx - dx, sy - dy, 34);
        if (!centre) continue;  // too near the frame's edge to be measured
        EXPECT_NEAR(sx, centre->x + dx, 1.5);
        EXPECT_NEAR(sy, centre->y + dy, 1.5);
        ++judged;
      }
    }
  }
  EXPECT_GE(judged, 25);
}

INSTANTIATE_TEST_SUITE_P(LensModels, OverlayTruthTest, ::testing::Values(0, 1, 2, 3, 4));

class ExposureSettlesTest : public EndToEndTest, public ::testing::WithParamInterface<int> {};

// Each mode brings its measure into its dead band within 30 ticks, in a dark and a bright scene.
TEST_P(ExposureSettlesTest, WithinThirtyTicks) {
  const int mode = GetParam() % 3 + 1;
  StartWith(DIST_NONE);
  instrument_->SetLighting(GetParam() < 3 ? sim::Lighting::kDark : sim::Lighting::kBright);
  Turn(92.0, 10.0);
  view_->m_nAEMode = mode;
  int ticks = 0, still = 0, previous = view_->m_StartParam.Brightness;
  while (ticks < 30 && still < 2) {
    platform::AdvanceTime(200);
    ++ticks;
    still = view_->m_StartParam.Brightness == previous ? still + 1 : 0;
    previous = view_->m_StartParam.Brightness;
  }
  EXPECT_EQ(still, 2) << "still moving after " << ticks << " ticks, at " << previous;
  EXPECT_GT(ticks, 2) << "nothing to do: the scene was already exposed";
  int max = 0, min = 0, mean = 0;
  ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
  const int value = mode == 1 ? mean : mode == 2 ? (max + min) / 2 : max;
  const int target = mode == 3 ? 200 : 128;
  EXPECT_LT(std::abs((value - target) / 4), 2) << "value " << value << " exposure " << previous;
}

INSTANTIATE_TEST_SUITE_P(Scenes, ExposureSettlesTest, ::testing::Range(0, 6));

constexpr double kDegPerPixel = 0.0056 / 248.46 * 180.0 / 3.141592653589793;  // tele, at scale 1

struct ClientPt {
  double x = 0.0, y = 0.0;
};

class CornerModeTest : public SimLiveViewTest {
 protected:
  void Start() { SimLiveViewTest::Start(calibration_); }
  // A world point (pipeline axes, m) in the client area on the tele camera: pinhole of the
  // telescope's focal length, then the display record (sensor pixel i fills s screen pixels).
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
  // Every corner of a board's pattern in the client area (outer: entries 7..10, by sign).
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

// 100 seeded trials: a board 90..180 m away, an outer corner near the centre, zoom 1, 2 or 4, a
// tap up to 20 pixels away; the corner meant is the pattern's nearest to the tap.
TEST_F(CornerModeTest, TapsNearABoardCornerFindItWithinAPixel) {
  Start();
  view_->SetCurCamera(0);
  std::mt19937 rng(8);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int trial = 0; trial < 100; ++trial) {
    SCOPED_TRACE(::testing::Message() << "trial " << trial);
    const double v = 86.0 + unit(rng) * 4.5, h = unit(rng) * 360.0;
    instrument_->SetScene(sim::Scene());
    Turn(v, h);
    view_->InitZoom();
    const int zoom_steps = int(unit(rng) * 3);
    for (int k = 0; k < zoom_steps; ++k) view_->ZoomIn();
    const double s = view_->m_dZoom[0];
    // Half size 55..110 sensor pixels; the corner within 25 client pixels of the centre.
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
    const int chosen = 7 + (sx > 0 ? 2 : 0) + (sy > 0 ? 1 : 0);
    int tap_x = 0, tap_y = 0, expected = 0;
    for (int attempt = 0;; ++attempt) {
      const double r = 20 * std::sqrt(unit(rng)), a = unit(rng) * 6.283185307179586;
      tap_x = int(std::lround(corners[size_t(chosen)].x + r * std::cos(a)));
      tap_y = int(std::lround(corners[size_t(chosen)].y + r * std::sin(a)));
      std::vector<double> d;  // the nearest corner, by a margin of 3 pixels
      for (const ClientPt& c : corners) d.push_back(std::hypot(c.x - tap_x, c.y - tap_y));
      expected = int(std::min_element(d.begin(), d.end()) - d.begin());
      std::sort(d.begin(), d.end());
      if (d[1] - d[0] >= 3.0 || attempt > 50) break;
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
    // Within one camera pixel (client pixels / display scale) on each axis.
    const double dx = (view_->m_ptCorner.x - want.x) / s, dy = (view_->m_ptCorner.y - want.y) / s;
    EXPECT_TRUE(found && std::fabs(dx) <= 1.0 && std::fabs(dy) <= 1.0)
        << "corner " << view_->m_ptCorner.x << "," << view_->m_ptCorner.y << " want " << want.x
        << "," << want.y << " (corner " << expected << ") zoom " << s;
    EXPECT_EQ(view_->m_ptTap.x, tap_x);  // the tap mark stays where tapped
    // Turned by the corner's differences, the corner sits at the reticle.
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

// Zooming in corner mode freezes the picture and scales the tap about the centre.
TEST_F(CornerModeTest, ZoomFindsTheCornerAgainAtTheNewScale) {
  Start();
  view_->SetCurCamera(0);
  Turn(88.0, 10.0);
  const sim::StationState state = instrument_->station().State();
  // Half size 80 pixels; the top-left corner 12 right and 9 above the centre.
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
  EXPECT_NEAR(view_->m_ptCorner.x, corner.x, 1.0);
  EXPECT_NEAR(view_->m_ptCorner.y, corner.y, 1.0);
  view_->ZoomIn();
  platform::PumpMessages();
  EXPECT_EQ(view_->m_bSnapShot, 1);
  ASSERT_EQ(view_->m_bCornerFound, 1);
  const ClientPt zoomed = BoardCorners(board)[8];
  EXPECT_NEAR(view_->m_ptCorner.x, zoomed.x, 2.0);  // one camera pixel at scale 2
  EXPECT_NEAR(view_->m_ptCorner.y, zoomed.y, 2.0);
}

}  // namespace
}  // namespace liveview_test
