// A simulated field day: one live view on the simulated instrument, driven
// tick by tick (200 ms on the platform clock) through a seeded schedule of
// what an operator does in the field: camera switches, zooms, mode changes,
// taps, keys, exposure and lighting changes, instrument turns, frozen
// pictures, JPEG saves every simulated minute (a card that fills up now and
// then, old pictures deleted), calibration reads and writes and camera and
// orientation files. The day runs over midnight, so saves move to a new day
// folder part-way.
//
// Each simulated minute ends at a quiescent point: the view is brought back
// home (no mode, wide camera, ratio 1, the home pose, normal light, automatic
// exposure restarted from 0) and left to settle. There the platform's own
// counts (open files, kernel handles, heap blocks, modules, registry keys,
// windows, timers, driver instances) must be what they were after the
// warm-up, and the view must behave as it did then: the same screen (hash of
// the framebuffer), the same settled exposure, the same overlay positions
// and display records, the same calibration in memory and in the files.
//
// SURVEYCAM_SOAK_TICKS sets the length (18000 is the full hour; the default
// keeps a normal build well under a minute); SURVEYCAM_SOAK_SEED the schedule.
#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "devices/eeprom_module.h"
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/file.h"
#include "platform/fs.h"
#include "platform/handles.h"
#include "platform/heap.h"
#include "platform/messages.h"
#include "platform/modules.h"
#include "platform/registry.h"
#include "platform/text.h"
#include "sim/instrument.h"
#include "tests/liveview/survey_view_fixture.h"
#include "tests/support/site.h"

namespace soak_test {
namespace {

constexpr int kTicksPerMinute = 300;  // 200 ms ticks
constexpr int kSettleTicks = 40;      // the end of every minute: home, exposure settles
constexpr int kDefaultTicks = 2400;   // eight simulated minutes
constexpr double kHomeV = 88.0;
constexpr double kHomeH = 40.0;
constexpr wchar_t kMemoryKey[] = L"HKLM\\SYSTEM\\QZ7mInit\\Memory";
constexpr wchar_t kCard[] = L"\\Storage Card";
constexpr wchar_t kCameraFile[] = L"\\Storage Card\\field.cmr";
constexpr wchar_t kOrientFile[] = L"\\Storage Card\\field_orient.txt";
constexpr uint64_t kFullCardBytes = 50000;  // below every threshold of the JPEG save
const std::set<std::wstring> kOperatorTexts = {L"Saved OK.", L"Please specify within the limit."};
const std::wstring kCardFullText = L"The capacity of the memory doesn't suffice. E-523";

int EnvInt(const char* name, int fallback) {
  const char* text = std::getenv(name);
  const int value = text ? std::atoi(text) : 0;
  return value > 0 ? value : fallback;
}

// Heap bytes in use by the whole process, when the allocator is glibc's own
// (not under a sanitizer or valgrind, which replace it).
std::optional<size_t> HeapBytesInUse() {
#if defined(__SANITIZE_ADDRESS__)
  return std::nullopt;
#else
  const char* preload = std::getenv("LD_PRELOAD");
  if (preload && std::strstr(preload, "vgpreload")) return std::nullopt;
  return mallinfo2().uordblks;
#endif
}

struct Counts {
  long files = 0;
  long handles = 0;
  long heap_blocks = 0;
  long modules = 0;
  long keys = 0;
  size_t windows = 0;
  size_t timers = 0;
  int capture = 0;
  bool operator==(const Counts&) const = default;
};

std::ostream& operator<<(std::ostream& os, const Counts& c) {
  return os << "files " << c.files << " handles " << c.handles << " heap blocks " << c.heap_blocks
            << " modules " << c.modules << " keys " << c.keys << " windows " << c.windows
            << " timers " << c.timers << " capture " << c.capture;
}

Counts TakeCounts() {
  return {CFile::OpenFiles(),
          platform::LiveHandles(),
          platform::LiveHeapBlocks(),
          platform::modules::LoadedModules(),
          platform::registry::OpenKeys(),
          platform::LiveWindows(),
          platform::RunningTimers(),
          devices::capture::OpenInstances()};
}

// What the view shows and where, at home.
struct Look {
  uint64_t screen = 0;
  int exposure = 0;
  std::vector<double> overlay;   // per survey point: result, sx, sy, visible
  std::vector<uint8_t> records;  // both display records and the driver's
  int centres[4] = {};
  bool operator==(const Look&) const = default;
};

std::ostream& operator<<(std::ostream& os, const Look& l) {
  return os << "screen " << std::hex << l.screen << std::dec << " exposure " << l.exposure
            << " centres " << l.centres[0] << "," << l.centres[1] << " " << l.centres[2] << ","
            << l.centres[3];
}

uint64_t Hash(const platform::Framebuffer& frame) {
  uint64_t h = 1469598103934665603ull;  // FNV-1a
  for (uint32_t p : frame.pixels) {
    for (int i = 0; i < 4; ++i) h = (h ^ ((p >> (8 * i)) & 0xFF)) * 1099511628211ull;
  }
  return h;
}

template <class T>
void AppendBytes(std::vector<uint8_t>& out, const T& value) {
  const auto* p = reinterpret_cast<const uint8_t*>(&value);
  out.insert(out.end(), p, p + sizeof(T));
}

template <class T>
void Store(int item, T value) {
  std::vector<uint8_t> bytes(sizeof(T));
  std::memcpy(bytes.data(), &value, sizeof(T));
  ASSERT_TRUE(devices::eeprom::SetItem(item, bytes));
}

sim::Calibration FieldCalibration() {
  sim::Calibration c;
  c.principal_x = 1.801;
  c.principal_y = 1.337;
  c.ccd_offset.SetXYZ(42.0, -18.0, 65.0);
  c.ccd_angle.SetWPK(0.0041, -0.0032, 0.0057);
  c.wide_center_x = 324;
  c.wide_center_y = 236;
  c.tele_center_x = 318;
  c.tele_center_y = 242;
  c.dist.SetDistModel(DIST_RADIAL_DECENTER);
  const double params[4] = {-2.1e-3, 1.4e-5, 1.2e-4, -6.0e-5};  // K1 K2 P1 P2
  for (int i = 0; i < 4; ++i) c.dist.AddPara(i, params[i]);
  return c;
}

// The factory calibration in the instrument's memory (items 80..99).
void StoreCalibration(const sim::Calibration& c) {
  Store<double>(80, c.focal_length);
  Store<double>(81, c.principal_x);
  Store<double>(82, c.principal_y);
  Store<int32_t>(83, c.dist.GetDistModel());
  for (int i = 0; i < 4; ++i) Store<double>(84 + i, c.dist.GetPara(i));
  Store<double>(88, c.resolution_x);
  Store<double>(89, c.resolution_y);
  Store<int16_t>(90, int16_t(c.wide_center_x));
  Store<int16_t>(91, int16_t(c.wide_center_y));
  Store<int16_t>(92, int16_t(c.tele_center_x));
  Store<int16_t>(93, int16_t(c.tele_center_y));
  Store<double>(94, c.ccd_offset.X);
  Store<double>(95, c.ccd_offset.Y);
  Store<double>(96, c.ccd_offset.Z);
  Store<double>(97, c.ccd_angle.omega);
  Store<double>(98, c.ccd_angle.phi);
  Store<double>(99, c.ccd_angle.kappa);
}

std::vector<std::vector<uint8_t>> MemoryItems() {
  std::vector<std::vector<uint8_t>> items;
  for (int i = devices::eeprom::kFirstItem; i <= devices::eeprom::kLastItem; ++i)
    items.push_back(devices::eeprom::Item(i).value_or(std::vector<uint8_t>{}));
  return items;
}

std::string FileBytes(const std::string& host_path) {
  std::ifstream in(host_path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class FieldDayTest : public survey_view_test::SurveyViewTest {
 protected:
  void SetUp() override {
    SurveyViewTest::SetUp();
    rng_.seed(uint32_t(EnvInt("SURVEYCAM_SOAK_SEED", 20240503)));
  }
  void TearDown() override {
    platform::fs::SetFreeSpaceOverride(std::nullopt);
    if (view_) view_->SetPoints(nullptr);
    SurveyViewTest::TearDown();
  }

  // ---- Setting out ----

  // Starts the clock so that midnight falls half-way through the day.
  void SetClock(int ticks) {
    const int64_t now = platform::clock::NowMs();
    const int64_t midnight = now - now % 86400000 + 86400000;
    platform::clock::SetLocal(platform::clock::ToSystemTime(
        midnight - int64_t(ticks / 2) * CCaptureWnd::kFrameTimerPeriodMs));
  }

  void Start(int ticks) {
    SetClock(ticks);
    calibration_ = FieldCalibration();
    instrument_ = std::make_shared<sim::Instrument>();
    instrument_->SetCalibration(calibration_);
    instrument_->station().SetAngles(kHomeV, kHomeH);
    const sim::StationState state = instrument_->station().State();
    // Boards around the home direction for the wide camera, and one far
    // board whose corner sits near the tele camera's reticle at home.
    const double offsets[][4] = {{-0.08, 0.08, 150, 0.25},
                                 {-4, -7, 18, 0.3},
                                 {3, 6, 30, 0.3},
                                 {2, -3, 22, 0.3},
                                 {-1, 9, 60, 0.3}};
    for (const auto& o : offsets) {
      sim::Target t = sim_test::TargetAt(state, kHomeV + o[0], kHomeH + o[1], o[2], o[3]);
      t.name = L"P" + std::to_wstring(points_.GetSize() + 1);
      instrument_->AddTarget(t);
      CXYZ p(t.name.c_str(), t.x, t.y, t.z);
      points_.Add(p);
    }
    devices::SetFrameSource(instrument_);
    StoreCalibration(calibration_);
    memory_ = MemoryItems();
    ASSERT_TRUE(platform::registry::SetString(kMemoryKey, L"PCMCIAFolder", kCard));
    ASSERT_TRUE(CreateDirectoryW(kCard, nullptr));
    CreateView();
    view_->SetPoints(&points_);
  }

  void Turn(double v, double h) {
    instrument_->station().SetAngles(v, h);
    const sim::Vec3 axis = instrument_->station().State().AxisPoint();
    CXYZ mp(axis.x, axis.y, axis.z);
    view_->SetMp(mp);
    view_->UpdateAngle(v, h);
  }

  // One timer tick; a frozen picture keeps its exposure.
  void Tick() {
    const bool frozen = view_->GetSnapShot() == 1;
    const int exposure = view_->m_StartParam.Brightness;
    platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);
    ++ticks_;
    if (frozen && view_->GetSnapShot() == 1) {
      EXPECT_EQ(view_->m_StartParam.Brightness, exposure);
    }
  }

  int Uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  bool Chance(double p) { return std::bernoulli_distribution(p)(rng_); }

  // ---- Modes ----

  // Back to mode 0. Camera alignment and user offset stay set when ended:
  // the host enters and leaves another mode to clear them. Alignment moved
  // the image centres, so the calibration is read back.
  void LeaveMode() {
    const int mode = view_->GetMode();
    switch (mode) {
      case 1:
        view_->EndOffsetMode();
        break;
      case 2:
        view_->EndCornerMode();
        break;
      case 3:
        view_->EndDistanceMode();
        break;
      case 4:
        view_->EndRemMode();
        break;
      case 5:
        view_->EndCCDAttachMode();
        break;
      case 6:
        view_->EndUserCCDMode();
        break;
      default:
        break;
    }
    if (view_->GetMode() != 0) {
      view_->BeginDistanceMode();
      view_->EndDistanceMode();
    }
    if (mode == 5) {
      EXPECT_TRUE(view_->FlashReadDat());
    }
    EXPECT_EQ(view_->GetMode(), 0);
  }

  void EnterMode() {
    LeaveMode();
    switch (Chance(0.3) ? 2 : Uniform(1, 6)) {  // corner work is the most common
      case 1:
        view_->BeginOffsetMode(view_->m_dCurV, view_->m_dCurH);
        break;
      case 2:  // on the tele camera, as corners are aimed at
        if (Chance(0.8)) view_->SetCurCamera(0);
        view_->BeginCornerMode();
        if (Chance(0.8)) view_->SetGetMeas();
        break;
      case 3:
        view_->BeginDistanceMode();
        for (int i = 0; i < Uniform(1, 3); ++i)
          view_->AddDistanceAB(points_[Uniform(0, points_.GetSize() - 1)]);
        EXPECT_LE(view_->m_MeasPoints.GetSize(), 2);
        break;
      case 4:
        view_->BeginRemMode();
        for (int i = 0; i < Uniform(1, 3); ++i)
          view_->AddRemCoord(points_[Uniform(0, points_.GetSize() - 1)]);
        EXPECT_EQ(view_->m_MeasPoints.GetSize(), 1);
        break;
      case 5:
        view_->SetCCDAttachMode();
        break;
      default:
        view_->SetUserCCDMode();
        view_->UserCCDOffset(Uniform(-3, 3), Uniform(-3, 3));
        break;
    }
  }

  // ---- Input ----

  // A tap inside or outside the allowed square of corner mode.
  void TapEvent() {
    const int half = int(view_->m_dZoom[0] * 100 + 0.5) / 2;
    const bool outside = half < 110 && Chance(0.4);
    const int near = std::min(half, 40);  // taps go near the reticle, where the board is
    int x = 160 + Uniform(-near, near), y = 120 + Uniform(-near, near);
    if (outside) x = Chance(0.5) ? Uniform(0, 160 - half - 1) : Uniform(160 + half + 1, 319);
    x = std::clamp(x, 0, 319);
    const bool taken = view_->GetMode() == 2 && view_->StsGetMeas() == 1 &&
                       view_->GetCurCamera() == 0 && view_->m_bTiltErr == 0;
    const size_t boxes = boxes_.size();
    platform::InjectTap(x, y);
    platform::PumpMessages();
    if (!taken) return;
    ++taps_taken_;
    double dv = 0.0, dh = 0.0;
    corners_found_ += view_->GetCornerMoveAng(dv, dh);
    EXPECT_EQ(view_->m_bTapOutside, outside ? 1 : 0);
    EXPECT_EQ(view_->m_bTapped, outside ? 0 : 1);
    if (outside) {
      ASSERT_GT(boxes_.size(), boxes);
      EXPECT_EQ(boxes_.calls()[boxes].text, L"Please specify within the limit.");
    }
  }

  void KeyEvent() {
    static const UINT keys[] = {37, 38, 39, 40, 49, 50, 51, 57};
    const UINT key = keys[Uniform(0, 7)];
    const bool shift = Chance(0.25);
    const bool arrow = key >= 37 && key <= 40;
    const double ratios[2] = {view_->m_dZoomRatio[0], view_->m_dZoomRatio[1]};
    const int exposure = view_->m_StartParam.Brightness;
    const bool frozen = view_->GetSnapShot() == 1;
    if (shift) platform::InjectKey(VK_SHIFT, true);
    view_->KeyControl(key);
    if (shift) platform::InjectKey(VK_SHIFT, false);
    platform::PumpMessages();
    if (shift && arrow && !frozen) {
      EXPECT_EQ(view_->m_dZoomRatio[0], ratios[0]);
      EXPECT_EQ(view_->m_dZoomRatio[1], ratios[1]);
      EXPECT_EQ(view_->m_StartParam.Brightness, exposure);
    }
    CheckLimits();
  }

  void CheckLimits() {
    for (int c = 0; c < 2; ++c) {
      const double r = view_->m_dZoomRatio[c];
      EXPECT_TRUE(r == 1.0 || r == 2.0 || r == 4.0) << r;
    }
    EXPECT_GE(view_->m_StartParam.Brightness, -112);
    EXPECT_LE(view_->m_StartParam.Brightness, 143);
    EXPECT_TRUE(view_->GetCurCamera() == 0 || view_->GetCurCamera() == 1);
  }

  void ZoomEvent() {
    const int camera = view_->GetCurCamera();
    const double before = view_->m_dZoomRatio[camera];
    const bool in = Chance(0.5);
    in ? view_->ZoomIn() : view_->ZoomOut();
    const double want = in ? std::min(before * 2, 4.0) : std::max(before / 2, 1.0);
    EXPECT_EQ(view_->m_dZoomRatio[camera], want);
    EXPECT_EQ(view_->m_dZoom[camera], view_->m_dBaseZoom * want);
  }

  void TurnEvent() {
    if (Chance(0.3)) return Turn(kHomeV, kHomeH);  // back on the far board
    const double v = std::clamp(view_->m_dCurV + Uniform(-20, 20) * 0.05, 84.0, 95.0);
    Turn(v, view_->m_dCurH + Uniform(-40, 40) * 0.05);
  }

  // ---- Calibration and files ----

  // Reads the calibration back and writes it again: memory and view agree
  // and the stored records never drift.
  void CalibrationEvent() {
    EXPECT_TRUE(view_->FlashReadCmr());
    EXPECT_TRUE(view_->FlashReadDat());
    EXPECT_EQ(view_->m_Camera.FocalLength, calibration_.focal_length);
    EXPECT_EQ(view_->m_Camera.Dist.GetPara(2), calibration_.dist.GetPara(2));
    EXPECT_EQ(view_->m_nCenterX[0], calibration_.tele_center_x);
    EXPECT_EQ(view_->m_nCenterY[1], calibration_.wide_center_y);
    EXPECT_TRUE(view_->FlashWriteCmr());
    EXPECT_TRUE(view_->FlashWriteDat());
    EXPECT_EQ(MemoryItems(), memory_);
  }

  // The operator nudges one camera's centre in user-offset mode, stores it,
  // then takes it back: the memory ends as it began.
  void UserOffsetEvent() {
    LeaveMode();
    view_->SetUserCCDMode();
    const int camera = view_->GetCurCamera();
    const int item = camera == 0 ? 92 : 90;
    const int dx = Uniform(1, 4), dy = -Uniform(1, 4);
    const int x = view_->m_nCenterX[camera], y = view_->m_nCenterY[camera];
    view_->UserCCDOffset(dx, dy);
    EXPECT_TRUE(view_->UserCCDOffsetSet());
    int16_t stored = 0;
    std::memcpy(&stored, devices::eeprom::Item(item)->data(), 2);
    EXPECT_EQ(stored, x + dx);
    view_->SetUserCCDMode();
    view_->UserCCDOffset(-dx, -dy);
    EXPECT_TRUE(view_->UserCCDOffsetSet());
    view_->SetUserCCDMode();
    EXPECT_EQ(view_->m_nCenterX[camera], x);
    EXPECT_EQ(view_->m_nCenterY[camera], y);
    EXPECT_EQ(MemoryItems(), memory_);
  }

  // Camera and orientation files from the view's calibration: each reads
  // back and the bytes are those of the first write of the day.
  void FilesEvent() {
    EXPECT_TRUE(view_->FlashReadDat());  // camera alignment may have moved the centres in the view
    ASSERT_EQ(view_->m_Camera.Write(kCameraFile), 1);
    CCamera camera;
    ASSERT_EQ(camera.Read(kCameraFile), 1);
    EXPECT_EQ(camera.FocalLength, view_->m_Camera.FocalLength);
    VKR3ZA_CALIB orient;
    orient.Ccd1CenterX = view_->m_nCenterX[1];
    orient.Ccd1CenterY = view_->m_nCenterY[1];
    orient.Ccd2CenterX = view_->m_nCenterX[0];
    orient.Ccd2CenterY = view_->m_nCenterY[0];
    orient.Ccd2Offset = view_->m_CcdOffset;
    orient.Ccd2Angle = view_->m_CcdAngle;
    ASSERT_EQ(orient.Write(kOrientFile), 1);
    VKR3ZA_CALIB back;
    ASSERT_EQ(back.Read(kOrientFile), 1);
    EXPECT_EQ(back.Ccd2CenterX, orient.Ccd2CenterX);
    EXPECT_EQ(back.Ccd1CenterY, orient.Ccd1CenterY);
    const std::string files = FileBytes(Host(kCameraFile)) + "|" + FileBytes(Host(kOrientFile));
    if (first_files_.empty()) first_files_ = files;
    EXPECT_EQ(files, first_files_);
  }

  // ---- Pictures ----

  // Saves what the view shows (sometimes frozen first, sometimes onto a full
  // card). Each folder the save finds keeps one search handle open, as the
  // device library always did; nothing else may stay behind.
  void SaveEvent() {
    const bool full = saves_ % 5 == 2;
    const bool freeze = Chance(0.5);
    if (freeze) view_->SnapShot();
    SYSTEMTIME now{};
    GetLocalTime(&now);
    const int camera = view_->GetCurCamera();
    const std::wstring day = platform::FormatW(L"%.4d%.2d%.2d", now.wYear, now.wMonth, now.wDay);
    const std::wstring folders[3] = {
        kCard, std::wstring(kCard) + L"\\JPEG", std::wstring(kCard) + L"\\JPEG\\" + day};
    long found = 0;
    for (const auto& f : folders) found += std::filesystem::is_directory(Host(f.c_str()));
    const std::wstring path =
        folders[2] + platform::FormatW(L"\\%.2d%.2d%.2d%s%.3d.jpg",
                                       now.wHour,
                                       now.wMinute,
                                       now.wSecond,
                                       camera == 0 ? L"T" : L"W",
                                       int(view_->m_dZoom[camera] * 100 + 0.5));
    const long handles = platform::LiveHandles();
    const size_t boxes = boxes_.size();
    if (full) platform::fs::SetFreeSpaceOverride(kFullCardBytes);
    const int result = view_->WriteJpeg();
    platform::fs::SetFreeSpaceOverride(std::nullopt);
    EXPECT_EQ(platform::LiveHandles() - handles, found);
    search_handles_ += found;
    ASSERT_EQ(boxes_.size(), boxes + 1);
    if (full) {
      EXPECT_EQ(result, 0);
      EXPECT_EQ(boxes_.LastText(), kCardFullText);
      EXPECT_FALSE(std::filesystem::exists(Host(path.c_str())));
    } else {
      EXPECT_EQ(result, 1);
      EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
      EXPECT_TRUE(std::filesystem::exists(Host(path.c_str())));
      saved_.push_back(path);
      days_.insert(day);
    }
    ++saves_;
    boxes_.clear();
    if (freeze) view_->EndSnapShot();
    if (saved_.size() > 6) DeleteOldPictures();
  }

  // Keeps the newest three pictures; the card then holds exactly those.
  void DeleteOldPictures() {
    while (saved_.size() > 3) {
      EXPECT_TRUE(DeleteFileW(saved_.front().c_str()));
      saved_.pop_front();
    }
    size_t on_card = 0;
    for (const auto& e : std::filesystem::recursive_directory_iterator(Host(kCard)))
      on_card += e.path().extension() == ".jpg";
    EXPECT_EQ(on_card, saved_.size());
  }

  // ---- The schedule ----

  void Event() {
    ++events_;
    switch (Uniform(0, 19)) {
      case 0:
      case 1:
        view_->SetCurCamera(Uniform(0, 1));
        break;
      case 2:
      case 3:
        ZoomEvent();
        break;
      case 4:
      case 5:
        EnterMode();
        break;
      case 6:
      case 7:
      case 8:
        TapEvent();
        break;
      case 9:
      case 10:
      case 11:
        KeyEvent();
        break;
      case 12:
        view_->m_nAEMode = Uniform(0, 3);
        break;
      case 13:
        instrument_->SetLighting(sim::Lighting(Uniform(0, 2)));
        break;
      case 14:
      case 15:
        TurnEvent();
        break;
      case 16:
        view_->SnapShot();
        break;
      case 17:
        Chance(0.2) ? view_->SetTiltErr() : view_->ClrTiltErr();
        break;
      case 18:
        Chance(0.5) ? CalibrationEvent() : FilesEvent();
        break;
      default:
        if (Chance(0.3)) view_->Reverse();
        if (Chance(0.3)) UserOffsetEvent();
        break;
    }
    for (const auto& call : boxes_.calls()) {
      EXPECT_TRUE(kOperatorTexts.count(call.text)) << platform::WideToUtf8(call.text);
    }
    boxes_.clear();
  }

  // One simulated minute of `ticks`: events, a save, then home.
  void Minute(int ticks) {
    const int active = std::max(0, ticks - kSettleTicks);
    const int save_at = active > 20 ? Uniform(10, active - 10) : -1;
    for (int t = 0; t < active; ++t) {
      if (t == save_at) SaveEvent();
      if (Chance(0.25)) Event();
      Tick();
    }
    GoHome(ticks - active);
  }

  // Home: no mode, wide camera, ratio 1 on both, the home pose, normal light,
  // automatic exposure restarted from 0 and left to settle.
  void GoHome(int settle) {
    view_->EndSnapShot();
    LeaveMode();
    view_->ClrGetMeas();
    view_->ClrDistMeasing();
    view_->ClrTiltErr();
    if (view_->m_StartParam.Reverse) view_->Reverse();
    view_->SetDispCursor(1);
    for (int camera : {0, 1}) {
      view_->SetCurCamera(camera);
      view_->InitZoom();
    }
    Turn(kHomeV, kHomeH);
    instrument_->SetLighting(sim::Lighting::kNormal);
    // Exposure 0 and one measuring tick first: the driver's next frame then
    // shows the home scene at 0, so the automatic loop starts from the same
    // picture every time (its dead band makes where it stops depend on it).
    view_->m_nAEMode = 0;
    view_->InitAE();
    Tick();
    view_->m_nAEMode = 1;
    std::vector<int> exposures;
    for (int t = 1; t < settle; ++t) {
      Tick();
      exposures.push_back(view_->m_StartParam.Brightness);
    }
    if (exposures.size() >= 5) {
      EXPECT_TRUE(std::all_of(
          exposures.end() - 5, exposures.end(), [&](int e) { return e == exposures.back(); }))
          << "exposure still moving at the end of minute " << minutes_;
    }
    for (const auto& call : boxes_.calls()) ADD_FAILURE() << platform::WideToUtf8(call.text);
    boxes_.clear();
    devices::capture::ClearLog();  // the simulated driver's request log is the test's, not the
                                   // view's
    devices::eeprom::ClearCalls();
    ++minutes_;
  }

  Look TakeLook() {
    view_->InvalidateRect(nullptr, TRUE);
    platform::PumpMessages();
    platform::Present();
    Look look;
    look.screen = Hash(platform::Screen());
    look.exposure = view_->m_StartParam.Brightness;
    view_->m_Proj.BeginTrans(0);
    for (int i = 0; i < points_.GetSize(); ++i) {
      double sx = 0, sy = 0;
      int visible = 0;
      const int result = view_->XYZtoScr(points_[i].Y, points_[i].X, points_[i].Z, sx, sy, visible);
      look.overlay.insert(look.overlay.end(), {double(result), sx, sy, double(visible)});
    }
    AppendBytes(look.records, view_->m_DispParam);
    AppendBytes(look.records, view_->m_StartParam);
    AppendBytes(look.records, devices::capture::LastDisplay().value_or(VCAP_DISP_PARAMETER{}));
    look.centres[0] = view_->m_nCenterX[0];
    look.centres[1] = view_->m_nCenterY[0];
    look.centres[2] = view_->m_nCenterX[1];
    look.centres[3] = view_->m_nCenterY[1];
    return look;
  }

  std::mt19937 rng_;
  sim::Calibration calibration_;
  std::shared_ptr<sim::Instrument> instrument_;
  CKvoArray<CXYZ, CXYZ&> points_;
  std::vector<std::vector<uint8_t>> memory_;
  std::string first_files_;
  std::deque<std::wstring> saved_;
  std::set<std::wstring> days_;
  long search_handles_ = 0;
  int saves_ = 0;
  int ticks_ = 0;
  int minutes_ = 0;
  int events_ = 0;
  int taps_taken_ = 0;
  int corners_found_ = 0;
};

// Heap bytes at a quiescent point, with the search handles the saves had
// left open by then (each holds a little memory).
struct HeapMark {
  std::optional<size_t> bytes;
  long handles = 0;
};

TEST_F(FieldDayTest, AnHourOfWorkLeavesNoTraceAndChangesNothing) {
  const int total = EnvInt("SURVEYCAM_SOAK_TICKS", kDefaultTicks);
  const int minutes = std::max(2, (total + kTicksPerMinute - 1) / kTicksPerMinute);
  const int warm_up = std::clamp(minutes / 4, 1, 5);
  const int half_way = warm_up + (minutes - warm_up) / 2;
  Start(total);
  ASSERT_FALSE(HasFatalFailure());
  GoHome(kSettleTicks);
  const Look first = TakeLook();

  Counts base;
  Look reference;
  HeapMark warm, half;
  for (int m = 1; m <= minutes && !HasFailure(); ++m) {
    Minute(std::min(kTicksPerMinute, std::max(total - ticks_, kSettleTicks)));
    const Look look = TakeLook();
    Counts counts = TakeCounts();
    if (m == half_way) half = {HeapBytesInUse(), search_handles_};
    if (m < warm_up) continue;
    if (m == warm_up) {
      base = counts;
      reference = look;
      warm = {HeapBytesInUse(), search_handles_};
      EXPECT_EQ(look, first) << "after the warm-up";
      continue;
    }
    counts.handles -=
        search_handles_ - warm.handles;  // the saves' search handles, checked per save
    EXPECT_EQ(counts, base) << "after minute " << m;
    EXPECT_EQ(look, reference) << "after minute " << m;
  }
  if (total >= 5 * kTicksPerMinute) {
    EXPECT_EQ(days_.size(), 2u) << "saves on both sides of midnight";
  }
  const HeapMark end{HeapBytesInUse(), search_handles_};
  // Work buffers grow to the largest picture or search they have met and
  // then stay: the second half of the day must not add to the heap.
  if (end.bytes && half.bytes && warm.bytes) {
    const long late = long(*end.bytes) - long(*half.bytes);
    EXPECT_LT(late, 64 * 1024 + 1024 * (end.handles - half.handles))
        << "heap bytes grew in the second half";
    std::printf("heap bytes in use: %zu after the warm-up, %zu half-way, %zu at the end\n",
                *warm.bytes,
                *half.bytes,
                *end.bytes);
  }
  std::ostringstream counts;
  counts << base;
  std::printf(
      "field day: %d ticks, %d minutes, %d events, %d saves, %ld search handles left open by "
      "saves\n"
      "corner-mode taps taken: %d, corners found: %d\n"
      "counts after the warm-up and at every later minute: %s\n",
      ticks_,
      minutes_,
      events_,
      saves_,
      search_handles_,
      taps_taken_,
      corners_found_,
      counts.str().c_str());
  RecordProperty("ticks", ticks_);
  RecordProperty("saves", saves_);
  RecordProperty("search_handles_left_open", std::to_string(search_handles_));
}

}  // namespace
}  // namespace soak_test
