// Calibration records over the "EEP.DLL" memory and the message table with its language file.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "liveview/capture_wnd.h"
#include "platform/desktop.h"
#include "platform/message_table.h"
#include "tests/support/test_support.h"

namespace {

namespace eep = devices::eeprom;

// The members of items 80..99, in item order.
std::vector<double> Members(const CCaptureWnd& w) {
  const CCamera& c = w.m_Camera;
  std::vector<double> v = {c.FocalLength, c.PrincipalPoint.X, c.PrincipalPoint.Y};
  v.push_back(c.Dist.GetDistModel());
  for (int i = 0; i < 4; ++i) v.push_back(c.Dist.GetPara(i));
  v.insert(v.end(), {c.Resolution.X, c.Resolution.Y});
  v.insert(v.end(), {double(w.m_nCenterX[1]), double(w.m_nCenterY[1])});
  v.insert(v.end(), {double(w.m_nCenterX[0]), double(w.m_nCenterY[0])});
  v.insert(v.end(), {w.m_CcdOffset.X, w.m_CcdOffset.Y, w.m_CcdOffset.Z});
  v.insert(v.end(), {w.m_CcdAngle.omega, w.m_CcdAngle.phi, w.m_CcdAngle.kappa});
  return v;
}

// Every item's member a value that tells set A from set B.
void Fill(CCaptureWnd& w, bool a) {
  auto d = [a](int index) { return a ? 1000 + index + 0.25 : -index - 0.5; };
  w.m_Camera.FocalLength = d(80);
  w.m_Camera.PrincipalPoint = CXYZ(d(81), d(82), 0);
  w.m_Camera.Dist.SetDistModel(a ? DIST_RADIAL_DECENTER : DIST_RADIAL);
  for (int i = 0; i < 4; ++i) w.m_Camera.Dist.AddPara(i, d(84 + i));
  w.m_Camera.Resolution = CXYZ(d(88), d(89), 0);
  const int base = a ? 300 : 100;
  w.m_nCenterX[1] = base + 90, w.m_nCenterY[1] = base + 91;
  w.m_nCenterX[0] = base + 92, w.m_nCenterY[0] = base + 93;
  w.m_CcdOffset = CXYZ(d(94), d(95), d(96));
  w.m_CcdAngle = CWPK(d(97), d(98), d(99));
}

class FlashTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    eep::Reset();
  }
};

TEST_F(FlashTest, NeverWrittenMemoryGivesDefaultsSilently) {
  CCaptureWnd w;
  Fill(w, false);
  EXPECT_TRUE(w.FlashReadCmr());
  EXPECT_TRUE(w.FlashReadDat());
  std::vector<double> want = Members(w);
  // f, principal point, model, pixel size and centres default; K1..P2 and (item 90 failing)
  // the offsets stay.
  want[0] = 8.0, want[1] = 1.792, want[2] = 1.344, want[3] = DIST_NONE;
  want[8] = want[9] = 0.0056;
  want[10] = want[12] = 320, want[11] = want[13] = 240;
  EXPECT_EQ(Members(w), want);
  EXPECT_EQ(w.m_CcdOffset.X, -94.5);
  EXPECT_EQ(boxes_.size(), 0u);
  w.SetSXGAMode(1);  // defaults are rescaled too
  EXPECT_TRUE(w.FlashReadDat());
  EXPECT_EQ((std::vector<int>{w.m_nCenterX[0], w.m_nCenterY[0]}), (std::vector<int>{144, 120}));
}

TEST_F(FlashTest, WrittenRecordsReadBackInItemLayout) {
  CCaptureWnd writer, reader;
  Fill(writer, true);
  ASSERT_TRUE(writer.FlashWriteCmr());
  ASSERT_TRUE(writer.FlashWriteDat());
  std::vector<size_t> sizes;
  for (int i = 80; i < 100; ++i) sizes.push_back(eep::Item(i) ? eep::Item(i)->size() : 0);
  EXPECT_EQ(sizes,
            (std::vector<size_t>{8, 8, 8, 4, 8, 8, 8, 8, 8, 8, 2, 2, 2, 2, 8, 8, 8, 8, 8, 8}));
  EXPECT_EQ(eep::Item(83), (std::vector<uint8_t>{2, 0, 0, 0}));
  EXPECT_EQ(eep::Item(90), (std::vector<uint8_t>{0x86, 0x01}));  // CCD1x = camera 1 = 390
  Fill(reader, false);
  EXPECT_TRUE(reader.FlashReadCmr());
  EXPECT_TRUE(reader.FlashReadDat());
  EXPECT_EQ(Members(reader), Members(writer));
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(FlashTest, SxgaModeHalvesTheStoredCentres) {
  const uint16_t stored[4] = {672, 480, 32, uint16_t(-1)};
  for (int i = 0; i < 4; ++i)
    ASSERT_TRUE(eep::SetItem(90 + i, {uint8_t(stored[i] & 0xFF), uint8_t(stored[i] >> 8)}));
  CCaptureWnd w;
  Fill(w, false);
  w.SetSXGAMode(1);
  EXPECT_TRUE(w.FlashReadDat());  // item 94 missing: offsets default
  // (x - 32) / 2 and y / 2, rounded half up: -1 gives trunc(-0.5 + 0.5) = 0.
  EXPECT_EQ((std::vector<int>{w.m_nCenterX[1], w.m_nCenterY[1], w.m_nCenterX[0], w.m_nCenterY[0]}),
            (std::vector<int>{320, 240, 0, 0}));
}

TEST_F(FlashTest, UserOffsetsMoveTheCentresAndWriteThem) {
  CCaptureWnd w;
  w.m_nCenterX[1] = 320, w.m_nCenterY[1] = 240, w.m_nCenterX[0] = 310, w.m_nCenterY[0] = 250;
  w.m_nUserCCDOffsetX[1] = 3, w.m_nUserCCDOffsetY[1] = -2;
  w.m_nUserCCDOffsetX[0] = -1, w.m_nUserCCDOffsetY[0] = 4;
  EXPECT_TRUE(w.UserCCDOffsetSet());
  EXPECT_EQ((std::vector<int>{w.m_nCenterX[1], w.m_nCenterY[1], w.m_nCenterX[0], w.m_nCenterY[0]}),
            (std::vector<int>{323, 238, 309, 254}));
  EXPECT_EQ(eep::Item(92), (std::vector<uint8_t>{0x35, 0x01}));  // 309
  EXPECT_FALSE(eep::Item(94).has_value());
}

// UTF-16 LE bytes of a text after a first unit.
std::string Utf16Le(const std::u16string& text, char16_t bom = 0xFEFF) {
  std::string bytes;
  for (char16_t u : bom + text) bytes += {char(u & 0xFF), char(u >> 8)};
  return bytes;
}

class MessageTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    platform::ResetDesktop();
    view_ = std::make_unique<CCaptureWnd>();
  }
  void TearDown() override {
    view_.reset();
    platform::ResetDesktop();
    DeviceTest::TearDown();
  }
  void WriteLanguageFile(const std::string& bytes) {
    PutDeviceFile(L"\\windows\\DispImgMsg.txt", bytes);
  }
  std::wstring Table(int i) const { return view_->m_pMessage->Text(i); }

  std::unique_ptr<CCaptureWnd> view_;
};

TEST_F(MessageTest, BuildsTheEnglishTableOnceAndMessageDispTakesCaptionFirst) {
  EXPECT_EQ(view_->m_pMessage->GetSize(), 0) << "empty until the host builds it";
  view_->InitAppUseMessage();
  view_->InitAppUseMessage();  // rebuilding does not append
  EXPECT_EQ(view_->m_pMessage->GetSize(), 24);
  EXPECT_EQ(view_->m_EngMessage.GetSize(), 24);
  view_->MessageDisp(0, 21);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
  EXPECT_EQ(boxes_.LastCaption(), L"Please specify within the limit.");
  EXPECT_EQ(boxes_.calls()[0].type, 0u);
}

// A language file (after a first unit, maybe with an odd byte), read `reads` times: table
// entries, source and translated lines taken (-1: not checked).
struct LanguageCase {
  std::u16string text;
  char16_t bom;
  bool odd_byte;
  int reads;
  std::vector<std::pair<int, std::wstring>> entries;
  int sources, translations;
};

// clang-format off
const LanguageCase kFiles[] = {
    // CR LF lines, brackets strip one level, surrogate pairs, unknown sources.
    {u"Saved OK.\r\n[  Gespeichert  ]\r\n[Memory Error. E-500]\r\n"
     u"Speicherfehler \U0001F4BE E-500\r\nNo such text\r\nignored\r\n", 0xFEFF, false, 1,
     {{21, L"  Gespeichert  "}, {1, L"Speicherfehler \U0001F4BE E-500"},
      {2, L"OpenCapture Error! E-501"}}, 3, 3},
    // An odd line count leaves the last source without a translation.
    {u"Saved OK.\nOK!\nFont Error. E-517\n", 0xFEFF, false, 1, {{21, L"OK!"}}, 2, 1},
    // The first of duplicates wins; reading again appends.
    {u"Saved OK.\r\nfirst\r\nSaved OK.\r\nsecond\r\n", 0xFEFF, false, 2, {{21, L"first"}}, 4, -1},
    // A last line without a feed is dropped; any first unit is skipped.
    {u"Saved OK.\r\nnever", u'X', false, 1, {{21, L"Saved OK."}}, 1, 0},
    // A lone CR ends a line.
    {u"Saved OK.\rtrailing\nDone\r\n", 0xFEFF, false, 1, {{21, L"Done"}}, -1, -1},
    // Half a code unit at the end is ignored.
    {u"Saved OK.\nfine\n", 0xFEFF, true, 1, {{21, L"fine"}}, 1, 1},
};
// clang-format on

class LanguageFileTest : public MessageTest, public ::testing::WithParamInterface<int> {};

TEST_P(LanguageFileTest, TranslatesByLines) {
  const LanguageCase& c = kFiles[GetParam()];
  WriteLanguageFile(Utf16Le(c.text, c.bom) + (c.odd_byte ? "A" : ""));
  for (int i = 0; i < c.reads; ++i) ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(boxes_.size(), 0u);
  for (const auto& [index, text] : c.entries) EXPECT_EQ(Table(index), text) << index;
  EXPECT_TRUE(c.sources < 0 || view_->m_StMessage.Src.GetSize() == c.sources);
  EXPECT_TRUE(c.translations < 0 || view_->m_StMessage.Dst.GetSize() == c.translations);
  EXPECT_EQ(view_->m_Calib.Msg, &view_->m_EngMessage);
  EXPECT_EQ(view_->m_Calib.MsgWnd, view_.get());
}

INSTANTIATE_TEST_SUITE_P(Files, LanguageFileTest, ::testing::Range(0, int(std::size(kFiles))));

// The other layers' messages come from the view's table while it lives, else in English.
TEST_F(MessageTest, OtherLayersUseTheTranslatedTable) {
  WriteLanguageFile(Utf16Le(u"The card is not mounted. E-519\nKeine Karte E-519\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)), L"Keine Karte E-519");
  view_.reset();
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)),
            L"The card is not mounted. E-519");
}

}  // namespace
