#pragma once
// What CWnd (platform/wnd.cpp) needs from the desktop's window table
// (platform/desktop.cpp). Not exported.
#include "platform/types.h"

class CWnd;

namespace platform::desktop_detail {

// Makes a window record bound to wnd under parent (the desktop when null);
// null when the parent is not a window.
HWND NewWindow(CWnd* wnd, HWND parent, const RECT& rect, UINT id);
// Sends WM_DESTROY / WM_NCDESTROY to the window and its children and
// forgets them; false when hwnd is not a window.
bool DestroyWindowTree(HWND hwnd);
CWnd* WndOf(HWND hwnd);
// Window rectangle in the parent's client coordinates; false for no window.
bool WindowRectInParent(HWND hwnd, RECT* rect);
// Top-left of the client area on the screen.
POINT ClientOrigin(HWND hwnd);
bool SetVisible(HWND hwnd, bool visible);
HWND ParentOf(HWND hwnd);
UINT IdOf(HWND hwnd);
bool ValidateRectOf(HWND hwnd, const RECT* rect);
void BeginWait();
void EndWait();

}  // namespace platform::desktop_detail
