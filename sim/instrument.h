#pragma once
// Instrument: the simulated surveying instrument as the capture driver's
// frame source. It holds the station and telescope angles, the scene and the
// calibration, and films full 640 x 480 sensor frames: camera 1 (wide)
// through the calibrated wide camera model, camera 0 (tele) along the
// telescope axis. Install it with devices::SetFrameSource.
//
// Thread safety: the host may turn the instrument (station()), change the
// scene or the calibration on one thread while the driver renders on
// another; each frame works on a consistent copy of the state.
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "devices/frame_source.h"
#include "sim/calibration.h"
#include "sim/ray_table.h"
#include "sim/scene.h"
#include "sim/station.h"

namespace sim {

class Instrument : public devices::FrameSource {
 public:
  Instrument();

  Station& station() { return station_; }
  const Station& station() const { return station_; }

  void SetCalibration(const Calibration& calibration);
  Calibration calibration() const;

  void SetScene(const Scene& scene);
  Scene scene() const;
  void AddTarget(const Target& target);
  void SetLighting(Lighting lighting);
  // Samples every pixel 2 x 2 instead of only those next to a target (four
  // times slower; frames then differ only where the scene differs).
  void SetSampleEveryPixel(bool every_pixel);

  void Render(const devices::FrameRequest& request, uint16_t* pixels) override;

  // Where the tele camera sees a point (survey axes, metres) at the present
  // pose, in continuous sensor coordinates (pixel i spans [i, i+1)): the
  // ground truth a host or a test compares the reticle with. Empty when the
  // point is behind the telescope.
  struct SensorPoint {
    double x = 0.0;
    double y = 0.0;
  };
  std::optional<SensorPoint> TeleSensorPoint(double x, double y, double z) const;

 private:
  std::shared_ptr<const RayTable> Rays(int camera);

  Station station_;
  mutable std::mutex mutex_;
  Scene scene_;
  Calibration calibration_;
  bool every_pixel_ = false;
  std::shared_ptr<const RayTable> wide_rays_;
  std::shared_ptr<const RayTable> tele_rays_;
};

}  // namespace sim
