// Automatic exposure: histogram statistics, the step arithmetic with its dead
// band, the three modes and the clamps, on frames of known luminance. The
// luminances of the test colours are worked by hand from the 5-6-5 expansion:
// (0, 45, 31) -> trunc(0.59 x 182 + 0.11 x 255) = 135, (0, 47, 31) -> 140.
#include <memory>

#include "platform/dc.h"
#include "tests/support/live_view.h"

namespace liveview_test {
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

class ExposureTest : public LiveViewTest {
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

// One automatic step on a film of known luminance: the mode's measure
// against its target (128, or 200 for the maximum), a quarter of the
// difference as the step, nothing inside the dead band, clamped to -112..143.
struct StepCase {
  const char* name;
  bool comb;  // else flat
  uint16_t pixel;
  int mode, start, expected;
};

void PrintTo(const StepCase& c, std::ostream* os) { *os << c.name; }

class ExposureStepTest : public ExposureTest, public ::testing::WithParamInterface<StepCase> {};

TEST_P(ExposureStepTest, StepsByAQuarterOfTheDifference) {
  const StepCase& c = GetParam();
  if (c.comb)
    Film(std::make_shared<CombSource>());
  else
    Film(std::make_shared<FlatSource>(c.pixel));
  devices::capture::ClearLog();
  EXPECT_EQ(Adjust(c.mode, c.start), c.expected);
  if (c.expected == c.start) {
    EXPECT_EQ(Requests(IOCTL_VCAP_START_CAPTURE), 0) << "no step, no restart";
  } else {
    ASSERT_TRUE(devices::capture::LastStart().has_value());
    EXPECT_EQ(devices::capture::LastStart()->Brightness, c.expected);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Films,
    ExposureStepTest,
    ::testing::Values(StepCase{"mean_135_in_dead_band", false, Rgb565(0, 45, 31), 1, 20, 20},
                      StepCase{"mean_140_lowers_by_3", false, Rgb565(0, 47, 31), 1, 20, 17},
                      StepCase{"white_max_lowers_by_13", false, 0xFFFF, 3, 0, -13},
                      StepCase{"white_max_clamps_low", false, 0xFFFF, 3, -110, -112},
                      StepCase{"white_mean_lowers_by_31", false, 0xFFFF, 1, 100, 69},
                      StepCase{"black_mean_raises_by_32", false, 0, 1, 0, 32},
                      StepCase{"black_max_raises_by_50", false, 0, 3, 0, 50},
                      StepCase{"black_mid_clamps_high", false, 0, 2, 130, 143},
                      StepCase{"comb_mean_63", true, 0, 1, 0, 16},
                      StepCase{"comb_mid_127", true, 0, 2, 0, 0},
                      StepCase{"comb_max_255", true, 0, 3, 0, -13}));

TEST_F(ExposureTest, DensityOfAFlatFilmAndTheDensityOffset) {
  Film(std::make_shared<FlatSource>(Rgb565(0, 47, 31)));  // luminance 140
  int max = 0, min = 0, mean = 0;
  ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
  EXPECT_EQ(mean, 140);
  EXPECT_EQ(view_->m_histogram[140], 64 * 64);
  // The density offset is subtracted before comparing: 140 - 12 = 128.
  view_->m_aeDensityOffset = 12;
  EXPECT_EQ(Adjust(1, 20), 20);
}

TEST_F(ExposureTest, CombMeasuresAllThreeValuesAndModeZeroDoesNothing) {
  Film(std::make_shared<CombSource>());
  int max = 0, min = 0, mean = 0;
  ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
  EXPECT_EQ(max, 255);
  EXPECT_EQ(min, 0);
  EXPECT_EQ(mean, 63);
  view_->m_nAEMode = 0;
  EXPECT_EQ(view_->AE_Adjust(), FALSE);
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
}  // namespace liveview_test
