#pragma once
// CPalette: a logical palette. Kept and selectable; on the true-colour
// display it changes no pixel.
#include "platform/export.h"
#include "platform/gdi_object.h"

class SURVEYCAM_API CPalette : public CGdiObject {
 public:
  CPalette() = default;
  BOOL CreatePalette(const LOGPALETTE* palette);
  UINT GetEntryCount() const { return ::GetPaletteEntries(m_hObject, 0, 0, nullptr); }
  UINT GetPaletteEntries(UINT start, UINT count, PALETTEENTRY* entries) const {
    return ::GetPaletteEntries(m_hObject, start, count, entries);
  }
  static CPalette* FromHandle(HPALETTE palette) {
    return static_cast<CPalette*>(CGdiObject::FromHandle(palette));
  }
};
