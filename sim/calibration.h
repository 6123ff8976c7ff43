#pragma once
// Calibration: the camera calibration the simulated instrument films with,
// the same values the live view reads from the calibration memory: interior
// orientation of the wide camera (focal length, principal point and pixel
// size in millimetres, lens distortion), the wide camera's offset from the
// telescope's axis point (millimetres, pipeline axes of the telescope frame)
// and mounting angles (radians), and the image centres of both cameras in
// sensor pixels. The defaults are the library's defaults.
#include "camera/dist.h"
#include "geometry/wpk.h"
#include "geometry/xyz.h"

namespace sim {

struct Calibration {
  double focal_length = 8.0;     // mm
  double principal_x = 1.792;    // mm from the sensor's left edge
  double principal_y = 1.344;    // mm from the sensor's top edge
  double resolution_x = 0.0056;  // mm per pixel
  double resolution_y = 0.0056;
  CDist dist;               // model 0 by default
  CXYZ ccd_offset;          // mm
  CWPK ccd_angle;           // radians
  int wide_center_x = 320;  // CCD1, camera index 1
  int wide_center_y = 240;
  int tele_center_x = 320;  // CCD2, camera index 0
  int tele_center_y = 240;
};

}  // namespace sim
