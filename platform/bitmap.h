#pragma once
// CBitmap: wrapper of a bitmap handle (DIB sections made by CreateDIBSection).
#include "platform/export.h"
#include "platform/gdi_object.h"

class SURVEYCAM_API CBitmap : public CGdiObject {
 public:
  CBitmap() = default;
};
