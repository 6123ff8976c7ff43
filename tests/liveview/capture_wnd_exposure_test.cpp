// Automatic exposure on films of hand-worked luminance (5-6-5 expansion):
// (0, 45, 31) -> trunc(0.59 x 182 + 0.11 x 255) = 135, (0, 47, 31) -> 140.
#include <memory>

#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

// Every fourth sensor column white, the rest black: mean 63, range 0..255.
class CombSource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    for (int i = 0; i < devices::kFrameHeight * devices::kFrameWidth; ++i)
      pixels[i] = i % devices::kFrameWidth % 4 == 0 ? 0xFFFF : 0;
  }
};

class ExposureTest : public LiveViewTest {
 protected:
  void Film(uint16_t pixel, bool comb = false) {
    if (comb) devices::SetFrameSource(std::make_shared<CombSource>());
    if (!comb) devices::SetFrameSource(std::make_shared<FlatSource>(pixel));
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
  int hist[256] = {}, empty[256] = {};
  hist[10] = 3;
  hist[200] = 1;
  int max = -1, min = -1, mean = -1;
  ASSERT_EQ(view_->CalDistribution(hist, max, min, mean), TRUE);
  EXPECT_EQ((std::vector<int>{max, min, mean}), (std::vector<int>{200, 10, 57}));  // 230 / 4
  EXPECT_EQ(view_->CalDistribution(empty, max, min, mean), FALSE);
  EXPECT_EQ((std::vector<int>{max, min, mean}), (std::vector<int>{0, 255, 0}));
}

// The mode's measure (mean, mid-range, maximum) against 128 (200 for the maximum): a quarter
// of the difference, nothing inside the dead band, clamped to -112..143.
struct StepCase {
  bool comb;  // else flat
  uint16_t pixel;
  int mode, start, expected;
};

const StepCase kSteps[] = {
    {false, Rgb565(0, 45, 31), 1, 20, 20},  // mean 135: in the dead band
    {false, Rgb565(0, 47, 31), 1, 20, 17},  // mean 140: 12 / 4 = 3 down
    {false, 0xFFFF, 3, 0, -13},             // maximum 255: 55 / 4 = 13 down
    {false, 0xFFFF, 3, -110, -112},         // clamped low
    {false, 0xFFFF, 1, 100, 69},            // mean 255: 127 / 4 = 31 down
    {false, 0, 1, 0, 32},                   // mean 0: 128 / 4 = 32 up
    {false, 0, 3, 0, 50},                   // maximum 0: 200 / 4 = 50 up
    {false, 0, 2, 130, 143},                // clamped high
    {true, 0, 1, 0, 16},                    // comb mean 63: 65 / 4 = 16 up
    {true, 0, 2, 0, 0},                     // comb mid-range 127: in the dead band
    {true, 0, 3, 0, -13},                   // comb maximum 255
};

class ExposureStepTest : public ExposureTest, public ::testing::WithParamInterface<int> {};

TEST_P(ExposureStepTest, StepsByAQuarterOfTheDifference) {
  const StepCase& c = kSteps[GetParam()];
  Film(c.pixel, c.comb);
  devices::capture::ClearLog();
  EXPECT_EQ(Adjust(c.mode, c.start), c.expected);
  EXPECT_EQ(Requests(IOCTL_VCAP_START_CAPTURE), c.expected == c.start ? 0 : 1);
  EXPECT_EQ(devices::capture::LastStart()->Brightness, c.expected == c.start ? 0 : c.expected);
}

INSTANTIATE_TEST_SUITE_P(Films, ExposureStepTest, ::testing::Range(0, int(std::size(kSteps))));

TEST_F(ExposureTest, DensityOfAFilmAndTheDensityOffset) {
  Film(Rgb565(0, 47, 31));  // luminance 140
  int max = 0, min = 0, mean = 0;
  ASSERT_EQ(view_->AE_CheckDensity(max, min, mean), TRUE);
  EXPECT_EQ(mean, 140);
  EXPECT_EQ(view_->m_histogram[140], 64 * 64);
  view_->m_aeDensityOffset = 12;  // subtracted before comparing: 140 - 12 = 128
  EXPECT_EQ(Adjust(1, 20), 20);
  view_->m_nAEMode = 0;
  EXPECT_EQ(view_->AE_Adjust(), FALSE);
  view_->m_nAEMode = 1;
  view_->m_bAEBusy = 1;  // a step already under way
  EXPECT_EQ(view_->AE_Adjust(), FALSE);
}

}  // namespace
}  // namespace liveview_test
