#pragma once
// RayTable: the viewing direction of every sensor pixel of one camera, in the
// camera's eye frame (+x right, +y up, looking along -z), as unit vectors.
// Building it is the expensive part of the camera model (the lens model is
// evaluated once per pixel), so it is built once per calibration and each
// frame only rotates the rays into the world.
//
// Sensor pixel (i, j) covers the continuous sensor coordinates [i, i+1) x
// [j, j+1) that the live view's projection produces (px, py); its ray goes
// through the pixel's middle (i + 0.5, j + 0.5).
//
// The table also keeps, for tiles of kTile x kTile pixels, a cone that holds
// every ray of the tile, so the renderer can skip objects a tile cannot see.
#include <vector>

#include "sim/calibration.h"
#include "sim/vec3.h"

namespace sim {

class RayTable {
 public:
  static constexpr int kWidth = 640;
  static constexpr int kHeight = 480;
  static constexpr int kTile = 16;
  static constexpr int kTilesX = kWidth / kTile;
  static constexpr int kTilesY = kHeight / kTile;
  static constexpr double kTelescopeFocalLength = 248.46;  // mm, fixed optics

  // The wide camera of `calibration`: the library maps an ideal image point
  // (u, v) to the sensor point s with s + CalDist(s) = (u, v) (its lens
  // inversion), so the ray of sensor point s is (s + CalDist(s), -f).
  static RayTable Wide(const Calibration& calibration);
  // The tele camera: the telescope's focal length, the calibration's pixel
  // size, no distortion, optical axis through the middle of the tele image
  // centre pixel.
  static RayTable Tele(const Calibration& calibration);

  Vec3 Ray(int i, int j) const {
    size_t k = size_t(j) * kWidth + size_t(i);
    return {x_[k], y_[k], z_[k]};
  }
  // Ray at a continuous pixel position, bilinear between pixel middles.
  Vec3 RayAt(double px, double py) const;

  struct Cone {
    Vec3 axis;                // unit
    double half_angle = 0.0;  // radians
  };
  const Cone& TileCone(int tx, int ty) const { return cones_[size_t(ty) * kTilesX + size_t(tx)]; }
  // Largest angle between diagonal neighbours' rays: how far a ray may be
  // from anything its pixel sees.
  double pixel_angle() const { return pixel_angle_; }

 private:
  RayTable();
  void Set(int i, int j, const Vec3& ray);
  void BuildCones();

  std::vector<float> x_;
  std::vector<float> y_;
  std::vector<float> z_;
  std::vector<Cone> cones_;
  double pixel_angle_ = 0.0;
};

}  // namespace sim
