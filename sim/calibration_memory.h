#pragma once
// Writes a calibration into the instrument's non-volatile memory ("EEP.DLL"
// items 80..99), as the factory calibration does, so that the live view
// reads the very values the simulated instrument films with. The memory
// record holds four distortion terms (K1, K2, P1, P2); a five-term model
// keeps only its first four there.
#include "camera/camera.h"
#include "camera/vkr3za_calib.h"
#include "sim/calibration.h"

namespace sim {

// The calibration of a camera file (interior orientation) and an
// orientation file (image centres: CCD1 wide, CCD2 tele; the camera's offset
// and mounting angles).
Calibration CalibrationFromFiles(const CCamera& camera, const VKR3ZA_CALIB& orient);

// False when an item cannot be stored.
bool WriteCalibrationToMemory(const Calibration& calibration);

}  // namespace sim
