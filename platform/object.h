#pragma once
// CObject with the framework's run-time class information: every class that
// uses DECLARE_DYNAMIC/IMPLEMENT_DYNAMIC (or the DYNCREATE/SERIAL forms)
// answers GetRuntimeClass with its name and base, and IsKindOf walks the
// chain. Dynamically creatable classes can be made from their class record.
#include "platform/export.h"
#include "platform/types.h"

class CObject;
class CArchive;

struct SURVEYCAM_API CRuntimeClass {
  const char* m_lpszClassName;
  int m_nObjectSize;
  UINT m_wSchema;
  CObject* (*m_pfnCreateObject)();
  const CRuntimeClass* m_pBaseClass;

  CObject* CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }
  bool IsDerivedFrom(const CRuntimeClass* base) const;
};

class SURVEYCAM_API CObject {
 public:
  virtual const CRuntimeClass* GetRuntimeClass() const;
  virtual ~CObject() = default;
  virtual void Serialize(CArchive& ar);
  bool IsKindOf(const CRuntimeClass* cls) const { return GetRuntimeClass()->IsDerivedFrom(cls); }
  bool IsSerializable() const { return GetRuntimeClass()->m_wSchema != 0xFFFF; }

  static const CRuntimeClass classCObject;

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};

#define RUNTIME_CLASS(name) (&name::class##name)

#define DECLARE_DYNAMIC(name)             \
 public:                                  \
  static const CRuntimeClass class##name; \
  const CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(name) \
  DECLARE_DYNAMIC(name)         \
  static CObject* CreateObject();

#define DECLARE_SERIAL(name) DECLARE_DYNCREATE(name)

#define SURVEYCAM_IMPLEMENT_RUNTIMECLASS(name, base, schema, create)  \
  const CRuntimeClass name::class##name = {                           \
      #name, int(sizeof(name)), schema, create, RUNTIME_CLASS(base)}; \
  const CRuntimeClass* name::GetRuntimeClass() const { return RUNTIME_CLASS(name); }

#define IMPLEMENT_DYNAMIC(name, base) SURVEYCAM_IMPLEMENT_RUNTIMECLASS(name, base, 0xFFFF, nullptr)

// NOLINTBEGIN(bugprone-macro-parentheses): `name` is a class name, which
// cannot be parenthesised after `new`.
#define IMPLEMENT_SERIAL(name, base, schema)         \
  CObject* name::CreateObject() { return new name; } \
  SURVEYCAM_IMPLEMENT_RUNTIMECLASS(name, base, schema, name::CreateObject)
// NOLINTEND(bugprone-macro-parentheses)
