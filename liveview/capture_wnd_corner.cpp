// CCaptureWnd: the corner display of corner mode.
//
// While a tap is held on the tele camera, each paint looks for the corner
// nearest to the tap point in the picture under the client area and marks
// it with a red cross; the tap mark stays where the operator tapped, and the
// tap's aiming differences stay the tap's. A host that wants to aim at the
// corner instead asks GetCornerMoveAng. Positions are client pixels; the
// corner, sub-pixel in the picture, is rounded to the nearest pixel.
#include <cmath>
#include <cstdlib>

#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "liveview/vcap.h"
#include "platform/dc.h"

namespace {

constexpr int kTeleCamera = 0;
constexpr int kCornerMode = 2;
constexpr COLORREF kCornerColour = 255;  // red, apart from the green tap mark
constexpr int kCrossHalf = 10;
constexpr int kSteadyPixels = 8;  // hysteresis: smaller moves keep the old cross

int RoundToPixel(double v) { return int(std::floor(v + 0.5)); }

}  // namespace

bool CCaptureWnd::GrabCornerPicture(CDibEx& image) {
  if (!m_pVCap) return false;
  if (!m_bSnapShot) {
    GetCaptureDisplay(image);
    return image.m_imageBits != nullptr;
  }
  // Frozen: read the picture on screen without starting capture again.
  RECT rect;
  GetClientRect(&rect);
  ClientToScreen(&rect);
  const int width = rect.right - rect.left;
  const int height = rect.bottom - rect.top;
  if (width <= 0 || height <= 0) return false;
  const size_t pixels = size_t(width) * size_t(height);
  if (m_DispBuf.size() < pixels) m_DispBuf.resize(pixels);
  if (!m_pVCap->GetCaptureData2(
          reinterpret_cast<BYTE*>(m_DispBuf.data()), width * height * 2, &rect, 1)) {
    return false;
  }
  FrameToImage(m_DispBuf.data(), width, height, image);
  return image.m_imageBits != nullptr;
}

int CCaptureWnd::SearchCorner() {
  // The timer's exposure work would change the picture under the search.
  m_bTimerLock = 1;
  CDibEx picture;
  double x = 0.0, y = 0.0;
  const bool found =
      GrabCornerPicture(picture) && m_PrcCorner.FindCorner(picture, CPoint(m_ptTap), x, y);
  m_bTimerLock = 0;
  if (!found) return 0;
  m_ptCorner.x = RoundToPixel(x);
  m_ptCorner.y = RoundToPixel(y);
  return 1;
}

void CCaptureWnd::DrawCorner(CDC* dc) {
  m_bCornerFound = 0;
  if (m_nMode != kCornerMode || m_bTapped != 1 || GetCurCamera() != kTeleCamera) return;
  if (SearchCorner()) DrawCornerCross(dc, m_ptCorner);  // no corner near the tap: no cross
}

// With hysteresis on, a corner within 8 pixels of the last cross keeps the
// cross where it was, so that pixel jitter of the live picture does not
// shake it.
void CCaptureWnd::DrawCornerCross(CDC* dc, POINT at) {
  const bool steady = m_bHysteresisMode && m_bCornerDrawn &&
                      std::abs(at.x - m_ptCornerDrawn.x) <= kSteadyPixels &&
                      std::abs(at.y - m_ptCornerDrawn.y) <= kSteadyPixels;
  if (steady) at = m_ptCornerDrawn;
  CPen pen(PS_SOLID, 0, kCornerColour);
  CPen* old_pen = dc->SelectObject(&pen);
  dc->MoveTo(at.x - kCrossHalf, at.y);
  dc->LineTo(at.x + kCrossHalf, at.y);
  dc->MoveTo(at.x, at.y - kCrossHalf);
  dc->LineTo(at.x, at.y + kCrossHalf);
  dc->SelectObject(old_pen);
  pen.DeleteObject();
  m_ptCornerDrawn = at;
  m_bCornerDrawn = 1;
  MoveAngTo(at, m_dCornerDV, m_dCornerDH);
  m_bCornerFound = 1;
}

int CCaptureWnd::GetCornerMoveAng(double& dv, double& dh) {
  if (m_nMode != kCornerMode || !m_bCornerFound) return 0;
  dv = m_dCornerDV;
  dh = m_dCornerDH;
  return 1;
}
