// Fuzzes the BMP reader (CDib::Read) with arbitrary file contents.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "image/dib_ex.h"
#include "platform/file.h"
#include "platform/message_box.h"

namespace {
constexpr size_t kMaxInput = 1 << 20;

std::string InputPath() {
  static const std::string path = (std::filesystem::temp_directory_path() /
                                   ("surveycam_bmp_fuzz_" + std::to_string(getpid()) + ".bmp"))
                                      .string();
  return path;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  static bool quiet = [] {
    platform::SetMessageBoxHandler([](const platform::MessageBoxCall&) { return IDOK; });
    return true;
  }();
  (void)quiet;
  const std::string path = InputPath();
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);
  CDibEx dib;
  CFile file;
  const std::wstring wide(path.begin(), path.end());
  if (file.Open(wide.c_str(), CFile::modeRead)) {
    if (dib.Read(&file)) {
      // Whatever was accepted must survive the pixel operations.
      int red[256], green[256], blue[256];
      dib.GetHistgram(red, green, blue);
      CDibEx grey;
      dib.GrayScale(&grey);
      CDibEx thumb;
      thumb.CreateThumbnail2(&dib, 2);
    }
    file.Close();
  }
  std::remove(path.c_str());
  return 0;
}
