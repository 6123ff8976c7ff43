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

// One language file: its text (after a byte-order mark, any code unit), an
// odd byte at the end or not, how often it is read, and what the table says.
struct LanguageCase {
  const char* name;
  std::u16string text;
  char16_t bom;
  bool odd_byte;
  int reads;
  std::vector<std::pair<int, std::wstring>> entries;
  int sources, translations;  // pairs read (-1: not checked)
};

void PrintTo(const LanguageCase& c, std::ostream* os) { *os << c.name; }

class LanguageFileTest : public MessageTest, public ::testing::WithParamInterface<LanguageCase> {};

TEST_P(LanguageFileTest, TranslatesByLines) {
  const LanguageCase& c = GetParam();
  std::string bytes = Utf16Le(c.text, c.bom);
  if (c.odd_byte) bytes.push_back('\x41');  // half a code unit at the end
  WriteLanguageFile(bytes);
  for (int i = 0; i < c.reads; ++i) ASSERT_EQ(view_->GetImageLangCode(), 1);
  EXPECT_EQ(boxes_.size(), 0u);
  for (const auto& [index, text] : c.entries) EXPECT_EQ(Table(index), text) << index;
  if (c.sources >= 0) {
    EXPECT_EQ(view_->m_StMessage.Src.GetSize(), c.sources);
  }
  if (c.translations >= 0) {
    EXPECT_EQ(view_->m_StMessage.Dst.GetSize(), c.translations);
  }
  // The calibration's messages are handed the English table and the view.
  EXPECT_EQ(view_->m_Calib.Msg, &view_->m_EngMessage);
  EXPECT_EQ(view_->m_Calib.MsgWnd, view_.get());
}

INSTANTIATE_TEST_SUITE_P(
    Files,
    LanguageFileTest,
    ::testing::Values(
        LanguageCase{"crlf_brackets_surrogates",
                     u"Saved OK.\r\n[  Gespeichert  ]\r\n[Memory Error. E-500]\r\n"
                     u"Speicherfehler \U0001F4BE E-500\r\nNo such text\r\nignored\r\n",
                     0xFEFF,
                     false,
                     1,
                     {{21, L"  Gespeichert  "},
                      {1, L"Speicherfehler \U0001F4BE E-500"},
                      {2, L"OpenCapture Error! E-501"}},
                     3,
                     3},
        LanguageCase{"odd_line_count_leaves_last_source",
                     u"Saved OK.\nOK!\nFont Error. E-517\n",
                     0xFEFF,
                     false,
                     1,
                     {{21, L"OK!"}, {17, L"Font Error. E-517"}},
                     2,
                     1},
        LanguageCase{"first_of_duplicates_wins_and_reads_append",
                     u"Saved OK.\r\nfirst\r\nSaved OK.\r\nsecond\r\n",
                     0xFEFF,
                     false,
                     2,
                     {{21, L"first"}},
                     4,
                     -1},
        LanguageCase{"last_line_without_feed_and_any_first_unit_ignored",
                     u"Saved OK.\r\nnever",
                     u'X',
                     false,
                     1,
                     {{21, L"Saved OK."}},
                     1,
                     0},
        LanguageCase{"carriage_return_ends_the_line",
                     u"Saved OK.\rtrailing\nDone\r\n",
                     0xFEFF,
                     false,
                     1,
                     {{21, L"Done"}},
                     -1,
                     -1},
        LanguageCase{
            "odd_byte_length", u"Saved OK.\nfine\n", 0xFEFF, true, 1, {{21, L"fine"}}, 1, 1}));

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
  ASSERT_GE(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Ungueltige Bitmap E-513");
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)), L"Keine Karte E-519");

  view_.reset();
  EXPECT_EQ(std::wstring(platform::MessageText(platform::kMsgNotMounted)),
            L"The card is not mounted. E-519");
}

}  // namespace
