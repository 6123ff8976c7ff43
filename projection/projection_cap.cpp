#include "projection/projection_cap.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace {

void Identity(double* m) {
  for (int i = 0; i < 16; ++i) m[i] = (i % 5 == 0) ? 1.0 : 0.0;
}

}  // namespace

CProjection_Cap::CProjection_Cap() {
  Identity(ModelMatrix);
  Identity(ProjMatrix);
  Identity(TransMatrix);
  Identity(InvMatrix);
  ScaleX = OffsetX = ScaleY = OffsetY = 0.0;
}

CProjection_Cap::CProjection_Cap(const CProjection_Cap& o) { Copy(o); }

CProjection_Cap& CProjection_Cap::operator=(const CProjection_Cap& o) {
  if (this != &o) Copy(o);
  return *this;
}

CProjection_Cap::~CProjection_Cap() = default;

void CProjection_Cap::Copy(const CProjection_Cap& o) {
  std::memcpy(ModelMatrix, o.ModelMatrix, sizeof ModelMatrix);
  std::memcpy(ProjMatrix, o.ProjMatrix, sizeof ProjMatrix);
  std::memcpy(TransMatrix, o.TransMatrix, sizeof TransMatrix);
  std::memcpy(InvMatrix, o.InvMatrix, sizeof InvMatrix);
  ScaleX = o.ScaleX;
  OffsetX = o.OffsetX;
  ScaleY = o.ScaleY;
  OffsetY = o.OffsetY;
}

void CProjection_Cap::InitMatrix(MATRIX_MODE mode) {
  if (mode == MATRIX_MODEL) Identity(ModelMatrix);
  if (mode == MATRIX_PROJECTION) Identity(ProjMatrix);
}

void CProjection_Cap::SetPrjMatrix(double l, double r, double t, double b, double n, double f) {
  double* P = ProjMatrix;
  Identity(P);
  P[0] = 2 * n / (r - l);
  P[2] = (r + l) / (r - l);
  P[5] = 2 * n / (t - b);
  P[6] = (t + b) / (t - b);
  P[10] = -(f + n) / (f - n);
  P[11] = -2 * f * n / (f - n);
  P[14] = -1;
  P[15] = 0;
  ScaleX = (r - l) * 0.5;
  OffsetX = (r + l) * 0.5;
  ScaleY = (t - b) * 0.5;
  OffsetY = (t + b) * 0.5;
}

void CProjection_Cap::PreMultiplyModel(const double* M) {
  double product[16];
  MatrixMul2(4, M, ModelMatrix, product);
  std::memcpy(ModelMatrix, product, sizeof product);
}

void CProjection_Cap::Translate(double tx, double ty, double tz) {
  double T[16];
  Identity(T);
  T[3] = tx;
  T[7] = ty;
  T[11] = tz;
  PreMultiplyModel(T);
}

void CProjection_Cap::Scale(double sx, double sy, double sz) {
  double S[16];
  Identity(S);
  S[0] = sx;
  S[5] = sy;
  S[10] = sz;
  PreMultiplyModel(S);
}

void CProjection_Cap::RotateX(double a) {
  double R[16];
  Identity(R);
  R[5] = std::cos(a);
  R[6] = -std::sin(a);
  R[9] = std::sin(a);
  R[10] = std::cos(a);
  PreMultiplyModel(R);
}

void CProjection_Cap::RotateY(double a) {
  double R[16];
  Identity(R);
  R[0] = std::cos(a);
  R[2] = std::sin(a);
  R[8] = -std::sin(a);
  R[10] = std::cos(a);
  PreMultiplyModel(R);
}

void CProjection_Cap::RotateZ(double a) {
  double R[16];
  Identity(R);
  R[0] = std::cos(a);
  R[1] = -std::sin(a);
  R[4] = std::sin(a);
  R[5] = std::cos(a);
  PreMultiplyModel(R);
}

int CProjection_Cap::BeginTrans(int withInverse) {
  MatrixMul2(4, ProjMatrix, ModelMatrix, TransMatrix);
  if (!withInverse) return 1;
  double copy[16], inverse[16];
  std::memcpy(copy, TransMatrix, sizeof copy);
  if (matinv(4, copy, inverse) == 0.0) return 0;
  std::memcpy(InvMatrix, inverse, sizeof inverse);
  return 1;
}

int CProjection_Cap::Transform(const double& x,
                               const double& y,
                               const double& z,
                               double& sx,
                               double& sy,
                               double& sz,
                               int& visible) {
  visible = 1;
  double v[4] = {x, y, z, 1.0};
  ApplyMatrix(4, TransMatrix, v);
  const double w = v[3];
  // Inclusive clip volume -w..w on each axis, tested in order.
  if (!(-w <= v[0] && v[0] <= w && -w <= v[1] && v[1] <= w && -w <= v[2] && v[2] <= w)) visible = 0;
  if (w == 0.0) return 0;
  const double rw = 1.0 / w;
  const double nx = v[0] * rw, ny = v[1] * rw, nz = v[2] * rw;
  NorToScr(nx, ny, sx, sy);
  sz = nz;
  return 1;
}

int CProjection_Cap::Inverse(
    const double& sx, const double& sy, const double& sz, double& x, double& y, double& z) {
  double nx = 0.0, ny = 0.0;
  ScrToNor(sx, sy, nx, ny);
  double v[4] = {nx, ny, sz, 1.0};
  ApplyMatrix(4, InvMatrix, v);
  x = v[0] / v[3];
  y = v[1] / v[3];
  z = v[2] / v[3];
  return 1;
}

void CProjection_Cap::NorToScr(const double& nx, const double& ny, double& sx, double& sy) {
  sx = nx * ScaleX + OffsetX;
  sy = ny * ScaleY + OffsetY;
}

void CProjection_Cap::ScrToNor(const double& sx, const double& sy, double& nx, double& ny) {
  if (ScaleX != 0.0 && ScaleY != 0.0) {
    nx = (sx - OffsetX) / ScaleX;
    ny = (sy - OffsetY) / ScaleY;
  } else {
    nx = ny = 0.0;
  }
}

void CProjection_Cap::ApplyMatrix(int n, const double* M, double* v) {
  std::vector<double> in(v, v + n);
  for (int i = 0; i < n; ++i) {
    double s = 0.0;
    for (int j = 0; j < n; ++j) s += M[i * n + j] * in[size_t(j)];
    v[i] = s;
  }
}

void CProjection_Cap::MatrixMul2(int n, const double* A, const double* B, double* C) {
  for (int i = 0; i < n * n; ++i) C[i] = 0.0;
  for (int i = 0; i < n; ++i)
    for (int k = 0; k < n; ++k)
      for (int j = 0; j < n; ++j) C[i * n + j] += A[i * n + k] * B[k * n + j];
}

// LU decomposition with scaled partial pivoting; the rows are not moved, ip
// records the pivot order. Returns the determinant, 0 for a zero row or pivot.
double CProjection_Cap::lu(int n, double* a, int* ip) {
  std::vector<double> weight(size_t(n > 0 ? n : 0));
  for (int k = 0; k < n; ++k) {
    ip[k] = k;
    double u = 0.0;
    for (int j = 0; j < n; ++j) u = std::fmax(u, std::fabs(a[k * n + j]));
    if (u == 0.0) return 0.0;
    weight[size_t(k)] = 1.0 / u;
  }
  double det = 1.0;
  for (int k = 0; k < n; ++k) {
    double u = -1.0;
    int j = k;
    for (int i = k; i < n; ++i) {
      const int ii = ip[i];
      const double t = std::fabs(a[ii * n + k]) * weight[size_t(ii)];
      if (t > u) {
        u = t;
        j = i;
      }
    }
    const int ik = ip[j];
    if (j != k) {
      ip[j] = ip[k];
      ip[k] = ik;
      det = -det;
    }
    u = a[ik * n + k];
    det *= u;
    if (u == 0.0) return 0.0;
    for (int i = k + 1; i < n; ++i) {
      const int ii = ip[i];
      const double t = (a[ii * n + k] /= u);
      for (int c = k + 1; c < n; ++c) a[ii * n + c] -= t * a[ik * n + c];
    }
  }
  return det;
}

double CProjection_Cap::matinv(int n, double* a, double* a_inv) {
  std::vector<int> ip(size_t(n > 0 ? n : 0));
  const double det = lu(n, a, ip.data());
  if (det == 0.0) return det;
  for (int k = 0; k < n; ++k) {
    for (int i = 0; i < n; ++i) {  // unit lower part, permuted identity
      const int ii = ip[size_t(i)];
      double t = (ii == k) ? 1.0 : 0.0;
      for (int j = 0; j < i; ++j) t -= a[ii * n + j] * a_inv[j * n + k];
      a_inv[i * n + k] = t;
    }
    for (int i = n - 1; i >= 0; --i) {  // upper part
      const int ii = ip[size_t(i)];
      double t = a_inv[i * n + k];
      for (int j = i + 1; j < n; ++j) t -= a[ii * n + j] * a_inv[j * n + k];
      a_inv[i * n + k] = t / a[ii * n + i];
    }
  }
  return det;
}
