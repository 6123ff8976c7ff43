#pragma once
// Target: a survey target of the simulated site, a square board that faces
// the instrument with a black-and-white quadrant pattern inside a black frame.
// Its centre (where the four quadrants meet) is exactly at the target's
// coordinates, so a projected survey point belongs at the picture's X-junction.
#include <string>

namespace sim {

struct Target {
  std::wstring name;
  double x = 0.0;  // survey axes, metres
  double y = 0.0;
  double z = 0.0;
  double half_size = 0.25;  // half the board's side, metres
};

}  // namespace sim
