#pragma once
// What films the scene for the capture driver: the simulated instrument, an
// image file or a test pattern. The driver asks for one full sensor frame at
// a time and handles everything after it (reverse, rectangles, painting).
#include <cstdint>
#include <memory>

namespace devices {

constexpr int kFrameWidth = 640;
constexpr int kFrameHeight = 480;

struct FrameRequest {
  int camera = 1;       // 0 tele, 1 wide
  int brightness = 0;   // exposure value of the start record, -112..143
  int64_t time_ms = 0;  // platform clock at the frame
  uint64_t frame_index = 0;
};

class FrameSource {
 public:
  virtual ~FrameSource() = default;
  // Fills kFrameWidth x kFrameHeight pixels, rows top to bottom, 16-bit
  // 5-6-5 as the sensor delivers them before the driver turns the picture
  // for the reverse flag. The components are in the byte order of the
  // 24-bit bitmaps the library converts frames into: blue in bits 15-11,
  // green in 10-5, red in 4-0 (see devices::Pack565).
  virtual void Render(const FrameRequest& request, uint16_t* pixels) = 0;
  // False while the source cannot film `camera` (a video pipeline that did
  // not start or has stopped with an error): the driver then refuses to
  // start, to read and to wait for frames, as a broken capture unit does.
  virtual bool Ready(int /*camera*/) { return true; }
};

// Packs 8-bit red, green and blue into the sensor's 5-6-5 word.
inline uint16_t Pack565(int r, int g, int b) {
  auto c = [](int v) { return v < 0 ? 0 : v > 255 ? 255 : v; };
  return uint16_t(((c(b) >> 3) << 11) | ((c(g) >> 2) << 5) | (c(r) >> 3));
}
// 5-6-5 word -> 0x00RRGGBB.
inline uint32_t Unpack565(uint16_t p) {
  uint32_t b = uint32_t(p >> 11) * 255 / 31;
  uint32_t g = uint32_t((p >> 5) & 63) * 255 / 63;
  uint32_t r = uint32_t(p & 31) * 255 / 31;
  return (r << 16) | (g << 8) | b;
}

// Installs the frame source of the capture driver (null: the built-in
// moving test pattern).
void SetFrameSource(std::shared_ptr<FrameSource> source);

}  // namespace devices
