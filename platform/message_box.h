#pragma once
// Message boxes. Every box the library raises goes to one process-wide
// handler: by default caption and text are printed to standard error and the
// box answers IDOK; tests install a recorder, the viewer draws them.
#include <functional>
#include <string>

#include "platform/export.h"
#include "platform/types.h"

namespace platform {

struct MessageBoxCall {
  HWND owner = nullptr;
  std::wstring text;
  std::wstring caption;
  UINT type = 0;
  bool application = false;  // AfxMessageBox: the application's own box, no caption of its own
};

using MessageBoxHandler = std::function<int(const MessageBoxCall&)>;

// Installs a handler and returns the previous one; an empty handler restores
// the default.
SURVEYCAM_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);
SURVEYCAM_API int ShowMessageBox(const MessageBoxCall& call);

}  // namespace platform

SURVEYCAM_API int MessageBoxW(HWND owner, const wchar_t* text, const wchar_t* caption, UINT type);
// The application message box: no caption of its own.
SURVEYCAM_API int AfxMessageBox(const wchar_t* text, UINT type = MB_OK, UINT helpId = 0);
