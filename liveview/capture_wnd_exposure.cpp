// CCaptureWnd: automatic exposure and the luminance histogram.
//
// The exposure value is the Brightness field of the start record (-112..143,
// 0 neutral); every change is applied by sending the record again with
// StartCapture. The measurement reads a 64 x 64 square at the centre of the
// view as 5-6-5 pixels and bins their luminance
// trunc(0.3 R + 0.59 G + 0.11 B) of the 8-bit expanded components.
#include <algorithm>
#include <cstring>

#include "liveview/capture_wnd.h"
#include "liveview/vcap.h"
#include "platform/dc.h"

namespace {

constexpr int kExposureMin = -112;
constexpr int kExposureMax = 143;
constexpr int kManualStep = 8;
constexpr int kSquareHalf = 32;  // the measuring square is 64 x 64 pixels
constexpr int kDeadBand = 2;     // |step| below this leaves the exposure alone

SHORT ClampExposure(int value) {
  return SHORT(std::clamp(int(SHORT(value)), kExposureMin, kExposureMax));
}

int Luminance(WORD pixel) {
  const int r8 = (pixel >> 11) * 255 / 31;
  const int g8 = ((pixel >> 5) & 63) * 255 / 63;
  const int b8 = (pixel & 31) * 255 / 31;
  const int y = int(0.59 * g8 + 0.11 * b8 + 0.3 * r8);
  return std::clamp(y, 0, 255);
}

// Value measured and value aimed at for an exposure mode; false for a mode
// that does not adjust.
bool AimOfMode(int mode, int max, int min, int mean, int& value, int& target) {
  switch (mode) {
    case 1:
      value = mean;
      target = 128;
      return true;
    case 2:
      value = (max + min) / 2;
      target = 128;
      return true;
    case 3:
      value = max;
      target = 200;
      return true;
    default:
      return false;
  }
}

}  // namespace

void CCaptureWnd::InitAE() {
  m_StartParam.Brightness = 0;
  if (m_pVCap) m_pVCap->StartCapture(&m_StartParam);
}

void CCaptureWnd::AE_Up() {
  m_StartParam.Brightness = ClampExposure(m_StartParam.Brightness + kManualStep);
  if (m_pVCap) m_pVCap->StartCapture(&m_StartParam);
}

void CCaptureWnd::AE_Down() {
  m_StartParam.Brightness = ClampExposure(m_StartParam.Brightness - kManualStep);
  if (m_pVCap) m_pVCap->StartCapture(&m_StartParam);
}

int CCaptureWnd::AE_CheckDensity(int& max, int& min, int& mean) {
  CRect client;
  GetClientRect(&client);
  ClientToScreen(&client);
  const int mid_x = (client.left + client.right) / 2;
  const int mid_y = (client.top + client.bottom) / 2;
  CRect square(mid_x - kSquareHalf, mid_y - kSquareHalf, mid_x + kSquareHalf, mid_y + kSquareHalf);
  max = 0;
  min = 255;
  mean = 0;
  GetHistogram(square, m_histogram);
  return CalDistribution(m_histogram, max, min, mean);
}

void CCaptureWnd::GetHistogram(CRect& rect, int hist[256]) {
  std::fill(hist, hist + 256, 0);
  std::memset(m_histogramSamples, 0, sizeof(m_histogramSamples));
  const int w = rect.right - rect.left;
  const int h = rect.bottom - rect.top;
  if (h < 1 || w < 1) return;
  // The sample buffer holds exactly one 64 x 64 square; never ask for more.
  const long long bytes = 2LL * w * h;
  if (bytes > static_cast<long long>(sizeof(m_histogramSamples))) return;
  if (!m_pVCap) return;
  RECT request = rect;
  if (!m_pVCap->GetCaptureData2(m_histogramSamples, int(bytes), &request, 1)) return;
  for (int i = 0; i < w * h; ++i) {
    WORD pixel;
    std::memcpy(&pixel, m_histogramSamples + 2 * i, sizeof(pixel));
    ++hist[Luminance(pixel)];
  }
}

int CCaptureWnd::CalDistribution(int hist[256], int& max, int& min, int& mean) {
  mean = 0;
  max = 0;
  min = 255;
  long long total = 0;
  long long weighted = 0;
  for (int i = 0; i < 256; ++i) {
    total += hist[i];
    weighted += static_cast<long long>(i) * hist[i];
  }
  if (total < 1) return FALSE;
  mean = int(weighted / total);
  for (int i = 0; i < 256; ++i) {
    if (hist[i] > 0) {
      min = i;
      break;
    }
  }
  for (int i = 255; i >= 0; --i) {
    if (hist[i] > 0) {
      max = i;
      break;
    }
  }
  return TRUE;
}

int CCaptureWnd::AE_Adjust() {
  if (m_bAEBusy) return FALSE;
  m_bAEBusy = 1;
  m_strStatus.Empty();
  int max = 0, min = 255, mean = 0;
  int value = 0, target = 0;
  if (!AE_CheckDensity(max, min, mean) || !AimOfMode(m_nAEMode, max, min, mean, value, target)) {
    m_bAEBusy = 0;
    return FALSE;
  }
  // A quarter of the error per tick; a bright picture lowers the exposure.
  const int step = (value - m_aeDensityOffset - target) / 4;
  if (step >= kDeadBand || step <= -kDeadBand) {
    m_StartParam.Brightness = ClampExposure(m_StartParam.Brightness - step);
    if (m_pVCap) m_pVCap->StartCapture(&m_StartParam);
  }
  m_bAEBusy = 0;
  return TRUE;
}

void CCaptureWnd::DrawHistogram(CDC* dc) {
  CPen pen(PS_SOLID, 0, RGB(0, 255, 0));
  CPen* old_pen = dc->SelectObject(&pen);
  CRect client;
  GetClientRect(&client);
  const int left = client.right - 133;
  const int right = client.right - 5;
  const int top = client.top + 5;
  const int base = client.top + 69;
  dc->MoveTo(left, top);
  dc->LineTo(right, top);
  dc->LineTo(right, base);
  dc->LineTo(left, base);
  dc->LineTo(left, top);
  const int peak = *std::max_element(m_histogram, m_histogram + 256);
  if (peak >= 1) {
    // Two bins share each column; the tallest bin is 64 pixels high.
    for (int i = 0; i < 256; ++i) {
      dc->MoveTo(left + i / 2, base);
      dc->LineTo(left + i / 2, base - m_histogram[i] * 64 / peak);
    }
  }
  dc->SelectObject(old_pen);
}

void CCaptureWnd::SetHysteresisMode(bool on) { m_bHysteresisMode = on ? 1 : 0; }
