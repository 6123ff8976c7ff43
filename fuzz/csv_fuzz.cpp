// libFuzzer target: ReadCSVFile on arbitrary file contents. The input is
// written to a file in a private device root and read back; every point read
// must have a name without a comma, and no file may stay open.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "files/point_files.h"
#include "platform/file.h"
#include "platform/fs.h"

namespace {

constexpr size_t kMaxInput = 64 * 1024;

void UsePrivateRoot() {
  static bool done = false;
  if (done) return;
  done = true;
  static char dir[] = "/tmp/surveycam-fuzz-csv-XXXXXX";
  if (!mkdtemp(dir)) return;
  platform::fs::SetDeviceRoot(dir);
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  });
}

bool WriteInput(const wchar_t* path, const uint8_t* data, size_t size) {
  CFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) return false;
  return size == 0 || file.Write(data, UINT(size));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  UsePrivateRoot();
  const wchar_t* path = L"\\input.csv";
  if (!WriteInput(path, data, size)) return 0;
  CKvoArray<CXYZ, CXYZ&> points;
  ReadCSVFile(path, points, /*mustExist=*/1);
  for (const CXYZ& p : points)
    if (p.Name.IsEmpty() || p.Name.Find(L',') >= 0) std::abort();
  if (CFile::OpenFiles() != 0) std::abort();
  return 0;
}
