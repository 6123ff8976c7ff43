#include "corner/prc_corner.h"

#include <algorithm>
#include <cmath>

#include "image/dib_ex.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr int kHoughMargin = 2;        // thinning and Sobel leave the border empty
constexpr double kFirstBand = 3.5;     // half width of the edge profile collected
constexpr double kSecondBand = 3.0;    // ... around the line fitted once
constexpr double kOtherLineGap = 2.5;  // points this near the other line of a pair are left out
constexpr double kSquareCos = 0.94;    // gradient within 20 degrees of the line's normal
constexpr int kMinEdgePoints = 6;
constexpr int kGradientFloor = 8;           // Sobel units: two grey levels of contrast
constexpr unsigned int kRelativeEdge = 16;  // edges above max strength / 16 are kept

unsigned char Luminance(int r, int g, int b) {
  const int y = int(0.3 * r + 0.59 * g + 0.11 * b);
  return (unsigned char)(std::clamp(y, 0, 255));
}

}  // namespace

CPrcCorner::CPrcCorner()
    : m_nWindow(kDefaultWindow),
      m_dMinAngle(20.0),
      m_dEndTol(6.0),
      m_nEdgeThreshold(20000),
      m_nMaxLines(12),
      m_rcSearch(0, 0, 0, 0) {
  m_Median.SetParam(3);
  m_Hough.SetPeakParam(10, 5, 3);
  m_Hough.SetSegmentParam(1.5, 4.0, 8.0);
}

CPrcCorner::CPrcCorner(const CPrcCorner& o) = default;
CPrcCorner& CPrcCorner::operator=(const CPrcCorner& o) = default;
CPrcCorner::~CPrcCorner() = default;

void CPrcCorner::SetWindowSize(int n) {
  if (n >= 32 && n <= 256 && n % 2 == 0) m_nWindow = n;
}

void CPrcCorner::SetMinAngle(double degrees) {
  if (degrees > 0.0 && degrees <= 90.0) m_dMinAngle = degrees;
}

void CPrcCorner::SetEndTolerance(double pixels) {
  if (pixels >= 0.0) m_dEndTol = pixels;
}

void CPrcCorner::SetEdgeThreshold(unsigned int threshold) { m_nEdgeThreshold = threshold; }

template <class PixelFn>
void CPrcCorner::CutWindow(CSize size, CPoint tap, PixelFn pixel) {
  const int n = m_nWindow;
  m_rcSearch = CRect(tap.x - n / 2, tap.y - n / 2, tap.x - n / 2 + n, tap.y - n / 2 + n);
  m_Grey.resize(size_t(n) * size_t(n));
  for (int j = 0; j < n; ++j) {
    const int y = std::clamp(int(m_rcSearch.top) + j, 0, int(size.cy) - 1);
    for (int i = 0; i < n; ++i) {
      const int x = std::clamp(int(m_rcSearch.left) + i, 0, int(size.cx) - 1);
      m_Grey[size_t(j) * size_t(n) + size_t(i)] = pixel(x, y);
    }
  }
}

int CPrcCorner::FindCorner(CDibEx& image, CPoint tap, double& x, double& y) {
  m_Lines.RemoveAll();
  const BITMAPINFOHEADER* header = image.m_infoHeader;
  if (!header || !image.m_imageBits || (header->biBitCount != 24 && header->biBitCount != 8))
    return 0;
  const CSize size = image.GetDimensions();
  const int rows = std::abs(int(size.cy));
  if (tap.x < 0 || tap.y < 0 || tap.x >= size.cx || tap.y >= rows) return 0;
  const bool bottom_up = size.cy > 0;
  const BYTE* bits = image.m_imageBits;
  const size_t stride = image.GetByteWidth();
  auto row_of = [&](int yy) { return bits + size_t(bottom_up ? rows - 1 - yy : yy) * stride; };
  if (header->biBitCount == 24) {
    CutWindow(CSize(size.cx, rows), tap, [&](int xx, int yy) {
      const BYTE* p = row_of(yy) + size_t(xx) * 3;
      return Luminance(p[2], p[1], p[0]);
    });
  } else {
    const RGBQUAD* table = reinterpret_cast<const RGBQUAD*>(image.m_colorTable);
    const int entries = image.GetNumColors();
    CutWindow(CSize(size.cx, rows), tap, [&](int xx, int yy) {
      const BYTE index = row_of(yy)[xx];
      if (!table || index >= entries) return index;
      return Luminance(table[index].rgbRed, table[index].rgbGreen, table[index].rgbBlue);
    });
  }
  double cx = 0.0, cy = 0.0;
  if (!PickCorner(cx, cy)) return 0;
  x = cx;
  y = cy;
  return 1;
}

int CPrcCorner::FindCorner(
    const unsigned char* grey, CSize size, CPoint tap, double& x, double& y) {
  m_Lines.RemoveAll();
  if (!grey || tap.x < 0 || tap.y < 0 || tap.x >= size.cx || tap.y >= size.cy) return 0;
  CutWindow(
      size, tap, [&](int xx, int yy) { return grey[size_t(yy) * size_t(size.cx) + size_t(xx)]; });
  double cx = 0.0, cy = 0.0;
  if (!PickCorner(cx, cy)) return 0;
  x = cx;
  y = cy;
  return 1;
}

bool CPrcCorner::FindEdges() {
  const int n = m_nWindow;
  const CSize size(n, n);
  m_Smooth = m_Grey;  // the median leaves the outermost pixels as they are
  m_Median.Median_Fliter(m_Grey.data(), m_Smooth.data(), size, 0);
  m_Strength.assign(m_Grey.size(), 0u);
  m_Sobel.SetParam(m_nEdgeThreshold);
  if (!m_Sobel.Sobel(m_Smooth.data(), m_Strength.data(), size, 1)) return false;
  // Strong object edges beside weak ones: keep what is comparable to the
  // strongest, so shading and texture do not make lines of their own.
  const unsigned int strongest = *std::max_element(m_Strength.begin(), m_Strength.end());
  const unsigned int threshold = std::max(m_nEdgeThreshold, strongest / kRelativeEdge);
  m_Edge.assign(m_Grey.size(), 0);
  m_Thinning.Thinning(m_Strength.data(), m_Edge.data(), size, 1, threshold);
  return true;
}

void CPrcCorner::Gradients() {
  const int n = m_nWindow;
  m_Gx.assign(m_Grey.size(), 0);
  m_Gy.assign(m_Grey.size(), 0);
  for (int y = 1; y < n - 1; ++y) {
    const unsigned char* up = m_Grey.data() + size_t(y - 1) * size_t(n);
    const unsigned char* mid = up + n;
    const unsigned char* down = mid + n;
    for (int x = 1; x < n - 1; ++x) {
      const size_t k = size_t(y) * size_t(n) + size_t(x);
      m_Gx[k] =
          (up[x + 1] - up[x - 1]) + 2 * (mid[x + 1] - mid[x - 1]) + (down[x + 1] - down[x - 1]);
      m_Gy[k] = (down[x - 1] - up[x - 1]) + 2 * (down[x] - up[x]) + (down[x + 1] - up[x + 1]);
    }
  }
}

void CPrcCorner::Collect(const CLineSeg& seg, double band, std::vector<EdgePoint>& pts) const {
  pts.clear();
  const int n = m_nWindow;
  const double c = std::cos(seg.m_dTheta), s = std::sin(seg.m_dTheta);
  const double length = seg.Length();
  // Only the pixels of the segment's bounding box widened by the band.
  const int x0 = std::max(1, int(std::floor(std::min(seg.m_dX1, seg.m_dX2) - band - 1)));
  const int x1 = std::min(n - 2, int(std::ceil(std::max(seg.m_dX1, seg.m_dX2) + band + 1)));
  const int y0 = std::max(1, int(std::floor(std::min(seg.m_dY1, seg.m_dY2) - band - 1)));
  const int y1 = std::min(n - 2, int(std::ceil(std::max(seg.m_dY1, seg.m_dY2) + band + 1)));
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) {
      if (std::fabs(x * c + y * s - seg.m_dRho) > band) continue;
      const double t = seg.Along(x, y);
      if (t < 0.0 || t > length) continue;
      const size_t k = size_t(y) * size_t(n) + size_t(x);
      const double gx = m_Gx[k], gy = m_Gy[k];
      const double g = std::hypot(gx, gy);
      if (g <= kGradientFloor) continue;
      // The gradient of this edge is square to the line; elsewhere the
      // pixel sees another edge too.
      if (std::fabs(gx * c + gy * s) < kSquareCos * g) continue;
      pts.push_back({double(x), double(y), g - kGradientFloor});
    }
  }
}

bool CPrcCorner::FitSegment(CLineSeg& seg,
                            const std::vector<EdgePoint>& pts,
                            const CLineSeg* other,
                            double keepOff) const {
  std::vector<double> xs, ys, ws;
  xs.reserve(pts.size());
  ys.reserve(pts.size());
  ws.reserve(pts.size());
  for (const EdgePoint& p : pts) {
    if (other && std::fabs(other->Distance(p.x, p.y)) < keepOff) continue;
    xs.push_back(p.x);
    ys.push_back(p.y);
    ws.push_back(p.w);
  }
  if (int(xs.size()) < kMinEdgePoints) return false;
  CLineSeg fitted = seg;
  if (!fitted.Fit(xs.data(), ys.data(), ws.data(), int(xs.size()))) return false;
  // A fit that turned away from the detected line followed something else.
  if (fitted.Angle(seg) > 5.0 * PI / 180.0) return false;
  seg = fitted;
  return true;
}

bool CPrcCorner::PickCorner(double& x, double& y) {
  m_Lines.RemoveAll();
  m_Points.clear();
  if (!FindEdges()) return false;
  const int n = m_nWindow;
  CKvoArray<CLineSeg, CLineSeg&> found;
  m_Hough.Detect(m_Edge.data(), CSize(n, n), kHoughMargin, m_nMaxLines, found);
  Gradients();
  std::vector<EdgePoint> pts;
  for (CLineSeg& seg : found) {
    Collect(seg, kFirstBand, pts);
    if (!FitSegment(seg, pts, nullptr, 0.0)) continue;
    Collect(seg, kSecondBand, pts);
    if (!FitSegment(seg, pts, nullptr, 0.0)) continue;
    m_Lines.Add(seg);
    m_Points.push_back(pts);
  }

  const int tapPixel = n / 2;  // the tap is the window's pixel (n/2, n/2)
  const double tap = tapPixel;
  const double min_angle = m_dMinAngle * PI / 180.0;
  bool any = false;
  double best = 0.0;
  for (int i = 0; i < m_Lines.GetSize(); ++i) {
    for (int j = i + 1; j < m_Lines.GetSize(); ++j) {
      const CLineSeg& a = m_Lines[i];
      const CLineSeg& b = m_Lines[j];
      if (a.Angle(b) < min_angle) continue;
      double cx = 0.0, cy = 0.0;
      if (!a.Intersect(b, cx, cy)) continue;
      if (!a.IsNear(cx, cy, m_dEndTol) || !b.IsNear(cx, cy, m_dEndTol)) continue;
      // Each line again without the pixels the other edge disturbs.
      CLineSeg fa = a, fb = b;
      if (!FitSegment(fa, m_Points[size_t(i)], &b, kOtherLineGap)) fa = a;
      if (!FitSegment(fb, m_Points[size_t(j)], &a, kOtherLineGap)) fb = b;
      if (!fa.Intersect(fb, cx, cy)) continue;
      if (cx < 1.0 || cy < 1.0 || cx > n - 2.0 || cy > n - 2.0) continue;
      const double d = std::hypot(cx - tap, cy - tap);
      if (!any || d < best) {
        any = true;
        best = d;
        x = cx;
        y = cy;
      }
    }
  }
  for (CLineSeg& seg : m_Lines) seg.Offset(m_rcSearch.left, m_rcSearch.top);
  if (!any) return false;
  x += m_rcSearch.left;
  y += m_rcSearch.top;
  return true;
}
