#include "platform/object.h"

#include <cstring>

const CRuntimeClass CObject::classCObject = {
    "CObject", int(sizeof(CObject)), 0xFFFF, nullptr, nullptr};

const CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }

void CObject::Serialize(CArchive&) {}

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
  for (const CRuntimeClass* c = this; c; c = c->m_pBaseClass)
    if (c == base || (base && std::strcmp(c->m_lpszClassName, base->m_lpszClassName) == 0))
      return true;
  return false;
}
