// The message table: the built-in English texts, the UTF-16 LE language file
// with its line and bracket rules, translation, and MessageDisp.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "devices/devices.h"
#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "platform/desktop.h"
#include "platform/message_table.h"
#include "tests/support/test_support.h"

namespace {

// UTF-16 LE bytes of a text, after a byte-order mark (or any first unit).
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
    WriteHostFile(Host(L"\\windows\\DispImgMsg.txt"), bytes);
  }
  std::wstring Table(int i) const { return view_->m_pMessage->Text(i); }

  std::unique_ptr<CCaptureWnd> view_;
};

TEST_F(MessageTest, BuildsTheLibraryEnglishTableByIndex) {
  EXPECT_EQ(view_->m_pMessage->GetSize(), 0) << "empty until the host builds it";
  view_->InitAppUseMessage();
  view_->InitAppUseMessage();  // rebuilding does not append
  ASSERT_EQ(view_->m_pMessage->GetSize(), 24);
  ASSERT_EQ(view_->m_EngMessage.GetSize(), 24);
  for (int i = 0; i < 24; ++i) {
    const std::wstring english = platform::EnglishMessage(i);
    EXPECT_EQ(Table(i) + L"|" + view_->m_EngMessage.Text(i), english + L"|" + english) << i;
  }
}

// One language file: its text (after a first code unit), an odd byte at the
// end or not, how often it is read, what the table says, and how many source
// and translated lines were taken (-1: not checked).
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
  // The calibration's messages are handed the English table and the view.
  EXPECT_EQ(view_->m_Calib.Msg, &view_->m_EngMessage);
  EXPECT_EQ(view_->m_Calib.MsgWnd, view_.get());
}

INSTANTIATE_TEST_SUITE_P(Files, LanguageFileTest, ::testing::Range(0, int(std::size(kFiles))));

// A file that goes away is reported from the table as translated so far.
TEST_F(MessageTest, ReadErrorIsShownInTheTranslatedTable) {
  WriteLanguageFile(Utf16Le(u"File Read Error. E-505\nLesefehler E-505\n"));
  ASSERT_EQ(view_->GetImageLangCode(), 1);
  std::filesystem::remove(Host(L"\\windows\\DispImgMsg.txt"));
  ASSERT_EQ(view_->GetImageLangCode(), 0);
  EXPECT_EQ(boxes_.LastText(), L"Lesefehler E-505");
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
}

TEST_F(MessageTest, MessageDispTakesCaptionFirst) {
  view_->InitAppUseMessage();
  view_->MessageDisp(0, 21);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
  EXPECT_EQ(boxes_.LastCaption(), L"Please specify within the limit.");
  EXPECT_EQ(boxes_.calls()[0].type, 0u);
}

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
  EXPECT_EQ(boxes_.LastText(), L"Ungueltige Bitmap E-513");
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)), L"Keine Karte E-519");
  view_.reset();
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)),
            L"The card is not mounted. E-519");
}

}  // namespace
