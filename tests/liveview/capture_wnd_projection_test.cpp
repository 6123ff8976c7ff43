// Projection of survey points onto the live view and tap aiming, checked
// against values worked by hand for the default calibration: f = 8 mm,
// principal point (1.792, 1.344) mm, 0.0056 mm pixels, no distortion, image
// centre (320, 240), a 320 x 240 view whose centre is client (160, 120).
#include <cmath>

#include "geometry/rot.h"
#include "tests/support/live_view.h"
#include "tests/support/matchers.h"

namespace liveview_test {
namespace {

constexpr double kPi = 3.141592653589793;

class ProjectionTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    CreateView();
    CXYZ station(0.0, 0.0, 0.0);
    view_->SetMp(station);
  }
  // Screen position of a point given in pipeline axes (x east, y north), m.
  bool Project(double x, double y, double z, double& sx, double& sy, int& visible) {
    view_->m_Proj.BeginTrans(0);
    return view_->XYZtoScr(x, y, z, sx, sy, visible) == 1;
  }
};

TEST_F(ProjectionTest, LevelTelescopeLookingNorthPlacesPointsByHand) {
  view_->UpdateAngle(90.0, 0.0);
  double sx = 0, sy = 0;
  int visible = 0;
  // 1 cm east and 1 cm below a point 10 m ahead: 0.008 mm on the image plane
  // = 1.43 pixels right and down of the centre -> truncated to 1.
  ASSERT_TRUE(Project(0.01, 10.0, -0.01, sx, sy, visible));
  EXPECT_EQ(visible, 1);
  EXPECT_EQ(sx, 161.0);
  EXPECT_EQ(sy, 121.0);
  // 1 m east and 1 m up at 10 m: u = v = 0.8 mm -> pixel (462.86, 97.14).
  ASSERT_TRUE(Project(1.0, 10.0, 1.0, sx, sy, visible));
  EXPECT_EQ(sx, 160.0 + 462 - 320);
  EXPECT_EQ(sy, 120.0 + 97 - 240);
}

TEST_F(ProjectionTest, TurningTheTelescopeFollowsTheSurveyAngles) {
  double sx = 0, sy = 0;
  int visible = 0;
  view_->UpdateAngle(90.0, 90.0);  // looking east
  ASSERT_TRUE(Project(10.0, -0.01, -0.01, sx, sy, visible));
  EXPECT_EQ(visible, 1);
  EXPECT_EQ(sx, 161.0);
  EXPECT_EQ(sy, 121.0);
  // Raised by 10 degrees (V = 80) towards north.
  view_->UpdateAngle(80.0, 0.0);
  const double up = 10.0 * std::tan(10.0 * kPi / 180.0);
  ASSERT_TRUE(Project(0.01, 10.0, up, sx, sy, visible));
  EXPECT_EQ(sx, 161.0);
  EXPECT_NEAR(sy, 120.0, 1.0);
  EXPECT_DOUBLE_EQ(view_->m_dCurV, 80.0);
  EXPECT_DOUBLE_EQ(view_->m_dCurH, 0.0);
}

TEST_F(ProjectionTest, PointBehindTheCameraIsNotVisible) {
  view_->UpdateAngle(90.0, 0.0);
  double sx = -7, sy = -7;
  int visible = 1;
  const bool projected = Project(0.0, -10.0, 0.0, sx, sy, visible);
  EXPECT_EQ(visible, 0);
  (void)projected;  // either refused or projected as invisible
}

TEST_F(ProjectionTest, ReversePutsTheImageCentreHalfAPixelOff) {
  view_->UpdateAngle(90.0, 0.0);
  double sx = 0, sy = 0;
  int visible = 0;
  // Sensor pixel (321.43, 241.43) turned is (318.57, 238.57); the turned
  // image centre is (319.5, 239.5), truncated to 319: 318 - 319 + 160.
  view_->m_StartParam.Reverse = 1;
  ASSERT_TRUE(Project(0.01, 10.0, -0.01, sx, sy, visible));
  EXPECT_EQ(sx, 159.0);
  EXPECT_EQ(sy, 119.0);
}

TEST_F(ProjectionTest, FrozenPictureIgnoresNewAngles) {
  view_->UpdateAngle(90.0, 0.0);
  const CProjection_Cap before = view_->m_Proj;
  view_->SnapShot();
  view_->UpdateAngle(45.0, 30.0);
  EXPECT_DOUBLE_EQ(view_->m_dCurV, 90.0);
  EXPECT_DOUBLE_EQ(view_->m_dCurH, 0.0);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(view_->m_Proj.ModelMatrix[i], before.ModelMatrix[i]) << i;
  view_->EndSnapShot();
  view_->UpdateAngle(45.0, 30.0);
  EXPECT_DOUBLE_EQ(view_->m_dCurV, 45.0);
}

TEST_F(ProjectionTest, CameraOffsetTurnsWithTheTelescope) {
  CXYZ offset(100.0, 0.0, 0.0);  // 100 mm to the right of the telescope
  CWPK mount;
  CXYZ position;
  CWPK angles;
  view_->CalExt(0, 0, 0, 90.0, 0.0, offset, mount, position, angles);
  EXPECT_THAT(position, testing_support::IsNearXYZ(100.0, 0.0, 0.0, 1e-9));
  // Level telescope looking north: the camera frame is the station frame
  // turned by -90 degrees about the first axis.
  EXPECT_THAT(angles, testing_support::IsNearWPK(CWPK(-kPi / 2, 0.0, 0.0), 1e-12));
  // Looking east, the right-hand side is south.
  view_->CalExt(1000, 2000, 3000, 90.0, 90.0, offset, mount, position, angles);
  EXPECT_THAT(position, testing_support::IsNearXYZ(1000.0, 2000.0 - 100.0, 3000.0, 1e-9));

  // Through the whole chain: with the camera 0.1 m east the point 0.1 m east
  // of the line of sight is at the centre.
  view_->m_CcdOffset = offset;
  view_->UpdateAngle(90.0, 0.0);
  double sx = 0, sy = 0;
  int visible = 0;
  ASSERT_TRUE(Project(0.11, 10.0, -0.01, sx, sy, visible));
  EXPECT_EQ(sx, 161.0);
  EXPECT_EQ(sy, 121.0);
}

TEST_F(ProjectionTest, MountingAnglesTiltTheView) {
  // The camera turned 1 degree about its vertical axis (phi): a point 1
  // degree to the side of the line of sight comes to the centre.
  view_->m_CcdAngle = CWPK(0.0, 1.0 * kPi / 180.0, 0.0);
  view_->UpdateAngle(90.0, 0.0);
  double sx_left = 0, sx_right = 0, sy = 0;
  int visible = 0;
  const double side = 10.0 * std::tan(1.0 * kPi / 180.0);
  ASSERT_TRUE(Project(side, 10.0, 0.0, sx_right, sy, visible));
  ASSERT_TRUE(Project(-side, 10.0, 0.0, sx_left, sy, visible));
  // One of the two is at the centre, the other 2 degrees away (about 50 px).
  const double near = std::min(std::abs(sx_left - 160), std::abs(sx_right - 160));
  const double far = std::max(std::abs(sx_left - 160), std::abs(sx_right - 160));
  EXPECT_LE(near, 1.0);
  EXPECT_NEAR(far, 8.0 * std::tan(2.0 * kPi / 180.0) / 0.0056, 2.0);
}

TEST_F(ProjectionTest, TapAtTheCentreAimsNowhere) {
  view_->SetCurCamera(0);
  view_->m_ptTap = {160, 120};
  view_->m_dDV = view_->m_dDH = 99.0;
  view_->MakeMoveAng();
  EXPECT_EQ(view_->m_dDV, 0.0);
  EXPECT_EQ(view_->m_dDH, 0.0);
}

TEST_F(ProjectionTest, TapAnglesUseTheTelescopeFocalLengthAndZoom) {
  view_->SetCurCamera(0);
  // 50 px right and 30 px down at scale 1: atan(50 * 0.0056 / 248.46).
  view_->m_ptTap = {210, 150};
  view_->MakeMoveAng();
  EXPECT_NEAR(view_->m_dDH, 0.06456899087264827, 1e-12);
  EXPECT_NEAR(view_->m_dDV, -0.038741405019902704, 1e-12);
  // At scale 2 the same tap is half the angle away.
  view_->ZoomIn();
  ASSERT_EQ(view_->m_dZoom[0], 2.0);
  view_->m_ptTap = {210, 120};
  view_->MakeMoveAng();
  EXPECT_NEAR(view_->m_dDH, 0.032284505686631375, 1e-12);
  EXPECT_EQ(view_->m_dDV, 0.0);
}

TEST_F(ProjectionTest, OffsetMarkerFollowsTheAngleDifferences) {
  view_->BeginOffsetMode(90.0, 10.0);
  EXPECT_EQ(view_->GetMode(), 1);
  EXPECT_EQ(view_->m_bOffsetValid, 1);
  EXPECT_EQ(view_->m_dOffsetX, 320.0);
  EXPECT_EQ(view_->m_dOffsetY, 240.0);
  // Turned 0.1 degree clockwise and 0.05 degree down.
  view_->UpdateAngle(90.05, 10.1);
  EXPECT_NEAR(view_->m_dDV, 0.05, 1e-12);
  EXPECT_NEAR(view_->m_dDH, 0.1, 1e-12);
  EXPECT_NEAR(view_->m_dOffsetX, 242.56340245179476, 1e-6);
  EXPECT_NEAR(view_->m_dOffsetY, 201.281730711583, 1e-6);
  view_->EndOffsetMode();
  EXPECT_EQ(view_->GetMode(), 0);
  view_->UpdateOffsetAngle(91.0, 11.0);  // outside offset mode: nothing moves
  EXPECT_EQ(view_->m_dDV, 0.0);
  EXPECT_EQ(view_->m_dOffsetX, 320.0);
}

}  // namespace
}  // namespace liveview_test
