#pragma once
// Internal state behind the GDI handles (not installed, not exported).
// HGDIOBJ points to a GdiObject-shaped HGDIOBJ__, HDC to an HDC__.
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/framebuffer.h"
#include "platform/gdi.h"
#include "platform/types.h"

class CGdiObject;

namespace platform::gdi {

enum class Kind { Pen, Brush, Palette, Bitmap };

// A device-independent bitmap as a DIB section holds it.
struct Dib {
  BITMAPINFOHEADER header{};
  std::vector<RGBQUAD> colors;
  std::unique_ptr<uint8_t[]> bits;
  int stride = 0;
  int width = 0;
  int height = 0;  // absolute
  bool topDown = false;
};

// Bytes of one row of a DIB: bits per row rounded up to 32-bit words.
inline int64_t DibStride(int64_t width, int bitCount) { return ((width * bitCount + 31) / 32) * 4; }

}  // namespace platform::gdi

struct HGDIOBJ__ {
  platform::gdi::Kind kind = platform::gdi::Kind::Pen;
  bool stock = false;
  bool pendingDelete = false;  // deleted while selected: freed when deselected
  int selections = 0;          // DCs that have it selected
  COLORREF color = 0;
  int style = 0;
  int width = 1;
  std::vector<PALETTEENTRY> entries;
  platform::gdi::Dib dib;
  CGdiObject* owner = nullptr;            // the wrapper that deletes it
  std::unique_ptr<CGdiObject> permanent;  // wrapper made by FromHandle
};

struct HDC__ {
  bool memory = false;
  platform::Framebuffer* fb = nullptr;
  int originX = 0;  // surface position of logical (0, 0)
  int originY = 0;
  RECT clip{0, 0, 0, 0};  // surface coordinates, right/bottom exclusive
  HGDIOBJ pen = nullptr;
  HGDIOBJ brush = nullptr;
  HGDIOBJ bitmap = nullptr;
  HGDIOBJ palette = nullptr;
  COLORREF textColor = 0x000000;
  COLORREF bkColor = 0xFFFFFF;
  int bkMode = OPAQUE;
  POINT position{0, 0};
  int textHeight = 13;
};

namespace platform::gdi {

bool IsLiveObject(HGDIOBJ object);
bool IsLiveDC(HDC dc);
// Frees an object whose last selection ended after DeleteObject.
void Deselect(HGDIOBJ object);
void Select(HGDIOBJ object);

// Pixel access on the DC's surface, in surface coordinates; the caller has
// clipped. Framebuffer pixels are 0x00RRGGBB; DIB rows are converted.
void PutPixel(HDC dc, int x, int y, uint32_t rgb);
uint32_t GetPixel(HDC dc, int x, int y);
// Fills a surface rectangle already cut to the clip.
void FillSurface(HDC dc, const RECT& r, uint32_t rgb);
// Clip ∩ r (surface coordinates); false when empty.
bool ClipRect(HDC dc, RECT& r);
inline bool InClip(HDC dc, int x, int y) {
  return x >= dc->clip.left && x < dc->clip.right && y >= dc->clip.top && y < dc->clip.bottom;
}

}  // namespace platform::gdi
