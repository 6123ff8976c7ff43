// Overlays drawn into a framebuffer of their own: point crosses and names,
// the swap of survey axes, the offset marker and read-out, the tap mark.
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

const uint32_t kRed = platform::PixelFromColorref(255);
const uint32_t kYellow = platform::PixelFromColorref(65535);
const uint32_t kGreen = platform::PixelFromColorref(65280);
const RECT kReadout = {0, 0, 300, 20};

using OverlayTest = LiveViewDrawingTest;

TEST_F(OverlayTest, PointIsACrossWithItsNameBelowRight) {
  CPen pen(PS_SOLID, 0, 255);
  dc_->SelectObject(&pen);
  dc_->SetTextColor(65535);
  dc_->SetBkMode(TRANSPARENT);
  view_->DrawPoint(dc_.get(), L"P12", 100, 80);
  // Arms from x - 5 to x + 4 (the last pixel of a line is not drawn).
  EXPECT_EQ(fb_.At(95, 80), kRed);
  EXPECT_EQ(fb_.At(104, 80), kRed);
  EXPECT_NE(fb_.At(105, 80), kRed);
  EXPECT_EQ(fb_.At(100, 75), kRed);
  EXPECT_NE(fb_.At(100, 85), kRed);
  EXPECT_EQ(Count(kRed), 19);
  EXPECT_GT(Count(kYellow, {103, 83, 420, 100}), 10);
  EXPECT_EQ(Count(kYellow, {0, 0, 103, 240}), 0);
}

TEST_F(OverlayTest, PointsAreGivenInSurveyAxes) {
  CXYZ station(0, 0, 0);
  view_->SetMp(station);
  view_->UpdateAngle(90.0, 0.0);  // looking north (survey X)
  CKvoArray<CXYZ, CXYZ&> points;
  CXYZ north(L"NORTH", 10.0, 0.5, 0.5);  // 10 m north, 0.5 m east
  CXYZ east(L"E", 0.5, 10.0, 0.5);       // 10 m east: out of view
  points.Add(north);
  points.Add(east);
  view_->SetPoints(&points);
  view_->DrawPoints(dc_.get());
  // North point: u = v = 0.4 mm -> sensor (391.43, 168.57) -> client (231, 48).
  EXPECT_EQ(fb_.At(231 - 5, 48), kRed);
  EXPECT_EQ(fb_.At(231, 48 - 5), kRed);
  EXPECT_EQ(Count(kRed), 19);
  // The name is drawn in yellow; anti-aliased edges blend with black.
  int named = 0;
  for (int y = 51; y < 70; ++y)
    for (int x = 234; x < 320; ++x) {
      const uint32_t p = fb_.At(x, y);
      named += (p >> 16 & 255) > 64 && (p >> 8 & 255) > 64 && (p & 255) == 0;
    }
  EXPECT_GT(named, 10);
}

TEST_F(OverlayTest, OffsetMarkerSitsAtTheCentreAndMovesWithZoom) {
  view_->BeginOffsetMode(90.0, 0.0);
  view_->DrawOffset(dc_.get());  // on the wide camera: only asks to switch
  EXPECT_EQ(Count(kGreen), 0);
  EXPECT_GT(Count(kRed, kReadout), 20);
  Fresh();
  view_->SetCurCamera(0);
  view_->BeginOffsetMode(90.0, 0.0);
  view_->DrawOffset(dc_.get());
  EXPECT_EQ(fb_.At(150, 120), kGreen);
  EXPECT_EQ(fb_.At(169, 120), kGreen);
  EXPECT_EQ(fb_.At(160, 110), kGreen);
  EXPECT_EQ(Count(kGreen), 39);
  const int readout = Count(kRed, kReadout);
  // 10 sensor pixels right at scale 2 is 20 screen pixels right.
  Fresh();
  view_->ZoomIn();
  view_->m_dOffsetX = view_->m_nOffsetRefX + 10.0;
  view_->DrawOffset(dc_.get());
  EXPECT_EQ(fb_.At(180, 115), kGreen);
  EXPECT_NE(fb_.At(160, 115), kGreen);
  // Without a valid offset: no marker, only the title.
  Fresh();
  view_->m_bOffsetValid = 0;
  view_->DrawOffset(dc_.get());
  EXPECT_EQ(Count(kGreen), 0);
  EXPECT_LT(Count(kRed, kReadout), readout);
}

TEST_F(OverlayTest, TapBeforeADistanceShowsTheMessageOnceAndForgetsIt) {
  view_->SetCurCamera(0);
  view_->m_bTapped = 1;
  view_->m_ptTap = {100, 100};
  view_->DrawTapPoint(dc_.get());
  view_->DrawTapPoint(dc_.get());
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Please meas distance.");
  EXPECT_EQ(view_->m_bTapped, 0);
  EXPECT_EQ(Count(kGreen), 0);
  view_->SetGetMeas();
  view_->m_bTapped = 1;
  view_->DrawTapPoint(dc_.get());
  EXPECT_EQ(fb_.At(90, 100), kGreen);
  EXPECT_EQ(fb_.At(100, 90), kGreen);
  EXPECT_EQ(Count(kGreen), 39);
  Fresh();
  view_->SetCurCamera(1);  // on the wide camera the mark is not drawn
  view_->DrawTapPoint(dc_.get());
  EXPECT_EQ(Count(kGreen), 0);
}

}  // namespace
}  // namespace liveview_test
