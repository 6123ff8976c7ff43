#pragma once
// Screenshots for tests: the desktop's screen written as PNG under the build
// folder (<build>/screenshots/<name>.png), so anyone can look at what a test
// saw on the screen.
#include <string>

namespace testing_support {

// Writes the screen; returns the host path, or an empty string on failure.
std::string SaveScreenshot(const std::string& name);
// Folder the screenshots go to.
std::string ScreenshotFolder();

}  // namespace testing_support
