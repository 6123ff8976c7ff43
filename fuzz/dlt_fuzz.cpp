// libFuzzer target: the ".DLT" parser. A successful parse holds no more
// residuals than the text has lines and only finite numbers; a failed parse
// leaves the object as it was.
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "photogrammetry/dlt.h"

namespace {
constexpr size_t kMaxInput = 256 * 1024;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  const char* text = reinterpret_cast<const char*>(data);
  CDLT dlt;
  dlt.m_dL[4] = 5.5;
  if (dlt.Parse(text, int(size))) {
    size_t lines = 0;
    for (size_t i = 0; i < size; ++i) lines += text[i] == '\n';
    if (size_t(dlt.GetControlCount()) > lines) std::abort();
    for (double l : dlt.m_dL)
      if (!std::isfinite(l)) std::abort();
    double x = 0, y = 0;
    dlt.Project(CXYZ(1.0, 2.0, 3.0), x, y);
  } else if (dlt.m_dL[4] != 5.5 || dlt.GetControlCount() != 0) {
    std::abort();
  }
  return 0;
}
