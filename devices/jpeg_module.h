#pragma once
// "JPEG_LIB.dll": the instrument's JPEG codec over libjpeg-turbo.
//
// Entry points (signatures in image/jpeg_interface.h), registered in-process
// under the module name "JPEG_LIB.dll" by RegisterJpegModule, and exported
// under the same names by the loadable module JPEG_LIB.so (jpeg_lib.cpp),
// which is installed in the library's default module folder:
//   "DibImageToJpegFile_ExplicitLoading"   encodes bottom-up rows: 24-bit
//       B, G, R when full colour, else 8-bit values written as grey
//   "Create_JpegInterface_ExplicitLoading" a decoder object (slot order fixed)
//   "Destroy_JpegInterface_ExplicitLoading" releases it
// The decoder yields bottom-up 24-bit B, G, R rows padded to 4 bytes at the
// scale 1/denominator that the caller asks for. A file that cannot be
// written completely is removed. Fault points: "jpeg.encode", "jpeg.decode".
#include "image/jpeg_interface.h"

namespace devices {

namespace jpeg {
int DibImageToJpegFile(const wchar_t* path,
                       BYTE* bits,
                       unsigned width,
                       unsigned height,
                       unsigned byteWidth,
                       int bFullColor,
                       int nQuality,
                       BYTE bGray);
image::JpegDecoder* CreateJpegInterface();
void DestroyJpegInterface(image::JpegDecoder* decoder);
}  // namespace jpeg

// Registers "JPEG_LIB.dll" in-process (idempotent).
void RegisterJpegModule();
// Removes it again (tests of the library without the module).
void UnregisterJpegModule();

}  // namespace devices
