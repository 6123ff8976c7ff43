// End to end on the simulated instrument: the calibration goes into the
// instrument's memory, the view reads it at creation, the driver films the
// simulated site, and the results are judged from the pictures alone:
// survey points on their boards for every lens model, exposure that
// settles, and a snapshot saved as it was shown.
#include <cmath>
#include <vector>

#include "image/dib_ex.h"
#include "platform/fs.h"
#include "platform/registry.h"
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

// The view's projection of each target (its whole chain: exterior
// orientation, pipeline, lens) against the board's centre found in the
// rendered picture.
class OverlayTruthTest : public EndToEndTest, public ::testing::WithParamInterface<int> {};

TEST_P(OverlayTruthTest, ProjectedPointsLandOnTheirTargets) {
  StartWith(GetParam());
  ASSERT_EQ(view_->m_Camera.Dist.GetDistModel(), GetParam());
  // Zenith and horizontal offsets (degrees) and distance (m) of the targets
  // from the line of sight; all boards stand clear of the ground.
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

// Each mode (1..3) brings its measure (mean, mid-range, maximum) into its
// dead band within thirty ticks, from a dark (0..2) and a bright scene (3..5).
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

// Frozen, the screen and the exposure stay whatever the scene does; the
// saved JPEG, read back, is the picture the screen showed (up to JPEG
// coding). The save grabs fresh frames, so the scene is put back first.
TEST_F(EndToEndTest, SnapshotFreezesThePictureAndSavesIt) {
  StartWith(DIST_RADIAL_DECENTER);
  ASSERT_TRUE(
      platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\Card"));
  ASSERT_TRUE(CreateDirectoryW(L"\\Card", nullptr));
  Turn(88.0, 40.0);
  instrument_->AddTarget(sim_test::TargetAt(instrument_->station().State(), 88, 40, 25, 0.3));
  view_->m_nAEMode = 1;
  auto picture = [&] {
    view_->InvalidateRect(nullptr, TRUE);
    platform::AdvanceTime(1);
    platform::Present();
    return platform::Screen().pixels;
  };
  picture();
  view_->SnapShot();
  const int frozen_at = view_->m_StartParam.Brightness;
  const auto frozen = picture();
  instrument_->SetLighting(sim::Lighting::kDark);
  platform::AdvanceTime(1000);
  EXPECT_EQ(view_->m_StartParam.Brightness, frozen_at);
  EXPECT_TRUE(picture() == frozen);

  instrument_->SetLighting(sim::Lighting::kNormal);
  EXPECT_EQ(view_->WriteJpeg(), 1);
  EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
  CDibEx read;
  CString path(L"\\Card\\JPEG\\20240503\\140710W100.jpg");  // 14:07:09 + 1.003 s, wide, 1.00
  ASSERT_EQ(read.ReadJPEG(path), 1);
  ASSERT_EQ(read.GetDimensions(), CSize(320, 240));
  double sum = 0;
  int compared = 0;
  for (int y = 0; y < 240; y += 2) {
    for (int x = 0; x < 320; x += 2) {
      const uint32_t p = frozen[size_t(y) * 320 + size_t(x)];
      if (p == 0) continue;  // the black reticle, drawn over the video
      BYTE value = 0;
      ASSERT_EQ(read.GetPixel(&value, CPoint(x, y), /*luminance=*/3), TRUE);
      sum += std::abs(value - (0.3 * (p >> 16) + 0.59 * ((p >> 8) & 255) + 0.11 * (p & 255)));
      ++compared;
    }
  }
  EXPECT_LT(sum / compared, 6.0);
  view_->EndSnapShot();
  instrument_->SetLighting(sim::Lighting::kDark);
  platform::AdvanceTime(1000);
  EXPECT_GT(view_->m_StartParam.Brightness, frozen_at) << "live again, the dark scene is exposed";
}

}  // namespace
}  // namespace liveview_test
