#pragma once
// Run-time loaded modules. LoadLibraryW resolves a name first to a module
// registered in-process (the simulated devices register "EEP.DLL",
// "JPEG_LIB.dll", ...), then to a shared object on the module search path
// ("name.dll" is looked for as "name.so" and "libname.so"). A missing module
// gives a null handle, as on the device. Names compare case-insensitively.
//
// The search path, in order: the folders the host added (AddSearchPath), the
// folders of the environment variable SURVEYCAM_MODULE_PATH (separated by
// colons, read at each load), and the default module folder
// "surveycam/modules" beside libsurveycam.so itself, wherever the library was
// loaded from (the build tree and an installed tree have the modules the
// project builds there, such as the JPEG codec JPEG_LIB.so).
#include <map>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/types.h"

namespace platform::modules {

using Exports = std::map<std::string, void*>;

inline constexpr char kDefaultFolderName[] = "surveycam/modules";
inline constexpr char kPathVariable[] = "SURVEYCAM_MODULE_PATH";

SURVEYCAM_API void Register(const std::wstring& name, Exports exports);
SURVEYCAM_API void Unregister(const std::wstring& name);
SURVEYCAM_API void AddSearchPath(const std::string& hostDirectory);
// The folders searched now, in order (the last is the default module folder).
SURVEYCAM_API std::vector<std::string> SearchFolders();
// Modules loaded and not yet freed (leak checks).
SURVEYCAM_API long LoadedModules();

}  // namespace platform::modules

SURVEYCAM_API HMODULE LoadLibraryW(const wchar_t* name);
SURVEYCAM_API FARPROC GetProcAddressW(HMODULE module, const wchar_t* name);
SURVEYCAM_API FARPROC GetProcAddress(HMODULE module, const char* name);
SURVEYCAM_API BOOL FreeLibrary(HMODULE module);
