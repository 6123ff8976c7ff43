// The simulated instrument's cost per frame: the capture driver renders one
// frame per 200 ms timer tick at most, so a frame must stay far below that.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "sim/instrument.h"
#include "sim/ray_table.h"

namespace {

// A site like the default session's: 20 targets in a ring, four buildings,
// the wide camera with realistic radial and decentring distortion.
void BuildSite(sim::Instrument& instrument) {
  sim::Calibration c;
  c.dist.SetDistModel(DIST_RADIAL_DECENTER);
  const double p[] = {-0.00812, 0.000293, 0.000417, -0.000268};
  for (int i = 0; i < 4; ++i) c.dist.AddPara(i, p[i]);
  c.ccd_offset = CXYZ(52.4, -31.2, 12.7);
  c.ccd_angle = CWPK(0.0213, -0.0148, 0.0097);
  instrument.SetCalibration(c);
  instrument.station().SetPosition(1000.0, 2000.0, 50.0);
  instrument.station().SetAngles(89.0, 20.0);
  sim::Scene scene;
  scene.set_ground_z(50.0);
  for (int k = 0; k < 20; ++k) {
    double a = k * 0.31415926;
    double d = 15.0 + 4.0 * k;
    scene.AddTarget(
        {L"T", 1000.0 + d * std::cos(a), 2000.0 + d * std::sin(a), 51.0 + 0.1 * k, 0.3});
  }
  scene.AddBuilding({1060.0, 1080.0, 2010.0, 2040.0, 50.0, 65.0});
  scene.AddBuilding({1040.0, 1050.0, 2045.0, 2060.0, 50.0, 58.0, 0.7f, 0.45f, 0.35f});
  scene.AddBuilding({950.0, 970.0, 2030.0, 2050.0, 50.0, 70.0});
  scene.AddBuilding({1100.0, 1130.0, 1950.0, 1970.0, 50.0, 62.0, 0.55f, 0.6f, 0.65f});
  instrument.SetScene(scene);
}

void BM_RenderFrame(benchmark::State& state, int camera) {
  sim::Instrument instrument;
  BuildSite(instrument);
  std::vector<uint16_t> frame(640 * 480);
  devices::FrameRequest request;
  request.camera = camera;
  instrument.Render(request, frame.data());  // builds the ray table once
  double h = 20.0;
  for (auto _ : state) {
    instrument.station().SetAngles(89.0, h);
    h += 0.5;  // a turning instrument: a new pose every frame
    instrument.Render(request, frame.data());
    benchmark::DoNotOptimize(frame.data());
  }
  state.SetItemsProcessed(state.iterations() * 640 * 480);
}
BENCHMARK_CAPTURE(BM_RenderFrame, tele, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RenderFrame, wide, 1)->Unit(benchmark::kMillisecond);

// Once per calibration change: the lens model at every pixel.
void BM_BuildWideRayTable(benchmark::State& state) {
  sim::Calibration c;
  c.dist.SetDistModel(DIST_RADIAL3_DECENTER);
  const double p[] = {-0.00774, 0.000351, -0.0000137, -0.000321, 0.000244};
  for (int i = 0; i < 5; ++i) c.dist.AddPara(i, p[i]);
  for (auto _ : state) benchmark::DoNotOptimize(sim::RayTable::Wide(c));
}
BENCHMARK(BM_BuildWideRayTable)->Unit(benchmark::kMillisecond);

}  // namespace
