#include "camera/dist.h"

#include <cmath>

#include "camera/least_sq.h"

CDist::CDist() { Init(); }

CDist::CDist(const CDist& o) { Copy(o); }

CDist& CDist::operator=(const CDist& o) {
  if (this != &o) Copy(o);
  return *this;
}

CDist::~CDist() {
  m_Radius.RemoveAll();
  m_Distortion.RemoveAll();
}

void CDist::Init() {
  m_DistModel = DIST_NONE;
  m_Radius.RemoveAll();
  m_Distortion.RemoveAll();
  m_nNumPara = 0;
  for (double& p : m_dPara) p = 0.0;
}

void CDist::SetDistModel(DIST_MODEL m) {
  switch (m) {
    case DIST_NONE:
      m_nNumPara = 0;
      break;
    case DIST_RADIAL:
    case DIST_RADIAL_DECENTER:
      m_nNumPara = 4;
      break;
    case DIST_RADIAL3_DECENTER:
      m_nNumPara = 5;
      break;
    case DIST_POLY8:
      m_nNumPara = 8;
      break;
    default:
      m_DistModel = DIST_NONE;
      m_nNumPara = 0;
      return;
  }
  m_DistModel = m;
}

int CDist::AddPara(int i, double v) {
  if (i < 0 || i >= kMaxPara) return 0;
  if (i >= m_nNumPara) ++m_nNumPara;  // callers add parameters in index order
  m_dPara[i] = v;
  return 1;
}

void CDist::CalDist(double x, double y, double& dx, double& dy) const {
  const double* p = m_dPara;
  const double r2 = x * x + y * y;
  switch (m_DistModel) {
    case DIST_RADIAL: {
      const double k = p[0] * r2 + p[1] * r2 * r2 + p[2] * r2 * r2 * r2 + p[3] * r2 * r2 * r2 * r2;
      dx = x * k;
      dy = y * k;
      return;
    }
    case DIST_RADIAL_DECENTER: {
      const double k = p[0] * r2 + p[1] * r2 * r2;
      dx = x * k + p[2] * (2 * x * x + r2) + 2 * p[3] * x * y;
      dy = y * k + p[3] * (2 * y * y + r2) + 2 * p[2] * x * y;
      return;
    }
    case DIST_RADIAL3_DECENTER: {
      const double k = p[0] * r2 + p[1] * r2 * r2 + p[2] * r2 * r2 * r2;
      dx = x * k + p[3] * (2 * x * x + r2) + 2 * p[4] * x * y;
      dy = y * k + p[4] * (2 * y * y + r2) + 2 * p[3] * x * y;
      return;
    }
    case DIST_POLY8: {
      // Deliberately asymmetric: x carries linear terms, y does not.
      const double k = p[0] * r2 + p[1] * r2 * r2;
      dx = x * k + p[2] * x + p[3] * y + p[4] * x * y + p[5] * y * y;
      dy = y * k + p[6] * x * y + p[7] * x * x;
      return;
    }
    default:
      dx = 0.0;
      dy = 0.0;
      return;
  }
}

double CDist::Residual2(double a, double b, double x, double y) const {
  double ea = 0.0, eb = 0.0;
  CalDist(a, b, ea, eb);
  const double ey = b + eb - y, ex = a + ea - x;
  return ey * ey + ex * ex;
}

int CDist::CalDistInv(double x, double y, double& dx, double& dy, double tol) const {
  int passes = 0;
  return CalDistInv(x, y, dx, dy, tol, passes);
}

// Grid search around the best point: each pass tries a 5 x 5 grid of spacing
// h/2 centred on the best point of the previous pass (origin fixed for the
// pass), with h the root of the best residual, so the grid shrinks with it.
int CDist::CalDistInv(double x, double y, double& dx, double& dy, double tol, int& passes) const {
  const double target = tol * tol;
  passes = 0;
  double ex = 0.0, ey = 0.0;
  CalDist(x, y, ex, ey);
  double u = x - ex, v = y - ey;
  double best = Residual2(u, v, x, y);
  if (best <= target) {
    dx = u - x;
    dy = v - y;
    return 1;
  }
  double h = std::sqrt(best);
  for (;;) {
    const double pu = u, pv = v;
    const double a0 = u - h, b0 = v - h, step = h / 2;
    ++passes;
    for (int j = 0; j < 5; ++j) {
      const double b = b0 + j * step;
      for (int i = 0; i < 5; ++i) {
        const double a = a0 + i * step;
        const double e = Residual2(a, b, x, y);
        if (!(e < best)) continue;
        best = e;
        u = a;
        v = b;
        if (best <= target) {
          dx = a - x;
          dy = b - y;
          return 1;
        }
      }
    }
    if (u == pu && v == pv) break;  // no progress
    h = std::sqrt(best);
    if (passes >= 100) break;
  }
  dx = u - x;
  dy = v - y;
  return 0;
}

int CDist::AddDist(double r, double d) {
  m_Radius.Add(r);
  m_Distortion.Add(d);
  return m_Radius.GetSize();
}

int CDist::ParaToDist(double step, int n) {
  if (m_DistModel != DIST_RADIAL) return 0;
  m_Radius.SetSize(n);
  m_Distortion.SetSize(n);
  for (int k = 0; k < n; ++k) {
    double dx = 0.0, dy = 0.0;
    m_Radius[k] = k * step;
    CalDist(m_Radius[k], 0.0, dx, dy);
    m_Distortion[k] = dx;
  }
  return 1;
}

// Fits distortion = K1·r² + K2·r⁴ + K3·r⁶ + K4·r⁸ to the lists.
int CDist::DistToPara() {
  const int m = m_Radius.GetSize();
  if (m != m_Distortion.GetSize() || m < 4) return 0;
  CLeastSq ls(m, 4);
  for (int k = 0; k < m; ++k) {
    const double r2 = m_Radius[k] * m_Radius[k];
    const double r4 = r2 * r2, r6 = r4 * r2, r8 = r6 * r2;
    ls.SetObeq(0, r2);
    ls.SetObeq(1, r4);
    ls.SetObeq(2, r6);
    ls.SetObeq(3, r8);
    ls.SetObeq(4, m_Distortion[k]);
  }
  if (!ls.Solve()) return 0;
  for (int i = 0; i < 4; ++i) m_dPara[i] = ls.GetBcor(i);
  m_DistModel = DIST_RADIAL;  // the count stays as it was
  return 1;
}

void CDist::Copy(const CDist& o) {
  m_DistModel = o.m_DistModel;
  m_nNumPara = o.m_nNumPara;
  for (int i = 0; i < kMaxPara; ++i) m_dPara[i] = o.m_dPara[i];
  m_Radius.Copy(o.m_Radius);
  m_Distortion.Copy(o.m_Distortion);
}
