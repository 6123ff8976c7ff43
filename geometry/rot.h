#pragma once
// CRot: a 3x3 rotation matrix of doubles, row-major (m[row][col]), acting on
// column vectors: p' = m * p. Built from omega/phi/kappa angles (CWPK, radians)
// in one of the ROT_SYSTEM conventions, composed with other rotations and
// turned back into angles.
//
// Turning a matrix back into angles has two solutions (infinitely many at
// gimbal lock, phi = +-PI/2); CalAngle picks the one nearest to the angles the
// caller passes in, so angles computed frame after frame do not jump between
// equivalent solutions. At gimbal lock omega keeps its reference value and the
// whole rotation goes into kappa.
#include "geometry/wpk.h"
#include "geometry/xyz.h"
#include "platform/export.h"
#include "platform/heap.h"

// Rotation systems; the values are fixed because callers pass them as numbers.
enum ROT_SYSTEM : int {
  ROT_W = 0,    // about the first axis by omega only
  ROT_P = 1,    // about the second axis by phi only
  ROT_K = 2,    // about the third axis by kappa only
  ROT_WPK = 3,  // R = K * P * W: omega acts on a vector first, kappa last
  ROT_KPW = 4,  // R = W * P * K: kappa acts on a vector first, omega last
};

class SURVEYCAM_API CRot {
 public:
  CRot();
  CRot(const CRot& other);
  ~CRot() = default;
  CRot& operator=(const CRot& other);

  SURVEYCAM_DLMALLOC_OPERATORS

  // Sets the identity.
  void I();
  // Transposes in place (the inverse rotation).
  void T();
  // Builds the matrix of sys from the angle(s) that sys uses. 1, or 0 for an
  // unknown system (matrix unchanged).
  int SetMatrix(ROT_SYSTEM sys, const CWPK& a);
  // Pre-multiplies by the matrix of sys: this = N * this. 1, or 0 for an
  // unknown system (matrix unchanged).
  int AddMatrix(ROT_SYSTEM sys, const CWPK& a);
  // this = r * this.
  int AddMatrix(const CRot& r);
  // Extracts the angles of sys into a. For ROT_WPK and ROT_KPW the angles a
  // holds on entry are the reference for choosing between solutions. 1, or 0
  // for an unknown system (a unchanged).
  int CalAngle(ROT_SYSTEM sys, CWPK& a);
  // d = omega, phi, kappa in degrees; sets the ROT_KPW matrix.
  int SetDIMat(double* const d);
  // SetDIMat(d), then the inverse (transpose).
  int SetDIMatInv(double* const d);

  // (X, Y, Z) = m * (x, y, z).
  void Rotate(double x, double y, double z, double& X, double& Y, double& Z) const;
  // out = in with its coordinates rotated; the other fields are copied.
  void Rotate(const CXYZ& in, CXYZ& out) const;
  // A copy of p (name kept) rotated by m.
  CXYZ operator*(const CXYZ& p) const;
  // Matrix product this * r.
  CRot operator*(const CRot& r) const;
  // this = this * r (post-multiplies; AddMatrix pre-multiplies).
  CRot& operator*=(const CRot& r);

  // Diagnostic dump; does nothing in release builds.
  void Trace();

  double m[3][3];

 protected:
  void SetMatrix_W(const double& w);
  void SetMatrix_P(const double& p);
  void SetMatrix_K(const double& k);
  void SetMatrix_WPK(const double& w, const double& p, const double& k);
  void SetMatrix_KPW(const double& w, const double& p, const double& k);
  void CalAngle_W(double& w);
  void CalAngle_P(double& p);
  void CalAngle_K(double& k);
  void CalAngle_WPK(const CWPK& ref, CWPK& out);
  void CalAngle_KPW(const CWPK& ref, CWPK& out);
};
