#pragma once
// Placing targets around the simulated instrument in survey terms.
#include <cmath>

#include "sim/station.h"
#include "sim/target.h"

namespace sim_test {

// A target `distance` m from the axis point at zenith v_deg and horizontal angle h_deg (X to Y).
inline sim::Target TargetAt(
    const sim::StationState& s, double v_deg, double h_deg, double distance, double half_size) {
  const double rad = 3.141592653589793 / 180.0;
  double horizontal = distance * std::sin(v_deg * rad);
  sim::Target t;
  t.name = L"T";
  t.x = s.x + horizontal * std::cos(h_deg * rad);
  t.y = s.y + horizontal * std::sin(h_deg * rad);
  t.z = s.z + s.instrument_height + distance * std::cos(v_deg * rad);
  t.half_size = half_size;
  return t;
}

}  // namespace sim_test
