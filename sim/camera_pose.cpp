#include "sim/camera_pose.h"

#include <cmath>

#include "geometry/rot.h"

namespace sim {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kDegToRad = kPi * (1.0 / 180.0);

}  // namespace

CameraPose CameraPose::OnTelescope(const StationState& station,
                                   const CXYZ& offset_mm,
                                   const CWPK& mount_angles) {
  // The live view's exterior orientation: telescope rotation R1 from V and H,
  // camera position = axis point + R1 * offset, camera rotation R1 * R2.
  CWPK telescope_angles(
      (180.0 - station.v_deg) * kDegToRad, 0.0, (360.0 - station.h_deg) * kDegToRad);
  telescope_angles.Normalize();
  CRot telescope;
  telescope.SetMatrix(ROT_WPK, telescope_angles);

  Vec3 axis = station.AxisPoint();
  CXYZ axis_mm(axis.x * 1000.0, axis.y * 1000.0, axis.z * 1000.0);
  CXYZ offset_in_world;
  telescope.Rotate(offset_mm, offset_in_world);
  CXYZ position_mm = axis_mm + offset_in_world;

  CWPK mount = mount_angles;
  mount.Normalize();
  CRot mounting;
  mounting.SetMatrix(ROT_WPK, mount);
  CRot eye_from_world_rot = telescope * mounting;
  eye_from_world_rot.T();

  // The pipeline keeps the rotation as W*P*K angles and rebuilds it with
  // RotateZ, RotateY, RotateX; going through the same angles keeps the
  // simulator on exactly the matrix the library uses.
  CWPK eye_angles;
  eye_from_world_rot.CalAngle(ROT_KPW, eye_angles);
  CRot eye_from_world;
  eye_from_world.SetMatrix(ROT_KPW, eye_angles);

  CameraPose pose;
  pose.centre = {position_mm.X / 1000.0, position_mm.Y / 1000.0, position_mm.Z / 1000.0};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) pose.world_from_eye[r][c] = eye_from_world.m[c][r];
  }
  return pose;
}

CameraPose CameraPose::Telescope(const StationState& station) {
  return OnTelescope(station, CXYZ(0.0, 0.0, 0.0), CWPK(0.0, 0.0, 0.0));
}

Vec3 CameraPose::ToWorld(const Vec3& e) const {
  const auto& m = world_from_eye;
  return {m[0][0] * e.x + m[0][1] * e.y + m[0][2] * e.z,
          m[1][0] * e.x + m[1][1] * e.y + m[1][2] * e.z,
          m[2][0] * e.x + m[2][1] * e.y + m[2][2] * e.z};
}

Vec3 CameraPose::ToEye(const Vec3& w) const {
  const auto& m = world_from_eye;
  return {m[0][0] * w.x + m[1][0] * w.y + m[2][0] * w.z,
          m[0][1] * w.x + m[1][1] * w.y + m[2][1] * w.z,
          m[0][2] * w.x + m[1][2] * w.y + m[2][2] * w.z};
}

}  // namespace sim
