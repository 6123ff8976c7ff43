#include "devices/devices.h"

namespace devices {

void RegisterAll() {}

}  // namespace devices
