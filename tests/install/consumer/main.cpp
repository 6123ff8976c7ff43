// A consumer of the installed library: it sees only the installed headers
// and libsurveycam.so. A camera file round trip, and the live view on a
// memory module of its own and without a capture driver. Prints what failed
// and exits non-zero on any failure.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "surveycam.h"

namespace {

int failures = 0;

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "consumer: FAILED: %s\n", what);
    ++failures;
  }
}

bool Near(double a, double b, double tolerance) { return std::abs(a - b) <= tolerance; }

void CameraFileRoundTrip(const std::filesystem::path& dir) {
  CCamera out;
  out.FocalLength = 8.0214;
  out.PrincipalPoint.SetXYZ(1.801, 1.337, 0.0);
  out.Resolution.SetXYZ(0.0056, 0.0056, 0.0);
  out.Dist.SetDistModel(DIST_MODEL(2));
  const double k[4] = {-2.1e-3, 1.4e-5, 1.2e-4, -6.0e-5};
  for (int i = 0; i < 4; ++i) out.Dist.AddPara(i, k[i]);
  const std::wstring path = (dir / "consumer.cmr").wstring();
  Check(out.Write(path.c_str()) == 1, "camera file written");
  CCamera in;
  Check(in.Read(path.c_str()) == 1, "camera file read");
  Check(Near(in.FocalLength, 8.0214, 1e-9), "focal length kept");
  Check(Near(in.PrincipalPoint.Y, 1.337, 1e-9), "principal point kept");
  Check(int(in.Dist.GetDistModel()) == 2 && Near(in.Dist.GetPara(3), -6.0e-5, 1e-15),
        "distortion kept");
}

// The JPEG codec JPEG_LIB.so comes from the installed module folder: a
// picture saved and read back keeps its size and its colour.
void JpegRoundTrip(const std::filesystem::path& dir) {
  platform::fs::SetDeviceRoot(dir.string());
  CDibEx out;
  Check(out.Create(CSize(40, 30), 24, 0, FALSE, 0) != 0, "picture created");
  BYTE orange[3] = {0, 128, 255};  // B, G, R
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 40; ++x) out.SetPixel(orange, CPoint(x, y), 4);
  CString path(L"\\consumer.jpg");
  Check(out.WriteJPEG(path) == 1, "JPEG written through the installed JPEG_LIB.so");
  CDibEx in;
  BYTE bgr[3] = {};
  Check(in.ReadJPEG(path) == 1 && in.GetDimensions() == CSize(40, 30) &&
            in.GetPixel(bgr, CPoint(20, 15), 4) && Near(bgr[0], 0, 3) && Near(bgr[1], 128, 3) &&
            Near(bgr[2], 255, 3),
        "JPEG read back at its size and colour");
}

// The instrument's non-volatile memory as a host-provided in-process module
// "EEP.DLL": items 80..99, each readable only as it was written.
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

// Without "EEP.DLL" the view says so; with the host's own "EEP.DLL" it reads
// its calibration from it when it is created, and without the capture driver
// "CAP0:" it reports that it cannot set up or start capture.
void LiveViewOnTheHostsModules(const std::filesystem::path& dir) {
  platform::fs::SetDeviceRoot((dir / "device").string());
  std::vector<platform::MessageBoxCall> boxes;
  platform::MessageBoxHandler previous =
      platform::SetMessageBoxHandler([&](const platform::MessageBoxCall& call) {
        boxes.push_back(call);
        return IDOK;
      });
  {
    CCaptureWnd view;
    Check(
        boxes.size() == 1 && boxes[0].text == L"Load Module Error" && boxes[0].caption == L"Error",
        "a missing EEP.DLL shows \"Load Module Error\"");
  }
  boxes.clear();
  const double focal = 8.0214;
  const double cmr[10] = {focal, 1.801, 1.337, 0, 0, 0, 0, 0, 0.0056, 0.0056};
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
    Check(view.m_Camera.FocalLength == focal && view.m_nCenterX[1] == 324 &&
              view.m_nCenterY[0] == 243,
          "the view read its calibration from the host's memory module");
    Check(locks >= 2, "the memory was locked again after each read");
    // CreateFileW gives the invalid handle, which the view takes as opened;
    // the display and start requests on it fail.
    Check(boxes.size() == 2 && boxes[0].text == L"SetCapture Error! E-502" &&
              boxes[0].caption == L"ERROR" && boxes[1].text == L"StartCapture Error! E-503",
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
  const std::filesystem::path dir =
      argc > 1 ? std::filesystem::path(argv[1])
               : std::filesystem::temp_directory_path() / "surveycam_consumer";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  CameraFileRoundTrip(dir);
  JpegRoundTrip(dir);
  LiveViewOnTheHostsModules(dir);
  std::filesystem::remove_all(dir);
  if (failures) return 1;
  std::printf("consumer: all checks passed\n");
  return 0;
}
