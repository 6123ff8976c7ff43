// The live view's life on the simulated desktop and devices: creation, the
// posted capture start, timer ticks by advancing the clock, a driver that
// cannot be opened, and the full-frame grab.
#include <cstring>

#include "image/dib_ex.h"
#include "platform/faults.h"
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

// Mid grey everywhere, with three marked pixels at the top-left corner.
class MarkedSource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    std::fill(pixels, pixels + devices::kFrameWidth * devices::kFrameHeight, uint16_t(0x8410));
    pixels[0] = 0xF800;
    pixels[1] = 0x07E0;
    pixels[devices::kFrameWidth] = 0x001F;  // second row
  }
};

class LifecycleTest : public LiveViewTest {
 protected:
  bool Create(RECT rect = {0, 0, 320, 240}) {
    return view_->Create(nullptr, rect, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0) != 0;
  }
};

TEST_F(LifecycleTest, CreationPostsInitialisationAndStartsTheFrameTimer) {
  ASSERT_TRUE(Create());
  EXPECT_EQ(view_->GetDlgCtrlID(), 2024);
  EXPECT_EQ(view_->m_nTimerID, 2025u);
  EXPECT_EQ(platform::NextTimerDueIn(), 200);
  EXPECT_EQ(platform::QueuedMessages(), 1u) << "WM_USER + 100 waits in the queue";
  EXPECT_EQ(devices::capture::OpenInstances(), 0) << "capture starts only after creation";
  platform::PumpMessages();
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_TRUE(devices::capture::IsRunning());
  VCAP_START_PARAMETER expected;
  std::memset(&expected, 0, sizeof expected);
  expected.Size = 12;
  expected.Camera = 1;
  ASSERT_TRUE(devices::capture::LastStart().has_value());
  const VCAP_START_PARAMETER sent = *devices::capture::LastStart();
  EXPECT_EQ(std::memcmp(&sent, &expected, sizeof sent), 0);
  EXPECT_EQ(view_->SendMessage(WM_GETDLGCODE), LRESULT(DLGC_WANTALLKEYS));
}

TEST_F(LifecycleTest, TimerTicksRepaintAndRestartUnlessFrozenOrLocked) {
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  uint32_t& pixel = platform::Screen().At(40, 40);  // away from the reticle
  pixel = 0xFFFFFF;
  platform::AdvanceTime(199);
  EXPECT_EQ(pixel, 0xFFFFFFu) << "no tick before 200 ms";
  platform::AdvanceTime(1);
  EXPECT_NE(pixel, 0xFFFFFFu) << "the tick repainted the view";
  EXPECT_EQ(platform::NextTimerDueIn(), 200) << "restarted after the step";
  for (int frozen : {1, 0}) {
    view_->m_bSnapShot = frozen;
    view_->m_bTimerLock = BYTE(1 - frozen);
    pixel = 0xFFFFFF;
    platform::AdvanceTime(400);
    EXPECT_EQ(pixel, 0xFFFFFFu) << "frozen or locked: the timer does nothing";
  }
  view_->m_bTimerLock = 0;
  platform::AdvanceTime(200);
  EXPECT_NE(pixel, 0xFFFFFFu);
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
  ASSERT_EQ(image.GetByteWidth(), 1920u);
  auto rgb = [&](int row, int x) {
    const BYTE* p = image.m_imageBits + row * 1920 + x * 3;
    return std::vector<int>{p[0], p[1], p[2]};
  };
  EXPECT_EQ(rgb(479, 0), (std::vector<int>{255, 0, 0}));  // source row 0
  EXPECT_EQ(rgb(479, 1), (std::vector<int>{0, 255, 0}));
  EXPECT_EQ(rgb(478, 0), (std::vector<int>{0, 0, 255}));
  // 0x8410: 16 * 255 / 31 = 131 (131.6), 32 * 255 / 63 = 129 (129.5).
  EXPECT_EQ(rgb(100, 300), (std::vector<int>{131, 129, 131}));
  EXPECT_TRUE(devices::capture::IsRunning()) << "live capture resumes";
  EXPECT_EQ(boxes_.size(), 0u);
}

}  // namespace
}  // namespace liveview_test
