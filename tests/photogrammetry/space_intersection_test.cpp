// Space intersection from DLTs of independent ideal cameras: exact, noisy and degenerate rays.
#include "photogrammetry/space_intersection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "photogrammetry/dlt.h"
#include "tests/photogrammetry/pinhole.h"

namespace {

using namespace pinhole_test;

CDLT Solved(const Pinhole& camera) {
  PointArray control = SitePoints(12, L"C", 13);
  PointArray image = Photograph(camera, control);
  CDLT dlt;
  EXPECT_EQ(dlt.Solve(control, image), 1);
  return dlt;
}

TEST(SpaceIntersection, TwoOrThreePhotographsFixThePoints) {
  const Pinhole* cameras[] = {&kWest, &kSouth, &kNorth};
  const CDLT dlts[] = {Solved(kWest), Solved(kSouth), Solved(kNorth)};
  for (const CXYZ& t : SitePoints(15, L"T", 14)) {
    for (int used : {2, 3}) {
      CSpaceIntersection rays;
      for (int c = 0; c < used; ++c) {
        const CXYZ xy = cameras[c]->Image(t);
        rays.Add(dlts[c], xy.X, xy.Y);
      }
      CXYZ p(t.Name, 0, 0, 0);
      ASSERT_EQ(rays.Solve(p), 1);
      EXPECT_LT(p.Len(t), 1e-6) << "photographs " << used;
      EXPECT_LT(rays.m_dSigma, 1e-6);
    }
  }
}

TEST(SpaceIntersection, NoisyRaysGiveTheirResiduals) {
  const CXYZ truth(L"T", 1043.2, 2027.9, 53.1);
  const CXYZ a = kWest.Image(truth), b = kSouth.Image(truth);
  CSpaceIntersection rays;
  rays.Add(Solved(kWest), a.X + 0.5, a.Y - 0.3);
  rays.Add(Solved(kSouth), b.X - 0.2, b.Y + 0.4);
  CXYZ p;
  ASSERT_EQ(rays.Solve(p), 1);
  // Half a pixel at ~50 m is about 17 mm; near-perpendicular rays move the point about that much.
  EXPECT_LT(p.Len(truth), 0.05);
  EXPECT_GT(p.Len(truth), 0.002);
  EXPECT_GT(rays.m_dSigma, 0.01);
}

// A second camera turned about the vertical through the target (beyond 90 degrees: by
// `degrees` - 180, then mirrored through it): its ray crosses the west one at that angle.
TEST(SpaceIntersection, RaysMustCrossAtTwoDegreesOrMoreFromTwoCentres) {
  const CXYZ target(L"T", 1040.0, 2030.0, 52.0);
  const CXYZ a = kWest.Image(target);
  const CDLT west = Solved(kWest);
  for (const auto& [degrees, solves] : {std::pair{2.5, 1}, {1.5, 0}, {178.5, 0}, {177.5, 1}}) {
    SCOPED_TRACE(degrees);
    const bool mirrored = degrees > 90.0;
    const double t = (mirrored ? degrees - 180.0 : degrees) * M_PI / 180.0;
    const CXYZ w = kWest.centre - target;
    const CXYZ turned(
        w.X * std::cos(t) - w.Y * std::sin(t), w.X * std::sin(t) + w.Y * std::cos(t), w.Z);
    const CXYZ at = mirrored ? target - turned : target + turned;
    const Pinhole other(at, target, kFocalPx, 320, 240);
    const CXYZ b = other.Image(target);
    CSpaceIntersection rays;
    rays.Add(west, a.X, a.Y);
    rays.Add(Solved(other), b.X, b.Y);
    CXYZ p(L"T", 1.0, 2.0, 3.0);
    EXPECT_EQ(rays.Solve(p), solves);
    EXPECT_NEAR(rays.GetIntersectionAngle(target), std::min(degrees, 180.0 - degrees), 0.01);
    if (solves) {
      EXPECT_LT(p.Len(target), 1e-6);
    }
  }
  // One ray, or the same ray twice, fixes nothing.
  CXYZ p(L"T", 1.0, 2.0, 3.0);
  CSpaceIntersection rays;
  rays.Add(west, a.X, a.Y);
  EXPECT_EQ(rays.Solve(p), 0);
  rays.Add(west, a.X, a.Y);
  EXPECT_EQ(rays.Solve(p), 0);
  EXPECT_EQ(p.X, 1.0);
}

}  // namespace
