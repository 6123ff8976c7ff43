// GStreamer pipelines filming for the capture driver: videotestsrc's SMPTE
// bars painted on the screen where they belong, and pipelines that fail to
// start or fail later, seen through the live view.
#include "devices/gst_frame_source.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "image/dib_ex.h"
#include "platform/device.h"
#include "platform/handles.h"
#include "tests/support/live_view.h"

namespace {

namespace cap = devices::capture;
using liveview_test::LiveViewTest;

// The top two thirds of videotestsrc's SMPTE pattern: seven bars, white,
// yellow, cyan, green, magenta, red, blue, at full intensity.
constexpr uint32_t kBars[7] = {
    0xFFFFFF, 0xFFFF00, 0x00FFFF, 0x00FF00, 0xFF00FF, 0xFF0000, 0x0000FF};
constexpr uint32_t kNotKey = 0x123456;

void ExpectColour(uint32_t seen, uint32_t expected, double gain, const std::string& where) {
  for (int shift : {16, 8, 0}) {
    const int want = int(((expected >> shift) & 0xFF) * gain);
    EXPECT_NEAR(int((seen >> shift) & 0xFF), want, 20) << where << std::hex << " pixel " << seen;
  }
}

class GstSourceTest : public LiveViewTest {
 protected:
  BOOL Ioctl(HANDLE device, DWORD code, void* in, DWORD inSize, void* out, DWORD outSize) {
    return DeviceIoControl(device, code, in, inSize, out, outSize, nullptr, nullptr);
  }
};

// Brightness 0 and -70 (a software gain of one half: 2^(-70/70.4)), upright
// and reversed: each bar's colour at its own place on the 320 x 240 screen,
// only over the key colour; quarter and rectangle reads agree with them.
TEST_F(GstSourceTest, SmpteBarsReachTheScreenWhereTheyBelong) {
  auto source = std::make_shared<devices::GstFrameSource>("videotestsrc pattern=smpte");
  devices::SetFrameSource(source);
  HANDLE device = CreateFileW(L"CAP0:", GENERIC_READ | GENERIC_WRITE, 0, nullptr, 3, 0, nullptr);
  ASSERT_NE(device, INVALID_HANDLE_VALUE);
  VCAP_DISP_PARAMETER disp{52, 0, 1, {0, 0, 639, 479}, {0, 0, 319, 239}, 0x404040, 0x404040, 1};
  ASSERT_TRUE(Ioctl(device, IOCTL_VCAP_SET_DISPLAY, &disp, 0, nullptr, 0));
  for (auto [brightness, reverse, gain] : {std::tuple{0, 0, 1.0}, {0, 1, 1.0}, {-70, 0, 0.5}}) {
    VCAP_START_PARAMETER start{12, 1, SHORT(brightness), 0, DWORD(reverse)};
    ASSERT_TRUE(Ioctl(device, IOCTL_VCAP_START_CAPTURE, &start, 0, nullptr, 0));
    platform::Framebuffer screen;
    screen.Resize(320, 240, 0x404040);
    for (int y = 0; y < 240; ++y) screen.At(3, y) = kNotKey;
    platform::AdvanceTime(200);
    cap::Paint(screen);
    for (int bar = 0; bar < 7; ++bar) {
      const int x = (2 * bar + 1) * 320 / 14, y = 50;
      ExpectColour(reverse ? screen.At(319 - x, 239 - y) : screen.At(x, y),
                   kBars[bar],
                   gain,
                   "bar " + std::to_string(bar) + " reverse " + std::to_string(reverse));
    }
    for (int y = 0; y < 240; ++y) ASSERT_EQ(screen.At(3, y), kNotKey);

    std::vector<uint16_t> full(640 * 480), quarter(320 * 240), rect(320 * 240);
    RECT all{0, 0, 320, 240};
    ASSERT_TRUE(Ioctl(device, IOCTL_VCAP_GET_CAPTURE_DATA, nullptr, 0, full.data(), 640 * 480 * 2));
    ASSERT_TRUE(
        Ioctl(device, IOCTL_VCAP_GET_CAPTURE_DATA, nullptr, 1, quarter.data(), 320 * 240 * 2));
    ASSERT_TRUE(Ioctl(device, IOCTL_VCAP_GET_CAPTURE_RECT, &all, 1, rect.data(), 320 * 240 * 2));
    for (int y = 0; y < 240; ++y)
      for (int x = 0; x < 320; ++x) {
        ASSERT_EQ(quarter[y * 320 + x], full[2 * y * 640 + 2 * x]) << x << "," << y;
        if (x != 3) {
          ASSERT_EQ(devices::Unpack565(rect[y * 320 + x]), screen.At(x, y));
        }
      }
  }
  EXPECT_FALSE(source->HasCameraControl());
  CloseHandle(device);
}

struct Broken {
  const char* name;
  const char* pipeline;
  bool starts;  // the view starts capture before the pipeline fails
};
void PrintTo(const Broken& b, std::ostream* os) { *os << b.name; }

class BrokenPipelineTest : public GstSourceTest, public testing::WithParamInterface<Broken> {};

// The view over a pipeline that cannot start shows the driver's start
// failure; over one that errors after some frames it grabs no picture. No
// wait blocks, and the pipeline and every handle are gone afterwards.
TEST_P(BrokenPipelineTest, ShowsTheDriverFailureAndLeavesNothing) {
  const Broken& broken = GetParam();
  const int handles = platform::LiveHandles();
  ASSERT_TRUE(sim::WriteCalibrationToMemory(sim::Calibration{}));
  auto source = std::make_shared<devices::GstFrameSource>(
      broken.pipeline, devices::GstSourceOptions{true, 2000, 40});
  devices::SetFrameSource(source);
  ASSERT_TRUE(view_->Create(nullptr, {0, 0, 320, 240}, 1.0, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0));
  platform::PumpMessages();
  EXPECT_EQ(boxes_.LastText(), broken.starts ? L"" : L"StartCapture Error! E-503");
  EXPECT_EQ(cap::FramesProduced() > 0, broken.starts);
  for (int i = 0; i < 250 && source->Ready(1); ++i) {
    platform::AdvanceTime(200);
    platform::Present();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  ASSERT_FALSE(source->Ready(1)) << broken.name;
  EXPECT_FALSE(source->Error().empty());
  EXPECT_EQ(WaitForSingleObject(view_->m_hCapEvent, 2000), WAIT_OBJECT_0);
  CDibEx grabbed;
  view_->GetCaptureDisplay(grabbed);
  EXPECT_EQ(boxes_.LastText(), L"Record of a picture went wrong. E-504");
  EXPECT_EQ(grabbed.m_imageBits, nullptr);

  view_->DestroyWindow();
  view_.reset();
  devices::SetFrameSource(nullptr);
  source.reset();
  EXPECT_EQ(devices::GstFrameSource::LivePipelines(), 0);
  EXPECT_EQ(platform::LiveHandles(), handles);
}

INSTANTIATE_TEST_SUITE_P(
    Pipelines,
    BrokenPipelineTest,
    testing::Values(
        Broken{"NoSuchElement", "no_such_element_anywhere", false},
        Broken{"MissingFile", "filesrc location=/nonexistent/field.avi ! decodebin", false},
        Broken{"ErrorAfterFrames", "videotestsrc ! identity error-after=15", true}),
    [](const testing::TestParamInfo<Broken>& info) { return std::string(info.param.name); });

}  // namespace
