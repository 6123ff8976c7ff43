#pragma once
// An ideal camera independent of the DLT (look-at, rolled; pixels x right, y down) and its
// photographs.
#include <cmath>
#include <random>
#include <string>

#include "geometry/xyz.h"
#include "platform/kvo_array.h"

namespace pinhole_test {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

struct Pinhole {
  CXYZ centre;
  CXYZ rows[3];  // right, down, forward
  double f, cx, cy;

  Pinhole(const CXYZ& at, const CXYZ& target, double focal, double px, double py)
      : centre(at), f(focal), cx(px), cy(py) {
    const CXYZ up(0.04, -0.03, 1.0);  // not vertical: the picture is rolled
    rows[2] = Unit(target - at);
    rows[0] = Unit(rows[2].Out(up));
    rows[1] = rows[2].Out(rows[0]);
  }
  static CXYZ Unit(const CXYZ& v) { return v / v.Len(); }
  CXYZ Image(const CXYZ& p) const {
    const CXYZ d = p - centre;
    const double u = rows[0].Inn(d), v = rows[1].Inn(d), w = rows[2].Inn(d);
    return CXYZ(p.Name, cx + f * u / w, cy + f * v / w, 0.0);
  }
};

// Wide camera of the instrument: 8 mm over 5.6 um pixels.
constexpr double kFocalPx = 8.0 / 0.0056;

inline const Pinhole kWest(
    CXYZ(1000.0, 2000.0, 51.5), CXYZ(1040.0, 2030.0, 52.0), kFocalPx, 320.37, 239.61);
inline const Pinhole kSouth(
    CXYZ(1075.0, 1991.0, 51.4), CXYZ(1040.0, 2030.0, 52.5), kFocalPx * 1.01, 318.9, 241.2);
inline const Pinhole kNorth(
    CXYZ(1050.0, 2080.0, 56.0), CXYZ(1040.0, 2030.0, 51.0), kFocalPx * 0.99, 321.5, 238.4);

// Points through a 24 x 24 x 10 m block around (1040, 2030, 52).
inline PointArray SitePoints(int count, const wchar_t* prefix, unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> dx(-12.0, 12.0), dz(-5.0, 5.0);
  PointArray points;
  for (int i = 0; i < count; ++i) {
    const std::wstring name = prefix + std::to_wstring(i + 1);
    CXYZ point(name.c_str(), 1040.0 + dx(rng), 2030.0 + dx(rng), 52.0 + dz(rng));
    points.Add(point);
  }
  return points;
}

inline PointArray Photograph(const Pinhole& camera,
                             const PointArray& ground,
                             double noise_px = 0.0,
                             unsigned seed = 0) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> noise(0.0, noise_px > 0 ? noise_px : 1.0);
  PointArray image;
  for (const CXYZ& g : ground) {
    CXYZ p = camera.Image(g);
    if (noise_px > 0) {
      p.X += noise(rng);
      p.Y += noise(rng);
    }
    image.Add(p);
  }
  return image;
}

}  // namespace pinhole_test
