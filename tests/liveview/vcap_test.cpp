// CVCap: the exact requests it sends (through a recording driver standing in
// for "CAP0:"), its open/close/copy rules, and one run against the real driver.
#include "liveview/vcap.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "platform/device.h"
#include "platform/handles.h"
#include "tests/support/test_support.h"

namespace {

struct Call {
  DWORD code;
  void* in;
  DWORD inSize;
  void* out;
  DWORD outSize;
  DWORD* bytes;
};

struct Recorder {
  std::vector<Call> calls;
  int closes = 0;
  bool refuse = false;
  bool null_handle = false;
};

class RecordingCap : public platform::devices::StreamDevice {
 public:
  explicit RecordingCap(Recorder* r) : r_(r) {}
  BOOL IoControl(
      DWORD code, void* in, DWORD inSize, void* out, DWORD outSize, DWORD* bytes) override {
    r_->calls.push_back({code, in, inSize, out, outSize, bytes});
    return TRUE;
  }
  bool Close() override {
    ++r_->closes;
    return true;
  }

 private:
  Recorder* r_;
};

class VCapRequestTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    platform::devices::RegisterStreamDriver(L"CAP0:", [this](DWORD access, DWORD share) {
      access_ = access;
      share_ = share;
      if (rec_.refuse)
        return platform::devices::OpenResult{nullptr, ERROR_GEN_FAILURE, rec_.null_handle};
      return platform::devices::OpenResult{std::make_shared<RecordingCap>(&rec_)};
    });
  }
  void TearDown() override {
    devices::capture::Register();  // the real driver again
    DeviceTest::TearDown();
  }
  const Call& Last() { return rec_.calls.back(); }
  Recorder rec_;
  DWORD access_ = 0, share_ = 1;
};

TEST_F(VCapRequestTest, EveryOperationSendsItsCodeAndBuffersExactly) {
  CVCap cap;
  ASSERT_EQ(cap.Open(), 1);
  EXPECT_EQ(access_, 0xC0000000u);
  EXPECT_EQ(share_, 0u);
  VCAP_START_PARAMETER start{12, 1, 0, 0, 0};
  VCAP_DISP_PARAMETER disp{};
  BYTE buf[16];
  HANDLE event = nullptr;
  RECT rect{1, 2, 3, 4};
  // Each operation and the request it must send: code, input and its size,
  // output and its size, and the returned-bytes pointer.
  const std::vector<std::pair<std::function<void()>, Call>> table = {
      {[&] { cap.StartCapture(&start); }, {0x221C74u, &start, 0, nullptr, 0, nullptr}},
      {[&] { cap.StopCapture(); }, {0x221C78u, nullptr, 0, nullptr, 0, nullptr}},
      {[&] { cap.GetCaptureData(buf, 16); }, {0x221C7Cu, nullptr, 0, buf, 16, nullptr}},
      {[&] { cap.GetCaptureDataQVGA(buf, 12); }, {0x221C7Cu, nullptr, 1, buf, 12, nullptr}},
      {[&] { cap.ReadCaptureEvent(&event); },
       {0x221C80u, nullptr, 0, nullptr, 0, reinterpret_cast<DWORD*>(&event)}},
      {[&] { cap.SetCaptureDisplay(&disp); }, {0x221C84u, &disp, 0, nullptr, 0, nullptr}},
      {[&] { cap.GetCaptureData2(buf, 8, &rect, 1); }, {0x221C88u, &rect, 1, buf, 8, nullptr}},
  };
  for (size_t k = 0; k < table.size(); ++k) {
    SCOPED_TRACE(k);
    table[k].first();
    ASSERT_EQ(rec_.calls.size(), k + 1);
    const Call& want = table[k].second;
    EXPECT_EQ(Last().code, want.code);
    EXPECT_EQ(Last().in, want.in);
    EXPECT_EQ(Last().inSize, want.inSize);
    EXPECT_EQ(Last().out, want.out);
    EXPECT_EQ(Last().outSize, want.outSize);
    EXPECT_EQ(static_cast<void*>(Last().bytes), static_cast<void*>(want.bytes));
  }
}

TEST_F(VCapRequestTest, OpenFailsOnlyOnAZeroHandle) {
  CVCap cap;
  rec_.refuse = true;
  EXPECT_EQ(cap.Open(), 1);  // INVALID_HANDLE_VALUE counts as opened
  EXPECT_EQ(cap.m_hDevice, INVALID_HANDLE_VALUE);
  rec_.null_handle = true;
  EXPECT_EQ(cap.Open(), 0);
  EXPECT_EQ(cap.m_hDevice, nullptr);
}

TEST_F(VCapRequestTest, CloseAndShallowCopies) {
  CVCap never;
  EXPECT_EQ(never.Close(), 0);
  EXPECT_EQ(rec_.closes, 0);
  const long before = platform::LiveHandles();
  {
    CVCap a;
    ASSERT_EQ(a.Open(), 1);
    {
      CVCap b;
      b = a;  // both hold the same handle
      EXPECT_EQ(b.m_hDevice, a.m_hDevice);
    }  // b's destructor closed it
    EXPECT_EQ(rec_.closes, 1);
    EXPECT_EQ(a.Close(), 0);  // the handle is already gone
    EXPECT_EQ(a.m_hDevice, nullptr);
  }
  EXPECT_EQ(rec_.closes, 1);
  EXPECT_EQ(platform::LiveHandles(), before);
  CVCap c;
  ASSERT_EQ(c.Open(), 1);
  EXPECT_EQ(c.Close(), 1);
  EXPECT_EQ(c.m_hDevice, nullptr);
  EXPECT_EQ(rec_.closes, 2);
}

// ---- Against the real driver ----

TEST_F(VCapRequestTest, GrabsAFrameFromTheRealDriver) {
  devices::RegisterAll();
  devices::capture::Reset();
  CVCap cap;
  ASSERT_EQ(cap.Open(), 1);
  HANDLE event = nullptr;
  ASSERT_TRUE(cap.ReadCaptureEvent(&event));
  VCAP_START_PARAMETER start{12, 1, 0, 0, 0};
  ASSERT_TRUE(cap.StartCapture(&start));
  for (int i = 0; i < 3; ++i) ASSERT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
  ASSERT_TRUE(cap.StopCapture());
  std::vector<WORD> frame(640 * 480);
  ASSERT_TRUE(cap.GetCaptureData(reinterpret_cast<BYTE*>(frame.data()), 614400));
  EXPECT_EQ(frame, devices::capture::CurrentFrame());
  EXPECT_EQ(devices::capture::FramesProduced(), 3u);
  EXPECT_FALSE(cap.GetCaptureData(reinterpret_cast<BYTE*>(frame.data()), 614399));
  EXPECT_EQ(cap.Close(), 1);
}

}  // namespace
