#include "sim/calibration_memory.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "devices/eeprom_module.h"

namespace sim {
namespace {

template <class T>
bool Store(int item, T value) {
  std::vector<uint8_t> bytes(sizeof(T));
  std::memcpy(bytes.data(), &value, sizeof(T));
  return devices::eeprom::SetItem(item, bytes);
}

}  // namespace

Calibration CalibrationFromFiles(const CCamera& camera, const VKR3ZA_CALIB& orient) {
  Calibration c;
  c.focal_length = camera.FocalLength;
  c.principal_x = camera.PrincipalPoint.X;
  c.principal_y = camera.PrincipalPoint.Y;
  c.resolution_x = camera.Resolution.X;
  c.resolution_y = camera.Resolution.Y;
  c.dist = camera.Dist;
  c.wide_center_x = orient.Ccd1CenterX;
  c.wide_center_y = orient.Ccd1CenterY;
  c.tele_center_x = orient.Ccd2CenterX;
  c.tele_center_y = orient.Ccd2CenterY;
  c.ccd_offset = orient.Ccd2Offset;
  c.ccd_angle = orient.Ccd2Angle;
  return c;
}

bool WriteCalibrationToMemory(const Calibration& c) {
  bool ok = Store<double>(80, c.focal_length) && Store<double>(81, c.principal_x) &&
            Store<double>(82, c.principal_y) && Store<int32_t>(83, int32_t(c.dist.GetDistModel()));
  for (int i = 0; i < 4; ++i) ok = ok && Store<double>(84 + i, c.dist.GetPara(i));
  // Items 90..93: CCD1 is the wide camera, CCD2 the tele camera.
  return ok && Store<double>(88, c.resolution_x) && Store<double>(89, c.resolution_y) &&
         Store<int16_t>(90, int16_t(c.wide_center_x)) &&
         Store<int16_t>(91, int16_t(c.wide_center_y)) &&
         Store<int16_t>(92, int16_t(c.tele_center_x)) &&
         Store<int16_t>(93, int16_t(c.tele_center_y)) && Store<double>(94, c.ccd_offset.X) &&
         Store<double>(95, c.ccd_offset.Y) && Store<double>(96, c.ccd_offset.Z) &&
         Store<double>(97, c.ccd_angle.omega) && Store<double>(98, c.ccd_angle.phi) &&
         Store<double>(99, c.ccd_angle.kappa);
}

}  // namespace sim
