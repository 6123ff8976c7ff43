// A simulated field day on the simulated instrument: a seeded schedule of
// operator actions tick by tick (200 ms), a JPEG save every minute (every
// fifth onto a full card), over midnight. Each minute ends at home, settled,
// where the platform's counts and the view's look must be those after the
// warm-up, and the heap must not grow in the second half.
// SURVEYCAM_SOAK_TICKS sets the length (18000: an hour), SURVEYCAM_SOAK_SEED the schedule.
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/fs.h"
#include "platform/handles.h"
#include "platform/heap.h"
#include "platform/messages.h"
#include "platform/modules.h"
#include "platform/registry.h"
#include "platform/text.h"
#include "tests/support/live_view.h"
#include "tests/support/site.h"

namespace {

namespace fs = std::filesystem;
constexpr int kTicksPerMinute = 300, kSettleTicks = 40, kDefaultTicks = 2400;  // 8 minutes
constexpr double kHomeV = 88.0, kHomeH = 40.0;
constexpr wchar_t kCard[] = L"\\Storage Card";
constexpr wchar_t kFull[] = L"The capacity of the memory doesn't suffice. E-523";

int EnvInt(const char* name, int fallback) {
  const char* text = std::getenv(name);
  return text && std::atoi(text) > 0 ? std::atoi(text) : fallback;
}

// Heap bytes in use by the process, when the allocator is glibc's own (not
// under a sanitizer or valgrind, which replace it).
std::optional<size_t> HeapBytesInUse() {
#if defined(__SANITIZE_ADDRESS__)
  return std::nullopt;
#else
  const char* preload = std::getenv("LD_PRELOAD");
  if (preload && std::strstr(preload, "vgpreload")) return std::nullopt;
  return mallinfo2().uordblks;
#endif
}

class FieldDayTest : public liveview_test::SimLiveViewTest {
 protected:
  void TearDown() override {
    platform::fs::SetFreeSpaceOverride(std::nullopt);
    SimLiveViewTest::TearDown();
  }
  int Uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  bool Chance(double p) { return std::bernoulli_distribution(p)(rng_); }
  CXYZ& AnyPoint() { return points_[Uniform(0, points_.GetSize() - 1)]; }

  void LeaveMode() {
    static void (CCaptureWnd::*const kEnd[])() = {&CCaptureWnd::EndOffsetMode,
                                                  &CCaptureWnd::EndCornerMode,
                                                  &CCaptureWnd::EndDistanceMode,
                                                  &CCaptureWnd::EndRemMode};
    if (const int mode = view_->GetMode(); mode >= 1 && mode <= 4) (view_.get()->*kEnd[mode - 1])();
    EXPECT_EQ(view_->GetMode(), 0);
  }

  // One thing the operator does.
  void Act() {
    CCaptureWnd* v = view_.get();
    switch (Uniform(0, 9)) {
      case 0:
        v->SetCurCamera(Uniform(0, 1));
        Chance(0.5) ? v->ZoomIn() : v->ZoomOut();
        break;
      case 1:
        LeaveMode(), v->BeginOffsetMode(v->m_dCurV, v->m_dCurH);
        break;
      case 2:  // corner work, mostly on the tele camera, as corners are aimed at
        LeaveMode();
        if (Chance(0.8)) v->SetCurCamera(0);
        v->BeginCornerMode();
        if (Chance(0.8)) v->SetGetMeas();
        break;
      case 3:
        LeaveMode(), v->BeginDistanceMode(), v->AddDistanceAB(AnyPoint());
        break;
      case 4:
        LeaveMode(), v->BeginRemMode(), v->AddRemCoord(AnyPoint());
        break;
      case 5:
      case 6: {  // taps near the reticle (where the board is) or anywhere
        const int near = Chance(0.6) ? 40 : 160;
        platform::InjectTap(std::clamp(160 + Uniform(-near, near), 0, 319), 120 + Uniform(-40, 40));
        break;
      }
      case 7:
        v->m_nAEMode = Uniform(0, 3);
        instrument_->SetLighting(sim::Lighting(Uniform(0, 2)));
        break;
      case 8:
        Turn(std::clamp(v->m_dCurV + Uniform(-20, 20) * 0.05, 84.0, 95.0),
             v->m_dCurH + Uniform(-40, 40) * 0.05);
        break;
      default:
        Chance(0.5) ? v->SnapShot() : v->Reverse();
    }
    platform::PumpMessages();
  }

  // Saves what the view shows, sometimes frozen. Each folder the save finds
  // keeps one search handle open, as the device library always did.
  void Save() {
    const bool full = saves_++ % 5 == 2, freeze = Chance(0.5);
    if (freeze) view_->SnapShot();
    SYSTEMTIME now{};
    GetLocalTime(&now);
    const std::wstring day = platform::FormatW(L"%.4d%.2d%.2d", now.wYear, now.wMonth, now.wDay);
    long found = 0;
    for (const std::wstring& f : {std::wstring(), std::wstring(L"\\JPEG"), L"\\JPEG\\" + day})
      found += fs::is_directory(Host((kCard + f).c_str()));
    const long handles = platform::LiveHandles();
    if (full) platform::fs::SetFreeSpaceOverride(50000);  // below every threshold
    EXPECT_EQ(view_->WriteJpeg(), full ? 0 : 1);
    platform::fs::SetFreeSpaceOverride(std::nullopt);
    EXPECT_EQ(platform::LiveHandles() - handles, found);
    search_handles_ += found;
    EXPECT_EQ(boxes_.LastText(), full ? kFull : L"Saved OK.");
    boxes_.clear();
    if (!full) days_.insert(day);
    if (freeze) view_->EndSnapShot();
  }

  // One simulated minute: actions, a save, then home. Only the operator's own
  // texts may show, and the exposure stays in the driver's range.
  void Minute(int ticks) {
    const int active = std::max(0, ticks - kSettleTicks);
    const int save_at = active > 20 ? Uniform(10, active - 10) : -1;
    for (int t = 0; t < active; ++t, ++ticks_) {
      if (t == save_at) Save();
      if (Chance(0.25)) {
        Act();
        EXPECT_TRUE(view_->m_StartParam.Brightness >= -112 &&
                    view_->m_StartParam.Brightness <= 143);
        for (const auto& call : boxes_.calls())
          EXPECT_TRUE(call.text == L"Saved OK." || call.text == L"Please specify within the limit.")
              << platform::WideToUtf8(call.text);
        boxes_.clear();
      }
      platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);
    }
    GoHome(ticks - active);
  }

  // Home, then automatic exposure from 0 (it comes to rest: the look compares it).
  void GoHome(int settle) {
    view_->EndSnapShot();
    LeaveMode();
    view_->ClrGetMeas();
    if (view_->m_StartParam.Reverse) view_->Reverse();
    view_->SetDispCursor(1);
    for (int camera : {0, 1}) view_->SetCurCamera(camera), view_->InitZoom();
    Turn(kHomeV, kHomeH);
    instrument_->SetLighting(sim::Lighting::kNormal);
    view_->m_nAEMode = 0;  // one measuring tick at 0 first: the loop starts alike
    view_->InitAE();
    platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);
    view_->m_nAEMode = 1;
    for (int t = 1; t < settle; ++t, ++ticks_)
      platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);
    for (const auto& call : boxes_.calls()) ADD_FAILURE() << platform::WideToUtf8(call.text);
    boxes_.clear();
    devices::capture::ClearLog();
    devices::eeprom::ClearCalls();
  }

  // What the view shows and where, at home: the screen, the display and start
  // records, the image centres.
  std::string Look() {
    view_->InvalidateRect(nullptr, TRUE);
    platform::PumpMessages();
    platform::Present();
    const auto& screen = platform::Screen().pixels;
    std::string look(reinterpret_cast<const char*>(screen.data()), screen.size() * 4);
    look.append(reinterpret_cast<const char*>(view_->m_DispParam), sizeof view_->m_DispParam);
    look.append(reinterpret_cast<const char*>(&view_->m_StartParam), sizeof view_->m_StartParam);
    for (int c : {0, 1}) look += std::to_string(view_->m_nCenterX[c] * 1000 + view_->m_nCenterY[c]);
    return look;
  }

  std::mt19937 rng_{uint32_t(EnvInt("SURVEYCAM_SOAK_SEED", 20240503))};
  CKvoArray<CXYZ, CXYZ&> points_;
  std::set<std::wstring> days_;
  long search_handles_ = 0;
  int saves_ = 0, ticks_ = 0;
};

TEST_F(FieldDayTest, AnHourOfWorkLeavesNoTraceAndChangesNothing) {
  const int total = EnvInt("SURVEYCAM_SOAK_TICKS", kDefaultTicks);
  const int minutes = std::max(2, (total + kTicksPerMinute - 1) / kTicksPerMinute);
  const int warm_up = std::clamp(minutes / 4, 1, 5), half_way = warm_up + (minutes - warm_up) / 2;
  // Midnight falls half-way through the day.
  const int64_t now = platform::clock::NowMs(), midnight = now - now % 86400000 + 86400000;
  platform::clock::SetLocal(platform::clock::ToSystemTime(
      midnight - int64_t(total / 2) * CCaptureWnd::kFrameTimerPeriodMs));
  ASSERT_TRUE(
      platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", kCard));
  ASSERT_TRUE(CreateDirectoryW(kCard, nullptr));
  sim::Calibration c;  // with distortion and a camera offset
  c.ccd_offset = CXYZ(42.0, -18.0, 65.0);
  c.dist.SetDistModel(DIST_RADIAL_DECENTER);
  for (int i = 0; i < 4; ++i) c.dist.AddPara(i, std::array{-2.1e-3, 1.4e-5, 1.2e-4, -6.0e-5}[i]);
  Start(c);
  ASSERT_FALSE(HasFatalFailure());
  instrument_->station().SetAngles(kHomeV, kHomeH);
  // Boards around home for the wide camera, one far board near the tele reticle.
  const double offsets[][4] = {
      {-0.08, 0.08, 150, 0.25}, {-4, -7, 18, 0.3}, {3, 6, 30, 0.3}, {2, -3, 22, 0.3}};
  for (const auto& o : offsets) {
    sim::Target t = sim_test::TargetAt(
        instrument_->station().State(), kHomeV + o[0], kHomeH + o[1], o[2], o[3]);
    t.name = L"P" + std::to_wstring(points_.GetSize() + 1);
    instrument_->AddTarget(t);
    CXYZ p(t.name.c_str(), t.x, t.y, t.z);
    points_.Add(p);
  }
  view_->SetPoints(&points_);
  GoHome(kSettleTicks);
  const std::string first = Look();
  std::vector<long> base;
  std::optional<size_t> half_heap;
  long warm_handles = 0, half_handles = 0;
  for (int m = 1; m <= minutes && !HasFailure(); ++m) {
    Minute(std::min(kTicksPerMinute, std::max(total - ticks_, kSettleTicks)));
    const bool same = Look() == first;
    std::vector<long> counts = {CFile::OpenFiles(),
                                platform::LiveHandles(),
                                platform::LiveHeapBlocks(),
                                platform::modules::LoadedModules(),
                                platform::registry::OpenKeys(),
                                long(platform::LiveWindows()),
                                long(platform::RunningTimers()),
                                devices::capture::OpenInstances()};
    if (m == half_way) half_heap = HeapBytesInUse(), half_handles = search_handles_;
    if (m < warm_up) continue;
    EXPECT_TRUE(same) << "the view changed by minute " << m;
    if (m == warm_up) base = counts, warm_handles = search_handles_;
    counts[1] -= search_handles_ - warm_handles;  // the saves' search handles, checked per save
    EXPECT_EQ(counts, base) << "files, handles, heap blocks, modules, keys, windows, timers, "
                               "capture after minute "
                            << m;
  }
  if (total >= 5 * kTicksPerMinute) {
    EXPECT_EQ(days_.size(), 2u) << "saves on both sides of midnight";
  }
  // Work buffers grow to the largest picture or search they have met and
  // then stay: the second half of the day must not add to the heap.
  const std::optional<size_t> end_heap = HeapBytesInUse();
  if (end_heap && half_heap) {
    EXPECT_LT(long(*end_heap) - long(*half_heap),
              64 * 1024 + 1024 * (search_handles_ - half_handles))
        << "heap bytes grew in the second half";
  }
}

}  // namespace
