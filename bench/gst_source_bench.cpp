// Real video through the capture driver, on the real-time clock: the frames a
// second the driver delivers from videotestsrc and from a decoded MPEG-4 file
// at 640 x 480; the CPU time a frame of the whole path (the pipeline's
// decode, convert and scale, the pull, the paint into the screen and the
// overlays of 1,000 survey points), all threads counted; and the latency
// from a buffer leaving the pipeline to its pixels being on the screen.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "bench/survey_points.h"
#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/gst_frame_source.h"
#include "liveview/capture_wnd.h"
#include "platform/desktop.h"
#include "platform/device.h"
#include "platform/fs.h"
#include "platform/message_box.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kPoints = 1000;

// Ten seconds of moving bars as MPEG-4 in AVI, made once by gst-launch-1.0.
std::string RecordedFile() {
  static const std::string path = [] {
    const auto file = std::filesystem::temp_directory_path() / "surveycam_bench_field.avi";
    const std::string command =
        "gst-launch-1.0 -q videotestsrc num-buffers=300 pattern=smpte horizontal-speed=4 ! "
        "video/x-raw,width=640,height=480,framerate=30/1 ! avenc_mpeg4 bitrate=2000000 ! "
        "avimux ! filesink location=" +
        file.string();
    return std::system(command.c_str()) == 0 ? file.string() : std::string();
  }();
  return path;
}

std::string Pipeline(int which) {
  return which == 0 ? "videotestsrc pattern=smpte horizontal-speed=4 ! "
                      "video/x-raw,width=640,height=480,framerate=30/1"
                    : "filesrc location=" + RecordedFile() + " ! decodebin";
}

// The live view over the whole screen, filming the pipeline, with 1,000
// survey points in the wide camera's field.
struct Rig {
  explicit Rig(const std::string& pipeline) {
    const auto root = std::filesystem::temp_directory_path() / "surveycam_gst_bench";
    std::filesystem::remove_all(root);
    platform::fs::SetDeviceRoot(root.string());
    platform::SetMessageBoxHandler([](const platform::MessageBoxCall&) { return IDOK; });
    devices::RegisterAll();
    source = std::make_shared<devices::GstFrameSource>(pipeline);
    devices::SetFrameSource(source);
    platform::ResetDesktop();
    view = std::make_unique<CCaptureWnd>();
    view->InitAppUseMessage();
    view->Create(nullptr, RECT{0, 0, 320, 240}, 0.5, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0);
    platform::PumpMessages();
    CXYZ station(0, 0, 1.5);
    view->SetMp(station);
    view->UpdateAngle(90.0, 0.0);
    bench::SpreadPoints(points, kPoints);
    view->SetPoints(&points);
  }
  ~Rig() {
    view->SetPoints(nullptr);
    view->DestroyWindow();
    view.reset();
    platform::ResetDesktop();
    devices::SetFrameSource(nullptr);
  }
  // One frame: the driver's frame event (the driver pulls the newest
  // picture), then the view's paint with the video under the overlays.
  void Frame() {
    WaitForSingleObject(view->m_hCapEvent, 1000);
    view->InvalidateRect(nullptr, TRUE);
    platform::PumpMessages();
    platform::Present();
  }
  std::shared_ptr<devices::GstFrameSource> source;
  CKvoArray<CXYZ, CXYZ&> points;
  std::unique_ptr<CCaptureWnd> view;
};

void Skip(benchmark::State& state, const Rig& rig) {
  state.SkipWithError(("the pipeline did not play: " + rig.source->Error()).c_str());
}

// New pictures a second reaching the driver, over 150 frame waits.
void BM_DriverFramesPerSecond(benchmark::State& state) {
  Rig rig(Pipeline(int(state.range(0))));
  if (!rig.source->Ready(1)) return Skip(state, rig);
  rig.Frame();
  const uint64_t first = rig.source->FramesPulled();
  const auto start = Clock::now();
  for (auto _ : state) WaitForSingleObject(rig.view->m_hCapEvent, 1000);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  state.counters["fps"] = double(rig.source->FramesPulled() - first) / seconds;
  state.SetLabel(state.range(0) == 0 ? "videotestsrc" : "decoded MPEG-4 file");
}
BENCHMARK(BM_DriverFramesPerSecond)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(150)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// CPU of every thread of the process for one frame of the whole path.
void BM_WholePathCpuPerFrame(benchmark::State& state) {
  Rig rig(Pipeline(int(state.range(0))));
  if (!rig.source->Ready(1)) return Skip(state, rig);
  rig.Frame();
  for (auto _ : state) rig.Frame();
  state.SetLabel(state.range(0) == 0 ? "videotestsrc" : "decoded MPEG-4 file");
}
BENCHMARK(BM_WholePathCpuPerFrame)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(150)
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);

// From the moment the sink received a buffer to its pixels on the screen.
void BM_LatencyToScreen(benchmark::State& state) {
  Rig rig(Pipeline(0));
  if (!rig.source->Ready(1)) return Skip(state, rig);
  rig.Frame();
  double total = 0, worst = 0;
  for (auto _ : state) {
    rig.Frame();
    const double ms =
        std::chrono::duration<double, std::milli>(Clock::now() - rig.source->LastArrival()).count();
    total += ms;
    worst = std::max(worst, ms);
  }
  state.counters["mean_ms"] = total / double(state.iterations());
  state.counters["max_ms"] = worst;
}
BENCHMARK(BM_LatencyToScreen)->Iterations(150)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
