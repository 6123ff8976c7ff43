// Fuzzes the orientation-file reader (VKR3ZA_CALIB::Read) with arbitrary file
// contents; message boxes are swallowed.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "camera/vkr3za_calib.h"
#include "platform/fs.h"
#include "platform/message_box.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = [] {
    auto root =
        std::filesystem::temp_directory_path() / ("orient_fuzz_" + std::to_string(::getpid()));
    std::filesystem::create_directories(root);
    platform::fs::SetDeviceRoot(root.string());
    platform::SetMessageBoxHandler([](const platform::MessageBoxCall&) { return IDOK; });
    return true;
  }();
  (void)ready;
  if (size > 1 << 16) return 0;
  {
    std::ofstream out(platform::fs::HostPath(L"\\orient.txt"), std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), std::streamsize(size));
  }
  StMessage table;
  for (int i = 0; i < 24; ++i) table.Src.Add(L"message");
  VKR3ZA_CALIB calib;
  calib.SetCaptureMsg(&table, nullptr);
  calib.Read(L"\\orient.txt");
  return 0;
}
