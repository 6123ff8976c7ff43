// Fault matrix of the live view's operations: the window's whole life,
// calibration memory, language file, card folder lookup and snapshot saving.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "camera/memory_items.h"
#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "devices/frame_source.h"
#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "platform/desktop.h"
#include "platform/fs.h"
#include "platform/registry.h"
#include "platform/text.h"
#include "platform/wnd.h"
#include "tests/faults/fault_matrix.h"

namespace {

using fault_matrix::Faulted;
using fault_matrix::FaultMatrix;
using fault_matrix::Operation;
namespace eep = devices::eeprom;

bool EndsWith(const std::wstring& text, const std::wstring& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

class LiveviewFaults : public FaultMatrix {
 protected:
  void SetUp() override {
    FaultMatrix::SetUp();
    devices::RegisterAll();
    devices::capture::Reset();
    eep::Reset();
    platform::ResetDesktop();
  }
  void TearDown() override {
    if (view_ && view_->GetSafeHwnd()) view_->DestroyWindow();
    view_.reset();
    platform::ResetDesktop();
    devices::SetFrameSource(nullptr);
    FaultMatrix::TearDown();
  }

  // Every calibration item written once with recognisable values.
  static void StoreAllItems() {
    CCaptureWnd writer;
    writer.m_Camera.FocalLength = 8.5;
    writer.m_nCenterX[1] = 333;
    writer.m_CcdOffset = CXYZ(0.25, 0.5, 0.75);
    ASSERT_TRUE(writer.FlashWriteCmr());
    ASSERT_TRUE(writer.FlashWriteDat());
  }

  // The memory protocol's outcome for one failed call of `op` ("Read" or
  // "Write"): the lock is always given back; the first failure is named.
  static void ExpectFlashOutcome(const Faulted& f, const std::wstring& op) {
    // A failed lock leaves the memory unlocked, as the device does.
    EXPECT_EQ(eep::IsLocked(), f.point != "eep.lock");
    if (f.point == "eep.unlock") {
      EXPECT_EQ(f.result, FALSE);
      ASSERT_EQ(f.boxes.size(), 1u);
      EXPECT_EQ(f.boxes[0].text, L"Unlock Command Error");
      EXPECT_EQ(f.boxes[0].caption, L"FlashLock");
      return;
    }
    if (f.point == "eep.lock") {
      EXPECT_EQ(f.result, FALSE);
      ASSERT_FALSE(f.boxes.empty());
      EXPECT_EQ(f.boxes.back().text, L"Lock Command Error");
      EXPECT_EQ(f.boxes.back().caption, L"FlashLock");
      return;
    }
    // An item (its own fault point, or the memory's file under it) failed.
    if (f.point.rfind("eep.", 0) == 0) {
      const int item = std::stoi(f.point.substr(f.point.rfind('.') + 1));
      const bool silentDefault = op == L"Read" && (item == 80 || item == 90 || item == 94);
      if (silentDefault) {
        EXPECT_EQ(f.result, TRUE);
        EXPECT_TRUE(f.boxes.empty());
        return;
      }
      EXPECT_EQ(f.result, FALSE);
      EXPECT_EQ(OnlyText(f), std::wstring(memory_items::Name(item)) + L" " + op);
      EXPECT_EQ(OnlyCaption(f), L"Error");
      return;
    }
    EXPECT_EQ(f.result, FALSE);
    EXPECT_TRUE(EndsWith(OnlyText(f), L" " + op)) << f.point;
    EXPECT_EQ(OnlyCaption(f), L"Error");
  }

  // A live view on the whole 320 x 240 screen, started as the host starts it.
  void StartView(double baseScale) {
    view_ = std::make_unique<CCaptureWnd>();
    view_->InitAppUseMessage();
    ASSERT_TRUE(view_->Create(
        nullptr, RECT{0, 0, 320, 240}, baseScale, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0));
    platform::PumpMessages();
  }

  std::unique_ptr<CCaptureWnd> view_;
};

// The texts the window shows for one failed call of its life, in order.
std::vector<std::wstring> ExpectedLifeBoxes(const std::string& point) {
  if (point == "alloc") return {L"Memory Error. E-500"};
  // A failed CreateFileW answers the invalid handle, which counts as opened:
  // no E-501, but the driver refuses the display record and the start.
  if (point == "cap.open") return {L"SetCapture Error! E-502", L"StartCapture Error! E-503"};
  if (point == "cap.display") return {L"SetCapture Error! E-502"};
  if (point == "cap.start") return {L"StartCapture Error! E-503"};
  return {};  // the event, the exposure reads and the final stop are not checked
}

// Construction, creation, the posted start of capture, three frame-timer
// steps, destruction: every call of that life failed in turn.
TEST_F(LiveviewFaults, WholeWindowLife) {
  Drill({"CCaptureWnd life",
         [] {
           StoreAllItems();
           devices::capture::Reset();
         },
         [] {
           auto view = std::make_unique<CCaptureWnd>();
           view->InitAppUseMessage();
           const int created =
               view->Create(nullptr, RECT{0, 0, 320, 240}, 0.5, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0);
           platform::PumpMessages();
           for (int tick = 0; tick < 3; ++tick)
             platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);
           if (view->GetSafeHwnd()) view->DestroyWindow();
           view.reset();
           return created ? 1 : 0;
         },
         [](const Faulted& f) {
           // Whatever failed, the life ends with nothing left running.
           EXPECT_EQ(platform::LiveWindows(), 0u);
           EXPECT_EQ(platform::RunningTimers(), 0u);
           EXPECT_EQ(devices::capture::OpenInstances(), 0);
           const bool memoryPoint =
               f.point.rfind("eep.", 0) == 0 || f.point.rfind("module.", 0) == 0;
           if (!memoryPoint) {
             // Capture initialisation reports and goes on; the window lives.
             EXPECT_EQ(f.result, 1);
             std::vector<std::wstring> texts;
             for (const auto& box : f.boxes) {
               texts.push_back(box.text);
               EXPECT_EQ(box.caption, L"ERROR");
             }
             EXPECT_EQ(texts, ExpectedLifeBoxes(f.point));
             return;
           }
           if (f.result == 0) {
             // A window whose calibration cannot be read never starts capture.
             EXPECT_EQ(devices::capture::FramesProduced(), 0u);
           }
           if (f.point == "module.load") {
             EXPECT_EQ(f.result, 0);
             EXPECT_EQ(OnlyText(f), L"Load Module Error");
             EXPECT_EQ(OnlyCaption(f), L"Error");
           } else if (f.point == "module.proc") {
             // A missing entry point: the calibration cannot be read, silently.
             EXPECT_EQ(f.result, 0);
             EXPECT_TRUE(f.boxes.empty());
           } else {
             ExpectFlashOutcome(f, L"Read");
           }
         }});
}

// A running view operated as the host does between start and end: camera
// switches, zoom, picture turned, frozen and released, a full-frame grab,
// exposure steps that change the brightness.
TEST_F(LiveviewFaults, OperatingTheView) {
  CDibEx grabbed;
  Drill({"operating the view",
         [&] {
           if (view_ && view_->GetSafeHwnd()) view_->DestroyWindow();
           view_.reset();
           StoreAllItems();
           devices::capture::Reset();
           StartView(0.5);
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
           // The view does not check the driver's answers to these requests:
           // the host's settings stand and live capture goes on.
           EXPECT_EQ(f.result, 1);
           EXPECT_EQ(view_->GetCurCamera(), 1);
           EXPECT_EQ(view_->m_dZoomRatio[0], 2.0);
           EXPECT_EQ(view_->m_StartParam.Reverse, 1);
           EXPECT_EQ(view_->GetSnapShot(), 0);
           EXPECT_TRUE(devices::capture::IsRunning());
           // Only the grab reports, and then it has no picture.
           if (f.point == "alloc") {
             EXPECT_EQ(OnlyText(f), L"Memory Error. E-500");
             EXPECT_EQ(OnlyCaption(f), L"ERROR");
           } else if (f.point == "cap.read") {
             EXPECT_EQ(OnlyText(f), L"Record of a picture went wrong. E-504");
           } else {
             EXPECT_TRUE(f.boxes.empty());
             EXPECT_NE(grabbed.m_imageBits, nullptr);
             return;
           }
           EXPECT_EQ(grabbed.m_imageBits, nullptr);
         }});
}

// A bright quarter in the lower right of the frame: one clear corner at the
// centre of the sensor.
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

// A tap in corner mode, then the paint: the tap only takes its point; the
// corner display grabs the picture under the window and searches it for a
// corner near the tap.
TEST_F(LiveviewFaults, CornerSearch) {
  devices::SetFrameSource(std::make_shared<Quadrant>());
  StartView(0.5);
  view_->SetCurCamera(0);  // corners are searched in the tele camera's picture
  double dv = 0.0, dh = 0.0;
  Drill({"corner display",
         [&] {
           view_->EndCornerMode();
           view_->BeginCornerMode();
           view_->SetGetMeas();
           view_->m_ptCorner = POINT{0, 0};
         },
         [&] {
           platform::InjectTap(163, 118);
           platform::PumpMessages();
           return view_->GetCornerMoveAng(dv, dh);
         },
         [&](const Faulted& f) {
           // The timer is given back whatever happened to the search.
           EXPECT_EQ(view_->m_bTimerLock, 0);
           EXPECT_EQ(view_->m_bTapped, 1);
           std::vector<std::wstring> texts;
           for (const auto& box : f.boxes) texts.push_back(box.text);
           if (f.point == "alloc" || f.point == "cap.read_rect") {
             // No picture to search: the grab's cause, and no cross.
             EXPECT_EQ(f.result, 0);
             const std::wstring cause = f.point == "alloc"
                                            ? L"Memory Error. E-500"
                                            : L"Record of a picture went wrong. E-504";
             EXPECT_EQ(texts, (std::vector<std::wstring>{cause}));
             return;
           }
           // The driver's other answers are not checked: the corner is found.
           EXPECT_EQ(f.result, 1);
           EXPECT_TRUE(texts.empty());
           EXPECT_NEAR(view_->m_ptCorner.x, 160, 1);
           EXPECT_NEAR(view_->m_ptCorner.y, 120, 1);
         }});
}

TEST_F(LiveviewFaults, CalibrationMemory) {
  CCaptureWnd w;
  ASSERT_NE(w.m_pSysEepRead, nullptr);
  auto reads = [&](const char* name, BOOL (CCaptureWnd::*fn)()) {
    Drill({name,
           [&] { StoreAllItems(); },
           [&w, fn] { return int((w.*fn)()); },
           [&](const Faulted& f) { ExpectFlashOutcome(f, L"Read"); }});
  };
  reads("FlashReadCmr", &CCaptureWnd::FlashReadCmr);
  reads("FlashReadDat", &CCaptureWnd::FlashReadDat);

  auto writes = [&](const char* name, BOOL (CCaptureWnd::*fn)()) {
    Drill({name,
           [&] { StoreAllItems(); },
           [&w, fn] { return int((w.*fn)()); },
           [&](const Faulted& f) { ExpectFlashOutcome(f, L"Write"); }});
  };
  writes("FlashWriteCmr", &CCaptureWnd::FlashWriteCmr);
  writes("FlashWriteDat", &CCaptureWnd::FlashWriteDat);

  // The user offsets change the centres in memory first, whatever happens.
  Drill({"UserCCDOffsetSet",
         [&] {
           StoreAllItems();
           w.m_nCenterX[1] = 320;
         },
         [&] { return int(w.UserCCDOffsetSet()); },
         [&](const Faulted& f) { ExpectFlashOutcome(f, L"Write"); }});
}

std::string Utf16Le(const std::u16string& text) {
  std::string bytes = "\xFF\xFE";
  for (char16_t u : text) {
    bytes.push_back(char(u & 0xFF));
    bytes.push_back(char(u >> 8));
  }
  return bytes;
}

TEST_F(LiveviewFaults, LanguageFile) {
  std::unique_ptr<CCaptureWnd> w;
  Drill({"GetImageLangCode",
         [&] {
           WriteHostFile(Host(L"\\windows\\DispImgMsg.txt"), Utf16Le(u"Saved OK.\nGespeichert.\n"));
           w = std::make_unique<CCaptureWnd>();
           w->InitAppUseMessage();
           boxes_.clear();
         },
         [&] { return w->GetImageLangCode(); },
         [&](const Faulted& f) {
           if (f.point == "file.open") {
             EXPECT_EQ(f.result, 0);
             EXPECT_EQ(OnlyText(f), L"File Read Error. E-505");
             EXPECT_EQ(OnlyCaption(f), L"ERROR");
             return;
           }
           // A read or allocation failure leaves the translation empty: the
           // English texts stay in use and the file still counts as read.
           EXPECT_EQ(f.result, 1);
           EXPECT_TRUE(f.boxes.empty());
           EXPECT_EQ(std::wstring(w->m_pMessage->Text(21)), L"Saved OK.");
         }});
  w.reset();
}

TEST_F(LiveviewFaults, CardFolderLookup) {
  CCaptureWnd w;
  wchar_t folder[256] = {};
  Drill({"GetInitFolderName",
         [&] {
           ASSERT_TRUE(platform::registry::SetString(
               L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\Card"));
           std::fill(std::begin(folder), std::end(folder), L'\0');
         },
         [&] { return int(w.GetInitFolderName(folder)); },
         [&](const Faulted& f) {
           EXPECT_EQ(f.result, FALSE);
           EXPECT_TRUE(f.boxes.empty());
           EXPECT_EQ(platform::registry::OpenKeys(), 0);
         }});
}

// A flat green frame for the view to film.
class Green : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    std::fill(pixels, pixels + devices::kFrameWidth * devices::kFrameHeight, uint16_t(63 << 5));
  }
};

TEST_F(LiveviewFaults, SnapshotSaving) {
  devices::SetFrameSource(std::make_shared<Green>());
  StartView(1.0);
  const std::string card = Host(L"\\Storage Card");
  const std::string saved = Host(L"\\Storage Card\\JPEG\\20240503\\140709T100.jpg");

  auto check = [&](const Faulted& f, bool fresh) {
    EXPECT_FALSE(platform::WaitCursorShown());
    // A failed grab of the displayed picture tells its own cause first
    // (E-500 no memory, E-504 no picture from the driver), then the save
    // fails with E-522.
    const bool grab = f.point == "alloc" || f.point.rfind("cap.", 0) == 0;
    if (grab && f.boxes.size() == 2) {
      EXPECT_TRUE(f.boxes[0].text == L"Memory Error. E-500" ||
                  f.boxes[0].text == L"Record of a picture went wrong. E-504")
          << platform::WideToUtf8(f.boxes[0].text);
      EXPECT_EQ(f.result, 0);
    } else {
      ASSERT_EQ(f.boxes.size(), 1u);
    }
    const std::wstring& text = f.boxes.back().text;
    if (f.result == 1) {
      EXPECT_EQ(text, L"Saved OK.");
      return;
    }
    if (fresh) {
      EXPECT_FALSE(std::filesystem::exists(saved)) << "no file, not even a partial one";
    }
    if (f.point.rfind("registry.", 0) == 0) {
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
  };
  Drill({"WriteJpeg(new folders)",
         [&] {
           std::filesystem::remove_all(card);
           std::filesystem::create_directories(card);
           ASSERT_TRUE(platform::registry::SetString(
               L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\Storage Card"));
         },
         [&] { return view_->WriteJpeg(); },
         [&](const Faulted& f) { check(f, true); }});

  const std::string earlier = "an earlier picture of the same second";
  Drill({"WriteJpeg(over an earlier file)",
         [&] { WriteHostFile(saved, earlier); },
         [&] { return view_->WriteJpeg(); },
         [&](const Faulted& f) {
           check(f, false);
           if (f.result == 0 && std::filesystem::exists(saved)) {
             EXPECT_EQ(ReadHostFile(saved), earlier);
           }
         }});
}

}  // namespace
