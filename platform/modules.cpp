#include "platform/modules.h"

#include <dlfcn.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cwctype>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/faults.h"
#include "platform/handles.h"
#include "platform/text.h"

namespace platform::modules {
namespace {

struct Module {
  std::wstring key;
  Exports exports;     // registered in-process
  void* so = nullptr;  // or a shared object
  int references = 0;
};

std::mutex g_mutex;
std::map<std::wstring, Exports>& Registered() {
  static std::map<std::wstring, Exports> registered;
  return registered;
}
std::vector<std::string>& SearchPath() {
  static std::vector<std::string> paths;
  return paths;
}
std::map<std::wstring, std::unique_ptr<Module>>& Loaded() {
  static std::map<std::wstring, std::unique_ptr<Module>> loaded;
  return loaded;
}

std::wstring Key(const std::wstring& name) {
  std::wstring key = name;
  size_t slash = key.find_last_of(L"\\/");
  if (slash != std::wstring::npos) key = key.substr(slash + 1);
  for (auto& c : key) c = wchar_t(std::towlower(wint_t(c)));
  return key;
}

// The default module folder: "surveycam/modules" beside the file this
// library was loaded from (the build tree and an installed tree alike),
// found once, before anything can change the working directory's meaning.
const std::string& DefaultFolder() {
  static const std::string folder = [] {
    Dl_info info{};
    if (!::dladdr(reinterpret_cast<void*>(&DefaultFolder), &info) || !info.dli_fname) {
      return std::string();
    }
    char resolved[PATH_MAX];
    std::string file = ::realpath(info.dli_fname, resolved) ? resolved : info.dli_fname;
    const size_t slash = file.find_last_of('/');
    return (slash == std::string::npos ? std::string(".") : file.substr(0, slash)) + "/" +
           kDefaultFolderName;
  }();
  return folder;
}
// Resolved when the library is loaded, while the path it was loaded by
// still means what it meant then.
[[maybe_unused]] const bool g_default_folder_known = !DefaultFolder().empty();

// The folders a module is looked for in, in order: those the host added,
// those of SURVEYCAM_MODULE_PATH (colon-separated), the default folder.
std::vector<std::string> Folders() {
  std::vector<std::string> folders = SearchPath();
  if (const char* env = std::getenv(kPathVariable)) {
    std::string list = env;
    for (size_t start = 0; start <= list.size();) {
      size_t end = list.find(':', start);
      if (end == std::string::npos) end = list.size();
      if (end > start) folders.push_back(list.substr(start, end - start));
      start = end + 1;
    }
  }
  if (!DefaultFolder().empty()) folders.push_back(DefaultFolder());
  return folders;
}

void* OpenSharedObject(const std::wstring& name) {
  std::string base = WideToUtf8(name);
  size_t slash = base.find_last_of("\\/");
  if (slash != std::string::npos) base = base.substr(slash + 1);
  size_t dot = base.rfind('.');
  std::string stem = dot == std::string::npos ? base : base.substr(0, dot);
  for (const std::string& dir : Folders()) {
    for (const std::string& file : {stem + ".so", "lib" + stem + ".so", base}) {
      std::string path = dir;
      path += '/';
      path += file;
      if (void* so = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return so;
    }
  }
  return nullptr;
}

}  // namespace

void Register(const std::wstring& name, Exports exports) {
  std::lock_guard lock(g_mutex);
  Registered()[Key(name)] = std::move(exports);
}

void Unregister(const std::wstring& name) {
  std::lock_guard lock(g_mutex);
  Registered().erase(Key(name));
}

void AddSearchPath(const std::string& hostDirectory) {
  std::lock_guard lock(g_mutex);
  SearchPath().push_back(hostDirectory);
}

std::vector<std::string> SearchFolders() {
  std::lock_guard lock(g_mutex);
  return Folders();
}

long LoadedModules() {
  std::lock_guard lock(g_mutex);
  long n = 0;
  for (auto& [key, module] : Loaded()) n += module->references;
  return n;
}

}  // namespace platform::modules

using namespace platform::modules;

HMODULE LoadLibraryW(const wchar_t* name) {
  if (!name) return nullptr;
  std::wstring key = Key(name);
  if (platform::fault::Check("module.load", platform::WideToUtf8(key)).fail) {
    platform::SetLastErrorCode(ERROR_FILE_NOT_FOUND);
    return nullptr;
  }
  std::lock_guard lock(g_mutex);
  auto& loaded = Loaded();
  auto it = loaded.find(key);
  if (it == loaded.end()) {
    auto module = std::make_unique<Module>();
    module->key = key;
    auto reg = Registered().find(key);
    if (reg != Registered().end()) {
      module->exports = reg->second;
    } else if (!(module->so = OpenSharedObject(name))) {
      platform::SetLastErrorCode(ERROR_FILE_NOT_FOUND);
      return nullptr;
    }
    it = loaded.emplace(key, std::move(module)).first;
  }
  ++it->second->references;
  return reinterpret_cast<HMODULE>(it->second.get());
}

FARPROC GetProcAddress(HMODULE handle, const char* name) {
  if (!handle || !name) return nullptr;
  if (platform::fault::Check("module.proc", name).fail) return nullptr;
  std::lock_guard lock(g_mutex);
  for (auto& [key, module] : Loaded()) {
    if (reinterpret_cast<HMODULE>(module.get()) != handle) continue;
    if (module->so) return reinterpret_cast<FARPROC>(::dlsym(module->so, name));
    auto fn = module->exports.find(name);
    return fn == module->exports.end() ? nullptr : reinterpret_cast<FARPROC>(fn->second);
  }
  return nullptr;
}

FARPROC GetProcAddressW(HMODULE handle, const wchar_t* name) {
  return name ? GetProcAddress(handle, platform::WideToUtf8(name).c_str()) : nullptr;
}

BOOL FreeLibrary(HMODULE handle) {
  std::lock_guard lock(g_mutex);
  auto& loaded = Loaded();
  for (auto it = loaded.begin(); it != loaded.end(); ++it) {
    if (reinterpret_cast<HMODULE>(it->second.get()) != handle) continue;
    if (--it->second->references == 0) {
      if (it->second->so) ::dlclose(it->second->so);
      loaded.erase(it);
    }
    return TRUE;
  }
  return FALSE;
}
