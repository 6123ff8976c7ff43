// CCaptureWnd: the corner search of corner mode and its mark.
//
// A tap accepted in corner mode (tele camera, measurement taken) is handed
// to the corner finder together with the picture under the client area; the
// corner nearest to the tap becomes the aiming point, so the angle
// differences turn the telescope onto the corner rather than onto the
// roughly tapped pixel. The tap mark stays where the operator tapped; the
// corner gets a cross of its own. Positions are client pixels; the found
// corner, sub-pixel in the picture, is rounded to the nearest pixel.
#include <cmath>
#include <cstdlib>

#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "liveview/vcap.h"
#include "platform/dc.h"
#include "platform/message_box.h"
#include "platform/xlate.h"

namespace {

constexpr int kTeleCamera = 0;
constexpr int kCornerMode = 2;
constexpr COLORREF kCornerColour = 255;  // red, apart from the green tap mark
constexpr int kCrossHalf = 10;
constexpr int kSteadyPixels = 8;  // hysteresis: smaller moves keep the old cross
constexpr const wchar_t* kNoCorner = L"No corner was found near the specified point.";

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
  if (!m_pVCap->GetCaptureData2(reinterpret_cast<BYTE*>(m_DispBuf.data()), width * height * 2, &rect, 1)) {
    return false;
  }
  FrameToImage(m_DispBuf.data(), width, height, image);
  return image.m_imageBits != nullptr;
}

int CCaptureWnd::SearchCorner(int bTell) {
  m_bCornerFound = 0;
  // The timer's exposure work would change the picture under the search.
  m_bTimerLock = 1;
  CDibEx picture;
  double x = 0.0, y = 0.0;
  const bool found = GrabCornerPicture(picture) && m_PrcCorner.FindCorner(picture, CPoint(m_ptTap), x, y);
  m_bTimerLock = 0;
  if (!found) {
    if (bTell) AfxMessageBox(Xlate(kNoCorner));
    return 0;
  }
  m_ptCorner.x = RoundToPixel(x);
  m_ptCorner.y = RoundToPixel(y);
  m_bCornerFound = 1;
  m_dCornerZoom = m_dZoom[kTeleCamera];
  // Aim at the corner: MakeMoveAng works on the tap point.
  const POINT tap = m_ptTap;
  m_ptTap = m_ptCorner;
  MakeMoveAng();
  m_ptTap = tap;
  return 1;
}

void CCaptureWnd::DrawCorner(CDC* dc) {
  if (m_nMode != kCornerMode || m_bTapped != 1 || !m_bCornerFound || GetCurCamera() != kTeleCamera) return;
  // A zoom scales the tap about the centre; the corner is found again there.
  if (m_dCornerZoom != m_dZoom[kTeleCamera] && !SearchCorner(0)) return;
  POINT at = m_ptCorner;
  const bool steady = m_bHysteresisMode && m_bCornerDrawn && std::abs(at.x - m_ptCornerDrawn.x) <= kSteadyPixels &&
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
}
