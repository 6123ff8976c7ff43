#pragma once
// Vec3: the simulator's small 3-D vector of doubles. Positions and directions
// inside sim/ are in pipeline axes (first = survey Y, second = survey X,
// third = up) and metres unless a name says otherwise.
#include <cmath>

namespace sim {

struct Vec3 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  constexpr Vec3() = default;
  constexpr Vec3(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}

  constexpr Vec3 operator+(const Vec3& o) const { return {x + o.x, y + o.y, z + o.z}; }
  constexpr Vec3 operator-(const Vec3& o) const { return {x - o.x, y - o.y, z - o.z}; }
  constexpr Vec3 operator*(double s) const { return {x * s, y * s, z * s}; }
  constexpr Vec3 operator-() const { return {-x, -y, -z}; }
  constexpr double Dot(const Vec3& o) const { return x * o.x + y * o.y + z * o.z; }
  constexpr Vec3 Cross(const Vec3& o) const {
    return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
  }
  double Length() const { return std::sqrt(Dot(*this)); }
  Vec3 Normalized() const {
    double len = Length();
    return len > 0.0 ? *this * (1.0 / len) : Vec3{};
  }
};

}  // namespace sim
