// CCaptureWnd: construction and destruction, window creation, the deferred
// start of capture, the 200 ms frame timer, painting, and the two still grabs.
#include "liveview/capture_wnd.h"

#include <algorithm>
#include <new>

#include "image/dib_ex.h"
#include "liveview/frame_convert.h"
#include "liveview/vcap.h"
#include "platform/dc.h"
#include "platform/device.h"
#include "platform/faults.h"
#include "platform/message_box.h"
#include "platform/message_table.h"
#include "platform/modules.h"
#include "platform/paint_dc.h"

IMPLEMENT_DYNAMIC(CCaptureWnd, CWnd)

namespace {

constexpr int kFramePixels = 640 * 480;
constexpr int kDisplayPixels = 320 * 240;
constexpr wchar_t kErrorCaption[] = L"ERROR";

}  // namespace

// ---- Construction and destruction ----

CCaptureWnd::CCaptureWnd()
    : m_FrameBuf(kFramePixels), m_DispBuf(kDisplayPixels), m_pMessage(new StMessage) {
  m_hEepModule = LoadLibraryW(L"EEP.DLL");
  if (!m_hEepModule) {
    MessageBox(L"Load Module Error", L"Error", MB_OK);
    return;
  }
  m_pSysEepRead = reinterpret_cast<PFN_SysEepRead>(GetProcAddressW(m_hEepModule, L"SysEepRead"));
  m_pSysEepWrite = reinterpret_cast<PFN_SysEepWrite>(GetProcAddressW(m_hEepModule, L"SysEepWrite"));
  m_pUnLockDisk = reinterpret_cast<PFN_UnLockDisk>(GetProcAddressW(m_hEepModule, L"UnLockDisk"));
}

CCaptureWnd::~CCaptureWnd() {
  // A window still alive is destroyed while this object is whole, so that
  // OnDestroy (timer) runs as the window's own handler.
  if (m_hWnd) DestroyWindow();
  // Every subsystem's messages fall back to their English texts.
  platform::SetMessageSource(nullptr);
  FreeMessageLists();
  if (m_pVCap) {
    m_pVCap->StopCapture();
    m_pVCap->Close();
    delete m_pVCap;
    m_pVCap = nullptr;
  }
  if (m_hEepModule) {
    FreeLibrary(m_hEepModule);
    m_hEepModule = nullptr;
  }
  if (m_nMode == 5 || m_nMode == 6) m_nMode = 0;
  delete m_pMessage;
  m_pMessage = nullptr;
  m_brBack.DeleteObject();
}

int CCaptureWnd::Create(CWnd* parent,
                        const RECT& rect,
                        double baseZoom,
                        double minZoom,
                        double maxZoom,
                        DWORD style,
                        DWORD exStyle) {
  m_dBaseZoom = baseZoom;
  m_dMinZoom = minZoom;
  m_dMaxZoom = maxZoom;
  return CreateEx(exStyle, nullptr, nullptr, style, rect, parent, kControlId, nullptr);
}

// ---- Message map ----

LRESULT CCaptureWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITCAPTURE) return OnInitCapture(wParam, lParam);
  return CWnd::WindowProc(message, wParam, lParam);
}

int CCaptureWnd::OnCreate(LPCREATESTRUCT create) {
  if (CWnd::OnCreate(create) == -1) return -1;
  m_nCapHeight = 480;
  m_nCapWidth = 640;
  m_brBack.DeleteObject();
  m_brBack.Attach(::CreateSolidBrush(KeyColor1));
  if (!FlashReadDat() || !FlashReadCmr()) return -1;
  PostMessage(WM_INITCAPTURE, 0, 0);
  m_nTimerID = UINT(SetTimer(kFrameTimerId, kFrameTimerPeriodMs, nullptr));
  return 0;
}

LRESULT CCaptureWnd::OnInitCapture(WPARAM, LPARAM) {
  delete m_pVCap;
  m_pVCap = platform::fault::Check("alloc", "CVCap").fail ? nullptr : new (std::nothrow) CVCap;
  if (!m_pVCap) {
    MessageBox(TableText(platform::kMsgMemory), kErrorCaption, MB_OK);
    return -1;
  }
  if (!m_pVCap->Open()) MessageBox(TableText(platform::kMsgOpenCapture), kErrorCaption, MB_OK);
  m_pVCap->ReadCaptureEvent(&m_hCapEvent);

  m_StartParam = VCAP_START_PARAMETER{};
  m_StartParam.Size = sizeof(VCAP_START_PARAMETER);
  m_StartParam.Camera = 1;
  for (int camera = 0; camera < 2; ++camera) {
    m_dZoom[camera] = m_dBaseZoom;
    m_dZoomRatio[camera] = 1.0;
    VCAP_DISP_PARAMETER& disp = m_DispParam[camera];
    disp = VCAP_DISP_PARAMETER{};
    disp.Size = sizeof(VCAP_DISP_PARAMETER);
    disp.DispFlag = 1;
    CalRect(camera, m_dZoom[camera], disp.SrcRect, disp.DstRect);
    disp.KeyColor1 = KeyColor1;
    disp.KeyColor2 = KeyColor2;
    disp.DispEnable = 1;
  }
  if (!m_pVCap->SetCaptureDisplay(&m_DispParam[1]))
    MessageBox(TableText(platform::kMsgSetCapture), kErrorCaption, MB_OK);
  if (!m_pVCap->StartCapture(&m_StartParam))
    MessageBox(TableText(platform::kMsgStartCapture), kErrorCaption, MB_OK);
  InitProjection();
  if (m_nMode == 5) InitOffset();
  InvalidateRect(nullptr, TRUE);
  return 0;
}

// The 200 ms frame step: one exposure step (or, with automatic exposure off,
// a measurement that keeps the histogram current), then a repaint of the
// overlays. The timer is killed before the exposure work and started again
// afterwards, so the period runs from the end of one step to the start of the
// next and slow steps never pile up.
void CCaptureWnd::OnTimer(UINT_PTR id) {
  if (m_bTimerLock == 1 || m_bSnapShot) return;
  m_bInTimer = 1;
  if (m_nAEMode < 1) {
    if (m_bAEBusy) {
      m_bInTimer = 0;
      CWnd::OnTimer(id);
      return;
    }
    m_bAEBusy = 1;
    KillTimer(m_nTimerID);
    int max = 0, min = 0, mean = 0;
    AE_CheckDensity(max, min, mean);
    m_bAEBusy = 0;
  } else {
    KillTimer(m_nTimerID);
    AE_Adjust();
  }
  m_nTimerID = UINT(SetTimer(kFrameTimerId, kFrameTimerPeriodMs, nullptr));
  m_bInTimer = 0;
  Invalidate(TRUE);
  CWnd::OnTimer(id);
}

// Overlays only: the live picture under them is the driver's.
void CCaptureWnd::OnPaint() {
  CPaintDC dc(this);
  if (m_bDispCursor) DrawCursor(&dc);
  if (m_bDispPoints && m_pPoints && GetCurCamera() == 1) DrawPoints(&dc);
  switch (m_nMode) {
    case 1:
      DrawOffset(&dc);
      break;
    case 2:
      DrawCorner(&dc);
      DrawTapPoint(&dc);
      break;
    case 3:
      DrawDistance(&dc);
      break;
    case 4:
      DrawRemPoint(&dc);
      break;
    case 5:
      DrawCCDAttach(&dc);
      break;
    default:
      break;
  }
}

// Fills what needs painting with the key colour, where the driver shows video.
BOOL CCaptureWnd::OnEraseBkgnd(CDC* dc) {
  CBrush* old = dc->SelectObject(&m_brBack);
  RECT clip;
  dc->GetClipBox(&clip);
  dc->PatBlt(clip.left, clip.top, clip.right - clip.left, clip.bottom - clip.top, PATCOPY);
  dc->SelectObject(old);
  return TRUE;
}

UINT CCaptureWnd::OnGetDlgCode() { return DLGC_WANTALLKEYS; }

void CCaptureWnd::OnDestroy() {
  CWnd::OnDestroy();
  KillTimer(m_nTimerID);
}

// ---- Still grabs ----

void CCaptureWnd::WaitThreeFrames() {
  m_pVCap->StartCapture(&m_StartParam);
  for (int i = 0; i < 3; ++i) WaitForSingleObject(m_hCapEvent, INFINITE);
  m_pVCap->StopCapture();
}

void CCaptureWnd::GetCapture(CDibEx& image) {
  if (!m_pVCap) return;
  WaitThreeFrames();
  std::fill(m_FrameBuf.begin(), m_FrameBuf.end(), WORD{0});
  const int size = m_nCapWidth * m_nCapHeight * 2;
  if (m_pVCap->GetCaptureData(reinterpret_cast<BYTE*>(m_FrameBuf.data()), size)) {
    FrameToImage(m_FrameBuf.data(), m_nCapWidth, m_nCapHeight, image);
  } else {
    AfxMessageBox(TableText(platform::kMsgRecordPicture));
  }
  m_pVCap->StartCapture(&m_StartParam);
}

void CCaptureWnd::GetCaptureDisplay(CDibEx& image) {
  if (!m_pVCap) return;
  WaitThreeFrames();
  RECT rect;
  GetClientRect(&rect);
  ClientToScreen(&rect);
  const int width = rect.right - rect.left;
  const int height = rect.bottom - rect.top;
  // Sized from the request: a client area larger than the device's screen
  // must never overrun the buffer.
  const size_t pixels = size_t(std::max(width, 0)) * size_t(std::max(height, 0));
  if (m_DispBuf.size() < pixels) m_DispBuf.resize(pixels);
  std::fill(m_DispBuf.begin(), m_DispBuf.end(), WORD{0});
  if (m_pVCap->GetCaptureData2(
          reinterpret_cast<BYTE*>(m_DispBuf.data()), width * height * 2, &rect, 1)) {
    FrameToImage(m_DispBuf.data(), width, height, image);
  } else {
    AfxMessageBox(TableText(platform::kMsgRecordPicture));
  }
  m_pVCap->StartCapture(&m_StartParam);
}

void CCaptureWnd::FrameToImage(const WORD* pixels, int width, int height, CDibEx& image) {
  if (!image.Create(CSize(width, height), 24, 0, FALSE, -1) || !image.m_imageBits) {
    MessageBox(TableText(platform::kMsgMemory), kErrorCaption, MB_OK);
    return;
  }
  ConvertFrame(pixels, width, height, image.m_imageBits, int(image.GetByteWidth()));
}

void CCaptureWnd::ConvertFrame(const WORD* pixels, int width, int height, BYTE* bits, int stride) {
  liveview::ConvertFrame565To24(pixels, width, height, bits, stride);
}

// ---- Flags ----

void CCaptureWnd::SetSXGAMode(int on) { m_bSXGAMode = BYTE(on); }

void CCaptureWnd::SetDispCursor(int on) {
  m_bDispCursor = on;
  InvalidateRect(nullptr, TRUE);
}
void CCaptureWnd::SetDispZoom(int on) {
  m_bDispZoom = on;
  InvalidateRect(nullptr, TRUE);
}
void CCaptureWnd::SetDispPoints(int on) {
  m_bDispPoints = on;
  InvalidateRect(nullptr, TRUE);
}
int CCaptureWnd::GetDispCursor() { return m_bDispCursor; }
int CCaptureWnd::GetDispZoom() { return m_bDispZoom; }
int CCaptureWnd::GetDispPoints() { return m_bDispPoints; }
