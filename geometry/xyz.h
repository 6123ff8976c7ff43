#pragma once
// CXYZ: a named 3-D point or vector of doubles. Points read from point files,
// points handed in by the host, camera positions and image coordinates all
// travel as CXYZ. A plain value: copyable, assignable, stored by value in
// CKvoArray<CXYZ, CXYZ&>. Units are the caller's (metres for survey points,
// millimetres inside the camera model).
//
// Arithmetic is component-wise. The quotient operators deliberately start
// from a default point, so they drop Name and Code, and they never fail on a
// zero divisor: the returned point gets 0 in that component, the in-place
// form leaves the component as it was.
#include "platform/export.h"
#include "platform/heap.h"
#include "platform/kvo_string.h"

class SURVEYCAM_API CXYZ {
 public:
  CXYZ();
  CXYZ(const CXYZ& other);
  CXYZ(double x, double y, double z);
  CXYZ(const wchar_t* name, double x, double y, double z);
  ~CXYZ();

  SURVEYCAM_DLMALLOC_OPERATORS

  // Empties both texts and sets every number to zero.
  void Init();
  // Sets X, Y, Z only.
  void SetXYZ(double x, double y, double z);
  // Copies every field, texts included.
  void Copy(const CXYZ& other);
  CXYZ& operator=(const CXYZ& other);

  // Dot product (summed Z first, then Y, then X).
  double Inn(const CXYZ& o) const;
  // Cross product this x o; the result has empty texts.
  CXYZ Out(const CXYZ& o);
  // Length of the vector.
  double Len() const;
  // Distance to o.
  double Len(const CXYZ& o) const;
  // 1 when the distance to o is at most tol (inclusive), else 0.
  int EQ(const CXYZ& o, double tol) const;

  CXYZ operator+() const;
  CXYZ operator-() const;
  CXYZ operator+(const CXYZ& o) const;
  CXYZ operator-(const CXYZ& o) const;
  CXYZ operator*(const CXYZ& o) const;
  CXYZ operator/(const CXYZ& o) const;
  CXYZ operator*(double s) const;
  CXYZ operator/(double s) const;
  CXYZ& operator+=(const CXYZ& o);
  CXYZ& operator-=(const CXYZ& o);
  CXYZ& operator*=(const CXYZ& o);
  CXYZ& operator/=(const CXYZ& o);
  CXYZ& operator*=(double s);
  CXYZ& operator/=(double s);

  // Diagnostic dump; does nothing in release builds.
  void Trace();

  CKvoStringT<wchar_t> Code;  // second text (fifth column of scan records)
  CKvoStringT<wchar_t> Name;  // point name, first column of every point-file line
  double X;
  double Y;
  double Z;
  double Aux1;  // further values carried with the point; no operation uses them
  double Aux2;
  int Num;
};
