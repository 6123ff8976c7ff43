// Display records of the live view: the sensor and screen rectangles the
// driver receives, compared byte for byte with rectangles worked out by hand
// for several window sizes, scales, image centres and the reverse flag.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "liveview/capture_wnd.h"
#include "platform/desktop.h"
#include "tests/support/live_view.h"

namespace {

// The record the window must send for a camera showing src at dst.
VCAP_DISP_PARAMETER Expected(RECT src, RECT dst) {
  VCAP_DISP_PARAMETER d;
  std::memset(&d, 0, sizeof d);
  d.Size = 52;
  d.DispFlag = 1;
  d.SrcRect = src;
  d.DstRect = dst;
  d.KeyColor1 = 0x404040;
  d.KeyColor2 = 0x404040;
  d.DispEnable = 1;
  return d;
}

::testing::AssertionResult SameBytes(const VCAP_DISP_PARAMETER& actual,
                                     const VCAP_DISP_PARAMETER& expected) {
  if (std::memcmp(&actual, &expected, sizeof actual) == 0) return ::testing::AssertionSuccess();
  auto rect = [](const RECT& r) {
    return "(" + std::to_string(r.left) + "," + std::to_string(r.top) + "," +
           std::to_string(r.right) + "," + std::to_string(r.bottom) + ")";
  };
  return ::testing::AssertionFailure()
         << "src " << rect(actual.SrcRect) << " dst " << rect(actual.DstRect) << ", expected src "
         << rect(expected.SrcRect) << " dst " << rect(expected.DstRect);
}

class ZoomTest : public liveview_test::LiveViewTest {
 protected:
  // Stores image centres as the calibration memory holds them (CCD1 is the
  // wide camera 1, CCD2 the tele camera 0).
  static void StoreCentres(int wideX, int wideY, int teleX, int teleY) {
    auto item = [](int index, int value) {
      const uint16_t v = uint16_t(int16_t(value));
      ASSERT_TRUE(devices::eeprom::SetItem(index, {uint8_t(v & 0xFF), uint8_t(v >> 8)}));
    };
    item(90, wideX);
    item(91, wideY);
    item(92, teleX);
    item(93, teleY);
  }
  VCAP_DISP_PARAMETER Sent() const { return *devices::capture::LastDisplay(); }
};

// One window geometry and the rectangles worked out by hand for it.
struct RecordCase {
  const char* name;
  int centre_x, centre_y;  // the wide camera's image centre
  RECT window;
  double base;
  int zoom_steps;
  RECT src, dst;
};

void PrintTo(const RecordCase& c, std::ostream* os) { *os << c.name; }

class DisplayRecordTest : public ZoomTest, public ::testing::WithParamInterface<RecordCase> {};

TEST_P(DisplayRecordTest, MatchesTheHandWorkedRectangles) {
  const RecordCase& c = GetParam();
  StoreCentres(c.centre_x, c.centre_y, 320, 240);
  CreateView(c.window, c.base);
  for (int i = 0; i < c.zoom_steps; ++i) view_->ZoomIn();
  ASSERT_TRUE(devices::capture::LastDisplay().has_value());
  const auto expected = Expected(c.src, c.dst);
  EXPECT_TRUE(SameBytes(Sent(), expected));
  EXPECT_TRUE(SameBytes(view_->m_DispParam[1], expected));
  EXPECT_EQ(view_->GetCurCamera(), 1) << "capture starts on the wide camera";
}

INSTANTIATE_TEST_SUITE_P(
    Windows,
    DisplayRecordTest,
    ::testing::Values(
        // Full screen, scale 1, centre (320, 240): the middle 320 x 240 of the frame.
        RecordCase{"full_screen",
                   320,
                   240,
                   {0, 0, 320, 240},
                   1.0,
                   0,
                   {160, 120, 479, 359},
                   {0, 0, 319, 239}},
        // 200 x 150 at (10, 20): sensor 200 x 150 from (320 - 100, 240 - 75).
        RecordCase{"offset_window",
                   320,
                   240,
                   {10, 20, 210, 170},
                   1.0,
                   0,
                   {220, 165, 419, 314},
                   {10, 20, 209, 169}},
        // Ratio 2: W/2 = 100, H/2 = 75 -> sensor 100 x 75 from (270, 240 - 37);
        // screen left 540 + (110 - 640) = 10, top 406 + (95 - 480) = 21.
        RecordCase{"offset_window_zoomed",
                   320,
                   240,
                   {10, 20, 210, 170},
                   1.0,
                   1,
                   {270, 203, 369, 277},
                   {10, 21, 209, 170}},
        // Scale 0.5 and centre (101, 77): left 101 - 320 = -219, made even toward
        // zero = -218; top 77 - 240 = -163; screen left (int)(-109.0) + (160 - 50) = 1,
        // top (int)(-81.5) = -81, + (120 - 38) = 1.
        RecordCase{"negative_left_edge_made_even",
                   101,
                   77,
                   {0, 0, 320, 240},
                   0.5,
                   0,
                   {-218, -163, 421, 316},
                   {1, 1, 320, 240}},
        // Scale 0.75: sensor 426 wide gives a screen width of (int)319.5 = 319, and
        // below scale 1 the sensor width is recomputed from it: (int)(319 / 0.75) = 425.
        // left 320 - 212 = 108, screen left (int)81.0 + (160 - 240) = 1.
        RecordCase{"below_scale_one",
                   320,
                   240,
                   {0, 0, 320, 240},
                   0.75,
                   0,
                   {108, 80, 532, 399},
                   {1, 0, 319, 239}},
        // z = 2, centre (300, 200): sensor 160 x 120 from (220, 140); screen
        // 2 * 220 + (160 - 600) = 0.
        RecordCase{"zoomed_off_centre",
                   300,
                   200,
                   {0, 0, 320, 240},
                   1.0,
                   1,
                   {220, 140, 379, 259},
                   {0, 0, 319, 239}},
        // z = 4: sensor 80 x 60 from (280, 210); screen 4 * 280 + (160 - 1280) = 0.
        RecordCase{"zoomed_four_times",
                   320,
                   240,
                   {0, 0, 320, 240},
                   1.0,
                   2,
                   {280, 210, 359, 269},
                   {0, 0, 319, 239}}));

// Reverse with centre (320, 240): x becomes 640 - 320 - 1.5 = 318.5 -> 318,
// y 480 - 240 = 240; left 318 - 160 = 158, screen left 158 + (160 - 318) = 0.
TEST_F(ZoomTest, ReverseUsesTheShiftedCentre) {
  CreateView({0, 0, 320, 240});
  view_->Reverse();
  EXPECT_EQ(view_->m_StartParam.Reverse, 1u);
  EXPECT_TRUE(SameBytes(Sent(), Expected({158, 120, 477, 359}, {0, 0, 319, 239})));
  ASSERT_TRUE(devices::capture::LastStart().has_value());
  EXPECT_EQ(devices::capture::LastStart()->Reverse, 1u);
  view_->Reverse();
  EXPECT_EQ(view_->m_StartParam.Reverse, 0u);
  EXPECT_TRUE(SameBytes(Sent(), Expected({160, 120, 479, 359}, {0, 0, 319, 239})));
}

TEST_F(ZoomTest, CamerasKeepTheirOwnZoom) {
  StoreCentres(300, 200, 330, 250);
  CreateView({0, 0, 320, 240});
  view_->ZoomIn();  // wide at ratio 2
  // wide, z = 2: sensor 160 x 120 from (300 - 80, 200 - 60); screen 2 * 220 + (160 - 600) = 0.
  EXPECT_TRUE(SameBytes(Sent(), Expected({220, 140, 379, 259}, {0, 0, 319, 239})));
  view_->SetCurCamera(0);
  EXPECT_EQ(devices::capture::LastStart()->Camera, 0);
  // tele, z = 1: (330 - 160, 250 - 120) = (170, 130).
  EXPECT_TRUE(SameBytes(Sent(), Expected({170, 130, 489, 369}, {0, 0, 319, 239})));
  view_->SetCurCamera(1);
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  EXPECT_TRUE(SameBytes(Sent(), Expected({220, 140, 379, 259}, {0, 0, 319, 239})));
}

TEST_F(ZoomTest, ZoomStaysWithinTheRatioLimitsAndRefusalsChangeNothing) {
  CreateView();
  view_->ZoomOut();
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  view_->ZoomIn();
  view_->ZoomIn();
  EXPECT_EQ(view_->m_dZoomRatio[1], 4.0);
  platform::PumpMessages();
  const int sent = Requests(IOCTL_VCAP_SET_DISPLAY);
  view_->ZoomIn();
  EXPECT_EQ(view_->m_dZoomRatio[1], 4.0);
  EXPECT_EQ(Requests(IOCTL_VCAP_SET_DISPLAY), sent) << "refused zoom sends nothing";
  EXPECT_EQ(platform::PumpMessages(), 0) << "refused zoom does not repaint";
  view_->ZoomOut();
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  view_->InitZoom();
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  EXPECT_EQ(view_->m_dZoom[1], 1.0);
  EXPECT_TRUE(SameBytes(Sent(), Expected({160, 120, 479, 359}, {0, 0, 319, 239})));
}

TEST_F(ZoomTest, OffsetMovesTheCentreAndInitOffsetRestoresIt) {
  StoreCentres(300, 200, 320, 240);
  CreateView({0, 0, 320, 240});
  view_->Offset(7, -3);  // centre (307, 197): left 147 -> 146, screen 146 + (160 - 307) = -1
  EXPECT_EQ(view_->m_nCenterX[1], 307);
  EXPECT_TRUE(SameBytes(Sent(), Expected({146, 77, 465, 316}, {-1, 0, 318, 239})));
  view_->InitOffset();
  EXPECT_EQ(view_->m_nCenterX[1], 320);
  EXPECT_EQ(view_->m_nCenterY[1], 240);
  EXPECT_TRUE(SameBytes(Sent(), Expected({160, 120, 479, 359}, {0, 0, 319, 239})));
}

}  // namespace
