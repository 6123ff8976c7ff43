// The capture driver "CAP0:" through the platform's device calls, with the
// library's buffer conventions (its "cap.*" faults are drilled in tests/faults/).
#include "devices/capture_driver.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "devices/devices.h"
#include "devices/frame_source.h"
#include "platform/device.h"
#include "platform/framebuffer.h"
#include "platform/handles.h"
#include "tests/support/test_support.h"

namespace {

namespace cap = devices::capture;

// Pixel value encodes position and camera; brightness is recorded.
class CodedSource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest& request, uint16_t* pixels) override {
    last = request;
    for (int y = 0; y < devices::kFrameHeight; ++y)
      for (int x = 0; x < devices::kFrameWidth; ++x)
        pixels[y * devices::kFrameWidth + x] = Code(x, y, request.camera);
  }
  static uint16_t Code(int x, int y, int camera) {
    return uint16_t((y * 640 + x) * 7 + camera * 3);
  }
  // The codes of sensor pixels (x, y) of `camera`.
  static std::vector<int> Codes(std::initializer_list<std::pair<int, int>> xy, int camera) {
    std::vector<int> codes;
    for (const auto& [x, y] : xy) codes.push_back(Code(x, y, camera));
    return codes;
  }
  devices::FrameRequest last;
};

class CaptureDriverTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    cap::Reset();
    source_ = std::make_shared<CodedSource>();
    devices::SetFrameSource(source_);
    handles_before_ = platform::LiveHandles();
    device_ =
        CreateFileW(L"CAP0:", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(device_, INVALID_HANDLE_VALUE);
    ASSERT_TRUE(
        Ioctl(IOCTL_VCAP_READ_EVENT, nullptr, 0, nullptr, 0, reinterpret_cast<DWORD*>(&event_)));
  }
  void TearDown() override {
    if (device_) CloseHandle(device_);
    EXPECT_EQ(platform::LiveHandles(), handles_before_);  // the frame event went with the device
    devices::SetFrameSource(nullptr);
    DeviceTest::TearDown();
  }
  BOOL Ioctl(DWORD code, void* in, DWORD inSize, void* out, DWORD outSize, DWORD* bytes = nullptr) {
    return DeviceIoControl(device_, code, in, inSize, out, outSize, bytes, nullptr);
  }
  BOOL Start(WORD camera, SHORT brightness, DWORD reverse) {
    VCAP_START_PARAMETER start{12, camera, brightness, 0, reverse};
    return Ioctl(IOCTL_VCAP_START_CAPTURE, &start, 0, nullptr, 0);
  }
  BOOL Display(RECT src, RECT dst) {
    VCAP_DISP_PARAMETER d{52, 0, 1, src, dst, VCAP_KEY_COLOR, VCAP_KEY_COLOR, 1};
    return Ioctl(IOCTL_VCAP_SET_DISPLAY, &d, 0, nullptr, 0);
  }
  std::vector<uint16_t> FullFrame() {
    std::vector<uint16_t> frame(640 * 480);
    EXPECT_TRUE(
        Ioctl(IOCTL_VCAP_GET_CAPTURE_DATA, nullptr, 0, frame.data(), DWORD(frame.size() * 2)));
    return frame;
  }

  std::shared_ptr<CodedSource> source_;
  HANDLE device_ = nullptr;
  HANDLE event_ = nullptr;
  long handles_before_ = 0;
};

TEST_F(CaptureDriverTest, RecordsArriveByteForByteWithInputSizeZero) {
  VCAP_START_PARAMETER start{12, 0, -112, 0, 1};
  ASSERT_TRUE(Ioctl(IOCTL_VCAP_START_CAPTURE, &start, 0, nullptr, 0));
  VCAP_DISP_PARAMETER disp{52, 0, 1, {100, 80, 539, 399}, {0, 0, 319, 239}, 0x404040, 0x404040, 1};
  ASSERT_TRUE(Ioctl(IOCTL_VCAP_SET_DISPLAY, &disp, 0, nullptr, 0));
  auto log = cap::Log();
  ASSERT_EQ(log.size(), 3u);  // event, start, display
  EXPECT_EQ(log[1].code + log[1].in_size, 0x221C74u);
  EXPECT_EQ(log[1].input, std::vector<uint8_t>({12, 0, 0, 0, 0x90, 0xFF, 0, 0, 1, 0, 0, 0}));
  ASSERT_EQ(log[2].input.size(), 52u);
  // SrcRect.left, DstRect.right 319 = 0x13F, the key colour's low byte.
  EXPECT_EQ(std::vector<int>({log[2].input[8], log[2].input[24 + 8], log[2].input[40]}),
            std::vector<int>({100, 0x3F, 0x40}));
  EXPECT_TRUE(cap::IsRunning());
  EXPECT_EQ(cap::LastStart()->Brightness, -112);
  EXPECT_EQ(cap::DisplayForCamera(0)->SrcRect.right, 539);
}

// Refused for the record itself (code, input, its size, output size, and the
// error that says why: a bad record 87, a short buffer 122), not for want of a frame.
TEST_F(CaptureDriverTest, RecordsWithAWrongSizeOrNoPointerAreRefused) {
  VCAP_START_PARAMETER start{13, 1, 0, 0, 0};
  VCAP_DISP_PARAMETER disp{12, 0, 0, {}, {}, 0, 0, 0};
  RECT rect{8, 20, 14, 23}, empty{5, 5, 5, 9};
  std::vector<uint16_t> out(320 * 240);
  constexpr DWORD kBad = ERROR_INVALID_PARAMETER, kShort = 122, kRead = IOCTL_VCAP_GET_CAPTURE_DATA;
  const std::tuple<DWORD, void*, DWORD, DWORD, DWORD> cases[] = {
      {IOCTL_VCAP_START_CAPTURE, &start, 12, 0, kBad},
      {IOCTL_VCAP_START_CAPTURE, nullptr, 0, 0, kBad},
      {IOCTL_VCAP_SET_DISPLAY, &disp, 0, 0, kBad},
      {0x221C8C, nullptr, 0, 0, kBad},
      {kRead, nullptr, 1, 153599, kShort},
      {kRead, nullptr, 0, 153600, kShort},
      {kRead, nullptr, 2, 153600, kBad},
      {IOCTL_VCAP_GET_CAPTURE_RECT, &rect, 1, 35, kShort},
      {IOCTL_VCAP_GET_CAPTURE_RECT, &empty, 1, 36, kBad}};
  for (const auto& [code, in, in_size, out_size, error] : cases) {
    EXPECT_FALSE(Ioctl(code, in, in_size, out.data(), out_size));
    EXPECT_EQ(GetLastError(), error) << std::hex << code << " " << out_size;
  }
  EXPECT_FALSE(cap::IsRunning());
  EXPECT_FALSE(cap::LastDisplay().has_value());
}

TEST_F(CaptureDriverTest, AFrameForEveryWaitOnTheFixedClock) {
  ASSERT_TRUE(Start(1, 17, 0));
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(WaitForSingleObject(event_, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(cap::FramesProduced(), uint64_t(i));
  }
  EXPECT_EQ(std::vector<int>(
                {source_->last.camera, source_->last.brightness, int(source_->last.frame_index)}),
            std::vector<int>({1, 17, 2}));
  // Stopped capture produces nothing more; the last frame stays readable.
  ASSERT_TRUE(Ioctl(IOCTL_VCAP_STOP_CAPTURE, nullptr, 0, nullptr, 0));
  EXPECT_EQ(WaitForSingleObject(event_, 1), WAIT_TIMEOUT);
  EXPECT_EQ(cap::FramesProduced(), 3u);
  EXPECT_EQ(FullFrame()[641], CodedSource::Code(1, 1, 1));
  // Closing the last instance stops capture.
  ASSERT_TRUE(Start(1, 0, 0));
  EXPECT_TRUE(CloseHandle(device_));
  device_ = nullptr;
  EXPECT_FALSE(cap::IsRunning());
  EXPECT_EQ(cap::OpenInstances(), 0);
}

// Reversed, the frame is turned; a quarter read takes every second pixel; a
// rectangle read gives the picture as displayed (half scale at (10, 20)).
TEST_F(CaptureDriverTest, ReverseQuarterAndRectangleReads) {
  ASSERT_TRUE(Display({0, 0, 639, 479}, {10, 20, 329, 259}));
  ASSERT_TRUE(Start(1, 0, 1));
  WaitForSingleObject(event_, INFINITE);
  auto frame = FullFrame();
  EXPECT_EQ(std::vector<int>({frame[0], frame[640 * 10 + 20]}),
            CodedSource::Codes({{639, 479}, {619, 469}}, 1));
  ASSERT_TRUE(Start(1, 0, 0));
  WaitForSingleObject(event_, INFINITE);
  std::vector<uint16_t> quarter(320 * 240);
  ASSERT_TRUE(Ioctl(IOCTL_VCAP_GET_CAPTURE_DATA, nullptr, 1, quarter.data(), 153600));
  EXPECT_EQ(std::vector<int>({quarter[0], quarter[320 * 7 + 5], quarter[320 * 240 - 1]}),
            CodedSource::Codes({{0, 0}, {10, 14}, {638, 478}}, 1));
  RECT rect{8, 20, 14, 23};  // 6 x 3, the first two columns left of the picture
  uint16_t out[18];
  ASSERT_TRUE(Ioctl(IOCTL_VCAP_GET_CAPTURE_RECT, &rect, 1, out, sizeof out));
  EXPECT_EQ(out[0] + out[1], 0);
  EXPECT_EQ(std::vector<int>({out[2], out[3], out[6 * 2 + 5]}),
            CodedSource::Codes({{0, 0}, {2, 0}, {6, 4}}, 1));
}

TEST_F(CaptureDriverTest, PaintsOnlyKeyColouredPixelsInsideTheDestination) {
  platform::Framebuffer screen;
  screen.Resize(40, 30, 0x404040);
  screen.At(5, 5) = 0x00FF0000;
  ASSERT_TRUE(Display({100, 200, 119, 209}, {0, 0, 9, 4}));  // 20 x 10 sensor into 10 x 5
  ASSERT_TRUE(Start(1, 0, 0));
  cap::Paint(screen);
  auto expect = [](uint16_t p) {
    // Blue in the high bits, red in the low bits (the sensor's order).
    uint32_t b = (p >> 11) * 255 / 31, g = ((p >> 5) & 63) * 255 / 63, r = (p & 31) * 255 / 31;
    return (r << 16) | (g << 8) | b;
  };
  EXPECT_EQ(screen.At(0, 0), expect(CodedSource::Code(100, 200, 1)));
  EXPECT_EQ(screen.At(9, 4), expect(CodedSource::Code(118, 208, 1)));
  // Outside DstRect, and an overlay pixel, stay.
  EXPECT_EQ(std::vector<uint32_t>({screen.At(10, 4), screen.At(9, 5), screen.At(5, 5)}),
            std::vector<uint32_t>({0x404040, 0x404040, 0x00FF0000}));
  EXPECT_EQ(cap::FramesProduced(), 1u);
  cap::Paint(screen);
  EXPECT_EQ(cap::FramesProduced(), 1u);  // the clock has not moved
}

}  // namespace
