#include "sim/renderer.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace sim {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.141592653589793;

// Pipeline axes: the sun stands in the south-east, about 55 degrees high.
const Vec3 kSun = Vec3(0.45, -0.35, 0.82).Normalized();

constexpr Renderer::Rgb kSkyHorizon{0.72f, 0.80f, 0.92f};
constexpr Renderer::Rgb kSkyZenith{0.28f, 0.42f, 0.80f};
constexpr Renderer::Rgb kGrass{0.26f, 0.33f, 0.17f};
constexpr Renderer::Rgb kWindow{0.10f, 0.12f, 0.16f};
constexpr float kBoardWhite = 0.88f;
constexpr float kBoardBlack = 0.03f;
constexpr float kBoardBack = 0.35f;

Renderer::Rgb Mix(const Renderer::Rgb& a, const Renderer::Rgb& b, float t) {
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}
Renderer::Rgb Scaled(const Renderer::Rgb& a, float s) { return {a.r * s, a.g * s, a.b * s}; }
Renderer::Rgb Grey(float v) { return {v, v, v}; }

// A fixed pseudo-random value in [0, 1) for an integer cell (grass texture).
float CellNoise(int64_t cx, int64_t cy) {
  uint64_t h = uint64_t(cx) * 0x9E3779B97F4A7C15ull ^ uint64_t(cy) * 0xC2B2AE3D27D4EB4Full;
  h ^= h >> 29;
  h *= 0xBF58476D1CE4E5B9ull;
  h ^= h >> 32;
  return float(h & 0xFFFFFF) / float(0x1000000);
}

// Position within a repeating band, in [0, period).
double Wrap(double value, double period) {
  double r = std::fmod(value, period);
  return r < 0.0 ? r + period : r;
}

}  // namespace

Renderer::Renderer(const Scene& scene, const CameraPose& pose, const Vec3& facing_point)
    : pose_(pose), ground_z_(scene.ground_z()) {
  const Vec3 up(0.0, 0.0, 1.0);
  for (const Target& target : scene.targets()) {
    Board board;
    board.centre = {target.y, target.x, target.z};
    board.half = target.half_size;
    board.normal = (facing_point - board.centre).Normalized();
    board.right = up.Cross(board.normal).Normalized();
    if (board.right.Length() == 0.0) board.right = {1.0, 0.0, 0.0};  // seen from straight above
    board.up = board.normal.Cross(board.right);
    boards_.push_back(board);
    board_spheres_.push_back(EyeSphere(board.centre, board.half * std::sqrt(2.0)));
  }
  for (const Building& b : scene.buildings()) {
    Box box{{b.y_min, b.x_min, b.z_min}, {b.y_max, b.x_max, b.z_max}, {b.red, b.green, b.blue}};
    boxes_.push_back(box);
    box_spheres_.push_back(EyeSphere((box.lo + box.hi) * 0.5, (box.hi - box.lo).Length() * 0.5));
  }
}

Renderer::Sphere Renderer::EyeSphere(const Vec3& centre, double radius) const {
  Sphere sphere;
  Vec3 in_eye = pose_.ToEye(centre - pose_.centre);
  double distance = in_eye.Length();
  if (distance <= radius) {
    sphere.contains_camera = true;
    return sphere;
  }
  sphere.direction = in_eye * (1.0 / distance);
  double angle = std::asin(radius / distance);
  sphere.cos_radius = std::cos(angle);
  sphere.sin_radius = std::sin(angle);
  return sphere;
}

void Renderer::Render(const RayTable& rays,
                      const Exposure& exposure,
                      uint16_t* pixels,
                      bool every_pixel) const {
  // A pixel needs several samples when its ray passes within a pixel of a
  // board's bounding sphere.
  std::vector<double> cos_near(board_spheres_.size());
  for (size_t k = 0; k < cos_near.size(); ++k) {
    const Sphere& s = board_spheres_[k];
    double radius = std::acos(std::clamp(s.cos_radius, -1.0, 1.0));
    cos_near[k] = s.contains_camera ? -2.0 : std::cos(std::min(kPi, radius + rays.pixel_angle()));
  }
  for (int ty = 0; ty < RayTable::kTilesY; ++ty) {
    for (int tx = 0; tx < RayTable::kTilesX; ++tx)
      RenderTile(rays, exposure, cos_near, every_pixel, tx, ty, pixels);
  }
}

// An object may be seen in a tile when the angle between the tile's axis and
// the object's direction is at most the sum of both angular radii.
void Renderer::CullTile(const RayTable::Cone& cone, TileList& list) const {
  double cos_half = std::cos(cone.half_angle);
  double sin_half = std::sin(cone.half_angle);
  auto visible = [&](const Sphere& s) {
    if (s.contains_camera) return true;
    if (cone.half_angle + std::acos(std::clamp(s.cos_radius, -1.0, 1.0)) >= kPi) return true;
    double cos_sum = cos_half * s.cos_radius - sin_half * s.sin_radius;
    return cone.axis.Dot(s.direction) >= cos_sum;
  };
  for (size_t k = 0; k < board_spheres_.size(); ++k) {
    if (visible(board_spheres_[k])) list.boards.push_back(int(k));
  }
  for (size_t k = 0; k < box_spheres_.size(); ++k) {
    if (visible(box_spheres_[k])) list.boxes.push_back(int(k));
  }
}

bool Renderer::NearBoard(const Vec3& ray_in_eye,
                         const std::vector<int>& boards,
                         const std::vector<double>& cos_near) const {
  // The stored rays are floats: renormalise, or their length error would
  // swamp the tiny angles of the tele camera.
  Vec3 unit = ray_in_eye.Normalized();
  for (int k : boards) {
    if (unit.Dot(board_spheres_[size_t(k)].direction) >= cos_near[size_t(k)]) return true;
  }
  return false;
}

void Renderer::RenderTile(const RayTable& rays,
                          const Exposure& exposure,
                          const std::vector<double>& cos_near,
                          bool every_pixel,
                          int tx,
                          int ty,
                          uint16_t* pixels) const {
  TileList list;
  CullTile(rays.TileCone(tx, ty), list);
  for (int j = ty * RayTable::kTile; j < (ty + 1) * RayTable::kTile; ++j) {
    uint16_t* row = pixels + size_t(j) * RayTable::kWidth;
    for (int i = tx * RayTable::kTile; i < (tx + 1) * RayTable::kTile; ++i) {
      Vec3 ray = rays.Ray(i, j);
      Rgb colour;
      if (!every_pixel && (list.boards.empty() || !NearBoard(ray, list.boards, cos_near))) {
        colour = ShadeListed(pose_.ToWorld(ray), list.boards, list.boxes);
      } else {
        for (double sy : {0.25, 0.75}) {
          for (double sx : {0.25, 0.75}) {
            Vec3 d = pose_.ToWorld(rays.RayAt(i + sx, j + sy));
            Rgb sample = ShadeListed(d, list.boards, list.boxes);
            colour = {colour.r + sample.r, colour.g + sample.g, colour.b + sample.b};
          }
        }
        colour = Scaled(colour, 0.25f);
      }
      row[i] = exposure.Pack(colour.r, colour.g, colour.b);
    }
  }
}

Renderer::Rgb Renderer::Shade(const Vec3& direction) const {
  std::vector<int> boards(boards_.size());
  std::vector<int> boxes(boxes_.size());
  for (size_t k = 0; k < boards.size(); ++k) boards[k] = int(k);
  for (size_t k = 0; k < boxes.size(); ++k) boxes[k] = int(k);
  return ShadeListed(direction.Normalized(), boards, boxes);
}

Renderer::Rgb Renderer::ShadeListed(const Vec3& d,
                                    const std::vector<int>& boards,
                                    const std::vector<int>& boxes) const {
  double nearest = kInfinity;
  Rgb colour = Sky(d);
  if (d.z < 0.0 && pose_.centre.z > ground_z_) {
    nearest = (ground_z_ - pose_.centre.z) / d.z;
    colour = Ground(pose_.centre + d * nearest, nearest);
  }
  double t = 0.0;
  Rgb hit;
  for (int k : boxes) {
    if (HitBox(boxes_[size_t(k)], d, t, hit) && t < nearest) {
      nearest = t;
      colour = hit;
    }
  }
  for (int k : boards) {
    if (HitBoard(boards_[size_t(k)], d, t, hit) && t < nearest) {
      nearest = t;
      colour = hit;
    }
  }
  return colour;
}

Renderer::Rgb Renderer::Sky(const Vec3& d) const {
  float elevation = float(std::clamp(d.z, 0.0, 1.0));
  return Mix(kSkyHorizon, kSkyZenith, std::sqrt(elevation));
}

// Grass in 2 m tiles of slightly different shade with a finer mottle; the
// pattern fades with distance (where it would only alias) and the ground
// hazes towards the horizon colour.
Renderer::Rgb Renderer::Ground(const Vec3& p, double distance) const {
  int64_t tile_x = int64_t(std::floor(p.x * 0.5));
  int64_t tile_y = int64_t(std::floor(p.y * 0.5));
  float checker = ((tile_x + tile_y) & 1) ? 0.10f : -0.10f;
  float mottle = CellNoise(int64_t(std::floor(p.x * 4.0)), int64_t(std::floor(p.y * 4.0))) - 0.5f;
  float fade = float(std::max(0.0, 1.0 - distance / 120.0));
  float shade = 1.0f + fade * (checker + 0.16f * mottle);
  float haze = float(distance / (distance + 900.0));
  return Mix(Scaled(kGrass, shade), kSkyHorizon, haze);
}

bool Renderer::HitBoard(const Board& board, const Vec3& d, double& t, Rgb& colour) const {
  double facing = d.Dot(board.normal);
  if (facing == 0.0) return false;
  t = (board.centre - pose_.centre).Dot(board.normal) / facing;
  if (!(t > 0.0)) return false;
  Vec3 offset = pose_.centre + d * t - board.centre;
  double s = offset.Dot(board.right);
  double q = offset.Dot(board.up);
  double a = board.half;
  double m = std::max(std::abs(s), std::abs(q));
  if (m > a) return false;
  if (facing > 0.0) {
    colour = Grey(kBoardBack);
  } else if (m > 0.9 * a) {
    colour = Grey(kBoardBlack);  // frame
  } else if (m > 0.8 * a) {
    colour = Grey(kBoardWhite);  // margin
  } else {
    colour = Grey((s > 0.0) == (q > 0.0) ? kBoardBlack : kBoardWhite);  // quadrants
  }
  return true;
}

bool Renderer::HitBox(const Box& box, const Vec3& d, double& t, Rgb& colour) const {
  const double origin[3] = {pose_.centre.x, pose_.centre.y, pose_.centre.z};
  const double dir[3] = {d.x, d.y, d.z};
  const double lo[3] = {box.lo.x, box.lo.y, box.lo.z};
  const double hi[3] = {box.hi.x, box.hi.y, box.hi.z};
  double t_near = -kInfinity;
  double t_far = kInfinity;
  int face = -1;
  double face_sign = 0.0;
  for (int a = 0; a < 3; ++a) {
    if (dir[a] == 0.0) {
      if (origin[a] < lo[a] || origin[a] > hi[a]) return false;
      continue;
    }
    double t0 = (lo[a] - origin[a]) / dir[a];
    double t1 = (hi[a] - origin[a]) / dir[a];
    if (t0 > t1) std::swap(t0, t1);
    if (t0 > t_near) {
      t_near = t0;
      face = a;
      face_sign = dir[a] > 0.0 ? -1.0 : 1.0;
    }
    t_far = std::min(t_far, t1);
  }
  if (face < 0 || t_near > t_far || !(t_near > 0.0)) return false;
  t = t_near;
  Vec3 normal(
      face == 0 ? face_sign : 0.0, face == 1 ? face_sign : 0.0, face == 2 ? face_sign : 0.0);
  float light = 0.35f + 0.65f * float(std::max(0.0, normal.Dot(kSun)));
  Rgb albedo = box.albedo;
  if (face != 2) {  // walls: rows of windows, 3 m apart
    Vec3 p = pose_.centre + d * t;
    double along = face == 0 ? p.y : p.x;
    double height = p.z - box.lo.z;
    double u = Wrap(along, 3.0);
    double v = Wrap(height, 3.0);
    if (u > 0.8 && u < 2.2 && v > 0.9 && v < 2.1) albedo = kWindow;
  }
  colour = Scaled(albedo, light);
  return true;
}

}  // namespace sim
