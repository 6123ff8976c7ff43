#pragma once
// Window messages, styles, virtual-key codes and the small records that travel
// with them, with their Win32 values. Only what the library and its host use.
#include "platform/types.h"

// ---- Messages ----
constexpr UINT WM_NULL = 0x0000;
constexpr UINT WM_CREATE = 0x0001;
constexpr UINT WM_DESTROY = 0x0002;
constexpr UINT WM_MOVE = 0x0003;
constexpr UINT WM_SIZE = 0x0005;
constexpr UINT WM_SETFOCUS = 0x0007;
constexpr UINT WM_KILLFOCUS = 0x0008;
constexpr UINT WM_PAINT = 0x000F;
constexpr UINT WM_CLOSE = 0x0010;
constexpr UINT WM_QUIT = 0x0012;
constexpr UINT WM_ERASEBKGND = 0x0014;
constexpr UINT WM_SHOWWINDOW = 0x0018;
constexpr UINT WM_NCDESTROY = 0x0082;
constexpr UINT WM_GETDLGCODE = 0x0087;
constexpr UINT WM_KEYDOWN = 0x0100;
constexpr UINT WM_KEYUP = 0x0101;
constexpr UINT WM_CHAR = 0x0102;
constexpr UINT WM_TIMER = 0x0113;
constexpr UINT WM_MOUSEMOVE = 0x0200;
constexpr UINT WM_LBUTTONDOWN = 0x0201;
constexpr UINT WM_LBUTTONUP = 0x0202;
constexpr UINT WM_USER = 0x0400;

// ---- WM_GETDLGCODE answers ----
constexpr UINT DLGC_WANTARROWS = 0x0001;
constexpr UINT DLGC_WANTTAB = 0x0002;
constexpr UINT DLGC_WANTALLKEYS = 0x0004;
constexpr UINT DLGC_WANTCHARS = 0x0080;

// ---- Mouse key state in wParam ----
constexpr WPARAM MK_LBUTTON = 0x0001;
constexpr WPARAM MK_SHIFT = 0x0004;

// ---- Window styles ----
constexpr DWORD WS_OVERLAPPED = 0x00000000;
constexpr DWORD WS_POPUP = 0x80000000;
constexpr DWORD WS_CHILD = 0x40000000;
constexpr DWORD WS_VISIBLE = 0x10000000;
constexpr DWORD WS_DISABLED = 0x08000000;
constexpr DWORD WS_CLIPSIBLINGS = 0x04000000;
constexpr DWORD WS_CLIPCHILDREN = 0x02000000;
constexpr DWORD WS_BORDER = 0x00800000;
constexpr DWORD WS_TABSTOP = 0x00010000;
constexpr DWORD WS_EX_TOPMOST = 0x00000008;
constexpr DWORD WS_EX_CLIENTEDGE = 0x00000200;

// ---- Virtual-key codes ----
constexpr UINT VK_LBUTTON = 0x01;
constexpr UINT VK_BACK = 0x08;
constexpr UINT VK_TAB = 0x09;
constexpr UINT VK_RETURN = 0x0D;
constexpr UINT VK_SHIFT = 0x10;
constexpr UINT VK_CONTROL = 0x11;
constexpr UINT VK_MENU = 0x12;
constexpr UINT VK_ESCAPE = 0x1B;
constexpr UINT VK_SPACE = 0x20;
constexpr UINT VK_LEFT = 0x25;
constexpr UINT VK_UP = 0x26;
constexpr UINT VK_RIGHT = 0x27;
constexpr UINT VK_DOWN = 0x28;
constexpr UINT VK_CAPITAL = 0x14;
// '0'..'9' and 'A'..'Z' are their ASCII codes.

// ---- Packing of message parameters ----
constexpr WORD LOWORD(uintptr_t v) { return WORD(v & 0xFFFF); }
constexpr WORD HIWORD(uintptr_t v) { return WORD((v >> 16) & 0xFFFF); }
constexpr LPARAM MAKELPARAM(int low, int high) {
  return LPARAM(int32_t(uint32_t(WORD(low)) | (uint32_t(WORD(high)) << 16)));
}
// Signed client coordinates of a mouse message.
constexpr int GET_X_LPARAM(LPARAM lp) { return int(SHORT(LOWORD(uintptr_t(lp)))); }
constexpr int GET_Y_LPARAM(LPARAM lp) { return int(SHORT(HIWORD(uintptr_t(lp)))); }

// What WM_CREATE carries (lParam points at it).
struct CREATESTRUCTW {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HANDLE hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCWSTR lpszName;
  LPCWSTR lpszClass;
  DWORD dwExStyle;
};
using CREATESTRUCT = CREATESTRUCTW;
using LPCREATESTRUCT = CREATESTRUCTW*;

using LPRECT = RECT*;
using LPCRECT = const RECT*;
using LPPOINT = POINT*;

// Timer callback (SetTimer with a procedure instead of WM_TIMER).
using TIMERPROC = void (*)(HWND, UINT, UINT_PTR, DWORD);
