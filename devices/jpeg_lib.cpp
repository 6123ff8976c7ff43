// JPEG_LIB.so: the JPEG codec as a module any host loads at run time
// ("JPEG_LIB.dll" through LoadLibraryW), found in the library's default
// module folder. Its three entry points are the codec of jpeg_module.cpp
// under the names the library looks up; nothing else is exported.
#include "devices/jpeg_module.h"

#define JPEG_LIB_EXPORT extern "C" __attribute__((visibility("default")))

JPEG_LIB_EXPORT int DibImageToJpegFile_ExplicitLoading(const wchar_t* path,
                                                       BYTE* bits,
                                                       unsigned width,
                                                       unsigned height,
                                                       unsigned byteWidth,
                                                       int bFullColor,
                                                       int nQuality,
                                                       BYTE bGray) {
  return devices::jpeg::DibImageToJpegFile(
      path, bits, width, height, byteWidth, bFullColor, nQuality, bGray);
}

JPEG_LIB_EXPORT image::JpegDecoder* Create_JpegInterface_ExplicitLoading() {
  return devices::jpeg::CreateJpegInterface();
}

JPEG_LIB_EXPORT void Destroy_JpegInterface_ExplicitLoading(image::JpegDecoder* decoder) {
  devices::jpeg::DestroyJpegInterface(decoder);
}
