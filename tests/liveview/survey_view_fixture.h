#pragma once
// A created live view on the desktop, over the simulated devices, for the
// tests of projection, modes, exposure, snapshots and overlays.
#include <gtest/gtest.h>

#include <memory>

#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/frame_source.h"
#include "liveview/capture_wnd.h"
#include "platform/desktop.h"
#include "tests/support/test_support.h"

namespace survey_view_test {

// The view covers the whole 320 x 240 screen, so client and screen
// coordinates coincide unless a test moves it.
class SurveyViewTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    devices::capture::Reset();
    platform::ResetDesktop();
    view_ = std::make_unique<CCaptureWnd>();
    view_->InitAppUseMessage();
  }

  void TearDown() override {
    if (view_ && view_->GetSafeHwnd()) view_->DestroyWindow();
    view_.reset();
    platform::ResetDesktop();
    devices::SetFrameSource(nullptr);
    DeviceTest::TearDown();
  }

  // Creates the view at rect (screen coordinates) and lets capture start.
  void CreateView(RECT rect = {0, 0, 320, 240}) {
    ASSERT_TRUE(view_->Create(nullptr, rect, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0));
    platform::PumpMessages();
    boxes_.clear();
  }

  std::unique_ptr<CCaptureWnd> view_;
};

// A frame source that films one flat colour (5-6-5), whatever the exposure.
class FlatSource : public devices::FrameSource {
 public:
  explicit FlatSource(uint16_t pixel) : pixel_(pixel) {}
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    std::fill(pixels, pixels + devices::kFrameWidth * devices::kFrameHeight, pixel_);
  }
  uint16_t pixel_;
};

inline uint16_t Rgb565(int r5, int g6, int b5) { return uint16_t((r5 << 11) | (g6 << 5) | b5); }

}  // namespace survey_view_test
