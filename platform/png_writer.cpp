// Framebuffer to PNG through libpng.
#include <png.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "platform/framebuffer.h"

namespace platform {

bool WritePng(const Framebuffer& frame, const std::string& hostPath) {
  if (frame.width <= 0 || frame.height <= 0) return false;
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(hostPath.c_str(), "wb"), &std::fclose);
  if (!file) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return false;
  }
  std::vector<png_byte> row(size_t(frame.width) * 3);
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, file.get());
  png_set_IHDR(png,
               info,
               png_uint_32(frame.width),
               png_uint_32(frame.height),
               8,
               PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const uint32_t p = frame.At(x, y);
      row[size_t(x) * 3] = png_byte(p >> 16);
      row[size_t(x) * 3 + 1] = png_byte(p >> 8);
      row[size_t(x) * 3 + 2] = png_byte(p);
    }
    png_write_row(png, row.data());
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return std::fflush(file.get()) == 0;
}

}  // namespace platform
