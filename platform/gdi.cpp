// GDI objects, device contexts, palettes and DIB sections.
#include "platform/gdi.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <unordered_set>

#include "platform/faults.h"
#include "platform/gdi_internal.h"
#include "platform/gdi_object.h"

namespace platform::gdi {
namespace {

std::mutex& RegistryMutex() {
  static std::mutex m;
  return m;
}
std::unordered_set<HGDIOBJ>& Objects() {
  static std::unordered_set<HGDIOBJ> set;
  return set;
}
std::unordered_set<HDC>& DCs() {
  static std::unordered_set<HDC> set;
  return set;
}

HGDIOBJ NewObject(Kind kind) {
  auto* object = new HGDIOBJ__;
  object->kind = kind;
  std::lock_guard lock(RegistryMutex());
  Objects().insert(object);
  return object;
}

void FreeObject(HGDIOBJ object) {
  {
    std::lock_guard lock(RegistryMutex());
    Objects().erase(object);
  }
  // A wrapper made by FromHandle must not delete the handle again.
  if (object->permanent) object->permanent->m_hObject = nullptr;
  if (object->owner) object->owner->m_hObject = nullptr;
  delete object;
}

HGDIOBJ MakeStock(Kind kind, COLORREF color, int style) {
  auto* object = new HGDIOBJ__;
  object->kind = kind;
  object->stock = true;
  object->color = color;
  object->style = style;
  return object;
}

HGDIOBJ Stock(int index) {
  static HGDIOBJ stock[] = {
      MakeStock(Kind::Brush, RGB(255, 255, 255), 0),  // WHITE_BRUSH
      MakeStock(Kind::Brush, RGB(192, 192, 192), 0),  // LTGRAY_BRUSH
      MakeStock(Kind::Brush, RGB(128, 128, 128), 0),  // GRAY_BRUSH
      MakeStock(Kind::Brush, RGB(64, 64, 64), 0),     // DKGRAY_BRUSH
      MakeStock(Kind::Brush, RGB(0, 0, 0), 0),        // BLACK_BRUSH
      MakeStock(Kind::Brush, 0, PS_NULL),             // NULL_BRUSH
      MakeStock(Kind::Pen, RGB(255, 255, 255), PS_SOLID),
      MakeStock(Kind::Pen, RGB(0, 0, 0), PS_SOLID),
      MakeStock(Kind::Pen, 0, PS_NULL),
  };
  static HGDIOBJ defaultPalette = MakeStock(Kind::Palette, 0, 0);
  if (index == DEFAULT_PALETTE) return defaultPalette;
  if (index < 0 || index > NULL_PEN) return nullptr;
  return stock[index];
}

// The nearest palette entry to an RGB pixel (8-bit and lower DIBs).
int NearestIndex(const Dib& dib, uint32_t rgb) {
  int best = 0;
  int bestDistance = 1 << 30;
  const int r = (rgb >> 16) & 0xFF, g = (rgb >> 8) & 0xFF, b = rgb & 0xFF;
  for (size_t i = 0; i < dib.colors.size(); ++i) {
    const RGBQUAD& q = dib.colors[i];
    const int d = (q.rgbRed - r) * (q.rgbRed - r) + (q.rgbGreen - g) * (q.rgbGreen - g) +
                  (q.rgbBlue - b) * (q.rgbBlue - b);
    if (d < bestDistance) {
      bestDistance = d;
      best = int(i);
    }
  }
  return best;
}

uint8_t* DibRow(const Dib& dib, int y) {
  const int stored = dib.topDown ? y : dib.height - 1 - y;
  return dib.bits.get() + size_t(stored) * size_t(dib.stride);
}

}  // namespace

bool IsLiveObject(HGDIOBJ object) {
  if (!object) return false;
  for (int i = WHITE_BRUSH; i <= NULL_PEN; ++i)
    if (Stock(i) == object) return true;
  if (object == Stock(DEFAULT_PALETTE)) return true;
  std::lock_guard lock(RegistryMutex());
  return Objects().count(object) != 0;
}

bool IsLiveDC(HDC dc) {
  if (!dc) return false;
  std::lock_guard lock(RegistryMutex());
  return DCs().count(dc) != 0;
}

void Select(HGDIOBJ object) {
  if (object && !object->stock) ++object->selections;
}

void Deselect(HGDIOBJ object) {
  if (!object || object->stock) return;
  if (--object->selections <= 0 && object->pendingDelete) FreeObject(object);
}

void PutPixel(HDC dc, int x, int y, uint32_t rgb) {
  if (dc->fb) {
    dc->fb->At(x, y) = rgb & 0xFFFFFF;
    return;
  }
  if (!dc->bitmap) return;
  const Dib& dib = dc->bitmap->dib;
  uint8_t* row = DibRow(dib, y);
  switch (dib.header.biBitCount) {
    case 32:
    case 24: {
      uint8_t* p = row + size_t(x) * (dib.header.biBitCount / 8);
      p[0] = rgb & 0xFF;
      p[1] = (rgb >> 8) & 0xFF;
      p[2] = (rgb >> 16) & 0xFF;
      break;
    }
    case 16: {
      const uint16_t v = uint16_t((((rgb >> 19) & 0x1F) << 10) | (((rgb >> 11) & 0x1F) << 5) |
                                  ((rgb >> 3) & 0x1F));
      std::memcpy(row + size_t(x) * 2, &v, 2);
      break;
    }
    case 8:
      row[x] = uint8_t(NearestIndex(dib, rgb));
      break;
    default:
      break;
  }
}

uint32_t GetPixel(HDC dc, int x, int y) {
  if (dc->fb) return dc->fb->At(x, y);
  if (!dc->bitmap) return 0;
  const Dib& dib = dc->bitmap->dib;
  const uint8_t* row = DibRow(dib, y);
  switch (dib.header.biBitCount) {
    case 32:
    case 24: {
      const uint8_t* p = row + size_t(x) * (dib.header.biBitCount / 8);
      return (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
    }
    case 16: {
      uint16_t v;
      std::memcpy(&v, row + size_t(x) * 2, 2);
      return (uint32_t((v >> 10) & 0x1F) << 19) | (uint32_t((v >> 5) & 0x1F) << 11) |
             (uint32_t(v & 0x1F) << 3);
    }
    case 8: {
      const uint8_t index = row[x];
      if (index >= dib.colors.size()) return 0;
      const RGBQUAD& q = dib.colors[index];
      return (uint32_t(q.rgbRed) << 16) | (uint32_t(q.rgbGreen) << 8) | q.rgbBlue;
    }
    default:
      return 0;
  }
}

bool ClipRect(HDC dc, RECT& r) {
  r.left = std::max(r.left, dc->clip.left);
  r.top = std::max(r.top, dc->clip.top);
  r.right = std::min(r.right, dc->clip.right);
  r.bottom = std::min(r.bottom, dc->clip.bottom);
  return r.left < r.right && r.top < r.bottom;
}

void FillSurface(HDC dc, const RECT& r, uint32_t rgb) {
  for (int y = r.top; y < r.bottom; ++y) {
    if (dc->fb) {
      std::fill_n(&dc->fb->At(r.left, y), r.right - r.left, rgb & 0xFFFFFF);
      continue;
    }
    for (int x = r.left; x < r.right; ++x) PutPixel(dc, x, y, rgb);
  }
}

HDC NewDC() {
  auto* dc = new HDC__;
  dc->pen = Stock(BLACK_PEN);
  dc->brush = Stock(WHITE_BRUSH);
  dc->palette = Stock(DEFAULT_PALETTE);
  std::lock_guard lock(RegistryMutex());
  DCs().insert(dc);
  return dc;
}

}  // namespace platform::gdi

using namespace platform::gdi;

namespace platform {

HDC CreateFramebufferDC(Framebuffer* fb, const RECT& origin, const RECT* clipInLogical) {
  if (!fb) return nullptr;
  HDC dc = NewDC();
  dc->fb = fb;
  dc->originX = origin.left;
  dc->originY = origin.top;
  dc->clip = RECT{std::max(origin.left, 0),
                  std::max(origin.top, 0),
                  std::min(origin.right, fb->width),
                  std::min(origin.bottom, fb->height)};
  if (clipInLogical) {
    RECT extra{clipInLogical->left + origin.left,
               clipInLogical->top + origin.top,
               clipInLogical->right + origin.left,
               clipInLogical->bottom + origin.top};
    ClipRect(dc, extra);
    dc->clip = extra;
  }
  if (dc->clip.right < dc->clip.left || dc->clip.bottom < dc->clip.top) dc->clip = RECT{0, 0, 0, 0};
  return dc;
}

}  // namespace platform

HGDIOBJ GetStockObject(int index) { return Stock(index); }

BOOL DeleteObject(HGDIOBJ object) {
  if (!object || object->stock || !IsLiveObject(object)) return FALSE;
  if (object->selections > 0) {
    object->pendingDelete = true;  // still selected: freed when deselected
    return TRUE;
  }
  FreeObject(object);
  return TRUE;
}

HPEN CreatePen(int style, int width, COLORREF color) {
  HGDIOBJ pen = NewObject(Kind::Pen);
  pen->style = style;
  pen->width = std::max(width, 1);
  pen->color = color & 0xFFFFFF;
  return pen;
}

HBRUSH CreateSolidBrush(COLORREF color) {
  HGDIOBJ brush = NewObject(Kind::Brush);
  brush->color = color & 0xFFFFFF;
  return brush;
}

HPALETTE CreatePalette(const LOGPALETTE* palette) {
  if (!palette || palette->palNumEntries == 0) return nullptr;
  HGDIOBJ object = NewObject(Kind::Palette);
  object->entries.assign(palette->palPalEntry, palette->palPalEntry + palette->palNumEntries);
  return object;
}

UINT GetPaletteEntries(HPALETTE palette, UINT start, UINT count, PALETTEENTRY* entries) {
  if (!IsLiveObject(palette) || palette->kind != Kind::Palette) return 0;
  const UINT size = UINT(palette->entries.size());
  if (!entries) return size;
  if (start >= size) return 0;
  const UINT n = std::min(count, size - start);
  std::copy_n(palette->entries.begin() + start, n, entries);
  return n;
}

BOOL DeleteDC(HDC dc) {
  if (!IsLiveDC(dc)) return FALSE;
  {
    std::lock_guard lock(RegistryMutex());
    DCs().erase(dc);
  }
  Deselect(dc->pen);
  Deselect(dc->brush);
  Deselect(dc->bitmap);
  Deselect(dc->palette);
  delete dc;
  return TRUE;
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ object) {
  if (!IsLiveDC(dc) || !IsLiveObject(object)) return nullptr;
  HGDIOBJ* slot = nullptr;
  switch (object->kind) {
    case Kind::Pen:
      slot = &dc->pen;
      break;
    case Kind::Brush:
      slot = &dc->brush;
      break;
    case Kind::Palette:
      slot = &dc->palette;
      break;
    case Kind::Bitmap:
      if (!dc->memory) return nullptr;
      slot = &dc->bitmap;
      break;
  }
  HGDIOBJ previous = *slot;
  if (previous == object) return previous;
  Select(object);
  *slot = object;
  if (object->kind == Kind::Bitmap) dc->clip = RECT{0, 0, object->dib.width, object->dib.height};
  // The previous object is handed back to the caller, so it stays alive even
  // when it was deleted while selected, until the caller deletes it again.
  if (previous && !previous->stock) {
    --previous->selections;
    if (previous->selections <= 0 && previous->pendingDelete) {
      FreeObject(previous);
      return nullptr;
    }
  }
  return previous;
}

HPALETTE SelectPalette(HDC dc, HPALETTE palette, BOOL) {
  if (!palette || palette->kind != Kind::Palette) return nullptr;
  return SelectObject(dc, palette);
}

UINT RealizePalette(HDC dc) { return IsLiveDC(dc) ? 0 : GDI_ERROR; }

UINT GetSystemPaletteEntries(HDC, UINT, UINT, PALETTEENTRY*) { return 0; }

int GetDeviceCaps(HDC dc, int index) {
  if (!IsLiveDC(dc)) return 0;
  int width = 0, height = 0;
  if (dc->fb) {
    width = dc->fb->width;
    height = dc->fb->height;
  } else if (dc->bitmap) {
    width = dc->bitmap->dib.width;
    height = dc->bitmap->dib.height;
  }
  switch (index) {
    case HORZRES:
      return width;
    case VERTRES:
      return height;
    case BITSPIXEL:
      return 32;
    case PLANES:
      return 1;
    case NUMCOLORS:
      return -1;
    case LOGPIXELSX:
    case LOGPIXELSY:
      return 96;
    case RASTERCAPS:
      return RC_BITBLT | RC_DI_BITMAP | RC_DIBTODEV | RC_STRETCHBLT | RC_STRETCHDIB;
    default:
      return 0;  // SIZEPALETTE, NUMRESERVED, COLORRES: no palette device
  }
}

HBITMAP CreateDIBSection(
    HDC, const BITMAPINFO* info, UINT, void** bits, HANDLE section, DWORD offset) {
  if (bits) *bits = nullptr;
  if (!info || section || offset) return nullptr;
  const BITMAPINFOHEADER& h = info->bmiHeader;
  const int bitCount = h.biBitCount;
  if (h.biWidth <= 0 || h.biHeight == 0 || h.biWidth > 65535 || h.biHeight > 65535 ||
      h.biHeight < -65535)
    return nullptr;
  if (bitCount != 1 && bitCount != 4 && bitCount != 8 && bitCount != 16 && bitCount != 24 &&
      bitCount != 32)
    return nullptr;
  if (h.biCompression != BI_RGB) return nullptr;
  const int height = h.biHeight < 0 ? -h.biHeight : h.biHeight;
  const int64_t stride = DibStride(h.biWidth, bitCount);
  if (platform::fault::Check("alloc", "CreateDIBSection").fail) return nullptr;
  HGDIOBJ object = NewObject(Kind::Bitmap);
  Dib& dib = object->dib;
  dib.header = h;
  dib.width = h.biWidth;
  dib.height = height;
  dib.topDown = h.biHeight < 0;
  dib.stride = int(stride);
  size_t colors = bitCount <= 8
                      ? (h.biClrUsed ? std::min<size_t>(h.biClrUsed, 256) : size_t(1) << bitCount)
                      : 0;
  dib.colors.assign(info->bmiColors, info->bmiColors + colors);
  dib.bits.reset(new (std::nothrow) uint8_t[size_t(stride) * size_t(height)]());
  if (!dib.bits) {
    FreeObject(object);
    return nullptr;
  }
  if (bits) *bits = dib.bits.get();
  return object;
}

BOOL UnmapViewOfFile(const void*) { return TRUE; }
