// CCaptureWnd: the marks of the distance, remote-elevation, camera-alignment
// and user-offset modes, in the style of the point and offset overlays:
// measured points as red crosses with yellow names, projected on the wide
// camera like the survey points (survey axes swapped into the pipeline's);
// guide marks green; read-outs red in the top-left box; the user-offset
// reticle black like the fixed one. Client pixels throughout; the station
// (m_Mp) is in pipeline axes and metres, measured points in survey axes.
#include <cmath>

#include "liveview/capture_wnd.h"
#include "liveview/reticle.h"
#include "platform/dc.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr double kDegToRad = PI / 180.0;
constexpr COLORREF kPointColour = 255;    // red
constexpr COLORREF kNameColour = 65535;   // yellow
constexpr COLORREF kGuideColour = 65280;  // green
constexpr COLORREF kReadoutColour = 255;  // red
constexpr int kWideCamera = 1;

void Cross(CDC* dc, int x, int y, int half) {
  dc->MoveTo(x - half, y);
  dc->LineTo(x + half, y);
  dc->MoveTo(x, y - half);
  dc->LineTo(x, y + half);
}

void Readout(CDC* dc, const CString& text) {
  dc->SetTextColor(kReadoutColour);
  RECT box = {0, 0, 300, 20};
  dc->DrawText(text, &box, DT_LEFT | DT_TOP);
}

// Projects a survey point (survey axes, metres) onto the wide picture.
bool ScreenOf(CCaptureWnd& wnd, const CXYZ& p, POINT& at) {
  double sx = 0.0, sy = 0.0;
  int visible = 0;
  if (wnd.XYZtoScr(p.Y, p.X, p.Z, sx, sy, visible) != 1 || !visible) return false;
  at.x = int(sx);
  at.y = int(sy);
  return true;
}

}  // namespace

void CCaptureWnd::DrawDistance(CDC* dc) {
  CPen pen(PS_SOLID, 0, kPointColour);
  CPen* old_pen = dc->SelectObject(&pen);
  const COLORREF old_text = dc->SetTextColor(kNameColour);
  dc->SetBkMode(TRANSPARENT);
  const int count = m_MeasPoints.GetSize() < 2 ? m_MeasPoints.GetSize() : 2;
  if (GetCurCamera() == kWideCamera) {
    m_Proj.BeginTrans(0);
    static const wchar_t* const kNames[2] = {L"A", L"B"};
    POINT at[2] = {};
    bool shown[2] = {false, false};
    for (int i = 0; i < count; ++i) {
      shown[i] = ScreenOf(*this, m_MeasPoints[i], at[i]);
      if (shown[i]) DrawPoint(dc, kNames[i], at[i].x, at[i].y);
    }
    if (shown[0] && shown[1]) {
      dc->MoveTo(at[0].x, at[0].y);
      dc->LineTo(at[1].x, at[1].y);
    }
  }
  CString readout(L"DISTANCE MODE : ");
  if (count < 2) {
    readout += count == 0 ? L"MEAS A" : L"MEAS B";
  } else {
    const CXYZ& a = m_MeasPoints[0];
    const CXYZ& b = m_MeasPoints[1];
    const double hd = std::hypot(b.X - a.X, b.Y - a.Y);
    const double vd = b.Z - a.Z;
    CString values;
    values.Format(L"SD:%.3lfm HD:%.3lfm VD:%.3lfm", std::hypot(hd, vd), hd, vd);
    readout += values;
  }
  Readout(dc, readout);
  dc->SelectObject(old_pen);
  dc->SetTextColor(old_text);
  dc->SetBkMode(OPAQUE);
  pen.DeleteObject();
}

// The remote elevation: the height above the base point of the point the
// telescope sights at the current zenith angle, straight above the base.
void CCaptureWnd::DrawRemPoint(CDC* dc) {
  CPen pen(PS_SOLID, 0, kPointColour);
  CPen* old_pen = dc->SelectObject(&pen);
  const COLORREF old_text = dc->SetTextColor(kNameColour);
  dc->SetBkMode(TRANSPARENT);
  CString readout(L"REM MODE : ");
  if (m_MeasPoints.GetSize() == 0) {
    readout += L"MEAS BASE";
  } else {
    const CXYZ& base = m_MeasPoints[0];
    // m_Mp holds the axis point in pipeline axes: its X is the survey Y.
    const double hd = std::hypot(base.X - m_Mp.Y, base.Y - m_Mp.X);
    const double sin_v = std::sin(m_dCurV * kDegToRad);
    const bool sighted = std::fabs(sin_v) > 1e-9;
    const double height =
        sighted ? m_Mp.Z + hd * std::cos(m_dCurV * kDegToRad) / sin_v - base.Z : 0.0;
    if (GetCurCamera() == kWideCamera) {
      m_Proj.BeginTrans(0);
      POINT at_base = {}, at_remote = {};
      const bool base_shown = ScreenOf(*this, base, at_base);
      if (base_shown) DrawPoint(dc, L"BASE", at_base.x, at_base.y);
      CXYZ remote(base.X, base.Y, base.Z + height);
      if (sighted && ScreenOf(*this, remote, at_remote)) {
        if (base_shown) {
          dc->MoveTo(at_base.x, at_base.y);
          dc->LineTo(at_remote.x, at_remote.y);
        }
        CPen guide(PS_SOLID, 0, kGuideColour);
        dc->SelectObject(&guide);
        Cross(dc, at_remote.x, at_remote.y, 10);
        dc->SelectObject(&pen);
        guide.DeleteObject();
      }
    }
    CString value;
    if (sighted) {
      value.Format(L"VH:%.3lfm", height);
    } else {
      value = L"VH:---";
    }
    readout += value;
  }
  Readout(dc, readout);
  dc->SelectObject(old_pen);
  dc->SetTextColor(old_text);
  dc->SetBkMode(OPAQUE);
  pen.DeleteObject();
}

// Camera alignment: a green cross where the sensor's middle pixel (320, 240)
// is shown, and on the wide camera a frame of the tele camera's field around
// the view's centre; the read-out gives the current camera's image centre,
// which Offset moves until the two cameras agree.
void CCaptureWnd::DrawCCDAttach(CDC* dc) {
  const int camera = GetCurCamera() == 0 ? 0 : 1;
  CRect client;
  GetClientRect(&client);
  const int cx = client.Width() / 2;
  const int cy = client.Height() / 2;
  const double s = m_dZoom[camera];
  CPen pen(PS_SOLID, 0, kGuideColour);
  CPen* old_pen = dc->SelectObject(&pen);
  CGdiObject* old_brush = dc->SelectStockObject(HOLLOW_BRUSH);
  // Half the capture size in whole pixels, as the sensor centre is counted.
  const int half_cap_w = m_nCapWidth / 2;
  const int half_cap_h = m_nCapHeight / 2;
  const int mid_x = int(cx + (half_cap_w - m_nCenterX[camera]) * s);
  const int mid_y = int(cy + (half_cap_h - m_nCenterY[camera]) * s);
  Cross(dc, mid_x, mid_y, 10);
  if (camera == kWideCamera && m_Camera.FocalLength > 0.0) {
    // The tele field in wide pixels: both sensors have the same pixels, so
    // the fields scale with the focal lengths.
    const double ratio = m_Camera.FocalLength / kTelescopeFocalMm * s;
    const int half_w = int(half_cap_w * ratio + 0.5);
    const int half_h = int(half_cap_h * ratio + 0.5);
    dc->Rectangle(cx - half_w, cy - half_h, cx + half_w + 1, cy + half_h + 1);
  }
  CString readout;
  readout.Format(L"CCD ATTACH : %s X:%d Y:%d",
                 camera == 0 ? L"TELE" : L"WIDE",
                 m_nCenterX[camera],
                 m_nCenterY[camera]);
  Readout(dc, readout);
  if (old_brush) dc->SelectObject(static_cast<CBrush*>(old_brush));
  dc->SelectObject(old_pen);
  pen.DeleteObject();
}

// The reticle of the user camera offset: the fixed reticle's shape, moved by
// the current camera's user offset (sensor pixels, at the display scale).
void CCaptureWnd::DrawCursorUserCCDOffset(CDC* dc) {
  const int camera = GetCurCamera() == 0 ? 0 : 1;
  CRect client;
  GetClientRect(&client);
  const int w = client.Width();
  const int h = client.Height();
  const double s = m_dZoom[camera];
  const int cx = w / 2 + int(m_nUserCCDOffsetX[camera] * s);
  const int cy = h / 2 + int(m_nUserCCDOffsetY[camera] * s);
  CPen pen(PS_SOLID, 1, RGB(0, 0, 0));
  CPen* old_pen = dc->SelectObject(&pen);
  liveview::DrawReticle(dc, cx, cy, w, h);
  if (m_bUserCCDActive) {
    const COLORREF old_text = dc->GetTextColor();
    dc->SetBkMode(TRANSPARENT);
    CString readout;
    readout.Format(
        L"USER OFFSET : X:%d Y:%d", m_nUserCCDOffsetX[camera], m_nUserCCDOffsetY[camera]);
    Readout(dc, readout);
    dc->SetTextColor(old_text);
    dc->SetBkMode(OPAQUE);
  }
  dc->SelectObject(old_pen);
  pen.DeleteObject();
}
