#pragma once
// Survey points spread over the wide camera's field, 10 to 200 m ahead of a
// station at the origin with its axis 1.5 m up, looking north (survey X).
#include <random>

#include "geometry/xyz.h"
#include "platform/kvo_array.h"

namespace bench {

inline void SpreadPoints(CKvoArray<CXYZ, CXYZ&>& points, int count) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> east(-0.2, 0.2), up(-0.15, 0.15), range(10, 200);
  for (int i = 0; i < count; ++i) {
    const double d = range(rng);
    CXYZ p(L"P", d, east(rng) * d, 1.5 + up(rng) * d);  // survey axes: X north, Y east
    points.Add(p);
  }
}

}  // namespace bench
