// CHough on drawn lines: peaks at their normal forms, one per line, segments split at gaps.
#include "corner/hough.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

constexpr double kPi = 3.141592653589793;
constexpr int kSize = 96;

using Binary = std::vector<uint8_t>;

// Lines of one pixel per step of the major axis, as a thinned edge looks.
Binary Draw(const std::vector<std::vector<double>>& lines) {
  Binary img(kSize * kSize, 0);
  for (const auto& l : lines) {
    const int steps = int(std::ceil(std::max(std::fabs(l[2] - l[0]), std::fabs(l[3] - l[1]))));
    for (int i = 0; i <= steps; ++i) {
      const double t = steps ? double(i) / steps : 0.0;
      const long x = std::lround(l[0] + t * (l[2] - l[0])),
                 y = std::lround(l[1] + t * (l[3] - l[1]));
      img[size_t(y * kSize + x)] = 255;
    }
  }
  return img;
}

int DetectAll(CHough& hough, const Binary& img, CKvoArray<CLineSeg, CLineSeg&>& segs) {
  hough.Transform(img.data(), CSize(kSize, kSize), 2);
  const int peaks = hough.FindPeaks(16);
  hough.Extract(img.data(), CSize(kSize, kSize), 2, segs);
  return peaks;
}

// One sloping line (its normal (-40, 70) / |(40, 70)|: theta 2.0899 rad, rho 12.403), crossing
// lines, a nearly vertical one (normal at both ends of theta), parallels 6 px apart.
TEST(Hough, EachDrawnLineGivesOnePeakAndASegmentToItsEnds) {
  const std::vector<std::vector<double>> cases[] = {{{10, 20, 80, 60}},
                                                    {{5, 48, 90, 48}, {30, 5, 40, 90}},
                                                    {{48, 5, 46, 90}},
                                                    {{5, 40, 90, 40}, {5, 46, 90, 46}}};
  for (const auto& lines : cases) {
    CHough hough;
    CKvoArray<CLineSeg, CLineSeg&> segs;
    EXPECT_EQ(DetectAll(hough, Draw(lines), segs), int(lines.size()));
    ASSERT_EQ(segs.GetSize(), int(lines.size()));
    for (const auto& l : lines) {  // some segment ends where the line does, in either order
      double best = 1e9;
      for (const CLineSeg& s : segs)
        best = std::min({best,
                         std::hypot(s.m_dX1 - l[0], s.m_dY1 - l[1]) +
                             std::hypot(s.m_dX2 - l[2], s.m_dY2 - l[3]),
                         std::hypot(s.m_dX1 - l[2], s.m_dY1 - l[3]) +
                             std::hypot(s.m_dX2 - l[0], s.m_dY2 - l[1])});
      EXPECT_LT(best, 2.0) << l[0] << "," << l[1];
    }
  }
  CHough hough;
  CKvoArray<CLineSeg, CLineSeg&> segs;
  DetectAll(hough, Draw(cases[0]), segs);
  double rho = 0, theta = 0;
  int votes = 0;
  ASSERT_EQ(hough.GetPeak(0, rho, theta, votes), 1);
  EXPECT_NEAR(theta, 2.089942441041419, 1.0 * kPi / 180);  // one theta step
  EXPECT_NEAR(rho, 12.403473458920853, 1.0);               // one rho cell
  EXPECT_GE(votes, 60);                                    // most of the 71 pixels
}

TEST(Hough, GapsSplitSegmentsAndAPixelVotesAlongItsSinusoid) {
  // A 12-pixel gap splits a line; a 6-pixel piece on a line of its own is dropped.
  CHough hough;
  hough.SetPeakParam(5, 5, 3);
  CKvoArray<CLineSeg, CLineSeg&> segs;
  DetectAll(hough, Draw({{5, 30, 40, 30}, {52, 30, 90, 30}, {20, 70, 25, 70}}), segs);
  ASSERT_EQ(segs.GetSize(), 2);
  for (const CLineSeg& s : segs) EXPECT_NEAR(s.Distance(0, 30), 0.0, 0.6);
  EXPECT_NEAR(segs[0].Length() + segs[1].Length(), 35 + 38, 3.0);
  // No votes, no peak; then (30, 40) votes once per theta in the cell of 30 cos + 40 sin.
  Binary img(kSize * kSize, 0);
  img[size_t(40 * kSize + 30)] = 255;
  CHough one;
  EXPECT_EQ(one.Transform(Draw({}).data(), CSize(kSize, kSize), 2), 0);
  EXPECT_EQ(one.FindPeaks(8), 0);
  double rho = 0, theta = 0;
  int votes = 0;
  EXPECT_EQ(one.GetPeak(0, rho, theta, votes), 0);
  ASSERT_EQ(one.Transform(img.data(), CSize(kSize, kSize), 0), 1);
  const int centre = (one.GetRhoCells() - 1) / 2;
  for (int t : {0, 45, 90, 135}) {
    const double a = t * kPi / 180;
    EXPECT_EQ(one.GetVotes(t, centre + int(std::lround(30 * std::cos(a) + 40 * std::sin(a)))), 1)
        << t;
  }
  long total = 0;
  for (int t = 0; t < one.GetThetaSteps(); ++t)
    for (int r = 0; r < one.GetRhoCells(); ++r) total += one.GetVotes(t, r);
  EXPECT_EQ(total, one.GetThetaSteps());
}

}  // namespace
