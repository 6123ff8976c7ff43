// Fuzzes the camera-file reader: the input is written to a device file and
// read back with CCamera::Read.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "camera/camera.h"
#include "platform/file.h"
#include "platform/fs.h"
#include "platform/message_box.h"

namespace {

constexpr size_t kMaxInput = 64 * 1024;

void SetUpOnce() {
  static bool done = false;
  if (done) return;
  done = true;
  platform::fs::SetDeviceRoot("/tmp/surveycam_camera_fuzz_" + std::to_string(getpid()));
  platform::SetMessageBoxHandler([](const platform::MessageBoxCall&) { return IDOK; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  SetUpOnce();
  {
    CFile file;
    if (!file.Open(L"\\fuzz.cmr", CFile::modeCreate | CFile::modeWrite)) return 0;
    if (size > 0) file.Write(data, UINT(size));
  }
  CCamera camera;
  // Whatever was read must survive a copy and a write. A few bytes can ask
  // for a radial table of tens of thousands of zero entries, which is valid
  // but slow to write under the sanitizers: those are only copied.
  if (camera.Read(L"\\fuzz.cmr")) {
    CCamera copy(camera);
    if (copy.Dist.GetRadiusList().GetSize() <= 4096) copy.Write(L"\\fuzz_out.cmr");
  }
  return 0;
}
