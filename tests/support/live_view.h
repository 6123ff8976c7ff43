#pragma once
// The live view on the simulated desktop and devices; SimLiveViewTest films the simulated
// instrument.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "devices/frame_source.h"
#include "liveview/capture_wnd.h"
#include "platform/dc.h"
#include "platform/desktop.h"
#include "sim/calibration_memory.h"
#include "sim/instrument.h"
#include "tests/support/picture.h"
#include "tests/support/test_support.h"

namespace liveview_test {

// The view covers the 320 x 240 screen unless a test gives a rect: client = screen coordinates.
class LiveViewTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    devices::capture::Reset();
    devices::eeprom::Reset();
    platform::ResetDesktop();
    view_ = std::make_unique<CCaptureWnd>();
    view_->InitAppUseMessage();
  }

  void TearDown() override {
    if (view_) view_->SetPoints(nullptr);
    if (view_ && view_->GetSafeHwnd()) view_->DestroyWindow();
    view_.reset();
    platform::ResetDesktop();
    devices::SetFrameSource(nullptr);
    DeviceTest::TearDown();
  }

  // Creates the view at rect (screen coordinates) and lets capture start.
  void CreateView(RECT rect = {0, 0, 320, 240}, double base = 1.0) {
    ASSERT_TRUE(view_->Create(nullptr, rect, base, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0));
    platform::PumpMessages();
    boxes_.clear();
  }

  // The driver requests of one code since the log was cleared.
  static int Requests(DWORD code) {
    const auto& log = devices::capture::Log();
    return int(
        std::count_if(log.begin(), log.end(), [=](const auto& r) { return r.code == code; }));
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

// The live view filming the simulated instrument, whose memory holds the calibration.
class SimLiveViewTest : public LiveViewTest {
 protected:
  void Start(const sim::Calibration& c, bool every_pixel = false) {
    instrument_ = std::make_shared<sim::Instrument>();
    instrument_->SetSampleEveryPixel(every_pixel);
    instrument_->SetCalibration(c);
    devices::SetFrameSource(instrument_);
    ASSERT_TRUE(sim::WriteCalibrationToMemory(c));
    CreateView();
  }
  // Points the instrument and tells the view, as the host does.
  void Turn(double v, double h) {
    instrument_->station().SetAngles(v, h);
    const sim::Vec3 axis = instrument_->station().State().AxisPoint();
    CXYZ mp(axis.x, axis.y, axis.z);
    view_->SetMp(mp);
    view_->UpdateAngle(v, h);
  }
  // A sensor frame of one camera at the view's exposure.
  sim_test::Frame Film(int camera) {
    sim_test::Frame frame = sim_test::NewFrame();
    instrument_->Render({.camera = camera, .brightness = view_->m_StartParam.Brightness},
                        frame.data());
    return frame;
  }

  std::shared_ptr<sim::Instrument> instrument_;
};

}  // namespace liveview_test
