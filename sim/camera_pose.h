#pragma once
// CameraPose: where a simulated camera is and how it is turned, for one
// instrument pose. The wide camera's pose is the live view's exterior
// orientation (its CalExt and model matrix) rebuilt with the library's own
// rotation classes; the tele camera is the telescope itself: the same
// construction with a zero offset and zero mounting angles.
//
// Eye frame as the projection pipeline has it: +x right on the sensor, +y up,
// the camera looks along -z. World frame: pipeline axes (survey X and Y
// swapped), metres.
#include "geometry/wpk.h"
#include "geometry/xyz.h"
#include "sim/station.h"
#include "sim/vec3.h"

namespace sim {

struct CameraPose {
  Vec3 centre;  // projection centre, pipeline axes, metres
  double world_from_eye[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

  // Pose of a camera mounted with offset (mm) and angles (radians) on the
  // telescope of `station`.
  static CameraPose OnTelescope(const StationState& station,
                                const CXYZ& offset_mm,
                                const CWPK& mount_angles);
  // The telescope's own pose (tele camera).
  static CameraPose Telescope(const StationState& station);

  Vec3 ToWorld(const Vec3& in_eye) const;
  Vec3 ToEye(const Vec3& in_world) const;
};

}  // namespace sim
