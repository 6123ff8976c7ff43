#include "geometry/xyz.h"

#include <cmath>

CXYZ::CXYZ() { Init(); }

CXYZ::CXYZ(const CXYZ& other) { Copy(other); }

CXYZ::CXYZ(double x, double y, double z) {
  Init();
  SetXYZ(x, y, z);
}

CXYZ::CXYZ(const wchar_t* name, double x, double y, double z) {
  Init();
  Name = name;
  SetXYZ(x, y, z);
}

CXYZ::~CXYZ() = default;

void CXYZ::Init() {
  Name.Empty();
  Code.Empty();
  X = Y = Z = 0.0;
  Aux1 = Aux2 = 0.0;
  Num = 0;
}

void CXYZ::SetXYZ(double x, double y, double z) {
  X = x;
  Y = y;
  Z = z;
}

void CXYZ::Copy(const CXYZ& other) {
  Code = other.Code;
  Name = other.Name;
  X = other.X;
  Y = other.Y;
  Z = other.Z;
  Aux1 = other.Aux1;
  Aux2 = other.Aux2;
  Num = other.Num;
}

CXYZ& CXYZ::operator=(const CXYZ& other) {
  if (this != &other) Copy(other);
  return *this;
}

double CXYZ::Inn(const CXYZ& o) const { return o.Z * Z + o.Y * Y + o.X * X; }

CXYZ CXYZ::Out(const CXYZ& o) {
  return CXYZ(Y * o.Z - Z * o.Y, Z * o.X - X * o.Z, X * o.Y - Y * o.X);
}

double CXYZ::Len() const { return std::sqrt(X * X + Y * Y + Z * Z); }

double CXYZ::Len(const CXYZ& o) const {
  const double dx = o.X - X, dy = o.Y - Y, dz = o.Z - Z;
  return std::sqrt(dz * dz + dy * dy + dx * dx);
}

int CXYZ::EQ(const CXYZ& o, double tol) const { return Len(o) <= tol ? 1 : 0; }

CXYZ CXYZ::operator+() const { return *this; }

CXYZ CXYZ::operator-() const {
  CXYZ r(*this);
  r.SetXYZ(-X, -Y, -Z);
  return r;
}

CXYZ CXYZ::operator+(const CXYZ& o) const {
  CXYZ r(*this);
  r += o;
  return r;
}

CXYZ CXYZ::operator-(const CXYZ& o) const {
  CXYZ r(*this);
  r -= o;
  return r;
}

CXYZ CXYZ::operator*(const CXYZ& o) const {
  CXYZ r(*this);
  r *= o;
  return r;
}

CXYZ CXYZ::operator*(double s) const {
  CXYZ r(*this);
  r *= s;
  return r;
}

// Quotients start from a default point (texts dropped) and leave a component
// at zero where the divisor's component is zero.
CXYZ CXYZ::operator/(const CXYZ& o) const {
  CXYZ r;
  if (o.X != 0.0) r.X = X / o.X;
  if (o.Y != 0.0) r.Y = Y / o.Y;
  if (o.Z != 0.0) r.Z = Z / o.Z;
  return r;
}

CXYZ CXYZ::operator/(double s) const {
  CXYZ r;
  if (s != 0.0) {
    const double inv = 1.0 / s;
    r.SetXYZ(X * inv, Y * inv, Z * inv);
  }
  return r;
}

CXYZ& CXYZ::operator+=(const CXYZ& o) {
  X += o.X;
  Y += o.Y;
  Z += o.Z;
  return *this;
}

CXYZ& CXYZ::operator-=(const CXYZ& o) {
  X -= o.X;
  Y -= o.Y;
  Z -= o.Z;
  return *this;
}

CXYZ& CXYZ::operator*=(const CXYZ& o) {
  X *= o.X;
  Y *= o.Y;
  Z *= o.Z;
  return *this;
}

CXYZ& CXYZ::operator/=(const CXYZ& o) {
  if (o.X != 0.0) X /= o.X;
  if (o.Y != 0.0) Y /= o.Y;
  if (o.Z != 0.0) Z /= o.Z;
  return *this;
}

CXYZ& CXYZ::operator*=(double s) {
  X *= s;
  Y *= s;
  Z *= s;
  return *this;
}

CXYZ& CXYZ::operator/=(double s) {
  if (s != 0.0) *this *= 1.0 / s;
  return *this;
}

void CXYZ::Trace() {}
