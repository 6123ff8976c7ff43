// Display records and projection of the live view, against values worked
// out by hand: the sensor and screen rectangles the driver receives (byte for
// byte) for several window sizes, scales, image centres, offsets and the
// reverse flag; survey points projected and taps turned into aiming angles
// for the default calibration: f = 8 mm, principal point (1.792, 1.344) mm,
// 0.0056 mm pixels, no distortion, image centre (320, 240), a 320 x 240
// view whose centre is client (160, 120).
#include <cmath>
#include <cstring>
#include <string>

#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

// The record the window must send for a camera showing src at dst.
VCAP_DISP_PARAMETER Expected(RECT src, RECT dst) {
  VCAP_DISP_PARAMETER d;
  std::memset(&d, 0, sizeof d);
  d.Size = 52;
  d.DispFlag = 1;
  d.SrcRect = src;
  d.DstRect = dst;
  d.KeyColor1 = d.KeyColor2 = 0x404040;
  d.DispEnable = 1;
  return d;
}

std::string Show(const RECT& r) {
  return "(" + std::to_string(r.left) + "," + std::to_string(r.top) + "," +
         std::to_string(r.right) + "," + std::to_string(r.bottom) + ")";
}

::testing::AssertionResult SameBytes(const VCAP_DISP_PARAMETER& actual, RECT src, RECT dst) {
  const VCAP_DISP_PARAMETER expected = Expected(src, dst);
  if (std::memcmp(&actual, &expected, sizeof actual) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "src " << Show(actual.SrcRect) << " dst " << Show(actual.DstRect) << ", expected src "
         << Show(src) << " dst " << Show(dst);
}

class ZoomTest : public LiveViewTest {
 protected:
  // Stores image centres as the calibration memory holds them (CCD1 is the
  // wide camera 1, CCD2 the tele camera 0).
  static void StoreCentres(int wideX, int wideY, int teleX = 320, int teleY = 240) {
    const int values[4] = {wideX, wideY, teleX, teleY};
    for (int i = 0; i < 4; ++i) {
      const uint16_t v = uint16_t(int16_t(values[i]));
      ASSERT_TRUE(devices::eeprom::SetItem(90 + i, {uint8_t(v & 0xFF), uint8_t(v >> 8)}));
    }
  }
  VCAP_DISP_PARAMETER Sent() const { return *devices::capture::LastDisplay(); }
};

// One window geometry and the rectangles worked out by hand for it.
struct RecordCase {
  int centre_x, centre_y;  // the wide camera's image centre
  RECT window;
  double base;
  int zoom_steps;
  RECT src, dst;
  POINT offset = {0, 0};  // moved by Offset()
  bool reverse = false;
};

const RecordCase kRecords[] = {
    // Full screen, scale 1, centre (320, 240): the middle 320 x 240 of the frame.
    {320, 240, {0, 0, 320, 240}, 1.0, 0, {160, 120, 479, 359}, {0, 0, 319, 239}},
    // 200 x 150 at (10, 20): sensor 200 x 150 from (320 - 100, 240 - 75).
    {320, 240, {10, 20, 210, 170}, 1.0, 0, {220, 165, 419, 314}, {10, 20, 209, 169}},
    // Ratio 2: W/2 = 100, H/2 = 75 -> sensor 100 x 75 from (270, 240 - 37);
    // screen left 540 + (110 - 640) = 10, top 406 + (95 - 480) = 21.
    {320, 240, {10, 20, 210, 170}, 1.0, 1, {270, 203, 369, 277}, {10, 21, 209, 170}},
    // Scale 0.5, centre (101, 77): left 101 - 320 = -219, made even toward zero
    // = -218; top -163; screen left (int)(-109.0) + (160 - 50) = 1, top
    // (int)(-81.5) = -81, + (120 - 38) = 1.
    {101, 77, {0, 0, 320, 240}, 0.5, 0, {-218, -163, 421, 316}, {1, 1, 320, 240}},
    // Scale 0.75: sensor 426 wide gives a screen width of (int)319.5 = 319, and
    // below scale 1 the sensor width is recomputed from it: (int)(319 / 0.75) =
    // 425. left 320 - 212 = 108, screen left (int)81.0 + (160 - 240) = 1.
    {320, 240, {0, 0, 320, 240}, 0.75, 0, {108, 80, 532, 399}, {1, 0, 319, 239}},
    // z = 2, centre (300, 200): sensor 160 x 120 from (220, 140); screen
    // 2 * 220 + (160 - 600) = 0.
    {300, 200, {0, 0, 320, 240}, 1.0, 1, {220, 140, 379, 259}, {0, 0, 319, 239}},
    // z = 4: sensor 80 x 60 from (280, 210); screen 4 * 280 + (160 - 1280) = 0.
    {320, 240, {0, 0, 320, 240}, 1.0, 2, {280, 210, 359, 269}, {0, 0, 319, 239}},
    // Centre moved to (307, 197): left 147 -> 146, screen 146 + (160 - 307) = -1.
    {300, 200, {0, 0, 320, 240}, 1.0, 0, {146, 77, 465, 316}, {-1, 0, 318, 239}, {7, -3}},
    // Reverse: x becomes 640 - 320 - 1.5 = 318.5 -> 318, y 480 - 240 = 240;
    // left 318 - 160 = 158, screen left 158 + (160 - 318) = 0.
    {320, 240, {0, 0, 320, 240}, 1.0, 0, {158, 120, 477, 359}, {0, 0, 319, 239}, {0, 0}, true},
};

class DisplayRecordTest : public ZoomTest, public ::testing::WithParamInterface<int> {};

TEST_P(DisplayRecordTest, MatchesTheHandWorkedRectangles) {
  const RecordCase& c = kRecords[GetParam()];
  StoreCentres(c.centre_x, c.centre_y);
  CreateView(c.window, c.base);
  for (int i = 0; i < c.zoom_steps; ++i) view_->ZoomIn();
  if (c.offset.x) view_->Offset(c.offset.x, c.offset.y);
  if (c.reverse) view_->Reverse();
  EXPECT_EQ(devices::capture::LastStart()->Reverse, c.reverse);
  EXPECT_TRUE(SameBytes(Sent(), c.src, c.dst));
  EXPECT_TRUE(SameBytes(view_->m_DispParam[1], c.src, c.dst));
}

INSTANTIATE_TEST_SUITE_P(Windows, DisplayRecordTest, ::testing::Range(0, int(std::size(kRecords))));

TEST_F(ZoomTest, CamerasKeepTheirOwnZoom) {
  StoreCentres(300, 200, 330, 250);
  CreateView();
  view_->ZoomIn();  // wide at ratio 2: as in the zoomed off-centre record
  view_->SetCurCamera(0);
  EXPECT_EQ(devices::capture::LastStart()->Camera, 0);
  // tele, z = 1: (330 - 160, 250 - 120) = (170, 130).
  EXPECT_TRUE(SameBytes(Sent(), {170, 130, 489, 369}, {0, 0, 319, 239}));
  view_->SetCurCamera(1);
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  EXPECT_TRUE(SameBytes(Sent(), {220, 140, 379, 259}, {0, 0, 319, 239}));
}

TEST_F(ZoomTest, ZoomStaysWithinTheRatioLimitsAndRefusalsChangeNothing) {
  CreateView();
  view_->ZoomOut();
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  view_->ZoomIn();
  view_->ZoomIn();
  platform::PumpMessages();
  const int sent = Requests(IOCTL_VCAP_SET_DISPLAY);
  view_->ZoomIn();
  EXPECT_EQ(view_->m_dZoomRatio[1], 4.0);
  EXPECT_EQ(Requests(IOCTL_VCAP_SET_DISPLAY), sent) << "refused zoom sends nothing";
  EXPECT_EQ(platform::PumpMessages(), 0) << "refused zoom does not repaint";
  view_->ZoomOut();
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  view_->InitZoom();
  EXPECT_EQ(view_->m_dZoom[1], 1.0);
  EXPECT_TRUE(SameBytes(Sent(), {160, 120, 479, 359}, {0, 0, 319, 239}));
}

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
