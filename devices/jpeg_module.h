#pragma once
// "JPEG_LIB.dll": the instrument's JPEG codec over libjpeg-turbo.
//
// Entry points (registered in-process under the module name "JPEG_LIB.dll",
// signatures in image/jpeg_interface.h):
//   "DibImageToJpegFile_ExplicitLoading"   encodes bottom-up rows: 24-bit
//       B, G, R when full colour, else 8-bit values written as grey
//   "Create_JpegInterface_ExplicitLoading" a decoder object (slot order fixed)
//   "Destroy_JpegInterface_ExplicitLoading" releases it
// The decoder yields bottom-up 24-bit B, G, R rows padded to 4 bytes at the
// scale 1/denominator that the caller asks for. A file that cannot be
// written completely is removed. Fault points: "jpeg.encode", "jpeg.decode".
namespace devices {

// Registers "JPEG_LIB.dll" in-process (idempotent).
void RegisterJpegModule();
// Removes it again (tests of the library without the module).
void UnregisterJpegModule();

}  // namespace devices
