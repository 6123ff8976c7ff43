// CDibEx: creation, copying and thumbnails.
#include "image/dib_ex.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// Mean of the source box [cx-hx, cx+hx] × [cy-hy, cy+hy] (inside the
// source) into out; false when the box holds no source pixel.
bool BoxMean(const CDibEx& src, int channels, int cx, int cy, int hx, int hy, BYTE* out) {
  const CSize size = src.GetDimensions();
  const int x0 = std::max(cx - hx, 0), x1 = std::min(cx + hx, size.cx - 1);
  const int y0 = std::max(cy - hy, 0), y1 = std::min(cy + hy, size.cy - 1);
  if (x0 > x1 || y0 > y1) return false;
  const DWORD stride = src.GetByteWidth();
  int64_t sum[3] = {0, 0, 0};
  for (int y = y0; y <= y1; ++y) {
    const BYTE* row = src.m_imageBits + size_t(size.cy - 1 - y) * stride + size_t(x0) * channels;
    for (int x = x0; x <= x1; ++x)
      for (int c = 0; c < channels; ++c) sum[c] += *row++;
  }
  const int64_t count = int64_t(x1 - x0 + 1) * (y1 - y0 + 1);
  for (int c = 0; c < channels; ++c) out[c] = BYTE(std::clamp<int64_t>(sum[c] / count, 0, 255));
  return true;
}

}  // namespace

CDibEx::CDibEx() : m_created(0) {}

CDibEx::CDibEx(CSize size, int nBitCount) : CDib(size, nBitCount), m_created(1) {}

CDibEx::CDibEx(const CDibEx& other) : CDibEx() { *this = other; }

CDibEx& CDibEx::operator=(const CDibEx& other) {
  if (this == &other) return *this;
  const CSize size = other.GetDimensions();
  if (other.m_imageBits && size.cx > 0 && size.cy > 0)
    CreateFrom(&other, TRUE, -1);
  else
    Empty();
  return *this;
}

CDibEx::~CDibEx() { Empty(); }

int CDibEx::Create(CSize size, int nBitCount, int nNumColors, int bGrayPalette, int nFill) {
  Empty();
  int entries = 0;
  switch (nBitCount) {
    case 1:
      entries = 2;
      break;
    case 4:
      entries = 16;
      break;
    case 8:
      entries = bGrayPalette ? 256 : std::clamp(nNumColors, 0, 256);
      break;
    default:
      break;
  }
  m_infoHeader = reinterpret_cast<BITMAPINFOHEADER*>(image::AllocBlock(40 + 4 * size_t(entries)));
  if (!m_infoHeader) return FALSE;
  m_headerAlloc = crtAlloc;
  m_imageAlloc = crtAlloc;
  m_colorEntries = entries;
  *m_infoHeader = BITMAPINFOHEADER{
      40, size.cx, size.cy, 1, WORD(nBitCount), BI_RGB, 0, 0, 0, DWORD(entries), DWORD(entries)};
  ComputeMetrics();
  auto* table = reinterpret_cast<RGBQUAD*>(m_colorTable);
  std::memset(table, 0, 4 * size_t(entries));
  if (entries == 256 && bGrayPalette)
    for (int i = 0; i < 256; ++i) table[i] = RGBQUAD{BYTE(i), BYTE(i), BYTE(i), 0};
  m_imageBits = image::AllocBlock(m_imageSize);
  if (!m_imageBits) return FALSE;
  if (nFill >= 0) std::memset(m_imageBits, nFill & 255, m_imageSize);
  return TRUE;
}

int CDibEx::CreateFrom(const CDibEx* src, int bCopyBits, int nFill) {
  if (!src || src == this || !src->m_infoHeader) return FALSE;
  Empty();
  m_headerAlloc = crtAlloc;
  m_imageAlloc = crtAlloc;
  const size_t headerBytes = 40 + 4 * size_t(src->m_colorEntries);
  m_infoHeader = reinterpret_cast<BITMAPINFOHEADER*>(image::AllocBlock(headerBytes));
  if (!m_infoHeader) return FALSE;
  std::memcpy(m_infoHeader, src->m_infoHeader, headerBytes);
  m_colorEntries = src->m_colorEntries;
  ComputeMetrics();
  if (m_imageSize != src->m_imageSize) {
    Empty();
    return FALSE;
  }
  m_imageBits = image::AllocBlock(m_imageSize);
  if (!m_imageBits) return FALSE;
  if (bCopyBits && src->m_imageBits)
    std::memcpy(m_imageBits, src->m_imageBits, m_imageSize);
  else if (!bCopyBits && nFill >= 0)
    std::memset(m_imageBits, nFill & 255, m_imageSize);
  ComputePaletteSize(m_infoHeader->biBitCount);
  MakePalette();
  return TRUE;
}

DWORD CDibEx::GetByteWidth() const {
  if (!m_infoHeader) return 0;
  const int64_t bits = int64_t(m_infoHeader->biBitCount) * m_infoHeader->biWidth;
  return DWORD(4 * ((bits + 31) / 32));
}

DWORD CDibEx::GetParityBytes() const {
  if (!m_infoHeader) return 0;
  return GetByteWidth() - DWORD(int64_t(m_infoHeader->biBitCount) * m_infoHeader->biWidth / 8);
}

void CDibEx::RebuildHeader(const CDibEx* src, int width, int height) {
  Empty();
  m_headerAlloc = crtAlloc;
  m_imageAlloc = crtAlloc;
  const size_t headerBytes = 40 + 4 * size_t(src->m_colorEntries);
  m_infoHeader = reinterpret_cast<BITMAPINFOHEADER*>(image::AllocBlock(headerBytes));
  if (!m_infoHeader) return;
  std::memcpy(m_infoHeader, src->m_infoHeader, headerBytes);
  m_colorEntries = src->m_colorEntries;
  m_infoHeader->biWidth = width;
  m_infoHeader->biHeight = height;
  m_infoHeader->biSizeImage = 0;
  ComputeMetrics();
}

int CDibEx::CreateThumbnail(CDibEx* src, double xRatio, double yRatio) {
  if (!src || src == this || !src->HasPixels() || xRatio <= 0 || yRatio <= 0) return FALSE;
  const CSize size = src->GetDimensions();
  const int width = int(size.cx / xRatio), height = int(size.cy / yRatio);
  RebuildHeader(src, width, height);
  if (!m_infoHeader) return FALSE;
  m_imageBits = image::AllocBlock(m_imageSize);
  if (!m_imageBits || !IsPixelDepth()) return FALSE;
  const int mode = m_infoHeader->biBitCount == 8 ? 3 : 4;
  BYTE pixel[3];
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      if (src->GetPixel(pixel, CPoint(int(x * xRatio), int(y * yRatio)), mode))
        SetPixel(pixel, CPoint(x, y), mode);
  MakePalette();
  return TRUE;
}

int CDibEx::CreateThumbnail(CDibEx* src, CSize size) {
  if (!src || size.cx < 1 || size.cy < 1) return FALSE;
  const CSize full = src->GetDimensions();
  return CreateThumbnail(src, double(full.cx) / size.cx, double(full.cy) / size.cy);
}

int CDibEx::CreateThumbnail2(CDibEx* src, int nStep) {
  if (!src || src == this || !src->HasPixels() || nStep < 1) return FALSE;
  const CSize size = src->GetDimensions();
  const int width = size.cx / nStep - 1, height = size.cy / nStep - 1;
  if (width < 2 || height < 2) return FALSE;
  RebuildHeader(src, width, height);
  if (!m_infoHeader) return FALSE;
  m_imageBits = image::AllocBlock(m_imageSize);
  if (!m_imageBits || !IsPixelDepth()) return FALSE;
  const int channels = m_infoHeader->biBitCount / 8;
  const int half = std::max(1, nStep / 2);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      BoxMean(*src, channels, x * nStep, y * nStep, half, half, PixelAddress(CPoint(x, y)));
  MakePalette();
  return TRUE;
}

int CDibEx::CreateThumbnail3(CDibEx* src, double xRatio, double yRatio) {
  if (!src || src == this || !src->HasPixels() || xRatio <= 0 || yRatio <= 0) return FALSE;
  const CSize size = src->GetDimensions();
  const int width = int(size.cx / xRatio + 0.5), height = int(size.cy / yRatio + 0.5);
  // The header is rebuilt before the size is checked: a refused call leaves
  // a header without pixels.
  RebuildHeader(src, width, height);
  if (!m_infoHeader || width < 2 || height < 2) return FALSE;
  m_imageBits = image::AllocBlock(m_imageSize);
  if (!m_imageBits || !IsPixelDepth()) return FALSE;
  const int channels = m_infoHeader->biBitCount / 8;
  const int hx = std::max(1, int((xRatio + 1) * 0.5)), hy = std::max(1, int((yRatio + 1) * 0.5));
  for (int y = 0; y < height; ++y) {
    const int cy = int(y * yRatio + 0.5);
    for (int x = 0; x < width; ++x)
      BoxMean(*src, channels, int(x * xRatio + 0.5), cy, hx, hy, PixelAddress(CPoint(x, y)));
  }
  MakePalette();
  return TRUE;
}
