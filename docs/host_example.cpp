// A field application embedding surveycam, in short: it includes one header,
// links one library, finds its instrument's device modules at run time, and
// shows the live view with the site's survey points while the instrument
// turns. Here the instrument is the simulated one, the module SIMINST.so.
//
// Build: c++ -std=c++20 host_example.cpp $(pkg-config --cflags --libs surveycam)
//    or: find_package(surveycam) and link surveycam::surveycam.
// Run:   host_example MODULE_DIR [SCREENSHOT.png]
#include <cstdio>
#include <filesystem>
#include <string>

#include "surveycam.h"

namespace {

// The entry points of the simulated instrument that this host uses.
struct Instrument {
  int (*RegisterDevices)();
  int (*Install)();
  int (*SetStation)(double x, double y, double z, double height);
  int (*SetAngles)(double v, double h);
  int (*AddTarget)(const wchar_t* name, double x, double y, double z, double half_size);
};

template <class Fn>
void Fetch(HMODULE module, const wchar_t* name, Fn& fn) {
  fn = reinterpret_cast<Fn>(GetProcAddressW(module, name));
}

bool LoadInstrument(const std::string& folder, Instrument& in) {
  platform::modules::AddSearchPath(folder);
  HMODULE module = LoadLibraryW(L"SIMINST.dll");
  if (!module) return false;
  Fetch(module, L"SimInstRegisterDevices", in.RegisterDevices);
  Fetch(module, L"SimInstInstall", in.Install);
  Fetch(module, L"SimInstSetStation", in.SetStation);
  Fetch(module, L"SimInstSetAngles", in.SetAngles);
  Fetch(module, L"SimInstAddTarget", in.AddTarget);
  return in.RegisterDevices && in.Install && in.SetStation && in.SetAngles && in.AddTarget;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: host_example MODULE_DIR [SCREENSHOT.png]\n");
    return 2;
  }
  // The device's file system lives in a folder of the host.
  const std::filesystem::path root =
      std::filesystem::temp_directory_path() / "surveycam_host_example";
  std::filesystem::create_directories(root);
  platform::fs::SetDeviceRoot(root.string());

  Instrument instrument{};
  if (!LoadInstrument(argv[1], instrument)) {
    std::fprintf(stderr, "host_example: no instrument modules in %s\n", argv[1]);
    return 1;
  }
  instrument.RegisterDevices();  // "CAP0:", "EEP.DLL", "JPEG_LIB.dll"
  instrument.Install();

  // The site, in survey axes (metres): the station and two survey points.
  const double sx = 1000.0, sy = 2000.0, sz = 50.0, height = 1.5;
  instrument.SetStation(sx, sy, sz, height);
  CKvoArray<CXYZ, CXYZ&> points;
  CXYZ p1(L"P1", 1020.0, 2012.0, 52.0), p2(L"P2", 1031.0, 2021.0, 50.5);
  points.Add(p1);
  points.Add(p2);
  for (int i = 0; i < points.GetSize(); ++i) {
    instrument.AddTarget(points[i].Name.c_str(), points[i].X, points[i].Y, points[i].Z, 0.3);
  }

  // The view: the message table first, then the window over the screen.
  CCaptureWnd view;
  view.InitAppUseMessage();
  const RECT rect{0, 0, 320, 240};
  if (!view.Create(platform::DesktopWindow(), rect, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0)) {
    std::fprintf(stderr, "host_example: the live view could not be created\n");
    return 1;
  }
  platform::PumpMessages();  // capture starts from the posted initialisation
  view.SetPoints(&points);

  // Whenever the instrument reports new angles the host tells the view; the
  // station goes in the pipeline's axis order (survey X and Y swapped).
  CXYZ axis(sy, sx, sz + height);
  view.SetMp(axis);
  double v = 0, h = 0;
  CCalcXYZHV::XYZToHV(CXYZ(sx, sy, sz), p1, height, v, h);  // point the telescope at P1
  instrument.SetAngles(v, h);
  view.UpdateAngle(v, h);
  platform::AdvanceTime(1000);  // five ticks of the frame timer: picture and overlays painted

  int shown = 0;
  view.m_Proj.BeginTrans(0);
  for (int i = 0; i < points.GetSize(); ++i) {
    double x = 0, y = 0;
    int visible = 0;
    if (view.XYZtoScr(points[i].Y, points[i].X, points[i].Z, x, y, visible) == 1 && visible) {
      std::printf("%ls at screen (%.1f, %.1f)\n", points[i].Name.c_str(), x, y);
      ++shown;
    }
  }
  if (argc > 2 && !platform::WritePng(platform::Screen(), argv[2])) return 1;

  view.SetPoints(nullptr);
  view.DestroyWindow();
  platform::PumpMessages();
  return shown == points.GetSize() ? 0 : 1;
}
