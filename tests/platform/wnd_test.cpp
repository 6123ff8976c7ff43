// CWnd and the desktop: creation, coordinates, the message queue, timers on
// the platform clock, painting with erase, keys, taps and the wait cursor.
#include "platform/wnd.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/dc.h"
#include "platform/desktop.h"
#include "platform/paint_dc.h"
#include "tests/support/test_support.h"

namespace {

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kBlue = RGB(0, 0, 255);
constexpr COLORREF kGreen = RGB(0, 255, 0);
// What a colour becomes on the screen (0x00RRGGBB).
constexpr uint32_t Px(COLORREF c) { return platform::PixelFromColorref(c); }

// A window that logs every message it handles.
class Probe : public CWnd {
 public:
  std::vector<std::string> log;
  std::vector<int64_t> timerTimes;
  std::vector<UINT_PTR> timerIds;
  int createAnswer = 0;
  CREATESTRUCTW created{};
  RECT eraseClip{};
  CPoint lastTap;
  COLORREF eraseColour = kRed;

  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
    if (message >= WM_USER) {
      log.push_back("user" + std::to_string(message - WM_USER));
      if (message == WM_USER + 1 && wParam == 7) PostMessage(WM_USER + 9);
      return 0;
    }
    return CWnd::WindowProc(message, wParam, lParam);
  }

 protected:
  int OnCreate(LPCREATESTRUCT cs) override {
    created = *cs;
    log.push_back("create");
    PostMessage(WM_USER + 5);
    return createAnswer;
  }
  void OnDestroy() override { log.push_back("destroy"); }
  BOOL OnEraseBkgnd(CDC* dc) override {
    log.push_back("erase");
    dc->GetClipBox(&eraseClip);
    dc->FillSolidRect(&eraseClip, eraseColour);
    return TRUE;
  }
  void OnPaint() override {
    CPaintDC dc(this);  // erases first, as BeginPaint does
    log.push_back("paint");
    dc.FillSolidRect(0, 0, 1, 1, kBlue);
  }
  void OnTimer(UINT_PTR id) override {
    timerIds.push_back(id);
    timerTimes.push_back(platform::clock::NowMs());
  }
  void OnLButtonDown(UINT, CPoint p) override {
    log.push_back("tap");
    lastTap = p;
  }
};

class WndTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    platform::ResetDesktop();
    start_ = platform::clock::NowMs();
  }
  void TearDown() override {
    platform::ResetDesktop();
    DeviceTest::TearDown();
  }
  int64_t Since() const { return platform::clock::NowMs() - start_; }
  static int Count(const std::vector<std::string>& log, const std::string& what) {
    return int(std::count(log.begin(), log.end(), what));
  }

  int64_t start_ = 0;
};

TEST_F(WndTest, CreateSendsCreateStructAndBindsHandle) {
  Probe w;
  int param = 0;
  ASSERT_TRUE(w.CreateEx(WS_EX_TOPMOST,
                         L"cls",
                         L"name",
                         WS_CHILD | WS_VISIBLE,
                         RECT{10, 20, 110, 80},
                         nullptr,
                         42,
                         &param));
  EXPECT_TRUE(IsWindow(w.m_hWnd));
  EXPECT_EQ(w.created.x, 10);
  EXPECT_EQ(w.created.y, 20);
  EXPECT_EQ(w.created.cx, 100);
  EXPECT_EQ(w.created.cy, 60);
  EXPECT_EQ(w.created.lpCreateParams, &param);
  EXPECT_EQ(w.created.dwExStyle, WS_EX_TOPMOST);
  EXPECT_EQ(w.GetDlgCtrlID(), 42);
  EXPECT_EQ(w.created.hwndParent,
            platform::DesktopWindow()->m_hWnd);  // no parent: the desktop's child
  EXPECT_EQ(platform::LiveWindows(), 1u);
  EXPECT_FALSE(w.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 1, 1}, nullptr, 1))
      << "already created";
}

TEST_F(WndTest, CreateAnsweredMinusOneDestroysAndDropsPostedMessages) {
  Probe w;
  w.createAnswer = -1;
  EXPECT_FALSE(
      w.CreateEx(0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{0, 0, 50, 50}, nullptr, 1));
  EXPECT_EQ(w.m_hWnd, nullptr);
  EXPECT_EQ(platform::LiveWindows(), 0u);
  EXPECT_EQ(platform::QueuedMessages(), 0u);
  platform::PumpMessages();
  EXPECT_EQ(w.log, (std::vector<std::string>{"create", "destroy"}));
}

TEST_F(WndTest, ClientAndScreenMappingThroughNestedWindows) {
  Probe parent, child;
  ASSERT_TRUE(parent.CreateEx(
      0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{10, 20, 210, 170}, nullptr, 1));
  ASSERT_TRUE(
      child.CreateEx(0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{5, 6, 45, 36}, &parent, 2));
  EXPECT_EQ(child.created.hwndParent, parent.m_hWnd);

  CRect client;
  child.GetClientRect(&client);
  EXPECT_EQ(client, CRect(0, 0, 40, 30));
  CRect onScreen;
  child.GetWindowRect(&onScreen);
  EXPECT_EQ(onScreen, CRect(15, 26, 55, 56));

  POINT p{1, 2};
  child.ClientToScreen(&p);
  EXPECT_EQ(p.x, 16);
  EXPECT_EQ(p.y, 28);
  parent.ScreenToClient(&p);
  EXPECT_EQ(p.x, 6);
  EXPECT_EQ(p.y, 8);

  CRect r(0, 0, 40, 30);
  child.ClientToScreen(&r);
  EXPECT_EQ(r, onScreen);
}

TEST_F(WndTest, PostedMessagesDispatchInOrderIncludingThosePostedMeanwhile) {
  Probe w;
  ASSERT_TRUE(w.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 10, 10}, nullptr, 1));
  w.PostMessage(WM_USER + 1, 7);
  w.PostMessage(WM_USER + 2);
  EXPECT_EQ(platform::QueuedMessages(), 3u);  // WM_USER + 5 from OnCreate first
  platform::PumpMessages();
  EXPECT_EQ(w.log, (std::vector<std::string>{"create", "user5", "user1", "user2", "user9"}));
  EXPECT_EQ(w.SendMessage(WM_USER + 3), 0);
  EXPECT_EQ(w.log.back(), "user3");
}

TEST_F(WndTest, TimersFireInDueOrderWithoutSleeping) {
  Probe a, b;
  ASSERT_TRUE(a.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 10, 10}, nullptr, 1));
  ASSERT_TRUE(b.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 10, 10}, nullptr, 2));
  EXPECT_EQ(a.SetTimer(2025, 200, nullptr), 2025u);
  EXPECT_EQ(b.SetTimer(7, 300, nullptr), 7u);
  EXPECT_EQ(platform::NextTimerDueIn(), 200);

  std::vector<std::pair<char, int64_t>> fired;
  platform::AdvanceTime(1000);
  EXPECT_EQ(Since(), 1000);
  // Merge the two logs by time; ties keep the timer started first (a).
  for (int64_t t : a.timerTimes) fired.push_back({'a', t - start_});
  for (int64_t t : b.timerTimes) fired.push_back({'b', t - start_});
  std::stable_sort(
      fired.begin(), fired.end(), [](auto& x, auto& y) { return x.second < y.second; });
  std::vector<std::pair<char, int64_t>> expected{{'a', 200},
                                                 {'b', 300},
                                                 {'a', 400},
                                                 {'a', 600},
                                                 {'b', 600},
                                                 {'a', 800},
                                                 {'b', 900},
                                                 {'a', 1000}};
  EXPECT_EQ(fired, expected);
  EXPECT_EQ(a.timerIds.front(), 2025u);
}

TEST_F(WndTest, SetTimerAgainRestartsAndKillStops) {
  Probe w;
  ASSERT_TRUE(w.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 10, 10}, nullptr, 1));
  w.SetTimer(1, 200, nullptr);
  platform::AdvanceTime(150);
  w.SetTimer(1, 200, nullptr);  // due again 200 ms from now
  platform::AdvanceTime(199);
  EXPECT_TRUE(w.timerTimes.empty());
  platform::AdvanceTime(1);
  ASSERT_EQ(w.timerTimes.size(), 1u);
  EXPECT_EQ(w.timerTimes[0] - start_, 350);
  EXPECT_TRUE(w.KillTimer(1));
  EXPECT_FALSE(w.KillTimer(1));
  platform::AdvanceTime(1000);
  EXPECT_EQ(w.timerTimes.size(), 1u);

  w.SetTimer(3, 100, nullptr);
  EXPECT_EQ(platform::RunningTimers(), 1u);
  w.DestroyWindow();
  EXPECT_EQ(platform::RunningTimers(), 0u);

  // A timer with a procedure calls it instead of a window.
  static int procCalls = 0;
  UINT_PTR id = SetTimer(nullptr, 0, 100, [](HWND, UINT message, UINT_PTR, DWORD) {
    if (message == WM_TIMER) ++procCalls;
  });
  ASSERT_NE(id, 0u);
  platform::AdvanceTime(350);
  EXPECT_EQ(procCalls, 3);
  EXPECT_TRUE(KillTimer(nullptr, id));
}

TEST_F(WndTest, PaintErasesFirstThenPaintsClippedToTheWindow) {
  int presents = 0;
  uint32_t seenAtPresent = 0;
  platform::AddPresentHook([&](platform::Framebuffer& screen) {
    ++presents;
    seenAtPresent = screen.At(20, 30);
  });
  Probe w;
  ASSERT_TRUE(
      w.CreateEx(0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{10, 20, 60, 50}, nullptr, 1));
  platform::PumpMessages();
  EXPECT_EQ(w.log, (std::vector<std::string>{"create", "user5", "erase", "paint"}));
  EXPECT_EQ(CRect(w.eraseClip), CRect(0, 0, 50, 30));
  const platform::Framebuffer& screen = platform::Screen();
  EXPECT_EQ(screen.width, platform::kDefaultScreenWidth);
  EXPECT_EQ(screen.At(10, 20), Px(kBlue));  // the pixel OnPaint set at client (0, 0)
  EXPECT_EQ(screen.At(59, 49), Px(kRed));   // erased, last pixel inside
  EXPECT_EQ(screen.At(60, 49), 0u);         // outside: desktop black
  EXPECT_EQ(screen.At(9, 20), 0u);
  EXPECT_EQ(presents, 1);
  EXPECT_EQ(seenAtPresent, Px(kRed));

  // Without erase only the paint runs, clipped to the update rectangle.
  w.log.clear();
  RECT part{20, 10, 30, 20};
  w.InvalidateRect(&part, FALSE);
  w.eraseColour = kGreen;
  platform::PumpMessages();
  EXPECT_EQ(w.log, (std::vector<std::string>{"paint"}));
  EXPECT_EQ(screen.At(10, 20), Px(kBlue)) << "client (0,0) was outside the update area";
  EXPECT_EQ(presents, 2);

  w.log.clear();
  w.InvalidateRect(&part, TRUE);
  platform::PumpMessages();
  EXPECT_EQ(w.log, (std::vector<std::string>{"erase", "paint"}));
  EXPECT_EQ(CRect(w.eraseClip), CRect(part));
  EXPECT_EQ(screen.At(10 + 20, 20 + 10), Px(kGreen));
  EXPECT_EQ(screen.At(10 + 19, 20 + 10), Px(kRed));

  // Destroyed: the desktop paints the area black again.
  w.DestroyWindow();
  platform::PumpMessages();
  EXPECT_EQ(screen.At(59, 49), 0u);
  EXPECT_EQ(screen.At(30, 30), 0u);
}

TEST_F(WndTest, HiddenWindowIsNotPaintedAndUpdateWindowPaintsAtOnce) {
  Probe hidden, shown;
  ASSERT_TRUE(hidden.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 20, 20}, nullptr, 1));
  ASSERT_TRUE(
      shown.CreateEx(0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{0, 0, 20, 20}, nullptr, 2));
  platform::PumpMessages();
  EXPECT_EQ(Count(hidden.log, "paint"), 0);
  EXPECT_EQ(Count(shown.log, "paint"), 1);
  hidden.Invalidate();
  shown.Invalidate();
  hidden.UpdateWindow();
  shown.UpdateWindow();
  EXPECT_EQ(Count(hidden.log, "paint"), 0);
  EXPECT_EQ(Count(shown.log, "paint"), 2) << "UpdateWindow paints at once";
}

TEST_F(WndTest, ChildOverParentIsRepaintedAfterTheParent) {
  Probe parent, child;
  parent.eraseColour = kRed;
  child.eraseColour = kGreen;
  ASSERT_TRUE(parent.CreateEx(
      0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{0, 0, 100, 100}, nullptr, 1));
  ASSERT_TRUE(
      child.CreateEx(0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{10, 10, 20, 20}, &parent, 2));
  platform::PumpMessages();
  parent.log.clear();
  child.log.clear();
  parent.Invalidate();
  platform::PumpMessages();
  EXPECT_EQ(Count(child.log, "paint"), 1);
  EXPECT_EQ(platform::Screen().At(15, 15), Px(kGreen));
  EXPECT_EQ(platform::Screen().At(25, 25), Px(kRed));
}

TEST_F(WndTest, KeyStateHasHighBitWhileHeldAndTogglesOnPress) {
  EXPECT_EQ(GetKeyState(VK_SHIFT) & 0x8000, 0);
  platform::InjectKey(VK_SHIFT, true);
  EXPECT_LT(GetKeyState(VK_SHIFT), 0);
  EXPECT_EQ(GetKeyState(VK_SHIFT) & 1, 1);
  platform::InjectKey(VK_SHIFT, false);
  EXPECT_EQ(GetKeyState(VK_SHIFT) & 0x8000, 0);
  EXPECT_GE(GetKeyState(VK_SHIFT), 0);
  platform::InjectKey(VK_SHIFT, true);
  platform::InjectKey(VK_SHIFT, false);
  EXPECT_EQ(GetKeyState(VK_SHIFT) & 1, 0) << "second press toggles back";
}

TEST_F(WndTest, TapGoesToTopmostWindowInClientCoordinates) {
  Probe lower, upper;
  ASSERT_TRUE(lower.CreateEx(
      0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{10, 20, 110, 120}, nullptr, 1));
  ASSERT_TRUE(
      upper.CreateEx(0, nullptr, nullptr, WS_CHILD | WS_VISIBLE, RECT{50, 60, 80, 90}, nullptr, 2));
  EXPECT_EQ(platform::InjectTap(15, 27), lower.m_hWnd);
  platform::PumpMessages();
  EXPECT_EQ(lower.lastTap, CPoint(5, 7));
  EXPECT_EQ(platform::InjectTap(55, 65), upper.m_hWnd);
  platform::PumpMessages();
  EXPECT_EQ(upper.lastTap, CPoint(5, 5));
  EXPECT_EQ(Count(lower.log, "tap"), 1);
  EXPECT_EQ(platform::InjectTap(300, 200), platform::DesktopWindow()->m_hWnd);
}

TEST_F(WndTest, MessageBoxIsOwnedByTheWindowAndTheWaitCursorIsAState) {
  Probe w;
  ASSERT_TRUE(w.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 10, 10}, nullptr, 1));
  w.MessageBox(L"text", L"caption", MB_ICONINFORMATION);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.calls()[0].owner, w.m_hWnd);
  EXPECT_EQ(boxes_.LastText(), L"text");
  EXPECT_EQ(boxes_.LastCaption(), L"caption");
  EXPECT_EQ(boxes_.calls()[0].type, MB_ICONINFORMATION);
  EXPECT_FALSE(boxes_.calls()[0].application);
  // The wait cursor is a state the host reads.
  EXPECT_FALSE(platform::WaitCursorShown());
  w.BeginWaitCursor();
  EXPECT_TRUE(platform::WaitCursorShown());
  w.EndWaitCursor();
  EXPECT_FALSE(platform::WaitCursorShown());
  EXPECT_EQ(platform::WaitCursorCount(), 1);
}

TEST_F(WndTest, DestroyNotifiesParentBeforeChildren) {
  std::vector<std::string> order;
  struct Named : Probe {
    std::vector<std::string>* out;
    std::string name;
    void OnDestroy() override { out->push_back(name); }
  };
  Named parent, child;
  parent.out = child.out = &order;
  parent.name = "parent";
  child.name = "child";
  ASSERT_TRUE(parent.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 50, 50}, nullptr, 1));
  ASSERT_TRUE(child.CreateEx(0, nullptr, nullptr, WS_CHILD, RECT{0, 0, 10, 10}, &parent, 2));
  parent.DestroyWindow();
  EXPECT_EQ(order, (std::vector<std::string>{"parent", "child"}));
  EXPECT_EQ(child.m_hWnd, nullptr);
  EXPECT_EQ(platform::LiveWindows(), 0u);
}

}  // namespace
