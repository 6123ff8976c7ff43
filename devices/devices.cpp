#include "devices/devices.h"

#include "devices/capture_driver.h"
#include "devices/eeprom_module.h"
#include "devices/jpeg_module.h"

namespace devices {

void RegisterAll() {
  capture::Register();
  eeprom::Register();
  RegisterJpegModule();
}

}  // namespace devices
