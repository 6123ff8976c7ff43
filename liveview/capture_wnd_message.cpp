// CCaptureWnd: the message table. Every text the library shows comes from it
// by index; it is built from the library's English texts
// (platform/message_table.h) and translated by the language file
// "\windows\DispImgMsg.txt", which pairs each English text with its
// translation.
//
// Language file: UTF-16 little-endian; the first code unit (byte-order mark)
// is skipped whatever it holds; lines end with LF and a CR ends a line where
// it stands; odd lines are English texts, each followed by its translation;
// "[...]" around a line is removed (so a line can keep leading or trailing
// blanks); a last line without LF is ignored. Code units are decoded into
// wchar_t (32-bit here), surrogate pairs joined.
#include <cwchar>
#include <new>
#include <vector>

#include "liveview/capture_wnd.h"
#include "platform/faults.h"
#include "platform/file.h"
#include "platform/message_table.h"
#include "platform/text.h"

namespace {

constexpr wchar_t kLanguageFile[] = L"\\windows\\DispImgMsg.txt";

// One line of code units as an owned C string: cut at the first CR (and at a
// NUL, where the C string would end), decoded, brackets stripped.
const wchar_t* CopyLine(const uint16_t* units, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (units[i] == u'\r' || units[i] == 0) {
      count = i;
      break;
    }
  }
  std::wstring text = platform::Utf16ToWide(units, count);
  if (text.size() >= 2 && text.front() == L'[' && text.back() == L']')
    text = text.substr(1, text.size() - 2);
  auto* copy = new wchar_t[text.size() + 1];
  std::wmemcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

}  // namespace

const wchar_t* CCaptureWnd::TableText(int index) const {
  if (!m_pMessage || index < 0 || index >= m_pMessage->GetSize()) return L"";
  return m_pMessage->Text(index);
}

void CCaptureWnd::FreeMessageLists() {
  for (const wchar_t* text : m_StMessage.Src) delete[] text;
  for (const wchar_t* text : m_StMessage.Dst) delete[] text;
  m_StMessage.Src.RemoveAll();
  m_StMessage.Dst.RemoveAll();
  m_EngMessage.Src.RemoveAll();
  if (m_pMessage) m_pMessage->Src.RemoveAll();
}

void CCaptureWnd::InitAppUseMessage() {
  m_EngMessage.Src.RemoveAll();
  m_pMessage->Src.RemoveAll();
  for (int i = 0; i < kMessageCount; ++i) m_EngMessage.Src.Add(platform::EnglishMessage(i));
  m_pMessage->Src.Copy(m_EngMessage.Src);
  // Every subsystem shows its errors from this table, so a translated table
  // changes every message at once.
  platform::SetMessageSource([this](int index) { return TableText(index); });
}

// Appends the file's lines to the two lists of m_StMessage. 1 when the file
// was read (also when the buffer could not be had), 0 when it cannot be opened.
int CCaptureWnd::GetLangCode() {
  CFile file;
  if (!file.Open(kLanguageFile, CFile::modeRead)) return 0;
  const size_t bytes = size_t(file.GetLength());
  const size_t n = bytes / 2 + 1;  // code units, room for an odd last byte
  std::vector<uint16_t> buffer;
  if (!platform::fault::Check("alloc", "DispImgMsg").fail) {
    // Cleared in full (not only the first n bytes): no code unit past the
    // file's end may look like a line feed.
    buffer.assign(n, 0);
    file.Read(buffer.data(), UINT(bytes));
  }
  int line = 1;
  for (size_t pos = 1; !buffer.empty() && pos < n; ++line) {
    size_t lf = pos;
    while (lf < n && buffer[lf] != u'\n') ++lf;
    if (lf >= n) break;
    const wchar_t* text = CopyLine(buffer.data() + pos, lf - pos);
    (line % 2 == 1 ? m_StMessage.Src : m_StMessage.Dst).Add(text);
    pos = lf + 1;
  }
  file.Close();
  return 1;
}

// Replaces each table entry whose English text appears as a source text by
// the translation at the same position; the first match wins.
void CCaptureWnd::InitMessage(StMessage& pairs) {
  if (m_EngMessage.Src.IsEmpty()) return;
  for (int i = 0; i < m_EngMessage.Src.GetSize(); ++i) {
    for (int j = 0; j < pairs.Src.GetSize(); ++j) {
      if (std::wcscmp(pairs.Src[j], m_EngMessage.Src[i]) != 0) continue;
      if (j < pairs.Dst.GetSize()) m_pMessage->Src[i] = pairs.Dst[j];
      break;
    }
  }
}

int CCaptureWnd::GetImageLangCode() {
  if (!GetLangCode()) {
    MessageBox(TableText(platform::kMsgFileRead), L"ERROR", MB_OK);
    return 0;
  }
  InitAppUseMessage();
  InitMessage(m_StMessage);
  m_Calib.SetCaptureMsg(&m_EngMessage, this);
  return 1;
}

// The first argument selects the caption, the second the text.
void CCaptureWnd::MessageDisp(int captionIndex, int textIndex) {
  MessageBox(TableText(textIndex), TableText(captionIndex), MB_OK);
}
