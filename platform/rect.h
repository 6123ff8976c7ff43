#pragma once
#include <algorithm>

#include "platform/point.h"
#include "platform/size.h"
#include "platform/types.h"

// CRect: a RECT with the framework's helpers. Right and bottom are exclusive
// for Width/Height/PtInRect, as in Win32.
class CRect : public RECT {
 public:
  CRect() : RECT{0, 0, 0, 0} {}
  CRect(int l, int t, int r, int b) : RECT{l, t, r, b} {}
  CRect(const RECT& r) : RECT(r) {}
  CRect(POINT topLeft, SIZE size)
      : RECT{topLeft.x, topLeft.y, topLeft.x + size.cx, topLeft.y + size.cy} {}

  int Width() const { return right - left; }
  int Height() const { return bottom - top; }
  bool IsRectEmpty() const { return right <= left || bottom <= top; }
  bool PtInRect(POINT p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
  void SetRect(int l, int t, int r, int b) {
    left = l;
    top = t;
    right = r;
    bottom = b;
  }
  void SetRectEmpty() { SetRect(0, 0, 0, 0); }
  // Intersection; an empty result is set to all zeros and returns false.
  bool IntersectRect(const RECT& a, const RECT& b) {
    SetRect(std::max(a.left, b.left),
            std::max(a.top, b.top),
            std::min(a.right, b.right),
            std::min(a.bottom, b.bottom));
    if (IsRectEmpty()) {
      SetRectEmpty();
      return false;
    }
    return true;
  }
  bool operator==(const RECT& o) const {
    return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
  }
};
