// CCaptureWnd: overlays drawn over the driver's live picture: survey points
// on the wide camera, the offset-mode marker and read-out, and the tap mark
// of corner mode. Everything is drawn in client pixels on the paint DC;
// nothing touches the picture itself.
#include "liveview/capture_wnd.h"
#include "platform/dc.h"
#include "platform/message_box.h"

namespace {

constexpr COLORREF kPointColour = 255;    // red
constexpr COLORREF kNameColour = 65535;   // yellow
constexpr COLORREF kMarkColour = 65280;   // green
constexpr COLORREF kReadoutColour = 255;  // red
constexpr int kTeleCamera = 0;
constexpr int kWideCamera = 1;
// Asks the operator to switch to the telephoto camera.
constexpr const wchar_t* kSwitchToTele =
    L"\u671B\u9060\u30AB\u30E1\u30E9\u306B\u5207\u308A\u66FF\u3048\u3066\u304F\u3060\u3055\u3044";

void DrawCross(CDC* dc, int x, int y, int half) {
  dc->MoveTo(x - half, y);
  dc->LineTo(x + half, y);
  dc->MoveTo(x, y - half);
  dc->LineTo(x, y + half);
}

}  // namespace

void CCaptureWnd::DrawPoints(CDC* dc) {
  CPen pen(PS_SOLID, 0, kPointColour);
  CPen* old_pen = dc->SelectObject(&pen);
  const COLORREF old_text = dc->SetTextColor(kNameColour);
  dc->SetBkMode(TRANSPARENT);
  m_Proj.BeginTrans(0);
  const int count = m_pPoints->GetSize();
  for (int i = 0; i < count; ++i) {
    const CXYZ& point = m_pPoints->ElementAt(i);
    // Survey axes (X north, Y east) into the pipeline's (x east, y north).
    double sx = 0.0, sy = 0.0;
    int visible = 0;
    if (XYZtoScr(point.Y, point.X, point.Z, sx, sy, visible) == 1 && visible) {
      DrawPoint(dc, point.Name.c_str(), int(sx), int(sy));
    }
  }
  dc->SelectObject(old_pen);
  dc->SetTextColor(old_text);
  dc->SetBkMode(OPAQUE);
  pen.DeleteObject();
}

void CCaptureWnd::DrawPoint(CDC* dc, const wchar_t* name, int x, int y) {
  DrawCross(dc, x, y, 5);
  RECT label = {x + 3, y + 3, x + 320, y + 20};
  dc->DrawText(name, -1, &label, DT_LEFT | DT_TOP);
}

void CCaptureWnd::DrawOffset(CDC* dc) {
  const int camera = GetCurCamera();
  CPen pen(PS_SOLID, 0, kMarkColour);
  CPen* old_pen = dc->SelectObject(&pen);
  if (camera == kTeleCamera && m_bOffsetValid) {
    CRect window;
    GetWindowRect(&window);
    const int half_w = window.Width() / 2;
    const int half_h = window.Height() / 2;
    const double s = m_dZoom[kTeleCamera];
    const int x = int(half_w + (m_dOffsetX - m_nOffsetRefX) * s + 0.5);
    const int y = int(half_h + (m_dOffsetY - m_nOffsetRefY) * s + 0.5);
    DrawCross(dc, x, y, 10);
  }
  dc->SetTextColor(kReadoutColour);
  CString readout(L"OFFSET MODE : ");
  if (camera == kWideCamera) {
    readout += kSwitchToTele;
  } else if (m_bOffsetValid) {
    CString angles;
    angles.Format(L"DV:%.4lf DH:%.4lf", m_dDV, m_dDH);
    readout += angles;
  }
  RECT box = {0, 0, 300, 20};
  dc->DrawText(readout, &box, DT_LEFT | DT_TOP);
  dc->SelectObject(old_pen);
  pen.DeleteObject();
}

void CCaptureWnd::DrawTapPoint(CDC* dc) {
  if (m_bTapped != 1) return;
  if (m_bGetMeas == 0) {
    // A tap before any distance was measured cannot be aimed at: forget it.
    m_bTapped = 0;
    AfxMessageBox(L"Please meas distance.");
    return;
  }
  CPen pen(PS_SOLID, 0, kMarkColour);
  CPen* old_pen = dc->SelectObject(&pen);
  CGdiObject* old_brush = dc->SelectStockObject(HOLLOW_BRUSH);
  if (GetCurCamera() == kTeleCamera) DrawCross(dc, m_ptTap.x, m_ptTap.y, 10);
  if (old_brush) dc->SelectObject(static_cast<CBrush*>(old_brush));
  dc->SelectObject(old_pen);
}
