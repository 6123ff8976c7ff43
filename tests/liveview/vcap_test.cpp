// CVCap: the exact requests it sends (through a recording driver standing in
// for "CAP0:") and its open/close/copy rules.
#include "liveview/vcap.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "devices/capture_driver.h"
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
  bool operator==(const Call&) const = default;
};

struct Recorder {
  std::vector<Call> calls;
  int closes = 0;
};

class RecordingCap : public platform::devices::StreamDevice {
 public:
  explicit RecordingCap(Recorder* r) : r_(r) {}
  BOOL IoControl(DWORD code, void* in, DWORD inSize, void* out, DWORD outSize, DWORD* n) override {
    r_->calls.push_back({code, in, inSize, out, outSize, n});
    return TRUE;
  }
  bool Close() override { return ++r_->closes; }

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
      return platform::devices::OpenResult{std::make_shared<RecordingCap>(&rec_)};
    });
  }
  void TearDown() override {
    devices::capture::Register();  // the real driver again
    DeviceTest::TearDown();
  }
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
  auto* bytes = reinterpret_cast<DWORD*>(&event);
  // Each operation and the request it must send.
  const std::vector<std::pair<std::function<void()>, Call>> table = {
      {[&] { cap.StartCapture(&start); }, {0x221C74u, &start, 0, nullptr, 0, nullptr}},
      {[&] { cap.StopCapture(); }, {0x221C78u, nullptr, 0, nullptr, 0, nullptr}},
      {[&] { cap.GetCaptureData(buf, 16); }, {0x221C7Cu, nullptr, 0, buf, 16, nullptr}},
      {[&] { cap.GetCaptureDataQVGA(buf, 12); }, {0x221C7Cu, nullptr, 1, buf, 12, nullptr}},
      {[&] { cap.ReadCaptureEvent(&event); }, {0x221C80u, nullptr, 0, nullptr, 0, bytes}},
      {[&] { cap.SetCaptureDisplay(&disp); }, {0x221C84u, &disp, 0, nullptr, 0, nullptr}},
      {[&] { cap.GetCaptureData2(buf, 8, &rect, 1); }, {0x221C88u, &rect, 1, buf, 8, nullptr}},
  };
  for (size_t k = 0; k < table.size(); ++k) {
    table[k].first();
    ASSERT_EQ(rec_.calls.size(), k + 1);
    EXPECT_TRUE(rec_.calls.back() == table[k].second) << k;
  }
}

// A copy shares the handle: whichever goes first closes it, once.
TEST_F(VCapRequestTest, CloseAndShallowCopies) {
  CVCap never;
  EXPECT_EQ(never.Close(), 0);
  const long before = platform::LiveHandles();
  {
    CVCap a;
    ASSERT_EQ(a.Open(), 1);
    {
      CVCap b;
      b = a;
      EXPECT_EQ(b.m_hDevice, a.m_hDevice);
    }
    EXPECT_EQ(rec_.closes, 1);
    EXPECT_EQ(a.Close(), 0);  // the handle is already gone
    EXPECT_EQ(a.m_hDevice, nullptr);
  }
  EXPECT_EQ(rec_.closes, 1);
  EXPECT_EQ(platform::LiveHandles(), before);
  CVCap c;
  ASSERT_EQ(c.Open(), 1);
  EXPECT_EQ(c.Close(), 1);
  EXPECT_EQ(rec_.closes, 2);
}

}  // namespace
