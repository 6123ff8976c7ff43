#pragma once
// CGdiObject: the framework's wrapper of a GDI object handle. A wrapper made
// by Create* owns its handle and deletes it when destroyed. FromHandle gives
// the wrapper of a handle (the owning one when there is one, otherwise a
// permanent wrapper kept with the handle), which is what SelectObject returns
// for the previously selected object.
#include "platform/export.h"
#include "platform/gdi.h"
#include "platform/types.h"

class SURVEYCAM_API CGdiObject {
 public:
  CGdiObject() = default;
  virtual ~CGdiObject();
  CGdiObject(const CGdiObject&) = delete;
  CGdiObject& operator=(const CGdiObject&) = delete;

  HGDIOBJ m_hObject = nullptr;

  BOOL Attach(HGDIOBJ object);
  HGDIOBJ Detach();
  BOOL DeleteObject();

  static CGdiObject* FromHandle(HGDIOBJ object);
};
