// What a field application sees of the live view: it includes only the
// umbrella header, links only libsurveycam, and gets its instrument, the
// simulated one, by loading the module "SIMINST.dll" at run time. The view is
// driven on the desktop through creation, timer ticks, zoom, camera switch,
// survey points, a tap with aiming, auto exposure and a saved snapshot, and
// judged from the screen's pixels and the simulator's ground truth.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "surveycam.h"

#ifndef SIMINST_DIR
#error "SIMINST_DIR must name the folder of SIMINST.so"
#endif

namespace {

// The module's entry points (see sim/module/siminst_module.h).
struct SimInst {
  int (*RegisterDevices)() = nullptr;
  int (*UnregisterDevices)() = nullptr;
  int (*Install)() = nullptr;
  int (*Uninstall)() = nullptr;
  int (*SetStation)(double, double, double, double) = nullptr;
  int (*SetAngles)(double, double) = nullptr;
  int (*AddTarget)(const wchar_t*, double, double, double, double) = nullptr;
  int (*ClearTargets)() = nullptr;
  int (*SetLighting)(int) = nullptr;
  int (*SetSampleEveryPixel)(int) = nullptr;
  int (*StoreCalibration)(const CCamera*, const VKR3ZA_CALIB*) = nullptr;
  int (*TeleSensorPoint)(double, double, double, double*, double*) = nullptr;
  HMODULE module = nullptr;
  bool complete = false;
};

template <class Fn>
bool Fetch(HMODULE module, const wchar_t* name, Fn& fn) {
  fn = reinterpret_cast<Fn>(GetProcAddressW(module, name));
  return fn != nullptr;
}

// Loaded once for the process, as a host loads its device modules.
const SimInst& Module() {
  static const SimInst sim = [] {
    SimInst s;
    platform::modules::AddSearchPath(SIMINST_DIR);
    s.module = LoadLibraryW(L"SIMINST.dll");
    if (!s.module) return s;
    s.complete = Fetch(s.module, L"SimInstRegisterDevices", s.RegisterDevices) &&
                 Fetch(s.module, L"SimInstUnregisterDevices", s.UnregisterDevices) &&
                 Fetch(s.module, L"SimInstInstall", s.Install) &&
                 Fetch(s.module, L"SimInstUninstall", s.Uninstall) &&
                 Fetch(s.module, L"SimInstSetStation", s.SetStation) &&
                 Fetch(s.module, L"SimInstSetAngles", s.SetAngles) &&
                 Fetch(s.module, L"SimInstAddTarget", s.AddTarget) &&
                 Fetch(s.module, L"SimInstClearTargets", s.ClearTargets) &&
                 Fetch(s.module, L"SimInstSetLighting", s.SetLighting) &&
                 Fetch(s.module, L"SimInstSetSampleEveryPixel", s.SetSampleEveryPixel) &&
                 Fetch(s.module, L"SimInstStoreCalibration", s.StoreCalibration) &&
                 Fetch(s.module, L"SimInstTeleSensorPoint", s.TeleSensorPoint);
    return s;
  }();
  return sim;
}

// The site: station in survey axes (m) and the telescope's height above it.
constexpr double kStationX = 1000.0, kStationY = 2000.0, kStationZ = 50.0, kHeight = 1.5;
constexpr double kRad = 3.141592653589793 / 180.0;
constexpr uint32_t kKeyColour = 0x404040;

// A point at slope distance d (m) in the direction (v, h) (degrees; h from
// the survey X axis towards Y) from the telescope's axis point.
CXYZ PointAt(double v, double h, double d) {
  const double horizontal = d * std::sin(v * kRad);
  return CXYZ(kStationX + horizontal * std::cos(h * kRad),
              kStationY + horizontal * std::sin(h * kRad),
              kStationZ + kHeight + d * std::cos(v * kRad));
}

struct Box {
  double x = 0, y = 0;  // centre, continuous screen coordinates
  int width = 0, height = 0;
};

// Where a target board is on the screen: the bounding box of the pixels that
// differ between a picture with the board and one without it, searched in a
// square around a guess. The board faces the instrument and its rim pixels
// are mixed on both sides alike, so the box's centre is the board's centre to
// well under a pixel. Empty when the board touches the search square's edge.
std::optional<Box> BoardOnScreen(const platform::Framebuffer& with,
                                 const platform::Framebuffer& without,
                                 int guess_x,
                                 int guess_y,
                                 int radius) {
  int x0 = std::max(0, guess_x - radius), x1 = std::min(with.width - 1, guess_x + radius);
  int y0 = std::max(0, guess_y - radius), y1 = std::min(with.height - 1, guess_y + radius);
  int min_x = x1 + 1, max_x = -1, min_y = y1 + 1, max_y = -1;
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) {
      if (with.At(x, y) == without.At(x, y)) continue;
      min_x = std::min(min_x, x), max_x = std::max(max_x, x);
      min_y = std::min(min_y, y), max_y = std::max(max_y, y);
    }
  }
  if (max_x < 0 || min_x == x0 || max_x == x1 || min_y == y0 || max_y == y1) return std::nullopt;
  return Box{
      (min_x + max_x + 1) / 2.0, (min_y + max_y + 1) / 2.0, max_x - min_x + 1, max_y - min_y + 1};
}

class LiveViewOnSimInst : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Module().complete) << "SIMINST.so not loaded from " << SIMINST_DIR;
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    root_ = std::filesystem::current_path() / "public-roots" /
            (std::string("liveview.") + info->name());
    std::filesystem::remove_all(root_);
    std::filesystem::create_directories(root_);
    platform::fs::SetDeviceRoot(root_.string());
    SYSTEMTIME t{2024, 5, 5, 3, 14, 7, 9, 0};  // Friday 3 May 2024, 14:07:09
    platform::clock::SetLocal(t);
    previous_ = platform::SetMessageBoxHandler([this](const platform::MessageBoxCall& call) {
      boxes_.push_back(call);
      return IDOK;
    });
    platform::ResetDesktop();

    ASSERT_EQ(sim().RegisterDevices(), 1);
    ASSERT_EQ(sim().Install(), 1);
    ASSERT_EQ(sim().SetSampleEveryPixel(1), 1);
    ASSERT_EQ(sim().SetStation(kStationX, kStationY, kStationZ, kHeight), 1);
    ASSERT_EQ(sim().StoreCalibration(&camera_, &orient_), 1);
    ASSERT_TRUE(platform::registry::SetString(
        L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\Card"));
    CreateDirectoryW(L"\\Card", nullptr);

    view_ = std::make_unique<CCaptureWnd>();
    view_->InitAppUseMessage();
    const RECT rect{0, 0, 320, 240};
    ASSERT_TRUE(
        view_->Create(platform::DesktopWindow(), rect, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0));
    platform::PumpMessages();
  }

  void TearDown() override {
    if (view_) {
      view_->SetPoints(nullptr);
      if (view_->GetSafeHwnd()) view_->DestroyWindow();
      platform::PumpMessages();
      view_.reset();
    }
    platform::ResetDesktop();
    if (Module().complete) {
      sim().Uninstall();
      sim().UnregisterDevices();
    }
    platform::SetMessageBoxHandler(previous_);
  }

  static const SimInst& sim() { return Module(); }

  // A calibration with non-round values everywhere, a CCD offset and
  // mounting angles, and distortion model 2 (K1 K2 P1 P2).
  static CCamera MakeCamera() {
    CCamera c;
    c.FocalLength = 8.0214;
    c.PrincipalPoint.SetXYZ(1.801, 1.337, 0.0);
    c.Resolution.SetXYZ(0.0056, 0.0056, 0.0);
    c.Dist.SetDistModel(DIST_MODEL(2));
    const double k[4] = {-2.1e-3, 1.4e-5, 1.2e-4, -6.0e-5};
    for (int i = 0; i < 4; ++i) c.Dist.AddPara(i, k[i]);
    return c;
  }
  static VKR3ZA_CALIB MakeOrient() {
    VKR3ZA_CALIB o;
    o.Ccd1CenterX = 324, o.Ccd1CenterY = 236;
    o.Ccd2CenterX = 318, o.Ccd2CenterY = 243;
    o.Ccd2Offset.SetXYZ(42.0, -18.0, 65.0);
    o.Ccd2Angle.SetWPK(0.0041, -0.0032, 0.0057);
    return o;
  }

  // Turns the instrument and tells the view, as the host does: the station
  // goes to SetMp in the pipeline's axis order (survey X and Y swapped).
  void Turn(double v, double h) {
    ASSERT_EQ(sim().SetAngles(v, h), 1);
    CXYZ axis(kStationY, kStationX, kStationZ + kHeight);
    view_->SetMp(axis);
    view_->UpdateAngle(v, h);
  }

  // The screen after a fresh frame of the scene as it is now.
  platform::Framebuffer Picture() {
    view_->InvalidateRect(nullptr, TRUE);
    platform::AdvanceTime(1);
    platform::Present();
    return platform::Screen();
  }

  // The screen with and without the boards, overlays off, so that the two
  // differ exactly where the boards are.
  void PictureWithAndWithout(const std::vector<CXYZ>& boards,
                             double half_size,
                             platform::Framebuffer& with,
                             platform::Framebuffer& without) {
    view_->SetDispCursor(0);
    view_->SetDispZoom(0);
    ASSERT_EQ(sim().ClearTargets(), 1);
    without = Picture();
    for (const CXYZ& b : boards) ASSERT_EQ(sim().AddTarget(L"B", b.X, b.Y, b.Z, half_size), 1);
    with = Picture();
    view_->SetDispCursor(1);
    view_->SetDispZoom(1);
  }

  std::filesystem::path root_;
  CCamera camera_ = MakeCamera();
  VKR3ZA_CALIB orient_ = MakeOrient();
  std::unique_ptr<CCaptureWnd> view_;
  std::vector<platform::MessageBoxCall> boxes_;
  platform::MessageBoxHandler previous_;
};

TEST_F(LiveViewOnSimInst, CreationReadsTheModulesMemoryAndTheTimerRunsEvery200Ms) {
  EXPECT_TRUE(boxes_.empty()) << platform::WideToUtf8(boxes_[0].text);
  // The calibration the module wrote into the instrument's memory, read back
  // by the view at creation through the module's "EEP.DLL".
  EXPECT_EQ(view_->m_Camera.FocalLength, 8.0214);
  EXPECT_EQ(view_->m_Camera.PrincipalPoint.Y, 1.337);
  EXPECT_EQ(int(view_->m_Camera.Dist.GetDistModel()), 2);
  EXPECT_EQ(view_->m_Camera.Dist.GetPara(3), -6.0e-5);
  EXPECT_EQ(view_->m_nCenterX[1], 324);
  EXPECT_EQ(view_->m_nCenterY[0], 243);
  EXPECT_EQ(view_->m_CcdOffset.Z, 65.0);
  EXPECT_EQ(view_->m_CcdAngle.kappa, 0.0057);
  EXPECT_EQ(view_->GetCurCamera(), 1);  // capture always starts on the wide camera
  EXPECT_EQ(platform::RunningTimers(), 1u);

  // The module's driver fills the view with the live picture: no key colour
  // is left and the picture has sky, ground and shades.
  Turn(90.0, 30.0);
  const platform::Framebuffer screen = Picture();
  std::set<uint32_t> colours(screen.pixels.begin(), screen.pixels.end());
  EXPECT_EQ(std::count(screen.pixels.begin(), screen.pixels.end(), kKeyColour), 0);
  EXPECT_GT(colours.size(), 20u);

  // One exposure step per tick of 200 ms, counted from creation: the dark
  // scene raises the exposure at the first tick and at every tick after.
  ASSERT_EQ(sim().SetLighting(1), 1);
  Picture();  // the first dark frame
  view_->m_nAEMode = 1;
  const int start = view_->m_StartParam.Brightness;
  platform::AdvanceTime(197);  // 2 ms went by in Picture()
  EXPECT_EQ(view_->m_StartParam.Brightness, start);
  platform::AdvanceTime(1);
  const int first = view_->m_StartParam.Brightness;
  EXPECT_GT(first, start);
  platform::AdvanceTime(200);
  EXPECT_GT(view_->m_StartParam.Brightness, first);

  view_->DestroyWindow();
  platform::PumpMessages();
  EXPECT_EQ(platform::RunningTimers(), 0u);
}

TEST_F(LiveViewOnSimInst, ZoomDoublesTheBoardAndEachCameraKeepsItsZoom) {
  Turn(88.0, 40.0);
  const CXYZ board = PointAt(88.0, 40.0, 25.0);  // on the line of sight
  platform::Framebuffer with, without;
  PictureWithAndWithout({board}, 0.3, with, without);
  const auto wide = BoardOnScreen(with, without, 160, 120, 100);
  ASSERT_TRUE(wide.has_value());

  view_->ZoomIn();
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  PictureWithAndWithout({board}, 0.3, with, without);
  const auto zoomed = BoardOnScreen(with, without, 160, 120, 110);
  ASSERT_TRUE(zoomed.has_value());
  // Nearest-pixel scaling: the size doubles to within the two rim pixels.
  EXPECT_NEAR(zoomed->width, 2 * wide->width, 2);
  EXPECT_NEAR(zoomed->height, 2 * wide->height, 2);

  // The tele camera films the same board through 248.46 mm instead of about
  // 8 mm: it fills the screen; back on the wide camera the zoom is kept.
  view_->SetCurCamera(0);
  EXPECT_EQ(view_->m_dZoomRatio[0], 1.0);
  const platform::Framebuffer tele = Picture();
  view_->SetCurCamera(1);
  EXPECT_EQ(view_->m_dZoomRatio[1], 2.0);
  const platform::Framebuffer back = Picture();
  int differing = 0;
  for (size_t i = 0; i < tele.pixels.size(); ++i) differing += tele.pixels[i] != back.pixels[i];
  EXPECT_GT(differing, int(tele.pixels.size()) / 4);
  EXPECT_TRUE(boxes_.empty());
}

TEST_F(LiveViewOnSimInst, SurveyPointsAreDrawnOnTheirTargetsBoards) {
  // Directions (zenith and horizontal offsets in degrees, distance in m)
  // from the line of sight; every board stands clear of the ground.
  // The screen shows the middle 320 x 240 pixels of the sensor at scale 1,
  // about 12.8 by 9.6 degrees.
  const double offsets[][3] = {
      {0, 0, 25}, {-3, -4.5, 18}, {-2, 4, 30}, {2.5, -3, 12}, {-2.5, 5, 40}, {2, 4, 20}};
  int judged = 0;
  for (double v : {84.0, 88.0}) {
    for (double h : {37.25, 211.5}) {
      SCOPED_TRACE(::testing::Message() << "V " << v << " H " << h);
      Turn(v, h);
      std::vector<CXYZ> boards;
      for (const auto& o : offsets) boards.push_back(PointAt(v + o[0], h + o[1], o[2]));
      platform::Framebuffer with, without;
      view_->m_Proj.BeginTrans(0);
      for (const CXYZ& b : boards) {
        double sx = 0, sy = 0;
        int visible = 0;
        if (view_->XYZtoScr(b.Y, b.X, b.Z, sx, sy, visible) != 1 || !visible) continue;
        if (sx < 30 || sx > 290 || sy < 30 || sy > 210) continue;  // board would leave the screen
        PictureWithAndWithout({b}, 0.3, with, without);
        const auto box = BoardOnScreen(with, without, int(sx), int(sy), 40);
        ASSERT_TRUE(box.has_value()) << "no board near (" << sx << ", " << sy << ")";
        EXPECT_NEAR(sx, box->x, 1.5);
        EXPECT_NEAR(sy, box->y, 1.5);
        ++judged;
      }
      // The view draws each point's red cross where XYZtoScr puts it.
      CKvoArray<CXYZ, CXYZ&> points;
      for (CXYZ b : boards) points.Add(b);
      view_->SetPoints(&points);
      const platform::Framebuffer marked = Picture();
      view_->SetPoints(nullptr);
      view_->m_Proj.BeginTrans(0);
      for (const CXYZ& b : boards) {
        double sx = 0, sy = 0;
        int visible = 0;
        if (view_->XYZtoScr(b.Y, b.X, b.Z, sx, sy, visible) != 1 || !visible) continue;
        const int x = int(sx), y = int(sy);
        if (x < 6 || x > 313 || y < 6 || y > 233) continue;
        EXPECT_EQ(marked.At(x - 4, y), 0xFF0000u) << "no cross at (" << x << ", " << y << ")";
        EXPECT_EQ(marked.At(x, y - 4), 0xFF0000u);
      }
    }
  }
  EXPECT_GE(judged, 16);  // of 24
}

TEST_F(LiveViewOnSimInst, TapOnATeleTargetAimsTheTelescopeAtIt) {
  Turn(90.0, 30.0);
  view_->SetCurCamera(0);
  const CXYZ target = PointAt(90.0 - 0.03, 30.0 - 0.04, 100.0);
  ASSERT_EQ(sim().AddTarget(L"T", target.X, target.Y, target.Z, 0.05), 1);
  double ex = 0, ey = 0;
  ASSERT_EQ(sim().TeleSensorPoint(target.X, target.Y, target.Z, &ex, &ey), 1);
  const VCAP_DISP_PARAMETER& disp = view_->m_DispParam[0];
  auto on_screen = [&](double sensor_x, double sensor_y) {
    return CPoint(int(std::floor(sensor_x - disp.SrcRect.left + disp.DstRect.left)),
                  int(std::floor(sensor_y - disp.SrcRect.top + disp.DstRect.top)));
  };

  view_->BeginCornerMode();
  // Before a distance is measured a tap is not taken.
  CPoint tap = on_screen(ex, ey);
  platform::InjectTap(tap.x, tap.y);
  platform::PumpMessages();
  EXPECT_EQ(view_->m_bTapped, 0);

  // Outside the allowed square (50 pixels each side at scale 1) it is refused.
  view_->SetGetMeas();
  platform::InjectTap(160 + 60, 120);
  platform::PumpMessages();
  EXPECT_EQ(view_->m_bTapped, 0);
  ASSERT_FALSE(boxes_.empty());
  EXPECT_EQ(boxes_.back().text, L"Please specify within the limit.");

  platform::InjectTap(tap.x, tap.y);
  platform::PumpMessages();
  ASSERT_EQ(view_->m_bTapped, 1);
  EXPECT_EQ(view_->m_ptTap.x, tap.x);
  // Aim: the differences are elevation-like (up positive) and clockwise.
  Turn(90.0 - view_->m_dDV, 30.0 + view_->m_dDH);
  ASSERT_EQ(sim().TeleSensorPoint(target.X, target.Y, target.Z, &ex, &ey), 1);
  EXPECT_NEAR(ex, view_->m_nCenterX[0] + 0.5, 1.0);
  EXPECT_NEAR(ey, view_->m_nCenterY[0] + 0.5, 1.0);

  // And on the screen the board now sits on the reticle.
  view_->EndCornerMode();
  platform::Framebuffer with, without;
  PictureWithAndWithout({target}, 0.05, with, without);
  const CPoint reticle = on_screen(view_->m_nCenterX[0] + 0.5, view_->m_nCenterY[0] + 0.5);
  const auto box = BoardOnScreen(with, without, reticle.x, reticle.y, 40);
  ASSERT_TRUE(box.has_value());
  EXPECT_NEAR(box->x, reticle.x + 0.5, 1.5);
  EXPECT_NEAR(box->y, reticle.y + 0.5, 1.5);
}

TEST_F(LiveViewOnSimInst, AutoExposureSettlesFromDarkAndBrightAndSnapshotFreezesIt) {
  Turn(92.0, 10.0);
  view_->m_nAEMode = 1;
  for (int lighting : {1, 2}) {  // dark, then bright
    SCOPED_TRACE(lighting == 1 ? "dark" : "bright");
    ASSERT_EQ(sim().SetLighting(lighting), 1);
    int previous = view_->m_StartParam.Brightness, still = 0, ticks = 0;
    while (ticks < 30 && still < 2) {
      platform::AdvanceTime(200);
      ++ticks;
      still = view_->m_StartParam.Brightness == previous ? still + 1 : 0;
      previous = view_->m_StartParam.Brightness;
    }
    EXPECT_EQ(still, 2) << "still moving after 30 ticks, at " << previous;
    EXPECT_GT(ticks, 2) << "nothing to do: the scene was already exposed";
    int max = 0, min = 0, mean = 0;
    ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
    EXPECT_LE(std::abs(mean - 128), 7) << "exposure " << previous;  // the dead band
  }
  // Frozen, the picture and the exposure stay as they are.
  view_->SnapShot();
  ASSERT_EQ(view_->GetSnapShot(), 1);
  const int frozen_at = view_->m_StartParam.Brightness;
  const platform::Framebuffer frozen = Picture();
  ASSERT_EQ(sim().SetLighting(1), 1);
  platform::AdvanceTime(1000);
  EXPECT_EQ(view_->m_StartParam.Brightness, frozen_at);
  EXPECT_TRUE(Picture().pixels == frozen.pixels);
  view_->EndSnapShot();
  platform::AdvanceTime(1000);
  EXPECT_GT(view_->m_StartParam.Brightness, frozen_at);
}

TEST_F(LiveViewOnSimInst, SnapshotIsSavedOnTheCardAndReadsBack) {
  Turn(88.0, 40.0);
  const CXYZ board = PointAt(88.0, 40.0, 25.0);
  ASSERT_EQ(sim().AddTarget(L"B", board.X, board.Y, board.Z, 0.3), 1);
  Picture();
  view_->SnapShot();
  CDibEx shown;
  view_->GetCaptureDisplay(shown);
  ASSERT_EQ(shown.GetDimensions().cx, 320);

  EXPECT_EQ(view_->WriteJpeg(), 1);
  ASSERT_FALSE(boxes_.empty());
  EXPECT_EQ(boxes_.back().text, L"Saved OK.");
  // Card folder from the registry, day folder, time, wide camera, zoom 1.00.
  CString path(L"\\Card\\JPEG\\20240503\\140709W100.jpg");
  ASSERT_NE(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES);

  CDibEx read;
  ASSERT_EQ(read.ReadJPEG(path), 1);
  ASSERT_EQ(read.GetDimensions().cx, shown.GetDimensions().cx);
  ASSERT_EQ(read.GetDimensions().cy, shown.GetDimensions().cy);
  // The saved picture is the displayed one, up to JPEG coding: compare the
  // mean absolute difference of the grey values.
  auto grey = [](CDibEx& image, int x, int y) {
    BYTE value = 0;
    EXPECT_EQ(image.GetPixel(&value, CPoint(x, y), /*luminance=*/3), TRUE);
    return int(value);
  };
  double sum = 0;
  for (int y = 0; y < 240; y += 2) {
    for (int x = 0; x < 320; x += 2) sum += std::abs(grey(read, x, y) - grey(shown, x, y));
  }
  EXPECT_LT(sum / (160 * 120), 4.0);
  view_->EndSnapShot();
  EXPECT_EQ(view_->GetSnapShot(), 0);
}

}  // namespace
