// The umbrella header alone drives the live view on "SIMINST.dll" loaded at run time.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "surveycam.h"

#ifndef SIMINST_DIR
#error "SIMINST_DIR must name the folder of SIMINST.so"
#endif

namespace {

TEST(HostSmoke, SimulatedInstrumentLoadedAtRunTimeGivesAWorkingView) {
  const auto root = std::filesystem::current_path() / "public-roots" / "smoke";
  std::filesystem::remove_all(root);
  std::filesystem::create_directories(root);
  platform::fs::SetDeviceRoot(root.string());
  std::vector<std::wstring> boxes;
  auto previous = platform::SetMessageBoxHandler([&](const platform::MessageBoxCall& call) {
    boxes.push_back(call.text);
    return IDOK;
  });
  platform::ResetDesktop();
  platform::modules::AddSearchPath(SIMINST_DIR);
  HMODULE module = LoadLibraryW(L"SIMINST.dll");
  ASSERT_NE(module, nullptr);
  auto call = [module](const wchar_t* name) {
    return reinterpret_cast<int (*)()>(GetProcAddressW(module, name));
  };
  auto angles =
      reinterpret_cast<int (*)(double, double)>(GetProcAddressW(module, L"SimInstSetAngles"));
  auto store = reinterpret_cast<int (*)(const CCamera*, const VKR3ZA_CALIB*)>(
      GetProcAddressW(module, L"SimInstStoreCalibration"));
  ASSERT_TRUE(angles && store && call(L"SimInstUninstall") && call(L"SimInstUnregisterDevices"));
  ASSERT_EQ(call(L"SimInstRegisterDevices")(), 1);
  ASSERT_EQ(call(L"SimInstInstall")(), 1);
  CCamera camera;
  camera.FocalLength = 8.0214;
  camera.PrincipalPoint.SetXYZ(1.801, 1.337, 0.0);
  camera.Resolution.SetXYZ(0.0056, 0.0056, 0.0);
  VKR3ZA_CALIB orient;
  orient.Ccd2CenterY = 243;
  ASSERT_EQ(store(&camera, &orient), 1);
  ASSERT_EQ(angles(90.0, 30.0), 1);
  {
    CCaptureWnd view;
    view.InitAppUseMessage();
    ASSERT_TRUE(view.Create(
        platform::DesktopWindow(), RECT{0, 0, 320, 240}, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0));
    platform::PumpMessages();
    // The view read the module's "EEP.DLL"; its driver fills the view with the site.
    EXPECT_EQ(view.m_Camera.FocalLength, 8.0214);
    EXPECT_EQ(view.m_nCenterY[0], 243);
    view.InvalidateRect(nullptr, TRUE);
    platform::AdvanceTime(200);
    platform::Present();
    const std::vector<uint32_t>& screen = platform::Screen().pixels;
    EXPECT_EQ(std::count(screen.begin(), screen.end(), 0x404040u), 0) << "no key colour left";
    EXPECT_GT(std::set<uint32_t>(screen.begin(), screen.end()).size(), 20u);
    view.DestroyWindow();
    platform::PumpMessages();
  }
  EXPECT_TRUE(boxes.empty());
  platform::ResetDesktop();
  call(L"SimInstUninstall")();
  call(L"SimInstUnregisterDevices")();
  platform::SetMessageBoxHandler(previous);
}

}  // namespace
