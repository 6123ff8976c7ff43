#pragma once
#include "platform/types.h"

// CSize: a SIZE with the framework's helpers.
class CSize : public SIZE {
 public:
  CSize() : SIZE{0, 0} {}
  CSize(int x, int y) : SIZE{x, y} {}
  CSize(SIZE s) : SIZE(s) {}
  bool operator==(const SIZE& o) const { return cx == o.cx && cy == o.cy; }
  bool operator!=(const SIZE& o) const { return !(*this == o); }
};
