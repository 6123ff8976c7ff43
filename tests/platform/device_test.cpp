// Stream device handles and events: reset modes and the wait hook.
#include "platform/device.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/handles.h"

namespace {

// A driver that counts its closes (requests and their buffers: tests/devices).
class ClosingDevice : public platform::devices::StreamDevice {
 public:
  explicit ClosingDevice(int* closes) : closes_(closes) {}
  BOOL IoControl(DWORD, void*, DWORD, void*, DWORD, DWORD*) override { return FALSE; }
  bool Close() override { return ++*closes_ > 0; }
  int* closes_;
};

TEST(StreamDeviceTest, NamesIgnoreCaseAndHandlesCloseOnce) {
  int closes = 0;
  platform::devices::RegisterStreamDriver(L"TST1:", [&](DWORD, DWORD) {
    return platform::devices::OpenResult{std::make_shared<ClosingDevice>(&closes)};
  });
  HANDLE h =
      CreateFileW(L"tst1:", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(CloseHandle(h));
  EXPECT_FALSE(CloseHandle(h));
  EXPECT_EQ(closes, 1);
  platform::devices::UnregisterStreamDriver(L"TST1:");
}

// Auto reset wakes one wait (the capture driver's event); the hook runs only when a wait would
// block.
TEST(EventTest, AutoResetAndTheWaitHook) {
  HANDLE e = CreateEventW(nullptr, FALSE, TRUE, nullptr);
  int hooks = 0;
  ASSERT_TRUE(platform::devices::SetEventWaitHook(e, [&] {
    ++hooks;
    SetEvent(e);
  }));
  std::vector<DWORD> waits{WaitForSingleObject(e, INFINITE), WaitForSingleObject(e, INFINITE)};
  EXPECT_EQ(hooks, 1);
  platform::devices::SetEventWaitHook(e, nullptr);
  waits.push_back(WaitForSingleObject(e, 5));
  SetEvent(e);
  waits.push_back(WaitForSingleObject(e, 0));
  EXPECT_TRUE(CloseHandle(e));
  waits.push_back(WaitForSingleObject(e, 0));
  EXPECT_EQ(
      waits,
      (std::vector<DWORD>{WAIT_OBJECT_0, WAIT_OBJECT_0, WAIT_TIMEOUT, WAIT_OBJECT_0, WAIT_FAILED}));
}

}  // namespace
