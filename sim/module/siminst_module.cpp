// SIMINST: the simulated instrument behind a C interface, built as a module
// that a host loads at run time (see siminst_module.h).
#include "sim/module/siminst_module.h"

#include <memory>
#include <mutex>

#include "camera/camera.h"
#include "camera/vkr3za_calib.h"
#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "platform/device.h"
#include "platform/modules.h"
#include "sim/calibration_memory.h"
#include "sim/instrument.h"

#define SIMINST_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

std::mutex& Lock() {
  static std::mutex mutex;
  return mutex;
}

std::shared_ptr<sim::Instrument>& TheInstrument() {
  static std::shared_ptr<sim::Instrument> instrument;
  return instrument;
}

// The installed instrument, or null before SimInstInstall.
std::shared_ptr<sim::Instrument> Current() {
  std::lock_guard lock(Lock());
  return TheInstrument();
}

}  // namespace

SIMINST_EXPORT int SimInstRegisterDevices() {
  devices::RegisterAll();
  devices::capture::Reset();
  return 1;
}

SIMINST_EXPORT int SimInstUnregisterDevices() {
  platform::devices::UnregisterStreamDriver(devices::capture::kDeviceName);
  platform::modules::Unregister(devices::eeprom::kModuleName);
  platform::modules::Unregister(L"JPEG_LIB.dll");
  return 1;
}

SIMINST_EXPORT int SimInstInstall() {
  auto instrument = std::make_shared<sim::Instrument>();
  {
    std::lock_guard lock(Lock());
    TheInstrument() = instrument;
  }
  devices::SetFrameSource(instrument);
  return 1;
}

SIMINST_EXPORT int SimInstUninstall() {
  devices::SetFrameSource(nullptr);
  std::lock_guard lock(Lock());
  TheInstrument().reset();
  return 1;
}

SIMINST_EXPORT int SimInstSetStation(double x, double y, double z, double height) {
  auto instrument = Current();
  if (!instrument || height < 0.0) return 0;
  instrument->station().SetPosition(x, y, z);
  instrument->station().SetInstrumentHeight(height);
  return 1;
}

SIMINST_EXPORT int SimInstSetAngles(double v, double h) {
  auto instrument = Current();
  if (!instrument) return 0;
  instrument->station().SetAngles(v, h);
  return 1;
}

SIMINST_EXPORT int SimInstAddTarget(
    const wchar_t* name, double x, double y, double z, double half_size) {
  auto instrument = Current();
  if (!instrument || !(half_size > 0.0)) return 0;
  sim::Target target;
  target.name = name ? name : L"";
  target.x = x;
  target.y = y;
  target.z = z;
  target.half_size = half_size;
  instrument->AddTarget(target);
  return 1;
}

SIMINST_EXPORT int SimInstClearTargets() {
  auto instrument = Current();
  if (!instrument) return 0;
  sim::Scene scene = instrument->scene();
  scene.ClearTargets();
  instrument->SetScene(scene);
  return 1;
}

SIMINST_EXPORT int SimInstSetLighting(int lighting) {
  auto instrument = Current();
  if (!instrument || lighting < 0 || lighting > 2) return 0;
  const sim::Lighting values[] = {
      sim::Lighting::kNormal, sim::Lighting::kDark, sim::Lighting::kBright};
  instrument->SetLighting(values[lighting]);
  return 1;
}

SIMINST_EXPORT int SimInstSetSampleEveryPixel(int every_pixel) {
  auto instrument = Current();
  if (!instrument) return 0;
  instrument->SetSampleEveryPixel(every_pixel != 0);
  return 1;
}

SIMINST_EXPORT int SimInstStoreCalibration(const CCamera* camera, const VKR3ZA_CALIB* orient) {
  auto instrument = Current();
  if (!instrument || !camera || !orient) return 0;
  const sim::Calibration c = sim::CalibrationFromFiles(*camera, *orient);
  instrument->SetCalibration(c);
  return sim::WriteCalibrationToMemory(c) ? 1 : 0;
}

SIMINST_EXPORT int SimInstTeleSensorPoint(
    double x, double y, double z, double* sensor_x, double* sensor_y) {
  auto instrument = Current();
  if (!instrument || !sensor_x || !sensor_y) return 0;
  auto seen = instrument->TeleSensorPoint(x, y, z);
  if (!seen) return 0;
  *sensor_x = seen->x;
  *sensor_y = seen->y;
  return 1;
}
