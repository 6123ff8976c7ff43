// The view's life: creation, the posted capture start, timer ticks, an unopenable driver, the grab.
#include <cstring>

#include "image/dib_ex.h"
#include "platform/faults.h"
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

// Mid grey with the first pixel red and the first of the second row blue.
class MarkedSource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    std::fill(pixels, pixels + devices::kFrameWidth * devices::kFrameHeight, uint16_t(0x8410));
    pixels[0] = 0xF800;
    pixels[devices::kFrameWidth] = 0x001F;
  }
};

class LifecycleTest : public LiveViewTest {
 protected:
  bool Create() {
    return view_->Create(nullptr, {0, 0, 320, 240}, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0) != 0;
  }
};

TEST_F(LifecycleTest, CreationPostsInitialisationAndStartsTheFrameTimer) {
  ASSERT_TRUE(Create());
  EXPECT_EQ(view_->GetDlgCtrlID(), 2024);
  EXPECT_EQ(platform::NextTimerDueIn(), 200);
  EXPECT_EQ(devices::capture::OpenInstances(), 0) << "capture starts only after creation";
  platform::PumpMessages();
  EXPECT_EQ(boxes_.size(), 0u);
  VCAP_START_PARAMETER expected;
  std::memset(&expected, 0, sizeof expected);
  expected.Size = 12;
  expected.Camera = 1;
  ASSERT_TRUE(devices::capture::IsRunning());
  const VCAP_START_PARAMETER sent = devices::capture::LastStart().value();
  EXPECT_EQ(std::memcmp(&sent, &expected, sizeof expected), 0);
  EXPECT_EQ(view_->SendMessage(WM_GETDLGCODE), LRESULT(DLGC_WANTALLKEYS));
}

TEST_F(LifecycleTest, TimerTicksRepaintAndRestartUnlessFrozenOrLocked) {
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  uint32_t& pixel = platform::Screen().At(40, 40);  // away from the reticle
  // Frozen, locked, both clear (the last 1 ms after a 199 ms wait: the tick is due at 200).
  for (int state : {1, 2, 0}) {
    view_->m_bSnapShot = state == 1;
    view_->m_bTimerLock = state == 2;
    pixel = 0xFFFFFF;
    platform::AdvanceTime(state ? 400 : 199);
    EXPECT_EQ(pixel, 0xFFFFFFu) << state;
  }
  platform::AdvanceTime(1);
  EXPECT_NE(pixel, 0xFFFFFFu) << "the tick repainted the view";
  EXPECT_EQ(platform::NextTimerDueIn(), 200) << "restarted after the step";
}

TEST_F(LifecycleTest, DriverThatCannotBeOpenedReportsE501AndGoesOn) {
  platform::fault::Arm("cap.open", 0, 1, /*code=*/1);  // CreateFileW answers 0
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  std::vector<std::wstring> texts;
  for (const auto& call : boxes_.calls()) texts.push_back(call.caption + L": " + call.text);
  EXPECT_EQ(texts,
            (std::vector<std::wstring>{L"ERROR: OpenCapture Error! E-501",
                                       L"ERROR: SetCapture Error! E-502",
                                       L"ERROR: StartCapture Error! E-503"}));
}

TEST_F(LifecycleTest, FullFrameGrabIsBottomUpWithComponentsInBitOrder) {
  devices::SetFrameSource(std::make_shared<MarkedSource>());
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  CDibEx image;
  view_->GetCapture(image);
  ASSERT_EQ(image.GetDimensions(), CSize(640, 480));
  auto rgb = [&](int row, int x) {
    const BYTE* p = image.m_imageBits + row * 1920 + x * 3;
    return std::vector<int>{p[0], p[1], p[2]};
  };
  EXPECT_EQ(rgb(479, 0), (std::vector<int>{255, 0, 0}));  // source row 0
  EXPECT_EQ(rgb(478, 0), (std::vector<int>{0, 0, 255}));
  EXPECT_EQ(rgb(100, 300), (std::vector<int>{131, 129, 131}));  // 16 * 255 / 31, 32 * 255 / 63
  EXPECT_TRUE(devices::capture::IsRunning()) << "live capture resumes";
}

}  // namespace
}  // namespace liveview_test
