#pragma once
// Kernel handles: devices, events and find handles live in one table so that
// CloseHandle works on all of them and tests can count what is still open.
#include <memory>

#include "platform/export.h"
#include "platform/types.h"

namespace platform {

class KernelObject {
 public:
  virtual ~KernelObject() = default;
  // Called by CloseHandle before the handle is forgotten; false fails it.
  virtual bool Close() { return true; }
};

SURVEYCAM_API HANDLE NewHandle(std::shared_ptr<KernelObject> object);
SURVEYCAM_API std::shared_ptr<KernelObject> LookupHandle(HANDLE handle);
template <class T>
std::shared_ptr<T> LookupHandleAs(HANDLE handle) {
  return std::dynamic_pointer_cast<T>(LookupHandle(handle));
}
SURVEYCAM_API long LiveHandles();

// Thread-local last error of the Win32 calls.
SURVEYCAM_API void SetLastErrorCode(DWORD code);

}  // namespace platform

SURVEYCAM_API BOOL CloseHandle(HANDLE handle);
SURVEYCAM_API DWORD GetLastError();
