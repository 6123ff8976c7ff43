#include "sim/ray_table.h"

#include <algorithm>
#include <cmath>

namespace sim {

RayTable::RayTable()
    : x_(size_t(kWidth) * kHeight),
      y_(size_t(kWidth) * kHeight),
      z_(size_t(kWidth) * kHeight),
      cones_(size_t(kTilesX) * kTilesY) {}

void RayTable::Set(int i, int j, const Vec3& ray) {
  Vec3 unit = ray.Normalized();
  size_t k = size_t(j) * kWidth + size_t(i);
  x_[k] = float(unit.x);
  y_[k] = float(unit.y);
  z_[k] = float(unit.z);
}

RayTable RayTable::Wide(const Calibration& c) {
  RayTable table;
  for (int j = 0; j < kHeight; ++j) {
    double sensor_y = c.principal_y - (j + 0.5) * c.resolution_y;
    for (int i = 0; i < kWidth; ++i) {
      double sensor_x = (i + 0.5) * c.resolution_x - c.principal_x;
      double dx = 0.0;
      double dy = 0.0;
      c.dist.CalDist(sensor_x, sensor_y, dx, dy);
      table.Set(i, j, {sensor_x + dx, sensor_y + dy, -c.focal_length});
    }
  }
  table.BuildCones();
  return table;
}

RayTable RayTable::Tele(const Calibration& c) {
  RayTable table;
  for (int j = 0; j < kHeight; ++j) {
    double sensor_y = -(j - c.tele_center_y) * c.resolution_y;
    for (int i = 0; i < kWidth; ++i) {
      double sensor_x = (i - c.tele_center_x) * c.resolution_x;
      table.Set(i, j, {sensor_x, sensor_y, -kTelescopeFocalLength});
    }
  }
  table.BuildCones();
  return table;
}

Vec3 RayTable::RayAt(double px, double py) const {
  double fx = std::clamp(px - 0.5, 0.0, double(kWidth - 1));
  double fy = std::clamp(py - 0.5, 0.0, double(kHeight - 1));
  int i = std::min(int(fx), kWidth - 2);
  int j = std::min(int(fy), kHeight - 2);
  double ax = fx - i;
  double ay = fy - j;
  Vec3 top = Ray(i, j) * (1.0 - ax) + Ray(i + 1, j) * ax;
  Vec3 bottom = Ray(i, j + 1) * (1.0 - ax) + Ray(i + 1, j + 1) * ax;
  return (top * (1.0 - ay) + bottom * ay).Normalized();
}

namespace {

// Angle between two unit vectors, accurate also when it is tiny.
double AngleBetween(const Vec3& a, const Vec3& b) {
  return std::atan2(a.Cross(b).Length(), a.Dot(b));
}

}  // namespace

// Each tile's cone: the normalised mean of its rays and the largest angle
// between it and a ray, widened by a pixel's diagonal (plus the rounding of
// the stored floats) so that samples between pixel middles stay inside.
void RayTable::BuildCones() {
  constexpr double kFloatMargin = 1e-6;  // radians; rays are stored as floats
  for (int ty = 0; ty < kTilesY; ++ty) {
    for (int tx = 0; tx < kTilesX; ++tx) {
      int i0 = tx * kTile;
      int j0 = ty * kTile;
      Vec3 sum;
      for (int j = j0; j < j0 + kTile; ++j) {
        for (int i = i0; i < i0 + kTile; ++i) sum = sum + Ray(i, j);
      }
      Cone cone;
      cone.axis = sum.Normalized();
      double widest = 0.0;
      for (int j = j0; j < j0 + kTile; ++j) {
        for (int i = i0; i < i0 + kTile; ++i) {
          widest = std::max(widest, AngleBetween(cone.axis, Ray(i, j)));
        }
      }
      double pixel_diagonal = AngleBetween(Ray(i0, j0), Ray(i0 + 1, j0 + 1));
      cone.half_angle = widest + pixel_diagonal + kFloatMargin;
      pixel_angle_ = std::max(pixel_angle_, pixel_diagonal + kFloatMargin);
      cones_[size_t(ty) * kTilesX + size_t(tx)] = cone;
    }
  }
}

}  // namespace sim
