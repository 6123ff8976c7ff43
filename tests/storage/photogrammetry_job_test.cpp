// Photogrammetric jobs: examples/photogrammetry_site.csv shot from three simulated stations and
// measured from the pixels; on ideal cameras, a weakly controlled photograph stays out.
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

// Every target's centre measured from the pixels; the truth only says where to tap and which
// board is which. Boards near the edge or overlapping another are left out.
PointArray MeasurePicture(sim::Instrument& instrument, const PointArray& targets) {
  const sim::StationState s = instrument.station().State();
  const CXYZ eye(s.x, s.y, s.z + s.instrument_height);
  std::vector<sim_test::SensorPoint> at;  // where each board is in the picture
  std::vector<double> half;               // its half size in pixels (boards face the instrument)
  for (const CXYZ& t : targets) {
    auto p = sim_test::LibraryProject(instrument.calibration(), s, t.Y, t.X, t.Z);  // pipeline axes
    at.push_back(p && p->visible ? *p : sim_test::SensorPoint{-1000, -1000, 0});
    half.push_back(kBoardHalf / t.Len(eye) * kWidePixel);
  }
  Frame frame = sim_test::NewFrame();
  devices::FrameRequest wide;
  wide.camera = 1;
  instrument.Render(wide, frame.data());
  std::vector<float> light;
  for (uint16_t p : frame) light.push_back(float(sim_test::LinearLight(p)));
  PointArray measured;
  for (size_t i = 0; i < at.size(); ++i) {
    bool crowded = false;
    for (size_t j = 0; j < at.size(); ++j)
      crowded |= j != i && at[j].visible &&
                 std::max(std::fabs(at[j].px - at[i].px), std::fabs(at[j].py - at[i].py)) <
                     half[i] + half[j] + 3;
    // An operator's tap lands within a pixel or so of the centre.
    const double tap_x = at[i].px + 0.8 * std::sin(3.0 * i),
                 tap_y = at[i].py + 0.8 * std::cos(5.0 * i);
    CXYZ p(targets[int(i)].Name, 0, 0, 0.0);
    if (at[i].visible && !crowded &&
        photogrammetry::FindBoardCentre({light.data(), devices::kFrameWidth, devices::kFrameHeight},
                                        tap_x,
                                        tap_y,
                                        half[i],
                                        1.5,
                                        p.X,
                                        p.Y))
      measured.Add(p);
  }
  return measured;
}

class PhotogrammetryJob : public testing_support::DeviceTest {};

TEST_F(PhotogrammetryJob, ThreeStationsRecoverTheCheckTargets) {
  PointArray site;
  const CString path(testing_support::SourcePath("examples/photogrammetry_site.csv").c_str());
  ASSERT_EQ(ReadCSVFile(path, site, 1), 1);
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
    // Pictures 6 degrees apart (the wide camera sees 25.6 x 19.4): 3-4 per target and station.
    for (double h = h_min - 6.0; h <= h_max + 6.0; h += 6.0) {
      instrument.station().SetAngles(v_sum / check.GetSize(), h);
      PointArray measured = MeasurePicture(instrument, targets);
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
  // Every check target, and nothing else (control targets are not intersected).
  EXPECT_EQ(report.points.size(), size_t(check.GetSize()));
  for (const photogrammetry::JobPoint& p : report.points)
    EXPECT_TRUE(p.known && p.photos >= 4 && p.angle >= 30.0)
        << platform::WideToUtf8(p.point.Name.c_str());
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
  // Its earlier solution is gone from the project, not reused; a kept one stays.
  CDLT dlt;
  EXPECT_EQ(project.GetDLT(strict.photos[2].name, dlt), 0);
  EXPECT_EQ(project.GetDLT(strict.photos[0].name, dlt), 1);
  PointArray stored;  // result.csv keeps six decimals
  ASSERT_EQ(project.GetResultPoints(stored), 1);
  ASSERT_EQ(stored.GetSize(), 1);
  EXPECT_LT(stored[0].Len(target), 1e-4);
  // The west camera's centre; the west and south rays cross at 92.0 degrees (88.0 the other way).
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
  EXPECT_EQ(unknown.WorstError(), -1.0);
  EXPECT_EQ(unknown.Lines().back(), "2 of 3 photos solved, 1 points intersected");
}

}  // namespace
