#pragma once
#include "platform/types.h"

// CPoint: a POINT with the framework's helpers.
class CPoint : public POINT {
 public:
  CPoint() : POINT{0, 0} {}
  CPoint(int x0, int y0) : POINT{x0, y0} {}
  CPoint(POINT p) : POINT(p) {}
  void Offset(int dx, int dy) {
    x += dx;
    y += dy;
  }
  bool operator==(const POINT& o) const { return x == o.x && y == o.y; }
  bool operator!=(const POINT& o) const { return !(*this == o); }
  CPoint operator+(const POINT& o) const { return CPoint(x + o.x, y + o.y); }
  CPoint operator-(const POINT& o) const { return CPoint(x - o.x, y - o.y); }
};
