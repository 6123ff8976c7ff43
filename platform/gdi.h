#pragma once
// GDI: the drawing calls of Win32 over our framebuffers. A device context
// (HDC) draws on a platform::Framebuffer (the screen, with an origin offset
// and a clip rectangle).
// The display is true colour: palettes are kept and selected but change no
// pixel, and GetDeviceCaps answers as a 32-bit display without RC_PALETTE.
#include "platform/export.h"
#include "platform/types.h"

// ---- Stock objects ----
constexpr int WHITE_BRUSH = 0;
constexpr int LTGRAY_BRUSH = 1;
constexpr int GRAY_BRUSH = 2;
constexpr int DKGRAY_BRUSH = 3;
constexpr int BLACK_BRUSH = 4;
constexpr int NULL_BRUSH = 5;
constexpr int HOLLOW_BRUSH = NULL_BRUSH;
constexpr int WHITE_PEN = 6;
constexpr int BLACK_PEN = 7;
constexpr int NULL_PEN = 8;
constexpr int DEFAULT_PALETTE = 15;

// ---- Pens ----
constexpr int PS_SOLID = 0;
constexpr int PS_DASH = 1;
constexpr int PS_DOT = 2;
constexpr int PS_NULL = 5;

// ---- Background modes ----
constexpr int TRANSPARENT = 1;
constexpr int OPAQUE = 2;

// ---- Raster operations ----
constexpr DWORD SRCCOPY = 0x00CC0020;
constexpr DWORD PATCOPY = 0x00F00021;
constexpr DWORD BLACKNESS = 0x00000042;
constexpr DWORD WHITENESS = 0x00FF0062;
constexpr DWORD DSTINVERT = 0x00550009;

// ---- GetDeviceCaps ----
constexpr int HORZRES = 8;
constexpr int VERTRES = 10;
constexpr int BITSPIXEL = 12;
constexpr int PLANES = 14;
constexpr int NUMCOLORS = 24;
constexpr int LOGPIXELSX = 88;
constexpr int LOGPIXELSY = 90;
constexpr int RASTERCAPS = 38;
constexpr int SIZEPALETTE = 104;
constexpr int NUMRESERVED = 106;
constexpr int COLORRES = 108;
constexpr int RC_BITBLT = 0x0001;
constexpr int RC_DI_BITMAP = 0x0080;
constexpr int RC_PALETTE = 0x0100;
constexpr int RC_DIBTODEV = 0x0200;
constexpr int RC_STRETCHBLT = 0x0800;
constexpr int RC_STRETCHDIB = 0x2000;

// ---- Clip box results ----
constexpr int RGN_ERROR = 0;
constexpr int NULLREGION = 1;
constexpr int SIMPLEREGION = 2;

// ---- DrawText ----
constexpr UINT DT_TOP = 0x0000;
constexpr UINT DT_LEFT = 0x0000;
constexpr UINT DT_CENTER = 0x0001;
constexpr UINT DT_RIGHT = 0x0002;
constexpr UINT DT_VCENTER = 0x0004;
constexpr UINT DT_BOTTOM = 0x0008;
constexpr UINT DT_WORDBREAK = 0x0010;
constexpr UINT DT_SINGLELINE = 0x0020;
constexpr UINT DT_NOCLIP = 0x0100;
constexpr UINT DT_CALCRECT = 0x0400;

constexpr UINT GDI_ERROR = 0xFFFFFFFF;
constexpr COLORREF CLR_INVALID = 0xFFFFFFFF;

// ---- Objects ----
SURVEYCAM_API HGDIOBJ GetStockObject(int index);
SURVEYCAM_API BOOL DeleteObject(HGDIOBJ object);
SURVEYCAM_API HPEN CreatePen(int style, int width, COLORREF color);
SURVEYCAM_API HBRUSH CreateSolidBrush(COLORREF color);
SURVEYCAM_API HPALETTE CreatePalette(const LOGPALETTE* palette);
// Entries of a palette object; the number copied (0 when none or not a palette).
SURVEYCAM_API UINT GetPaletteEntries(HPALETTE palette,
                                     UINT start,
                                     UINT count,
                                     PALETTEENTRY* entries);

// ---- Device contexts ----
SURVEYCAM_API BOOL DeleteDC(HDC dc);
// Selects a pen, brush or bitmap and returns the previous one of that kind.
SURVEYCAM_API HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
SURVEYCAM_API HPALETTE SelectPalette(HDC dc, HPALETTE palette, BOOL forceBackground);
// On the true-colour display nothing is mapped: 0 entries changed.
SURVEYCAM_API UINT RealizePalette(HDC dc);
// The true-colour display has no system palette: 0 entries.
SURVEYCAM_API UINT GetSystemPaletteEntries(HDC dc, UINT start, UINT count, PALETTEENTRY* entries);
SURVEYCAM_API int GetDeviceCaps(HDC dc, int index);

// ---- Bitmaps ----
// Allocates the pixel rows of a DIB described by info (fault point "alloc");
// *bits receives them. The section and offset arguments are not supported
// (file-backed sections): they must be null and 0.
SURVEYCAM_API HBITMAP CreateDIBSection(
    HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section, DWORD offset);
// Stretches a source rectangle of a packed DIB (1, 4, 8, 16, 24 or 32 bits,
// BI_RGB) onto the destination rectangle. Bottom-up DIBs (positive height)
// count ySrc from their bottom row, top-down DIBs from the top, as GDI does.
// A negative destination width or height mirrors the picture. Only SRCCOPY.
// Returns the number of source rows (0 on failure).
SURVEYCAM_API int StretchDIBits(HDC dc,
                                int xDst,
                                int yDst,
                                int wDst,
                                int hDst,
                                int xSrc,
                                int ySrc,
                                int wSrc,
                                int hSrc,
                                const void* bits,
                                const BITMAPINFO* info,
                                UINT usage,
                                DWORD rop);
// Fills with the selected brush (PATCOPY), black, white or inverts.
SURVEYCAM_API BOOL PatBlt(HDC dc, int x, int y, int w, int h, DWORD rop);

// File mappings are not made on this platform; releasing a view succeeds.
SURVEYCAM_API BOOL UnmapViewOfFile(const void* view);
