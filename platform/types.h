#pragma once
// Fixed-width Win32 types and records as the library and its drivers use them.
// Conventions: DWORD/UINT/COLORREF are 32-bit unsigned, LONG is 32-bit signed
// (never the host's 64-bit long); handles are pointers and never cross a byte
// boundary record. Every record that is read from or written to bytes carries
// static_asserts on its size and the offsets that matter.
#include <cstddef>
#include <cstdint>

#include "platform/export.h"

using BOOL = int32_t;
using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using UINT = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using SHORT = int16_t;
using USHORT = uint16_t;
using INT_PTR = intptr_t;
using UINT_PTR = uintptr_t;
using LONG_PTR = intptr_t;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;
using COLORREF = uint32_t;
using WCHAR = wchar_t;
using TCHAR = wchar_t;
using LPCWSTR = const wchar_t*;
using LPWSTR = wchar_t*;
using LPCSTR = const char*;
using LPSTR = char*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPDWORD = DWORD*;
using ULONGLONG = uint64_t;
using LONGLONG = int64_t;

using HANDLE = void*;
struct HWND__;
using HWND = HWND__*;
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
struct HKEY__;
using HKEY = HKEY__*;
struct HGDIOBJ__;
using HGDIOBJ = HGDIOBJ__*;
using HPEN = HGDIOBJ;
using HBRUSH = HGDIOBJ;
using HBITMAP = HGDIOBJ;
using HPALETTE = HGDIOBJ;
using HFONT = HGDIOBJ;
struct HDC__;
using HDC = HDC__*;
using HCURSOR = HANDLE;
using FARPROC = void (*)();

constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;
constexpr int MAX_PATH = 260;
inline HANDLE const INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(~uintptr_t{0});

constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) {
  return COLORREF(r) | (COLORREF(g) << 8) | (COLORREF(b) << 16);
}

struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};
static_assert(sizeof(RECT) == 16);

struct POINT {
  LONG x;
  LONG y;
};
static_assert(sizeof(POINT) == 8);

struct SIZE {
  LONG cx;
  LONG cy;
};
static_assert(sizeof(SIZE) == 8);

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};
static_assert(sizeof(SYSTEMTIME) == 16);

union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};
static_assert(sizeof(ULARGE_INTEGER) == 8);

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// ---- Bitmap records (BMP file layout, little-endian) ----
#pragma pack(push, 2)
struct BITMAPFILEHEADER {
  WORD bfType;
  DWORD bfSize;
  WORD bfReserved1;
  WORD bfReserved2;
  DWORD bfOffBits;
};
#pragma pack(pop)
static_assert(sizeof(BITMAPFILEHEADER) == 14);
static_assert(offsetof(BITMAPFILEHEADER, bfSize) == 2);
static_assert(offsetof(BITMAPFILEHEADER, bfOffBits) == 10);

struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40);
static_assert(offsetof(BITMAPINFOHEADER, biBitCount) == 14);
static_assert(offsetof(BITMAPINFOHEADER, biClrUsed) == 32);

struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};
static_assert(sizeof(RGBQUAD) == 4);

// The 12-byte header of the oldest writers (OS/2 1.x, ImageMagick's BMP2:);
// its colour table has 3-byte RGBTRIPLE entries and its rows run bottom-up.
struct BITMAPCOREHEADER {
  DWORD bcSize;
  WORD bcWidth;
  WORD bcHeight;
  WORD bcPlanes;
  WORD bcBitCount;
};
static_assert(sizeof(BITMAPCOREHEADER) == 12);
static_assert(offsetof(BITMAPCOREHEADER, bcBitCount) == 10);

struct RGBTRIPLE {
  BYTE rgbtBlue;
  BYTE rgbtGreen;
  BYTE rgbtRed;
};
static_assert(sizeof(RGBTRIPLE) == 3);

// The 108-byte header of newer writers: BITMAPINFOHEADER's fields, the
// channel masks, then colour-space fields. The 124-byte header adds profile
// fields after it; the 52- and 56-byte ones stop after the masks. With a
// 40-byte header and BI_BITFIELDS, the three masks follow it in the same place.
struct BITMAPV4HEADER {
  BITMAPINFOHEADER bV4Info;
  DWORD bV4RedMask;
  DWORD bV4GreenMask;
  DWORD bV4BlueMask;
  DWORD bV4AlphaMask;
  DWORD bV4CSType;
  LONG bV4Endpoints[9];  // CIEXYZTRIPLE
  DWORD bV4GammaRed;
  DWORD bV4GammaGreen;
  DWORD bV4GammaBlue;
};
static_assert(sizeof(BITMAPV4HEADER) == 108);
static_assert(offsetof(BITMAPV4HEADER, bV4RedMask) == 40);
static_assert(offsetof(BITMAPV4HEADER, bV4BlueMask) == 48);
static_assert(offsetof(BITMAPV4HEADER, bV4CSType) == 56);

struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};
static_assert(sizeof(BITMAPINFO) == 44);

constexpr DWORD BI_RGB = 0;
constexpr DWORD BI_RLE8 = 1;
constexpr DWORD BI_RLE4 = 2;
constexpr DWORD BI_BITFIELDS = 3;
constexpr UINT DIB_RGB_COLORS = 0;
constexpr UINT DIB_PAL_COLORS = 1;
constexpr WORD DIB_HEADER_MARKER = 0x4D42;  // "BM"

struct PALETTEENTRY {
  BYTE peRed;
  BYTE peGreen;
  BYTE peBlue;
  BYTE peFlags;
};
static_assert(sizeof(PALETTEENTRY) == 4);

struct LOGPALETTE {
  WORD palVersion;
  WORD palNumEntries;
  PALETTEENTRY palPalEntry[1];
};
static_assert(sizeof(LOGPALETTE) == 8);

// ---- File system ----
constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;

struct WIN32_FIND_DATAW {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwOID;
  wchar_t cFileName[MAX_PATH];
};

// ---- Win32 error codes (GetLastError) ----
constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_HANDLE_DISK_FULL = 39;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_NO_MORE_FILES = 18;

// ---- Message boxes ----
constexpr UINT MB_OK = 0x00000000;
constexpr UINT MB_OKCANCEL = 0x00000001;
constexpr UINT MB_YESNO = 0x00000004;
constexpr UINT MB_ICONHAND = 0x00000010;
constexpr UINT MB_ICONERROR = MB_ICONHAND;
constexpr UINT MB_ICONSTOP = MB_ICONHAND;
constexpr UINT MB_ICONQUESTION = 0x00000020;
constexpr UINT MB_ICONEXCLAMATION = 0x00000030;
constexpr UINT MB_ICONWARNING = MB_ICONEXCLAMATION;
constexpr UINT MB_ICONASTERISK = 0x00000040;
constexpr UINT MB_ICONINFORMATION = MB_ICONASTERISK;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;
