// The live view's frame loop: one 200 ms timer step of an idle view (timer
// dispatch, exposure measurement, erase and overlay paint, the driver's
// present), and the 5-6-5 to 24-bit conversion of a full-frame grab beside a
// memcpy of its 921600 output bytes. Figures are read as ratios in one run.
#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/frame_source.h"
#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/faults.h"
#include "platform/fs.h"
#include "platform/message_box.h"

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr size_t kOutputBytes = size_t(kWidth) * kHeight * 3;

// A created, running view on the full 320 x 240 screen over the simulated
// devices, in its own device root.
enum class Driver { kPattern, kStillFrame, kNone };

// A sensor that hands over the same stored frame every time: the driver's
// work (reverse, present into the screen) without the cost of rendering one.
class StillFrame final : public devices::FrameSource {
 public:
  StillFrame() : frame_(size_t(devices::kFrameWidth) * devices::kFrameHeight) {
    std::mt19937 rng(3);
    for (auto& p : frame_) p = uint16_t(rng());
  }
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    std::memcpy(pixels, frame_.data(), frame_.size() * sizeof(uint16_t));
  }

 private:
  std::vector<uint16_t> frame_;
};

struct IdleView {
  explicit IdleView(Driver driver = Driver::kPattern) {
    const auto root = std::filesystem::temp_directory_path() / "surveycam-liveview-bench";
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root);
    platform::fs::SetDeviceRoot(root.string());
    platform::SetMessageBoxHandler([](const platform::MessageBoxCall&) { return IDOK; });
    platform::clock::SetLocal(SYSTEMTIME{2024, 5, 5, 3, 14, 7, 9, 0});
    devices::RegisterAll();
    devices::capture::Reset();
    platform::ResetDesktop();
    // Without the driver (its open refused) the step is the library's and the
    // platform's work alone: no frames are rendered and none painted.
    if (driver == Driver::kNone) platform::fault::Arm("cap.open", 0, 1, /*code=*/1);
    if (driver == Driver::kStillFrame) devices::SetFrameSource(std::make_shared<StillFrame>());
    view = std::make_unique<CCaptureWnd>();
    view->InitAppUseMessage();
    view->Create(nullptr, RECT{0, 0, 320, 240}, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0);
    platform::PumpMessages();
  }
  ~IdleView() {
    view.reset();
    platform::fault::DisarmAll();
    devices::SetFrameSource(nullptr);
    platform::ResetDesktop();
    platform::SetMessageBoxHandler({});
  }
  std::unique_ptr<CCaptureWnd> view;
};

void BM_TimerStepIdleView(benchmark::State& state, Driver driver) {
  IdleView idle(driver);
  for (auto _ : state) {
    platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);  // exactly one tick
    benchmark::DoNotOptimize(platform::Screen().pixels.data());
  }
  state.SetLabel("one WM_TIMER + paint + present");
}
BENCHMARK_CAPTURE(BM_TimerStepIdleView, pattern_driver, Driver::kPattern)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_TimerStepIdleView, still_frame_driver, Driver::kStillFrame)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_TimerStepIdleView, no_driver, Driver::kNone)->Unit(benchmark::kMicrosecond);

std::vector<WORD> RandomFrame() {
  std::vector<WORD> frame(size_t(kWidth) * kHeight);
  std::mt19937 random(7);
  for (WORD& p : frame) p = WORD(random());
  return frame;
}

void BM_ConvertFrame(benchmark::State& state) {
  const std::vector<WORD> frame = RandomFrame();
  std::vector<BYTE> bits(kOutputBytes);
  for (auto _ : state) {
    CCaptureWnd::ConvertFrame(frame.data(), kWidth, kHeight, bits.data(), kWidth * 3);
    benchmark::DoNotOptimize(bits.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kOutputBytes));
}
BENCHMARK(BM_ConvertFrame)->Unit(benchmark::kMicrosecond);

void BM_MemcpyOutputBytes(benchmark::State& state) {
  std::vector<BYTE> source(kOutputBytes, 0x5A);
  std::vector<BYTE> bits(kOutputBytes);
  for (auto _ : state) {
    std::memcpy(bits.data(), source.data(), kOutputBytes);
    benchmark::DoNotOptimize(bits.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kOutputBytes));
}
BENCHMARK(BM_MemcpyOutputBytes)->Unit(benchmark::kMicrosecond);

// The whole grab: three frames from the simulated driver, the read and the
// conversion into a CDibEx.
void BM_GetCapture(benchmark::State& state) {
  IdleView idle;
  for (auto _ : state) {
    CDibEx image;
    idle.view->GetCapture(image);
    benchmark::DoNotOptimize(image.m_imageBits);
  }
}
BENCHMARK(BM_GetCapture)->Unit(benchmark::kMillisecond);

}  // namespace
