// Automatic exposure: histogram statistics, the step arithmetic with its dead
// band, the three modes and the clamps, on frames of known luminance. The
// luminances of the test colours are worked by hand from the 5-6-5 expansion:
// (0, 45, 31) -> trunc(0.59 x 182 + 0.11 x 255) = 135, (0, 47, 31) -> 140.
#include <memory>

#include "platform/dc.h"
#include "platform/faults.h"
#include "tests/liveview/survey_view_fixture.h"

namespace survey_view_test {
namespace {

// Every fourth sensor column white, the rest black: mean 63, range 0..255.
class CombSource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    for (int y = 0; y < devices::kFrameHeight; ++y)
      for (int x = 0; x < devices::kFrameWidth; ++x)
        pixels[y * devices::kFrameWidth + x] = x % 4 == 0 ? 0xFFFF : 0;
  }
};

class ExposureTest : public SurveyViewTest {
 protected:
  void Film(std::shared_ptr<devices::FrameSource> source) {
    devices::SetFrameSource(std::move(source));
    CreateView();
  }
  int Adjust(int mode, int start) {
    view_->m_nAEMode = mode;
    view_->m_StartParam.Brightness = SHORT(start);
    EXPECT_EQ(view_->AE_Adjust(), TRUE);
    return view_->m_StartParam.Brightness;
  }
};

TEST_F(ExposureTest, StatisticsOfAHandMadeHistogram) {
  CCaptureWnd& view = *view_;
  int hist[256] = {};
  hist[10] = 3;
  hist[200] = 1;
  int max = -1, min = -1, mean = -1;
  ASSERT_EQ(view.CalDistribution(hist, max, min, mean), TRUE);
  EXPECT_EQ(max, 200);
  EXPECT_EQ(min, 10);
  EXPECT_EQ(mean, (30 + 200) / 4);  // 57.5 -> 57
  int empty[256] = {};
  EXPECT_EQ(view.CalDistribution(empty, max, min, mean), FALSE);
  EXPECT_EQ(max, 0);
  EXPECT_EQ(min, 255);
  EXPECT_EQ(mean, 0);
}

TEST_F(ExposureTest, MeanInsideTheDeadBandLeavesTheExposure) {
  Film(std::make_shared<FlatSource>(Rgb565(0, 45, 31)));  // luminance 135
  int max = 0, min = 0, mean = 0;
  ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
  EXPECT_EQ(mean, 135);
  EXPECT_EQ(view_->m_histogram[135], 64 * 64);
  devices::capture::ClearLog();
  EXPECT_EQ(Adjust(1, 20), 20);  // step (135 - 128) / 4 = 1
  for (const auto& r : devices::capture::Log()) EXPECT_NE(r.code, IOCTL_VCAP_START_CAPTURE);
}

TEST_F(ExposureTest, MeanOf140LowersTheExposureByThree) {
  Film(std::make_shared<FlatSource>(Rgb565(0, 47, 31)));  // luminance 140
  devices::capture::ClearLog();
  EXPECT_EQ(Adjust(1, 20), 17);
  ASSERT_TRUE(devices::capture::LastStart().has_value());
  EXPECT_EQ(devices::capture::LastStart()->Brightness, 17);
  // The density offset is subtracted before comparing: 140 - 12 = 128.
  view_->m_aeDensityOffset = 12;
  EXPECT_EQ(Adjust(1, 20), 20);
}

TEST_F(ExposureTest, WhiteInMaximumModeStepsBy13AndClamps) {
  Film(std::make_shared<FlatSource>(0xFFFF));
  EXPECT_EQ(Adjust(3, 0), -13);  // (255 - 200) / 4
  EXPECT_EQ(Adjust(3, -110), -112);
  EXPECT_EQ(Adjust(1, 100), 100 - 31);  // (255 - 128) / 4
}

TEST_F(ExposureTest, BlackRaisesTheExposureUpToTheTop) {
  Film(std::make_shared<FlatSource>(0));
  EXPECT_EQ(Adjust(1, 0), 32);  // (0 - 128) / 4 = -32
  EXPECT_EQ(Adjust(3, 0), 50);
  EXPECT_EQ(Adjust(2, 130), 143);
}

TEST_F(ExposureTest, TheThreeModesMeasureDifferentValues) {
  Film(std::make_shared<CombSource>());
  int max = 0, min = 0, mean = 0;
  ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
  ASSERT_EQ(max, 255);
  ASSERT_EQ(min, 0);
  ASSERT_EQ(mean, 63);
  EXPECT_EQ(Adjust(1, 0), 16);   // (63 - 128) / 4 = -16
  EXPECT_EQ(Adjust(2, 0), 0);    // (127 - 128) / 4 = 0
  EXPECT_EQ(Adjust(3, 0), -13);  // (255 - 200) / 4 = 13
  view_->m_nAEMode = 0;
  EXPECT_EQ(view_->AE_Adjust(), FALSE);
  EXPECT_EQ(view_->m_bAEBusy, 0);
}

TEST_F(ExposureTest, FailedPixelReadChangesNothing) {
  Film(std::make_shared<FlatSource>(0));
  view_->m_histogram[7] = 5;
  platform::fault::Arm("cap.read_rect", 0, 100);
  view_->m_nAEMode = 1;
  view_->m_StartParam.Brightness = 9;
  EXPECT_EQ(view_->AE_Adjust(), FALSE);
  EXPECT_EQ(view_->m_StartParam.Brightness, 9);
  for (int v : view_->m_histogram) ASSERT_EQ(v, 0);
  EXPECT_EQ(view_->m_bAEBusy, 0);
}

TEST_F(ExposureTest, BusyGuardRefusesASecondStep) {
  Film(std::make_shared<FlatSource>(0));
  view_->m_nAEMode = 1;
  view_->m_bAEBusy = 1;
  EXPECT_EQ(view_->AE_Adjust(), FALSE);
  EXPECT_EQ(view_->m_StartParam.Brightness, 0);
}

TEST_F(ExposureTest, RectanglesLargerThanTheSampleBufferAreNotRequested) {
  Film(std::make_shared<FlatSource>(0));
  devices::capture::ClearLog();
  int hist[256];
  CRect too_wide(0, 0, 65, 64);
  view_->GetHistogram(too_wide, hist);
  CRect upside_down(0, 10, 20, 5);
  view_->GetHistogram(upside_down, hist);
  EXPECT_TRUE(devices::capture::Log().empty());
  CRect small(0, 0, 16, 8);
  view_->GetHistogram(small, hist);
  ASSERT_EQ(devices::capture::Log().size(), 1u);
  EXPECT_EQ(devices::capture::Log()[0].code, IOCTL_VCAP_GET_CAPTURE_RECT);
  EXPECT_EQ(devices::capture::Log()[0].in_size, 1u);
  EXPECT_EQ(devices::capture::Log()[0].out_size, 16u * 8u * 2u);
  EXPECT_EQ(hist[0], 128);
}

TEST_F(ExposureTest, ManualStepsClampAtBothEnds) {
  Film(std::make_shared<FlatSource>(0));
  view_->m_StartParam.Brightness = 140;
  view_->AE_Up();
  EXPECT_EQ(view_->m_StartParam.Brightness, 143);
  view_->AE_Up();
  EXPECT_EQ(view_->m_StartParam.Brightness, 143);
  view_->m_StartParam.Brightness = -110;
  view_->AE_Down();
  EXPECT_EQ(view_->m_StartParam.Brightness, -112);
  ASSERT_TRUE(devices::capture::LastStart().has_value());
  EXPECT_EQ(devices::capture::LastStart()->Brightness, -112);
  view_->InitAE();
  EXPECT_EQ(devices::capture::LastStart()->Brightness, 0);
}

TEST_F(ExposureTest, TimerTicksRunTheAutomaticLoop) {
  Film(std::make_shared<FlatSource>(0xFFFF));
  view_->m_nAEMode = 3;
  platform::AdvanceTime(200);
  EXPECT_EQ(view_->m_StartParam.Brightness, -13);
  platform::AdvanceTime(200);
  EXPECT_EQ(view_->m_StartParam.Brightness, -26);
}

// Counts framebuffer pixels of one colour.
int CountColour(const platform::Framebuffer& fb, COLORREF colour) {
  const uint32_t pixel = platform::PixelFromColorref(colour);
  int n = 0;
  for (uint32_t p : fb.pixels) n += p == pixel;
  return n;
}

TEST_F(ExposureTest, HistogramGraphIsAFrameWithScaledBars) {
  Film(std::make_shared<FlatSource>(0));
  platform::Framebuffer fb;
  fb.Resize(320, 240, 0);
  {
    CDC dc;
    dc.AttachFramebuffer(&fb, RECT{0, 0, 320, 240});
    std::fill(std::begin(view_->m_histogram), std::end(view_->m_histogram), 0);
    view_->DrawHistogram(&dc);
  }
  // The frame alone: 128 + 64 + 128 + 64 pixels.
  EXPECT_EQ(CountColour(fb, RGB(0, 255, 0)), 384);
  const uint32_t green = platform::PixelFromColorref(RGB(0, 255, 0));
  EXPECT_EQ(fb.At(320 - 133, 5), green);
  EXPECT_EQ(fb.At(320 - 5, 69), green);
  EXPECT_NE(fb.At(320 - 4, 69), green);

  fb.Resize(320, 240, 0);
  {
    CDC dc;
    dc.AttachFramebuffer(&fb, RECT{0, 0, 320, 240});
    view_->m_histogram[100] = 10;  // the peak: 64 pixels at column 187 + 50
    view_->m_histogram[20] = 5;    // half of it: 32 pixels at column 187 + 10
    view_->DrawHistogram(&dc);
  }
  EXPECT_EQ(CountColour(fb, RGB(0, 255, 0)), 384 + 63 + 31);
  EXPECT_EQ(fb.At(187 + 50, 6), green);
  EXPECT_EQ(fb.At(187 + 10, 38), green);
  EXPECT_NE(fb.At(187 + 10, 37), green);
}

}  // namespace
}  // namespace survey_view_test
