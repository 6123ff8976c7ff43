#pragma once
#include "platform/types.h"

// CPoint: a POINT with the framework's helpers.
class CPoint : public POINT {
 public:
  CPoint() : POINT{0, 0} {}
  CPoint(int x0, int y0) : POINT{x0, y0} {}
  CPoint(POINT p) : POINT(p) {}
  bool operator==(const POINT& o) const { return x == o.x && y == o.y; }
};
