#pragma once
// Exposure: how the simulated sensor turns scene radiance into 5-6-5 pixels.
// The brightness value of the capture start record acts as a gain of
// 2^(brightness / 32) (so -112..143 spans about 1/11 to 22 times), followed
// by clipping and a display gamma of 1/2.2. Radiance is linear, 1.0 being a
// white surface under the normal illumination at the neutral setting 0.
#include <array>
#include <cstdint>

namespace sim {

class Exposure {
 public:
  static constexpr int kMinBrightness = -112;
  static constexpr int kMaxBrightness = 143;

  // Gain of a brightness value, clamped to the driver's range first.
  static double Gain(int brightness);

  // Sets the factor from scene radiance to sensor signal (illumination x gain).
  explicit Exposure(double scale = 1.0);

  // One pixel from linear radiance (red, green, blue), in the sensor's
  // component order (blue in the high bits, see devices/frame_source.h).
  uint16_t Pack(float red, float green, float blue) const {
    return uint16_t((kLut5[Index(blue)] << 11) | (kLut6[Index(green)] << 5) | kLut5[Index(red)]);
  }

 private:
  static constexpr int kLutSize = 16384;
  using Lut = std::array<uint8_t, kLutSize>;
  static const Lut kLut5;
  static const Lut kLut6;
  static Lut BuildLut(int max_code);

  int Index(float radiance) const {
    float signal = radiance * lut_scale_;
    if (!(signal > 0.0f)) return 0;  // also NaN
    return signal >= float(kLutSize - 1) ? kLutSize - 1 : int(signal);
  }

  float lut_scale_;
};

}  // namespace sim
