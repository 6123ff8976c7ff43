#include "sim/frame_image.h"

#include <fstream>

#include "devices/frame_source.h"

namespace sim {

void FrameToFramebuffer(const uint16_t* pixels, platform::Framebuffer& out) {
  out.Resize(devices::kFrameWidth, devices::kFrameHeight);
  for (size_t k = 0; k < out.pixels.size(); ++k) {
    out.pixels[k] = devices::Unpack565(pixels[k]);
  }
}

bool WritePpm(const platform::Framebuffer& frame, const std::string& host_path) {
  std::ofstream file(host_path, std::ios::binary);
  if (!file) return false;
  file << "P6\n" << frame.width << ' ' << frame.height << "\n255\n";
  for (uint32_t p : frame.pixels) {
    char rgb[3] = {char((p >> 16) & 0xFF), char((p >> 8) & 0xFF), char(p & 0xFF)};
    file.write(rgb, 3);
  }
  return bool(file);
}

}  // namespace sim
