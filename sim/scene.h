#pragma once
// Scene: what the simulated instrument looks at. A flat ground at one height,
// a sky, survey targets and a few buildings. Coordinates are survey axes in
// metres (as point files hold them). Illumination scales all radiance: the
// dark and bright presets give auto exposure work to do from either side.
// A plain value; sim::Instrument guards it against concurrent use.
#include <string>
#include <vector>

#include "geometry/xyz.h"
#include "platform/kvo_array.h"
#include "sim/building.h"
#include "sim/target.h"

namespace sim {

enum class Lighting { kNormal, kDark, kBright };

class Scene {
 public:
  void SetLighting(Lighting lighting);
  double illumination() const { return illumination_; }
  void set_illumination(double value) { illumination_ = value; }

  double ground_z() const { return ground_z_; }
  void set_ground_z(double z) { ground_z_ = z; }

  void AddTarget(const Target& target) { targets_.push_back(target); }
  // Adds one target per point (Name, X, Y, Z in survey axes, metres).
  void AddTargets(const CKvoArray<CXYZ, CXYZ&>& points, double half_size);
  // Reads "name,x,y,z[,...]" lines of a point file at a host path; blank
  // lines and lines without a name or with unreadable numbers are skipped.
  // false when the file cannot be opened.
  bool LoadTargets(const std::string& host_path, double half_size);
  void ClearTargets() { targets_.clear(); }
  const std::vector<Target>& targets() const { return targets_; }

  void AddBuilding(const Building& building) { buildings_.push_back(building); }
  void ClearBuildings() { buildings_.clear(); }
  const std::vector<Building>& buildings() const { return buildings_; }

 private:
  double illumination_ = 1.0;
  double ground_z_ = 0.0;
  std::vector<Target> targets_;
  std::vector<Building> buildings_;
};

}  // namespace sim
