// The live view's life on the simulated desktop and devices: creation, the
// posted capture start, timer ticks by advancing the clock, a driver that
// cannot be opened, the still grabs, destruction, and screenshots of the view.
#include "liveview/capture_wnd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "devices/frame_source.h"
#include "image/dib_ex.h"
#include "platform/desktop.h"
#include "platform/faults.h"
#include "platform/modules.h"
#include "tests/support/live_view.h"
#include "tests/support/screenshot.h"

namespace {

constexpr uint32_t kKey = 0x404040;

// Mid grey everywhere, with three marked pixels at the top-left corner.
class MarkedSource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    std::fill(pixels, pixels + devices::kFrameWidth * devices::kFrameHeight, uint16_t(0x8410));
    pixels[0] = 0xF800;                     // bits 15-11 full
    pixels[1] = 0x07E0;                     // bits 10-5 full
    pixels[devices::kFrameWidth] = 0x001F;  // bits 4-0 full, second row
  }
};

class LifecycleTest : public liveview_test::LiveViewTest {
 protected:
  bool Create(RECT rect = {0, 0, 320, 240}) {
    return view_->Create(nullptr, rect, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0) != 0;
  }
};

TEST_F(LifecycleTest, CreationPostsInitialisationAndStartsTheFrameTimer) {
  ASSERT_TRUE(Create());
  EXPECT_EQ(view_->GetDlgCtrlID(), 2024);
  EXPECT_EQ(view_->m_nTimerID, 2025u);
  EXPECT_EQ(platform::RunningTimers(), 1u);
  EXPECT_EQ(platform::NextTimerDueIn(), 200);
  EXPECT_EQ(platform::QueuedMessages(), 1u) << "WM_USER + 100 waits in the queue";
  EXPECT_EQ(devices::capture::OpenInstances(), 0) << "capture starts only after creation";

  platform::PumpMessages();
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(devices::capture::OpenInstances(), 1);
  EXPECT_TRUE(devices::capture::IsRunning());
  EXPECT_NE(view_->m_hCapEvent, nullptr);
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
  platform::Framebuffer& screen = platform::Screen();
  const int x = 40, y = 40;  // away from the reticle

  screen.At(x, y) = 0xFFFFFF;
  platform::AdvanceTime(199);
  EXPECT_EQ(screen.At(x, y), 0xFFFFFFu) << "no tick before 200 ms";
  platform::AdvanceTime(1);
  EXPECT_NE(screen.At(x, y), 0xFFFFFFu) << "the tick repainted the view";
  EXPECT_EQ(platform::NextTimerDueIn(), 200) << "restarted after the step";
  EXPECT_EQ(view_->m_bInTimer, 0);

  view_->m_bSnapShot = 1;
  screen.At(x, y) = 0xFFFFFF;
  platform::AdvanceTime(400);
  EXPECT_EQ(screen.At(x, y), 0xFFFFFFu) << "frozen picture: the timer does nothing";
  view_->m_bSnapShot = 0;
  view_->m_bTimerLock = 1;
  platform::AdvanceTime(400);
  EXPECT_EQ(screen.At(x, y), 0xFFFFFFu) << "locked by corner detection";
  view_->m_bTimerLock = 0;
  platform::AdvanceTime(200);
  EXPECT_NE(screen.At(x, y), 0xFFFFFFu);
  EXPECT_EQ(platform::RunningTimers(), 1u);
}

TEST_F(LifecycleTest, DriverThatCannotBeOpenedReportsE501AndGoesOn) {
  platform::fault::Arm("cap.open", 0, 1, /*code=*/1);  // CreateFileW answers 0
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  // Without a device the display and start requests fail too; each is shown.
  std::vector<std::wstring> texts;
  for (const auto& call : boxes_.calls()) texts.push_back(call.text);
  EXPECT_EQ(
      texts,
      (std::vector<std::wstring>{
          L"OpenCapture Error! E-501", L"SetCapture Error! E-502", L"StartCapture Error! E-503"}));
  for (const auto& call : boxes_.calls()) {
    EXPECT_EQ(call.caption, L"ERROR");
    EXPECT_EQ(call.owner, view_->m_hWnd);
  }
  EXPECT_NE(view_->m_pVCap, nullptr);
}

TEST_F(LifecycleTest, DestructionStopsTimerCaptureAndFreesTheModule) {
  const long modulesBefore = platform::modules::LoadedModules();
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  view_->DestroyWindow();
  EXPECT_EQ(platform::RunningTimers(), 0u) << "OnDestroy kills the timer";
  EXPECT_TRUE(devices::capture::IsRunning()) << "capture runs until the object goes";
  view_.reset();
  EXPECT_FALSE(devices::capture::IsRunning());
  EXPECT_EQ(devices::capture::OpenInstances(), 0);
  EXPECT_EQ(platform::modules::LoadedModules(), modulesBefore - 1);
}

TEST_F(LifecycleTest, FullFrameGrabIsBottomUpWithComponentsInBitOrder) {
  devices::SetFrameSource(std::make_shared<MarkedSource>());
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  CDibEx image;
  view_->GetCapture(image);
  ASSERT_EQ(image.GetDimensions(), CSize(640, 480));
  ASSERT_EQ(image.GetByteWidth(), 1920u);
  const BYTE* last = image.m_imageBits + 479 * 1920;  // source row 0
  const BYTE* prev = image.m_imageBits + 478 * 1920;  // source row 1
  EXPECT_EQ((std::vector<int>{last[0], last[1], last[2]}), (std::vector<int>{255, 0, 0}));
  EXPECT_EQ((std::vector<int>{last[3], last[4], last[5]}), (std::vector<int>{0, 255, 0}));
  EXPECT_EQ((std::vector<int>{prev[0], prev[1], prev[2]}), (std::vector<int>{0, 0, 255}));
  // 0x8410: 16 * 255 / 31 = 131 (131.6), 32 * 255 / 63 = 129 (129.5).
  const BYTE* grey = image.m_imageBits + 100 * 1920 + 300 * 3;
  EXPECT_EQ((std::vector<int>{grey[0], grey[1], grey[2]}), (std::vector<int>{131, 129, 131}));
  EXPECT_TRUE(devices::capture::IsRunning()) << "live capture resumes";
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(LifecycleTest, DisplayGrabReadsTheClientAreaOnScreen) {
  ASSERT_TRUE(Create({10, 20, 210, 170}));
  platform::PumpMessages();
  devices::capture::ClearLog();
  CDibEx image;
  view_->GetCaptureDisplay(image);
  EXPECT_EQ(image.GetDimensions(), CSize(200, 150));
  bool found = false;
  for (const auto& r : devices::capture::Log()) {
    if (r.code != IOCTL_VCAP_GET_CAPTURE_RECT) continue;
    found = true;
    EXPECT_EQ(r.in_size, 1u);
    EXPECT_EQ(r.out_size, 200u * 150u * 2u);
    ASSERT_EQ(r.input.size(), sizeof(RECT));
    RECT rect;
    std::memcpy(&rect, r.input.data(), sizeof rect);
    EXPECT_EQ(CRect(rect), CRect(10, 20, 210, 170));
  }
  EXPECT_TRUE(found);
}

TEST_F(LifecycleTest, DisplayGrabLargerThanTheDeviceScreenDoesNotOverrun) {
  platform::ResizeScreen(640, 480);
  ASSERT_TRUE(Create({0, 0, 600, 400}));
  platform::PumpMessages();
  CDibEx image;
  view_->GetCaptureDisplay(image);
  EXPECT_EQ(image.GetDimensions(), CSize(600, 400));
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(LifecycleTest, ScreenshotShowsLivePictureUnderTheReticle) {
  devices::SetFrameSource(
      std::make_shared<liveview_test::FlatSource>(uint16_t(0xF800)));  // first component full
  ASSERT_TRUE(Create());
  platform::PumpMessages();
  platform::AdvanceTime(200);
  const std::string path = testing_support::SaveScreenshot("liveview_reticle");
  EXPECT_FALSE(path.empty());
  const platform::Framebuffer& screen = platform::Screen();
  // Reticle of a 320 x 240 client: centre (160, 120).
  const std::vector<std::pair<int, int>> reticle{{160, 120},
                                                 {155, 120},
                                                 {165, 120},
                                                 {160, 115},
                                                 {160, 125},  // centre cross
                                                 {0, 118},
                                                 {148, 118},
                                                 {0, 122},
                                                 {148, 122},  // doubled left arm
                                                 {172, 120},
                                                 {319, 120},  // right arm
                                                 {160, 0},
                                                 {160, 108},  // top arm
                                                 {158, 132},
                                                 {158, 239},
                                                 {162, 132},
                                                 {162, 239}};  // doubled bottom arm
  for (auto [x, y] : reticle) EXPECT_EQ(screen.At(x, y), 0u) << x << "," << y;
  // Ends not drawn and gaps in the reticle show the picture.
  for (auto [x, y] : std::vector<std::pair<int, int>>{
           {149, 118}, {166, 120}, {160, 126}, {160, 109}, {171, 120}}) {
    EXPECT_NE(screen.At(x, y), 0u) << x << "," << y;
  }
  // Inside the live picture: video, not the key colour.
  std::set<uint32_t> colours;
  for (int y = 10; y < 100; y += 7)
    for (int x = 10; x < 140; x += 9) colours.insert(screen.At(x, y));
  EXPECT_EQ(colours.count(kKey), 0u);
  ASSERT_EQ(colours.size(), 1u);
  EXPECT_EQ(*colours.begin(), devices::Unpack565(0xF800))
      << "the frame's colour as the driver shows it";
}

}  // namespace
