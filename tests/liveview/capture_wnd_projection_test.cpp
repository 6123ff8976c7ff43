// Projection of survey points onto the live view and tap aiming, checked
// against values worked by hand for the default calibration: f = 8 mm,
// principal point (1.792, 1.344) mm, 0.0056 mm pixels, no distortion, image
// centre (320, 240), a 320 x 240 view whose centre is client (160, 120).
#include <cmath>

#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

class ProjectionTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    CreateView();
    CXYZ station(0.0, 0.0, 0.0);
    view_->SetMp(station);
    view_->UpdateAngle(90.0, 0.0);  // level, looking north
  }
  // Screen position of a point given in pipeline axes (x east, y north), m.
  POINT Project(double x, double y, double z, int* visible = nullptr) {
    view_->m_Proj.BeginTrans(0);
    double sx = -1, sy = -1;
    int seen = 0;
    EXPECT_EQ(view_->XYZtoScr(x, y, z, sx, sy, seen), 1);
    if (visible) *visible = seen;
    return POINT{LONG(sx), LONG(sy)};
  }
};

TEST_F(ProjectionTest, PointsLandAtHandWorkedPixels) {
  int visible = 0;
  // 1 cm east and 1 cm below a point 10 m ahead: 0.008 mm on the image plane
  // = 1.43 pixels right and down of the centre -> truncated to 1.
  EXPECT_EQ(CPoint(Project(0.01, 10.0, -0.01, &visible)), CPoint(161, 121));
  EXPECT_EQ(visible, 1);
  // 1 m east and 1 m up at 10 m: u = v = 0.8 mm -> pixel (462.86, 97.14).
  EXPECT_EQ(CPoint(Project(1.0, 10.0, 1.0)), CPoint(160 + 462 - 320, 120 + 97 - 240));
  Project(0.0, -10.0, 0.0, &visible);
  EXPECT_EQ(visible, 0) << "behind the camera";
  // Reversed, sensor pixel (321.43, 241.43) is (318.57, 238.57); the turned
  // image centre (319.5, 239.5) truncates to 319: 318 - 319 + 160.
  view_->m_StartParam.Reverse = 1;
  EXPECT_EQ(CPoint(Project(0.01, 10.0, -0.01)), CPoint(159, 119));
}

TEST_F(ProjectionTest, FrozenPictureIgnoresNewAngles) {
  const CProjection_Cap before = view_->m_Proj;
  view_->SnapShot();
  view_->UpdateAngle(45.0, 30.0);
  EXPECT_EQ(view_->m_dCurV, 90.0);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(view_->m_Proj.ModelMatrix[i], before.ModelMatrix[i]) << i;
  view_->EndSnapShot();
  view_->UpdateAngle(45.0, 30.0);
  EXPECT_EQ(view_->m_dCurV, 45.0);
}

// Tapped pixels are angles through the telescope's focal length at the zoom:
// 50 px right and 30 px down at scale 1 is atan(50 * 0.0056 / 248.46).
TEST_F(ProjectionTest, TapAnglesUseTheTelescopeFocalLengthAndZoom) {
  view_->SetCurCamera(0);
  view_->m_ptTap = {210, 150};
  view_->MakeMoveAng();
  EXPECT_NEAR(view_->m_dDH, 0.06456899087264827, 1e-12);
  EXPECT_NEAR(view_->m_dDV, -0.038741405019902704, 1e-12);
  view_->ZoomIn();  // at scale 2 the same tap is half the angle away
  view_->m_ptTap = {210, 120};
  view_->MakeMoveAng();
  EXPECT_NEAR(view_->m_dDH, 0.032284505686631375, 1e-12);
  EXPECT_EQ(view_->m_dDV, 0.0);
}

TEST_F(ProjectionTest, OffsetMarkerFollowsTheAngleDifferences) {
  view_->BeginOffsetMode(90.0, 10.0);
  EXPECT_EQ(view_->GetMode(), 1);
  EXPECT_EQ(view_->m_dOffsetX, 320.0);
  EXPECT_EQ(view_->m_dOffsetY, 240.0);
  // Turned 0.1 degree clockwise and 0.05 degree down: tan(0.1 deg) * 248.46
  // / 0.0056 = 77.44 tele pixels left, 38.72 up.
  view_->UpdateAngle(90.05, 10.1);
  EXPECT_NEAR(view_->m_dDV, 0.05, 1e-12);
  EXPECT_NEAR(view_->m_dDH, 0.1, 1e-12);
  EXPECT_NEAR(view_->m_dOffsetX, 242.56340245179476, 1e-6);
  EXPECT_NEAR(view_->m_dOffsetY, 201.281730711583, 1e-6);
  view_->EndOffsetMode();
  view_->UpdateOffsetAngle(91.0, 11.0);  // outside offset mode nothing moves
  EXPECT_EQ(view_->m_dOffsetX, 320.0);
}

}  // namespace
}  // namespace liveview_test
