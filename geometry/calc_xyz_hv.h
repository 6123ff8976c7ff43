#pragma once
// CCalcXYZHV: static conversions between the instrument's survey conventions
// and the library's mathematical ones.
//
// Survey ("Soku") axes are in metres, mathematical ("Math") axes in
// millimetres with the first two coordinates swapped. Every angle here is in
// degrees: zenith angle V (0 up, 90 level, 180 down), horizontal angle H in
// [0, 360) counted from the positive first axis towards the positive second
// axis, and packed sexagesimal D.MMSS (123.4527 = 123 deg 45 min 27 s).
#include "geometry/xyz.h"
#include "platform/export.h"
#include "platform/kvo_string.h"
#include "platform/types.h"

class SURVEYCAM_API CCalcXYZHV {
 public:
  CCalcXYZHV() = default;
  CCalcXYZHV(const CCalcXYZHV&) = default;
  CCalcXYZHV& operator=(const CCalcXYZHV&) = default;
  virtual ~CCalcXYZHV();

  // Survey metres -> mathematical millimetres: (X, Y, Z) -> 1000 * (Y, X, Z).
  static void CnvSokuToMath(CXYZ& p);
  // Mathematical millimetres -> survey metres: (X, Y, Z) -> 0.001 * (Y, X, Z).
  static void CnvMathToSoku(CXYZ& p);
  // Zenith angle v and horizontal angle h (degrees) of target seen from
  // station, with `height` subtracted from the target's height. Note the
  // order: v first, then h. Returns 1; returns 0 with message E-509 when the
  // two points coincide in plan (v untouched, h set to 0).
  static int XYZToHV(CXYZ station, CXYZ target, double height, double& v, double& h);
  // Decimal degrees -> D.MMSS, seconds rounded half up; wrap = 1 first brings
  // deg into [0, 360].
  static double Angle100To60(double deg, int wrap);
  // D.MMSS -> decimal degrees; wrap = 1 first brings dms into [0, 360]. Reads
  // the digits from fixed positions of the text "%08.4lf", so only values
  // 0 <= dms < 1000 convert correctly.
  static double Angle60To100(double dms, int wrap);
  // Brings deg into [0, 360] by whole turns (360 stays 360).
  static void Angle0To360(double& deg);
  // Minutes from start to end, from hours and minutes only (dates ignored,
  // so an interval across midnight is negative).
  static int GetTakenTime(SYSTEMTIME start, SYSTEMTIME end);
  // "YYYYMMDDhhmm".
  static CKvoStringT<wchar_t> TimeToString(SYSTEMTIME t);
};
