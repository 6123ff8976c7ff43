#include "platform/message_box.h"

#include <cstdio>
#include <mutex>

#include "platform/text.h"

namespace platform {
namespace {

std::mutex g_mutex;
MessageBoxHandler g_handler;

int DefaultHandler(const MessageBoxCall& call) {
  std::fprintf(stderr,
               "[message box] %s: %s\n",
               WideToUtf8(call.caption).c_str(),
               WideToUtf8(call.text).c_str());
  return (call.type & 0x0F) == MB_YESNO ? IDYES : IDOK;
}

}  // namespace

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
  std::lock_guard lock(g_mutex);
  MessageBoxHandler previous = std::move(g_handler);
  g_handler = std::move(handler);
  return previous;
}

int ShowMessageBox(const MessageBoxCall& call) {
  MessageBoxHandler handler;
  {
    std::lock_guard lock(g_mutex);
    handler = g_handler;
  }
  return handler ? handler(call) : DefaultHandler(call);
}

}  // namespace platform

int MessageBoxW(HWND owner, const wchar_t* text, const wchar_t* caption, UINT type) {
  return platform::ShowMessageBox({owner, text ? text : L"", caption ? caption : L"", type, false});
}

int AfxMessageBox(const wchar_t* text, UINT type, UINT) {
  return platform::ShowMessageBox({nullptr, text ? text : L"", L"", type, true});
}
