#include "tests/support/screenshot.h"

#include <filesystem>

#include "platform/framebuffer.h"

namespace testing_support {

std::string ScreenshotFolder() {
  return (std::filesystem::path(SURVEYCAM_BINARY_DIR) / "screenshots").string();
}

std::string SaveScreenshot(const std::string& name) {
  std::filesystem::path folder(ScreenshotFolder());
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  std::string file = name;
  for (char& c : file)
    if (c == '/' || c == '\\' || c == ' ') c = '_';
  const std::string path = (folder / (file + ".png")).string();
  return platform::WritePng(platform::Screen(), path) ? path : std::string();
}

}  // namespace testing_support
