#pragma once
// Building: an axis-aligned box on the site that gives the picture texture
// (walls with rows of windows, a flat roof). Corners in survey axes, metres.
namespace sim {

struct Building {
  double x_min = 0.0;  // survey first axis
  double x_max = 0.0;
  double y_min = 0.0;  // survey second axis
  double y_max = 0.0;
  double z_min = 0.0;
  double z_max = 0.0;
  float red = 0.62f;  // wall albedo
  float green = 0.56f;
  float blue = 0.50f;
};

}  // namespace sim
