#pragma once
// The live view's own chain from a survey point to a sensor pixel, put
// together from the library's classes the way the capture window does it:
// frustum from the interior orientation, exterior orientation from the
// instrument's angles and the camera's offset and mounting angles, model
// matrix by Translate / RotateZ / RotateY / RotateX, Transform, lens
// inversion with a tenth of a pixel tolerance, then principal point and
// pixel size.
#include <optional>

#include "geometry/rot.h"
#include "geometry/wpk.h"
#include "geometry/xyz.h"
#include "projection/projection_cap.h"
#include "sim/calibration.h"
#include "sim/station.h"

namespace sim_test {

struct SensorPoint {
  double px = 0.0;
  double py = 0.0;
  int visible = 0;
};

// The camera's position (mm) and W*P*K angles, as CalExt computes them.
inline void LibraryCalExt(const CXYZ& station_mm,
                          double v_deg,
                          double h_deg,
                          const CXYZ& offset,
                          const CWPK& mount,
                          CXYZ& position,
                          CWPK& angles) {
  const double pi = 3.141592653589793;
  CWPK telescope((180.0 - v_deg) * pi / 180.0, 0.0, (360.0 - h_deg) * pi / 180.0);
  telescope.Normalize();
  CRot r1;
  r1.SetMatrix(ROT_WPK, telescope);
  CXYZ rotated;
  r1.Rotate(offset, rotated);
  position = station_mm + rotated;
  CWPK mount_copy = mount;
  mount_copy.Normalize();
  CRot r2;
  r2.SetMatrix(ROT_WPK, mount_copy);
  CRot r = r1 * r2;
  r.T();
  r.CalAngle(ROT_KPW, angles);
}

// Projects a point given in pipeline axes (metres) for the wide camera.
inline std::optional<SensorPoint> LibraryProject(
    const sim::Calibration& c, const sim::StationState& station, double x, double y, double z) {
  CProjection_Cap proj;
  proj.SetPrjMatrix(-c.principal_x,
                    640 * c.resolution_x - c.principal_x,
                    c.principal_y,
                    c.principal_y - 480 * c.resolution_y,
                    c.focal_length,
                    1000000.0);
  sim::Vec3 mp = station.AxisPoint();  // what the host hands to SetMp
  CXYZ position;
  CWPK angles;
  LibraryCalExt(CXYZ(mp.x * 1000, mp.y * 1000, mp.z * 1000),
                station.v_deg,
                station.h_deg,
                c.ccd_offset,
                c.ccd_angle,
                position,
                angles);
  proj.InitMatrix(MATRIX_MODEL);
  proj.Translate(-position.X, -position.Y, -position.Z);
  proj.RotateZ(angles.kappa);
  proj.RotateY(angles.phi);
  proj.RotateX(angles.omega);
  proj.BeginTrans(0);

  double u = 0, v = 0, depth = 0;
  int visible = 0;
  if (!proj.Transform(x * 1000, y * 1000, z * 1000, u, v, depth, visible)) return std::nullopt;
  double du = 0, dv = 0;
  if (!c.dist.CalDistInv(u, v, du, dv, c.resolution_x * 0.1)) du = dv = 0;
  return SensorPoint{(u + du + c.principal_x) / c.resolution_x,
                     (c.principal_y - (v + dv)) / c.resolution_y,
                     visible};
}

}  // namespace sim_test
