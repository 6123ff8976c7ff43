// CCaptureWnd: measurement modes, their status flags, keys and taps.
//
// Modes (m_nMode): 0 none, 1 offset, 2 corner, 3 distance, 4 remote
// elevation, 5 camera alignment (CCD attach), 6 user camera offset. The mode
// decides what the paint handler draws, which keys act and what a tap does.
// Taps are in client pixels; the offset marker's origin is in sensor pixels
// of the tele camera (its image centre).
#include "liveview/capture_wnd.h"
#include "liveview/vcap.h"
#include "platform/message_box.h"
#include "platform/xlate.h"

namespace {

enum Mode {
  kNone = 0,
  kOffset = 1,
  kCorner = 2,
  kDistance = 3,
  kRem = 4,
  kCcdAttach = 5,
  kUserCcd = 6
};

constexpr UINT kKeyLeft = 37;
constexpr UINT kKeyUp = 38;
constexpr UINT kKeyRight = 39;
constexpr UINT kKeyDown = 40;
constexpr UINT kKeyTele = 49;      // "1"
constexpr UINT kKeyWide = 50;      // "2"
constexpr UINT kKeyExposure = 51;  // "3"
constexpr UINT kKeyCursor = 57;    // "9"
constexpr int kTeleCamera = 0;

bool ShiftHeld() { return GetKeyState(VK_SHIFT) < 0; }

}  // namespace

// ---- Offset mode ----

void CCaptureWnd::BeginOffsetMode(double V, double H) {
  m_dRefV = V;
  m_dRefH = H;
  m_nMode = kOffset;
  m_bOffsetValid = 1;
  m_dDV = 0.0;
  m_dDH = 0.0;
  m_nOffsetRefX = m_nCenterX[kTeleCamera];
  m_nOffsetRefY = m_nCenterY[kTeleCamera];
  m_dOffsetX = m_nOffsetRefX;
  m_dOffsetY = m_nOffsetRefY;
  UpdateAngle(V, H);
}

void CCaptureWnd::EndOffsetMode() {
  m_dRefV = m_dRefH = 0.0;
  m_dDV = m_dDH = 0.0;
  m_bOffsetValid = 0;
  m_nMode = kNone;
  m_dOffsetX = m_nOffsetRefX = m_nCenterX[kTeleCamera];
  m_dOffsetY = m_nOffsetRefY = m_nCenterY[kTeleCamera];
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

// ---- Corner mode (the corner display lives with the corner finder) ----

void CCaptureWnd::BeginCornerMode() {
  m_nMode = kCorner;
  m_bTapped = 0;
  m_bTapOutside = 0;
  m_bCornerFound = 0;
  m_bCornerTele = GetCurCamera() == kTeleCamera ? 1 : 0;
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::EndCornerMode() {
  m_nMode = kNone;
  m_bTapped = 0;
  m_bTapOutside = 0;
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

// ---- Distance and remote-elevation modes ----

void CCaptureWnd::BeginDistanceMode() {
  m_nMode = kDistance;
  m_MeasPoints.RemoveAll();
}

void CCaptureWnd::AddDistanceAB(CXYZ& point) {
  if (m_MeasPoints.GetSize() >= 2) return;
  m_MeasPoints.Add(point);
  if (m_MeasPoints.GetSize() == 2 && GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::EndDistanceMode() {
  m_nMode = kNone;
  m_MeasPoints.RemoveAll();
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::BeginRemMode() {
  m_nMode = kRem;
  m_MeasPoints.RemoveAll();
}

void CCaptureWnd::AddRemCoord(CXYZ& point) {
  if (m_MeasPoints.GetSize() == 0) m_MeasPoints.Add(point);
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::EndRemMode() {
  m_nMode = kNone;
  m_MeasPoints.RemoveAll();
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

// ---- Camera alignment and user camera offset ----

void CCaptureWnd::SetCCDAttachMode() {
  m_nMode = kCcdAttach;
  m_dDV = m_dDH = 0.0;
  m_bOffsetValid = 0;
  m_dOffsetX = m_nOffsetRefX = m_nCenterX[kTeleCamera];
  m_dOffsetY = m_nOffsetRefY = m_nCenterY[kTeleCamera];
  InitOffset();
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

// Leaves m_nMode at 5 on purpose: the destructor resets it.
void CCaptureWnd::EndCCDAttachMode() {
  m_dDV = m_dDH = 0.0;
  m_bOffsetValid = 0;
  m_dOffsetX = m_nOffsetRefX = m_nCenterX[kTeleCamera];
  m_dOffsetY = m_nOffsetRefY = m_nCenterY[kTeleCamera];
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::SetUserCCDMode() {
  m_nMode = kUserCcd;
  m_bUserCCDActive = 1;
  for (int camera = 0; camera < 2; ++camera)
    m_nUserCCDOffsetX[camera] = m_nUserCCDOffsetY[camera] = 0;
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

// Leaves m_nMode at 6 on purpose: the destructor resets it.
void CCaptureWnd::EndUserCCDMode() {
  m_bUserCCDActive = 0;
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::UserCCDOffset(int dx, int dy) {
  const int camera = GetCurCamera() == kTeleCamera ? 0 : 1;
  m_nUserCCDOffsetX[camera] += dx;
  m_nUserCCDOffsetY[camera] += dy;
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

// ---- Mode data and status flags ----

int CCaptureWnd::GetMode() { return m_nMode; }
void CCaptureWnd::SetMp(CXYZ& station) { m_Mp = station; }
void CCaptureWnd::SetPoints(CKvoArray<CXYZ, CXYZ&>* points) { m_pPoints = points; }
void CCaptureWnd::SetGetMeas() { m_bGetMeas = 1; }
void CCaptureWnd::ClrGetMeas() { m_bGetMeas = 0; }
int CCaptureWnd::StsGetMeas() { return m_bGetMeas; }
void CCaptureWnd::SetDistMeasing() { m_bDistMeasing = 1; }
void CCaptureWnd::ClrDistMeasing() { m_bDistMeasing = 0; }
void CCaptureWnd::SetTiltErr() { m_bTiltErr = 1; }
void CCaptureWnd::ClrTiltErr() { m_bTiltErr = 0; }

// ---- Keys ----

void CCaptureWnd::KeyControl(UINT key) {
  if (m_nMode == kCorner && (m_bGetMeas == 1 || m_bDistMeasing == 1)) return;
  if (m_nMode == kUserCcd && key != kKeyUp && key != kKeyDown && key != kKeyExposure) return;
  if ((key == kKeyUp || key == kKeyDown) && m_nAEMode == 1) return;
  if (m_bSnapShot) {
    EndSnapShot();
    return;
  }
  const bool arrows_live = !ShiftHeld();
  switch (key) {
    case kKeyLeft:
      if (arrows_live) ZoomOut();
      break;
    case kKeyUp:
      if (arrows_live) AE_Up();
      break;
    case kKeyRight:
      if (arrows_live) ZoomIn();
      break;
    case kKeyDown:
      if (arrows_live) AE_Down();
      break;
    case kKeyTele:
      SetCurCamera(0);
      break;
    case kKeyWide:
      SetCurCamera(1);
      break;
    case kKeyExposure:
      m_nAEMode = (m_nAEMode + 1) % 2;
      if (m_nAEMode == 0) {
        m_StartParam.Brightness = 0;
        if (m_pVCap) m_pVCap->StartCapture(&m_StartParam);
      }
      if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
      break;
    case kKeyCursor:
      SetDispCursor(!GetDispCursor());
      break;
    default:
      break;  // other keys, 37..57 included, do nothing
  }
}

// ---- Taps ----

void CCaptureWnd::OnLButtonDown(UINT flags, CPoint point) {
  if (m_nMode != kUserCcd && GetCurCamera() == kTeleCamera) {
    if (m_nMode == kCorner && m_bGetMeas) {
      if (m_bTiltErr != 1) {
        m_bTapped = 1;
        m_ptTap.x = point.x;
        m_ptTap.y = point.y;
        MakeMoveAng();
        // Taps are accepted in a square around the centre whose half side
        // grows with the zoom: 50 client pixels at scale 1.
        const int half = int(m_dZoom[0] * 100 + 0.5) / 2;
        CRect client;
        GetClientRect(&client);
        const int cx = client.Width() / 2;
        const int cy = client.Height() / 2;
        if (cx - half <= point.x && point.x <= cx + half && cy - half <= point.y &&
            point.y <= cy + half) {
          m_bTapOutside = 0;  // the corner display looks for a corner near it at the repaint
        } else {
          m_bTapped = 0;
          m_bTapOutside = 1;
          AfxMessageBox(Xlate(L"Please specify within the limit."));
        }
        InvalidateRect(nullptr, TRUE);
      }
    } else if (m_nMode == kCorner) {
      if (m_bDistMeasing != 1) m_bTapped = 0;
    } else {
      m_bTapped = 0;
    }
  }
  CWnd::OnLButtonDown(flags, point);
}
