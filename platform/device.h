#pragma once
// Stream devices and events.
//
// A stream driver registers under a device name ("CAP0:"); CreateFileW on that
// name asks the driver's factory for an open instance and returns a kernel
// handle for it. Any other name fails as Win32 does for a missing device:
// INVALID_HANDLE_VALUE with ERROR_FILE_NOT_FOUND. DeviceIoControl hands the
// instance exactly the buffers, sizes and bytes-returned slot the caller
// passed; the driver alone decides what they mean. CloseHandle (handles.h)
// closes the instance.
//
// Events are real: WaitForSingleObject blocks on a condition variable until
// another thread signals. A driver may attach a wait hook to an event it owns:
// the hook runs on the waiting thread whenever a wait finds the event not
// signalled, before blocking, so a simulated device can deliver "a frame for
// every wait" on a fixed clock instead of making the waiter sleep.
#include <functional>
#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/handles.h"
#include "platform/types.h"

namespace platform::devices {

// One open instance of a stream driver.
class StreamDevice {
 public:
  virtual ~StreamDevice() = default;
  // Handles one control request. Buffers and sizes are the caller's, unchanged.
  virtual BOOL IoControl(DWORD code,
                         void* inBuffer,
                         DWORD inSize,
                         void* outBuffer,
                         DWORD outSize,
                         DWORD* bytesReturned) = 0;
  // Called once when the handle is closed; false fails CloseHandle.
  virtual bool Close() { return true; }
};

// What a driver's factory answers to an open request. A null device fails the
// open: CreateFileW returns INVALID_HANDLE_VALUE, or 0 when nullHandle is set
// (lets tests reproduce a driver whose open returns a zero handle).
struct OpenResult {
  std::shared_ptr<StreamDevice> device;
  DWORD error = ERROR_GEN_FAILURE;
  bool nullHandle = false;
};
using StreamDriverFactory = std::function<OpenResult(DWORD access, DWORD shareMode)>;

// Names compare case-insensitively ("CAP0:" and "cap0:" are the same device).
SURVEYCAM_API void RegisterStreamDriver(const std::wstring& name, StreamDriverFactory factory);
SURVEYCAM_API void UnregisterStreamDriver(const std::wstring& name);

// Hook run by WaitForSingleObject on an unsignalled event (see file comment).
// An empty function removes it. Returns false when the handle is no event.
SURVEYCAM_API bool SetEventWaitHook(HANDLE event, std::function<void()> hook);

}  // namespace platform::devices

constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD FILE_SHARE_READ = 0x1;
constexpr DWORD FILE_SHARE_WRITE = 0x2;

SURVEYCAM_API HANDLE CreateFileW(const wchar_t* name,
                                 DWORD access,
                                 DWORD shareMode,
                                 void* security,
                                 DWORD creation,
                                 DWORD flags,
                                 HANDLE templateFile);
SURVEYCAM_API BOOL DeviceIoControl(HANDLE device,
                                   DWORD code,
                                   void* inBuffer,
                                   DWORD inSize,
                                   void* outBuffer,
                                   DWORD outSize,
                                   DWORD* bytesReturned,
                                   void* overlapped);

// Events: auto-reset unless manualReset; names are ignored (no sharing by name).
SURVEYCAM_API HANDLE CreateEventW(void* security,
                                  BOOL manualReset,
                                  BOOL initialState,
                                  const wchar_t* name);
SURVEYCAM_API BOOL SetEvent(HANDLE event);
// Waits in real milliseconds (INFINITE: no time-out); WAIT_FAILED for a handle
// that is no event.
SURVEYCAM_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
