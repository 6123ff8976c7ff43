#pragma once
// CSpaceIntersection: the ground point seen at measured image points on two
// or more photographs whose DLT parameters are known (photogrammetry/dlt.h).
//
// Each ray gives two equations linear in X, Y, Z:
//   (L1 - x L9) X + (L2 - x L10) Y + (L3 - x L11) Z = x - L4
//   (L5 - y L9) X + (L6 - y L10) Y + (L7 - y L11) Z = y - L8
// solved by least squares (CLeastSq) and refined by reweighting each ray
// with its denominator, so that the image residuals are minimised.
#include "geometry/xyz.h"
#include "photogrammetry/dlt.h"
#include "platform/export.h"
#include "platform/kvo_array.h"

class SURVEYCAM_API CSpaceIntersection {
 public:
  CSpaceIntersection();
  virtual ~CSpaceIntersection();

  // Forgets all rays and results.
  void Init();
  // Adds the ray of image point (x, y) on the photograph with parameters
  // `dlt` (copied). Returns the number of rays.
  int Add(const CDLT& dlt, double x, double y);
  int GetCount() const { return m_Rays.GetSize(); }

  // Intersects the rays: 1 with point.X, Y, Z set (Name and Code kept), the
  // residual of each ray and sigma; 0 with fewer than two rays or when the
  // rays do not fix a point, point untouched. Rays fix a point only when two
  // of them cross at kMinAngle degrees or more: photographs taken from one
  // station share their projection centre and give directions but no depth,
  // however many they are and however well their rays seem to meet.
  int Solve(CXYZ& point);
  // The widest angle (0 to 90 degrees) at which two rays cross at `point`,
  // taken between the lines to their projection centres (rays from opposite
  // sides count as parallel); 0 when a ray's parameters have no centre.
  double GetIntersectionAngle(const CXYZ& point) const;

  static constexpr double kMinAngle = 2.0;
  // Measured minus computed image coordinates of ray i after Solve.
  double GetResidualX(int i) const { return m_Residuals[i].X; }
  double GetResidualY(int i) const { return m_Residuals[i].Y; }

  double m_dSigma;  // RMS length of the rays' residual vectors, image units

 protected:
  struct Ray {
    CDLT dlt;
    double x = 0.0;
    double y = 0.0;
  };
  CKvoArray<Ray, const Ray&> m_Rays;
  CKvoArray<CXYZ, CXYZ&> m_Residuals;
};
