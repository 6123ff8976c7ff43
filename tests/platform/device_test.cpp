// Stream devices and events: requests reach the driver unchanged, handles
// close once, events block and wake across threads, and the wait hook lets a
// device deliver at once.
#include "platform/device.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/handles.h"

namespace {

struct Seen {
  DWORD code = 0;
  void* in = nullptr;
  DWORD inSize = 0;
  void* out = nullptr;
  DWORD outSize = 0;
  DWORD* bytes = nullptr;
  int calls = 0;
  int closes = 0;
};

class RecordingDevice : public platform::devices::StreamDevice {
 public:
  explicit RecordingDevice(Seen* seen) : seen_(seen) {}
  BOOL IoControl(
      DWORD code, void* in, DWORD inSize, void* out, DWORD outSize, DWORD* bytes) override {
    *seen_ = Seen{code, in, inSize, out, outSize, bytes, seen_->calls + 1, seen_->closes};
    return code == 1 ? TRUE : FALSE;
  }
  bool Close() override {
    ++seen_->closes;
    return true;
  }

 private:
  Seen* seen_;
};

class StreamDeviceTest : public ::testing::Test {
 protected:
  void TearDown() override { platform::devices::UnregisterStreamDriver(L"TST1:"); }
  Seen seen_;
};

TEST_F(StreamDeviceTest, RequestsReachTheDriverUnchangedAndCloseOnce) {
  platform::devices::RegisterStreamDriver(L"TST1:", [this](DWORD, DWORD) {
    return platform::devices::OpenResult{std::make_shared<RecordingDevice>(&seen_)};
  });
  const long before = platform::LiveHandles();
  HANDLE h =
      CreateFileW(L"tst1:", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  char in[4], out[8];
  DWORD slot = 0;
  EXPECT_TRUE(DeviceIoControl(h, 1, in, 0, out, 7, &slot, nullptr));
  // A size of 0 with a real pointer stays so.
  EXPECT_TRUE(seen_.code == 1 && seen_.in == in && seen_.inSize == 0 && seen_.out == out &&
              seen_.outSize == 7 && seen_.bytes == &slot);
  EXPECT_FALSE(DeviceIoControl(h, 2, nullptr, 1, nullptr, 0, nullptr, nullptr));
  EXPECT_EQ(seen_.inSize, 1u);
  EXPECT_EQ(seen_.in, nullptr);
  EXPECT_EQ(seen_.calls, 2);
  EXPECT_TRUE(CloseHandle(h));
  EXPECT_FALSE(CloseHandle(h));
  EXPECT_EQ(seen_.closes, 1);
  EXPECT_EQ(platform::LiveHandles(), before);
}

TEST_F(StreamDeviceTest, MissingOrRefusedOpenGivesInvalidOrNullHandle) {
  platform::SetLastErrorCode(0);
  EXPECT_EQ(CreateFileW(L"NOPE9:", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  EXPECT_FALSE(DeviceIoControl(INVALID_HANDLE_VALUE, 1, nullptr, 0, nullptr, 0, nullptr, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  bool null_handle = false;
  platform::devices::RegisterStreamDriver(L"TST1:", [&](DWORD, DWORD) {
    return platform::devices::OpenResult{nullptr, ERROR_ACCESS_DENIED, null_handle};
  });
  EXPECT_EQ(CreateFileW(L"TST1:", 0, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  null_handle = true;
  EXPECT_EQ(CreateFileW(L"TST1:", 0, 0, nullptr, OPEN_EXISTING, 0, nullptr), nullptr);
}

TEST(EventTest, AutoAndManualReset) {
  HANDLE e = CreateEventW(nullptr, FALSE, TRUE, nullptr);
  EXPECT_EQ(WaitForSingleObject(e, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(e, 5), WAIT_TIMEOUT);
  EXPECT_TRUE(SetEvent(e));
  EXPECT_EQ(WaitForSingleObject(e, 0), WAIT_OBJECT_0);
  EXPECT_TRUE(CloseHandle(e));
  EXPECT_EQ(WaitForSingleObject(e, 0), WAIT_FAILED);
  EXPECT_FALSE(SetEvent(e));
  HANDLE manual = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_TIMEOUT);
  SetEvent(manual);
  EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
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

TEST(EventTest, WaitHookRunsOnlyWhenTheWaitWouldBlock) {
  HANDLE e = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  int hooks = 0;
  ASSERT_TRUE(platform::devices::SetEventWaitHook(e, [&] {
    ++hooks;
    SetEvent(e);
  }));
  EXPECT_EQ(WaitForSingleObject(e, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(hooks, 1);
  SetEvent(e);
  EXPECT_EQ(WaitForSingleObject(e, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(hooks, 1);  // already signalled: no hook
  platform::devices::SetEventWaitHook(e, nullptr);
  EXPECT_EQ(WaitForSingleObject(e, 1), WAIT_TIMEOUT);
  EXPECT_EQ(hooks, 1);
  CloseHandle(e);
  EXPECT_FALSE(platform::devices::SetEventWaitHook(e, nullptr));
}

}  // namespace
