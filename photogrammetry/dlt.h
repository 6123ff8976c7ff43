#pragma once
// CDLT: the direct linear transformation of one photograph, the eleven
// parameters L1..L11 that map a ground point (X, Y, Z) to its image point:
//
//   x = (L1 X + L2 Y + L3 Z + L4) / (L9 X + L10 Y + L11 Z + 1)
//   y = (L5 X + L6 Y + L7 Z + L8) / (L9 X + L10 Y + L11 Z + 1)
//
// Ground points are in the site's units (metres, as point files hold them);
// image points in the photograph's units (pixels of the picture, x right,
// y down, as the ".imc" files hold them). No lens distortion is modelled.
//
// The ".DLT" file is single-byte text with tab-separated fields, one item a
// line, numbers with '.' as the decimal point:
//   DLT	1
//   photo	<photograph name>
//   L1	<value>          ... through L11, "%.17g" (reads back exactly)
//   sigma	<value>        RMS image residual of the solution
//   controls	<n>
//   <name>	<vx>	<vy>   n lines: residual of each control point, image units
//   end
#include "geometry/xyz.h"
#include "platform/export.h"
#include "platform/kvo_array.h"
#include "platform/kvo_string.h"

class SURVEYCAM_API CDLT {
 public:
  CDLT();
  virtual ~CDLT();

  // Zero parameters, empty name and residuals.
  void Init();

  // Solves L1..L11 from the control points: `ground` holds Name, X, Y, Z;
  // `image` holds Name, X = x, Y = y; points pair by name (points without a
  // partner are ignored). Needs at least six pairs that are not all in one
  // plane. The linear solution is refined by reweighting each point's
  // equations with its denominator, so that the image residuals, not the
  // algebraic ones, are minimised. 1 solved (parameters, residuals and sigma
  // set); 0 with the object unchanged.
  int Solve(CKvoArray<CXYZ, CXYZ&>& ground, CKvoArray<CXYZ, CXYZ&>& image);
  // Image point of a ground point; 0 when it lies in the camera's vanishing
  // plane (denominator zero).
  int Project(const CXYZ& ground, double& x, double& y) const;

  // Writes the ".DLT" file (created or replaced safely). 1 written.
  int Write(const wchar_t* path);
  // Reads a ".DLT" file; 0 for a missing or malformed file, object unchanged.
  int Read(const wchar_t* path);
  // Parses the text of a ".DLT" file (what Read does after reading it).
  int Parse(const char* text, int length);

  // Projection centre of the photograph (where every ray meets): the ground
  // point that makes both numerators and the denominator zero. 0 when the
  // parameters do not fix one (all zero, or degenerate).
  int GetCentre(CXYZ& centre) const;

  // Control points used by the last solution.
  int GetControlCount() const { return m_Residuals.GetSize(); }

  CKvoStringT<wchar_t> Name;  // the photograph's name
  double m_dL[11];            // L1..L11
  double m_dSigma;            // RMS length of the control residual vectors, image units
  // Residual per control point: Name, X = measured x - computed x, Y = the
  // same for y.
  CKvoArray<CXYZ, CXYZ&> m_Residuals;
};
