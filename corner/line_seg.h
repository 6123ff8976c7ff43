#pragma once
// CLineSeg: a straight line segment found in an image: its two end points
// and the normal form of the line it lies on.
//
// Conventions: image pixels, x to the right and y down, the centre of pixel
// (i, j) at (i, j). Normal form: x cos(theta) + y sin(theta) = rho with theta
// in [0, pi) radians; the unit direction along the line is
// (-sin(theta), cos(theta)), and the end points are kept in that order
// (end 1 before end 2 along the direction).
#include "platform/export.h"

class SURVEYCAM_API CLineSeg {
 public:
  CLineSeg();
  // The segment between two points; a zero-length one keeps theta 0 and
  // passes through the point.
  CLineSeg(double x1, double y1, double x2, double y2);
  CLineSeg(const CLineSeg& o);
  CLineSeg& operator=(const CLineSeg& o);
  virtual ~CLineSeg();

  // Sets the end points and derives the normal form from them.
  void SetPoints(double x1, double y1, double x2, double y2);
  // Sets the line (theta folded into [0, pi), rho negated with it) and moves
  // the end points onto it, keeping their positions along the line.
  void SetLine(double rho, double theta);
  // Weighted total least-squares line through n points (weights >= 0); the
  // end points are projected onto the new line. 1 on success; 0 when fewer
  // than two points carry weight or they do not define a direction (the
  // segment is unchanged).
  int Fit(const double* x, const double* y, const double* w, int n);
  // Moves the segment by (dx, dy), e.g. from window to picture pixels.
  void Offset(double dx, double dy);

  double Length() const;
  // Signed distance of a point from the line (positive on the side the
  // normal (cos, sin) points to).
  double Distance(double x, double y) const;
  // Position of a point's foot along the line, measured from end 1.
  double Along(double x, double y) const;
  // 1 when the point's foot lies on the segment or at most tol beyond
  // either end.
  int IsNear(double x, double y, double tol) const;
  // Angle between the two lines, radians in [0, pi/2].
  double Angle(const CLineSeg& o) const;
  // Intersection of the two lines; 0 when they are parallel (x, y untouched).
  int Intersect(const CLineSeg& o, double& x, double& y) const;

  double m_dX1, m_dY1;  // end 1
  double m_dX2, m_dY2;  // end 2
  double m_dRho;        // pixels
  double m_dTheta;      // radians, [0, pi)
  int m_nVotes;         // support: Hough votes or edge pixels on the segment

 protected:
  // Reorders the end points along the direction of the normal form.
  void OrderEnds();
};
