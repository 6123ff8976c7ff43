#pragma once
// CPalette: a logical palette. Kept and selectable; on the true-colour
// display it changes no pixel.
#include "platform/export.h"
#include "platform/gdi_object.h"

class SURVEYCAM_API CPalette : public CGdiObject {
 public:
  CPalette() = default;
};
