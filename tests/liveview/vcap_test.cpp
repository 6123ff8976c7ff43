// CVCap: the exact requests it sends (through a recording driver standing in
// for "CAP0:"), its open/close/copy rules, the 5-6-5 conversion, and one run
// against the real driver.
#include "liveview/vcap.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "liveview/frame_convert.h"
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
  cap.StartCapture(&start);
  EXPECT_EQ(Last().code, 0x221C74u);
  EXPECT_EQ(Last().in, &start);
  EXPECT_EQ(Last().inSize, 0u);
  EXPECT_EQ(Last().out, nullptr);
  EXPECT_EQ(Last().bytes, nullptr);
  cap.StopCapture();
  EXPECT_EQ(Last().code, 0x221C78u);
  EXPECT_EQ(Last().in, nullptr);
  BYTE buf[16];
  cap.GetCaptureData(buf, 16);
  EXPECT_EQ(Last().code, 0x221C7Cu);
  EXPECT_EQ(Last().in, nullptr);
  EXPECT_EQ(Last().inSize, 0u);
  EXPECT_EQ(Last().out, buf);
  EXPECT_EQ(Last().outSize, 16u);
  cap.GetCaptureDataQVGA(buf, 12);
  EXPECT_EQ(Last().code, 0x221C7Cu);
  EXPECT_EQ(Last().in, nullptr);
  EXPECT_EQ(Last().inSize, 1u);
  EXPECT_EQ(Last().outSize, 12u);
  HANDLE event = nullptr;
  cap.ReadCaptureEvent(&event);
  EXPECT_EQ(Last().code, 0x221C80u);
  EXPECT_EQ(static_cast<void*>(Last().bytes), static_cast<void*>(&event));
  EXPECT_EQ(Last().in, nullptr);
  EXPECT_EQ(Last().out, nullptr);
  VCAP_DISP_PARAMETER disp{};
  cap.SetCaptureDisplay(&disp);
  EXPECT_EQ(Last().code, 0x221C84u);
  EXPECT_EQ(Last().in, &disp);
  EXPECT_EQ(Last().inSize, 0u);
  RECT rect{1, 2, 3, 4};
  cap.GetCaptureData2(buf, 8, &rect, 1);
  EXPECT_EQ(Last().code, 0x221C88u);
  EXPECT_EQ(Last().in, &rect);
  EXPECT_EQ(Last().inSize, 1u);
  EXPECT_EQ(Last().out, buf);
  EXPECT_EQ(Last().outSize, 8u);
  EXPECT_EQ(rec_.calls.size(), 7u);
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

// ---- Conversion ----

TEST(FrameConvertTest, HandWorkedPixels) {
  // white, pure first component, (1,2,1), mid grey (15,31,15), pure third
  const WORD pixels[5] = {0xFFFF, 0xF800, 0x0841, 0x7BEF, 0x001F};
  BYTE bits[16];
  std::fill(std::begin(bits), std::end(bits), 0xAB);
  liveview::ConvertFrame565To24(pixels, 5, 1, bits, 16);
  const BYTE expected[15] = {255, 255, 255, 255, 0, 0, 8, 8, 8, 123, 125, 123, 0, 0, 255};
  EXPECT_TRUE(std::equal(expected, expected + 15, bits));
  EXPECT_EQ(bits[15], 0xAB);  // padding untouched
}

TEST(FrameConvertTest, RowsLandBottomUp) {
  const WORD pixels[2 * 3] = {0xF800, 0xF800, 0x07E0, 0x07E0, 0x001F, 0x001F};  // 2 wide, 3 high
  BYTE bits[3 * 8] = {};
  liveview::ConvertFrame565To24(pixels, 2, 3, bits, 8);
  EXPECT_EQ(bits[2 * 8 + 0], 255);  // source row 0 -> last DIB row, first byte
  EXPECT_EQ(bits[1 * 8 + 1], 255);  // row 1 stays in the middle, second byte
  EXPECT_EQ(bits[0 * 8 + 5], 255);  // row 2 -> first DIB row, third byte
  EXPECT_EQ(bits[0 * 8 + 0], 0);
}

TEST(FrameConvertTest, VectorAndPortableAgreeOnEveryValueAndOddWidths) {
  using liveview::FrameConvertPath;
  int pathsRun = 0;
  for (FrameConvertPath path : {FrameConvertPath::kSsse3, FrameConvertPath::kAvx2}) {
    for (int width : {1, 15, 16, 17, 18, 19, 31, 32, 33, 34, 35, 37, 48, 49, 50, 51, 640}) {
      const int height = 65536 / width + 1;
      std::vector<WORD> pixels(size_t(width) * height);
      for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = WORD(i * 40503u);  // visits all 65536 values
      // Tight rows too: the vector stores overlap and must stay inside their row.
      for (int stride : {width * 3, (width * 3 + 3) & ~3}) {
        std::vector<BYTE> fast(size_t(stride) * height, 0x5A), slow(size_t(stride) * height, 0x5A);
        if (!liveview::ConvertFrame565To24Using(
                path, pixels.data(), width, height, fast.data(), stride))
          break;
        liveview::ConvertFrame565To24Portable(pixels.data(), width, height, slow.data(), stride);
        ASSERT_EQ(fast, slow) << "path " << int(path) << " width " << width << " stride " << stride;
        std::fill(fast.begin(), fast.end(), 0x5A);
        liveview::ConvertFrame565To24(pixels.data(), width, height, fast.data(), stride);
        ASSERT_EQ(fast, slow) << "dispatched, width " << width;
        ++pathsRun;
      }
    }
  }
#if defined(__x86_64__)
  EXPECT_GT(pathsRun, 0) << "every x86-64 processor has at least SSSE3 here";
#endif
  // The portable code against the formula, value by value.
  for (int v = 0; v < 65536; ++v) {
    WORD p = WORD(v);
    BYTE out[4];
    liveview::ConvertFrame565To24Portable(&p, 1, 1, out, 4);
    ASSERT_EQ(out[0], (v >> 11) * 255 / 31);
    ASSERT_EQ(out[1], ((v >> 5) & 63) * 255 / 63);
    ASSERT_EQ(out[2], (v & 31) * 255 / 31);
  }
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
