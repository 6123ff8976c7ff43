#include "platform/device.h"

#include <chrono>
#include <condition_variable>
#include <cwctype>
#include <map>
#include <mutex>

namespace platform::devices {
namespace {

std::wstring Fold(const std::wstring& name) {
  std::wstring folded = name;
  for (wchar_t& c : folded) c = wchar_t(std::towupper(wint_t(c)));
  return folded;
}

std::mutex g_drivers_mutex;
std::map<std::wstring, StreamDriverFactory>& Drivers() {
  static std::map<std::wstring, StreamDriverFactory> drivers;
  return drivers;
}

StreamDriverFactory FindDriver(const wchar_t* name) {
  if (name == nullptr) return nullptr;
  std::lock_guard lock(g_drivers_mutex);
  auto it = Drivers().find(Fold(name));
  return it == Drivers().end() ? nullptr : it->second;
}

// The kernel object behind a device handle.
class DeviceObject : public KernelObject {
 public:
  explicit DeviceObject(std::shared_ptr<StreamDevice> device) : device_(std::move(device)) {}
  bool Close() override { return device_->Close(); }
  StreamDevice& device() { return *device_; }

 private:
  std::shared_ptr<StreamDevice> device_;
};

}  // namespace

// The kernel object behind an event handle.
class EventObject : public KernelObject {
 public:
  EventObject(bool manual, bool initial) : manual_(manual), signalled_(initial) {}

  void Set() {
    {
      std::lock_guard lock(mutex_);
      signalled_ = true;
    }
    if (manual_)
      cv_.notify_all();
    else
      cv_.notify_one();
  }
  void SetHook(std::function<void()> hook) {
    std::lock_guard lock(mutex_);
    hook_ = std::move(hook);
  }

  DWORD Wait(DWORD milliseconds) {
    RunHookIfUnsignalled();
    std::unique_lock lock(mutex_);
    auto ready = [this] { return signalled_; };
    if (milliseconds == INFINITE) {
      cv_.wait(lock, ready);
    } else if (!cv_.wait_for(lock, std::chrono::milliseconds(milliseconds), ready)) {
      return WAIT_TIMEOUT;
    }
    if (!manual_) signalled_ = false;
    return WAIT_OBJECT_0;
  }

 private:
  // The hook runs without the event's lock: it usually signals this event.
  void RunHookIfUnsignalled() {
    std::function<void()> hook;
    {
      std::lock_guard lock(mutex_);
      if (signalled_ || !hook_) return;
      hook = hook_;
    }
    hook();
  }

  std::mutex mutex_;
  std::condition_variable cv_;
  bool manual_;
  bool signalled_;
  std::function<void()> hook_;
};

void RegisterStreamDriver(const std::wstring& name, StreamDriverFactory factory) {
  std::lock_guard lock(g_drivers_mutex);
  Drivers()[Fold(name)] = std::move(factory);
}

void UnregisterStreamDriver(const std::wstring& name) {
  std::lock_guard lock(g_drivers_mutex);
  Drivers().erase(Fold(name));
}

bool SetEventWaitHook(HANDLE event, std::function<void()> hook) {
  auto object = LookupHandleAs<EventObject>(event);
  if (!object) return false;
  object->SetHook(std::move(hook));
  return true;
}

}  // namespace platform::devices

using platform::devices::DeviceObject;
using platform::devices::EventObject;

HANDLE CreateFileW(const wchar_t* name,
                   DWORD access,
                   DWORD shareMode,
                   void* /*security*/,
                   DWORD /*creation*/,
                   DWORD /*flags*/,
                   HANDLE /*templateFile*/) {
  auto factory = platform::devices::FindDriver(name);
  if (!factory) {
    platform::SetLastErrorCode(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  platform::devices::OpenResult opened = factory(access, shareMode);
  if (!opened.device) {
    platform::SetLastErrorCode(opened.error);
    return opened.nullHandle ? nullptr : INVALID_HANDLE_VALUE;
  }
  return platform::NewHandle(std::make_shared<DeviceObject>(std::move(opened.device)));
}

BOOL DeviceIoControl(HANDLE device,
                     DWORD code,
                     void* inBuffer,
                     DWORD inSize,
                     void* outBuffer,
                     DWORD outSize,
                     DWORD* bytesReturned,
                     void* /*overlapped*/) {
  auto object = platform::LookupHandleAs<DeviceObject>(device);
  if (!object) {
    platform::SetLastErrorCode(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return object->device().IoControl(code, inBuffer, inSize, outBuffer, outSize, bytesReturned);
}

HANDLE CreateEventW(void* /*security*/,
                    BOOL manualReset,
                    BOOL initialState,
                    const wchar_t* /*name*/) {
  return platform::NewHandle(std::make_shared<EventObject>(manualReset != 0, initialState != 0));
}

BOOL SetEvent(HANDLE event) {
  auto object = platform::LookupHandleAs<EventObject>(event);
  if (!object) {
    platform::SetLastErrorCode(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  object->Set();
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  auto object = platform::LookupHandleAs<EventObject>(handle);
  if (!object) {
    platform::SetLastErrorCode(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
  }
  return object->Wait(milliseconds);
}
