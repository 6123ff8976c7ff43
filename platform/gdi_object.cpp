// CGdiObject and the pen, brush and palette wrappers.
#include "platform/gdi_object.h"

#include <memory>

#include "platform/bitmap.h"
#include "platform/brush.h"
#include "platform/gdi_internal.h"
#include "platform/palette.h"
#include "platform/pen.h"

using platform::gdi::Kind;

CGdiObject::~CGdiObject() {
  if (m_hObject && m_hObject->owner == this) DeleteObject();
}

BOOL CGdiObject::Attach(HGDIOBJ object) {
  if (m_hObject || !platform::gdi::IsLiveObject(object)) return FALSE;
  m_hObject = object;
  if (!object->stock && !object->owner) object->owner = this;
  return TRUE;
}

HGDIOBJ CGdiObject::Detach() {
  HGDIOBJ object = m_hObject;
  if (object && object->owner == this) object->owner = nullptr;
  m_hObject = nullptr;
  return object;
}

BOOL CGdiObject::DeleteObject() {
  if (!m_hObject) return FALSE;
  HGDIOBJ object = Detach();
  return ::DeleteObject(object);
}

CGdiObject* CGdiObject::FromHandle(HGDIOBJ object) {
  if (!platform::gdi::IsLiveObject(object)) return nullptr;
  if (object->owner) return object->owner;
  if (!object->permanent) {
    std::unique_ptr<CGdiObject> wrapper;
    switch (object->kind) {
      case Kind::Pen:
        wrapper = std::make_unique<CPen>();
        break;
      case Kind::Brush:
        wrapper = std::make_unique<CBrush>();
        break;
      case Kind::Palette:
        wrapper = std::make_unique<CPalette>();
        break;
      case Kind::Bitmap:
        wrapper = std::make_unique<CBitmap>();
        break;
    }
    wrapper->m_hObject = object;  // not the owner: it never deletes the handle
    object->permanent = std::move(wrapper);
  }
  return object->permanent.get();
}

BOOL CPen::CreatePen(int style, int width, COLORREF color) {
  return Attach(::CreatePen(style, width, color));
}
