#pragma once
// Renderer: draws one 640 x 480 sensor frame of a scene for a camera pose.
// Each pixel's ray (from the camera's RayTable) is turned into the world and
// met with the ground, the buildings and the targets; what it meets first
// gives the radiance, the sky otherwise. Each tile of pixels only tests the
// objects its cone of rays can meet, and pixels next to a target board are
// sampled 2 x 2 so its edges and corners come out with sub-pixel grey levels. No randomness: equal
// inputs give equal pixels.
#include <cstdint>
#include <vector>

#include "sim/camera_pose.h"
#include "sim/exposure.h"
#include "sim/ray_table.h"
#include "sim/scene.h"
#include "sim/vec3.h"

namespace sim {

class Renderer {
 public:
  // Linear radiance of one colour; 1.0 is white under normal illumination.
  struct Rgb {
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;
  };

  // Prepares the scene for one frame: targets turned to face `facing_point`
  // (the instrument's axis point, pipeline axes, metres).
  Renderer(const Scene& scene, const CameraPose& pose, const Vec3& facing_point);

  // Fills 640 x 480 pixels, rows top to bottom, 5-6-5. With every_pixel all
  // pixels are sampled 2 x 2 (four times the work; for stills and for
  // comparing frames sample by sample).
  void Render(const RayTable& rays,
              const Exposure& exposure,
              uint16_t* pixels,
              bool every_pixel = false) const;

  // Radiance seen along a world direction from the camera centre, over all
  // objects (no culling); exposed for tests and tools.
  Rgb Shade(const Vec3& direction) const;

 private:
  struct Board {
    Vec3 centre;
    Vec3 normal;  // towards the instrument
    Vec3 right;
    Vec3 up;
    double half = 0.0;
  };
  struct Box {
    Vec3 lo;
    Vec3 hi;
    Rgb albedo;
  };
  struct Sphere {              // bounding sphere in the eye frame, for culling
    Vec3 direction;            // unit, from the camera centre
    double cos_radius = -1.0;  // cosine and sine of its angular radius
    double sin_radius = 0.0;
    bool contains_camera = false;
  };
  struct TileList {
    std::vector<int> boards;
    std::vector<int> boxes;
  };

  Rgb ShadeListed(const Vec3& d,
                  const std::vector<int>& boards,
                  const std::vector<int>& boxes) const;
  Rgb Sky(const Vec3& d) const;
  Rgb Ground(const Vec3& point, double distance) const;
  bool HitBoard(const Board& board, const Vec3& d, double& t, Rgb& colour) const;
  bool HitBox(const Box& box, const Vec3& d, double& t, Rgb& colour) const;
  Sphere EyeSphere(const Vec3& centre, double radius) const;
  void CullTile(const RayTable::Cone& cone, TileList& list) const;
  bool NearBoard(const Vec3& ray_in_eye,
                 const std::vector<int>& boards,
                 const std::vector<double>& cos_near) const;
  void RenderTile(const RayTable& rays,
                  const Exposure& exposure,
                  const std::vector<double>& cos_near,
                  bool every_pixel,
                  int tx,
                  int ty,
                  uint16_t* pixels) const;

  CameraPose pose_;
  double ground_z_ = 0.0;
  std::vector<Board> boards_;
  std::vector<Box> boxes_;
  std::vector<Sphere> board_spheres_;
  std::vector<Sphere> box_spheres_;
};

}  // namespace sim
