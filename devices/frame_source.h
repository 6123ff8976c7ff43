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
  int camera = 1;          // 0 tele, 1 wide
  int brightness = 0;      // exposure value of the start record, -112..143
  int64_t time_ms = 0;     // platform clock at the frame
  uint64_t frame_index = 0;
};

class FrameSource {
 public:
  virtual ~FrameSource() = default;
  // Fills kFrameWidth x kFrameHeight pixels, rows top to bottom, 16-bit
  // 5-6-5 (red in bits 15-11), as the sensor delivers them before the
  // driver turns the picture for the reverse flag.
  virtual void Render(const FrameRequest& request, uint16_t* pixels) = 0;
};

// Installs the frame source of the capture driver (null: the built-in
// moving test pattern).
void SetFrameSource(std::shared_ptr<FrameSource> source);

}  // namespace devices
