// CHough on drawn binary lines: the peak sits at the drawn line's cell, each
// line gives one peak (also across theta = 0 / pi), segments end where the
// drawing does and split at gaps.
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

// One pixel per step of the major axis, as a thinned edge looks.
void DrawLine(Binary& img, double x0, double y0, double x1, double y1) {
  const int steps = int(std::ceil(std::max(std::fabs(x1 - x0), std::fabs(y1 - y0))));
  for (int i = 0; i <= steps; ++i) {
    const double t = steps ? double(i) / steps : 0.0;
    const int x = int(std::lround(x0 + t * (x1 - x0)));
    const int y = int(std::lround(y0 + t * (y1 - y0)));
    if (x >= 0 && y >= 0 && x < kSize && y < kSize) img[size_t(y * kSize + x)] = 255;
  }
}

struct Detected {
  CKvoArray<CLineSeg, CLineSeg&> segs;
  int peaks = 0;
};

Detected DetectAll(CHough& hough, const Binary& img) {
  Detected d;
  hough.Transform(img.data(), CSize(kSize, kSize), 2);
  d.peaks = hough.FindPeaks(16);
  hough.Extract(img.data(), CSize(kSize, kSize), 2, d.segs);
  return d;
}

TEST(Hough, PeakOfOneLineIsAtItsNormalForm) {
  // From (10, 20) to (80, 60): theta = atan2(-70, 40) folded, rho from (10, 20).
  Binary img(kSize * kSize, 0);
  DrawLine(img, 10, 20, 80, 60);
  CHough hough;
  const Detected d = DetectAll(hough, img);
  ASSERT_EQ(d.peaks, 1);
  double rho = 0, theta = 0;
  int votes = 0;
  ASSERT_EQ(hough.GetPeak(0, rho, theta, votes), 1);
  // The normal (-40, 70) / |(40, 70)|: theta = 2.0899 rad, rho = 12.403.
  EXPECT_NEAR(theta, 2.089942441041419, 1.0 * kPi / 180);  // one theta step
  EXPECT_NEAR(rho, 12.403473458920853, 1.0);               // one rho cell
  EXPECT_GE(votes, 60);                                    // most of the 71 pixels
  ASSERT_EQ(d.segs.GetSize(), 1);
  const CLineSeg& s = d.segs[0];
  // The ends lie at the drawing's ends, within the pixel rounding.
  const double e1 =
      std::min(std::hypot(s.m_dX1 - 10, s.m_dY1 - 20), std::hypot(s.m_dX2 - 10, s.m_dY2 - 20));
  const double e2 =
      std::min(std::hypot(s.m_dX1 - 80, s.m_dY1 - 60), std::hypot(s.m_dX2 - 80, s.m_dY2 - 60));
  EXPECT_LT(e1, 1.5);
  EXPECT_LT(e2, 1.5);
  EXPECT_NEAR(s.Length(), 80.6, 2.0);
}

// Crossing lines, a nearly vertical line (its normal at both ends of the
// theta axis), parallel lines 6 pixels apart (beyond the suppression).
TEST(Hough, EachDrawnLineGivesOnePeak) {
  const struct {
    std::vector<std::vector<double>> lines;
    int peaks;
  } cases[] = {{{{5, 48, 90, 48}, {30, 5, 40, 90}}, 2},
               {{{48, 5, 46, 90}}, 1},
               {{{5, 40, 90, 40}, {5, 46, 90, 46}}, 2}};
  for (const auto& c : cases) {
    Binary img(kSize * kSize, 0);
    for (const auto& l : c.lines) DrawLine(img, l[0], l[1], l[2], l[3]);
    CHough hough;
    const Detected d = DetectAll(hough, img);
    EXPECT_EQ(d.peaks, c.peaks);
    ASSERT_EQ(d.segs.GetSize(), c.peaks);
    if (c.peaks == 1) {
      EXPECT_NEAR(d.segs[0].Distance(47, 47.5), 0.0, 1.0);
    }
  }
}

TEST(Hough, GapsSplitSegmentsAndShortPiecesAreDropped) {
  Binary img(kSize * kSize, 0);
  DrawLine(img, 5, 30, 40, 30);
  DrawLine(img, 52, 30, 90, 30);  // 12-pixel gap
  DrawLine(img, 20, 70, 25, 70);  // a 6-pixel piece on a line of its own
  CHough hough;
  hough.SetPeakParam(5, 5, 3);
  const Detected d = DetectAll(hough, img);
  ASSERT_EQ(d.segs.GetSize(), 2);
  for (const CLineSeg& s : d.segs) EXPECT_NEAR(s.Distance(0, 30), 0.0, 0.6);
  EXPECT_NEAR(d.segs[0].Length() + d.segs[1].Length(), 35 + 38, 3.0);
}

TEST(Hough, VotesOfAPixelFollowItsSinusoid) {
  // A single pixel at (30, 40) votes once per theta, in the cell of
  // 30 cos + 40 sin; margin 0 so it counts (with margin 2 nothing votes).
  Binary img(kSize * kSize, 0), empty(kSize * kSize, 0);
  img[size_t(40 * kSize + 30)] = 255;
  CHough hough;
  EXPECT_EQ(hough.Transform(empty.data(), CSize(kSize, kSize), 2), 0);
  EXPECT_EQ(hough.FindPeaks(8), 0);
  double rho = 0, theta = 0;
  int votes = 0;
  EXPECT_EQ(hough.GetPeak(0, rho, theta, votes), 0);
  ASSERT_EQ(hough.Transform(img.data(), CSize(kSize, kSize), 0), 1);
  const int centre = (hough.GetRhoCells() - 1) / 2;
  for (int t : {0, 45, 90, 135}) {
    const double theta = t * kPi / 180;
    const int r = centre + int(std::lround(30 * std::cos(theta) + 40 * std::sin(theta)));
    EXPECT_EQ(hough.GetVotes(t, r), 1) << t;
  }
  long total = 0;
  for (int t = 0; t < hough.GetThetaSteps(); ++t)
    for (int r = 0; r < hough.GetRhoCells(); ++r) total += hough.GetVotes(t, r);
  EXPECT_EQ(total, hough.GetThetaSteps());
}

}  // namespace
