#pragma once
// Matchers for points, angles and rotations naming the component that is off and by how much.
#include <gmock/gmock.h>

#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>

#include "geometry/rot.h"
#include "geometry/wpk.h"
#include "geometry/xyz.h"

// How gtest prints the values in a failure message.
inline void PrintTo(const CXYZ& p, std::ostream* os) {
  *os << "(" << p.X << ", " << p.Y << ", " << p.Z << ")";
}
inline void PrintTo(const CWPK& a, std::ostream* os) {
  *os << "(omega " << a.omega << ", phi " << a.phi << ", kappa " << a.kappa << ")";
}
inline void PrintTo(const CRot& r, std::ostream* os) {
  for (int i = 0; i < 9; ++i) *os << (i ? i % 3 ? ", " : "; " : "[") << r.m[i / 3][i % 3];
  *os << "]";
}

namespace testing_support {

// Explains the first of `n` values off by more than `tolerance`, by its name
// in `names` ('|'-separated; none: a 3 x 3 matrix element).
inline bool AllNear(const double* actual,
                    const double* expected,
                    const char* names,
                    int n,
                    double tolerance,
                    ::testing::MatchResultListener* listener) {
  for (int i = 0; i < n; ++i) {
    const double off = std::fabs(actual[i] - expected[i]);
    if (off <= tolerance) continue;
    std::string all = names ? std::string(names) + "|" : "";
    for (int k = 0; k < i && names; ++k) all.erase(0, all.find('|') + 1);
    std::ostringstream text;
    text << std::setprecision(17)
         << (names ? all.substr(0, all.find('|'))
                   : "m[" + std::to_string(i / 3) + "][" + std::to_string(i % 3) + "]")
         << " is " << actual[i] << ", expected " << expected[i] << std::setprecision(3)
         << " (off by " << off << ", tolerance " << tolerance << ")";
    *listener << text.str();
    return false;
  }
  return true;
}

MATCHER_P2(IsNearPoint, point, tolerance, "X, Y, Z within " + ::testing::PrintToString(tolerance)) {
  const double actual[] = {arg.X, arg.Y, arg.Z}, expected[] = {point.X, point.Y, point.Z};
  return AllNear(actual, expected, "X|Y|Z", 3, tolerance, result_listener);
}

MATCHER_P4(IsNearXYZ, x, y, z, tolerance, "X, Y, Z within " + ::testing::PrintToString(tolerance)) {
  return ::testing::ExplainMatchResult(
      IsNearPoint(CXYZ(double(x), double(y), double(z)), tolerance), arg, result_listener);
}

MATCHER_P2(IsNearWPK, angles, tolerance, "angles within " + ::testing::PrintToString(tolerance)) {
  const double actual[] = {arg.omega, arg.phi, arg.kappa};
  const double expected[] = {angles.omega, angles.phi, angles.kappa};
  return AllNear(actual, expected, "omega|phi|kappa", 3, tolerance, result_listener);
}

MATCHER_P2(IsNearRot,
           rotation,
           tolerance,
           "rotation within " + ::testing::PrintToString(tolerance)) {
  return AllNear(&arg.m[0][0], &rotation.m[0][0], nullptr, 9, tolerance, result_listener);
}

}  // namespace testing_support
