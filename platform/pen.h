#pragma once
// CPen: a cosmetic solid pen; widths 0 and 1 both draw one pixel.
#include "platform/export.h"
#include "platform/gdi_object.h"

class SURVEYCAM_API CPen : public CGdiObject {
 public:
  CPen() = default;
  CPen(int style, int width, COLORREF color) { CreatePen(style, width, color); }
  BOOL CreatePen(int style, int width, COLORREF color);
  static CPen* FromHandle(HPEN pen) { return static_cast<CPen*>(CGdiObject::FromHandle(pen)); }
};
