#include "geometry/calc_xyz_hv.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/message_box.h"
#include "platform/text.h"

namespace {

// Angle constants of this unit, set when the library loads.
const double PI = 3.141592653589793;
const double RAD = 180.0 / PI;

// Minutes and seconds to degrees: the double nearest 1/3600.
constexpr double kOneOver3600 = 1.0 / 3600.0;
static_assert(std::bit_cast<uint64_t>(kOneOver3600) == 0x3F323456789ABCDFull);

// Beyond this magnitude whole turns are first removed with fmod, which gives
// the same result as subtracting 360 one turn at a time (every such step is
// exact) but also ends for huge inputs.
constexpr double kFastWrapLimit = 360.0 * 4096.0;

// atof of `count` characters of `text` starting at `first`.
double FieldAt(const char* text, int first, int count) {
  char field[8] = {};
  std::memcpy(field, text + first, size_t(count));
  return platform::AtoF(field);
}

// Horizontal angle of (dx, dy), counter-clockwise from the first axis, with
// the one-argument arctangent and a fixed angle on each axis.
double HorizontalAngle(double dx, double dy) {
  if (dx == 0.0 && dy == 0.0) return 0.0;
  if (dy >= 0.0) {
    if (dx > 0.0) return std::atan(dy / dx) * RAD;
    if (dx < 0.0) return std::atan(dy / dx) * RAD + 180.0;
    return 90.0;
  }
  if (dx > 0.0) return std::atan(dy / dx) * RAD + 360.0;
  if (dx < 0.0) return std::atan(dy / dx) * RAD + 180.0;
  return 270.0;
}

}  // namespace

CCalcXYZHV::~CCalcXYZHV() = default;

void CCalcXYZHV::CnvSokuToMath(CXYZ& p) { p.SetXYZ(p.Y * 1000.0, p.X * 1000.0, p.Z * 1000.0); }

void CCalcXYZHV::CnvMathToSoku(CXYZ& p) { p.SetXYZ(p.Y * 0.001, p.X * 0.001, p.Z * 0.001); }

// NOLINTNEXTLINE(performance-unnecessary-value-param): the host calls it with this signature.
int CCalcXYZHV::XYZToHV(CXYZ station, CXYZ target, double height, double& v, double& h) {
  const double dx = target.X - station.X;
  const double dy = target.Y - station.Y;
  h = HorizontalAngle(dx, dy);
  const double hd = std::sqrt(dx * dx + dy * dy);
  if (hd == 0.0) {
    AfxMessageBox(
        L"The unjust value is set as one of a machine point and the back viewpoints. E-509");
    return 0;
  }
  const double dz = (target.Z - height) - station.Z;
  v = 90.0 - std::atan(dz / hd) * RAD;
  return 1;
}

double CCalcXYZHV::Angle100To60(double deg, int wrap) {
  if (wrap == 1) Angle0To360(deg);
  int d = int(deg);
  const double t = (deg - d) * 60.0;
  int m = int(t);
  int s = int((t - m) * 60.0 + 0.5);
  if (s >= 60) {
    s -= 60;
    m += 1;
  }
  if (m >= 60) {
    m -= 60;
    d += 1;
  }
  return m * 0.01 + s * 0.0001 + d;
}

// Reads degrees, minutes and seconds from fixed character positions of the
// formatted value ("DDD.MMSS"); character 3 is the decimal point.
double CCalcXYZHV::Angle60To100(double dms, int wrap) {
  if (wrap == 1) Angle0To360(dms);
  char text[30] = {};
  const std::string formatted = platform::FormatA("%08.4lf", dms);
  formatted.copy(text, sizeof(text) - 1);  // text stays zero-terminated
  const double d = FieldAt(text, 0, 3);
  const double m = FieldAt(text, 4, 2);
  const double s = FieldAt(text, 6, 2);
  return (m * 60.0 + s) * kOneOver3600 + d;
}

void CCalcXYZHV::Angle0To360(double& deg) {
  if (deg > kFastWrapLimit) {
    deg = std::fmod(deg, 360.0);
    if (deg == 0.0) deg = 360.0;  // a whole number of turns stops at 360
  } else if (deg < -kFastWrapLimit) {
    deg = std::fmod(deg, 360.0);
    if (deg == 0.0) deg = 0.0;  // not -0
  }
  for (;;) {
    if (deg > 360.0)
      deg -= 360.0;
    else if (deg < 0.0)
      deg += 360.0;
    else
      break;
  }
}

// The hours are shifted by 9 in 16-bit arithmetic (a time-zone step that
// cancels in the difference); dates, seconds and milliseconds are ignored.
int CCalcXYZHV::GetTakenTime(SYSTEMTIME start, SYSTEMTIME end) {
  const WORD startHour = WORD(start.wHour + 9);
  const WORD endHour = WORD(end.wHour + 9);
  return 60 * (int(endHour) - int(startHour)) + (int(end.wMinute) - int(start.wMinute));
}

CKvoStringT<wchar_t> CCalcXYZHV::TimeToString(SYSTEMTIME t) {
  return CKvoStringT<wchar_t>(
      platform::FormatW(L"%.4d%.2d%.2d%.2d%.2d", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute));
}
