// CCaptureWnd: which part of the sensor frame the driver shows where on the
// screen (camera, zoom, image centre, 180-degree turn), and the reticle and
// zoom label drawn over the live picture.
//
// Sensor rectangles are in pixels of the 640 x 480 frame, screen rectangles
// in screen coordinates, both right/bottom inclusive. All double-to-int
// conversions truncate toward zero.
#include "liveview/capture_wnd.h"
#include "liveview/reticle.h"
#include "liveview/vcap.h"
#include "platform/dc.h"

// The sensor rectangle shown and the screen rectangle it fills, so that the
// camera's image centre lands on the window centre at scale z.
void CCaptureWnd::CalRect(int camera, double z, RECT& src, RECT& dst) {
  RECT client;
  GetClientRect(&client);
  ClientToScreen(&client);
  const int width = client.right - client.left;
  const int height = client.bottom - client.top;
  const int midX = client.left + width / 2;
  const int midY = client.top + height / 2;

  double cx = m_nCenterX[camera];
  double cy = m_nCenterY[camera];
  if (m_StartParam.Reverse) {
    // The extra 1.5 on x only is part of the driver's turned picture.
    cx = m_nCapWidth - cx - 1.5;
    cy = m_nCapHeight - cy;
  }
  const int icx = int(cx);
  const int icy = int(cy);
  const int px = int(z * cx);
  const int py = int(z * cy);

  const double inv = 1.0 / z;
  int sw = int(width * inv);
  int sh = int(height * inv);
  const int dw = int(sw * z);
  const int dh = int(sh * z);
  if (z < 1.0) {  // below 1 the sensor size follows the rounded screen size
    sw = int(dw * inv);
    sh = int(dh * inv);
  }

  src.left = (icx - sw / 2) / 2 * 2;  // even, truncated toward zero
  src.top = icy - sh / 2;
  src.right = src.left + sw - 1;
  src.bottom = src.top + sh - 1;

  dst.left = int(src.left * z) + (midX - px);
  dst.top = int(src.top * z) + (midY - py);
  dst.right = dst.left + dw - 1;
  dst.bottom = dst.top + dh - 1;
}

void CCaptureWnd::UpdateDispRect(int camera) {
  CalRect(camera, m_dZoom[camera], m_DispParam[camera].SrcRect, m_DispParam[camera].DstRect);
}

void CCaptureWnd::SendDispParam() {
  if (m_pVCap) m_pVCap->SetCaptureDisplay(&m_DispParam[GetCurCamera()]);
  InvalidateRect(nullptr, TRUE);
}

// ---- Camera and turn ----

int CCaptureWnd::GetCurCamera() { return m_StartParam.Camera; }

// Each camera keeps its own zoom: the camera comes back at its last scale.
void CCaptureWnd::SetCurCamera(int camera) {
  m_StartParam.Camera = WORD(camera);
  if (m_nMode != 5) {
    UpdateDispRect(camera);
  } else {
    InitOffset();
  }
  if (m_pVCap) {
    m_pVCap->SetCaptureDisplay(&m_DispParam[camera]);
    m_pVCap->StartCapture(&m_StartParam);
  }
  if (m_nMode == 2) m_bCornerTele = camera == 0 ? 1 : 0;
  InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::Reverse() {
  m_StartParam.Reverse = m_StartParam.Reverse == 1 ? 0 : 1;
  const int camera = GetCurCamera();
  UpdateDispRect(camera);
  if (m_pVCap) {
    m_pVCap->SetCaptureDisplay(&m_DispParam[camera]);
    m_pVCap->StartCapture(&m_StartParam);
  }
  InvalidateRect(nullptr, TRUE);
}

// ---- Zoom ----

void CCaptureWnd::InitZoom() {
  const int camera = GetCurCamera();
  m_dZoomRatio[camera] = 1.0;
  m_dZoom[camera] = m_dBaseZoom;
  UpdateDispRect(camera);
  SendDispParam();
}

void CCaptureWnd::ZoomIn() {
  const double ratio = m_dZoomRatio[GetCurCamera()] * 2.0;
  if (ratio > m_dMaxZoom) return;
  ApplyZoomRatio(ratio, -2.0);
}

void CCaptureWnd::ZoomOut() {
  const double ratio = m_dZoomRatio[GetCurCamera()] * 0.5;
  if (ratio < m_dMinZoom) return;
  ApplyZoomRatio(ratio, -0.5);
}

// In corner mode on the tele camera with a measurement taken, the picture is
// frozen again at the new zoom and the tapped point follows the zoom about
// the client centre.
bool CCaptureWnd::ApplyZoomRatio(double ratio, double tapFactor) {
  const int camera = GetCurCamera();
  m_dZoomRatio[camera] = ratio;
  m_dZoom[camera] = m_dBaseZoom * ratio;
  UpdateDispRect(camera);
  if (m_pVCap) m_pVCap->SetCaptureDisplay(&m_DispParam[camera]);
  if (m_nMode == 2 && camera == 0 && m_bGetMeas == 1) {
    SnapShot();
    RECT client;
    GetClientRect(&client);
    const int cx = int((client.right - client.left + 1.0) * 0.5);
    const int cy = int((client.bottom - client.top + 1.0) * 0.5);
    m_ptTap.x = cx - int((m_ptTap.x - cx) * tapFactor);
    m_ptTap.y = cy - int((m_ptTap.y - cy) * tapFactor);
  }
  InvalidateRect(nullptr, TRUE);
  return true;
}

// ---- Image centre ----

void CCaptureWnd::InitOffset() {
  const int camera = GetCurCamera();
  m_nCenterX[camera] = 320;
  m_nCenterY[camera] = 240;
  UpdateDispRect(camera);
  SendDispParam();
}

void CCaptureWnd::Offset(int dx, int dy) {
  const int camera = GetCurCamera();
  m_nCenterX[camera] += dx;
  m_nCenterY[camera] += dy;
  UpdateDispRect(camera);
  SendDispParam();
}

// ---- Reticle and label ----

// The reticle: doubled left and bottom arms, single right and top arms and a
// small centre cross, all one-pixel black lines. It is not symmetric.
void CCaptureWnd::DrawCursor(CDC* dc) {
  if (m_nMode == 6) {
    DrawCursorUserCCDOffset(dc);
    return;
  }
  CPen pen(PS_SOLID, 1, RGB(0, 0, 0));
  CPen* oldPen = dc->SelectObject(&pen);
  CBrush* oldBrush = dc->SelectObject(CBrush::FromHandle(::GetStockObject(NULL_BRUSH)));
  RECT client;
  GetClientRect(&client);
  const int w = client.right - client.left;
  const int h = client.bottom - client.top;
  const int cx = w / 2;
  const int cy = h / 2;
  liveview::DrawReticle(dc, cx, cy, w, h);
  dc->SelectObject(oldPen);
  dc->SelectObject(oldBrush);
}

// Camera and scale bottom right, exposure mode bottom left, in green.
void CCaptureWnd::DrawZoom(CDC* dc) {
  const int camera = GetCurCamera();
  CString label;
  label.Format(camera == 0 ? L"TELE x%.2lf" : L"WIDE x%.2lf", m_dZoom[camera]);
  dc->SetTextColor(RGB(0, 255, 0));
  dc->SetBkMode(TRANSPARENT);
  RECT client;
  GetClientRect(&client);
  RECT zoomRect{client.right - 68, client.bottom - 14, client.right, client.bottom};
  dc->DrawText(label, &zoomRect, 0);
  RECT modeRect{client.left, client.bottom - 14, client.left + 34, client.bottom};
  dc->DrawText(m_nAEMode == 1 ? L"auto" : L"manu", -1, &modeRect, 0);
  dc->SetBkMode(OPAQUE);
}
