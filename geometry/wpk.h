#pragma once
// CWPK: rotation angles omega, phi, kappa in radians (about the first, second
// and third axis). CRot turns them into matrices.
//
// Angles are wrapped into [-PI, PI] by NormalizeAngle. SubtractAngle's wrap is
// deliberately asymmetric (a large positive difference d becomes 2*PI - d, a
// large negative one is kept): CRot's choice between two angle solutions
// depends on exactly this rule.
#include "platform/export.h"
#include "platform/heap.h"

class SURVEYCAM_API CWPK {
 public:
  CWPK();
  CWPK(double w, double p, double k);
  CWPK(const CWPK& other);
  ~CWPK() = default;

  SURVEYCAM_DLMALLOC_OPERATORS

  void Init();
  void SetWPK(double w, double p, double k);
  CWPK& operator=(const CWPK& other);

  // Wraps omega, phi and kappa (in that order) into [-PI, PI].
  void Normalize();
  // Wraps one angle into [-PI, PI]; exactly PI and -PI keep their sign.
  static void NormalizeAngle(double& angle);
  // Difference a - b of the wrapped angles, with the asymmetric wrap above.
  static double SubtractAngle(double a, double b);
  // Component-wise SubtractAngle(o.c, this.c): the argument minus this.
  CWPK Subtract(CWPK& o);

  CWPK operator+() const;
  // Negates each angle; no wrapping.
  CWPK operator-() const;
  // Component-wise sum / difference (this - o), then Normalize.
  CWPK operator+(const CWPK& o) const;
  CWPK operator-(const CWPK& o) const;
  CWPK& operator+=(const CWPK& o);
  CWPK& operator-=(const CWPK& o);

  // Diagnostic dump; does nothing in release builds.
  void Trace();

  double omega;
  double phi;
  double kappa;
};
