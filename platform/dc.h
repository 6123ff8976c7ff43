#pragma once
// CDC: the framework's device context over our drawing surfaces.
//
// How a CDC is made:
//   * On a framebuffer (the screen): AttachFramebuffer(fb, clientOnScreen)
//     creates an owned HDC whose logical (0, 0) is clientOnScreen's top-left
//     corner and whose clip rectangle is clientOnScreen cut to the
//     framebuffer; an optional third argument narrows the clip further (an
//     update rectangle in client coordinates). Both m_hDC and m_hAttribDC are
//     set, as for a window DC. Windows code builds its CPaintDC / GetDC on
//     this (see platform/paint_dc.h for the CPaintDC hook).
//   * Attach(hdc) wraps an existing HDC without owning it.
//   * Without an attribute context: ReleaseAttribDC drops m_hAttribDC, as the
//     framework has it. Drawing goes to m_hDC; GetDeviceCaps asks
//     m_hAttribDC (0 when there is none).
//
// Coordinates are logical pixels (no mapping modes). Every drawing call is
// clipped to the DC's clip rectangle. Colours are COLORREF (0x00BBGGRR) and
// land on the framebuffer as 0x00RRGGBB.
#include <string>

#include "platform/afx_string.h"
#include "platform/bitmap.h"
#include "platform/brush.h"
#include "platform/export.h"
#include "platform/framebuffer.h"
#include "platform/gdi.h"
#include "platform/palette.h"
#include "platform/pen.h"
#include "platform/point.h"
#include "platform/rect.h"
#include "platform/size.h"
#include "platform/types.h"

namespace platform {
// A new HDC drawing on fb with logical (0, 0) at origin's top-left and clip
// rectangle origin ∩ clip-in-logical-coordinates ∩ framebuffer. Release it
// with DeleteDC. clipInLogical null: the whole of origin.
SURVEYCAM_API HDC CreateFramebufferDC(Framebuffer* fb,
                                      const RECT& origin,
                                      const RECT* clipInLogical = nullptr);
}  // namespace platform

class SURVEYCAM_API CDC {
 public:
  CDC() = default;
  virtual ~CDC();
  CDC(const CDC&) = delete;
  CDC& operator=(const CDC&) = delete;

  HDC m_hDC = nullptr;
  HDC m_hAttribDC = nullptr;

  // ---- Making and releasing ----
  BOOL AttachFramebuffer(platform::Framebuffer* fb,
                         const RECT& clientOnScreen,
                         const RECT* clip = nullptr);
  BOOL Attach(HDC dc);  // not owned: Detach or destruction leaves it alive
  HDC Detach();
  BOOL DeleteDC();
  void ReleaseAttribDC() { m_hAttribDC = nullptr; }
  HDC GetSafeHdc() const { return m_hDC; }

  // ---- Objects ----
  CPen* SelectObject(CPen* pen);
  CBrush* SelectObject(CBrush* brush);
  CGdiObject* SelectStockObject(int index);
  int GetDeviceCaps(int index) const;

  // ---- Lines and shapes (current pen and brush) ----
  CPoint MoveTo(int x, int y);
  // Draws from the current position to (x, y), the end pixel excluded.
  BOOL LineTo(int x, int y);
  // Outline with the pen, inside filled with the brush; right/bottom exclusive.
  BOOL Rectangle(int left, int top, int right, int bottom);
  void FillSolidRect(const RECT* rect, COLORREF color);
  void FillSolidRect(int x, int y, int cx, int cy, COLORREF color);
  BOOL PatBlt(int x, int y, int width, int height, DWORD rop);
  int GetClipBox(RECT* rect) const;

  // ---- Text (DejaVu Sans through FreeType) ----
  COLORREF SetTextColor(COLORREF color);
  COLORREF GetTextColor() const;
  int SetBkMode(int mode);
  BOOL TextOut(int x, int y, const wchar_t* text, int count);
  // count -1: up to the terminator. Returns the height of the text drawn.
  int DrawText(const wchar_t* text, int count, RECT* rect, UINT format);
  int DrawText(const CString& text, RECT* rect, UINT format) {
    return DrawText(text, text.GetLength(), rect, format);
  }

 private:
  bool owned_ = false;
};
