// The survey view's per-tick work: painting 10,000 projected survey points on
// the wide camera (projection, lens inversion with distortion model 2,
// drawing), the lens inversion alone over the same image points (its share of
// the paint), one automatic-exposure step, and saving a snapshot as JPEG.
#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <vector>

#include "bench/survey_points.h"
#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/frame_source.h"
#include "liveview/capture_wnd.h"
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/fs.h"
#include "platform/message_box.h"
#include "platform/registry.h"

namespace {

constexpr int kPoints = 10000;

class GreySource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    for (int i = 0; i < devices::kFrameWidth * devices::kFrameHeight; ++i)
      pixels[i] = uint16_t(0x8410 + (i % 7));
  }
};

// A live view on the simulated devices with a model-2 wide camera.
struct Bench {
  Bench() {
    const auto root = std::filesystem::temp_directory_path() / "surveycam_survey_view_bench";
    std::filesystem::remove_all(root);
    platform::fs::SetDeviceRoot(root.string());
    platform::SetMessageBoxHandler([](const platform::MessageBoxCall&) { return IDOK; });
    SYSTEMTIME t{2024, 5, 5, 3, 14, 7, 9, 0};
    platform::clock::SetLocal(t);
    devices::RegisterAll();
    devices::SetFrameSource(std::make_shared<GreySource>());
    platform::ResetDesktop();
    view = std::make_unique<CCaptureWnd>();
    view->InitAppUseMessage();
    view->Create(nullptr, RECT{0, 0, 320, 240}, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0);
    platform::PumpMessages();
    CDist& dist = view->m_Camera.Dist;
    dist.SetDistModel(DIST_RADIAL_DECENTER);
    dist.AddPara(0, -2.1e-3);  // K1 [1/mm^2]: about 4 pixels at the corner
    dist.AddPara(1, 1.4e-5);
    dist.AddPara(2, 1.2e-4);  // P1, P2
    dist.AddPara(3, -6.0e-5);
    view->m_CcdOffset.SetXYZ(42.0, -18.0, 65.0);
    view->m_CcdAngle.SetWPK(0.0041, -0.0032, 0.0057);
    CXYZ station(0, 0, 1.5);
    view->SetMp(station);
    view->UpdateAngle(90.0, 0.0);
    bench::SpreadPoints(points, kPoints);
    view->SetPoints(&points);
  }
  ~Bench() {
    view->SetPoints(nullptr);
    view->DestroyWindow();
    view.reset();
    platform::ResetDesktop();
    devices::SetFrameSource(nullptr);
  }
  CKvoArray<CXYZ, CXYZ&> points;
  std::unique_ptr<CCaptureWnd> view;
};

Bench& TheBench() {
  static Bench bench;
  return bench;
}

void BM_PaintTenThousandPoints(benchmark::State& state) {
  Bench& b = TheBench();
  for (auto _ : state) {
    b.view->InvalidateRect(nullptr, FALSE);
    b.view->UpdateWindow();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(BM_PaintTenThousandPoints)->Unit(benchmark::kMillisecond);

// The lens inversion of the same 10,000 image points, as XYZtoScr asks it.
void BM_CalDistInvTenThousand(benchmark::State& state) {
  Bench& b = TheBench();
  std::vector<std::pair<double, double>> image_points;
  b.view->m_Proj.BeginTrans(0);
  for (int i = 0; i < kPoints; ++i) {
    const CXYZ& p = b.points[i];
    double u = 0, v = 0, depth = 0;
    int visible = 0;
    const double x = p.Y * 1000, y = p.X * 1000, z = p.Z * 1000;
    b.view->m_Proj.Transform(x, y, z, u, v, depth, visible);
    image_points.emplace_back(u, v);
  }
  const double tol = b.view->m_Camera.Resolution.X * 0.1;
  for (auto _ : state) {
    for (const auto& [u, v] : image_points) {
      double du = 0, dv = 0;
      benchmark::DoNotOptimize(b.view->m_Camera.Dist.CalDistInv(u, v, du, dv, tol));
      benchmark::DoNotOptimize(du);
    }
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(BM_CalDistInvTenThousand)->Unit(benchmark::kMillisecond);

void BM_AutoExposureStep(benchmark::State& state) {
  Bench& b = TheBench();
  b.view->m_nAEMode = 1;
  for (auto _ : state) {
    b.view->m_StartParam.Brightness = 0;
    benchmark::DoNotOptimize(b.view->AE_Adjust());
  }
  b.view->m_nAEMode = 0;
}
BENCHMARK(BM_AutoExposureStep)->Unit(benchmark::kMicrosecond);

void BM_WriteJpeg(benchmark::State& state) {
  Bench& b = TheBench();
  platform::registry::SetString(
      L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\Storage Card");
  CreateDirectoryW(L"\\Storage Card", nullptr);
  for (auto _ : state) benchmark::DoNotOptimize(b.view->WriteJpeg());
}
BENCHMARK(BM_WriteJpeg)->Unit(benchmark::kMillisecond);

}  // namespace
