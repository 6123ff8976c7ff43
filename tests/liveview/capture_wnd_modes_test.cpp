// Measurement modes, the key dispatcher and the allowed tap square.
#include <algorithm>

#include "platform/xlate.h"
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

constexpr UINT kLeft = 37, kUp = 38, kRight = 39, kDown = 40;
constexpr UINT kOne = 49, kTwo = 50, kThree = 51, kNine = 57;

class ModesTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    CreateView();
  }
  void TearDown() override {
    platform::InjectKey(VK_SHIFT, false);
    LiveViewTest::TearDown();
  }
  void Tap(int x, int y) {
    platform::InjectTap(x, y);
    platform::PumpMessages();
  }
};

TEST_F(ModesTest, ArrowsZoomAndStepExposureUnlessShiftIsHeld) {
  view_->KeyControl(kRight);
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  view_->KeyControl(kLeft);
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  view_->KeyControl(kUp);
  EXPECT_EQ(view_->m_StartParam.Brightness, 8);
  view_->KeyControl(kDown);
  view_->KeyControl(kDown);
  EXPECT_EQ(view_->m_StartParam.Brightness, -8);

  platform::InjectKey(VK_SHIFT, true);
  view_->KeyControl(kRight);
  view_->KeyControl(kUp);
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  EXPECT_EQ(view_->m_StartParam.Brightness, -8);
  // Shift does not hold back the camera keys.
  view_->KeyControl(kOne);
  EXPECT_EQ(view_->GetCurCamera(), 0);
}

TEST_F(ModesTest, AutomaticExposureLocksUpAndDownInEveryMode) {
  view_->KeyControl(kThree);
  ASSERT_EQ(view_->m_nAEMode, 1);
  view_->KeyControl(kUp);
  EXPECT_EQ(view_->m_StartParam.Brightness, 0);
  view_->SetUserCCDMode();
  view_->KeyControl(kDown);
  EXPECT_EQ(view_->m_StartParam.Brightness, 0);
  // "3" still works in mode 6 and, back in manual, sends exposure 0.
  view_->m_StartParam.Brightness = 40;
  devices::capture::ClearLog();
  view_->KeyControl(kThree);
  EXPECT_EQ(view_->m_nAEMode, 0);
  EXPECT_EQ(view_->m_StartParam.Brightness, 0);
  EXPECT_EQ(Requests(IOCTL_VCAP_START_CAPTURE), 1);
  ASSERT_TRUE(devices::capture::LastStart().has_value());
  EXPECT_EQ(devices::capture::LastStart()->Brightness, 0);
  view_->KeyControl(kUp);  // manual again: mode 6 lets the arrows through
  EXPECT_EQ(view_->m_StartParam.Brightness, 8);
}

TEST_F(ModesTest, UserOffsetModeIgnoresCameraAndCursorKeys) {
  view_->SetUserCCDMode();
  view_->KeyControl(kOne);
  view_->KeyControl(kNine);
  view_->KeyControl(kRight);
  EXPECT_EQ(view_->GetCurCamera(), 1);
  EXPECT_EQ(view_->GetDispCursor(), 1);
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  view_->EndUserCCDMode();
  EXPECT_EQ(view_->GetMode(), 6);  // ending leaves the mode in place
}

TEST_F(ModesTest, CornerModeWithAMeasurementIgnoresKeys) {
  view_->BeginCornerMode();
  view_->SetGetMeas();
  view_->KeyControl(kOne);
  EXPECT_EQ(view_->GetCurCamera(), 1);
  view_->ClrGetMeas();
  view_->SetDistMeasing();
  view_->KeyControl(kOne);
  EXPECT_EQ(view_->GetCurCamera(), 1);
  view_->ClrDistMeasing();
  view_->KeyControl(kOne);
  EXPECT_EQ(view_->GetCurCamera(), 0);
}

// The corner flag follows the camera in corner mode only.
TEST_F(ModesTest, CornerModeNotesWhetherItWorksOnTheTeleCamera) {
  view_->SetCurCamera(0);
  view_->BeginCornerMode();
  EXPECT_EQ(view_->m_bCornerTele, 1);
  view_->SetCurCamera(1);
  EXPECT_EQ(view_->m_bCornerTele, 0);
  view_->SetCurCamera(0);
  EXPECT_EQ(view_->m_bCornerTele, 1);
  view_->EndCornerMode();
  view_->BeginDistanceMode();
  view_->SetCurCamera(1);
  EXPECT_EQ(view_->m_bCornerTele, 1);
}

TEST_F(ModesTest, AnyKeyEndsASnapshotAndDoesNothingElse) {
  view_->SnapShot();
  view_->KeyControl(kRight);
  EXPECT_EQ(view_->GetSnapShot(), 0);
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  view_->KeyControl(kRight);
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  // Keys outside 37..57 are ignored, but still end a snapshot.
  view_->SnapShot();
  view_->KeyControl(VK_RETURN);
  EXPECT_EQ(view_->GetSnapShot(), 0);
  view_->KeyControl(58);
  view_->KeyControl(36);
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
}

TEST_F(ModesTest, NineTogglesTheCursor) {
  view_->KeyControl(kNine);
  EXPECT_EQ(view_->GetDispCursor(), 0);
  view_->KeyControl(kNine);
  EXPECT_EQ(view_->GetDispCursor(), 1);
  view_->KeyControl(kTwo);
  EXPECT_EQ(view_->GetCurCamera(), 1);
}

TEST_F(ModesTest, DistanceAndRemListsKeepTheirLimits) {
  CXYZ a(L"A", 1, 2, 3), b(L"B", 4, 5, 6), c(L"C", 7, 8, 9);
  view_->BeginDistanceMode();
  EXPECT_EQ(view_->GetMode(), 3);
  view_->AddDistanceAB(a);
  view_->AddDistanceAB(b);
  view_->AddDistanceAB(c);
  ASSERT_EQ(view_->m_MeasPoints.GetSize(), 2);
  EXPECT_EQ(view_->m_MeasPoints[1].X, 4.0);
  view_->EndDistanceMode();
  EXPECT_EQ(view_->GetMode(), 0);
  EXPECT_EQ(view_->m_MeasPoints.GetSize(), 0);

  view_->BeginRemMode();
  view_->AddRemCoord(b);
  view_->AddRemCoord(c);
  ASSERT_EQ(view_->m_MeasPoints.GetSize(), 1);
  EXPECT_EQ(view_->m_MeasPoints[0].X, 4.0);
  view_->EndRemMode();
  EXPECT_EQ(view_->GetMode(), 0);
}

TEST_F(ModesTest, CcdAttachModeRecentresTheCameraAndStays) {
  view_->SetCurCamera(0);
  view_->Offset(7, -3);
  view_->SetCCDAttachMode();
  EXPECT_EQ(view_->GetMode(), 5);
  EXPECT_EQ(view_->m_nCenterX[0], 320);
  EXPECT_EQ(view_->m_nCenterY[0], 240);
  view_->EndCCDAttachMode();
  EXPECT_EQ(view_->GetMode(), 5);
  view_->SetUserCCDMode();
  view_->UserCCDOffset(2, -1);
  view_->UserCCDOffset(1, 0);
  EXPECT_EQ(view_->m_nUserCCDOffsetX[0], 3);
  EXPECT_EQ(view_->m_nUserCCDOffsetY[0], -1);
  EXPECT_EQ(view_->m_nUserCCDOffsetX[1], 0);
}

// The allowed square's half side is trunc(scale x 100 + 0.5) / 2 around the
// client centre (160, 120): 50 at scale 1, 100 at 2, 200 at 4.
struct SquareCase {
  int zoom_steps;
  int inside_x, inside_y;
  int outside_x, outside_y;
};

void PrintTo(const SquareCase& c, std::ostream* os) {
  *os << "scale x" << (1 << c.zoom_steps) << " in (" << c.inside_x << "," << c.inside_y << ")";
}

class TapSquareTest : public ModesTest, public ::testing::WithParamInterface<SquareCase> {};

TEST_P(TapSquareTest, EdgesAreInsideAndOnePixelMoreIsOutside) {
  const SquareCase c = GetParam();
  platform::SetTranslator([](const std::wstring& text) { return L"<" + text + L">"; });
  view_->SetCurCamera(0);
  for (int i = 0; i < c.zoom_steps; ++i) view_->ZoomIn();
  view_->BeginCornerMode();
  view_->SetGetMeas();

  // Boxes about the limit; an accepted tap may add the corner search's own
  // box, since this flat picture has no corner.
  auto limit_boxes = [&] {
    return std::count_if(boxes_.calls().begin(), boxes_.calls().end(), [](const auto& call) {
      return call.text == L"<Please specify within the limit.>";
    });
  };
  Tap(c.inside_x, c.inside_y);
  EXPECT_EQ(view_->m_bTapped, 1);
  EXPECT_EQ(view_->m_bTapOutside, 0);
  EXPECT_EQ(view_->m_ptTap.x, c.inside_x);
  EXPECT_EQ(view_->m_ptTap.y, c.inside_y);
  EXPECT_EQ(limit_boxes(), 0);

  if (c.outside_x >= 0) {
    Tap(c.outside_x, c.outside_y);
    EXPECT_EQ(view_->m_bTapped, 0);
    EXPECT_EQ(view_->m_bTapOutside, 1);
    ASSERT_EQ(limit_boxes(), 1);
    EXPECT_EQ(boxes_.LastText(), L"<Please specify within the limit.>");
    EXPECT_TRUE(boxes_.calls().back().application);
  }
  platform::SetTranslator(nullptr);
}

INSTANTIATE_TEST_SUITE_P(Scales,
                         TapSquareTest,
                         ::testing::Values(SquareCase{0, 210, 70, 211, 120},
                                           SquareCase{0, 110, 170, 160, 171},
                                           SquareCase{1, 260, 20, 59, 120},
                                           SquareCase{2, 0, 0, -1, -1},
                                           SquareCase{2, 319, 239, -1, -1}));

TEST_F(ModesTest, TapsOnTheWideCameraChangeNothing) {
  view_->BeginCornerMode();
  view_->SetGetMeas();
  view_->m_bTapped = 1;
  Tap(300, 10);
  EXPECT_EQ(view_->m_bTapped, 1);
  EXPECT_EQ(view_->m_ptTap.x, 0);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(ModesTest, TapsAreRefusedOnTiltErrorAndWhileMeasuring) {
  view_->SetCurCamera(0);
  view_->BeginCornerMode();
  view_->SetGetMeas();
  view_->SetTiltErr();
  Tap(170, 130);
  EXPECT_EQ(view_->m_bTapped, 0);
  EXPECT_EQ(view_->m_ptTap.x, 0);
  view_->ClrTiltErr();
  Tap(170, 130);
  EXPECT_EQ(view_->m_bTapped, 1);
  // Without a measurement a tap forgets the last one, unless measuring.
  view_->ClrGetMeas();
  view_->SetDistMeasing();
  Tap(170, 130);
  EXPECT_EQ(view_->m_bTapped, 1);
  view_->ClrDistMeasing();
  Tap(170, 130);
  EXPECT_EQ(view_->m_bTapped, 0);
  // Other modes forget it too.
  view_->m_bTapped = 1;
  view_->EndCornerMode();
  Tap(170, 130);
  EXPECT_EQ(view_->m_bTapped, 0);
}

}  // namespace
}  // namespace liveview_test
