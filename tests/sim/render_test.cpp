// The simulated instrument's pictures, placed where a hand calculation puts them (its
// exposure is judged by the live view's settling runs).
#include <gtest/gtest.h>

#include <fstream>

#include "platform/framebuffer.h"
#include "sim/frame_image.h"
#include "sim/instrument.h"
#include "tests/support/picture.h"
#include "tests/support/site.h"

namespace {

using sim_test::Frame;

Frame Render(sim::Instrument& instrument, int camera, int brightness = 0) {
  Frame frame = sim_test::NewFrame();
  devices::FrameRequest request;
  request.camera = camera;
  request.brightness = brightness;
  instrument.Render(request, frame.data());
  return frame;
}

struct HandCase {
  const char* name;
  double v_deg, h_deg;
  double x, y, z;  // survey axes, station at the origin, instrument height 1.5
  double px, py;   // expected continuous sensor position
};

// Ideal wide camera (f 8 mm, principal point at the sensor middle, 5.6 um
// pixels, no distortion, no offset). A point 1 m right of and 1 m above the
// line of sight at 20 m lies at u = v = 8 * 1 / 20 = 0.4 mm from the
// principal point: px = (1.792 + 0.4) / 0.0056, py = (1.344 - 0.4) / 0.0056.
// Tilted 10 degrees up (V = 80) the line of sight climbs by sin(10 deg) per metre.
constexpr double kCos10 = 0.984807753012208, kSin10 = 0.17364817766693, kR = 0.7071067811865476;
const HandCase kHandCases[] = {
    {"north", 90.0, 0.0, 20.0, 1.0, 2.5, 2.192 / 0.0056, 0.944 / 0.0056},
    {"on_axis_up", 80.0, 0.0, 20.0 * kCos10, 0.0, 1.5 + 20.0 * kSin10, 320.0, 240.0},
    {"sw_left_low", 90, 225, -21 * kR, -19 * kR, 0.5, 1.392 / 0.0056, 1.744 / 0.0056},
};

TEST(SimRender, WideTargetLandsWhereHandCalculationPutsIt) {
  for (const HandCase& c : kHandCases) {
    SCOPED_TRACE(c.name);
    sim::Instrument instrument;
    instrument.SetSampleEveryPixel(true);
    instrument.station().SetInstrumentHeight(1.5);
    instrument.station().SetAngles(c.v_deg, c.h_deg);
    Frame without = Render(instrument, 1);
    instrument.AddTarget({L"P", c.x, c.y, c.z, 0.3});
    Frame with = Render(instrument, 1);
    // Board half size 0.3 m at 20 m: 0.3 / 20 * 8 / 0.0056 = 21 px.
    auto centre = sim_test::BoardCentre(with, without, c.px, c.py, 30);
    ASSERT_TRUE(centre.has_value());
    EXPECT_GT(centre->board_pixels, 1200);  // about 42 x 42 pixels
    // The centroid of 5-6-5 pixels sampled 2 x 2 is good to about 0.15 px;
    // a half-pixel slip in the sensor convention would show as 0.5.
    EXPECT_NEAR(centre->x, c.px, 0.25);
    EXPECT_NEAR(centre->y, c.py, 0.25);
  }
}

// 0.05 m at 40 m through the tele's 248.46 mm optics: 0.05 / 40 * 248.46 /
// 0.0056 = 55 px half size, so the middle 80 x 80 pixels are all checker; the
// picture's PPM file is its pixels' red, green and blue after a plain header.
TEST(SimRender, TeleSeesASmallBoardLargeAndWritesItAsPpm) {
  sim::Instrument instrument;
  instrument.station().SetAngles(90.0, 0.0);
  instrument.AddTarget(sim_test::TargetAt(instrument.station().State(), 90.0, 0.0, 40.0, 0.05));
  Frame tele = Render(instrument, 0);
  int dark = 0;
  for (int y = 200; y < 280; ++y)
    for (int x = 280; x < 360; ++x) dark += sim_test::Luminance(tele[size_t(y) * 640 + x]) < 100;
  EXPECT_NEAR(dark, 80 * 80 / 2, 400);  // two of the four quadrants
  platform::Framebuffer picture;
  sim::FrameToFramebuffer(tele.data(), picture);
  const std::string path = std::string(SURVEYCAM_BINARY_DIR) + "/sim-tele.ppm";
  ASSERT_TRUE(sim::WritePpm(picture, path));
  std::ifstream file(path, std::ios::binary);
  std::string expected = "P6\n640 480\n255\n";
  for (uint32_t p : picture.pixels) expected += {char(p >> 16), char(p >> 8), char(p)};
  EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(file), {}) == expected);
}

}  // namespace
