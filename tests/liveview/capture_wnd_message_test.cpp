// The message table: the built-in English texts, the UTF-16 LE language file
// with its line and bracket rules, translation, and MessageDisp.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "devices/devices.h"
#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "platform/desktop.h"
#include "platform/faults.h"
#include "platform/message_table.h"
#include "tests/support/test_support.h"

namespace {

// UTF-16 LE bytes of a text, preceded by a byte-order mark.
std::string Utf16Le(const std::u16string& text, char16_t bom = 0xFEFF) {
  std::string bytes;
  auto put = [&](char16_t u) {
    bytes.push_back(char(u & 0xFF));
    bytes.push_back(char(u >> 8));
  };
  put(bom);
  for (char16_t u : text) put(u);
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
    WriteHostFile(Host(L"\\windows\\DispImgMsg.txt"), bytes);
  }
  std::wstring Table(int i) const { return view_->m_pMessage->Text(i); }

  std::unique_ptr<CCaptureWnd> view_;
};

TEST_F(MessageTest, BuildsTheLibraryEnglishTableByIndex) {
  EXPECT_EQ(view_->m_pMessage->GetSize(), 0) << "empty until the host builds it";
  view_->InitAppUseMessage();
  ASSERT_EQ(view_->m_pMessage->GetSize(), 24);
  ASSERT_EQ(view_->m_EngMessage.GetSize(), 24);
  for (int i = 0; i < 24; ++i) {
    EXPECT_EQ(Table(i), platform::EnglishMessage(i)) << i;
    EXPECT_EQ(std::wstring(view_->m_EngMessage.Text(i)), platform::EnglishMessage(i)) << i;
  }
  view_->InitAppUseMessage();
  EXPECT_EQ(view_->m_pMessage->GetSize(), 24) << "rebuilding does not append";
}

TEST_F(MessageTest, LanguageFileWithCrLfBracketsAndSurrogatesTranslates) {
  WriteLanguageFile(
      Utf16Le(u"Saved OK.\r\n"
              u"[  Gespeichert  ]\r\n"
              u"[Memory Error. E-500]\r\n"
              u"Speicherfehler \U0001F4BE E-500\r\n"
              u"No such text\r\n"
              u"ignored\r\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(Table(21), L"  Gespeichert  ");
  EXPECT_EQ(Table(1), L"Speicherfehler \U0001F4BE E-500")
      << "surrogate pair decoded into one wide character";
  EXPECT_EQ(Table(2), L"OpenCapture Error! E-501") << "untranslated entries stay English";
  ASSERT_EQ(view_->m_StMessage.Src.GetSize(), 3);
  ASSERT_EQ(view_->m_StMessage.Dst.GetSize(), 3);
  EXPECT_EQ(std::wstring(view_->m_StMessage.Src[1]), L"Memory Error. E-500");
  EXPECT_EQ(std::wstring(view_->m_StMessage.Src[2]), L"No such text");
  EXPECT_EQ(view_->m_Calib.Msg, &view_->m_EngMessage);
  EXPECT_EQ(view_->m_Calib.MsgWnd, view_.get());
  EXPECT_EQ(std::wstring(view_->m_Calib.Msg->Text(8)), L"File Open Error. E-507");
}

TEST_F(MessageTest, OddLineCountLeavesLastSourceUntranslated) {
  WriteLanguageFile(Utf16Le(u"Saved OK.\nOK!\nFont Error. E-517\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(Table(21), L"OK!");
  EXPECT_EQ(Table(17), L"Font Error. E-517");
  EXPECT_EQ(view_->m_StMessage.Src.GetSize(), 2);
  EXPECT_EQ(view_->m_StMessage.Dst.GetSize(), 1);
}

TEST_F(MessageTest, FirstOfDuplicatePairsWinsAlsoWhenReadTwice) {
  WriteLanguageFile(Utf16Le(u"Saved OK.\r\nfirst\r\nSaved OK.\r\nsecond\r\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(Table(21), L"first");
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(view_->m_StMessage.Src.GetSize(), 4) << "a second read appends";
  EXPECT_EQ(Table(21), L"first");
}

TEST_F(MessageTest, FinalLineWithoutLineFeedAndAnyByteOrderMarkAreIgnored) {
  // The first code unit is skipped whatever it holds ('X' here).
  WriteLanguageFile(Utf16Le(u"Saved OK.\r\nnever", u'X'));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(Table(21), L"Saved OK.");
  EXPECT_EQ(view_->m_StMessage.Src.GetSize(), 1);
  EXPECT_EQ(view_->m_StMessage.Dst.GetSize(), 0);
}

TEST_F(MessageTest, CarriageReturnEndsTheLineWhereItStands) {
  WriteLanguageFile(Utf16Le(u"Saved OK.\rtrailing\nDone\r\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(Table(21), L"Done");
}

TEST_F(MessageTest, OddByteLengthFileKeepsItsLines) {
  std::string bytes = Utf16Le(u"Saved OK.\nfine\n");
  bytes.push_back('\x41');  // half a code unit at the end
  WriteLanguageFile(bytes);
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(Table(21), L"fine");
}

TEST_F(MessageTest, MissingFileShowsReadErrorFromCurrentTable) {
  view_->InitAppUseMessage();
  ASSERT_EQ(view_->GetImageLangCode(), 0);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"File Read Error. E-505");
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  EXPECT_EQ(view_->m_pMessage->GetSize(), 24);
  EXPECT_EQ(view_->m_Calib.Msg, nullptr) << "no hand-over when nothing was read";
}

TEST_F(MessageTest, ReadErrorIsShownInTheTranslatedTable) {
  WriteLanguageFile(Utf16Le(u"File Read Error. E-505\nLesefehler E-505\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  std::filesystem::remove(Host(L"\\windows\\DispImgMsg.txt"));
  ASSERT_EQ(view_->GetImageLangCode(), 0);
  EXPECT_EQ(boxes_.LastText(), L"Lesefehler E-505");
}

TEST_F(MessageTest, UnreadableBufferStillCountsAsRead) {
  WriteLanguageFile(Utf16Le(u"Saved OK.\nfine\n"));
  platform::fault::Arm("alloc", 0, 1, 0, "DispImgMsg");
  EXPECT_EQ(view_->GetLangCode(), 1);
  EXPECT_EQ(view_->m_StMessage.Src.GetSize(), 0);
}

TEST_F(MessageTest, MessageDispTakesCaptionFirst) {
  view_->InitAppUseMessage();
  view_->MessageDisp(0, 21);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
  EXPECT_EQ(boxes_.LastCaption(), L"Please specify within the limit.");
  EXPECT_EQ(boxes_.calls()[0].type, 0u);
}

TEST_F(MessageTest, MissingMemoryModuleIsReportedAtConstruction) {
  platform::fault::Arm("module.load");
  CCaptureWnd other;
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Load Module Error");
  EXPECT_EQ(boxes_.LastCaption(), L"Error");
  EXPECT_EQ(other.m_hEepModule, nullptr);
  EXPECT_EQ(other.m_pSysEepRead, nullptr);
  EXPECT_NE(view_->m_pSysEepRead, nullptr);
  // Without the memory the calibration cannot be read: the window is not
  // created, and nothing crashes.
  other.InitAppUseMessage();
  EXPECT_EQ(other.FlashReadCmr(), FALSE);
  EXPECT_EQ(other.Create(nullptr, RECT{0, 0, 320, 240}, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0),
            0);
  EXPECT_EQ(other.GetSafeHwnd(), nullptr);
  EXPECT_EQ(boxes_.size(), 1u);
}

}  // namespace

namespace {

// The image and storage classes show their errors from the view's table, so
// a translation reaches them too; without a view they speak English.
TEST_F(MessageTest, ImageAndCardErrorsUseTheTranslatedTable) {
  WriteLanguageFile(
      Utf16Le(u"Invalid bitmap file. E-513\nUngueltige Bitmap E-513\n"
              u"The card is not mounted. E-519\nKeine Karte E-519\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  WriteHostFile(Host(L"\\bad.bmp"), "PK not a bitmap, a zip file");
  CDibEx dib;
  CString path(L"\\bad.bmp");
  EXPECT_EQ(dib.ReadBMP(path), 0);
  ASSERT_GE(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Ungueltige Bitmap E-513");
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)), L"Keine Karte E-519");

  view_.reset();
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)),
            L"The card is not mounted. E-519");
}

}  // namespace
