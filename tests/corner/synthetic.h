#pragma once
// Synthetic pictures for the corner tests: shapes with exactly known corners
// rendered with area sampling, so edges carry sub-pixel grey levels as a
// camera's would. Pixel (i, j) covers [i - 0.5, i + 0.5] x [j - 0.5, j + 0.5].
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

namespace corner_test {

constexpr double kPi = 3.141592653589793;

struct Pt {
  double x = 0.0;
  double y = 0.0;
};

struct Grey {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;
  uint8_t at(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
};

// Renders inside(x, y) -> true as `dark` over `light`, 8 x 8 samples a pixel.
inline Grey Render(
    int width, int height, int light, int dark, const std::function<bool(double, double)>& inside) {
  Grey g{width, height, std::vector<uint8_t>(size_t(width) * size_t(height))};
  constexpr int kSub = 8;
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) {
      int hits = 0;
      for (int sy = 0; sy < kSub; ++sy) {
        for (int sx = 0; sx < kSub; ++sx) {
          if (inside(i - 0.5 + (sx + 0.5) / kSub, j - 0.5 + (sy + 0.5) / kSub)) ++hits;
        }
      }
      const double v = light + (dark - light) * double(hits) / (kSub * kSub);
      g.pixels[size_t(j) * size_t(width) + size_t(i)] = uint8_t(std::lround(v));
    }
  }
  return g;
}

// A square of side `side` centred at (cx, cy), turned by `angle` radians.
struct Square {
  double cx = 0.0;
  double cy = 0.0;
  double side = 0.0;
  double angle = 0.0;

  bool Inside(double x, double y) const {
    const double c = std::cos(angle), s = std::sin(angle);
    const double u = (x - cx) * c + (y - cy) * s;
    const double v = -(x - cx) * s + (y - cy) * c;
    return std::fabs(u) <= side / 2 && std::fabs(v) <= side / 2;
  }
  Pt Corner(int k) const {
    const double su = (k == 0 || k == 3) ? -1 : 1;
    const double sv = (k < 2) ? -1 : 1;
    const double c = std::cos(angle), s = std::sin(angle);
    const double u = su * side / 2, v = sv * side / 2;
    return {cx + u * c - v * s, cy + u * s + v * c};
  }
};

inline void AddNoise(Grey& g, double sigma, unsigned seed) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> noise(0.0, sigma);
  for (auto& p : g.pixels) p = uint8_t(std::clamp(std::lround(p + noise(rng)), 0L, 255L));
}

}  // namespace corner_test
