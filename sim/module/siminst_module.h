#pragma once
// SIMINST: the simulated instrument as a run-time loaded module, so that a
// host that includes only "surveycam.h" and links only libsurveycam can run
// the live view on it. The host adds the module's folder to the module search
// path (platform::modules::AddSearchPath), loads "SIMINST.dll" (found as
// SIMINST.so) with LoadLibraryW and fetches the entry points below with
// GetProcAddressW. The module links libsurveycam dynamically, so it shares
// the host's platform: device root, desktop, clock, modules and handles.
//
// Conventions: survey axes and metres for the station and the targets (as
// point files hold them), degrees for V (zenith angle, 90 level) and H; every
// entry point returns 1 on success and 0 on failure.
//
// Order of use: SimInstRegisterDevices, SimInstInstall, SimInstSetStation,
// SimInstStoreCalibration (before the view is created: the view reads the
// calibration from the instrument's memory when it is created), then create
// the view and turn the instrument with SimInstSetAngles, telling the view
// with SetMp (the telescope's axis point in the pipeline's axis order: survey
// Y, survey X, station height + instrument height) and UpdateAngle.
#include <cwchar>

class CCamera;
class VKR3ZA_CALIB;

extern "C" {

// Registers the capture driver "CAP0:", "EEP.DLL" and "JPEG_LIB.dll" with
// the platform and puts the driver back to its power-on state.
using SimInstRegisterDevicesFn = int (*)();
// Takes the three back out of the platform (a host that also runs without
// the instrument's devices); the module itself stays loaded.
using SimInstUnregisterDevicesFn = int (*)();
// Creates the instrument (no targets, normal light, library calibration
// defaults) and makes it the capture driver's frame source.
using SimInstInstallFn = int (*)();
// Detaches the instrument from the driver (the built-in test pattern again).
using SimInstUninstallFn = int (*)();
// The station point (survey axes, metres) and the instrument height (metres).
using SimInstSetStationFn = int (*)(double x, double y, double z, double height);
// Turns the telescope.
using SimInstSetAnglesFn = int (*)(double v, double h);
// Adds a target board named `name` centred on (x, y, z), half its side
// `half_size` metres; a null name is an unnamed board.
using SimInstAddTargetFn =
    int (*)(const wchar_t* name, double x, double y, double z, double half_size);
using SimInstClearTargetsFn = int (*)();
// 0 normal, 1 dark, 2 bright.
using SimInstSetLightingFn = int (*)(int lighting);
// 1: every pixel is sampled 2 x 2, so frames with and without a target
// differ exactly where the target is (slower); 0: only next to targets.
using SimInstSetSampleEveryPixelFn = int (*)(int every_pixel);
// Films with this calibration (the wide camera's interior orientation from
// `camera`, image centres, offset and mounting angles from `orient`) and
// writes it into the instrument's memory, items 80 to 99, as the factory
// does.
using SimInstStoreCalibrationFn = int (*)(const CCamera* camera, const VKR3ZA_CALIB* orient);
// Where the tele camera sees the point (x, y, z) (survey axes, metres) at the
// present pose, in continuous sensor pixels (pixel i spans [i, i+1)); 0 when
// the point is behind the telescope.
using SimInstTeleSensorPointFn =
    int (*)(double x, double y, double z, double* sensor_x, double* sensor_y);

}  // extern "C"
