#pragma once
// CWnd: the framework's window object over the platform's desktop
// (platform/desktop.h). A CWnd is bound to one window handle between
// CreateEx and DestroyWindow. Messages reach the window through
// WindowProc, which calls the virtual On... handlers below (our message map);
// a class handles a message of its own (a WM_USER message, say) by overriding
// WindowProc and passing everything else to its base. Default() gives the
// message being handled to the default window procedure.
//
// Rectangles: the window rectangle is kept in the parent's client
// coordinates; the client area is the whole window (no frames or captions
// are drawn), so GetClientRect is (0, 0, width, height).
#include "platform/export.h"
#include "platform/messages.h"
#include "platform/object.h"
#include "platform/point.h"
#include "platform/rect.h"
#include "platform/types.h"

class CDC;

class SURVEYCAM_API CWnd : public CObject {
  DECLARE_DYNAMIC(CWnd)

 public:
  CWnd();
  ~CWnd() override;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;

  HWND m_hWnd = nullptr;

  HWND GetSafeHwnd() const { return m_hWnd; }

  // ---- Creation and destruction ----
  // Creates a window at rect (parent's client coordinates) and sends
  // WM_CREATE; FALSE when WM_CREATE answers -1 (the window is then destroyed
  // again) or the window exists already. A null parent means the desktop.
  virtual BOOL CreateEx(DWORD exStyle,
                        LPCWSTR className,
                        LPCWSTR windowName,
                        DWORD style,
                        const RECT& rect,
                        CWnd* parent,
                        UINT id,
                        LPVOID param = nullptr);
  // Sends WM_DESTROY to the window and then its children, drops their
  // timers and queued messages and unbinds them.
  virtual BOOL DestroyWindow();

  // ---- Geometry ----
  void GetClientRect(LPRECT rect) const;
  void GetWindowRect(LPRECT rect) const;  // screen coordinates
  void ClientToScreen(LPPOINT point) const;
  void ClientToScreen(LPRECT rect) const;
  void ScreenToClient(LPPOINT point) const;

  // ---- Painting ----
  void Invalidate(BOOL erase = TRUE);
  // rect null: the whole client area.
  void InvalidateRect(LPCRECT rect, BOOL erase = TRUE);
  // Paints the window now when it has anything to paint.
  void UpdateWindow();

  // ---- Timers and messages ----
  // Starts (or restarts) timer id with the given period in milliseconds on
  // the platform clock; returns id, or 0 on failure.
  UINT_PTR SetTimer(UINT_PTR id, UINT elapse, TIMERPROC proc);
  BOOL KillTimer(UINT_PTR id);
  BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  int MessageBox(LPCWSTR text, LPCWSTR caption = nullptr, UINT type = MB_OK);

  // ---- Relations and state ----
  int GetDlgCtrlID() const;

  // ---- Wait cursor (a counter the host reads, see platform::WaitCursorShown) ----
  void BeginWaitCursor();
  void EndWaitCursor();

  // The message procedure: calls the On... handler of the message, Default()
  // for everything else.
  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);

 protected:
  // Hands the message being handled to the default window procedure.
  LRESULT Default();

  virtual int OnCreate(LPCREATESTRUCT create);
  virtual void OnDestroy();
  virtual void OnPaint();
  virtual BOOL OnEraseBkgnd(CDC* dc);
  virtual UINT OnGetDlgCode();
  virtual void OnLButtonDown(UINT flags, CPoint point);
  virtual void OnLButtonUp(UINT flags, CPoint point);
  virtual void OnKeyDown(UINT key, UINT repeat, UINT flags);
  virtual void OnKeyUp(UINT key, UINT repeat, UINT flags);
  virtual void OnTimer(UINT_PTR id);
  // Called once the window handle is gone (after WM_NCDESTROY).
  virtual void PostNcDestroy() {}

 private:
  struct CurrentMessage {
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
  };
  LRESULT Dispatch(UINT message, WPARAM wParam, LPARAM lParam);

  CurrentMessage current_;
  friend LRESULT SendMessageW(HWND, UINT, WPARAM, LPARAM);
};

// ---- The Win32 calls behind CWnd ----
SURVEYCAM_API LRESULT SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
SURVEYCAM_API BOOL PostMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
SURVEYCAM_API LRESULT DefWindowProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
SURVEYCAM_API BOOL IsWindow(HWND hwnd);
SURVEYCAM_API BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase);
SURVEYCAM_API BOOL UpdateWindow(HWND hwnd);
SURVEYCAM_API UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse, TIMERPROC proc);
SURVEYCAM_API BOOL KillTimer(HWND hwnd, UINT_PTR id);
// Held keys have the high-order bit set (the result is negative); the
// low-order bit is the key's toggle state.
SURVEYCAM_API SHORT GetKeyState(int virtualKey);
