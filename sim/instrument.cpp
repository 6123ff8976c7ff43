#include "sim/instrument.h"

#include "sim/camera_pose.h"
#include "sim/exposure.h"
#include "sim/renderer.h"

namespace sim {

Instrument::Instrument() = default;

void Instrument::SetCalibration(const Calibration& calibration) {
  std::lock_guard lock(mutex_);
  calibration_ = calibration;
  wide_rays_.reset();
  tele_rays_.reset();
}

Calibration Instrument::calibration() const {
  std::lock_guard lock(mutex_);
  return calibration_;
}

void Instrument::SetScene(const Scene& scene) {
  std::lock_guard lock(mutex_);
  scene_ = scene;
}

Scene Instrument::scene() const {
  std::lock_guard lock(mutex_);
  return scene_;
}

void Instrument::AddTarget(const Target& target) {
  std::lock_guard lock(mutex_);
  scene_.AddTarget(target);
}

void Instrument::SetLighting(Lighting lighting) {
  std::lock_guard lock(mutex_);
  scene_.SetLighting(lighting);
}

void Instrument::SetSampleEveryPixel(bool every_pixel) {
  std::lock_guard lock(mutex_);
  every_pixel_ = every_pixel;
}

// Built on first use after a calibration change; the table is shared so a
// frame in progress keeps its own even when the calibration changes.
std::shared_ptr<const RayTable> Instrument::Rays(int camera) {
  std::shared_ptr<const RayTable>& slot = camera == 0 ? tele_rays_ : wide_rays_;
  if (!slot) {
    slot = std::make_shared<const RayTable>(camera == 0 ? RayTable::Tele(calibration_)
                                                        : RayTable::Wide(calibration_));
  }
  return slot;
}

void Instrument::Render(const devices::FrameRequest& request, uint16_t* pixels) {
  StationState state = station_.State();
  std::shared_ptr<const RayTable> rays;
  Scene scene;
  CameraPose pose;
  bool every_pixel = false;
  {
    std::lock_guard lock(mutex_);
    rays = Rays(request.camera);
    scene = scene_;
    every_pixel = every_pixel_;
    pose = request.camera == 0
               ? CameraPose::Telescope(state)
               : CameraPose::OnTelescope(state, calibration_.ccd_offset, calibration_.ccd_angle);
  }
  Exposure exposure(scene.illumination() * Exposure::Gain(request.brightness));
  Renderer(scene, pose, state.AxisPoint()).Render(*rays, exposure, pixels, every_pixel);
}

std::optional<Instrument::SensorPoint> Instrument::TeleSensorPoint(double x,
                                                                   double y,
                                                                   double z) const {
  const StationState state = station_.State();
  const CameraPose pose = CameraPose::Telescope(state);
  const Calibration c = calibration();
  // Survey axes -> pipeline axes (first two swapped), relative to the camera.
  const Vec3 eye = pose.ToEye(Vec3{y, x, z} - pose.centre);
  if (!(eye.z < 0.0)) return std::nullopt;
  // The optical axis passes through the middle of the tele centre pixel.
  const double scale_x = RayTable::kTelescopeFocalLength / c.resolution_x;
  const double scale_y = RayTable::kTelescopeFocalLength / c.resolution_y;
  return SensorPoint{c.tele_center_x + 0.5 + scale_x * eye.x / -eye.z,
                     c.tele_center_y + 0.5 - scale_y * eye.y / -eye.z};
}

}  // namespace sim
