// A consumer of the installed headers and libsurveycam.so: a JPEG through the installed codec
// module, and the live view looking for its memory module.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "surveycam.h"

namespace {

int failures = 0;

void Check(bool ok, const char* what) {
  if (!ok) std::fprintf(stderr, "consumer: FAILED: %s\n", what);
  failures += ok ? 0 : 1;
}

// JPEG_LIB.so comes from the installed module folder: the picture keeps its size and colour.
void JpegRoundTrip(const std::filesystem::path& dir) {
  platform::fs::SetDeviceRoot(dir.string());
  CDibEx out, in;
  Check(out.Create(CSize(40, 30), 24, 0, FALSE, 0) != 0, "picture created");
  BYTE orange[3] = {0, 128, 255}, bgr[3] = {};  // B, G, R
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 40; ++x) out.SetPixel(orange, CPoint(x, y), 4);
  CString path(L"\\consumer.jpg");
  Check(out.WriteJPEG(path) == 1, "JPEG written through the installed JPEG_LIB.so");
  Check(in.ReadJPEG(path) == 1 && in.GetDimensions() == CSize(40, 30) &&
            in.GetPixel(bgr, CPoint(20, 15), 4) && std::abs(bgr[0] - 0) <= 3 &&
            std::abs(bgr[1] - 128) <= 3 && std::abs(bgr[2] - 255) <= 3,
        "JPEG read back at its size and colour");
}

// Without an "EEP.DLL" of the host's the installed view says it cannot load one.
void LiveViewWithoutItsMemoryModule(const std::filesystem::path& dir) {
  platform::fs::SetDeviceRoot((dir / "device").string());
  std::vector<std::wstring> boxes;
  platform::MessageBoxHandler previous =
      platform::SetMessageBoxHandler([&](const platform::MessageBoxCall& call) {
        boxes.push_back(call.caption + L": " + call.text);
        return IDOK;
      });
  { CCaptureWnd view; }
  Check(boxes == std::vector<std::wstring>{L"Error: Load Module Error"},
        "a missing EEP.DLL shows \"Load Module Error\"");
  platform::SetMessageBoxHandler(previous);
}

}  // namespace

// Usage: consumer [WORK_DIR] (default: a folder in the temporary directory).
int main(int argc, char** argv) {
  const std::filesystem::path dir = argc > 1 ? std::filesystem::path(argv[1])
                                             : std::filesystem::temp_directory_path() / "consumer";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  JpegRoundTrip(dir);
  LiveViewWithoutItsMemoryModule(dir);
  std::filesystem::remove_all(dir);
  if (failures) return 1;
  std::printf("consumer: all checks passed\n");
  return 0;
}
