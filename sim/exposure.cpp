#include "sim/exposure.h"

#include <algorithm>
#include <cmath>

namespace sim {

const Exposure::Lut Exposure::kLut5 = Exposure::BuildLut(31);
const Exposure::Lut Exposure::kLut6 = Exposure::BuildLut(63);

double Exposure::Gain(int brightness) {
  int clamped = std::clamp(brightness, kMinBrightness, kMaxBrightness);
  return std::exp2(double(clamped) / 32.0);
}

Exposure::Exposure(double scale) : lut_scale_(float(scale * (kLutSize - 1))) {}

// Entry i is the code of a signal of i / (kLutSize - 1) of full scale, sampled
// at the middle of its bin so that the table does not darken on average.
Exposure::Lut Exposure::BuildLut(int max_code) {
  Lut lut{};
  for (int i = 0; i < kLutSize; ++i) {
    double signal = std::min(1.0, (i + 0.5) / double(kLutSize - 1));
    lut[size_t(i)] = uint8_t(std::lround(max_code * std::pow(signal, 1.0 / 2.2)));
  }
  return lut;
}

}  // namespace sim
