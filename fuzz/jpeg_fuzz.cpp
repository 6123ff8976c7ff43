// Fuzzes the JPEG reading path (CDibEx::ReadJPEG through "JPEG_LIB.dll").
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "devices/jpeg_module.h"
#include "image/dib_ex.h"

namespace {
constexpr size_t kMaxInput = 1 << 20;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  static bool registered = [] {
    devices::RegisterJpegModule();
    return true;
  }();
  (void)registered;
  static const std::string path = (std::filesystem::temp_directory_path() /
                                   ("surveycam_jpeg_fuzz_" + std::to_string(getpid()) + ".jpg"))
                                      .string();
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);
  CDibEx dib;
  CString wide(std::wstring(path.begin(), path.end()).c_str());
  if (dib.ReadJPEG(wide)) {
    BYTE p[3];
    const CSize s = dib.GetDimensions();
    dib.GetPixel(p, CPoint(s.cx - 1, s.cy - 1), 4);
  }
  std::remove(path.c_str());
  return 0;
}
