// The DLT and the space intersection against the simulated instrument's own
// camera model: control points projected through the library's projection
// chain (the ground truth the simulator renders with, in pipeline axes with
// survey X and Y swapped, image y down) must give a DLT that reprojects every
// other point exactly and whose projection centre is the camera's; and
// photographs taken from one station, which share their projection centre,
// must not be taken for an intersection however well their rays seem to meet;
// the job over a project leaves weakly controlled photographs out.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "photogrammetry/dlt.h"
#include "photogrammetry/space_intersection.h"
#include "sim/calibration.h"
#include "sim/camera_pose.h"
#include "sim/station.h"
#include "storage/photogrammetry_job.h"
#include "tests/sim/library_projection.h"
#include "tests/support/test_support.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

// Points through a 50 x 50 x 12 m block north-east of the station, in survey
// axes.
PointArray Block(int count, const wchar_t* prefix, unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> x(1020.0, 1070.0), y(2010.0, 2060.0), z(46.0, 58.0);
  PointArray points;
  for (int i = 0; i < count; ++i) {
    CXYZ p(L"", x(rng), y(rng), z(rng));
    p.Name.Format(L"%s%d", prefix, i + 1);
    points.Add(p);
  }
  return points;
}

sim::StationState Pose(double x, double y, double h_deg) {
  sim::StationState s;
  s.x = x;
  s.y = y;
  s.z = 50.0;
  s.v_deg = 88.0;
  s.h_deg = h_deg;
  return s;
}

// Image coordinates of the points the wide camera sees, from the library's
// projection chain, with optional Gaussian noise.
PointArray Picture(const sim::Calibration& c,
                   const sim::StationState& s,
                   const PointArray& ground,
                   double noise,
                   unsigned seed) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> n(0.0, noise);
  PointArray image;
  for (const CXYZ& g : ground) {
    auto p = sim_test::LibraryProject(c, s, g.Y, g.X, g.Z);  // pipeline axes
    if (!p || !p->visible || p->px < 0 || p->px > 640 || p->py < 0 || p->py > 480) continue;
    CXYZ q(g.Name, p->px + (noise > 0 ? n(rng) : 0.0), p->py + (noise > 0 ? n(rng) : 0.0), 0.0);
    image.Add(q);
  }
  return image;
}

// The camera centre the simulator renders from, back in survey axes.
CXYZ SimCentre(const sim::Calibration& c, const sim::StationState& s) {
  sim::CameraPose pose = sim::CameraPose::OnTelescope(s, c.ccd_offset, c.ccd_angle);
  return CXYZ(pose.centre.y, pose.centre.x, pose.centre.z);
}

TEST(DLTOnTheInstrument, ProjectionChainIsReproducedExactly) {
  sim::Calibration offset;  // a wide camera mounted off the axis and turned a little
  offset.ccd_offset = CXYZ(40.0, -25.0, 60.0);
  offset.ccd_angle = CWPK(0.01, -0.02, 0.005);
  PointArray control = Block(60, L"C", 1), others = Block(100, L"T", 2);
  for (const sim::Calibration& c : {sim::Calibration(), offset}) {
    for (const sim::StationState& s : {Pose(1000.0, 2000.0, 45.0), Pose(1090.0, 2000.0, 135.0)}) {
      PointArray image = Picture(c, s, control, 0.0, 0);
      ASSERT_GE(image.GetSize(), 10);
      CDLT dlt;
      ASSERT_EQ(dlt.Solve(control, image), 1);
      EXPECT_LT(dlt.m_dSigma, 1e-5);
      PointArray seen = Picture(c, s, others, 0.0, 0);
      ASSERT_GE(seen.GetSize(), 5);
      for (const CXYZ& q : seen) {
        const CXYZ* g = nullptr;
        for (const CXYZ& o : others)
          if (o.Name == q.Name) g = &o;
        double x = 0, y = 0;
        ASSERT_EQ(dlt.Project(*g, x, y), 1);
        EXPECT_LT(std::hypot(x - q.X, y - q.Y), 1e-4) << platform::WideToUtf8(q.Name.c_str());
      }
      CXYZ centre;
      ASSERT_EQ(dlt.GetCentre(centre), 1);
      EXPECT_LT(centre.Len(SimCentre(c, s)), 1e-4);
    }
  }
}

TEST(DLTOnTheInstrument, PhotographsFromOneStationDoNotIntersect) {
  sim::Calibration c;
  PointArray control = Block(60, L"C", 3);
  const CXYZ target(L"T", 1046.0, 2031.0, 51.3);
  // Two pictures 7 degrees apart from the west station, one from the east.
  const sim::StationState poses[] = {
      Pose(1000.0, 2000.0, 30.0), Pose(1000.0, 2000.0, 37.0), Pose(1090.0, 2000.0, 140.0)};
  CDLT dlt[3];
  CXYZ seen[3];
  for (int k = 0; k < 3; ++k) {
    PointArray image = Picture(c, poses[k], control, 0.2, 10 + k);
    ASSERT_EQ(dlt[k].Solve(control, image), 1);
    PointArray t;
    t.Add(const_cast<CXYZ&>(target));
    PointArray on = Picture(c, poses[k], t, 0.0, 0);
    ASSERT_EQ(on.GetSize(), 1);
    seen[k] = on[0];
  }
  CSpaceIntersection west;
  west.Add(dlt[0], seen[0].X, seen[0].Y);
  west.Add(dlt[1], seen[1].X, seen[1].Y);
  CXYZ p(L"T", 1.0, 2.0, 3.0);
  EXPECT_EQ(west.Solve(p), 0) << "solved at " << p.Len(target) << " m from the target";
  EXPECT_EQ(p.X, 1.0);

  // With the east picture the rays cross at about 111 (69) degrees: a point
  // within centimetres, for DLTs solved from 0.2 px measurements.
  CSpaceIntersection both = west;
  both.Add(dlt[2], seen[2].X, seen[2].Y);
  ASSERT_EQ(both.Solve(p), 1);
  EXPECT_LT(p.Len(target), 0.05);
  EXPECT_NEAR(both.GetIntersectionAngle(p), 34.0 + 35.2, 1.0);
}

class JobTest : public testing_support::DeviceTest {};

TEST_F(JobTest, WeaklyControlledPhotographsStayOutOfTheIntersection) {
  sim::Calibration c;
  PointArray control = Block(60, L"C", 5);
  PointArray targets;
  CXYZ target(L"T1", 1046.0, 2031.0, 51.3);
  targets.Add(target);
  CProject project;
  ASSERT_EQ(project.Create(L"Job"), 1);
  ASSERT_EQ(project.SetControlPoints(control), 1);
  WriteHostFile(Host(L"\\pic.jpg"), "\xFF\xD8 picture \xFF\xD9");
  const sim::StationState poses[] = {
      Pose(1000.0, 2000.0, 34.0), Pose(1090.0, 2000.0, 140.0), Pose(1046.0, 2090.0, 270.0)};
  for (int k = 0; k < 3; ++k) {
    PointArray image = Picture(c, poses[k], control, 0.0, 0),
               seen = Picture(c, poses[k], targets, 0.0, 0);
    ASSERT_EQ(seen.GetSize(), 1);
    if (k == 2) {  // the third picture shows seven controls, and its target 3 px off
      while (image.GetSize() > 7) image.RemoveAt(image.GetSize() - 1);
      seen[0].X += 3.0;
    }
    ASSERT_GE(image.GetSize(), 7);
    image.Add(seen[0]);
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
  // Its earlier solution is gone from the project, not reused.
  CDLT stale;
  EXPECT_EQ(project.GetDLT(strict.photos[2].name, stale), 0);
  ASSERT_EQ(strict.points.size(), 1u);
  EXPECT_EQ(strict.points[0].photos, 2);
  EXPECT_LT(strict.WorstError(), 1e-4);
  EXPECT_LT(strict.photos[0].sigma, 1e-4);
  EXPECT_LT(strict.photos[0].centre.Len(SimCentre(c, poses[0])), 1e-3);
  std::vector<std::string> lines = strict.Lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_NE(lines[2].find("DLT not solved (7 controls)"), std::string::npos) << lines[2];
  EXPECT_NE(lines[4].find("2 of 3 photos solved, 1 points intersected"), std::string::npos)
      << lines[4];
}

}  // namespace
