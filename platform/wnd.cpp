// CWnd over the desktop's window table (platform/desktop.cpp).
#include "platform/wnd.h"

#include "platform/dc.h"
#include "platform/desktop_internal.h"
#include "platform/message_box.h"

namespace dd = platform::desktop_detail;

IMPLEMENT_DYNAMIC(CWnd, CObject)

CWnd::CWnd() = default;

CWnd::~CWnd() {
  if (m_hWnd) DestroyWindow();
}

BOOL CWnd::CreateEx(DWORD exStyle,
                    LPCWSTR className,
                    LPCWSTR windowName,
                    DWORD style,
                    const RECT& rect,
                    CWnd* parent,
                    UINT id,
                    LPVOID param) {
  if (m_hWnd) return FALSE;
  HWND parentHwnd = parent ? parent->m_hWnd : nullptr;
  if (parent && !parentHwnd) return FALSE;
  HWND hwnd = dd::NewWindow(this, parentHwnd, rect, id);
  if (!hwnd) return FALSE;
  m_hWnd = hwnd;
  CREATESTRUCTW cs{};
  cs.lpCreateParams = param;
  cs.hwndParent = dd::ParentOf(hwnd);
  cs.x = rect.left;
  cs.y = rect.top;
  cs.cx = rect.right - rect.left;
  cs.cy = rect.bottom - rect.top;
  cs.style = LONG(style);
  cs.lpszName = windowName;
  cs.lpszClass = className;
  cs.dwExStyle = exStyle;
  if (SendMessageW(hwnd, WM_CREATE, 0, LPARAM(reinterpret_cast<intptr_t>(&cs))) == -1) {
    dd::DestroyWindowTree(hwnd);
    m_hWnd = nullptr;
    return FALSE;
  }
  if (style & WS_VISIBLE) dd::SetVisible(hwnd, true);
  return TRUE;
}

BOOL CWnd::DestroyWindow() {
  if (!m_hWnd) return FALSE;
  HWND hwnd = m_hWnd;
  const bool done = dd::DestroyWindowTree(hwnd);
  m_hWnd = nullptr;
  if (done) PostNcDestroy();
  return done ? TRUE : FALSE;
}

// ---- Geometry ----
void CWnd::GetClientRect(LPRECT rect) const {
  RECT r{};
  dd::WindowRectInParent(m_hWnd, &r);
  *rect = RECT{0, 0, r.right - r.left, r.bottom - r.top};
}

void CWnd::GetWindowRect(LPRECT rect) const {
  GetClientRect(rect);
  ClientToScreen(rect);
}

void CWnd::ClientToScreen(LPPOINT point) const {
  POINT o = dd::ClientOrigin(m_hWnd);
  point->x += o.x;
  point->y += o.y;
}

void CWnd::ClientToScreen(LPRECT rect) const {
  POINT o = dd::ClientOrigin(m_hWnd);
  rect->left += o.x;
  rect->right += o.x;
  rect->top += o.y;
  rect->bottom += o.y;
}

void CWnd::ScreenToClient(LPPOINT point) const {
  POINT o = dd::ClientOrigin(m_hWnd);
  point->x -= o.x;
  point->y -= o.y;
}

// ---- Painting ----
void CWnd::Invalidate(BOOL erase) { ::InvalidateRect(m_hWnd, nullptr, erase); }
void CWnd::InvalidateRect(LPCRECT rect, BOOL erase) { ::InvalidateRect(m_hWnd, rect, erase); }
void CWnd::UpdateWindow() { ::UpdateWindow(m_hWnd); }

// ---- Timers and messages ----
UINT_PTR CWnd::SetTimer(UINT_PTR id, UINT elapse, TIMERPROC proc) {
  return m_hWnd ? ::SetTimer(m_hWnd, id, elapse, proc) : 0;
}
BOOL CWnd::KillTimer(UINT_PTR id) { return ::KillTimer(m_hWnd, id); }
BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  return PostMessageW(m_hWnd, message, wParam, lParam);
}
LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  return SendMessageW(m_hWnd, message, wParam, lParam);
}
int CWnd::MessageBox(LPCWSTR text, LPCWSTR caption, UINT type) {
  return MessageBoxW(m_hWnd, text, caption, type);
}

// ---- Relations and state ----
int CWnd::GetDlgCtrlID() const { return int(dd::IdOf(m_hWnd)); }
void CWnd::BeginWaitCursor() { dd::BeginWait(); }
void CWnd::EndWaitCursor() { dd::EndWait(); }

// ---- Message map ----
LRESULT CWnd::Dispatch(UINT message, WPARAM wParam, LPARAM lParam) {
  const CurrentMessage saved = current_;
  current_ = CurrentMessage{message, wParam, lParam};
  LRESULT result = WindowProc(message, wParam, lParam);
  current_ = saved;
  return result;
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  const CPoint at(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
  switch (message) {
    case WM_CREATE:
      return OnCreate(reinterpret_cast<LPCREATESTRUCT>(lParam));
    case WM_DESTROY:
      OnDestroy();
      return 0;
    case WM_PAINT:
      OnPaint();
      return 0;
    case WM_ERASEBKGND: {
      CDC dc;
      dc.Attach(reinterpret_cast<HDC>(wParam));
      BOOL erased = OnEraseBkgnd(&dc);
      dc.Detach();
      return erased;
    }
    case WM_GETDLGCODE:
      return LRESULT(OnGetDlgCode());
    case WM_LBUTTONDOWN:
      OnLButtonDown(UINT(wParam), at);
      return 0;
    case WM_LBUTTONUP:
      OnLButtonUp(UINT(wParam), at);
      return 0;
    case WM_KEYDOWN:
      OnKeyDown(UINT(wParam), LOWORD(uintptr_t(lParam)), HIWORD(uintptr_t(lParam)));
      return 0;
    case WM_KEYUP:
      OnKeyUp(UINT(wParam), LOWORD(uintptr_t(lParam)), HIWORD(uintptr_t(lParam)));
      return 0;
    case WM_TIMER:
      OnTimer(UINT_PTR(wParam));
      return 0;
    default:
      return Default();
  }
}

LRESULT CWnd::Default() {
  return DefWindowProcW(m_hWnd, current_.message, current_.wParam, current_.lParam);
}

int CWnd::OnCreate(LPCREATESTRUCT) { return int(Default()); }
void CWnd::OnDestroy() { Default(); }
void CWnd::OnPaint() { Default(); }
BOOL CWnd::OnEraseBkgnd(CDC*) { return BOOL(Default()); }
UINT CWnd::OnGetDlgCode() { return UINT(Default()); }
void CWnd::OnLButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnLButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnKeyDown(UINT, UINT, UINT) { Default(); }
void CWnd::OnKeyUp(UINT, UINT, UINT) { Default(); }
void CWnd::OnTimer(UINT_PTR) { Default(); }
