#include "geometry/wpk.h"

#include <cmath>

namespace {
// Angle constants of this unit, set when the library loads.
const double PI = 3.141592653589793;
}  // namespace

CWPK::CWPK() { Init(); }

CWPK::CWPK(double w, double p, double k) { SetWPK(w, p, k); }

CWPK::CWPK(const CWPK& other) : omega(other.omega), phi(other.phi), kappa(other.kappa) {}

void CWPK::Init() { omega = phi = kappa = 0.0; }

void CWPK::SetWPK(double w, double p, double k) {
  omega = w;
  phi = p;
  kappa = k;
}

CWPK& CWPK::operator=(const CWPK& other) {
  if (this != &other) SetWPK(other.omega, other.phi, other.kappa);
  return *this;
}

void CWPK::Normalize() {
  NormalizeAngle(omega);
  NormalizeAngle(phi);
  NormalizeAngle(kappa);
}

// Of the two representatives r (same sign as the input) and c (r shifted by
// one turn towards the other sign) the smaller in magnitude wins; a tie keeps
// r, so PI stays PI and -PI stays -PI.
void CWPK::NormalizeAngle(double& angle) {
  const double turn = 2.0 * PI;
  double r, c;
  if (angle >= 0.0) {
    r = std::fmod(angle, turn);
    c = r - turn;
  } else {
    r = std::fmod(angle, -turn);
    c = r + turn;
  }
  angle = r;
  if (std::fabs(r) > std::fabs(c)) angle = c;
}

// Only a large positive difference is wrapped (to 2*PI - d, which keeps the
// positive sign); the angle extraction of CRot scores its candidates with this
// rule, so it stays as it is.
double CWPK::SubtractAngle(double a, double b) {
  NormalizeAngle(a);
  NormalizeAngle(b);
  const double d = a - b;
  const double e = 2.0 * PI - d;
  return d * d <= e * e ? d : e;
}

CWPK CWPK::Subtract(CWPK& o) {
  return CWPK(
      SubtractAngle(o.omega, omega), SubtractAngle(o.phi, phi), SubtractAngle(o.kappa, kappa));
}

CWPK CWPK::operator+() const { return *this; }

CWPK CWPK::operator-() const { return CWPK(-omega, -phi, -kappa); }

CWPK CWPK::operator+(const CWPK& o) const {
  CWPK r(*this);
  r += o;
  return r;
}

CWPK CWPK::operator-(const CWPK& o) const {
  CWPK r(*this);
  r -= o;
  return r;
}

CWPK& CWPK::operator+=(const CWPK& o) {
  omega += o.omega;
  phi += o.phi;
  kappa += o.kappa;
  Normalize();
  return *this;
}

CWPK& CWPK::operator-=(const CWPK& o) {
  omega -= o.omega;
  phi -= o.phi;
  kappa -= o.kappa;
  Normalize();
  return *this;
}

void CWPK::Trace() {}
