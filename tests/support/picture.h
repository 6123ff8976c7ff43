#pragma once
// Positions read out of simulated sensor frames from the pixels only.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "devices/frame_source.h"

namespace sim_test {

using Frame = std::vector<uint16_t>;

inline Frame NewFrame() { return Frame(size_t(devices::kFrameWidth) * devices::kFrameHeight); }

// Luminance of a 5-6-5 pixel as the live view's histogram computes it.
inline int Luminance(uint16_t p) {
  int r = (p >> 11) * 255 / 31;
  int g = ((p >> 5) & 63) * 255 / 63;
  int b = (p & 31) * 255 / 31;
  return std::clamp(int(0.3 * r + 0.59 * g + 0.11 * b), 0, 255);
}

// Linear light of a pixel, undoing the sensor's display gamma of 1/2.2.
inline double LinearLight(uint16_t p) {
  auto lin = [](double code, double max) { return std::pow(code / max, 2.2); };
  return 0.3 * lin(p >> 11, 31) + 0.59 * lin((p >> 5) & 63, 63) + 0.11 * lin(p & 31, 31);
}

struct Centre {
  double x = 0.0;  // continuous sensor coordinates: pixel i spans [i, i+1)
  double y = 0.0;
  int board_pixels = 0;
};

// A board's centre: the centroid of its (point-symmetric) dark parts, weighted by black share in
// linear light, from frames with and without it (2 x 2 samples a pixel: they differ on the board).
inline std::optional<Centre> BoardCentre(
    const Frame& with, const Frame& without, double guess_x, double guess_y, int radius) {
  int x0 = int(guess_x) - radius, y0 = int(guess_y) - radius, size = 2 * radius + 1;
  if (x0 < 1 || y0 < 1 || x0 + size >= devices::kFrameWidth || y0 + size >= devices::kFrameHeight)
    return std::nullopt;
  auto index = [](int x, int y) { return size_t(y) * devices::kFrameWidth + size_t(x); };
  auto on_board = [&](int x, int y) { return with[index(x, y)] != without[index(x, y)]; };
  auto on_rim = [&](int x, int y) {
    for (int d = 0; d < 9; ++d)
      if (!on_board(x + d % 3 - 1, y + d / 3 - 1)) return true;
    return false;
  };
  std::vector<double> inside;
  for (int y = y0; y < y0 + size; ++y)
    for (int x = x0; x < x0 + size; ++x)
      if (on_board(x, y) && !on_rim(x, y)) inside.push_back(LinearLight(with[index(x, y)]));
  if (inside.size() < 20) return std::nullopt;
  std::sort(inside.begin(), inside.end());
  double black = inside[inside.size() / 20];
  double white = inside[inside.size() - 1 - inside.size() / 20];
  if (white - black < 0.3) return std::nullopt;

  Centre c;
  double sum_w = 0.0, sum_x = 0.0, sum_y = 0.0;
  for (int y = y0; y < y0 + size; ++y) {
    for (int x = x0; x < x0 + size; ++x) {
      if (!on_board(x, y)) continue;
      double a = LinearLight(with[index(x, y)]);
      double w = 0.0;
      if (on_rim(x, y)) {
        double background = LinearLight(without[index(x, y)]);
        if (std::abs(background - black) > 1e-3) w = (background - a) / (background - black);
      } else {
        w = (white - a) / (white - black);
      }
      w = std::clamp(w, 0.0, 1.0);
      sum_w += w;
      sum_x += w * (x + 0.5);
      sum_y += w * (y + 0.5);
      ++c.board_pixels;
    }
  }
  for (int k = 0; k < size; ++k)
    if (on_board(x0 + k, y0) || on_board(x0 + k, y0 + size - 1) || on_board(x0, y0 + k) ||
        on_board(x0 + size - 1, y0 + k))
      return std::nullopt;
  c.x = sum_x / sum_w;
  c.y = sum_y / sum_w;
  return c;
}

}  // namespace sim_test
