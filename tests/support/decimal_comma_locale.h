#pragma once
// A locale with a decimal comma while alive (compiled into the build tree when none is installed).
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace testing_support {

class DecimalCommaLocale {
 public:
  DecimalCommaLocale() {
    const char* current = std::setlocale(LC_ALL, nullptr);
    saved_ = current ? current : "C";
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
      active_ = active_ || std::setlocale(LC_ALL, name) != nullptr;
    active_ = active_ || TryCompiled();
    if (active_ && std::localeconv()->decimal_point[0] != ',') Restore();
  }
  ~DecimalCommaLocale() { Restore(); }
  DecimalCommaLocale(const DecimalCommaLocale&) = delete;
  DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;
  bool active() const { return active_; }

 private:
  static bool TryCompiled() {
    const std::filesystem::path dir = std::filesystem::path(SURVEYCAM_BINARY_DIR) / "test-locales";
    const std::filesystem::path numeric = dir / "de_DE.UTF-8" / "LC_NUMERIC";
    if (!std::filesystem::exists(numeric)) {
      std::filesystem::create_directories(dir);
      const std::string command =
          "localedef -i de_DE -f UTF-8 '" + (dir / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
      if (std::system(command.c_str()) != 0 && !std::filesystem::exists(numeric)) return false;
    }
    setenv("LOCPATH", dir.c_str(), 1);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8")) return true;
    unsetenv("LOCPATH");
    return false;
  }
  void Restore() {
    if (active_) std::setlocale(LC_ALL, saved_.c_str());
    active_ = false;
  }

  std::string saved_;
  bool active_ = false;
};

}  // namespace testing_support
