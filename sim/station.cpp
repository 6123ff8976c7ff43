#include "sim/station.h"

namespace sim {

void Station::SetPosition(double x, double y, double z) {
  std::lock_guard lock(mutex_);
  state_.x = x;
  state_.y = y;
  state_.z = z;
}

void Station::SetInstrumentHeight(double height) {
  std::lock_guard lock(mutex_);
  state_.instrument_height = height;
}

void Station::SetAngles(double v_deg, double h_deg) {
  std::lock_guard lock(mutex_);
  state_.v_deg = v_deg;
  state_.h_deg = h_deg;
}

StationState Station::State() const {
  std::lock_guard lock(mutex_);
  return state_;
}

}  // namespace sim
