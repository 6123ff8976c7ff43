// The DLT against photographs of independent ideal cameras; ".DLT" files read back exactly.
#include "photogrammetry/dlt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/afx_string.h"
#include "tests/photogrammetry/pinhole.h"
#include "tests/support/test_support.h"

namespace {

using namespace pinhole_test;

double WorstReprojection(const CDLT& dlt, const Pinhole& camera, const PointArray& points) {
  double worst = 0.0;
  for (const CXYZ& p : points) {
    double x = 0, y = 0;
    EXPECT_EQ(dlt.Project(p, x, y), 1);
    const CXYZ truth = camera.Image(p);
    worst = std::max(worst, std::hypot(x - truth.X, y - truth.Y));
  }
  return worst;
}

// Exact photographs give the camera and its centre back; with 0.2 px of noise on 20 controls
// the RMS residual is about 0.2·sqrt(2)·sqrt((40 - 11) / 40) = 0.24 px.
TEST(DLT, PhotographsGiveTheCameraBack) {
  const struct {
    const Pinhole* camera;
    int controls;
    double noise, sigma_low, sigma_high, worst;
  } cases[] = {{&kWest, 8, 0, 0, 1e-6, 1e-6},
               {&kSouth, 8, 0, 0, 1e-6, 1e-6},
               {&kSouth, 20, 0.2, 0.15, 0.35, 0.8}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.noise);
    PointArray control = SitePoints(c.controls, L"C", 1),
               image = Photograph(*c.camera, control, c.noise, 5);
    CDLT dlt;
    ASSERT_EQ(dlt.Solve(control, image), 1);
    EXPECT_LT(WorstReprojection(dlt, *c.camera, SitePoints(30, L"K", 2)), c.worst);
    EXPECT_GE(dlt.m_dSigma, c.sigma_low);
    EXPECT_LT(dlt.m_dSigma, c.sigma_high);
    ASSERT_EQ(dlt.GetControlCount(), c.controls);
    EXPECT_EQ(dlt.m_Residuals[0].Name, CString(L"C1"));
    CXYZ centre;
    ASSERT_EQ(dlt.GetCentre(centre), 1);
    if (c.noise == 0) {
      EXPECT_LT(centre.Len(c.camera->centre), 1e-4);
    }
  }
}

TEST(DLT, TooFewPlanarOrUnmatchedControlsAreRefused) {
  PointArray five = SitePoints(5, L"C", 6);
  PointArray plane = SitePoints(8, L"C", 7);  // eight controls on one sloping plane
  for (CXYZ& p : plane) p.Z = 50.0 + 0.1 * (p.X - 1040.0) - 0.05 * (p.Y - 2030.0);
  PointArray six = SitePoints(6, L"C", 8), others = SitePoints(6, L"X", 8);
  PointArray other_image = Photograph(kWest, others);  // names pair the points
  PointArray five_image = Photograph(kWest, five), plane_image = Photograph(kWest, plane);
  CDLT dlt;
  dlt.m_dL[0] = 42.0;
  EXPECT_EQ(
      dlt.Solve(five, five_image) + dlt.Solve(plane, plane_image) + dlt.Solve(six, other_image), 0);
  EXPECT_EQ(dlt.m_dL[0], 42.0);  // unchanged
  // With noise, the order of the controls and extra unmatched points change nothing.
  PointArray nine = SitePoints(9, L"C", 9), reversed, shuffled;
  PointArray nine_image = Photograph(kSouth, nine, 0.5, 3);
  for (int i = nine.GetSize() - 1; i >= 0; --i) {
    reversed.Add(nine[i]);
    shuffled.Add(nine_image[i]);
  }
  shuffled.Add(other_image[0]);
  CDLT again;
  ASSERT_EQ(dlt.Solve(nine, nine_image) + again.Solve(reversed, shuffled), 2);
  for (int i = 0; i < 11; ++i)
    EXPECT_NEAR(again.m_dL[i], dlt.m_dL[i], 1e-9 * std::fabs(dlt.m_dL[i])) << i;
}

using DLTFile = testing_support::DeviceTest;

TEST_F(DLTFile, WrittenParametersReadBackExactly) {
  PointArray control = SitePoints(9, L"C", 11);
  CDLT dlt;
  PointArray image = Photograph(kNorth, control, 0.3, 12);
  ASSERT_EQ(dlt.Solve(control, image), 1);
  dlt.Name = L"P001";
  ASSERT_EQ(dlt.Write(L"\\P001.DLT"), 1);
  const std::string text = GetDeviceFile(L"\\P001.DLT");
  CDLT back;  // read back exactly, and written again the same
  ASSERT_EQ(back.Read(L"\\P001.DLT"), 1);
  for (int i = 0; i < 11; ++i) EXPECT_EQ(back.m_dL[i], dlt.m_dL[i]) << "L" << i + 1;
  ASSERT_EQ(back.Write(L"\\again.DLT"), 1);
  EXPECT_EQ(GetDeviceFile(L"\\again.DLT"), text);
  EXPECT_EQ(dlt.Read(L"\\missing.DLT"), 0);
  // A hand-written file parses; each broken one changes nothing.
  std::string good = "DLT\t1\nphoto\tP\n";
  for (int i = 1; i <= 11; ++i) good += "L" + std::to_string(i) + "\t" + std::to_string(i) + ".5\n";
  good += "sigma\t0.25\ncontrols\t1\nC1\t0.1\t-0.2\nend\n";
  ASSERT_EQ(dlt.Parse(good.data(), int(good.size())), 1);
  EXPECT_EQ(dlt.m_dL[10] + dlt.m_dSigma + dlt.m_Residuals[0].Y, 11.5 + 0.25 - 0.2);
  auto replaced = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    text.replace(text.find(from), from.size(), to);
    return text;
  };
  const std::string bad[] = {
      good.substr(0, good.size() - 4),         // no end line
      replaced("controls\t1", "controls\t2"),  // count larger than the lines
      replaced("L7\t7.5", "L7\t7,5"),          // decimal comma
      replaced("L7\t7.5", "L7\tnan"),
      replaced("L3\t", "L4\t"),              // wrong order
      replaced("DLT\t1", "DLT\t2"),          // unknown version
      replaced("C1\t0.1\t-0.2", "C1\t0.1"),  // missing field
      replaced("controls\t1", "controls\t-1"),
      "",
  };
  for (const std::string& text : bad) {
    SCOPED_TRACE(text);
    CDLT probe = dlt;
    probe.m_dL[0] = -7.0;
    EXPECT_EQ(probe.Parse(text.data(), int(text.size())), 0);
    EXPECT_EQ(probe.m_dL[0], -7.0);
    EXPECT_EQ(probe.GetControlCount(), 1);
  }
}

}  // namespace
