#pragma once
// CBrush: a solid brush (the stock NULL_BRUSH / HOLLOW_BRUSH paints nothing).
#include "platform/export.h"
#include "platform/gdi_object.h"

class SURVEYCAM_API CBrush : public CGdiObject {
 public:
  CBrush() = default;
  static CBrush* FromHandle(HBRUSH brush) {
    return static_cast<CBrush*>(CGdiObject::FromHandle(brush));
  }
};
