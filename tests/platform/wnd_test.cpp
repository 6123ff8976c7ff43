// CWnd and the desktop: creation, coordinates, messages and timers (painting: tests/liveview).
#include "platform/wnd.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/desktop.h"
#include "tests/support/test_support.h"

namespace {

using Log = std::vector<std::string>;

// A window that logs every message it handles; timers as ms * 100000 + id.
class Probe : public CWnd {
 public:
  Log log;
  Log* destroyed = &log;
  std::vector<int64_t> timers;
  std::vector<int64_t>* fired = &timers;
  CREATESTRUCTW created{};

  bool Make(RECT r, CWnd* parent = nullptr, DWORD style = WS_CHILD | WS_VISIBLE) {
    return CreateEx(0, nullptr, nullptr, style, r, parent, 1);
  }
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
    if (message < WM_USER) return CWnd::WindowProc(message, wParam, lParam);
    log.push_back("user" + std::to_string(message - WM_USER));
    if (message == WM_USER + 1 && wParam == 7) PostMessage(WM_USER + 9);
    return 0;
  }

 protected:
  int OnCreate(LPCREATESTRUCT cs) override {
    created = *cs;
    log.push_back("create");
    PostMessage(WM_USER + 5);
    return 0;
  }
  void OnDestroy() override { destroyed->push_back("destroy" + std::to_string(created.x)); }
  void OnTimer(UINT_PTR id) override {
    fired->push_back(platform::clock::NowMs() * 100000 + int64_t(id));
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
  int64_t At(int64_t ms, UINT_PTR id) const { return (start_ + ms) * 100000 + int64_t(id); }
  int64_t start_ = 0;
};

TEST_F(WndTest, CreateMapsAndDestroys) {
  Probe w, child;
  int param = 0;
  ASSERT_TRUE(w.CreateEx(
      WS_EX_TOPMOST, L"cls", L"name", WS_CHILD, RECT{10, 20, 210, 170}, nullptr, 42, &param));
  const CREATESTRUCTW& c = w.created;
  EXPECT_EQ(CRect(c.x, c.y, c.cx, c.cy), CRect(10, 20, 200, 150));
  EXPECT_TRUE(c.lpCreateParams == &param && c.dwExStyle == WS_EX_TOPMOST && w.GetDlgCtrlID() == 42);
  EXPECT_EQ(c.hwndParent, platform::DesktopWindow()->m_hWnd);
  EXPECT_FALSE(w.Make(RECT{0, 0, 1, 1})) << "already created";
  ASSERT_TRUE(child.Make(RECT{5, 6, 45, 36}, &w));
  EXPECT_EQ(child.created.hwndParent, w.m_hWnd);
  CRect onScreen, mapped(0, 0, 40, 30);
  child.GetWindowRect(&onScreen);
  child.ClientToScreen(&mapped);
  EXPECT_EQ(onScreen, CRect(15, 26, 55, 56));
  EXPECT_EQ(mapped, onScreen);
  // Destroying notifies the parent before its children.
  Log order;
  w.destroyed = child.destroyed = &order;
  w.DestroyWindow();
  EXPECT_EQ(order, (Log{"destroy10", "destroy5"}));
  EXPECT_EQ(platform::LiveWindows(), 0u);
}

TEST_F(WndTest, MessagesAndTimersFireInOrderAndStop) {
  Probe a, b;
  ASSERT_TRUE(a.Make(RECT{0, 0, 10, 10}, nullptr, WS_CHILD));
  ASSERT_TRUE(b.Make(RECT{0, 0, 10, 10}, nullptr, WS_CHILD));
  // Posted messages run in order, with those posted meanwhile, before sent ones.
  a.PostMessage(WM_USER + 1, 7);
  a.PostMessage(WM_USER + 2);
  platform::PumpMessages();
  EXPECT_EQ(a.SendMessage(WM_USER + 3), 0);
  EXPECT_EQ(a.log, (Log{"create", "user5", "user1", "user2", "user9", "user3"}));
  EXPECT_EQ(a.SetTimer(2025, 200, nullptr), 2025u);
  EXPECT_EQ(b.SetTimer(7, 300, nullptr), 7u);
  EXPECT_EQ(platform::NextTimerDueIn(), 200);
  b.fired = &a.timers;  // one log: ties keep the timer started first
  platform::AdvanceTime(1000);
  // clang-format off
  EXPECT_EQ(a.timers, (std::vector<int64_t>{At(200, 2025), At(300, 7), At(400, 2025),
      At(600, 2025), At(600, 7), At(800, 2025), At(900, 7), At(1000, 2025)}));
  // clang-format on
  // Killing stops a timer once; destroying a window stops its timers.
  b.DestroyWindow();
  EXPECT_TRUE(a.KillTimer(2025));
  EXPECT_FALSE(a.KillTimer(2025));
  a.SetTimer(3, 100, nullptr);
  a.DestroyWindow();
  EXPECT_EQ(platform::RunningTimers(), 0u);
}

}  // namespace
