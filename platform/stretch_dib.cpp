// StretchDIBits and PatBlt on a DC's surface.
#include <algorithm>
#include <cstring>

#include "platform/gdi.h"
#include "platform/gdi_internal.h"

using namespace platform::gdi;

namespace {

// How a packed DIB's pixels are read: one row pointer per source row
// counted from the top of the picture.
struct SourceDib {
  const BITMAPINFOHEADER* header;
  const RGBQUAD* colors;
  int colorCount;
  const uint8_t* bits;
  int width;
  int height;
  int64_t stride;
  bool topDown;

  const uint8_t* Row(int yFromTop) const {
    const int stored = topDown ? yFromTop : height - 1 - yFromTop;
    return bits + stored * stride;
  }
  uint32_t Palette(int index) const {
    if (index >= colorCount) return 0;
    const RGBQUAD& q = colors[index];
    return (uint32_t(q.rgbRed) << 16) | (uint32_t(q.rgbGreen) << 8) | q.rgbBlue;
  }
  uint32_t Pixel(const uint8_t* row, int x) const {
    switch (header->biBitCount) {
      case 1:
        return Palette((row[x >> 3] >> (7 - (x & 7))) & 1);
      case 4:
        return Palette((row[x >> 1] >> ((x & 1) ? 0 : 4)) & 0xF);
      case 8:
        return Palette(row[x]);
      case 16: {
        const uint16_t v = uint16_t(row[2 * x] | (row[2 * x + 1] << 8));
        return (uint32_t((v >> 10) & 0x1F) << 19) | (uint32_t((v >> 5) & 0x1F) << 11) |
               (uint32_t(v & 0x1F) << 3);
      }
      case 24: {
        const uint8_t* p = row + 3 * x;
        return (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
      }
      case 32: {
        const uint8_t* p = row + 4 * x;
        return (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
      }
      default:
        return 0;
    }
  }
};

bool MakeSource(const BITMAPINFO* info, const void* bits, SourceDib& src) {
  if (!info || !bits) return false;
  const BITMAPINFOHEADER& h = info->bmiHeader;
  const int bc = h.biBitCount;
  if (bc != 1 && bc != 4 && bc != 8 && bc != 16 && bc != 24 && bc != 32) return false;
  if (h.biCompression != BI_RGB || h.biWidth <= 0 || h.biHeight == 0) return false;
  src.header = &h;
  src.colors = info->bmiColors;
  src.colorCount = bc <= 8 ? (h.biClrUsed ? int(std::min<DWORD>(h.biClrUsed, 256)) : 1 << bc) : 0;
  src.bits = static_cast<const uint8_t*>(bits);
  src.width = h.biWidth;
  src.topDown = h.biHeight < 0;
  const int64_t height = h.biHeight;
  if (height < -0x7FFFFFFF) return false;
  src.height = int(height < 0 ? -height : height);
  src.stride = DibStride(h.biWidth, bc);
  return src.height > 0;
}

// One destination axis: pixels covered, and which destination index maps to
// which source offset. A negative extent covers start+extent+1 ... start and
// mirrors the picture.
struct Axis {
  int first;  // first covered surface coordinate
  int count;
  bool mirrored;
  int srcStart;
  int srcCount;
  // Source offset (0 .. srcCount-1) for covered pixel i (0 .. count-1).
  int Source(int i) const {
    const int k = mirrored ? count - 1 - i : i;
    return int((int64_t(2 * k + 1) * srcCount) / (int64_t(2) * count));
  }
};

Axis MakeAxis(int start, int extent, int srcStart, int srcExtent) {
  Axis a{};
  a.mirrored = (extent < 0) != (srcExtent < 0);
  a.count = std::abs(extent);
  a.first = extent < 0 ? start + extent + 1 : start;
  a.srcCount = std::abs(srcExtent);
  a.srcStart = srcExtent < 0 ? srcStart + srcExtent + 1 : srcStart;
  return a;
}

}  // namespace

int StretchDIBits(HDC dc,
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
                  UINT,
                  DWORD rop) {
  SourceDib src{};
  if (!IsLiveDC(dc) || rop != SRCCOPY || !MakeSource(info, bits, src)) return 0;
  if (wDst == 0 || hDst == 0 || wSrc == 0 || hSrc == 0) return 0;
  const Axis ax = MakeAxis(xDst + dc->originX, wDst, xSrc, wSrc);
  Axis ay = MakeAxis(yDst + dc->originY, hDst, ySrc, hSrc);
  // A bottom-up DIB's source rectangle is measured from its bottom row.
  const int srcTop = src.topDown ? ay.srcStart : src.height - ay.srcStart - ay.srcCount;
  RECT r{ax.first, ay.first, ax.first + ax.count, ay.first + ay.count};
  if (!ClipRect(dc, r)) return std::abs(hSrc);
  for (int y = r.top; y < r.bottom; ++y) {
    const int sy = srcTop + ay.Source(y - ay.first);
    if (sy < 0 || sy >= src.height) continue;
    const uint8_t* row = src.Row(sy);
    for (int x = r.left; x < r.right; ++x) {
      const int sx = ax.srcStart + ax.Source(x - ax.first);
      if (sx < 0 || sx >= src.width) continue;
      PutPixel(dc, x, y, src.Pixel(row, sx));
    }
  }
  return std::abs(hSrc);
}

BOOL PatBlt(HDC dc, int x, int y, int w, int h, DWORD rop) {
  if (!IsLiveDC(dc)) return FALSE;
  RECT r{x + dc->originX, y + dc->originY, x + dc->originX + w, y + dc->originY + h};
  if (w < 0) std::swap(r.left, r.right);
  if (h < 0) std::swap(r.top, r.bottom);
  if (!ClipRect(dc, r)) return TRUE;
  switch (rop) {
    case PATCOPY:
      if (dc->brush && dc->brush->style != PS_NULL)
        FillSurface(dc, r, platform::PixelFromColorref(dc->brush->color));
      return TRUE;
    case BLACKNESS:
      FillSurface(dc, r, 0);
      return TRUE;
    case WHITENESS:
      FillSurface(dc, r, 0xFFFFFF);
      return TRUE;
    case DSTINVERT:
      for (int yy = r.top; yy < r.bottom; ++yy)
        for (int xx = r.left; xx < r.right; ++xx)
          PutPixel(dc, xx, yy, ~platform::gdi::GetPixel(dc, xx, yy) & 0xFFFFFF);
      return TRUE;
    default:
      return FALSE;
  }
}
