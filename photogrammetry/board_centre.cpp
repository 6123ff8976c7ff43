// Point-symmetry fit of a target board's centre, coarse to fine.
#include "photogrammetry/board_centre.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace photogrammetry {
namespace {

struct Pixel {
  double x;  // middle of the pixel
  double y;
  double light;
};

// Light at a continuous position, bilinear between pixel middles.
double Sample(const BoardImage& im, double x, double y) {
  const double fx = x - 0.5, fy = y - 0.5;
  int i = int(std::floor(fx)), j = int(std::floor(fy));
  i = std::clamp(i, 0, im.width - 2);
  j = std::clamp(j, 0, im.height - 2);
  const double ax = std::clamp(fx - i, 0.0, 1.0), ay = std::clamp(fy - j, 0.0, 1.0);
  const float* row0 = im.light + size_t(j) * size_t(im.width) + size_t(i);
  const float* row1 = row0 + im.width;
  return (1 - ay) * ((1 - ax) * row0[0] + ax * row0[1]) + ay * ((1 - ax) * row1[0] + ax * row1[1]);
}

double Mismatch(const BoardImage& im, const std::vector<Pixel>& pixels, double cx, double cy) {
  double sum = 0.0;
  for (const Pixel& p : pixels) {
    const double d = p.light - Sample(im, 2.0 * cx - p.x, 2.0 * cy - p.y);
    sum += d * d;
  }
  return sum;
}

// Pixels whose middles lie within `radius` (square) of (cx, cy).
std::vector<Pixel> Window(const BoardImage& im, double cx, double cy, double radius) {
  std::vector<Pixel> pixels;
  for (int j = int(std::ceil(cy - radius - 0.5)); j + 0.5 <= cy + radius; ++j) {
    for (int i = int(std::ceil(cx - radius - 0.5)); i + 0.5 <= cx + radius; ++i) {
      pixels.push_back({i + 0.5, j + 0.5, im.light[size_t(j) * size_t(im.width) + size_t(i)]});
    }
  }
  return pixels;
}

// Vertex of the parabola through (-h, a), (0, b), (h, c), limited to +-h.
double Vertex(double a, double b, double c, double h) {
  const double curvature = a - 2.0 * b + c;
  if (!(curvature > 0.0)) return 0.0;
  return std::clamp(0.5 * h * (a - c) / curvature, -h, h);
}

}  // namespace

bool FindBoardCentre(const BoardImage& image,
                     double guess_x,
                     double guess_y,
                     double half,
                     double reach,
                     double& x,
                     double& y) {
  if (!image.light || image.width < 2 || image.height < 2 || !(half > 4.0) || !(reach >= 0.0))
    return false;
  const double outer = half + 2.0 * reach + 2.0;
  if (guess_x - outer < 0 || guess_y - outer < 0 || guess_x + outer > image.width ||
      guess_y + outer > image.height)
    return false;
  double cx = guess_x, cy = guess_y;
  // Each stage searches a grid around the last centre; the window stays
  // inside the board's frame for every trial centre of the stage.
  const double stages[][2] = {{std::max(reach, 0.25), 0.25}, {0.3, 0.05}, {0.06, 0.01}};
  for (const auto& stage : stages) {
    const double range = stage[0], step = stage[1];
    const double radius = 0.92 * half - 1.0 - 2.0 * range;
    if (radius < 2.5) return false;
    std::vector<Pixel> pixels = Window(image, cx, cy, radius);
    auto [lo, hi] =
        std::minmax_element(pixels.begin(), pixels.end(), [](const Pixel& a, const Pixel& b) {
          return a.light < b.light;
        });
    if (!(hi->light - lo->light > 0.05 * hi->light)) return false;
    const int n = int(std::lround(range / step));
    double best = -1.0, bx = cx, by = cy;
    for (int j = -n; j <= n; ++j) {
      for (int i = -n; i <= n; ++i) {
        double m = Mismatch(image, pixels, cx + i * step, cy + j * step);
        if (best < 0.0 || m < best) {
          best = m;
          bx = cx + i * step;
          by = cy + j * step;
        }
      }
    }
    cx = bx;
    cy = by;
    if (step == stages[2][1]) {
      cx += Vertex(Mismatch(image, pixels, bx - step, by),
                   best,
                   Mismatch(image, pixels, bx + step, by),
                   step);
      cy += Vertex(Mismatch(image, pixels, bx, by - step),
                   best,
                   Mismatch(image, pixels, bx, by + step),
                   step);
    }
  }
  x = cx;
  y = cy;
  return true;
}

}  // namespace photogrammetry
