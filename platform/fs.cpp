#include "platform/fs.h"

#include <fnmatch.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <mutex>
#include <vector>

#include "platform/faults.h"
#include "platform/handles.h"
#include "platform/text.h"

namespace platform::fs {
namespace {

std::mutex g_mutex;
std::string g_root;
std::optional<uint64_t> g_free_override;

std::string ResolveRoot() {
  if (!g_root.empty()) return g_root;
  const char* env = std::getenv("SURVEYCAM_ROOT");
  return env && *env ? env : "./device";
}

DWORD ErrnoToWin32(int e) {
  switch (e) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
      return ERROR_ACCESS_DENIED;
    case EEXIST:
    case ENOTEMPTY:
      return ERROR_ALREADY_EXISTS;
    case ENOSPC:
      return ERROR_HANDLE_DISK_FULL;
    default:
      return ERROR_GEN_FAILURE;
  }
}

BOOL Fail(DWORD code) {
  SetLastErrorCode(code);
  return FALSE;
}

}  // namespace

void SetDeviceRoot(const std::string& hostDirectory) {
  std::lock_guard lock(g_mutex);
  g_root = hostDirectory;
}

std::string DeviceRoot() {
  std::string root;
  {
    std::lock_guard lock(g_mutex);
    root = ResolveRoot();
  }
  std::error_code ec;
  std::filesystem::create_directories(root, ec);
  return root;
}

std::string HostPath(const wchar_t* path) {
  if (!path) return {};
  std::string text = WideToUtf8(path);
  for (char& c : text)
    if (c == '\\') c = '/';
  if (!text.empty() && path[0] == L'\\') {
    std::string root = DeviceRoot();
    while (root.size() > 1 && root.back() == '/') root.pop_back();
    return root + text;
  }
  return text;
}

void SetFreeSpaceOverride(std::optional<uint64_t> freeBytes) {
  std::lock_guard lock(g_mutex);
  g_free_override = freeBytes;
}

std::optional<uint64_t> FreeSpaceOverride() {
  std::lock_guard lock(g_mutex);
  return g_free_override;
}

struct FindState : KernelObject {
  std::vector<std::filesystem::directory_entry> entries;
  size_t next = 0;
};

void FillFindData(const std::filesystem::directory_entry& entry, WIN32_FIND_DATAW* data) {
  *data = WIN32_FIND_DATAW{};
  std::error_code ec;
  bool dir = entry.is_directory(ec);
  data->dwFileAttributes = dir ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
  if (!dir) {
    uint64_t size = entry.file_size(ec);
    data->nFileSizeLow = DWORD(size);
    data->nFileSizeHigh = DWORD(size >> 32);
  }
  struct stat st {};
  if (::stat(entry.path().c_str(), &st) == 0) {
    // FILETIME: 100 ns intervals since 1601-01-01.
    uint64_t ft = (uint64_t(st.st_mtime) + 11644473600ULL) * 10000000ULL;
    data->ftLastWriteTime = {DWORD(ft), DWORD(ft >> 32)};
    data->ftCreationTime = data->ftLastWriteTime;
    data->ftLastAccessTime = data->ftLastWriteTime;
  }
  std::wstring name = Utf8ToWide(entry.path().filename().string());
  std::wcsncpy(data->cFileName, name.c_str(), MAX_PATH - 1);
}

}  // namespace platform::fs

using namespace platform;
using namespace platform::fs;

BOOL CreateDirectoryW(const wchar_t* path, void*) {
  std::string host = HostPath(path);
  if (fault::Check("fs.create_directory", host).fail) return Fail(ERROR_ACCESS_DENIED);
  if (::mkdir(host.c_str(), 0777) != 0) return Fail(ErrnoToWin32(errno));
  return TRUE;
}

BOOL RemoveDirectoryW(const wchar_t* path) {
  std::string host = HostPath(path);
  if (fault::Check("fs.delete", host).fail) return Fail(ERROR_ACCESS_DENIED);
  if (::rmdir(host.c_str()) != 0) return Fail(ErrnoToWin32(errno));
  return TRUE;
}

BOOL DeleteFileW(const wchar_t* path) {
  std::string host = HostPath(path);
  if (fault::Check("fs.delete", host).fail) return Fail(ERROR_ACCESS_DENIED);
  if (::unlink(host.c_str()) != 0) return Fail(ErrnoToWin32(errno));
  return TRUE;
}

BOOL MoveFileW(const wchar_t* from, const wchar_t* to) {
  std::string src = HostPath(from), dst = HostPath(to);
  if (fault::Check("fs.move", src).fail) return Fail(ERROR_ACCESS_DENIED);
  struct stat st {};
  if (::stat(dst.c_str(), &st) == 0) return Fail(ERROR_ALREADY_EXISTS);
  std::error_code ec;
  std::filesystem::rename(src, dst, ec);
  if (ec) return Fail(ErrnoToWin32(ec.value()));
  return TRUE;
}

DWORD GetFileAttributesW(const wchar_t* path) {
  std::string host = HostPath(path);
  struct stat st {};
  if (::stat(host.c_str(), &st) != 0) {
    SetLastErrorCode(ErrnoToWin32(errno));
    return INVALID_FILE_ATTRIBUTES;
  }
  DWORD attributes = S_ISDIR(st.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
  if (!(st.st_mode & S_IWUSR)) attributes |= FILE_ATTRIBUTE_READONLY;
  return attributes;
}

HANDLE FindFirstFileW(const wchar_t* pattern, WIN32_FIND_DATAW* data) {
  if (!pattern || !data) {
    SetLastErrorCode(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  std::filesystem::path host(HostPath(pattern));
  if (fault::Check("fs.find", host.string()).fail) {
    SetLastErrorCode(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  // A trailing separator names the folder itself.
  std::string text = host.string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  host = text;
  auto state = std::make_shared<FindState>();
  std::string name = host.filename().string();
  std::error_code ec;
  if (name.find_first_of("*?") == std::string::npos) {
    std::filesystem::directory_entry entry(host, ec);
    if (!ec && entry.exists(ec)) state->entries.push_back(entry);
  } else {
    std::filesystem::path folder = host.parent_path().empty() ? "." : host.parent_path();
    for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
      std::string leaf = entry.path().filename().string();
      if (::fnmatch(name.c_str(), leaf.c_str(), 0) == 0) state->entries.push_back(entry);
    }
  }
  if (state->entries.empty()) {
    SetLastErrorCode(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  FillFindData(state->entries[0], data);
  state->next = 1;
  return NewHandle(state);
}

BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data) {
  auto state = LookupHandleAs<FindState>(find);
  if (!state || !data) return Fail(ERROR_INVALID_HANDLE);
  if (state->next >= state->entries.size()) return Fail(ERROR_NO_MORE_FILES);
  FillFindData(state->entries[state->next++], data);
  return TRUE;
}

BOOL FindClose(HANDLE find) {
  if (!LookupHandleAs<FindState>(find)) return Fail(ERROR_INVALID_HANDLE);
  return CloseHandle(find);
}

BOOL GetDiskFreeSpaceExW(const wchar_t* path,
                         ULARGE_INTEGER* freeToCaller,
                         ULARGE_INTEGER* total,
                         ULARGE_INTEGER* totalFree) {
  std::string host = path ? HostPath(path) : DeviceRoot();
  if (fault::Check("fs.free_space", host).fail) return Fail(ERROR_GEN_FAILURE);
  // Ask the nearest existing folder: the card's drive is what matters.
  std::filesystem::path probe(host.empty() ? DeviceRoot() : host);
  std::error_code ec;
  while (!probe.empty() && !std::filesystem::exists(probe, ec)) probe = probe.parent_path();
  if (probe.empty()) probe = DeviceRoot();
  struct statvfs vfs {};
  if (::statvfs(probe.c_str(), &vfs) != 0) return Fail(ErrnoToWin32(errno));
  uint64_t avail = uint64_t(vfs.f_bavail) * vfs.f_frsize;
  uint64_t all = uint64_t(vfs.f_blocks) * vfs.f_frsize;
  uint64_t free_all = uint64_t(vfs.f_bfree) * vfs.f_frsize;
  if (auto forced = FreeSpaceOverride()) {
    avail = *forced;
    free_all = *forced;
  }
  if (freeToCaller) freeToCaller->QuadPart = avail;
  if (total) total->QuadPart = all;
  if (totalFree) totalFree->QuadPart = free_all;
  return TRUE;
}
