// Fault matrix of the live view's operations.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "camera/memory_items.h"
#include "image/dib_ex.h"
#include "platform/registry.h"
#include "platform/wnd.h"
#include "tests/faults/fault_matrix.h"
#include "tests/support/live_view.h"

namespace {

using namespace fault_matrix;
namespace eep = devices::eeprom;
using Items = std::vector<std::optional<std::vector<uint8_t>>>;  // items 80..99

constexpr const wchar_t* kE500 = L"Memory Error. E-500";
constexpr const wchar_t* kE504 = L"Record of a picture went wrong. E-504";

// Gives every calibration item of `w` a value of its own, set by `base`.
void Fill(CCaptureWnd& w, int base) {
  CCamera& c = w.m_Camera;
  c.FocalLength = base + 80;
  c.PrincipalPoint = CXYZ(base + 81, base + 82, 0);
  c.Dist.SetDistModel(base > 200 ? DIST_RADIAL_DECENTER : DIST_RADIAL);
  for (int i = 0; i < 4; ++i) c.Dist.AddPara(i, base + 84 + i);
  c.Resolution = CXYZ(base + 88, base + 89, 0);
  w.m_nCenterX[1] = base + 90;
  w.m_nCenterY[1] = base + 91;
  w.m_nCenterX[0] = base + 92;
  w.m_nCenterY[0] = base + 93;
  w.m_CcdOffset = CXYZ(base + 94, base + 95, base + 96);
  w.m_CcdAngle = CWPK(base + 97, base + 98, base + 99);
}

Items Stored() {
  Items items;
  for (int i = eep::kFirstItem; i <= eep::kLastItem; ++i) items.push_back(eep::Item(i));
  return items;
}

// The items `w` holds, as its own writes store them (into an erased memory).
Items HeldBy(CCaptureWnd& w) {
  eep::EraseAll();
  w.FlashWriteCmr();
  w.FlashWriteDat();
  return Stored();
}

// A bright lower right quarter: one clear corner at the sensor's centre.
class Quadrant : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    for (int y = 0; y < devices::kFrameHeight; ++y)
      for (int x = 0; x < devices::kFrameWidth; ++x)
        pixels[size_t(y) * devices::kFrameWidth + size_t(x)] =
            x >= devices::kFrameWidth / 2 && y >= devices::kFrameHeight / 2
                ? devices::Pack565(230, 230, 230)
                : devices::Pack565(30, 30, 30);
  }
};

class LiveviewFaults : public FaultMatrix<liveview_test::LiveViewTest> {
 protected:
  // Every calibration item written once with recognisable values.
  static void StoreAllItems() {
    CCaptureWnd writer;
    Fill(writer, 300);
    HeldBy(writer);
  }

  // The failing item: its own point's, or `first` + skip for the memory's file.
  static int FailingItem(const Faulted& f, int first) {
    if (f.Under("eep.read.") || f.Under("eep.write."))
      return std::stoi(f.point.substr(f.point.rfind('.') + 1));
    return first + f.skip;
  }
  // A failed read of item 80, 90 or 94 sets defaults, silently.
  static bool SilentDefault(const Faulted& f) {
    return f.point == "eep.read.80" || f.point == "eep.read.90" || f.point == "eep.read.94";
  }
  // One failed call of a transfer ("Read" or "Write") from item `first`.
  static void ExpectFlashOutcome(const Faulted& f, const std::wstring& op, int first) {
    EXPECT_EQ(eep::IsLocked(), f.point != "eep.lock");
    EXPECT_EQ(f.result, SilentDefault(f) ? TRUE : FALSE);
    if (f.point == "eep.unlock") {
      ExpectBox(f, L"Unlock Command Error", L"FlashLock");
    } else if (f.point == "eep.lock") {
      ASSERT_FALSE(f.boxes.empty());
      EXPECT_EQ(f.boxes.back().text, L"Lock Command Error");
      EXPECT_EQ(f.boxes.back().caption, L"FlashLock");
    } else if (SilentDefault(f)) {
      EXPECT_TRUE(f.boxes.empty());
    } else {
      ExpectBox(f, std::wstring(memory_items::Name(FailingItem(f, first))) + L" " + op, L"Error");
    }
  }

  // A new live view on the whole screen, started as the host starts it.
  bool StartView(double baseScale) {
    view_ = std::make_unique<CCaptureWnd>();
    view_->InitAppUseMessage();
    const bool created =
        view_->Create(nullptr, RECT{0, 0, 320, 240}, baseScale, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0);
    platform::PumpMessages();
    return created;
  }
  void StopView() {
    if (view_ && view_->GetSafeHwnd()) view_->DestroyWindow();
    view_.reset();
  }
};

// The texts the window shows for one failed call of its life, in order.
std::vector<std::wstring> ExpectedLifeBoxes(const std::string& point) {
  if (point == "alloc") return {kE500};
  // A failed open counts as opened (no E-501); the driver refuses what follows.
  if (point == "cap.open") return {L"SetCapture Error! E-502", L"StartCapture Error! E-503"};
  if (point == "cap.display") return {L"SetCapture Error! E-502"};
  if (point == "cap.start") return {L"StartCapture Error! E-503"};
  return {};  // the event, the exposure reads and the final stop are not checked
}

TEST_F(LiveviewFaults, WholeWindowLife) {
  HWND hwnd = nullptr;
  Drill({"CCaptureWnd life",
         [&] {
           StopView();
           StoreAllItems();
           devices::capture::Reset();
         },
         [&] {
           const int created = StartView(0.5);
           hwnd = view_->m_hWnd;
           for (int tick = 0; tick < 3; ++tick)
             platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);
           StopView();
           return created;
         },
         [&](const Faulted& f) {
           // Whatever failed, the life ends with nothing left running.
           EXPECT_EQ(platform::LiveWindows(), 0u);
           EXPECT_EQ(platform::RunningTimers(), 0u);
           EXPECT_EQ(devices::capture::OpenInstances(), 0);
           const bool frames = devices::capture::FramesProduced() > 0;
           if (!f.Under("eep.") && !f.Under("module.")) {
             EXPECT_EQ(f.result, 1);
             EXPECT_EQ(Texts(f), ExpectedLifeBoxes(f.point));
             for (const auto& box : f.boxes) {
               EXPECT_EQ(box.caption, L"ERROR");
               EXPECT_EQ(box.owner, hwnd);
             }
             EXPECT_EQ(frames,
                       f.point != "alloc" && f.point != "cap.open" && f.point != "cap.start");
             return;
           }
           EXPECT_TRUE(f.result == 1 || !frames);
           if (f.point == "module.load") {
             EXPECT_EQ(f.result, 0);
             ExpectBox(f, L"Load Module Error", L"Error");
           } else if (f.point == "module.proc") {
             EXPECT_EQ(f.result, 0);
             EXPECT_TRUE(f.boxes.empty());
           } else {
             ExpectFlashOutcome(f, L"Read", 80);
           }
         }});
}

TEST_F(LiveviewFaults, OperatingTheView) {
  CDibEx grabbed;
  Drill({"operating the view",
         [&] {
           StopView();
           StoreAllItems();
           devices::capture::Reset();
           ASSERT_TRUE(StartView(0.5));
           grabbed.Empty();
         },
         [&] {
           view_->SetCurCamera(0);
           view_->ZoomIn();
           view_->Reverse();
           view_->SnapShot();
           view_->EndSnapShot();
           view_->GetCapture(grabbed);
           view_->m_nAEMode = 1;  // two exposure steps that set the brightness
           platform::AdvanceTime(2 * CCaptureWnd::kFrameTimerPeriodMs);
           view_->m_nAEMode = 0;
           view_->SetCurCamera(1);
           return 1;
         },
         [&](const Faulted& f) {
           // The driver's answers are not checked: the settings stand, capture goes on.
           EXPECT_EQ(f.result, 1);
           EXPECT_EQ(view_->GetCurCamera(), 1);
           EXPECT_EQ(view_->m_dZoomRatio[0], 2.0);
           EXPECT_EQ(view_->m_StartParam.Reverse, 1);
           EXPECT_EQ(view_->GetSnapShot(), 0);
           EXPECT_TRUE(devices::capture::IsRunning());
           // Only the grab reports, and then it has no picture.
           const bool lost = f.point == "alloc" || f.point == "cap.read";
           EXPECT_EQ(Texts(f),
                     lost ? std::vector<std::wstring>{f.point == "alloc" ? kE500 : kE504}
                          : std::vector<std::wstring>{});
           EXPECT_EQ(grabbed.m_imageBits == nullptr, lost);
         }});
}

// One transfer between the window and the memory.
struct Transfer {
  const char* name;
  BOOL (CCaptureWnd::*fn)();
  bool read;
  int first, count;  // the items it moves
};

TEST_F(LiveviewFaults, CalibrationMemory) {
  CCaptureWnd w;
  ASSERT_NE(w.m_pSysEepRead, nullptr);
  Fill(w, 300);
  const Items stored = HeldBy(w);
  Fill(w, 100);
  const Items before = HeldBy(w);
  const Transfer transfers[] = {{"FlashReadCmr", &CCaptureWnd::FlashReadCmr, true, 80, 10},
                                {"FlashReadDat", &CCaptureWnd::FlashReadDat, true, 90, 10},
                                {"FlashWriteCmr", &CCaptureWnd::FlashWriteCmr, false, 80, 10},
                                {"FlashWriteDat", &CCaptureWnd::FlashWriteDat, false, 90, 10},
                                {"UserCCDOffsetSet", &CCaptureWnd::UserCCDOffsetSet, false, 90, 4}};
  for (const Transfer& t : transfers) {
    const std::string op = t.read ? "read " : "write ";
    const auto prepare = [&] {
      eep::EraseAll();
      for (int i = 0; i < 20 && t.read; ++i) ASSERT_TRUE(eep::SetItem(80 + i, *stored[i]));
      Fill(w, t.read ? 100 : 300);
      w.m_nUserCCDOffsetX[1] = 3;
      eep::ClearCalls();
    };
    prepare();
    (w.*t.fn)();
    const int centre = w.m_nCenterX[1];
    const Items clean = t.read ? HeldBy(w) : Stored();  // what a clean transfer leaves
    Drill({t.name,
           prepare,
           [&] { return int((w.*t.fn)()); },
           [&](const Faulted& f) {
             ExpectFlashOutcome(f, t.read ? L"Read" : L"Write", t.first);
             EXPECT_TRUE(t.read || w.m_nCenterX[1] == centre);
             const int end = t.first + t.count;
             int failing = f.point == "eep.unlock" ? t.first - 1 : FailingItem(f, t.first);
             if (f.point == "eep.lock") failing = end;
             std::vector<std::string> log{f.point == "eep.unlock" ? "unlock fail" : "unlock"};
             for (int i = t.first; i < std::min(failing + 1, end); ++i)
               log.push_back(op + std::to_string(i) + (i == failing ? " fail" : ""));
             log.push_back(f.point == "eep.lock" ? "lock fail" : "lock");
             EXPECT_EQ(eep::Calls(), log);
             const Items now = t.read ? HeldBy(w) : Stored();
             for (int i = t.first; i < end; ++i) {
               if (SilentDefault(f) && i >= failing) break;  // defaults from here on
               const auto& expected = i < failing ? clean[i - 80]
                                      : t.read    ? before[i - 80]
                                                  : std::nullopt;
               EXPECT_EQ(now[i - 80], expected) << i;
             }
             if (f.point == "eep.read.94") {  // the centres read, the offsets zero
               EXPECT_EQ(w.m_CcdOffset.Z, 0.0);
               EXPECT_EQ(w.m_CcdAngle.kappa, 0.0);
             }
           }});
  }
}

TEST_F(LiveviewFaults, SnapshotSaving) {
  devices::SetFrameSource(std::make_shared<Quadrant>());
  CreateView();
  const std::wstring saved = L"\\Storage Card\\JPEG\\20240503\\140709T100.jpg";
  Drill({"WriteJpeg(new folders)",
         [&] {
           std::filesystem::remove_all(Host(L"\\Storage Card"));
           std::filesystem::create_directories(Host(L"\\Storage Card"));
           ASSERT_TRUE(platform::registry::SetString(
               L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\Storage Card"));
         },
         [&] { return view_->WriteJpeg(); },
         [&](const Faulted& f) {
           EXPECT_FALSE(platform::WaitCursorShown());
           // A failed grab tells its own cause first (E-500, E-504), then E-522.
           const bool grab = f.point == "alloc" || f.Under("cap.");
           if (grab && f.boxes.size() == 2) {
             EXPECT_EQ(f.boxes[0].text, f.point == "alloc" ? kE500 : kE504);
             EXPECT_EQ(f.result, 0);
           } else {
             ASSERT_EQ(f.boxes.size(), 1u);
           }
           const std::wstring& text = f.boxes.back().text;
           if (f.result == 1) {
             EXPECT_EQ(text, L"Saved OK.");
             return;
           }
           // No file, not even a partial one.
           EXPECT_FALSE(DeviceFileExists(saved.c_str()));
           if (f.Under("registry.")) {
             EXPECT_EQ(text, L"Registry Access Error");
             EXPECT_EQ(f.boxes.back().caption, L"Error");
           } else if (f.point == "fs.free_space") {
             EXPECT_EQ(text, L"The capacity of the memory doesn't suffice. E-523");
           } else if (f.point == "fs.create_directory" || f.point == "fs.find") {
             // A folder that cannot be found is created, which fails when it exists.
             EXPECT_EQ(text, L"Folder maked error. E-521");
           } else {
             EXPECT_EQ(text, L"Jpg Write Error. E-522");
           }
         }});
}

}  // namespace
