#include "corner/line_seg.h"

#include <cmath>
#include <utility>

namespace {

constexpr double PI = 3.141592653589793;

// Folds theta into [0, pi), negating rho with each half turn.
void Fold(double& rho, double& theta) {
  theta = std::fmod(theta, 2.0 * PI);
  if (theta < 0.0) theta += 2.0 * PI;
  if (theta >= PI) {
    theta -= PI;
    rho = -rho;
  }
  if (theta >= PI) theta = 0.0;  // rounding at exactly pi
}

}  // namespace

CLineSeg::CLineSeg()
    : m_dX1(0), m_dY1(0), m_dX2(0), m_dY2(0), m_dRho(0), m_dTheta(0), m_nVotes(0) {}

CLineSeg::CLineSeg(double x1, double y1, double x2, double y2) : CLineSeg() {
  SetPoints(x1, y1, x2, y2);
}

CLineSeg::CLineSeg(const CLineSeg& o) = default;
CLineSeg& CLineSeg::operator=(const CLineSeg& o) = default;
CLineSeg::~CLineSeg() = default;

void CLineSeg::SetPoints(double x1, double y1, double x2, double y2) {
  m_dX1 = x1;
  m_dY1 = y1;
  m_dX2 = x2;
  m_dY2 = y2;
  const double dx = x2 - x1, dy = y2 - y1;
  const double len = std::hypot(dx, dy);
  if (len == 0.0) {
    m_dTheta = 0.0;
    m_dRho = x1;
    return;
  }
  // The normal is the direction turned a quarter clockwise: (dy, -dx).
  double theta = std::atan2(-dx / len, dy / len);
  double rho = 1.0;
  Fold(rho, theta);
  m_dTheta = theta;
  m_dRho = x1 * std::cos(theta) + y1 * std::sin(theta);
  OrderEnds();
}

void CLineSeg::SetLine(double rho, double theta) {
  Fold(rho, theta);
  m_dRho = rho;
  m_dTheta = theta;
  const double c = std::cos(theta), s = std::sin(theta);
  auto project = [&](double& x, double& y) {
    const double t = -s * x + c * y;
    x = rho * c - t * s;
    y = rho * s + t * c;
  };
  project(m_dX1, m_dY1);
  project(m_dX2, m_dY2);
  OrderEnds();
}

int CLineSeg::Fit(const double* x, const double* y, const double* w, int n) {
  double sw = 0.0, mx = 0.0, my = 0.0;
  int weighted = 0;
  for (int i = 0; i < n; ++i) {
    if (!(w[i] > 0.0)) continue;
    sw += w[i];
    mx += w[i] * x[i];
    my += w[i] * y[i];
    ++weighted;
  }
  if (weighted < 2) return 0;
  mx /= sw;
  my /= sw;
  double sxx = 0.0, sxy = 0.0, syy = 0.0;
  for (int i = 0; i < n; ++i) {
    if (!(w[i] > 0.0)) continue;
    const double ex = x[i] - mx, ey = y[i] - my;
    sxx += w[i] * ex * ex;
    sxy += w[i] * ex * ey;
    syy += w[i] * ey * ey;
  }
  // The direction of largest spread; all points at one place give none.
  if (!(sxx + syy > 1e-12 * sw)) return 0;
  const double phi = 0.5 * std::atan2(2.0 * sxy, sxx - syy);
  const double theta = phi + 0.5 * PI;  // the normal
  SetLine(mx * std::cos(theta) + my * std::sin(theta), theta);
  return 1;
}

void CLineSeg::Offset(double dx, double dy) {
  m_dX1 += dx;
  m_dY1 += dy;
  m_dX2 += dx;
  m_dY2 += dy;
  m_dRho += dx * std::cos(m_dTheta) + dy * std::sin(m_dTheta);
}

double CLineSeg::Length() const { return std::hypot(m_dX2 - m_dX1, m_dY2 - m_dY1); }

double CLineSeg::Distance(double x, double y) const {
  return x * std::cos(m_dTheta) + y * std::sin(m_dTheta) - m_dRho;
}

double CLineSeg::Along(double x, double y) const {
  return -(x - m_dX1) * std::sin(m_dTheta) + (y - m_dY1) * std::cos(m_dTheta);
}

int CLineSeg::IsNear(double x, double y, double tol) const {
  const double t = Along(x, y);
  return t >= -tol && t <= Along(m_dX2, m_dY2) + tol ? 1 : 0;
}

double CLineSeg::Angle(const CLineSeg& o) const {
  const double diff = std::fabs(m_dTheta - o.m_dTheta);
  return diff > 0.5 * PI ? PI - diff : diff;
}

int CLineSeg::Intersect(const CLineSeg& o, double& x, double& y) const {
  const double c1 = std::cos(m_dTheta), s1 = std::sin(m_dTheta);
  const double c2 = std::cos(o.m_dTheta), s2 = std::sin(o.m_dTheta);
  const double det = c1 * s2 - s1 * c2;
  if (std::fabs(det) < 1e-9) return 0;
  x = (m_dRho * s2 - o.m_dRho * s1) / det;
  y = (c1 * o.m_dRho - c2 * m_dRho) / det;
  return 1;
}

void CLineSeg::OrderEnds() {
  if (Along(m_dX2, m_dY2) < 0.0) {
    std::swap(m_dX1, m_dX2);
    std::swap(m_dY1, m_dY2);
  }
}
