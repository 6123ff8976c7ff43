#pragma once
// The device file system. A path that starts with a backslash is a device
// path ("\windows\DispImgMsg.txt", "\Storage Card\JPEG") and lives under the
// device root, a host directory chosen by SetDeviceRoot, else by the
// environment variable SURVEYCAM_ROOT, else "./device"; it is created on
// first use. Any other path is a host path. Backslashes are separators.
#include <cstdint>
#include <optional>
#include <string>

#include "platform/export.h"
#include "platform/types.h"

namespace platform::fs {

SURVEYCAM_API void SetDeviceRoot(const std::string& hostDirectory);
SURVEYCAM_API std::string DeviceRoot();
// The host path of a device or host path given in wide text.
SURVEYCAM_API std::string HostPath(const wchar_t* path);
// Overrides the free space that GetDiskFreeSpaceExW reports (tests, the
// simulated card); nullopt reports the host file system's real figures.
SURVEYCAM_API void SetFreeSpaceOverride(std::optional<uint64_t> freeBytes);

}  // namespace platform::fs

SURVEYCAM_API BOOL CreateDirectoryW(const wchar_t* path, void* security);
SURVEYCAM_API BOOL RemoveDirectoryW(const wchar_t* path);
SURVEYCAM_API BOOL DeleteFileW(const wchar_t* path);
SURVEYCAM_API BOOL MoveFileW(const wchar_t* from, const wchar_t* to);
SURVEYCAM_API DWORD GetFileAttributesW(const wchar_t* path);
// Patterns may use * and ? in the last component. The handle is closed with
// FindClose.
SURVEYCAM_API HANDLE FindFirstFileW(const wchar_t* pattern, WIN32_FIND_DATAW* data);
SURVEYCAM_API BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data);
SURVEYCAM_API BOOL FindClose(HANDLE find);
SURVEYCAM_API BOOL GetDiskFreeSpaceExW(const wchar_t* path,
                                       ULARGE_INTEGER* freeToCaller,
                                       ULARGE_INTEGER* total,
                                       ULARGE_INTEGER* totalFree);
