#pragma once
// For fuzz targets whose parser reads a file: a private device root under
// /tmp (removed at exit) and the input written into it as one file.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/file.h"
#include "platform/fs.h"

namespace fuzz {

// Makes a fresh folder the device root, once per process.
inline void UsePrivateRoot(const char* target) {
  static std::string dir;
  if (!dir.empty()) return;
  std::string pattern = std::string("/tmp/surveycam-fuzz-") + target + "-XXXXXX";
  if (!mkdtemp(pattern.data())) return;
  dir = pattern;
  platform::fs::SetDeviceRoot(dir);
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  });
}

inline bool WriteInput(const wchar_t* path, const uint8_t* data, size_t size) {
  CFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) return false;
  return size == 0 || file.Write(data, UINT(size));
}

}  // namespace fuzz
