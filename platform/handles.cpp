#include "platform/handles.h"

#include <map>
#include <mutex>

namespace platform {
namespace {

std::mutex g_mutex;
std::map<uintptr_t, std::shared_ptr<KernelObject>>& Table() {
  static std::map<uintptr_t, std::shared_ptr<KernelObject>> table;
  return table;
}
uintptr_t g_next = 0x100;
thread_local DWORD t_last_error = 0;

}  // namespace

HANDLE NewHandle(std::shared_ptr<KernelObject> object) {
  std::lock_guard lock(g_mutex);
  uintptr_t id = (g_next += 4);
  Table()[id] = std::move(object);
  return reinterpret_cast<HANDLE>(id);
}

std::shared_ptr<KernelObject> LookupHandle(HANDLE handle) {
  std::lock_guard lock(g_mutex);
  auto it = Table().find(reinterpret_cast<uintptr_t>(handle));
  return it == Table().end() ? nullptr : it->second;
}

long LiveHandles() {
  std::lock_guard lock(g_mutex);
  return long(Table().size());
}

void SetLastErrorCode(DWORD code) { t_last_error = code; }

}  // namespace platform

BOOL CloseHandle(HANDLE handle) {
  std::shared_ptr<platform::KernelObject> object;
  {
    std::lock_guard lock(platform::g_mutex);
    auto& table = platform::Table();
    auto it = table.find(reinterpret_cast<uintptr_t>(handle));
    if (it == table.end()) {
      platform::SetLastErrorCode(ERROR_INVALID_HANDLE);
      return FALSE;
    }
    object = it->second;
    table.erase(it);
  }
  return object->Close() ? TRUE : FALSE;
}

DWORD GetLastError() { return platform::t_last_error; }
