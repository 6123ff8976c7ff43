// Fuzzes the language-file reader (CCaptureWnd::GetImageLangCode: UTF-16 LE
// lines, brackets, pairs, translation of the message table) with arbitrary
// file contents; message boxes are swallowed.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "devices/devices.h"
#include "liveview/capture_wnd.h"
#include "platform/fs.h"
#include "platform/message_box.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = [] {
    auto root =
        std::filesystem::temp_directory_path() / ("language_fuzz_" + std::to_string(::getpid()));
    std::filesystem::create_directories(root);
    platform::fs::SetDeviceRoot(root.string());
    platform::SetMessageBoxHandler([](const platform::MessageBoxCall&) { return IDOK; });
    devices::RegisterAll();
    return true;
  }();
  (void)ready;
  if (size > 1 << 16) return 0;
  {
    std::filesystem::create_directories(platform::fs::HostPath(L"\\windows"));
    std::ofstream out(platform::fs::HostPath(L"\\windows\\DispImgMsg.txt"),
                      std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), std::streamsize(size));
  }
  CCaptureWnd view;
  view.InitAppUseMessage();
  view.GetImageLangCode();
  for (int i = 0; i < CCaptureWnd::kMessageCount; ++i)
    view.MessageDisp(i, (i + 1) % CCaptureWnd::kMessageCount);
  return 0;
}
