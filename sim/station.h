#pragma once
// Station: where the simulated instrument stands and where its telescope
// points. Coordinates are survey axes in metres, as point files hold them
// (X first survey axis, Y second, Z height); angles are degrees: V the zenith
// angle (90 level), H the horizontal angle. Every setter and State() locks,
// so a host thread may turn the instrument while the capture driver renders
// from another.
#include <mutex>

#include "sim/vec3.h"

namespace sim {

struct StationState {
  double x = 0.0;  // survey axes, metres
  double y = 0.0;
  double z = 0.0;
  double instrument_height = 1.5;  // telescope axis above the station point, metres
  double v_deg = 90.0;
  double h_deg = 0.0;

  // The telescope's axis point in pipeline axes (survey X and Y swapped),
  // metres: what a host hands to the live view's SetMp.
  Vec3 AxisPoint() const { return {y, x, z + instrument_height}; }
};

class Station {
 public:
  void SetPosition(double x, double y, double z);
  void SetInstrumentHeight(double height);
  void SetAngles(double v_deg, double h_deg);
  StationState State() const;

 private:
  mutable std::mutex mutex_;
  StationState state_;
};

}  // namespace sim
