#pragma once
// A 32-bit framebuffer: pixels 0x00RRGGBB, rows top to bottom, no padding.
// The desktop's screen is one; the capture driver paints live video into it
// where a pixel holds the key colour, and device contexts draw on it.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/types.h"

namespace platform {

struct Framebuffer {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;

  void Resize(int w, int h, uint32_t fill = 0) {
    width = w;
    height = h;
    pixels.assign(size_t(w) * size_t(h), fill);
  }
  uint32_t& At(int x, int y) { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
  uint32_t At(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
};

// COLORREF (0x00BBGGRR) -> framebuffer pixel (0x00RRGGBB).
constexpr uint32_t PixelFromColorref(COLORREF c) {
  return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
}

// The desktop's screen (windows part of the platform).
SURVEYCAM_API Framebuffer& Screen();
SURVEYCAM_API void ResizeScreen(int width, int height);

// Writes a framebuffer as an 8-bit RGB PNG (drawing part of the platform);
// false when the file cannot be written.
SURVEYCAM_API bool WritePng(const Framebuffer& frame, const std::string& hostPath);

}  // namespace platform
