#pragma once
// CDist: the lens distortion of one camera as a small polynomial model.
//
// Coordinates are image coordinates as the caller supplies them (the camera
// model passes millimetres relative to the principal point); the class does
// not know their unit or origin. The distorted position of an ideal point
// (x, y) is (x + dx, y + dy) with (dx, dy) from CalDist.
#include <cstddef>

#include "platform/export.h"
#include "platform/heap.h"
#include "platform/kvo_array.h"

enum DIST_MODEL : int {
  DIST_NONE = 0,              // no distortion
  DIST_RADIAL = 1,            // K1..K4 on r², r⁴, r⁶, r⁸
  DIST_RADIAL_DECENTER = 2,   // K1, K2, P1, P2
  DIST_RADIAL3_DECENTER = 3,  // K1, K2, K3, P1, P2
  DIST_POLY8 = 4,             // K1, K2, four x terms, two y terms
};
static_assert(sizeof(DIST_MODEL) == 4);

class SURVEYCAM_API CDist {
 public:
  SURVEYCAM_DLMALLOC_OPERATORS

  static constexpr int kMaxPara = 10;

  CDist();
  CDist(const CDist& o);
  CDist& operator=(const CDist& o);
  ~CDist();

  // Model 0, no parameters, empty radial lists.
  void Init();
  // Sets the model and its parameter count; an unknown value means model 0.
  void SetDistModel(DIST_MODEL m);
  DIST_MODEL GetDistModel() const { return m_DistModel; }
  int GetNumPara() const { return m_nNumPara; }
  // Parameter i (0..9); the count grows by one when i is not yet counted.
  int AddPara(int i, double v);
  // Parameter i, 0.0 outside 0..9.
  double GetPara(int i) const { return i >= 0 && i < kMaxPara ? m_dPara[i] : 0.0; }

  // Distortion at the ideal point (x, y).
  void CalDist(double x, double y, double& dx, double& dy) const;
  // Correction (dx, dy) that takes a measured point (x, y) to the ideal one,
  // by a shrinking 5 x 5 grid search to a residual of at most tol. 1 when it
  // converged, 0 when it stalled or ran out of passes (dx, dy then hold the
  // best point found).
  int CalDistInv(double x, double y, double& dx, double& dy, double tol) const;
  // The same, also reporting the number of grid passes it took.
  int CalDistInv(double x, double y, double& dx, double& dy, double tol, int& passes) const;

  // Radial table: radius and distortion lists of equal use.
  int AddDist(double r, double d);
  int ParaToDist(double step, int n);
  int DistToPara();
  const CKvoArray<double, double>& GetRadiusList() const { return m_Radius; }
  const CKvoArray<double, double>& GetDistortionList() const { return m_Distortion; }
  CKvoArray<double, double>& GetRadiusList() { return m_Radius; }
  CKvoArray<double, double>& GetDistortionList() { return m_Distortion; }

  void Copy(const CDist& o);
  void Trace() const {}

 protected:
  double m_dPara[kMaxPara];
  CKvoArray<double, double> m_Radius;
  CKvoArray<double, double> m_Distortion;
  DIST_MODEL m_DistModel;
  int m_nNumPara;

 private:
  // Squared distance between the distorted (a, b) and the measurement (x, y).
  double Residual2(double a, double b, double x, double y) const;
};
