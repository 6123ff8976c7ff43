#pragma once
// Matchers for points, angle triples and rotation matrices, with a failure
// message that names the component that is off and by how much.
//   EXPECT_THAT(point, IsNearXYZ(1.0, 2.0, 3.0, 1e-9));
//   EXPECT_THAT(angles, IsNearWPK(expected, 1e-12));
//   EXPECT_THAT(rotation, IsNearRot(expected, 1e-12));
#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>
#include <ostream>
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
  for (int i = 0; i < 3; ++i)
    *os << (i ? " " : "[") << r.m[i][0] << ", " << r.m[i][1] << ", " << r.m[i][2]
        << (i < 2 ? ";" : "]");
}

namespace testing_support {

// Compares `n` named values with their expected ones; explains the first
// that is off by more than `tolerance`.
inline bool AllNear(const double* actual,
                    const double* expected,
                    const char* const* names,
                    int n,
                    double tolerance,
                    ::testing::MatchResultListener* listener) {
  for (int i = 0; i < n; ++i) {
    const double off = std::fabs(actual[i] - expected[i]);
    if (!(off <= tolerance)) {
      char text[160];
      std::snprintf(text,
                    sizeof text,
                    "%s is %.17g, expected %.17g (off by %.3g, tolerance %.3g)",
                    names[i],
                    actual[i],
                    expected[i],
                    off,
                    tolerance);
      *listener << text;
      return false;
    }
  }
  return true;
}

MATCHER_P2(IsNearPoint, point, tolerance, "X, Y, Z within " + ::testing::PrintToString(tolerance)) {
  static const char* const kNames[] = {"X", "Y", "Z"};
  const double actual[] = {arg.X, arg.Y, arg.Z};
  const double expected[] = {point.X, point.Y, point.Z};
  return AllNear(actual, expected, kNames, 3, tolerance, result_listener);
}

MATCHER_P4(IsNearXYZ, x, y, z, tolerance, "X, Y, Z within " + ::testing::PrintToString(tolerance)) {
  return ::testing::ExplainMatchResult(
      IsNearPoint(CXYZ(double(x), double(y), double(z)), tolerance), arg, result_listener);
}

MATCHER_P2(IsNearWPK,
           angles,
           tolerance,
           "omega, phi, kappa within " + ::testing::PrintToString(tolerance)) {
  static const char* const kNames[] = {"omega", "phi", "kappa"};
  const double actual[] = {arg.omega, arg.phi, arg.kappa};
  const double expected[] = {angles.omega, angles.phi, angles.kappa};
  return AllNear(actual, expected, kNames, 3, tolerance, result_listener);
}

MATCHER_P2(IsNearRot,
           rotation,
           tolerance,
           "a rotation within " + ::testing::PrintToString(tolerance)) {
  static const char* const kNames[] = {"m[0][0]",
                                       "m[0][1]",
                                       "m[0][2]",
                                       "m[1][0]",
                                       "m[1][1]",
                                       "m[1][2]",
                                       "m[2][0]",
                                       "m[2][1]",
                                       "m[2][2]"};
  return AllNear(&arg.m[0][0], &rotation.m[0][0], kNames, 9, tolerance, result_listener);
}

}  // namespace testing_support
