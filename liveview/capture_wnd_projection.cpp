// CCaptureWnd: projection of survey points onto the live picture and back.
//
// Frames and units:
//  - the station and survey points arrive in metres and enter the pipeline in
//    millimetres; angles from the host are degrees (V zenith, H horizontal);
//  - the model matrix takes station coordinates to the camera frame
//    (camera looking down -z); the frustum of InitProjection maps the camera
//    frame onto the image plane in millimetres around the principal point,
//    x to the right and y up;
//  - sensor pixels count from the top-left corner of the 640 x 480 frame;
//    the screen shows the camera's image centre at the view's centre.
// Offset mode and tap aiming use the telescope's own focal length, 248.46 mm,
// not the calibrated one: they describe where the telescope points.
#include <cmath>

#include "geometry/rot.h"
#include "liveview/capture_wnd.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr double kDegToRad = PI / 180.0;
constexpr double kRadToDeg = 180.0 / PI;
constexpr double kFarPlaneMm = 1000000.0;
constexpr double kMmPerMetre = 1000.0;
constexpr int kWideCamera = 1;

}  // namespace

void CCaptureWnd::InitProjection() {
  const CXYZ& pp = m_Camera.PrincipalPoint;
  const CXYZ& pixel = m_Camera.Resolution;
  m_Proj.SetPrjMatrix(-pp.X,
                      m_nCapWidth * pixel.X - pp.X,
                      pp.Y,
                      pp.Y - m_nCapHeight * pixel.Y,
                      m_Camera.FocalLength,
                      kFarPlaneMm);
}

void CCaptureWnd::CalExt(double X,
                         double Y,
                         double Z,
                         double V,
                         double H,
                         CXYZ& ccdOffset,
                         CWPK& ccdAngle,
                         CXYZ& position,
                         CWPK& angle) {
  CWPK telescope((180.0 - V) * kDegToRad, 0.0, (360.0 - H) * kDegToRad);
  telescope.Normalize();
  CRot station_from_scope;
  station_from_scope.SetMatrix(ROT_WPK, telescope);

  CXYZ offset_in_station;
  station_from_scope.Rotate(ccdOffset, offset_in_station);
  position = CXYZ(X, Y, Z) + offset_in_station;

  CWPK mounting(ccdAngle);
  mounting.Normalize();
  CRot scope_from_camera;
  scope_from_camera.SetMatrix(ROT_WPK, mounting);

  CRot camera_from_station = station_from_scope * scope_from_camera;
  camera_from_station.T();
  camera_from_station.CalAngle(ROT_KPW, angle);
}

void CCaptureWnd::SetMdlMatrix(double X, double Y, double Z, double V, double H) {
  CXYZ position;
  CWPK angle;
  CalExt(X * kMmPerMetre,
         Y * kMmPerMetre,
         Z * kMmPerMetre,
         V,
         H,
         m_CcdOffset,
         m_CcdAngle,
         position,
         angle);
  m_Proj.InitMatrix(MATRIX_MODEL);
  m_Proj.Translate(-position.X, -position.Y, -position.Z);
  m_Proj.RotateZ(angle.kappa);
  m_Proj.RotateY(angle.phi);
  m_Proj.RotateX(angle.omega);
}

int CCaptureWnd::XYZtoScr(
    const double& X, const double& Y, const double& Z, double& sx, double& sy, int& visible) {
  const double x_mm = X * kMmPerMetre;
  const double y_mm = Y * kMmPerMetre;
  const double z_mm = Z * kMmPerMetre;
  visible = 0;
  double u = 0.0, v = 0.0, depth = 0.0;
  if (!m_Proj.Transform(x_mm, y_mm, z_mm, u, v, depth, visible)) return 0;

  // The lens bends the ray: find where the ideal image point is observed.
  double du = 0.0, dv = 0.0;
  if (!m_Camera.Dist.CalDistInv(u, v, du, dv, m_Camera.Resolution.X * 0.1)) du = dv = 0.0;

  double px = (u + du + m_Camera.PrincipalPoint.X) / m_Camera.Resolution.X;
  double py = (m_Camera.PrincipalPoint.Y - (v + dv)) / m_Camera.Resolution.Y;
  double cx = m_nCenterX[kWideCamera];
  double cy = m_nCenterY[kWideCamera];
  if (m_StartParam.Reverse) {
    cx = m_nCapWidth - cx - 0.5;
    cy = m_nCapHeight - cy - 0.5;
    px = m_nCapWidth - px;
    py = m_nCapHeight - py;
  }

  CRect client;
  GetClientRect(&client);
  ClientToScreen(&client);
  const int mid_x = client.left + (client.right - client.left) / 2;
  const int mid_y = client.top + (client.bottom - client.top) / 2;
  const double s = m_dZoom[kWideCamera];
  POINT pt;
  pt.x = int(s * px) + (mid_x - int(s * cx));
  pt.y = int(s * py) + (mid_y - int(s * cy));
  ScreenToClient(&pt);
  sx = pt.x;
  sy = pt.y;
  return 1;
}

void CCaptureWnd::UpdateAngle(double V, double H) {
  if (m_bSnapShot) return;  // a frozen picture keeps the pose it was taken at
  m_dCurV = V;
  m_dCurH = H;
  SetMdlMatrix(m_Mp.X, m_Mp.Y, m_Mp.Z, V, H);
  if (m_nMode == 1) UpdateOffsetAngle(V, H);
  if (GetSafeHwnd()) InvalidateRect(nullptr, TRUE);
}

void CCaptureWnd::UpdateOffsetAngle(double V, double H) {
  if (m_nMode != 1) return;
  m_bOffsetValid = 1;
  m_dDV = V - m_dRefV;
  m_dDH = H - m_dRefH;
  m_dOffsetX = tan(-m_dDH * kDegToRad) / m_Camera.Resolution.X * kTelescopeFocalMm + m_nOffsetRefX;
  m_dOffsetY = m_nOffsetRefY - tan(m_dDV * kDegToRad) / m_Camera.Resolution.Y * kTelescopeFocalMm;
}

void CCaptureWnd::MakeMoveAng() { MoveAngTo(m_ptTap, m_dDV, m_dDH); }

void CCaptureWnd::MoveAngTo(POINT pt, double& dv, double& dh) {
  CRect client;
  GetClientRect(&client);
  const int dx = pt.x - client.Width() / 2;
  const int dy = pt.y - client.Height() / 2;
  const double s = 1.0 / m_dZoom[GetCurCamera() == 0 ? 0 : 1];
  dv = atan2(-(s * dy * m_Camera.Resolution.Y), kTelescopeFocalMm) * kRadToDeg;
  dh = atan2(s * dx * m_Camera.Resolution.X, kTelescopeFocalMm) * kRadToDeg;
}
