// A photogrammetric job on the simulated instrument, end to end: the site of
// examples/photogrammetry_site.csv photographed with the wide camera from
// three stations, measured from the pixels, solved and
// intersected, against the true check targets. And on ideal cameras: a
// weakly controlled photograph stays out of the intersection.
#include "storage/photogrammetry_job.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "photogrammetry/board_centre.h"
#include "pointfiles/point_files.h"
#include "sim/instrument.h"
#include "storage/project.h"
#include "tests/photogrammetry/pinhole.h"
#include "tests/support/picture.h"
#include "tests/support/test_support.h"
#include "tests/support/wide_projection.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;
using sim_test::Frame;

constexpr double kPi = 3.141592653589793;
constexpr double kBoardHalf = 0.5;           // m: the site file's boards are placed for this size
constexpr double kWidePixel = 8.0 / 0.0056;  // wide camera's focal length in pixels
constexpr int kMinControls = 10;             // DLTs from fewer stay out of the intersection

Frame Render(sim::Instrument& instrument) {
  Frame frame = sim_test::NewFrame();
  devices::FrameRequest request;
  request.camera = 1;
  instrument.Render(request, frame.data());
  return frame;
}

// Every target's centre in one picture, from the pixels by the board's point
// symmetry; the projection of the true coordinates only says where to tap and
// which board is which. Boards near the edge or overlapping another are left out.
PointArray MeasurePicture(const sim::Instrument& instrument,
                          const PointArray& targets,
                          const Frame& frame) {
  sim::StationState s = instrument.station().State();
  CXYZ eye(s.x, s.y, s.z + s.instrument_height);
  std::vector<sim_test::SensorPoint> guesses;
  std::vector<double> half;  // board half size in pixels (boards face the instrument)
  for (const CXYZ& t : targets) {
    auto p = sim_test::LibraryProject(instrument.calibration(), s, t.Y, t.X, t.Z);  // pipeline axes
    guesses.push_back(p && p->visible ? *p : sim_test::SensorPoint{-1000, -1000, 0});
    half.push_back(kBoardHalf / t.Len(eye) * kWidePixel);
  }
  std::vector<float> light(frame.size());
  for (size_t k = 0; k < frame.size(); ++k) light[k] = float(sim_test::LinearLight(frame[k]));
  const photogrammetry::BoardImage image{light.data(), devices::kFrameWidth, devices::kFrameHeight};
  PointArray measured;
  for (int i = 0; i < targets.GetSize(); ++i) {
    const sim_test::SensorPoint& g = guesses[size_t(i)];
    if (!g.visible) continue;
    bool crowded = false;
    for (size_t j = 0; j < guesses.size(); ++j) {
      double gap = std::max(std::fabs(guesses[j].px - g.px), std::fabs(guesses[j].py - g.py));
      if (int(j) != i && guesses[j].visible && gap < half[size_t(i)] + half[j] + 3) crowded = true;
    }
    if (crowded) continue;
    // An operator's tap lands within a pixel or so of the centre.
    const double tap_x = g.px + 0.8 * std::sin(3.0 * i), tap_y = g.py + 0.8 * std::cos(5.0 * i);
    double x = 0, y = 0;
    if (!photogrammetry::FindBoardCentre(image, tap_x, tap_y, half[size_t(i)], 1.5, x, y)) continue;
    CXYZ p(targets[i].Name, x, y, 0.0);
    measured.Add(p);
  }
  return measured;
}

class PhotogrammetryJob : public testing_support::DeviceTest {};

TEST_F(PhotogrammetryJob, ThreeStationsRecoverTheCheckTargets) {
  PointArray site;
  ASSERT_EQ(
      ReadCSVFile(CString(testing_support::SourcePath("examples/photogrammetry_site.csv").c_str()),
                  site,
                  1),
      1);
  PointArray stations, targets, check, control;
  for (CXYZ& p : site) {
    (p.Code == L"STN" ? stations : targets).Add(p);
    if (p.Code != L"STN") (p.Code == L"TGT" ? check : control).Add(p);
  }
  ASSERT_EQ(stations.GetSize() * 10 + check.GetSize(), 36);

  sim::Instrument instrument;
  instrument.SetSampleEveryPixel(true);
  sim::Scene scene;
  scene.set_ground_z(40.0);  // the site stands on a terrace below the stations
  for (const CXYZ& t : targets) scene.AddTarget({t.Name.c_str(), t.X, t.Y, t.Z, kBoardHalf});
  instrument.SetScene(scene);

  CProject project;
  ASSERT_EQ(project.Create(L"Site"), 1);
  ASSERT_EQ(project.SetControlPoints(control), 1);
  PutDeviceFile(L"\\pic.jpg", "\xFF\xD8 picture \xFF\xD9");  // solving reads the measurements only
  for (const CXYZ& st : stations) {
    instrument.station().SetPosition(st.X, st.Y, st.Z);
    instrument.station().SetInstrumentHeight(1.5);
    sim::StationState s = instrument.station().State();
    double h_min = 1e9, h_max = -1e9, v_sum = 0.0;
    for (const CXYZ& t : check) {  // horizontal angle from X towards Y, zenith angle
      const double dx = t.X - s.x, dy = t.Y - s.y, dz = t.Z - (s.z + s.instrument_height);
      h_min = std::min(h_min, std::atan2(dy, dx) * 180.0 / kPi);
      h_max = std::max(h_max, std::atan2(dy, dx) * 180.0 / kPi);
      v_sum += 90.0 - std::atan2(dz, std::hypot(dx, dy)) * 180.0 / kPi;
    }
    // Pictures 6 degrees apart (the wide camera sees 25.6 x 19.4): each target
    // is on three or four pictures of a station, at different places.
    for (double h = h_min - 6.0; h <= h_max + 6.0; h += 6.0) {
      instrument.station().SetAngles(v_sum / check.GetSize(), h);
      PointArray measured = MeasurePicture(instrument, targets, Render(instrument));
      CSize size(devices::kFrameWidth, devices::kFrameHeight);
      CString photo;
      ASSERT_EQ(photogrammetry::AddMeasuredPhoto(project, L"\\pic.jpg", size, measured, photo), 1);
    }
  }
  photogrammetry::JobReport report;
  ASSERT_EQ(photogrammetry::SolvePhotogrammetryJob(project, &check, report, kMinControls), 1);
  EXPECT_GE(report.SolvedPhotos(), int(report.photos.size()) - 3);
  for (const photogrammetry::JobPhoto& p : report.photos)
    EXPECT_TRUE(!p.solved || (p.controls >= kMinControls && p.sigma < 0.2))
        << platform::WideToUtf8(p.name.c_str());
  for (const CXYZ& truth : check) {
    auto it = std::find_if(
        report.points.begin(), report.points.end(), [&](const photogrammetry::JobPoint& r) {
          return r.point.Name == truth.Name;
        });
    ASSERT_NE(it, report.points.end()) << platform::WideToUtf8(truth.Name.c_str());
    EXPECT_TRUE(it->known && it->photos >= 4 && it->angle >= 30.0);
  }
  // Control targets are not intersected; nothing else stands on the site.
  EXPECT_EQ(report.points.size(), size_t(check.GetSize()));
  EXPECT_LT(report.WorstError(), 0.005);
}

TEST_F(PhotogrammetryJob, WeaklyControlledPhotographsStayOutOfTheIntersection) {
  using pinhole_test::kNorth, pinhole_test::kSouth, pinhole_test::kWest, pinhole_test::Pinhole;
  PointArray control = pinhole_test::SitePoints(60, L"C", 5), targets;
  CXYZ target(L"T1", 1046.0, 2031.0, 51.3);
  targets.Add(target);
  CProject project;
  ASSERT_EQ(project.Create(L"Job"), 1);
  ASSERT_EQ(project.SetControlPoints(control), 1);
  PutDeviceFile(L"\\pic.jpg", "\xFF\xD8 picture \xFF\xD9");
  const Pinhole* cameras[] = {&kWest, &kSouth, &kNorth};
  for (int k = 0; k < 3; ++k) {
    PointArray image = pinhole_test::Photograph(*cameras[k], control);
    CXYZ seen = cameras[k]->Image(target);
    if (k == 2) {  // the third picture shows seven controls, and its target 3 px off
      while (image.GetSize() > 7) image.RemoveAt(image.GetSize() - 1);
      seen.X += 3.0;
    }
    image.Add(seen);
    CSize size(640, 480);
    CString photo;
    ASSERT_EQ(photogrammetry::AddMeasuredPhoto(project, L"\\pic.jpg", size, image, photo), 1);
  }
  photogrammetry::JobReport loose, strict;
  ASSERT_EQ(photogrammetry::SolvePhotogrammetryJob(project, &targets, loose), 1);
  EXPECT_EQ(loose.SolvedPhotos(), 3);
  ASSERT_EQ(loose.points.size(), 1u);
  EXPECT_EQ(loose.points[0].photos, 3);
  EXPECT_GT(loose.WorstError(), 0.01);  // the bad ray pulls the point off

  ASSERT_EQ(photogrammetry::SolvePhotogrammetryJob(project, &targets, strict, 10), 1);
  EXPECT_EQ(strict.SolvedPhotos(), 2);
  EXPECT_EQ(strict.photos[2].solved, 0);
  EXPECT_EQ(strict.photos[2].controls, 7);
  // Its earlier solution is gone from the project, not reused; a kept one
  // reads back and images the target where the west camera does.
  CDLT dlt;
  EXPECT_EQ(project.GetDLT(strict.photos[2].name, dlt), 0);
  ASSERT_EQ(project.GetDLT(strict.photos[0].name, dlt), 1);
  double x = 0, y = 0;
  ASSERT_EQ(dlt.Project(target, x, y), 1);
  EXPECT_LT(std::hypot(x - kWest.Image(target).X, y - kWest.Image(target).Y), 1e-4);
  PointArray stored;  // result.csv keeps six decimals
  ASSERT_EQ(project.GetResultPoints(stored), 1);
  ASSERT_EQ(stored.GetSize(), 1);
  EXPECT_LT(stored[0].Len(target), 1e-4);
  ASSERT_EQ(strict.points.size(), 1u);
  EXPECT_EQ(strict.points[0].photos, 2);
  EXPECT_LT(strict.WorstError(), 1e-4);
  EXPECT_LT(strict.photos[0].sigma, 1e-4);
  EXPECT_LT(strict.photos[0].centre.Len(kWest.centre), 1e-3);
  EXPECT_EQ(strict.photos[0].measured, 61);
  // The rays from the west and south centres cross at 92.0 degrees: 88.0
  // from the nearer side.
  const CXYZ u = Pinhole::Unit(kWest.centre - target), v = Pinhole::Unit(kSouth.centre - target);
  EXPECT_NEAR(strict.points[0].angle, 180.0 - std::acos(Pinhole::Dot(u, v)) * 180.0 / kPi, 0.01);
  const std::vector<std::string> lines = strict.Lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0].rfind("photo P001: 61 points, DLT from 60 controls, sigma 0.000 px", 0), 0u);
  EXPECT_NE(lines[0].find(", centre 1000.000 2000.000 51.500"), std::string::npos) << lines[0];
  EXPECT_EQ(lines[2], "photo P003: 8 points, DLT not solved (7 controls)");
  EXPECT_EQ(lines[3].rfind("point T1: 1046.0000 2031.0000 51.3000 from 2 photos", 0), 0u);
  EXPECT_NE(lines[3].find(", angle 88.0 deg, error 0.0 mm ("), std::string::npos) << lines[3];
  EXPECT_EQ(lines[4], "2 of 3 photos solved, 1 points intersected, worst check error 0.0 mm");
  // Without check coordinates there is no error to report.
  photogrammetry::JobReport unknown;
  ASSERT_EQ(photogrammetry::SolvePhotogrammetryJob(project, nullptr, unknown, 10), 1);
  EXPECT_EQ(unknown.points[0].known, 0);
  EXPECT_EQ(unknown.WorstError(), -1.0);
  EXPECT_EQ(unknown.Lines().back(), "2 of 3 photos solved, 1 points intersected");
}

}  // namespace
