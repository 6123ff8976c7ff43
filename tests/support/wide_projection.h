#pragma once
// Where the simulated wide camera sees a point, from the simulator's own pose and lens model.
#include <optional>

#include "sim/calibration.h"
#include "sim/camera_pose.h"
#include "sim/station.h"

namespace sim_test {

struct SensorPoint {
  double px = 0.0;  // continuous sensor coordinates: pixel i spans [i, i+1)
  double py = 0.0;
  int visible = 0;
};

// A point in pipeline axes (m); empty behind the camera, not visible outside the sensor.
inline std::optional<SensorPoint> LibraryProject(
    const sim::Calibration& c, const sim::StationState& station, double x, double y, double z) {
  const sim::CameraPose pose = sim::CameraPose::OnTelescope(station, c.ccd_offset, c.ccd_angle);
  const sim::Vec3 eye = pose.ToEye(sim::Vec3{x, y, z} - pose.centre);
  if (!(eye.z < 0.0)) return std::nullopt;
  // The renderer shoots the ray (s + d(s), -f) through sensor point s: iterate to the eye
  // direction.
  const double ux = c.focal_length * eye.x / -eye.z, uy = c.focal_length * eye.y / -eye.z;
  double sx = ux, sy = uy;
  for (int i = 0; i < 50; ++i) {
    double dx = 0.0, dy = 0.0;
    c.dist.CalDist(sx, sy, dx, dy);
    sx = ux - dx;
    sy = uy - dy;
  }
  SensorPoint p{(sx + c.principal_x) / c.resolution_x, (c.principal_y - sy) / c.resolution_y};
  p.visible = p.px >= 0.0 && p.px <= 640.0 && p.py >= 0.0 && p.py <= 480.0;
  return p;
}

}  // namespace sim_test
