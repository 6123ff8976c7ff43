// CDC: lines, shapes, pixels and text on the DC's surface.
#include "platform/dc.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <utility>
#include <vector>

#include "platform/font_renderer.h"
#include "platform/gdi_internal.h"

using namespace platform::gdi;

namespace {

uint32_t Px(COLORREF c) { return platform::PixelFromColorref(c); }

bool PenDraws(HDC dc) { return dc->pen && dc->pen->style != PS_NULL; }
bool BrushPaints(HDC dc) { return dc->brush && dc->brush->style != PS_NULL; }

// One pen dot at a logical point: a pixel, or a square for wide pens.
void PenDot(HDC dc, int x, int y) {
  const int w = dc->pen->width;
  const int x0 = x + dc->originX - (w - 1) / 2, y0 = y + dc->originY - (w - 1) / 2;
  const uint32_t rgb = Px(dc->pen->color);
  for (int yy = y0; yy < y0 + w; ++yy)
    for (int xx = x0; xx < x0 + w; ++xx)
      if (InClip(dc, xx, yy)) PutPixel(dc, xx, yy, rgb);
}

// Bresenham from (x0, y0) towards (x1, y1), the end point excluded.
void Line(HDC dc, int x0, int y0, int x1, int y1) {
  const int dx = std::abs(x1 - x0), sx = x0 < x1 ? 1 : -1;
  const int dy = -std::abs(y1 - y0), sy = y0 < y1 ? 1 : -1;
  int err = dx + dy;
  while (x0 != x1 || y0 != y1) {
    PenDot(dc, x0, y0);
    const int e2 = 2 * err;
    if (e2 >= dy) {
      err += dy;
      x0 += sx;
    }
    if (e2 <= dx) {
      err += dx;
      y0 += sy;
    }
  }
}

void FillLogical(HDC dc, int left, int top, int right, int bottom, uint32_t rgb) {
  RECT r{left + dc->originX, top + dc->originY, right + dc->originX, bottom + dc->originY};
  if (ClipRect(dc, r)) FillSurface(dc, r, rgb);
}

int TextLength(const wchar_t* text, int count) {
  if (!text) return 0;
  return count < 0 ? int(std::wcslen(text)) : count;
}

// Splits on line feeds (carriage returns dropped) unless single-line.
std::vector<std::wstring> SplitLines(const wchar_t* text, int count, bool singleLine) {
  std::vector<std::wstring> lines(1);
  for (int i = 0; i < count; ++i) {
    if (text[i] == L'\r') continue;
    if (text[i] == L'\n' && !singleLine) {
      lines.emplace_back();
      continue;
    }
    lines.back() += text[i];
  }
  return lines;
}

}  // namespace

CDC::~CDC() {
  if (owned_) DeleteDC();
}

BOOL CDC::AttachFramebuffer(platform::Framebuffer* fb,
                            const RECT& clientOnScreen,
                            const RECT* clip) {
  if (m_hDC || !fb) return FALSE;
  m_hDC = platform::CreateFramebufferDC(fb, clientOnScreen, clip);
  m_hAttribDC = m_hDC;
  owned_ = m_hDC != nullptr;
  return owned_ ? TRUE : FALSE;
}

BOOL CDC::Attach(HDC dc) {
  if (m_hDC || !dc) return FALSE;
  m_hDC = m_hAttribDC = dc;
  owned_ = false;
  return TRUE;
}

HDC CDC::Detach() {
  HDC dc = m_hDC;
  m_hDC = m_hAttribDC = nullptr;
  owned_ = false;
  return dc;
}

BOOL CDC::DeleteDC() {
  if (!m_hDC) return FALSE;
  HDC dc = Detach();
  return ::DeleteDC(dc);
}

CPen* CDC::SelectObject(CPen* pen) {
  return pen ? CPen::FromHandle(::SelectObject(m_hDC, pen->m_hObject)) : nullptr;
}
CBrush* CDC::SelectObject(CBrush* brush) {
  return brush ? CBrush::FromHandle(::SelectObject(m_hDC, brush->m_hObject)) : nullptr;
}
CGdiObject* CDC::SelectStockObject(int index) {
  return CGdiObject::FromHandle(::SelectObject(m_hDC, ::GetStockObject(index)));
}
int CDC::GetDeviceCaps(int index) const { return ::GetDeviceCaps(m_hAttribDC, index); }

CPoint CDC::MoveTo(int x, int y) {
  if (!IsLiveDC(m_hDC)) return CPoint();
  const CPoint previous(m_hDC->position);
  m_hDC->position = POINT{x, y};
  return previous;
}

BOOL CDC::LineTo(int x, int y) {
  if (!IsLiveDC(m_hDC)) return FALSE;
  if (PenDraws(m_hDC)) Line(m_hDC, m_hDC->position.x, m_hDC->position.y, x, y);
  m_hDC->position = POINT{x, y};
  return TRUE;
}

BOOL CDC::Rectangle(int left, int top, int right, int bottom) {
  if (!IsLiveDC(m_hDC)) return FALSE;
  if (left > right) std::swap(left, right);
  if (top > bottom) std::swap(top, bottom);
  if (!PenDraws(m_hDC)) {
    // Without a pen the filled area is one pixel smaller on the right and bottom.
    if (BrushPaints(m_hDC))
      FillLogical(m_hDC, left, top, right - 1, bottom - 1, Px(m_hDC->brush->color));
    return TRUE;
  }
  if (BrushPaints(m_hDC))
    FillLogical(m_hDC, left + 1, top + 1, right - 1, bottom - 1, Px(m_hDC->brush->color));
  if (right - left < 1 || bottom - top < 1) return TRUE;
  Line(m_hDC, left, top, right - 1, top);
  Line(m_hDC, right - 1, top, right - 1, bottom - 1);
  Line(m_hDC, right - 1, bottom - 1, left, bottom - 1);
  Line(m_hDC, left, bottom - 1, left, top);
  return TRUE;
}

void CDC::FillSolidRect(const RECT* rect, COLORREF color) {
  if (rect)
    FillSolidRect(rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top, color);
}

void CDC::FillSolidRect(int x, int y, int cx, int cy, COLORREF color) {
  if (IsLiveDC(m_hDC)) FillLogical(m_hDC, x, y, x + cx, y + cy, Px(color));
}

BOOL CDC::PatBlt(int x, int y, int width, int height, DWORD rop) {
  return ::PatBlt(m_hDC, x, y, width, height, rop);
}

int CDC::GetClipBox(RECT* rect) const {
  if (!IsLiveDC(m_hDC) || !rect) return RGN_ERROR;
  const RECT& c = m_hDC->clip;
  *rect = RECT{c.left - m_hDC->originX,
               c.top - m_hDC->originY,
               c.right - m_hDC->originX,
               c.bottom - m_hDC->originY};
  return (c.right > c.left && c.bottom > c.top) ? SIMPLEREGION : NULLREGION;
}

COLORREF CDC::SetTextColor(COLORREF color) {
  if (!IsLiveDC(m_hDC)) return CLR_INVALID;
  return std::exchange(m_hDC->textColor, color & 0xFFFFFF);
}
COLORREF CDC::GetTextColor() const { return IsLiveDC(m_hDC) ? m_hDC->textColor : CLR_INVALID; }
int CDC::SetBkMode(int mode) {
  if (!IsLiveDC(m_hDC) || (mode != TRANSPARENT && mode != OPAQUE)) return 0;
  return std::exchange(m_hDC->bkMode, mode);
}

BOOL CDC::TextOut(int x, int y, const wchar_t* text, int count) {
  if (!IsLiveDC(m_hDC)) return FALSE;
  count = TextLength(text, count);
  auto& font = platform::FontRenderer::Instance();
  const int height = m_hDC->textHeight;
  if (m_hDC->bkMode == OPAQUE)
    FillLogical(m_hDC,
                x,
                y,
                x + font.Measure(text, count, height),
                y + font.GetMetrics(height).lineHeight,
                Px(m_hDC->bkColor));
  const uint32_t fg = Px(m_hDC->textColor);
  HDC dc = m_hDC;
  font.Render(text, count, height, [&](int gx, int gy, uint8_t coverage) {
    const int sx = x + gx + dc->originX, sy = y + gy + dc->originY;
    if (!InClip(dc, sx, sy)) return;
    const uint32_t bg = platform::gdi::GetPixel(dc, sx, sy);
    uint32_t out = 0;
    for (int shift = 0; shift <= 16; shift += 8) {
      const uint32_t f = (fg >> shift) & 0xFF, b = (bg >> shift) & 0xFF;
      out |= ((f * coverage + b * (255 - coverage) + 127) / 255) << shift;
    }
    PutPixel(dc, sx, sy, out);
  });
  return TRUE;
}

int CDC::DrawText(const wchar_t* text, int count, RECT* rect, UINT format) {
  if (!IsLiveDC(m_hDC) || !rect) return 0;
  count = TextLength(text, count);
  auto& font = platform::FontRenderer::Instance();
  const int lineHeight = font.GetMetrics(m_hDC->textHeight).lineHeight;
  const auto lines = SplitLines(text, count, (format & DT_SINGLELINE) != 0);
  const int total = lineHeight * int(lines.size());
  if (format & DT_CALCRECT) {
    int widest = 0;
    for (const auto& line : lines)
      widest = std::max(widest, font.Measure(line.c_str(), int(line.size()), m_hDC->textHeight));
    rect->right = rect->left + widest;
    rect->bottom = rect->top + total;
    return total;
  }
  int y = rect->top;
  if ((format & DT_SINGLELINE) && (format & DT_VCENTER))
    y = rect->top + (rect->bottom - rect->top - lineHeight) / 2;
  if ((format & DT_SINGLELINE) && (format & DT_BOTTOM)) y = rect->bottom - lineHeight;
  const RECT savedClip = m_hDC->clip;
  if (!(format & DT_NOCLIP)) {
    RECT r{rect->left + m_hDC->originX,
           rect->top + m_hDC->originY,
           rect->right + m_hDC->originX,
           rect->bottom + m_hDC->originY};
    if (!ClipRect(m_hDC, r)) r = RECT{0, 0, 0, 0};
    m_hDC->clip = r;
  }
  for (const auto& line : lines) {
    const int width = font.Measure(line.c_str(), int(line.size()), m_hDC->textHeight);
    int x = rect->left;
    if (format & DT_CENTER) x = rect->left + (rect->right - rect->left - width) / 2;
    if (format & DT_RIGHT) x = rect->right - width;
    TextOut(x, y, line.c_str(), int(line.size()));
    y += lineHeight;
  }
  m_hDC->clip = savedClip;
  return total;
}
