// A consumer of the installed headers and libsurveycam.so: a JPEG through the installed codec
// module, and the live view on a memory module of its own without a capture driver.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
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

// The instrument's memory as the host's own in-process "EEP.DLL": items readable as written.
std::map<int, std::vector<uint8_t>> memory;
int locks = 0;

BOOL EepRead(void* buffer, int index, int length) {
  auto item = memory.find(index);
  if (item == memory.end() || int(item->second.size()) != length) return FALSE;
  std::memcpy(buffer, item->second.data(), size_t(length));
  return TRUE;
}
BOOL EepWrite(const void* buffer, int index, int length) {
  const auto* bytes = static_cast<const uint8_t*>(buffer);
  memory[index].assign(bytes, bytes + length);
  return TRUE;
}
BOOL UnLockDisk(int lock) {
  locks += lock ? 1 : 0;
  return TRUE;
}

template <class T>
void Put(int index, T value) {
  EepWrite(&value, index, int(sizeof(T)));
}

void LiveViewOnTheHostsModules(const std::filesystem::path& dir) {
  platform::fs::SetDeviceRoot((dir / "device").string());
  std::vector<std::wstring> boxes;
  platform::MessageBoxHandler previous =
      platform::SetMessageBoxHandler([&](const platform::MessageBoxCall& call) {
        boxes.push_back(call.caption + L": " + call.text);
        return IDOK;
      });
  const double cmr[10] = {8.0214, 1.801, 1.337, 0, 0, 0, 0, 0, 0.0056, 0.0056};
  for (int i = 0; i < 10; ++i) i == 3 ? Put(83, int32_t(0)) : Put(80 + i, cmr[i]);
  const int16_t centres[4] = {324, 236, 318, 243};
  for (int i = 0; i < 4; ++i) Put(90 + i, centres[i]);
  for (int i = 94; i < 100; ++i) Put(i, 0.0);
  platform::modules::Register(L"EEP.DLL",
                              {{"SysEepRead", reinterpret_cast<void*>(&EepRead)},
                               {"SysEepWrite", reinterpret_cast<void*>(&EepWrite)},
                               {"UnLockDisk", reinterpret_cast<void*>(&UnLockDisk)}});
  {
    CCaptureWnd view;
    view.InitAppUseMessage();
    const RECT rect{0, 0, 320, 240};
    Check(
        view.Create(platform::DesktopWindow(), rect, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0) != 0,
        "the view is created on the host's memory module");
    platform::PumpMessages();  // the posted initialisation: no capture driver
    Check(view.m_Camera.FocalLength == 8.0214 && view.m_nCenterX[1] == 324 &&
              view.m_nCenterY[0] == 243 && locks >= 2,
          "the view read its calibration from the host's memory module, locking it again");
    // The invalid handle of a missing "CAP0:" counts as opened; the driver requests fail.
    Check(boxes == std::vector<std::wstring>{L"ERROR: SetCapture Error! E-502",
                                             L"ERROR: StartCapture Error! E-503"},
          "a missing CAP0: shows E-502 and E-503");
    view.DestroyWindow();
    platform::PumpMessages();
    Check(platform::LiveWindows() == 0, "no window left behind");
  }
  platform::modules::Unregister(L"EEP.DLL");
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
  LiveViewOnTheHostsModules(dir);
  std::filesystem::remove_all(dir);
  if (failures) return 1;
  std::printf("consumer: all checks passed\n");
  return 0;
}
