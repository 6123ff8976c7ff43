#pragma once
// CCaptureWnd: the live camera view. A child window that the host creates
// over the screen area where the capture driver paints live video (keyed on
// the colour 0x404040); the window paints only the overlays on top: cursor,
// survey points projected through the calibrated camera, and the marks of the
// measurement modes. It runs automatic exposure on a 200 ms timer, turns taps
// into aiming angles, freezes and saves the picture, and keeps the camera
// calibration in the instrument's non-volatile memory.
//
// Conventions used throughout the class:
//  - camera index 0 is the tele camera ("TELE", calibrated centre CCD2),
//    1 the wide camera ("WIDE", centre CCD1);
//  - sensor rectangles are in pixels of the 640 x 480 frame, screen
//    rectangles in screen coordinates, both with right/bottom inclusive as the
//    driver's display record wants them; overlays are drawn in client pixels;
//  - angles from and to the host are degrees (V zenith, H horizontal), the
//    station is metres, the camera model millimetres;
//  - public operations return 1/0 (window handlers 0/-1) and report failures
//    that the operator must see in message boxes with texts of the message
//    table (m_pMessage, indices 0..23 of platform/message_table.h).
//
// The class is implemented across several sources by concern:
// capture_wnd.cpp (lifecycle, frame loop, grabs), capture_wnd_zoom.cpp (zoom,
// camera switch, cursor), capture_wnd_message.cpp (message table, language
// file), capture_wnd_flash.cpp (calibration memory) and the sources of the
// projection, modes, exposure, snapshot and overlay concerns, plus
// capture_wnd_corner.cpp (corner search and its cross) and
// capture_wnd_marks.cpp (distance, REM, alignment and user-offset marks).
#include <vector>

#include "camera/camera.h"
#include "camera/vkr3za_calib.h"
#include "corner/prc_corner.h"
#include "geometry/wpk.h"
#include "geometry/xyz.h"
#include "platform/afx_string.h"
#include "platform/brush.h"
#include "platform/capture_records.h"
#include "platform/export.h"
#include "platform/kvo_array.h"
#include "platform/message_table.h"
#include "platform/point.h"
#include "platform/rect.h"
#include "platform/st_message.h"
#include "platform/types.h"
#include "platform/wnd.h"
#include "projection/projection_cap.h"

class CDC;
class CDibEx;
class CVCap;

// Entry points of "EEP.DLL" (non-volatile memory items 80..99).
using PFN_SysEepRead = BOOL (*)(void* buffer, int index, int length);
using PFN_SysEepWrite = BOOL (*)(const void* buffer, int index, int length);
using PFN_UnLockDisk = BOOL (*)(int lock);

class SURVEYCAM_API CCaptureWnd : public CWnd {
  DECLARE_DYNAMIC(CCaptureWnd)

 public:
  // Message the window posts to itself to start capture after creation.
  static constexpr UINT WM_INITCAPTURE = WM_USER + 100;
  static constexpr UINT kFrameTimerId = 2025;
  static constexpr UINT kFrameTimerPeriodMs = 200;
  static constexpr UINT kControlId = 2024;
  static constexpr int kMessageCount = platform::kMessageCount;
  // The telescope's own focal length (the tele camera looks through it), mm.
  static constexpr double kTelescopeFocalMm = 248.46;

  CCaptureWnd();
  ~CCaptureWnd() override;

  // ---- Lifecycle and grabs ----
  // Stores base scale and zoom-ratio limits, then creates the child window at
  // rect (parent's client coordinates) with control id 2024. Non-zero on
  // success; 0 when the calibration cannot be read.
  int Create(CWnd* parent,
             const RECT& rect,
             double baseZoom,
             double minZoom,
             double maxZoom,
             DWORD style,
             DWORD exStyle);
  // One full 640 x 480 frame as a 24-bit image.
  void GetCapture(CDibEx& image);
  // The live picture under the client area as a 24-bit image.
  void GetCaptureDisplay(CDibEx& image);
  void SetSXGAMode(int on);
  void SetHysteresisMode(bool on);
  void SetDispCursor(int on);
  void SetDispZoom(int on);
  void SetDispPoints(int on);
  int GetDispCursor();
  int GetDispZoom();
  int GetDispPoints();

  // Converts 5-6-5 pixels (rows top to bottom) into a 24-bit bottom-up DIB:
  // source row y lands on row height-1-y of bits (stride bytes a row), each
  // pixel written as bits 15-11, 10-5 and 4-0, each scaled to 0..255
  // (liveview::ConvertFrame565To24, liveview/frame_convert.h).
  static void ConvertFrame(const WORD* pixels, int width, int height, BYTE* bits, int stride);

  // ---- Zoom, camera switch and cursor ----
  void SetCurCamera(int camera);
  int GetCurCamera();
  void Reverse();
  void InitZoom();
  void ZoomIn();
  void ZoomOut();
  void InitOffset();
  void Offset(int dx, int dy);
  void DrawCursor(CDC* dc);
  void DrawZoom(CDC* dc);

  // ---- Messages and language ----
  void InitAppUseMessage();
  int GetLangCode();
  void InitMessage(StMessage& pairs);
  int GetImageLangCode();
  // Caption index first, text index second.
  void MessageDisp(int captionIndex, int textIndex);

  // ---- Calibration memory ----
  BOOL FlashReadCmr();
  BOOL FlashWriteCmr();
  BOOL FlashReadDat();
  BOOL FlashWriteDat();
  BOOL UserCCDOffsetSet();
  BOOL CmrDataDefaultSet();
  BOOL DatDataDefaultSetCenter();
  BOOL DatDataDefaultSetOffset();

  // ---- Projection of survey points ----
  void InitProjection();
  void SetMdlMatrix(double X, double Y, double Z, double V, double H);
  void CalExt(double X,
              double Y,
              double Z,
              double V,
              double H,
              CXYZ& ccdOffset,
              CWPK& ccdAngle,
              CXYZ& position,
              CWPK& angle);
  int XYZtoScr(
      const double& X, const double& Y, const double& Z, double& sx, double& sy, int& visible);
  void UpdateAngle(double V, double H);
  void UpdateOffsetAngle(double V, double H);
  void MakeMoveAng();
  // The angle differences (degrees) that bring client point pt of the
  // current camera's picture to the reticle.
  void MoveAngTo(POINT pt, double& dv, double& dh);

  // ---- Measurement modes, keys and taps ----
  void BeginOffsetMode(double V, double H);
  void EndOffsetMode();
  void BeginCornerMode();
  void EndCornerMode();
  void BeginDistanceMode();
  void AddDistanceAB(CXYZ& point);
  void EndDistanceMode();
  void BeginRemMode();
  void AddRemCoord(CXYZ& point);
  void EndRemMode();
  void SetCCDAttachMode();
  void EndCCDAttachMode();
  void SetUserCCDMode();
  void EndUserCCDMode();
  void UserCCDOffset(int dx, int dy);
  int GetMode();
  void SetMp(CXYZ& station);
  // Keeps the pointer; the host keeps the array alive while the window paints.
  void SetPoints(CKvoArray<CXYZ, CXYZ&>* points);
  void KeyControl(UINT key);
  void SetGetMeas();
  void ClrGetMeas();
  int StsGetMeas();
  void SetDistMeasing();
  void ClrDistMeasing();
  void SetTiltErr();
  void ClrTiltErr();
  // Corner mode: looks for the corner nearest to the tap point (m_ptTap,
  // client pixels) in the picture shown on the tele camera and keeps it in
  // m_ptCorner; the timer rests meanwhile. 1 when found; 0 leaves
  // m_ptCorner as it was. Run by the corner display at each paint.
  int SearchCorner();
  // The aiming differences to the corner the corner display shows, in the
  // units and sense of m_dDV / m_dDH (degrees: turn to V - dv, H + dh), which
  // stay those of the tap point. 1 when the last paint in corner mode drew a
  // corner cross; 0, with dv and dh untouched, when no corner is shown (no
  // tap held, none found near it, another camera or mode).
  int GetCornerMoveAng(double& dv, double& dh);

  // ---- Exposure ----
  void InitAE();
  void AE_Up();
  void AE_Down();
  int AE_Adjust();
  int AE_CheckDensity(int& max, int& min, int& mean);
  void GetHistogram(CRect& rect, int hist[256]);
  int CalDistribution(int hist[256], int& max, int& min, int& mean);
  void DrawHistogram(CDC* dc);

  // ---- Snapshot and JPEG ----
  void SnapShot();
  void EndSnapShot();
  int GetSnapShot();
  int WriteJpeg();
  // The card folder from the registry, at most 127 characters (a 256-byte
  // query, as the device counts bytes); FALSE when the key or value is
  // missing or longer. buf: a zeroed buffer of 256 wide characters.
  BOOL GetInitFolderName(wchar_t* buf);
  BOOL IsFolder(CString path);

  // ---- Overlays ----
  void DrawPoints(CDC* dc);
  void DrawPoint(CDC* dc, const wchar_t* name, int x, int y);
  void DrawOffset(CDC* dc);
  void DrawTapPoint(CDC* dc);
  void DrawCorner(CDC* dc);
  // The corner cross at `at` (or at the last one, by the hysteresis rule);
  // keeps its aiming differences for GetCornerMoveAng.
  void DrawCornerCross(CDC* dc, POINT at);
  void DrawDistance(CDC* dc);
  void DrawRemPoint(CDC* dc);
  void DrawCCDAttach(CDC* dc);
  void DrawCursorUserCCDOffset(CDC* dc);

  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

 protected:
  int OnCreate(LPCREATESTRUCT create) override;
  void OnDestroy() override;
  void OnPaint() override;
  BOOL OnEraseBkgnd(CDC* dc) override;
  UINT OnGetDlgCode() override;
  void OnLButtonDown(UINT flags, CPoint point) override;
  void OnTimer(UINT_PTR id) override;
  LRESULT OnInitCapture(WPARAM wParam, LPARAM lParam);

  // Sensor rectangle (src) and screen rectangle (dst) of a camera at scale z.
  void CalRect(int camera, double z, RECT& src, RECT& dst);
  // Recomputes a camera's rectangles at its own scale into its display record.
  void UpdateDispRect(int camera);
  // Sends the current camera's display record and repaints (erase).
  void SendDispParam();
  // Applies a zoom ratio to the current camera; false when out of limits.
  bool ApplyZoomRatio(double ratio, double tapFactor);
  // Frees the language-file strings and empties the four message lists.
  void FreeMessageLists();
  // Entry of the message table; an empty text while the host has not built
  // the table yet (so an early failure still shows a box, not a crash).
  const wchar_t* TableText(int index) const;
  // 5-6-5 frame -> 24-bit image, with the grab's failure messages.
  void FrameToImage(const WORD* pixels, int width, int height, CDibEx& image);
  // Starts capture, lets three frames pass, stops capture.
  void WaitThreeFrames();
  // The picture under the client area for the corner search: a fresh grab
  // while live, the frozen picture (capture left stopped) during a snapshot.
  bool GrabCornerPicture(CDibEx& image);

 public:
  // ---- Exposure (automatic-exposure state and histogram) ----
  int m_nAEMode = 0;
  int m_bAEBusy = 0;
  int m_aeDensityOffset = 0;
  int m_histogram[256] = {};
  BYTE m_histogramSamples[8192] = {};

  // ---- Frame loop ----
  UINT m_nTimerID = 0;
  int m_nCapWidth = 640;
  int m_nCapHeight = 480;
  BYTE m_bSXGAMode = 0;
  BYTE m_bTimerLock = 0;
  BYTE m_bInTimer = 0;
  std::vector<WORD> m_FrameBuf;  // full-frame reads, 640 x 480
  std::vector<WORD> m_DispBuf;   // on-screen reads, 320 x 240 or the client area when larger

  // ---- Messages: language-file pairs, English list, the table shown ----
  StMessage m_StMessage;
  StMessage m_EngMessage;
  StMessage* m_pMessage = nullptr;

  // ---- Capture device ----
  CVCap* m_pVCap = nullptr;
  CBrush m_brBack;
  COLORREF KeyColor1 = VCAP_KEY_COLOR;
  COLORREF KeyColor2 = VCAP_KEY_COLOR;
  HANDLE m_hCapEvent = nullptr;
  VCAP_DISP_PARAMETER m_DispParam[2] = {};
  VCAP_START_PARAMETER m_StartParam = {};

  // ---- Zoom (per camera where indexed) ----
  double m_dBaseZoom = 1.0;
  double m_dZoom[2] = {1.0, 1.0};
  double m_dZoomRatio[2] = {1.0, 1.0};
  double m_dMaxZoom = 4.0;
  double m_dMinZoom = 1.0;

  // ---- Display flags and mode ----
  int m_bSnapShot = 0;
  int m_bDispCursor = 1;
  int m_bDispZoom = 1;
  int m_bDispPoints = 1;
  int m_nMode = 0;
  BYTE m_bHysteresisMode = 0;

  // ---- Non-volatile memory module ----
  HMODULE m_hEepModule = nullptr;
  PFN_SysEepRead m_pSysEepRead = nullptr;
  PFN_SysEepWrite m_pSysEepWrite = nullptr;
  PFN_UnLockDisk m_pUnLockDisk = nullptr;

  // ---- Calibration and projection ----
  CCamera m_Camera;
  int m_nCenterX[2] = {320, 320};  // image centre per camera (0: CCD2, 1: CCD1)
  int m_nCenterY[2] = {240, 240};
  CXYZ m_CcdOffset;
  CWPK m_CcdAngle;
  CXYZ m_Mp;
  VKR3ZA_CALIB m_Calib;
  CProjection_Cap m_Proj;
  double m_dCurV = 0.0;
  double m_dCurH = 0.0;
  double m_dRefV = 0.0;
  double m_dRefH = 0.0;
  double m_dDV = 0.0;
  double m_dDH = 0.0;
  int m_bOffsetValid = 0;
  int m_nOffsetRefX = 0;
  int m_nOffsetRefY = 0;
  double m_dOffsetX = 0.0;
  double m_dOffsetY = 0.0;
  POINT m_ptTap = {0, 0};

  // ---- Modes: flags, points, user offsets ----
  BYTE m_bGetMeas = 0;      // measurement taken
  BYTE m_bDistMeasing = 0;  // distance measurement running
  BYTE m_bTiltErr = 0;
  BYTE m_bTapped = 0;
  BYTE m_bTapOutside = 0;
  BYTE m_bCornerTele = 0;  // corner mode works on the tele camera
  BYTE m_bUserCCDActive = 0;
  CKvoArray<CXYZ, CXYZ&>* m_pPoints = nullptr;
  CKvoArray<CXYZ, CXYZ&> m_MeasPoints;  // distance and REM modes
  int m_nUserCCDOffsetX[2] = {0, 0};
  int m_nUserCCDOffsetY[2] = {0, 0};
  POINT m_ptCorner = {0, 0};       // last corner found
  POINT m_ptCornerDrawn = {0, 0};  // where the corner cross was last drawn
  BYTE m_bCornerFound = 0;         // the last corner display drew a cross
  BYTE m_bCornerDrawn = 0;         // m_ptCornerDrawn holds a drawn cross
  double m_dCornerDV = 0.0;        // aiming differences to the drawn cross
  double m_dCornerDH = 0.0;
  CPrcCorner m_PrcCorner;  // the corner finder
  CString m_strStatus;     // status text (cleared by each exposure step)
  CString m_strTitle;      // read-out title of the current mode
};
