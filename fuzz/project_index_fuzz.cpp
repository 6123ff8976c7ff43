// libFuzzer target: the project index parser (what CProject::Open reads from
// "project.hdr" and, when that is damaged, from "project.bkh"). A successful
// parse must hold no more photographs than the text has lines, and a failed
// parse must leave the project as it was.
#include <cstdint>
#include <cstdlib>

#include "storage/project.h"

namespace {
constexpr size_t kMaxInput = 256 * 1024;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  const char* text = reinterpret_cast<const char*>(data);
  CProject project;
  project.m_bShowMessage = 0;
  if (project.ParseIndex(text, int(size))) {
    size_t lines = 0;
    for (size_t i = 0; i < size; ++i) lines += text[i] == '\n';
    if (size_t(project.GetPhotoCount()) > lines) std::abort();
    if (project.GetName().IsEmpty()) std::abort();
    for (int i = 0; i < project.GetPhotoCount(); ++i)
      if (project.GetPhoto(i).Name.Find(L'\\') >= 0) std::abort();  // never a path
  } else if (project.GetPhotoCount() != 0 || !project.GetName().IsEmpty()) {
    std::abort();
  }
  return 0;
}
