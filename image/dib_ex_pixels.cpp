// CDibEx: histograms, colour conversions and pixel access.
#include <algorithm>
#include <climits>
#include <cstring>

#include "image/dib_ex.h"

namespace {

// Luminance as the pixel accessors compute it.
BYTE Luminance(BYTE b, BYTE g, BYTE r) { return BYTE(0.59 * g + 0.11 * b + 0.3 * r); }

const RGBQUAD* Table(const CDib& dib) { return reinterpret_cast<const RGBQUAD*>(dib.m_colorTable); }

// The palette entry of an index; indices past the table read as black.
RGBQUAD Entry(const CDib& dib, BYTE index) {
  return index < dib.m_colorEntries ? Table(dib)[index] : RGBQUAD{0, 0, 0, 0};
}

// Calls visit(b, g, r) for every pixel of an 8-bit (through the palette) or
// 24-bit image; rows are walked by byte width, padding skipped.
template <class Visit>
void ForEachColor(const CDibEx& dib, Visit visit) {
  const CSize size = dib.GetDimensions();
  const DWORD stride = dib.GetByteWidth();
  const int bits = dib.m_infoHeader->biBitCount;
  for (int y = 0; y < size.cy; ++y) {
    const BYTE* row = dib.m_imageBits + size_t(y) * stride;
    for (int x = 0; x < size.cx; ++x) {
      if (bits == 24) {
        visit(row[3 * x], row[3 * x + 1], row[3 * x + 2]);
      } else {
        const RGBQUAD q = Entry(dib, row[x]);
        visit(q.rgbBlue, q.rgbGreen, q.rgbRed);
      }
    }
  }
}

bool ColorImage(const CDibEx& dib) {
  if (!dib.m_imageBits) return false;
  const int bits = dib.m_infoHeader->biBitCount;
  return bits == 24 || (bits == 8 && dib.m_colorEntries > 0);
}

}  // namespace

int CDibEx::GetHistgram(int* red, int* green, int* blue) {
  for (int* bins : {red, green, blue})
    if (bins) std::fill_n(bins, 256, 0);
  if (!m_infoHeader) return FALSE;
  if (!red || !green || !blue || !ColorImage(*this)) return TRUE;
  ForEachColor(*this, [&](BYTE b, BYTE g, BYTE r) {
    ++red[r];
    ++green[g];
    ++blue[b];
  });
  return TRUE;
}

int CDibEx::GetDensityRange(int* pMin, int* pMax) {
  if (!m_infoHeader || !pMin || !pMax) return FALSE;
  std::fill_n(pMin, 4, INT_MAX);
  std::fill_n(pMax, 4, INT_MIN);
  if (!ColorImage(*this)) return TRUE;
  ForEachColor(*this, [&](BYTE b, BYTE g, BYTE r) {
    const int channel[3] = {r, g, b};
    for (int c = 0; c < 3; ++c) {
      pMin[c] = std::min(pMin[c], channel[c]);
      pMax[c] = std::max(pMax[c], channel[c]);
    }
  });
  pMax[3] = std::max({pMax[0], pMax[1], pMax[2]});
  pMin[3] = std::min({pMin[0], pMin[1], pMin[2]});
  return TRUE;
}

int CDibEx::IsGrayScale() {
  if (!m_infoHeader || m_infoHeader->biBitCount != 8 || m_colorEntries != 256) return FALSE;
  const RGBQUAD* table = Table(*this);
  for (int i = 0; i < 256; ++i)
    if (table[i].rgbRed != i || table[i].rgbGreen != i || table[i].rgbBlue != i) return FALSE;
  return TRUE;
}

int CDibEx::GrayScale(CDibEx* dst) {
  if (!dst || dst == this || !m_infoHeader || m_infoHeader->biBitCount < 8 || IsGrayScale())
    return FALSE;
  const CSize size = GetDimensions();
  if (!dst->Create(size, 8, 256, TRUE, -1)) return FALSE;
  if (!m_imageBits) return TRUE;
  if (m_infoHeader->biBitCount == 24) {
    const DWORD srcStride = GetByteWidth(), dstStride = dst->GetByteWidth();
    for (int y = 0; y < size.cy; ++y) {
      const BYTE* in = m_imageBits + size_t(y) * srcStride;
      BYTE* out = dst->m_imageBits + size_t(y) * dstStride;
      for (int x = 0; x < size.cx; ++x, in += 3)
        out[x] = BYTE(0.11 * in[0] + 0.3 * in[2] + 0.59 * in[1]);
    }
  } else if (m_infoHeader->biBitCount == 8) {
    // Same geometry: every byte, padding included, maps through the palette.
    const DWORD n = std::min(m_imageSize, dst->m_imageSize);
    for (DWORD i = 0; i < n; ++i) {
      const RGBQUAD q = Entry(*this, m_imageBits[i]);
      dst->m_imageBits[i] = BYTE(0.59 * q.rgbGreen + 0.11 * q.rgbBlue + 0.3 * q.rgbRed);
    }
  }
  return TRUE;
}

int CDibEx::FullColor(CDibEx* dst) {
  if (!dst || dst == this || !m_infoHeader || m_infoHeader->biBitCount != 8 || IsGrayScale())
    return FALSE;
  const CSize size = GetDimensions();
  if (!dst->Create(size, 24, 256, TRUE, -1)) return FALSE;
  if (!m_imageBits) return TRUE;
  const DWORD srcStride = GetByteWidth(), dstStride = dst->GetByteWidth();
  for (int y = 0; y < size.cy; ++y) {
    const BYTE* in = m_imageBits + size_t(y) * srcStride;
    BYTE* out = dst->m_imageBits + size_t(y) * dstStride;
    for (int x = 0; x < size.cx; ++x, out += 3) {
      const RGBQUAD q = Entry(*this, in[x]);
      out[0] = q.rgbBlue;
      out[1] = q.rgbGreen;
      out[2] = q.rgbRed;
    }
  }
  return TRUE;
}

int CDibEx::Reverse() {
  if (!m_infoHeader) return FALSE;
  if (m_colorEntries > 0) {
    auto* table = reinterpret_cast<RGBQUAD*>(m_colorTable);
    for (int i = 0; i < m_colorEntries; ++i) {
      table[i].rgbRed = BYTE(255 - table[i].rgbRed);
      table[i].rgbGreen = BYTE(255 - table[i].rgbGreen);
      table[i].rgbBlue = BYTE(255 - table[i].rgbBlue);
    }
  } else if (m_imageBits) {
    for (DWORD i = 0; i < m_imageSize; ++i) m_imageBits[i] = BYTE(255 - m_imageBits[i]);
  }
  MakePalette();
  return TRUE;
}

int CDibEx::ChangeDensity(const BYTE* red, const BYTE* green, const BYTE* blue) {
  if (!m_infoHeader || !red || !green || !blue) return FALSE;
  if (m_infoHeader->biBitCount == 8) {
    auto* table = reinterpret_cast<RGBQUAD*>(m_colorTable);
    for (int i = 0; i < m_colorEntries; ++i) {
      table[i].rgbRed = red[table[i].rgbRed];
      table[i].rgbGreen = green[table[i].rgbGreen];
      table[i].rgbBlue = blue[table[i].rgbBlue];
    }
  } else if (m_infoHeader->biBitCount == 24) {
    const CSize size = GetDimensions();
    BYTE* p = m_imageBits;
    for (int y = 0; p && y < size.cy; ++y) {
      for (int x = 0; x < size.cx; ++x, p += 3) {
        p[0] = blue[p[0]];
        p[1] = green[p[1]];
        p[2] = red[p[2]];
      }
      p += GetParityBytes();
    }
  } else {
    return FALSE;
  }
  MakePalette();
  return TRUE;
}

BYTE* CDibEx::PixelAddress(CPoint pt) const {
  const size_t row = size_t(m_infoHeader->biHeight - pt.y - 1);
  return m_imageBits + row * GetByteWidth() + size_t(pt.x) * (m_infoHeader->biBitCount / 8);
}

int CDibEx::GetPixel(BYTE* p, CPoint pt, int nMode) {
  if (!p || !HasPixels() || !IsPixelDepth()) return FALSE;
  if (!CRect(CPoint(0, 0), GetDimensions()).PtInRect(pt)) return FALSE;
  const BYTE* px = PixelAddress(pt);
  if (m_infoHeader->biBitCount == 8) {
    *p = *px;
    return TRUE;
  }
  switch (nMode) {
    case 0:
      *p = px[2];
      return TRUE;
    case 1:
      *p = px[1];
      return TRUE;
    case 2:
      *p = px[0];
      return TRUE;
    case 3:
      *p = Luminance(px[0], px[1], px[2]);
      return TRUE;
    case 4:
      std::memcpy(p, px, 3);
      return TRUE;
    default:
      return FALSE;
  }
}

int CDibEx::SetPixel(BYTE* p, CPoint pt, int nMode) {
  if (!p || !HasPixels() || !IsPixelDepth()) return FALSE;
  if (!CRect(CPoint(0, 0), GetDimensions()).PtInRect(pt)) return FALSE;
  BYTE* px = PixelAddress(pt);
  if (m_infoHeader->biBitCount == 8) {
    *px = *p;
    return TRUE;
  }
  switch (nMode) {
    case 0:
      px[2] = *p;
      return TRUE;
    case 1:
      px[1] = *p;
      return TRUE;
    case 2:
      px[0] = *p;
      return TRUE;
    case 4:
      std::memcpy(px, p, 3);
      return TRUE;
    default:
      return FALSE;  // 3 (luminance) is read-only
  }
}

int CDibEx::PicupImage(BYTE* p, CRect rc, int nMode) {
  if (!p || !HasPixels() || rc.IsRectEmpty() || !IsPixelDepth() || nMode > 4) return FALSE;
  if (m_infoHeader->biBitCount == 24 && nMode < 0) return FALSE;
  const CSize size = GetDimensions();
  if (rc.left < 0 || rc.top < 0 || rc.right > size.cx || rc.bottom > size.cy) return FALSE;
  const int itemBytes = (m_infoHeader->biBitCount == 24 && nMode == 4) ? 3 : 1;
  for (int y = rc.top; y < rc.bottom; ++y)
    for (int x = rc.left; x < rc.right; ++x, p += itemBytes) GetPixel(p, CPoint(x, y), nMode);
  return TRUE;
}

int CDibEx::ReplaceImage(BYTE* p, CRect rc, int nMode) {
  if (!p || !HasPixels() || rc.IsRectEmpty() || !IsPixelDepth() || nMode > 4 || nMode == 3)
    return FALSE;
  if (m_infoHeader->biBitCount == 24 && nMode < 0) return FALSE;
  const CSize size = GetDimensions();
  if (rc.left < 0 || rc.top < 0 || rc.right > size.cx || rc.bottom > size.cy) return FALSE;
  const int itemBytes = (m_infoHeader->biBitCount == 24 && nMode == 4) ? 3 : 1;
  for (int y = rc.top; y < rc.bottom; ++y)
    for (int x = rc.left; x < rc.right; ++x, p += itemBytes) SetPixel(p, CPoint(x, y), nMode);
  return TRUE;
}
