#pragma once
// What the instrument's firmware provides, registered with the platform:
// the capture driver "CAP0:", "EEP.DLL", "JPEG_LIB.dll" and Xlate.
namespace devices {

// Registers every device module in-process (idempotent).
void RegisterAll();

}  // namespace devices
