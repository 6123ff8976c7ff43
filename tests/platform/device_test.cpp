// Stream devices and events: requests reach the driver unchanged, handles
// close once, events block and wake across threads, and the wait hook lets a
// device deliver at once.
#include "platform/device.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/handles.h"

namespace {

// A driver that records each request as (code, in, inSize, out, outSize, bytes).
using Request = std::tuple<DWORD, void*, DWORD, void*, DWORD, DWORD*>;
class RecordingDevice : public platform::devices::StreamDevice {
 public:
  RecordingDevice(std::vector<Request>* seen, int* closes) : seen_(seen), closes_(closes) {}
  BOOL IoControl(
      DWORD code, void* in, DWORD inSize, void* out, DWORD outSize, DWORD* bytes) override {
    seen_->emplace_back(code, in, inSize, out, outSize, bytes);
    return code == 1 ? TRUE : FALSE;
  }
  bool Close() override { return ++*closes_ > 0; }

 private:
  std::vector<Request>* seen_;
  int* closes_;
};

class StreamDeviceTest : public ::testing::Test {
 protected:
  void TearDown() override { platform::devices::UnregisterStreamDriver(L"TST1:"); }
};

TEST_F(StreamDeviceTest, RequestsReachTheDriverUnchangedAndCloseOnce) {
  std::vector<Request> seen;
  int closes = 0;
  platform::devices::RegisterStreamDriver(L"TST1:", [&](DWORD, DWORD) {
    return platform::devices::OpenResult{std::make_shared<RecordingDevice>(&seen, &closes)};
  });
  const long before = platform::LiveHandles();
  HANDLE h =
      CreateFileW(L"tst1:", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  char in[4], out[8];
  DWORD slot = 0;
  EXPECT_TRUE(DeviceIoControl(h, 1, in, 0, out, 7, &slot, nullptr));
  EXPECT_FALSE(DeviceIoControl(h, 2, nullptr, 1, nullptr, 0, nullptr, nullptr));
  // A size of 0 with a real pointer stays so, and a size with none.
  EXPECT_EQ(
      seen,
      (std::vector<Request>{{1, in, 0, out, 7, &slot}, {2, nullptr, 1, nullptr, 0, nullptr}}));
  EXPECT_TRUE(CloseHandle(h));
  EXPECT_FALSE(CloseHandle(h));
  EXPECT_EQ(closes, 1);
  EXPECT_EQ(platform::LiveHandles(), before);
}

// Auto reset wakes one wait; manual reset stays signalled; the wait hook
// runs only when a wait would block.
TEST(EventTest, ResetModesAndTheWaitHook) {
  HANDLE e = CreateEventW(nullptr, FALSE, TRUE, nullptr);
  HANDLE manual = CreateEventW(nullptr, TRUE, FALSE, nullptr);
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
  waits.push_back(WaitForSingleObject(manual, 0));
  SetEvent(manual);
  waits.push_back(WaitForSingleObject(manual, 0));
  waits.push_back(WaitForSingleObject(manual, 0));
  EXPECT_TRUE(CloseHandle(e));
  waits.push_back(WaitForSingleObject(e, 0));
  EXPECT_EQ(waits,
            (std::vector<DWORD>{WAIT_OBJECT_0,
                                WAIT_OBJECT_0,
                                WAIT_TIMEOUT,
                                WAIT_OBJECT_0,
                                WAIT_TIMEOUT,
                                WAIT_OBJECT_0,
                                WAIT_OBJECT_0,
                                WAIT_FAILED}));
  EXPECT_FALSE(SetEvent(e));
  EXPECT_FALSE(platform::devices::SetEventWaitHook(e, nullptr));
  CloseHandle(manual);
}

TEST(EventTest, InfiniteWaitBlocksUntilAnotherThreadSignals) {
  HANDLE e = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  std::atomic<bool> signalled{false}, woke_early{false};
  std::thread waiter([&] {
    EXPECT_EQ(WaitForSingleObject(e, INFINITE), WAIT_OBJECT_0);
    woke_early = !signalled.load();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  signalled = true;
  SetEvent(e);
  waiter.join();
  EXPECT_FALSE(woke_early.load());
  CloseHandle(e);
}

}  // namespace
