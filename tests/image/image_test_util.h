#pragma once
// Helpers of the image tests: deterministic pictures and PIL to check our files.
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "image/dib_ex.h"

namespace image_test {

inline std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Runs a Python snippet (the system python3, which has PIL) with args as argv[1..]; true on exit 0.
inline bool RunPil(const std::string& script, const std::vector<std::string>& args) {
  std::string command = "/usr/bin/python3 -c '" + script + "'";
  for (const auto& a : args) command += " '" + a + "'";
  return std::system(command.c_str()) == 0;
}

// Picture RGB (top-down, 3 bytes a pixel) of an 8- or 24-bit CDibEx.
inline std::vector<uint8_t> RgbOf(CDibEx& dib) {
  const CSize size = dib.GetDimensions();
  std::vector<uint8_t> rgb;
  const auto* table = reinterpret_cast<const RGBQUAD*>(dib.m_colorTable);
  for (int y = 0; y < size.cy; ++y)
    for (int x = 0; x < size.cx; ++x) {
      BYTE p[3] = {0, 0, 0};
      dib.GetPixel(p, CPoint(x, y), 4);
      if (dib.m_infoHeader->biBitCount == 8) {
        const RGBQUAD q = table[p[0]];
        rgb.insert(rgb.end(), {q.rgbRed, q.rgbGreen, q.rgbBlue});
      } else {
        rgb.insert(rgb.end(), {p[2], p[1], p[0]});
      }
    }
  return rgb;
}

// A 24-bit picture whose channels vary differently with x and y.
inline void Fill24(CDibEx& dib, int width, int height, uint32_t seed = 1) {
  dib.Create(CSize(width, height), 24, 0, FALSE, 0);
  uint32_t state = seed;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      state = state * 1664525u + 1013904223u;
      BYTE bgr[3] = {BYTE(x * 7 + y), BYTE(y * 5 + (state >> 28)), BYTE((x ^ y) * 3)};
      dib.SetPixel(bgr, CPoint(x, y), 4);
    }
}

// An 8-bit picture with distinct values, on the grey palette or a colour one.
inline void Fill8(CDibEx& dib, int width, int height, bool grey = true) {
  dib.Create(CSize(width, height), 8, 256, grey, 0);
  auto* table = reinterpret_cast<RGBQUAD*>(dib.m_colorTable);
  if (!grey)
    for (int i = 0; i < 256; ++i) table[i] = RGBQUAD{BYTE(i), BYTE(255 - i), BYTE(i * 3), 0};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      BYTE v = BYTE(x * 13 + y * 29 + (x * y) % 11);
      dib.SetPixel(&v, CPoint(x, y), 3);
    }
}

// A smooth 24-bit picture (what a camera sees), for lossy round trips.
inline void FillSmooth24(CDibEx& dib, int width, int height) {
  dib.Create(CSize(width, height), 24, 0, FALSE, 0);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      BYTE bgr[3] = {BYTE(40 + 160 * x / width),
                     BYTE(30 + 180 * y / height),
                     BYTE(128 + 100 * (x + y) / (width + height) - 50)};
      dib.SetPixel(bgr, CPoint(x, y), 4);
    }
}

}  // namespace image_test
