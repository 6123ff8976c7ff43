// The simulated cameras agree with the library's own projection: a survey
// point projected by the live view's chain lands on its target's centre as
// found in the wide picture, and aiming the telescope by the library's tap
// angles brings a target onto the tele reticle.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

#include "sim/camera_pose.h"
#include "sim/instrument.h"
#include "sim/ray_table.h"
#include "sim/renderer.h"
#include "tests/sim/library_projection.h"
#include "tests/support/picture.h"
#include "tests/support/site.h"

namespace {

using sim_test::Frame;

Frame Render(sim::Instrument& instrument, int camera) {
  Frame frame = sim_test::NewFrame();
  devices::FrameRequest request;
  request.camera = camera;
  instrument.Render(request, frame.data());
  return frame;
}

// A realistic wide camera: slightly off-centre principal point, non-square
// pixels, camera 52 mm beside, 31 mm below and 12 mm in front of the axis
// point, turned by about a degree about each axis. Distortion reaches about
// 15 pixels in the corners.
sim::Calibration WideCalibration(int model) {
  sim::Calibration c;
  c.focal_length = 8.137;
  c.principal_x = 1.8031;
  c.principal_y = 1.3307;
  c.resolution_x = 0.005603;
  c.resolution_y = 0.005597;
  c.ccd_offset = CXYZ(52.4, -31.2, 12.7);
  c.ccd_angle = CWPK(0.0213, -0.0148, 0.0097);
  c.dist.SetDistModel(DIST_MODEL(model));
  if (model == DIST_RADIAL_DECENTER) {
    const double p[] = {-0.00812, 0.000293, 0.000417, -0.000268};
    for (int i = 0; i < 4; ++i) c.dist.AddPara(i, p[i]);
  } else if (model == DIST_RADIAL3_DECENTER) {
    const double p[] = {-0.00774, 0.000351, -0.0000137, -0.000321, 0.000244};
    for (int i = 0; i < 5; ++i) c.dist.AddPara(i, p[i]);
  }
  return c;
}

struct PoseResult {
  int compared = 0;
  double worst = 0.0;
};

// One instrument pose: nine targets spread over the wide view (a 3 x 3 grid
// of directions with a little jitter, 12 to 45 m away, each board about 30
// pixels across), rendered with and without them; every target the library
// reports visible (and far enough from the frame edge to be whole) is found
// in the picture and compared.
PoseResult ComparePose(sim::Instrument& instrument, std::mt19937& rng) {
  std::uniform_real_distribution<double> jitter(-1.5, 1.5), distance(12.0, 45.0);
  sim::StationState s = instrument.station().State();
  sim::Calibration calibration = instrument.calibration();
  // The instrument stands on a roof 25 m above the ground, so that targets
  // below the horizon are not buried.
  sim::Scene scene;
  scene.set_ground_z(s.z - 25.0);
  instrument.SetScene(scene);
  Frame without = Render(instrument, 1);
  for (double dv : {-5.5, 0.0, 5.5}) {
    for (double dh : {-8.5, 0.0, 8.5}) {
      double d = distance(rng);
      scene.AddTarget(sim_test::TargetAt(
          s, s.v_deg + dv + jitter(rng), s.h_deg + dh + jitter(rng), d, d * 0.0075));
    }
  }
  instrument.SetScene(scene);
  Frame with = Render(instrument, 1);

  PoseResult result;
  for (const sim::Target& t : scene.targets()) {
    auto projected =
        sim_test::LibraryProject(calibration, s, t.y, t.x, t.z);  // survey axes swapped
    if (!projected || !projected->visible) continue;
    if (t.z - 1.5 * t.half_size < scene.ground_z() + 0.05) continue;  // partly under the ground
    // Board half size in pixels: 0.0075 rad / 0.0007 rad per pixel = 11; frame edges kept clear.
    if (projected->px < 25 || projected->px > 615 || projected->py < 25 || projected->py > 455)
      continue;
    auto centre = sim_test::BoardCentre(with, without, projected->px, projected->py, 22);
    EXPECT_TRUE(centre.has_value()) << "target at " << projected->px << ", " << projected->py;
    if (!centre) continue;
    double error = std::hypot(centre->x - projected->px, centre->y - projected->py);
    EXPECT_LT(error, 1.0) << "library " << projected->px << ", " << projected->py << " picture "
                          << centre->x << ", " << centre->y;
    result.worst = std::max(result.worst, error);
    ++result.compared;
  }
  return result;
}

class SimWideMatchesLibrary : public ::testing::TestWithParam<int> {};

TEST_P(SimWideMatchesLibrary, ProjectedPointsLandOnTargetCentres) {
  sim::Instrument instrument;
  instrument.SetSampleEveryPixel(true);
  instrument.SetCalibration(WideCalibration(GetParam()));
  instrument.station().SetPosition(5230.117, -1744.62, 118.35);
  instrument.station().SetInstrumentHeight(1.612);
  std::mt19937 rng(20240503 + GetParam());
  std::uniform_real_distribution<double> v(78.0, 102.0), h(0.0, 360.0);
  int compared = 0;
  double worst = 0.0;
  for (int pose = 0; pose < 20; ++pose) {
    instrument.station().SetAngles(v(rng), h(rng));
    PoseResult r = ComparePose(instrument, rng);
    compared += r.compared;
    worst = std::max(worst, r.worst);
  }
  // Nearly all of the 180 targets lie inside the view; a few fall off the
  // edges with the jitter.
  EXPECT_GT(compared, 150);
  std::printf(
      "distortion model %d: %d targets, worst distance %.3f px\n", GetParam(), compared, worst);
}

INSTANTIATE_TEST_SUITE_P(DistortionModels,
                         SimWideMatchesLibrary,
                         ::testing::Values(int(DIST_NONE),
                                           int(DIST_RADIAL_DECENTER),
                                           int(DIST_RADIAL3_DECENTER)));

// The telescope aimed straight at a target shows it on the middle of the tele
// image centre pixel; turned away by a small angle and aimed back by the tap
// angles of the live view (dV = atan2(-dy * ResY, 248.46) as an elevation,
// dH = atan2(dx * ResX, 248.46)), the target returns to the reticle.
TEST(SimTele, AimingByTapAnglesBringsTargetToReticle) {
  sim::Instrument instrument;
  instrument.SetSampleEveryPixel(true);
  sim::Calibration c = WideCalibration(DIST_RADIAL_DECENTER);
  c.tele_center_x = 331;
  c.tele_center_y = 236;
  instrument.SetCalibration(c);
  instrument.station().SetPosition(-220.4, 815.9, 33.1);
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> v(84.0, 96.0), h(0.0, 360.0), turn(-0.045, 0.045);
  const double deg = 180.0 / 3.141592653589793;
  for (int trial = 0; trial < 6; ++trial) {
    double v0 = v(rng), h0 = h(rng);
    sim::StationState s = instrument.station().State();
    sim::Scene scene;
    scene.set_ground_z(s.z);
    const sim::Scene empty = scene;
    instrument.SetScene(empty);
    instrument.station().SetAngles(v0, h0);
    Frame without = Render(instrument, 0);
    const sim::Target target = sim_test::TargetAt(s, v0, h0, 60.0, 0.06);  // 43 px half size
    scene.AddTarget(target);
    instrument.SetScene(scene);
    Frame on_target = Render(instrument, 0);
    auto centre = sim_test::BoardCentre(on_target, without, 331.5, 236.5, 50);
    ASSERT_TRUE(centre.has_value());
    EXPECT_NEAR(centre->x, 331.5, 0.1);
    EXPECT_NEAR(centre->y, 236.5, 0.1);

    double v1 = v0 + turn(rng), h1 = h0 + turn(rng);
    instrument.station().SetAngles(v1, h1);
    instrument.SetScene(empty);
    without = Render(instrument, 0);
    instrument.SetScene(scene);
    Frame off = Render(instrument, 0);
    // Up to 0.045 deg is 35 px at 248.46 mm: inside the tap square at zoom 1.
    double guess_x = 331.5 - std::tan((h1 - h0) / deg) * 248.46 / c.resolution_x;
    double guess_y = 236.5 - std::tan((v1 - v0) / deg) * 248.46 / c.resolution_y;
    centre = sim_test::BoardCentre(off, without, guess_x, guess_y, 50);
    ASSERT_TRUE(centre.has_value());
    // The instrument's own account of where the tele camera sees the target
    // agrees with the picture (the centroid finder is good to about 0.5 px).
    auto seen = instrument.TeleSensorPoint(target.x, target.y, target.z);
    ASSERT_TRUE(seen.has_value());
    EXPECT_NEAR(seen->x, centre->x, 0.7) << "trial " << trial;
    EXPECT_NEAR(seen->y, centre->y, 0.7) << "trial " << trial;
    double dx = centre->x - 331.5, dy = centre->y - 236.5;
    double dv = std::atan2(-(dy * c.resolution_y), 248.46) * deg;
    double dh = std::atan2(dx * c.resolution_x, 248.46) * deg;
    instrument.station().SetAngles(v1 - dv, h1 + dh);
    instrument.SetScene(empty);
    without = Render(instrument, 0);
    instrument.SetScene(scene);
    Frame back = Render(instrument, 0);
    centre = sim_test::BoardCentre(back, without, 331.5, 236.5, 50);
    ASSERT_TRUE(centre.has_value());
    EXPECT_NEAR(centre->x, 331.5, 1.0) << "trial " << trial;
    EXPECT_NEAR(centre->y, 236.5, 1.0) << "trial " << trial;
  }
}

}  // namespace

namespace {

// Sharper than any picture: the library's projection of a target lies within
// 0.15 px of the board's X-junction as the simulator sees it, for every lens
// model. The four rays 0.15 px diagonally around the projected point must
// meet the two dark and the two white quadrants in the checker's order.
TEST(SimWide, LibraryProjectionHitsTheBoardJunctionForEveryLensModel) {
  // The library's lens inversion stops at a residual of a tenth of a pixel.
  const double kStep = 0.15;  // px
  for (int model = DIST_NONE; model <= DIST_POLY8; ++model) {
    SCOPED_TRACE(model);
    sim::Calibration c = WideCalibration(model);
    if (model == DIST_RADIAL) {
      const double p[] = {-0.0079, 0.00027, -0.000011, 0.0000004};
      for (int i = 0; i < 4; ++i) c.dist.AddPara(i, p[i]);
    } else if (model == DIST_POLY8) {
      const double p[] = {-0.0081, 0.00029, 0.00061, -0.00043, 0.00052, -0.00037, 0.00041, 0.00033};
      for (int i = 0; i < 8; ++i) c.dist.AddPara(i, p[i]);
    }
    sim::RayTable rays = sim::RayTable::Wide(c);
    sim::StationState s;
    s.x = 5230.117, s.y = -1744.62, s.z = 118.35, s.instrument_height = 1.612;
    std::mt19937 rng(11 + model);
    std::uniform_real_distribution<double> v(78.0, 102.0), h(0.0, 360.0), jitter(-1.5, 1.5),
        distance(12.0, 45.0);
    int checked = 0;
    for (int pose = 0; pose < 20; ++pose) {
      s.v_deg = v(rng), s.h_deg = h(rng);
      sim::Scene scene;
      scene.set_ground_z(s.z - 25.0);
      for (double dv : {-5.5, 0.0, 5.5}) {
        for (double dh : {-8.5, 0.0, 8.5}) {
          double d = distance(rng);
          scene.AddTarget(sim_test::TargetAt(
              s, s.v_deg + dv + jitter(rng), s.h_deg + dh + jitter(rng), d, d * 0.0075));
        }
      }
      sim::CameraPose pose_of_wide = sim::CameraPose::OnTelescope(s, c.ccd_offset, c.ccd_angle);
      sim::Renderer renderer(scene, pose_of_wide, s.AxisPoint());
      for (const sim::Target& t : scene.targets()) {
        auto p = sim_test::LibraryProject(c, s, t.y, t.x, t.z);
        if (!p || !p->visible || p->px < 1 || p->px > 639 || p->py < 1 || p->py > 479) continue;
        auto dark = [&](int sx, int sy) {
          sim::Vec3 ray = pose_of_wide.ToWorld(rays.RayAt(p->px + sx * kStep, p->py + sy * kStep));
          return renderer.Shade(ray).g < 0.3f;
        };
        // Up-right and down-left quadrants are dark (picture y grows downwards).
        EXPECT_TRUE(dark(1, -1) && dark(-1, 1) && !dark(-1, -1) && !dark(1, 1))
            << "target projected to " << p->px << ", " << p->py;
        ++checked;
      }
    }
    EXPECT_GT(checked, 150);
  }
}

}  // namespace
