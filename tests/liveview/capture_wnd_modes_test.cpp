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
    platform::SetTranslator(nullptr);
    LiveViewTest::TearDown();
  }
  void Keys(std::initializer_list<UINT> keys) {
    for (UINT key : keys) view_->KeyControl(key);
  }
  void Tap(int x, int y) {
    platform::InjectTap(x, y);
    platform::PumpMessages();
  }
};

TEST_F(ModesTest, KeysZoomStepExposureSwitchCameraAndCursor) {
  Keys({kRight});
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  Keys({kLeft, kUp});
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  EXPECT_EQ(view_->m_StartParam.Brightness, 8);
  Keys({kDown, kDown, kNine});
  EXPECT_EQ(view_->m_StartParam.Brightness, -8);
  EXPECT_EQ(view_->GetDispCursor(), 0);
  Keys({kNine, kTwo, 58, 36});  // 58 and 36 lie outside 37..57
  EXPECT_EQ(view_->GetDispCursor(), 1);
  EXPECT_EQ(view_->GetCurCamera(), 1);
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  // Any key, also one outside 37..57, only ends a snapshot.
  for (UINT key : {kRight, UINT(VK_RETURN)}) {
    view_->SnapShot();
    Keys({key});
    EXPECT_EQ(view_->GetSnapShot(), 0);
  }
  // Shift holds back the arrows, not the camera keys.
  platform::InjectKey(VK_SHIFT, true);
  Keys({kRight, kUp, kOne});
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  EXPECT_EQ(view_->m_StartParam.Brightness, -8);
  EXPECT_EQ(view_->GetCurCamera(), 0);
}

TEST_F(ModesTest, AutomaticExposureLocksUpAndDownInEveryMode) {
  Keys({kThree});
  ASSERT_EQ(view_->m_nAEMode, 1);
  Keys({kUp});
  EXPECT_EQ(view_->m_StartParam.Brightness, 0);
  view_->SetUserCCDMode();
  Keys({kDown});
  EXPECT_EQ(view_->m_StartParam.Brightness, 0);
  // "3" still works in mode 6 and, back in manual, sends exposure 0.
  view_->m_StartParam.Brightness = 40;
  devices::capture::ClearLog();
  Keys({kThree});
  EXPECT_EQ(view_->m_nAEMode, 0);
  EXPECT_EQ(Requests(IOCTL_VCAP_START_CAPTURE), 1);
  EXPECT_EQ(devices::capture::LastStart()->Brightness, 0);
  Keys({kUp});  // manual again: mode 6 lets the arrows through
  EXPECT_EQ(view_->m_StartParam.Brightness, 8);
}

// The user offset mode ignores camera and cursor keys; corner mode with a measurement, or
// while measuring a distance, the camera keys. The corner flag follows the camera in corner mode.
TEST_F(ModesTest, ModesThatIgnoreKeysAndTheCornerFlag) {
  view_->SetUserCCDMode();
  Keys({kOne, kNine, kRight});
  EXPECT_EQ(view_->GetDispCursor(), 1);
  EXPECT_EQ(view_->m_dZoomRatio[1], 1.0);
  view_->EndUserCCDMode();
  EXPECT_EQ(view_->GetMode(), 6);  // ending leaves the mode in place
  view_->BeginCornerMode();
  view_->SetGetMeas();
  Keys({kOne});
  view_->ClrGetMeas();
  view_->SetDistMeasing();
  Keys({kOne});
  EXPECT_EQ(view_->GetCurCamera(), 1);
  view_->ClrDistMeasing();
  Keys({kOne});
  EXPECT_EQ(view_->GetCurCamera(), 0);
  EXPECT_EQ(view_->m_bCornerTele, 1);
  view_->SetCurCamera(1);
  EXPECT_EQ(view_->m_bCornerTele, 0);
  view_->EndCornerMode();
  view_->BeginDistanceMode();
  view_->SetCurCamera(0);
  EXPECT_EQ(view_->m_bCornerTele, 0);
}

TEST_F(ModesTest, ListsKeepTheirLimitsAndTheAlignmentRecentres) {
  CXYZ a(L"A", 1, 2, 3), b(L"B", 4, 5, 6), c(L"C", 7, 8, 9);
  view_->BeginDistanceMode();
  EXPECT_EQ(view_->GetMode(), 3);
  for (CXYZ* p : {&a, &b, &c}) view_->AddDistanceAB(*p);  // A and B only
  ASSERT_EQ(view_->m_MeasPoints.GetSize(), 2);
  EXPECT_EQ(view_->m_MeasPoints[1].X, 4.0);
  view_->EndDistanceMode();
  view_->BeginRemMode();
  view_->AddRemCoord(b);
  view_->AddRemCoord(c);  // the base only
  ASSERT_EQ(view_->m_MeasPoints.GetSize(), 1);
  EXPECT_EQ(view_->m_MeasPoints[0].X, 4.0);
  view_->EndRemMode();
  EXPECT_EQ(view_->GetMode(), 0);
  view_->SetCurCamera(0);
  view_->Offset(7, -3);
  view_->SetCCDAttachMode();
  view_->EndCCDAttachMode();
  view_->SetUserCCDMode();
  view_->UserCCDOffset(2, -1);
  view_->UserCCDOffset(1, 0);
  EXPECT_EQ((std::vector<int>{view_->m_nCenterX[0],
                              view_->m_nCenterY[0],
                              view_->m_nUserCCDOffsetX[0],
                              view_->m_nUserCCDOffsetY[0],
                              view_->m_nUserCCDOffsetX[1]}),
            (std::vector<int>{320, 240, 3, -1, 0}));
}

// The allowed square's half side is trunc(scale x 100 + 0.5) / 2 around (160, 120).
struct SquareCase {
  int zoom_steps;
  POINT inside, outside;  // outside.x < 0: none on the screen
};

const SquareCase kSquares[] = {{0, {210, 70}, {211, 120}},
                               {0, {110, 170}, {160, 171}},
                               {1, {260, 20}, {59, 120}},
                               {2, {319, 239}, {-1, -1}}};

class TapSquareTest : public ModesTest, public ::testing::WithParamInterface<int> {};

TEST_P(TapSquareTest, EdgesAreInsideAndOnePixelMoreIsOutside) {
  const SquareCase& c = kSquares[GetParam()];
  platform::SetTranslator([](const std::wstring& text) { return L"<" + text + L">"; });
  view_->SetCurCamera(0);
  for (int i = 0; i < c.zoom_steps; ++i) view_->ZoomIn();
  view_->BeginCornerMode();
  view_->SetGetMeas();
  auto limit_boxes = [&] {
    return std::count_if(boxes_.calls().begin(), boxes_.calls().end(), [](const auto& call) {
      return call.text == L"<Please specify within the limit.>" && call.application;
    });
  };
  Tap(c.inside.x, c.inside.y);
  EXPECT_EQ(view_->m_bTapped, 1);
  EXPECT_EQ(view_->m_bTapOutside, 0);
  EXPECT_EQ(CPoint(view_->m_ptTap), CPoint(c.inside));
  EXPECT_EQ(limit_boxes(), 0);
  if (c.outside.x < 0) return;
  Tap(c.outside.x, c.outside.y);
  EXPECT_EQ(view_->m_bTapped, 0);
  EXPECT_EQ(view_->m_bTapOutside, 1);
  EXPECT_EQ(limit_boxes(), 1);
}

INSTANTIATE_TEST_SUITE_P(Scales, TapSquareTest, ::testing::Range(0, int(std::size(kSquares))));

}  // namespace
}  // namespace liveview_test
