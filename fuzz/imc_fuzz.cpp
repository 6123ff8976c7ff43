// libFuzzer target: ReadImcFile on arbitrary file contents. The input is
// written to a file in a private device root and read back; a successful read
// must hold exactly the announced number of points (never a huge array), and
// no file may stay open.
#include <cstdint>
#include <cstdlib>

#include "fuzz/file_input.h"
#include "platform/file.h"
#include "pointfiles/point_files.h"

namespace {

constexpr size_t kMaxInput = 64 * 1024;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  fuzz::UsePrivateRoot("imc");
  const wchar_t* path = L"\\input.imc";
  if (!fuzz::WriteInput(path, data, size)) return 0;
  CKvoStringT<wchar_t> title;
  CSize picture;
  CKvoArray<CXYZ, CXYZ&> points;
  ReadImcFile(path, title, picture, points, /*mustExist=*/1);
  // The array never outgrows what the file could describe.
  if (size_t(points.GetSize()) > size + 1) std::abort();
  if (CFile::OpenFiles() != 0) std::abort();
  return 0;
}
