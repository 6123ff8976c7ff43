#pragma once
// The registry: RegOpenKeyExW / RegQueryValueExW / RegCloseKey over a small
// text store, the file "\registry.txt" under the device root (UTF-8):
//
//   ; a comment (also lines starting with '#'); blank lines are ignored
//   [HKLM\SYSTEM\QZ7mInit\Memory]
//   "PCMCIAFolder"="\Storage Card"
//   "Retries"=dword:0000001f
//   @="the key's default value"
//
// A section names a root (HKLM or HKEY_LOCAL_MACHINE, HKCU, HKCR, HKU and
// their long forms) and a key path; key and value names compare without
// regard to case, as the registry does. A string value is everything between
// the quote after '=' and the last quote of the line, taken literally (no
// escapes: backslashes are path separators). A dword is hexadecimal. Lines
// that fit none of these forms, and values before any section, are skipped.
// The store is read again on every query, so a host or test may change it at
// any time (SetString writes it back safely: temp file + rename).
//
// Fault points: "registry.open" and "registry.query" (subject: the key path,
// root first, in upper case: "HKLM\SYSTEM\QZ7MINIT\MEMORY") make
// the call fail with the armed code, or ERROR_ACCESS_DENIED when none;
// "registry.close" fails RegCloseKey.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>

#include "platform/export.h"
#include "platform/types.h"

using REGSAM = DWORD;
inline HKEY const HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(uintptr_t{0x80000000});
inline HKEY const HKEY_CURRENT_USER = reinterpret_cast<HKEY>(uintptr_t{0x80000001});
inline HKEY const HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(uintptr_t{0x80000002});
inline HKEY const HKEY_USERS = reinterpret_cast<HKEY>(uintptr_t{0x80000003});
constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_DWORD = 4;
constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

namespace platform::registry {

using Value = std::variant<std::wstring, DWORD>;
// Canonical key path ("HKLM\SYSTEM\QZ7MINIT\MEMORY", upper case) -> values by
// upper-case name -> (name as written, value).
struct Store {
  std::map<std::wstring, std::map<std::wstring, std::pair<std::wstring, Value>>> keys;
  std::map<std::wstring, std::wstring> spelled;  // canonical key -> key as written
};

// Parses store text; never fails (unreadable lines are skipped).
SURVEYCAM_API Store ParseStore(std::string_view text);
SURVEYCAM_API std::string FormatStore(const Store& store);
// Device path of the store file.
SURVEYCAM_API const wchar_t* StorePath();

// Sets a value in the store file, creating the key. `key` includes its root,
// e.g. L"HKLM\\SYSTEM\\QZ7mInit\\Memory". False when the file cannot be
// written or the root is unknown.
SURVEYCAM_API bool SetString(const std::wstring& key,
                             const std::wstring& name,
                             const std::wstring& value);
// Keys opened and not yet closed (leak checks).
SURVEYCAM_API long OpenKeys();

// Bytes a string value's character counts in the sizes RegQueryValueExW
// takes and answers: the device's 2-byte UTF-16 unit, so that a size in bytes
// means the same number of characters as there. The text itself arrives as
// wchar_t, so a buffer of n wchar_t is passed with a size of n * kCharBytes.
constexpr DWORD kCharBytes = 2;

}  // namespace platform::registry

SURVEYCAM_API LONG
RegOpenKeyExW(HKEY root, const wchar_t* subKey, DWORD options, REGSAM access, HKEY* result);
// Strings come back as wchar_t text with its terminator; sizes are in bytes,
// counted kCharBytes a UTF-16 unit for strings (a 256-byte size holds 127
// characters and the terminator, as on the device).
SURVEYCAM_API LONG RegQueryValueExW(
    HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* dataSize);
SURVEYCAM_API LONG RegCloseKey(HKEY key);
