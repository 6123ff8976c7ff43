// The desktop: window table, message queue, paint passes, timers and input.
// Everything here runs on the window thread (one thread owns the desktop).
#include "platform/desktop.h"

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <memory>
#include <vector>

#include "platform/clock.h"
#include "platform/dc.h"
#include "platform/desktop_internal.h"
#include "platform/paint_dc.h"
#include "platform/wnd.h"

namespace platform {
namespace {

struct Window {
  HWND hwnd = nullptr;
  CWnd* wnd = nullptr;
  HWND parent = nullptr;
  std::vector<HWND> children;  // bottom to top
  RECT rect{};                 // in the parent's client coordinates
  UINT id = 0;
  bool visible = false;
  bool invalid = false;
  bool erase = false;
  RECT update{};  // client coordinates, valid while invalid
  int paintsBegun = 0;
};

struct Posted {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
};

struct Timer {
  HWND hwnd;
  UINT_PTR id;
  UINT period;
  int64_t due;
  uint64_t seq;
  TIMERPROC proc;
};

// The desktop's own window: covers the screen and paints it black.
class DesktopWnd : public CWnd {
 protected:
  BOOL OnEraseBkgnd(CDC* dc) override {
    RECT clip;
    dc->GetClipBox(&clip);
    dc->FillSolidRect(&clip, RGB(0, 0, 0));
    return TRUE;
  }
};

struct Desktop {
  std::map<HWND, std::unique_ptr<Window>> windows;
  std::deque<Posted> queue;
  std::vector<Timer> timers;
  std::array<bool, 256> held{};
  std::array<bool, 256> toggled{};
  std::map<int, PresentHook> hooks;
  int nextHook = 1;
  uintptr_t nextHandle = 0x10000;
  uint64_t nextTimerSeq = 1;
  UINT_PTR nextTimerId = 0x7F00;
  HWND desktop = nullptr;
  int waitDepth = 0;
  int waitCount = 0;
  DesktopWnd desktopWnd;
};

Framebuffer& ScreenStorage() {
  static Framebuffer screen;
  return screen;
}

Desktop& D();

bool ResolveTarget(CWnd* wnd, PaintTarget& target);

void InitDesktop(Desktop& d) {
  Framebuffer& screen = ScreenStorage();
  if (screen.width == 0) screen.Resize(kDefaultScreenWidth, kDefaultScreenHeight, 0);
  auto w = std::make_unique<Window>();
  w->hwnd = reinterpret_cast<HWND>(d.nextHandle);
  d.nextHandle += 4;
  w->wnd = &d.desktopWnd;
  w->rect = RECT{0, 0, screen.width, screen.height};
  w->visible = true;
  d.desktop = w->hwnd;
  d.desktopWnd.m_hWnd = w->hwnd;
  d.windows.emplace(w->hwnd, std::move(w));
  SetPaintTargetResolver(&ResolveTarget);
}

Desktop& D() {
  static Desktop* d = [] {
    auto* made = new Desktop;  // lives for the process; windows may outlive statics
    InitDesktop(*made);
    return made;
  }();
  return *d;
}

Window* Find(HWND hwnd) {
  if (!hwnd) return nullptr;
  auto& windows = D().windows;
  auto it = windows.find(hwnd);
  return it == windows.end() ? nullptr : it->second.get();
}

RECT ClientRectOf(const Window& w) {
  return RECT{0, 0, w.rect.right - w.rect.left, w.rect.bottom - w.rect.top};
}

POINT OriginOf(const Window& w) {
  POINT p{w.rect.left, w.rect.top};
  for (Window* up = Find(w.parent); up; up = Find(up->parent)) {
    p.x += up->rect.left;
    p.y += up->rect.top;
  }
  return p;
}

RECT ScreenRectOf(const Window& w) {
  POINT o = OriginOf(w);
  return RECT{o.x, o.y, o.x + (w.rect.right - w.rect.left), o.y + (w.rect.bottom - w.rect.top)};
}

bool ShownOnScreen(const Window& w) {
  for (const Window* p = &w; p; p = Find(p->parent))
    if (!p->visible) return false;
  return true;
}

// Windows in paint order: parents before children, lower siblings first.
void CollectPreOrder(HWND hwnd, std::vector<HWND>& out) {
  Window* w = Find(hwnd);
  if (!w) return;
  out.push_back(hwnd);
  for (HWND child : w->children) CollectPreOrder(child, out);
}

void AddInvalid(Window& w, const RECT& clientRect, bool erase) {
  CRect area;
  if (!area.IntersectRect(clientRect, ClientRectOf(w))) return;
  if (w.invalid) {
    w.update = RECT{std::min(w.update.left, area.left),
                    std::min(w.update.top, area.top),
                    std::max(w.update.right, area.right),
                    std::max(w.update.bottom, area.bottom)};
  } else {
    w.update = area;
  }
  w.invalid = true;
  w.erase = w.erase || erase;
}

// Invalidates the part of a screen rectangle that lies over a window.
void InvalidateScreenArea(Window& w, const RECT& onScreen) {
  POINT o = OriginOf(w);
  RECT local{onScreen.left - o.x, onScreen.top - o.y, onScreen.right - o.x, onScreen.bottom - o.y};
  AddInvalid(w, local, true);
}

// Paint DC resolver: the window's client area on the screen, the update
// rectangle, erasing through WM_ERASEBKGND (as BeginPaint does), and the
// window validated from here on.
bool ResolveTarget(CWnd* wnd, PaintTarget& target) {
  Window* w = wnd ? Find(wnd->m_hWnd) : nullptr;
  if (!w) return false;
  target.framebuffer = &ScreenStorage();
  target.clientOnScreen = ScreenRectOf(*w);
  target.paint = w->invalid ? w->update : ClientRectOf(*w);
  const bool erase = w->invalid && w->erase;
  w->invalid = false;
  w->erase = false;
  ++w->paintsBegun;
  target.erase = false;
  if (erase) {
    CDC dc;
    dc.AttachFramebuffer(target.framebuffer, target.clientOnScreen, &target.paint);
    target.erase = SendMessageW(w->hwnd, WM_ERASEBKGND, WPARAM(dc.m_hDC), 0) == 0;
  }
  return true;
}

void RunPresentHooks() {
  // Copy: a hook may remove itself.
  std::vector<PresentHook> hooks;
  for (auto& [id, hook] : D().hooks) hooks.push_back(hook);
  for (auto& hook : hooks) hook(ScreenStorage());
}

// Sends WM_PAINT to one window; afterwards the windows above it in paint
// order that overlap what it painted are invalidated too.
void PaintOne(HWND hwnd, const std::vector<HWND>& order, size_t index) {
  Window* w = Find(hwnd);
  if (!w || !w->invalid || !ShownOnScreen(*w)) return;
  POINT o = OriginOf(*w);
  RECT painted{
      w->update.left + o.x, w->update.top + o.y, w->update.right + o.x, w->update.bottom + o.y};
  const int begun = w->paintsBegun;
  SendMessageW(hwnd, WM_PAINT, 0, 0);
  w = Find(hwnd);
  if (w && w->paintsBegun == begun) w->invalid = w->erase = false;  // never began painting
  for (size_t i = index + 1; i < order.size(); ++i) {
    Window* above = Find(order[i]);
    if (above && ShownOnScreen(*above)) InvalidateScreenArea(*above, painted);
  }
}

// Paints every invalid window once; true when any was painted.
bool PaintPass() {
  std::vector<HWND> order;
  CollectPreOrder(D().desktop, order);
  bool painted = false;
  for (size_t i = 0; i < order.size(); ++i) {
    Window* w = Find(order[i]);
    if (!w || !w->invalid || !ShownOnScreen(*w)) continue;
    PaintOne(order[i], order, i);
    painted = true;
  }
  if (painted) RunPresentHooks();
  return painted;
}

int DispatchQueue() {
  int count = 0;
  while (!D().queue.empty()) {
    Posted m = D().queue.front();
    D().queue.pop_front();
    const bool timerProc = m.message == WM_TIMER && m.lParam;
    if (!Find(m.hwnd) && !(timerProc && !m.hwnd)) continue;
    if (timerProc) {
      reinterpret_cast<TIMERPROC>(m.lParam)(m.hwnd, WM_TIMER, UINT_PTR(m.wParam), GetTickCount());
    } else {
      SendMessageW(m.hwnd, m.message, m.wParam, m.lParam);
    }
    ++count;
  }
  return count;
}

Timer* FindTimer(HWND hwnd, UINT_PTR id) {
  for (Timer& t : D().timers)
    if (t.hwnd == hwnd && t.id == id) return &t;
  return nullptr;
}

// The timer due first (ties: the one started first), or null.
Timer* EarliestTimer() {
  Timer* best = nullptr;
  for (Timer& t : D().timers)
    if (!best || t.due < best->due || (t.due == best->due && t.seq < best->seq)) best = &t;
  return best;
}

void PostTimer(Timer& t) {
  D().queue.push_back(
      Posted{t.hwnd, WM_TIMER, WPARAM(t.id), LPARAM(reinterpret_cast<intptr_t>(t.proc))});
}

void ForgetWindow(HWND hwnd) {
  Desktop& d = D();
  std::erase_if(d.timers, [&](const Timer& t) { return t.hwnd == hwnd; });
  std::erase_if(d.queue, [&](const Posted& m) { return m.hwnd == hwnd; });
}

}  // namespace

// ---- Screen ----
Framebuffer& Screen() {
  D();
  return ScreenStorage();
}

void ResizeScreen(int width, int height) {
  Desktop& d = D();
  ScreenStorage().Resize(width, height, 0);
  Window* desk = Find(d.desktop);
  desk->rect = RECT{0, 0, width, height};
  std::vector<HWND> order;
  CollectPreOrder(d.desktop, order);
  for (HWND hwnd : order) {
    Window* w = Find(hwnd);
    AddInvalid(*w, ClientRectOf(*w), true);
  }
}

CWnd* DesktopWindow() { return &D().desktopWnd; }

void ResetDesktop() {
  Desktop& d = D();
  std::vector<HWND> top = Find(d.desktop)->children;
  for (auto it = top.rbegin(); it != top.rend(); ++it) desktop_detail::DestroyWindowTree(*it);
  d.queue.clear();
  d.timers.clear();
  d.held.fill(false);
  d.toggled.fill(false);
  d.hooks.clear();
  d.waitDepth = d.waitCount = 0;
  ScreenStorage().Resize(kDefaultScreenWidth, kDefaultScreenHeight, 0);
  Window* desk = Find(d.desktop);
  desk->rect = RECT{0, 0, kDefaultScreenWidth, kDefaultScreenHeight};
  desk->invalid = desk->erase = false;
  SetPaintTargetResolver(&ResolveTarget);
}

// ---- Message loop ----
int PumpMessages() {
  int count = 0;
  for (int round = 0; round < 64; ++round) {
    count += DispatchQueue();
    if (PaintPass()) ++count;
    if (D().queue.empty()) break;
  }
  return count;
}

size_t QueuedMessages() { return D().queue.size(); }

// ---- Time ----
void AdvanceTime(uint64_t milliseconds) {
  clock::Advance(0);  // fixes a real-time clock where it stands
  const int64_t target = clock::NowMs() + int64_t(milliseconds);
  for (;;) {
    Timer* t = EarliestTimer();
    if (!t || t->due > target) break;
    const int64_t now = clock::NowMs();
    if (t->due > now) clock::Advance(uint64_t(t->due - now));
    t->due += std::max<int64_t>(t->period, 1);
    PostTimer(*t);
    PumpMessages();
  }
  const int64_t now = clock::NowMs();
  if (target > now) clock::Advance(uint64_t(target - now));
  PumpMessages();
}

int64_t NextTimerDueIn() {
  Timer* t = EarliestTimer();
  return t ? std::max<int64_t>(0, t->due - clock::NowMs()) : -1;
}

size_t RunningTimers() { return D().timers.size(); }

// ---- Input ----
void InjectKey(UINT virtualKey, bool down) {
  Desktop& d = D();
  const UINT vk = virtualKey & 0xFF;
  if (down && !d.held[vk]) d.toggled[vk] = !d.toggled[vk];
  d.held[vk] = down;
}

HWND WindowFromPoint(int screenX, int screenY) {
  std::vector<HWND> order;
  CollectPreOrder(D().desktop, order);
  HWND hit = D().desktop;
  for (HWND hwnd : order) {
    Window* w = Find(hwnd);
    if (!ShownOnScreen(*w)) continue;
    bool inside = true;
    for (Window* p = w; p && inside; p = Find(p->parent)) {
      RECT r = ScreenRectOf(*p);
      inside = screenX >= r.left && screenX < r.right && screenY >= r.top && screenY < r.bottom;
    }
    if (inside) hit = hwnd;
  }
  return hit;
}

HWND InjectTap(int screenX, int screenY) {
  HWND hit = WindowFromPoint(screenX, screenY);
  POINT o = OriginOf(*Find(hit));
  LPARAM at = MAKELPARAM(screenX - o.x, screenY - o.y);
  D().queue.push_back(Posted{hit, WM_LBUTTONDOWN, MK_LBUTTON, at});
  D().queue.push_back(Posted{hit, WM_LBUTTONUP, 0, at});
  return hit;
}

// ---- Wait cursor ----
bool WaitCursorShown() { return D().waitDepth > 0; }
int WaitCursorCount() { return D().waitCount; }

// ---- Present hooks ----
int AddPresentHook(PresentHook hook) {
  int id = D().nextHook++;
  D().hooks.emplace(id, std::move(hook));
  return id;
}
void RemovePresentHook(int id) { D().hooks.erase(id); }
void Present() { RunPresentHooks(); }

size_t LiveWindows() { return D().windows.size() - 1; }

// ---- What CWnd uses ----
namespace desktop_detail {

HWND NewWindow(CWnd* wnd, HWND parent, const RECT& rect, UINT id) {
  Desktop& d = D();
  Window* up = Find(parent ? parent : d.desktop);
  if (!up) return nullptr;
  auto w = std::make_unique<Window>();
  w->hwnd = reinterpret_cast<HWND>(d.nextHandle);
  d.nextHandle += 4;
  w->wnd = wnd;
  w->parent = up->hwnd;
  w->rect = rect;
  w->id = id;
  HWND hwnd = w->hwnd;
  up->children.push_back(hwnd);
  d.windows.emplace(hwnd, std::move(w));
  return hwnd;
}

bool DestroyWindowTree(HWND hwnd) {
  Window* w = Find(hwnd);
  if (!w || hwnd == D().desktop) return false;
  SendMessageW(hwnd, WM_DESTROY, 0, 0);
  std::vector<HWND> children = Find(hwnd) ? Find(hwnd)->children : std::vector<HWND>{};
  for (HWND child : children) DestroyWindowTree(child);
  if (!Find(hwnd)) return true;
  SendMessageW(hwnd, WM_NCDESTROY, 0, 0);
  w = Find(hwnd);
  if (!w) return true;
  if (Window* up = Find(w->parent)) {
    std::erase(up->children, hwnd);
    if (w->visible && ShownOnScreen(*up)) InvalidateScreenArea(*up, ScreenRectOf(*w));
  }
  ForgetWindow(hwnd);
  CWnd* wnd = w->wnd;
  D().windows.erase(hwnd);
  if (wnd) {
    wnd->m_hWnd = nullptr;
  }
  return true;
}

CWnd* WndOf(HWND hwnd) {
  Window* w = Find(hwnd);
  return w ? w->wnd : nullptr;
}

bool WindowRectInParent(HWND hwnd, RECT* rect) {
  Window* w = Find(hwnd);
  if (!w) return false;
  *rect = w->rect;
  return true;
}

POINT ClientOrigin(HWND hwnd) {
  Window* w = Find(hwnd);
  return w ? OriginOf(*w) : POINT{0, 0};
}

bool SetVisible(HWND hwnd, bool visible) {
  Window* w = Find(hwnd);
  if (!w) return false;
  const bool was = w->visible;
  w->visible = visible;
  if (visible && !was) AddInvalid(*w, ClientRectOf(*w), true);
  if (!visible && was)
    if (Window* up = Find(w->parent)) InvalidateScreenArea(*up, ScreenRectOf(*w));
  return was;
}

HWND ParentOf(HWND hwnd) {
  Window* w = Find(hwnd);
  return w ? w->parent : nullptr;
}
UINT IdOf(HWND hwnd) {
  Window* w = Find(hwnd);
  return w ? w->id : 0;
}

bool ValidateRectOf(HWND hwnd, const RECT* rect) {
  Window* w = Find(hwnd);
  if (!w) return false;
  if (!rect || (rect->left <= w->update.left && rect->top <= w->update.top &&
                rect->right >= w->update.right && rect->bottom >= w->update.bottom)) {
    w->invalid = w->erase = false;
  }
  return true;
}

void BeginWait() {
  ++D().waitDepth;
  ++D().waitCount;
}
void EndWait() {
  if (D().waitDepth > 0) --D().waitDepth;
}

}  // namespace desktop_detail
}  // namespace platform

// ---- Win32 calls ----
using platform::desktop_detail::WndOf;

LRESULT SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  CWnd* wnd = WndOf(hwnd);
  if (!wnd) return IsWindow(hwnd) ? DefWindowProcW(hwnd, message, wParam, lParam) : 0;
  return wnd->Dispatch(message, wParam, lParam);
}

BOOL PostMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (!IsWindow(hwnd)) return FALSE;
  platform::D().queue.push_back(platform::Posted{hwnd, message, wParam, lParam});
  return TRUE;
}

LRESULT DefWindowProcW(HWND hwnd, UINT message, WPARAM, LPARAM) {
  if (message == WM_PAINT) {
    if (CWnd* wnd = WndOf(hwnd)) {
      CPaintDC dc(wnd);  // erases when needed and validates
    } else {
      platform::desktop_detail::ValidateRectOf(hwnd, nullptr);
    }
  }
  return 0;
}

BOOL IsWindow(HWND hwnd) { return platform::Find(hwnd) ? TRUE : FALSE; }

BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase) {
  platform::Window* w = platform::Find(hwnd);
  if (!w) return FALSE;
  platform::AddInvalid(*w, rect ? *rect : platform::ClientRectOf(*w), erase != FALSE);
  return TRUE;
}

BOOL UpdateWindow(HWND hwnd) {
  platform::Window* w = platform::Find(hwnd);
  if (!w) return FALSE;
  if (!w->invalid || !platform::ShownOnScreen(*w)) return TRUE;
  std::vector<HWND> order;
  platform::CollectPreOrder(platform::D().desktop, order);
  size_t index = size_t(std::find(order.begin(), order.end(), hwnd) - order.begin());
  platform::PaintOne(hwnd, order, index);
  platform::RunPresentHooks();
  return TRUE;
}

UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse, TIMERPROC proc) {
  platform::Desktop& d = platform::D();
  if (hwnd && !IsWindow(hwnd)) return 0;
  if (!hwnd) {
    if (!proc) return 0;
    id = d.nextTimerId++;
  }
  const int64_t due = platform::clock::NowMs() + std::max<int64_t>(elapse, 1);
  if (platform::Timer* t = platform::FindTimer(hwnd, id)) {
    *t = platform::Timer{hwnd, id, elapse, due, d.nextTimerSeq++, proc};
  } else {
    d.timers.push_back(platform::Timer{hwnd, id, elapse, due, d.nextTimerSeq++, proc});
  }
  return id;
}

BOOL KillTimer(HWND hwnd, UINT_PTR id) {
  auto& timers = platform::D().timers;
  size_t removed =
      std::erase_if(timers, [&](const platform::Timer& t) { return t.hwnd == hwnd && t.id == id; });
  return removed ? TRUE : FALSE;
}

SHORT GetKeyState(int virtualKey) {
  const platform::Desktop& d = platform::D();
  const size_t vk = size_t(virtualKey) & 0xFF;
  return SHORT((d.held[vk] ? 0x8000 : 0) | (d.toggled[vk] ? 1 : 0));
}
