#pragma once
// Text encoding and formatting with the device's meanings, independent of the
// process locale:
//  - wide text is wchar_t (UTF-32 here); the "ANSI"/multibyte code page is UTF-8;
//  - format strings follow the Windows C runtime: in a wide format %s is a wide
//    string and %S a narrow one, in a narrow format %s is narrow and %S wide
//    (%hs/%ls force narrow/wide in both); %ld is 32 bits, %lld/%I64d 64 bits;
//  - numbers are written and read with '.' as the decimal point.
#include <cstdarg>
#include <string>

#include "platform/export.h"
#include "platform/types.h"

namespace platform {

SURVEYCAM_API std::string WideToUtf8(const wchar_t* text);
SURVEYCAM_API std::string WideToUtf8(const std::wstring& text);
SURVEYCAM_API std::wstring Utf8ToWide(const char* text);
SURVEYCAM_API std::wstring Utf8ToWide(const std::string& text);
SURVEYCAM_API std::wstring Utf8ToWide(const char* text, size_t length);

// Decodes UTF-16 code units (surrogate pairs joined) into wide characters.
SURVEYCAM_API std::wstring Utf16ToWide(const uint16_t* units, size_t count);
// Encodes wide characters as UTF-16 code units (surrogate pairs above U+FFFF).
SURVEYCAM_API std::u16string WideToUtf16(const std::wstring& text);

// Windows-semantics formatting (see the file comment).
SURVEYCAM_API std::wstring FormatW(const wchar_t* format, ...);
SURVEYCAM_API std::wstring FormatWV(const wchar_t* format, va_list args);
SURVEYCAM_API std::string FormatA(const char* format, ...);
SURVEYCAM_API std::string FormatAV(const char* format, va_list args);

// sscanf in the "C" locale.
SURVEYCAM_API int ScanA(const char* text, const char* format, ...);
// atof/_wtof/_wtoi in the "C" locale (unreadable text gives 0).
SURVEYCAM_API double AtoF(const char* text);
SURVEYCAM_API double WtoF(const wchar_t* text);
SURVEYCAM_API int WtoI(const wchar_t* text);

// Runs the enclosing scope in the "C" locale on this thread, for code that
// must call the C library's number formatting or parsing directly.
class SURVEYCAM_API CLocaleScope {
 public:
  CLocaleScope();
  ~CLocaleScope();
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

 private:
  void* previous_;
};

}  // namespace platform
