// End to end on the simulated instrument: the calibration goes into the
// instrument's memory, the view reads it at creation, the driver films the
// simulated site, and the results are judged from the pictures alone.
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop.h"
#include "sim/calibration_memory.h"
#include "sim/instrument.h"
#include "tests/liveview/survey_view_fixture.h"
#include "tests/support/picture.h"
#include "tests/support/site.h"

namespace survey_view_test {
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
  const int count = c.dist.GetNumPara();
  const double params[3][5] = {{0, 0, 0, 0, 0},
                               {-2.1e-3, 1.4e-5, 1.2e-4, -6.0e-5, 0},        // K1 K2 P1 P2
                               {-2.0e-3, 1.1e-5, -3.0e-7, 9.0e-5, 5.0e-5}};  // K1 K2 K3 P1 P2
  const int row = model == 0 ? 0 : model == 2 ? 1 : 2;
  for (int i = 0; i < count; ++i) c.dist.AddPara(i, params[row][i]);
  return c;
}

std::string ScreenshotPath(const std::string& name) {
  const std::filesystem::path dir = std::filesystem::path(SURVEYCAM_BINARY_DIR) / "screenshots";
  std::filesystem::create_directories(dir);
  return (dir / name).string();
}

class SimViewTest : public SurveyViewTest {
 protected:
  void Start(const sim::Calibration& c) {
    instrument_ = std::make_shared<sim::Instrument>();
    instrument_->SetSampleEveryPixel(true);
    instrument_->SetCalibration(c);
    devices::SetFrameSource(instrument_);
    ASSERT_TRUE(sim::WriteCalibrationToMemory(c));
    CreateView();
    if (c.dist.GetDistModel() == DIST_RADIAL3_DECENTER)
      view_->m_Camera.Dist = c.dist;  // five terms: not in the record
  }
  // Points the instrument and tells the view, as the host does.
  void Turn(double v, double h) {
    instrument_->station().SetAngles(v, h);
    const sim::Vec3 axis = instrument_->station().State().AxisPoint();
    CXYZ mp(axis.x, axis.y, axis.z);
    view_->SetMp(mp);
    view_->UpdateAngle(v, h);
  }
  sim_test::Frame Film(int camera) {
    sim_test::Frame frame = sim_test::NewFrame();
    devices::FrameRequest request;
    request.camera = camera;
    request.brightness = view_->m_StartParam.Brightness;
    instrument_->Render(request, frame.data());
    return frame;
  }
  void Shoot(const std::string& name) {
    view_->InvalidateRect(nullptr, TRUE);
    platform::AdvanceTime(50);  // a fresh frame of the scene as it is now
    platform::Present();
    EXPECT_TRUE(platform::WritePng(platform::Screen(), ScreenshotPath(name)));
  }
  std::shared_ptr<sim::Instrument> instrument_;
};

class OverlayTruthTest : public SimViewTest, public ::testing::WithParamInterface<int> {};

TEST_P(OverlayTruthTest, ProjectedPointsLandOnTheirTargets) {
  const sim::Calibration c = CalibrationWithModel(GetParam());
  Start(c);
  ASSERT_EQ(view_->m_Camera.Dist.GetDistModel(), c.dist.GetDistModel());
  // Zenith and horizontal offsets (degrees) and distance (m) of the targets
  // from the line of sight; all boards stand clear of the ground.
  const double offsets[][3] = {{0, 0, 25}, {-5, -8, 18}, {-2, 7, 30}, {3, -4, 12}, {-3, 9, 40}};
  int judged = 0;
  for (double v : {80.0, 84.0, 87.5, 90.0}) {
    for (double h : {0.0, 37.25, 123.5, 250.0, 311.75}) {
      SCOPED_TRACE(::testing::Message() << "V " << v << " H " << h);
      instrument_->SetScene(sim::Scene());
      Turn(v, h);
      const sim_test::Frame without = Film(1);
      const sim::StationState state = instrument_->station().State();
      std::vector<sim::Target> targets;
      for (const auto& o : offsets) {
        const sim::Target t = sim_test::TargetAt(state, v + o[0], h + o[1], o[2], 0.3);
        ASSERT_GT(t.z - t.half_size, 0.2);
        targets.push_back(t);
      }
      for (const auto& t : targets) instrument_->AddTarget(t);
      const sim_test::Frame with = Film(1);

      const VCAP_DISP_PARAMETER& disp = view_->m_DispParam[1];
      view_->m_Proj.BeginTrans(0);
      for (const auto& t : targets) {
        double sx = 0, sy = 0;
        int visible = 0;
        if (view_->XYZtoScr(t.y, t.x, t.z, sx, sy, visible) != 1 || !visible) continue;
        // Screen -> sensor through the display record (scale 1).
        const double guess_x = sx - disp.DstRect.left + disp.SrcRect.left;
        const double guess_y = sy - disp.DstRect.top + disp.SrcRect.top;
        auto centre = sim_test::BoardCentre(with, without, guess_x, guess_y, 34);
        if (!centre) continue;  // too near the frame's edge to be measured
        const double centre_x = centre->x - disp.SrcRect.left + disp.DstRect.left;
        const double centre_y = centre->y - disp.SrcRect.top + disp.DstRect.top;
        EXPECT_NEAR(sx, centre_x, 1.5);
        EXPECT_NEAR(sy, centre_y, 1.5);
        ++judged;
      }
    }
  }
  EXPECT_GE(judged, 60);
}

INSTANTIATE_TEST_SUITE_P(Models, OverlayTruthTest, ::testing::Values(0, 2, 3));

TEST_F(SimViewTest, WideViewWithPointsAndOffsetModeScreenshots) {
  Start(CalibrationWithModel(2));
  Turn(88.0, 40.0);
  const sim::StationState state = instrument_->station().State();
  CKvoArray<CXYZ, CXYZ&> points;
  const double offsets[][3] = {{0, 0, 25}, {-4, -7, 18}, {3, 6, 30}, {2, -3, 22}};
  int n = 0;
  for (const auto& o : offsets) {
    sim::Target t = sim_test::TargetAt(state, 88.0 + o[0], 40.0 + o[1], o[2], 0.3);
    t.name = L"P" + std::to_wstring(++n);
    instrument_->AddTarget(t);
    CXYZ p(t.name.c_str(), t.x, t.y, t.z);
    points.Add(p);
  }
  view_->SetPoints(&points);
  Shoot("survey_wide_points.png");
  view_->SetCurCamera(0);
  view_->BeginOffsetMode(88.0, 40.0);
  Turn(88.02, 40.03);
  Shoot("survey_offset_mode.png");
  EXPECT_NEAR(view_->m_dDH, 0.03, 1e-9);
  view_->SetPoints(nullptr);
}

TEST_F(SimViewTest, TapOnATeleTargetAimsTheTelescopeAtIt) {
  Start(CalibrationWithModel(2));
  Turn(90.0, 30.0);
  view_->SetCurCamera(0);
  platform::PumpMessages();
  const sim::StationState state = instrument_->station().State();
  // 100 m away, a little up and to the left: inside the allowed square.
  instrument_->AddTarget(sim_test::TargetAt(state, 90.0 - 0.03, 30.0 - 0.04, 100.0, 0.05));
  sim::Scene empty = instrument_->scene();
  empty.ClearTargets();

  auto find_target = [&]() {
    const sim_test::Frame with = Film(0);
    auto scene = instrument_->scene();
    instrument_->SetScene(empty);
    const sim_test::Frame without = Film(0);
    instrument_->SetScene(scene);
    return sim_test::BoardCentre(with, without, 320, 240, 60);
  };
  auto before = find_target();
  ASSERT_TRUE(before.has_value());
  const VCAP_DISP_PARAMETER& disp = view_->m_DispParam[0];
  const int tap_x = int(std::floor(before->x - disp.SrcRect.left + disp.DstRect.left));
  const int tap_y = int(std::floor(before->y - disp.SrcRect.top + disp.DstRect.top));

  view_->BeginCornerMode();
  view_->SetGetMeas();
  platform::InjectTap(tap_x, tap_y);
  platform::PumpMessages();
  ASSERT_EQ(view_->m_bTapped, 1);
  EXPECT_EQ(boxes_.size(), 0u);
  Shoot("survey_tele_tap.png");

  // The differences are elevation-like (up positive) and clockwise.
  Turn(90.0 - view_->m_dDV, 30.0 + view_->m_dDH);
  auto after = find_target();
  ASSERT_TRUE(after.has_value());
  EXPECT_NEAR(after->x, view_->m_nCenterX[0], 1.0);
  EXPECT_NEAR(after->y, view_->m_nCenterY[0], 1.0);
  view_->EndCornerMode();
}

struct SettleCase {
  sim::Lighting lighting;
  int mode;
};

class ExposureSettlesTest : public SimViewTest, public ::testing::WithParamInterface<SettleCase> {};

TEST_P(ExposureSettlesTest, WithinThirtyTicks) {
  Start(CalibrationWithModel(0));
  instrument_->SetLighting(GetParam().lighting);
  Turn(92.0, 10.0);
  view_->m_nAEMode = GetParam().mode;
  int ticks = 0;
  int previous = view_->m_StartParam.Brightness;
  int still = 0;
  while (ticks < 30 && still < 2) {
    platform::AdvanceTime(200);
    ++ticks;
    still = view_->m_StartParam.Brightness == previous ? still + 1 : 0;
    previous = view_->m_StartParam.Brightness;
  }
  EXPECT_EQ(still, 2) << "still moving after " << ticks << " ticks, at " << previous;
  int max = 0, min = 0, mean = 0;
  ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
  const int value = GetParam().mode == 1 ? mean : GetParam().mode == 2 ? (max + min) / 2 : max;
  const int target = GetParam().mode == 3 ? 200 : 128;
  EXPECT_LT(std::abs((value - target) / 4), 2) << "value " << value << " exposure " << previous;
}

void PrintTo(const SettleCase& c, std::ostream* os) {
  *os << (c.lighting == sim::Lighting::kDark ? "dark" : "bright") << " mode " << c.mode;
}

INSTANTIATE_TEST_SUITE_P(Scenes,
                         ExposureSettlesTest,
                         ::testing::Values(SettleCase{sim::Lighting::kDark, 1},
                                           SettleCase{sim::Lighting::kDark, 2},
                                           SettleCase{sim::Lighting::kDark, 3},
                                           SettleCase{sim::Lighting::kBright, 1},
                                           SettleCase{sim::Lighting::kBright, 2},
                                           SettleCase{sim::Lighting::kBright, 3}));

}  // namespace
}  // namespace survey_view_test
