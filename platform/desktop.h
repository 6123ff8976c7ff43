#pragma once
// The desktop: one screen framebuffer, the window tree on it, the message
// queue, timers on the platform clock, keyboard state and input injection.
//
// The screen is 320 x 240 pixels by default, the quarter-VGA display of the
// handheld the library was made for (the capture driver's on-screen reads are
// sized for it); ResizeScreen changes it. The desktop window covers the
// screen, is visible, paints black, and is the parent of windows created
// without one.
//
// Everything runs on the calling thread and nothing sleeps:
//  - PostMessage queues; PumpMessages dispatches the queue (including what
//    handlers post meanwhile), then paints every window that has an invalid
//    area (parents before children), then calls the present hooks.
//  - Timers are due on the platform clock (platform/clock.h). AdvanceTime(ms)
//    moves a fixed clock forward timer by timer: each due timer in order of
//    due time (ties: the earlier started) gets its WM_TIMER dispatched at its
//    due time, followed by a pump, and is due again one period later.
//  - Painting: WM_PAINT's CPaintDC draws on the screen clipped to the window's
//    client area and update rectangle; erasing (WM_ERASEBKGND, with a DC on the
//    update rectangle) happens when the paint DC is made, as with BeginPaint.
#include <functional>
#include <string>

#include "platform/export.h"
#include "platform/framebuffer.h"
#include "platform/types.h"

class CWnd;

namespace platform {

constexpr int kDefaultScreenWidth = 320;
constexpr int kDefaultScreenHeight = 240;

// The desktop window (parent of top-level windows).
SURVEYCAM_API CWnd* DesktopWindow();

// Destroys every window, empties the queue, drops timers, releases keys,
// clears the wait cursor and the present hooks, and restores the default
// screen size filled with black. Tests call it between cases.
SURVEYCAM_API void ResetDesktop();

// ---- Message loop ----
// Dispatches queued messages and paints; returns the number of messages
// dispatched (WM_PAINT included).
SURVEYCAM_API int PumpMessages();
// Number of messages waiting in the queue (paints not counted).
SURVEYCAM_API size_t QueuedMessages();

// ---- Time ----
// Advances the platform clock by ms, firing due timers in order (see above),
// and pumps messages at the end.
SURVEYCAM_API void AdvanceTime(uint64_t milliseconds);
// Milliseconds until the next timer is due (-1 when no timer runs).
SURVEYCAM_API int64_t NextTimerDueIn();
// Number of running timers (all windows).
SURVEYCAM_API size_t RunningTimers();

// ---- Input ----
// Presses (down) or releases a key: updates GetKeyState.
SURVEYCAM_API void InjectKey(UINT virtualKey, bool down);
// A tap at a screen position: WM_LBUTTONDOWN then WM_LBUTTONUP, in client
// coordinates, to the topmost visible window under the point (the desktop
// when none). Returns that window's handle. Messages are queued, not pumped.
SURVEYCAM_API HWND InjectTap(int screenX, int screenY);
// The topmost visible window under a screen point (the desktop when none).
SURVEYCAM_API HWND WindowFromPoint(int screenX, int screenY);

// ---- Wait cursor ----
// True while a BeginWaitCursor is not matched by an EndWaitCursor.
SURVEYCAM_API bool WaitCursorShown();
// Number of BeginWaitCursor calls so far (tests see short waits too).
SURVEYCAM_API int WaitCursorCount();

// ---- Present hooks ----
// Functions run after every paint pass with the screen as the windows left
// it (the capture driver paints live video into the key-coloured pixels
// here). Returns an id for RemovePresentHook.
using PresentHook = std::function<void(Framebuffer& screen)>;
SURVEYCAM_API int AddPresentHook(PresentHook hook);
SURVEYCAM_API void RemovePresentHook(int id);
// Runs the present hooks now (the viewer calls it once per displayed frame).
SURVEYCAM_API void Present();

// Number of windows alive, the desktop excluded.
SURVEYCAM_API size_t LiveWindows();

}  // namespace platform
