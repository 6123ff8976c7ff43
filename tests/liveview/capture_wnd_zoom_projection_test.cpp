// Display records (byte for byte) and projection worked by hand for the default calibration:
// f = 8 mm, principal point (1.792, 1.344) mm, 0.0056 mm pixels, image centre (320, 240).
#include <cstring>

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

::testing::AssertionResult SameBytes(const VCAP_DISP_PARAMETER& actual, RECT src, RECT dst) {
  const VCAP_DISP_PARAMETER expected = Expected(src, dst);
  if (std::memcmp(&actual, &expected, sizeof actual) == 0) return ::testing::AssertionSuccess();
  const RECT& s = actual.SrcRect;
  const RECT& d = actual.DstRect;
  return ::testing::AssertionFailure()
         << "src " << s.left << "," << s.top << "," << s.right << "," << s.bottom << " dst "
         << d.left << "," << d.top << "," << d.right << "," << d.bottom;
}

class ZoomTest : public LiveViewTest {
 protected:
  // Image centres into the memory (CCD1: the wide camera 1, CCD2: the tele camera 0).
  static void StoreCentres(int wideX, int wideY, int teleX = 320, int teleY = 240) {
    const int values[4] = {wideX, wideY, teleX, teleY};
    for (int i = 0; i < 4; ++i) {
      const uint16_t v = uint16_t(int16_t(values[i]));
      ASSERT_TRUE(devices::eeprom::SetItem(90 + i, {uint8_t(v & 0xFF), uint8_t(v >> 8)}));
    }
  }
  VCAP_DISP_PARAMETER Sent() const { return *devices::capture::LastDisplay(); }
};

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
    {320, 240, {0, 0, 320, 240}, 1.0, 0, {160, 120, 479, 359}, {0, 0, 319, 239}},
    // 200 x 150 at (10, 20): from (320 - 100, 240 - 75).
    {320, 240, {10, 20, 210, 170}, 1.0, 0, {220, 165, 419, 314}, {10, 20, 209, 169}},
    // Ratio 2: 100 x 75 from (270, 240 - 37); screen 540 + (110 - 640), 406 + (95 - 480).
    {320, 240, {10, 20, 210, 170}, 1.0, 1, {270, 203, 369, 277}, {10, 21, 209, 170}},
    // Scale 0.5: left -219 made even toward zero; screen (int)-109.0 + 110, (int)-81.5 + 82.
    {101, 77, {0, 0, 320, 240}, 0.5, 0, {-218, -163, 421, 316}, {1, 1, 320, 240}},
    // Scale 0.75: 426 wide -> screen (int)319.5, sensor again (int)(319 / 0.75) = 425.
    {320, 240, {0, 0, 320, 240}, 0.75, 0, {108, 80, 532, 399}, {1, 0, 319, 239}},
    // z = 2: 160 x 120 from (220, 140); screen 2 * 220 + (160 - 600).
    {300, 200, {0, 0, 320, 240}, 1.0, 1, {220, 140, 379, 259}, {0, 0, 319, 239}},
    {320, 240, {0, 0, 320, 240}, 1.0, 2, {280, 210, 359, 269}, {0, 0, 319, 239}},
    // Offset to (307, 197): left 147 -> 146, screen 146 + (160 - 307).
    {300, 200, {0, 0, 320, 240}, 1.0, 0, {146, 77, 465, 316}, {-1, 0, 318, 239}, {7, -3}},
    // Reverse: centre (640 - 320 - 1.5 -> 318, 480 - 240).
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
  view_->ZoomIn();
  view_->SetCurCamera(0);
  EXPECT_EQ(devices::capture::LastStart()->Camera, 0);
  EXPECT_TRUE(SameBytes(Sent(), {170, 130, 489, 369}, {0, 0, 319, 239}));
  view_->SetCurCamera(1);
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  EXPECT_TRUE(SameBytes(Sent(), {220, 140, 379, 259}, {0, 0, 319, 239}));
}

TEST_F(ZoomTest, ZoomStaysWithinTheRatioLimitsAndRefusalsChangeNothing) {
  CreateView();
  view_->ZoomOut();
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  for (int i = 0; i < 3; ++i) view_->ZoomIn();
  platform::PumpMessages();
  const int sent = Requests(IOCTL_VCAP_SET_DISPLAY);
  view_->ZoomIn();
  EXPECT_EQ(view_->m_dZoomRatio[1], 4.0);
  EXPECT_EQ(Requests(IOCTL_VCAP_SET_DISPLAY), sent) << "refused zoom sends nothing";
  EXPECT_EQ(platform::PumpMessages(), 0) << "refused zoom does not repaint";
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
  // Screen position of a point in pipeline axes (x east, y north), m.
  POINT Project(double x, double y, double z, int* visible = nullptr) {
    view_->m_Proj.BeginTrans(0);
    double sx = -1, sy = -1;
    int seen = 0;
    EXPECT_EQ(view_->XYZtoScr(x, y, z, sx, sy, seen), 1);
    if (visible) *visible = seen;
    return POINT{LONG(sx), LONG(sy)};
  }
};

TEST_F(ProjectionTest, PointsLandAtHandWorkedPixelsUnlessFrozen) {
  int visible = 0;
  // 1 cm east and below at 10 m: 0.008 mm = 1.43 pixels right and down, truncated.
  EXPECT_EQ(CPoint(Project(0.01, 10.0, -0.01, &visible)), CPoint(161, 121));
  EXPECT_EQ(visible, 1);
  Project(0.0, -10.0, 0.0, &visible);
  EXPECT_EQ(visible, 0) << "behind the camera";
  // Reversed: sensor (318.57, 238.57), the turned image centre 319.5 truncated to 319.
  view_->m_StartParam.Reverse = 1;
  EXPECT_EQ(CPoint(Project(0.01, 10.0, -0.01)), CPoint(159, 119));
  view_->SnapShot();  // a frozen picture ignores new angles
  view_->UpdateAngle(45.0, 30.0);
  EXPECT_EQ(view_->m_dCurV, 90.0);
  EXPECT_EQ(CPoint(Project(0.01, 10.0, -0.01)), CPoint(159, 119));
  view_->EndSnapShot();
  view_->UpdateAngle(45.0, 30.0);
  EXPECT_EQ(view_->m_dCurV, 45.0);
}

TEST_F(ProjectionTest, OffsetMarkerFollowsTheAngleDifferences) {
  view_->BeginOffsetMode(90.0, 10.0);
  EXPECT_EQ(view_->GetMode(), 1);
  EXPECT_EQ(view_->m_dOffsetX, 320.0);
  EXPECT_EQ(view_->m_dOffsetY, 240.0);
  // 0.1 degree right and 0.05 down: tan(0.1 deg) * 248.46 / 0.0056 = 77.44 pixels left, 38.72 up.
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
