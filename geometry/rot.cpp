#include "geometry/rot.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

// Angle constants of this unit, set when the library loads.
const double PI = 3.141592653589793;
// Degrees-to-radians step of SetDIMat: the double nearest 1/180.
constexpr double kOneOver180 = 1.0 / 180.0;
static_assert(std::bit_cast<uint64_t>(kOneOver180) == 0x3F76C16C16C16C17ull);

// Below this |cos phi| the matrix is treated as gimbal-locked.
constexpr double kGimbalCos = 1e-12;

double Clamp1(double s) {
  if (s >= 1.0) return 1.0;
  if (s <= -1.0) return -1.0;
  return s;
}

// The second solution for phi, mirrored about +-PI/2.
double OtherPhi(double phi0) { return phi0 >= 0.0 ? PI - phi0 : -PI - phi0; }

// Distance of a candidate from the reference, with CWPK's own wrap rule.
double Score(const CWPK& c, const CWPK& ref) {
  const double dw = CWPK::SubtractAngle(c.omega, ref.omega);
  const double dp = CWPK::SubtractAngle(c.phi, ref.phi);
  const double dk = CWPK::SubtractAngle(c.kappa, ref.kappa);
  return std::fabs(dk) + std::fabs(dp) + std::fabs(dw);
}

// Candidate 0 wins ties: the principal asin solution.
void Choose(const CWPK cand[2], const CWPK& ref, CWPK& out) {
  out = Score(cand[0], ref) <= Score(cand[1], ref) ? cand[0] : cand[1];
  out.Normalize();
}

}  // namespace

CRot::CRot() { I(); }

CRot::CRot(const CRot& other) {
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) m[r][c] = other.m[r][c];
}

CRot& CRot::operator=(const CRot& other) {
  if (this != &other)
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) m[r][c] = other.m[r][c];
  return *this;
}

void CRot::I() {
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) m[r][c] = r == c ? 1.0 : 0.0;
}

void CRot::T() {
  for (int r = 0; r < 3; ++r)
    for (int c = r + 1; c < 3; ++c) {
      const double t = m[r][c];
      m[r][c] = m[c][r];
      m[c][r] = t;
    }
}

int CRot::SetMatrix(ROT_SYSTEM sys, const CWPK& a) {
  switch (sys) {
    case ROT_W:
      SetMatrix_W(a.omega);
      return 1;
    case ROT_P:
      SetMatrix_P(a.phi);
      return 1;
    case ROT_K:
      SetMatrix_K(a.kappa);
      return 1;
    case ROT_WPK:
      SetMatrix_WPK(a.omega, a.phi, a.kappa);
      return 1;
    case ROT_KPW:
      SetMatrix_KPW(a.omega, a.phi, a.kappa);
      return 1;
  }
  return 0;
}

int CRot::AddMatrix(ROT_SYSTEM sys, const CWPK& a) {
  CRot n;
  if (!n.SetMatrix(sys, a)) return 0;
  return AddMatrix(n);
}

int CRot::AddMatrix(const CRot& r) {
  *this = r * *this;
  return 1;
}

int CRot::CalAngle(ROT_SYSTEM sys, CWPK& a) {
  switch (sys) {
    case ROT_W:
      a.Init();
      CalAngle_W(a.omega);
      return 1;
    case ROT_P:
      a.Init();
      CalAngle_P(a.phi);
      return 1;
    case ROT_K:
      a.Init();
      CalAngle_K(a.kappa);
      return 1;
    case ROT_WPK:
    case ROT_KPW: {
      const CWPK ref(a);
      a.Init();
      if (sys == ROT_WPK)
        CalAngle_WPK(ref, a);
      else
        CalAngle_KPW(ref, a);
      return 1;
    }
  }
  return 0;
}

int CRot::SetDIMat(double* const d) {
  const CWPK a(d[0] * PI * kOneOver180, d[1] * PI * kOneOver180, d[2] * PI * kOneOver180);
  return SetMatrix(ROT_KPW, a);
}

int CRot::SetDIMatInv(double* const d) {
  const int ok = SetDIMat(d);
  T();
  return ok;
}

void CRot::Rotate(double x, double y, double z, double& X, double& Y, double& Z) const {
  X = m[0][0] * x + m[0][1] * y + m[0][2] * z;
  Y = m[1][0] * x + m[1][1] * y + m[1][2] * z;
  Z = m[2][0] * x + m[2][1] * y + m[2][2] * z;
}

void CRot::Rotate(const CXYZ& in, CXYZ& out) const {
  const double x = in.X, y = in.Y, z = in.Z;  // in and out may be one object
  out = in;
  Rotate(x, y, z, out.X, out.Y, out.Z);
}

CXYZ CRot::operator*(const CXYZ& p) const {
  CXYZ r;
  Rotate(p, r);
  return r;
}

CRot CRot::operator*(const CRot& r) const {
  CRot p;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      p.m[i][j] = m[i][0] * r.m[0][j] + m[i][1] * r.m[1][j] + m[i][2] * r.m[2][j];
  return p;
}

CRot& CRot::operator*=(const CRot& r) {
  *this = *this * r;
  return *this;
}

void CRot::Trace() {}

// clang-format off: the matrices are laid out as they read.
void CRot::SetMatrix_W(const double& w) {
  const double c = std::cos(w), s = std::sin(w);
  m[0][0] = 1;
  m[0][1] = 0;
  m[0][2] = 0;
  m[1][0] = 0;
  m[1][1] = c;
  m[1][2] = -s;
  m[2][0] = 0;
  m[2][1] = s;
  m[2][2] = c;
}

void CRot::SetMatrix_P(const double& p) {
  const double c = std::cos(p), s = std::sin(p);
  m[0][0] = c;
  m[0][1] = 0;
  m[0][2] = s;
  m[1][0] = 0;
  m[1][1] = 1;
  m[1][2] = 0;
  m[2][0] = -s;
  m[2][1] = 0;
  m[2][2] = c;
}

void CRot::SetMatrix_K(const double& k) {
  const double c = std::cos(k), s = std::sin(k);
  m[0][0] = c;
  m[0][1] = -s;
  m[0][2] = 0;
  m[1][0] = s;
  m[1][1] = c;
  m[1][2] = 0;
  m[2][0] = 0;
  m[2][1] = 0;
  m[2][2] = 1;
}
// clang-format on

// K * P * W, written out.
void CRot::SetMatrix_WPK(const double& w, const double& p, const double& k) {
  const double cw = std::cos(w), sw = std::sin(w);
  const double cp = std::cos(p), sp = std::sin(p);
  const double ck = std::cos(k), sk = std::sin(k);
  m[0][0] = ck * cp;
  m[0][1] = ck * sp * sw - sk * cw;
  m[0][2] = ck * sp * cw + sk * sw;
  m[1][0] = sk * cp;
  m[1][1] = sk * sp * sw + ck * cw;
  m[1][2] = sk * sp * cw - ck * sw;
  m[2][0] = -sp;
  m[2][1] = cp * sw;
  m[2][2] = cp * cw;
}

// W * P * K, written out.
void CRot::SetMatrix_KPW(const double& w, const double& p, const double& k) {
  const double cw = std::cos(w), sw = std::sin(w);
  const double cp = std::cos(p), sp = std::sin(p);
  const double ck = std::cos(k), sk = std::sin(k);
  m[0][0] = ck * cp;
  m[0][1] = -sk * cp;
  m[0][2] = sp;
  m[1][0] = ck * sp * sw + sk * cw;
  m[1][1] = ck * cw - sk * sp * sw;
  m[1][2] = -cp * sw;
  m[2][0] = sk * sw - ck * sp * cw;
  m[2][1] = sk * sp * cw + ck * sw;
  m[2][2] = cp * cw;
}

void CRot::CalAngle_W(double& w) { w = std::atan2(m[2][1], m[1][1]); }

void CRot::CalAngle_P(double& p) { p = std::atan2(m[0][2], m[0][0]); }

void CRot::CalAngle_K(double& k) { k = std::atan2(m[1][0], m[0][0]); }

// Scaling both atan2 arguments by 1/cos(phi) flips their signs when cos(phi)
// is negative, which pairs omega and kappa with the second phi solution.
void CRot::CalAngle_WPK(const CWPK& ref, CWPK& out) {
  const double phi0 = std::asin(Clamp1(-m[2][0]));
  CWPK cand[2];
  cand[0].phi = phi0;
  cand[1].phi = OtherPhi(phi0);
  for (CWPK& c : cand) {
    const double cp = std::cos(c.phi);
    if (std::fabs(cp) > kGimbalCos) {
      const double f = 1.0 / cp;
      c.omega = std::atan2(f * m[2][1], f * m[2][2]);
      c.kappa = std::atan2(f * m[1][0], f * m[0][0]);
    } else {
      c.omega = ref.omega;
      c.kappa = c.phi >= 0.0 ? ref.omega + std::atan2(-m[0][1], m[0][2])
                             : std::atan2(-m[0][1], -m[0][2]) - ref.omega;
    }
  }
  Choose(cand, ref, out);
}

void CRot::CalAngle_KPW(const CWPK& ref, CWPK& out) {
  const double phi0 = std::asin(Clamp1(m[0][2]));
  CWPK cand[2];
  cand[0].phi = phi0;
  cand[1].phi = OtherPhi(phi0);
  for (CWPK& c : cand) {
    const double cp = std::cos(c.phi);
    if (std::fabs(cp) > kGimbalCos) {
      const double f = 1.0 / cp, g = -1.0 / cp;
      c.omega = std::atan2(g * m[1][2], f * m[2][2]);
      c.kappa = std::atan2(g * m[0][1], f * m[0][0]);
    } else {
      c.omega = ref.omega;
      c.kappa = c.phi >= 0.0 ? std::atan2(m[1][0], m[1][1]) - ref.omega
                             : ref.omega + std::atan2(m[1][0], m[1][1]);
    }
  }
  Choose(cand, ref, out);
}
