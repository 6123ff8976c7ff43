// CDibEx: drawing a part of the image, and drawing it row by row.
#include <cmath>
#include <cstring>

#include "image/dib_ex.h"

bool CDibEx::ResolveSource(CPoint& src, CSize& srcSize) const {
  const CSize size = GetDimensions();
  if (srcSize.cx == 0 || srcSize.cy == 0) srcSize = size;
  if (!CRect(CPoint(0, 0), size).PtInRect(src)) return false;
  return src.x + srcSize.cx <= size.cx && src.y + srcSize.cy <= size.cy && srcSize.cx > 0 &&
         srcSize.cy > 0;
}

int CDibEx::DrawEx(CDC* dc, CPoint dst, CSize dstSize, CPoint src, CSize srcSize) {
  if (!m_infoHeader || !dc) return FALSE;
  if (m_palette) ::SelectPalette(dc->GetSafeHdc(), m_palette, TRUE);
  if (!ResolveSource(src, srcSize)) return FALSE;
  const int height = dc->m_hAttribDC ? dstSize.cy : -dstSize.cy;
  ::StretchDIBits(dc->GetSafeHdc(),
                  dst.x,
                  dst.y,
                  dstSize.cx,
                  height,
                  src.x,
                  src.y,
                  srcSize.cx,
                  srcSize.cy,
                  m_imageBits,
                  reinterpret_cast<const BITMAPINFO*>(m_infoHeader),
                  DIB_RGB_COLORS,
                  SRCCOPY);
  return TRUE;
}

// Blits source rows src.y .. src.y + srcSize.cy - 1 (stored order, bottom
// row first) one at a time. Row i fills a band of ceil(ratio) destination
// rows whose lowest row is dst.y + dstSize.cy - 1 - floor(i * ratio): the
// negative blit height grows the band upwards, inside the destination.
// Returns the rows drawn.
int CDibEx::DrawRows(CDC* dc, CPoint dst, CSize dstSize, CPoint src, CSize srcSize) {
  if (!m_imageBits) return 0;
  BITMAPINFOHEADER saved;
  std::memcpy(&saved, m_infoHeader, sizeof saved);
  const DWORD stride = GetByteWidth();
  m_infoHeader->biHeight = 1;
  m_infoHeader->biSizeImage = stride;
  const float ratio = float(dstSize.cy) / float(srcSize.cy);
  const int band = int(std::ceil(ratio));
  int drawn = 0;
  for (int i = 0; i < srcSize.cy; ++i) {
    const BYTE* row = m_imageBits + size_t(src.y + i) * stride;
    const int y = dst.y + dstSize.cy - 1 - int(std::floor(i * ratio));
    if (!::StretchDIBits(dc->GetSafeHdc(),
                         dst.x,
                         y,
                         dstSize.cx,
                         -band,
                         src.x,
                         0,
                         srcSize.cx,
                         1,
                         row,
                         reinterpret_cast<const BITMAPINFO*>(m_infoHeader),
                         DIB_RGB_COLORS,
                         SRCCOPY))
      break;
    ++drawn;
  }
  std::memcpy(m_infoHeader, &saved, sizeof saved);
  return drawn;
}

int CDibEx::Draw2(CDC* dc, CPoint dst, CSize dstSize) {
  if (!m_infoHeader || !dc) return FALSE;
  const CSize size = GetDimensions();
  if (size.cx <= 0 || size.cy <= 0) return FALSE;
  return DrawRows(dc, dst, dstSize, CPoint(0, 0), size) == size.cy ? TRUE : FALSE;
}

int CDibEx::DrawEx2(CDC* dc, CPoint dst, CSize dstSize, CPoint src, CSize srcSize) {
  if (!m_infoHeader || !dc || !ResolveSource(src, srcSize)) return FALSE;
  return DrawRows(dc, dst, dstSize, src, srcSize) == srcSize.cy ? TRUE : FALSE;
}
