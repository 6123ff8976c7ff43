#include "platform/file_messages.h"

#include <string>

#include "platform/file_exception.h"
#include "platform/message_box.h"

void ShowAccessRefused(const wchar_t* path) {
  std::wstring text = path ? path : L"";
  text += L"\nAccess to the file was refused. Another application may be using it.";
  MessageBoxW(nullptr, text.c_str(), L"ERROR", MB_OK | MB_ICONEXCLAMATION);
}

int IsAccessRefusedCause(int cause) {
  return cause == CFileException::accessDenied || cause == CFileException::sharingViolation ? 1 : 0;
}
