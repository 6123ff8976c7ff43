// Overlays and marks drawn into a framebuffer of their own, checked at hand-worked positions.
#include <algorithm>
#include <cmath>

#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

const uint32_t kRed = platform::PixelFromColorref(255);
const uint32_t kGreen = platform::PixelFromColorref(65280);
const RECT kReadout = {0, 0, 300, 20};

// A created view drawing into a 320 x 240 framebuffer of the test's own.
class DrawingTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    CreateView();
  }
  void TearDown() override {
    dc_.reset();
    LiveViewTest::TearDown();
  }
  void Fresh(uint32_t background = 0) {
    dc_.reset();
    fb_.Resize(320, 240, background);
    dc_ = std::make_unique<CDC>();
    dc_->AttachFramebuffer(&fb_, RECT{0, 0, 320, 240});
  }
  // Draws with one of the view's functions into a fresh framebuffer.
  void Draw(void (CCaptureWnd::*draw)(CDC*), uint32_t background = 0) {
    Fresh(background);
    (view_.get()->*draw)(dc_.get());
  }
  // Pixels of one colour inside an area (clipped to the framebuffer).
  int Count(uint32_t pixel, RECT area = {0, 0, 320, 240}) const {
    int n = 0;
    for (int y = std::max(0, int(area.top)); y < std::min(240, int(area.bottom)); ++y)
      for (int x = std::max(0, int(area.left)); x < std::min(320, int(area.right)); ++x)
        n += fb_.At(x, y) == pixel;
    return n;
  }
  // Station at the survey origin, axis 1.5 m up, looking along survey X.
  void Level(double v) {
    CXYZ mp(0.0, 0.0, 1.5);
    view_->SetMp(mp);
    view_->UpdateAngle(v, 0.0);
  }
  POINT Screen(const CXYZ& p) {
    view_->m_Proj.BeginTrans(0);
    double sx = 0, sy = 0;
    int visible = 0;
    EXPECT_EQ(view_->XYZtoScr(p.Y, p.X, p.Z, sx, sy, visible), 1);
    EXPECT_NE(visible, 0);
    return POINT{int(sx), int(sy)};
  }
  platform::Framebuffer fb_;
  std::unique_ptr<CDC> dc_;
};

// The frame spans x 187..315, y 5..69; two bins share a column, the tallest is 64 pixels.
TEST_F(DrawingTest, HistogramColumnsScaleToTheTallestBin) {
  std::fill_n(view_->m_histogram, 256, 0);
  view_->m_histogram[40] = 4;  // column 207: 64 pixels up from the base
  view_->m_histogram[61] = 1;  // column 217: 16
  Draw(&CCaptureWnd::DrawHistogram);
  EXPECT_EQ(Count(kGreen, {207, 6, 208, 69}), 63);
  EXPECT_EQ(Count(kGreen, {217, 6, 218, 69}), 15);
}

TEST_F(DrawingTest, PointsAreGivenInSurveyAxes) {
  CXYZ station(0, 0, 0);
  view_->SetMp(station);
  view_->UpdateAngle(90.0, 0.0);  // looking north (survey X)
  CKvoArray<CXYZ, CXYZ&> points;
  CXYZ north(L"NORTH", 10.0, 0.5, 0.5);  // 10 m north, 0.5 m east
  CXYZ east(L"E", 0.5, 10.0, 0.5);       // 10 m east: out of view
  points.Add(north);
  points.Add(east);
  view_->SetPoints(&points);
  Draw(&CCaptureWnd::DrawPoints);
  // u = v = 0.4 mm -> sensor (391.43, 168.57) -> client (231, 48); arms -5..+4 (no last pixel).
  EXPECT_EQ(fb_.At(231 - 5, 48) & fb_.At(231 + 4, 48) & fb_.At(231, 48 - 5), kRed);
  EXPECT_NE(fb_.At(231 + 5, 48), kRed);
  EXPECT_NE(fb_.At(231, 48 + 5), kRed);
  EXPECT_EQ(Count(kRed), 19);
  // The name below right, in yellow (anti-aliased edges blend with black).
  int named = 0, stray = 0;
  for (int i = 0; i < 320 * 240; ++i) {
    const uint32_t p = fb_.pixels[size_t(i)];
    const int x = i % 320, y = i / 320;
    const bool yellow = (p >> 16 & 255) > 64 && (p >> 8 & 255) > 64 && (p & 255) == 0;
    (x >= 234 && y >= 51 && y < 70 ? named : stray) += yellow;
  }
  EXPECT_GT(named, 10);
  EXPECT_EQ(stray, 0);
}

TEST_F(DrawingTest, OffsetMarkerSitsAtTheCentreAndMovesWithZoom) {
  view_->BeginOffsetMode(90.0, 0.0);
  Draw(&CCaptureWnd::DrawOffset);  // on the wide camera: only asks to switch
  EXPECT_EQ(Count(kGreen), 0);
  EXPECT_GT(Count(kRed, kReadout), 20);
  view_->SetCurCamera(0);
  view_->BeginOffsetMode(90.0, 0.0);
  Draw(&CCaptureWnd::DrawOffset);
  EXPECT_EQ(fb_.At(150, 120) & fb_.At(169, 120) & fb_.At(160, 110), kGreen);
  EXPECT_EQ(Count(kGreen), 39);
  const int readout = Count(kRed, kReadout);
  // 10 sensor pixels right at scale 2: 20 screen pixels.
  view_->ZoomIn();
  view_->m_dOffsetX = view_->m_nOffsetRefX + 10.0;
  Draw(&CCaptureWnd::DrawOffset);
  EXPECT_EQ(fb_.At(180, 115), kGreen);
  EXPECT_NE(fb_.At(160, 115), kGreen);
  view_->m_bOffsetValid = 0;  // no marker, only the title
  Draw(&CCaptureWnd::DrawOffset);
  EXPECT_EQ(Count(kGreen), 0);
  EXPECT_LT(Count(kRed, kReadout), readout);
}

TEST_F(DrawingTest, RemoteElevationCrossSitsAboveTheBaseAtTheSightedHeight) {
  // Base 30 m ahead on the ground, sighted 2 m above from an axis 1.5 m up: cot V = 0.5 / 30.
  const double v = std::atan2(30.0, 0.5) * 180.0 / 3.141592653589793;
  Level(v);
  view_->BeginRemMode();
  CXYZ base(L"BASE", 30.0, 0.0, 0.0);
  view_->AddRemCoord(base);
  Draw(&CCaptureWnd::DrawRemPoint);
  const POINT top = Screen(CXYZ(30.0, 0.0, 2.0));
  const POINT foot = Screen(base);
  ASSERT_LT(top.y, foot.y - 10);
  EXPECT_EQ(fb_.At(top.x - 8, top.y) & fb_.At(top.x, top.y + 8), kGreen);
  EXPECT_EQ(fb_.At(foot.x + 4, foot.y), kRed);
  const int mid = (top.y + foot.y) / 2;
  EXPECT_GT(Count(kRed, RECT{top.x - 1, mid - 1, top.x + 2, mid + 2}), 0);
}

TEST_F(DrawingTest, AlignmentCrossFollowsTheImageCentreAndFramesTheTeleField) {
  view_->SetCCDAttachMode();  // wide camera centred on sensor pixel (320, 240)
  view_->Offset(10, -6);      // centre (330, 234): the sensor middle moves left and down
  Draw(&CCaptureWnd::DrawCCDAttach);
  EXPECT_EQ(fb_.At(150 - 8, 126) & fb_.At(150, 126 + 8), kGreen);
  // The tele field: 640 x 480 tele pixels are f_wide / 248.46 as many wide pixels.
  const double ratio = view_->m_Camera.FocalLength / 248.46;
  const int half_w = int(320 * ratio + 0.5), half_h = int(240 * ratio + 0.5);
  ASSERT_GT(half_w, 3);
  EXPECT_EQ(fb_.At(160 + half_w, 120), kGreen);
  EXPECT_EQ(fb_.At(160, 120 - half_h), kGreen);
  EXPECT_NE(fb_.At(160 + half_w + 2, 120), kGreen);
  EXPECT_GT(Count(kRed, kReadout), 0);
  view_->SetCurCamera(0);  // on the tele camera only its cross
  Draw(&CCaptureWnd::DrawCCDAttach);
  EXPECT_EQ(Count(kGreen), 39);
}

// The reticle, fixed and moved by a user offset: doubled left and bottom arms, single right and
// top arms to the edges, a centre cross, gaps; a read-out in the offset mode only.
TEST_F(DrawingTest, ReticleAtTheCentreOrMovedByTheUserOffset) {
  // clang-format off
  const POINT on[] = {{0, 0}, {-5, 0}, {5, 0}, {0, -5}, {0, 5}, {-12, -2}, {-12, 2}, {-90, -2},
      {-90, 2}, {12, 0}, {90, 0}, {0, -12}, {0, -90}, {-2, 12}, {2, 12}, {-2, 80}, {2, 80}};
  // clang-format on
  const POINT off[] = {{-11, -2}, {6, 0}, {0, 6}, {0, -11}, {11, 0}, {0, 80}, {-30, 0}};
  for (const POINT centre : {POINT{160, 120}, POINT{167, 116}}) {
    const bool moved = centre.x != 160;
    if (moved) {
      view_->SetUserCCDMode();
      view_->UserCCDOffset(7, -4);
    }
    Draw(&CCaptureWnd::DrawCursor, 0x808080);  // grey: the reticle is black
    for (const POINT& d : on)
      EXPECT_EQ(fb_.At(centre.x + d.x, centre.y + d.y), 0u) << d.x << "," << d.y;
    for (const POINT& d : off)
      EXPECT_NE(fb_.At(centre.x + d.x, centre.y + d.y), 0u) << d.x << "," << d.y;
    EXPECT_EQ(fb_.At(0, centre.y - 2) | fb_.At(319, centre.y), 0u) << "arms reach the edges";
    EXPECT_EQ(fb_.At(centre.x, 0) | fb_.At(centre.x - 2, 239), 0u);
    EXPECT_EQ(Count(kRed, kReadout) > 0, moved);
  }
  // After the mode ends the reticle stays moved but the read-out goes.
  view_->EndUserCCDMode();
  Draw(&CCaptureWnd::DrawCursor, 0x808080);
  EXPECT_EQ(fb_.At(167, 116), 0u);
  EXPECT_EQ(Count(kRed, kReadout), 0);
}

// With hysteresis the cross moves only for more than 8 pixels in x or y; it aims as drawn.
TEST_F(DrawingTest, CornerCrossHysteresis) {
  view_->SetCurCamera(0);
  view_->BeginCornerMode();
  // Drawn at, with hysteresis or not: where the cross is.
  const struct {
    int x, y;
    bool hysteresis;
    int at_x, at_y;
  } moves[] = {{100, 100, true, 100, 100},
               {108, 92, true, 100, 100},  // 8 and 8: stays
               {109, 100, true, 109, 100},
               {109, 91, true, 109, 91},
               {111, 92, false, 111, 92}};
  for (const auto& m : moves) {
    view_->SetHysteresisMode(m.hysteresis);
    Fresh();
    view_->DrawCornerCross(dc_.get(), POINT{m.x, m.y});
    EXPECT_EQ(fb_.At(m.at_x - 9, m.at_y) & fb_.At(m.at_x, m.at_y + 9), kRed) << m.x << "," << m.y;
  }
  double dv = 0.0, dh = 0.0;
  ASSERT_EQ(view_->GetCornerMoveAng(dv, dh), 1);
  view_->m_ptTap = POINT{111, 92};  // a tap on the cross aims the same way
  view_->MakeMoveAng();
  EXPECT_EQ(dv, view_->m_dDV);
  EXPECT_EQ(dh, view_->m_dDH);
  // Nothing drawn nor aimed at without a tap or on the wide camera.
  for (int camera : {0, 1}) {
    view_->SetCurCamera(camera);
    view_->m_bTapped = BYTE(camera);  // tele without a tap, wide with one
    Draw(&CCaptureWnd::DrawCorner);
    EXPECT_EQ(Count(kRed, RECT{0, 0, 320, 240}), 0) << camera;
    EXPECT_EQ(view_->GetCornerMoveAng(dv, dh), 0) << camera;
  }
}

}  // namespace
}  // namespace liveview_test
