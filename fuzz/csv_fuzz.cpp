// libFuzzer target: ReadCSVFile on arbitrary file contents. The input is
// written to a file in a private device root and read back; every point read
// must have a name without a comma, and no file may stay open.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz/file_input.h"
#include "platform/file.h"
#include "pointfiles/point_files.h"

namespace {

constexpr size_t kMaxInput = 64 * 1024;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  fuzz::UsePrivateRoot("csv");
  const wchar_t* path = L"\\input.csv";
  if (!fuzz::WriteInput(path, data, size)) return 0;
  CKvoArray<CXYZ, CXYZ&> points;
  ReadCSVFile(path, points, /*mustExist=*/1);
  for (const CXYZ& p : points)
    if (p.Name.IsEmpty() || p.Name.Find(L',') >= 0) std::abort();
  if (CFile::OpenFiles() != 0) std::abort();
  return 0;
}
