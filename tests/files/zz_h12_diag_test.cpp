#include <gtest/gtest.h>
#include <cstdio>
#include <cmath>
#include <random>
#include "files/dlt.h"
#include "files/space_intersection.h"
#include "files/point_files.h"
#include "sim/instrument.h"
#include "tests/sim/library_projection.h"
#include "tests/support/test_support.h"

namespace {
using PointArray = CKvoArray<CXYZ, CXYZ&>;
bool Centre(const CDLT& d, double c[3]) {
  const double* l = d.m_dL;
  double a[3][4] = {{l[0], l[1], l[2], -l[3]}, {l[4], l[5], l[6], -l[7]}, {l[8], l[9], l[10], -1}};
  for (int i = 0; i < 3; ++i) {
    int p = i; for (int r = i + 1; r < 3; ++r) if (std::fabs(a[r][i]) > std::fabs(a[p][i])) p = r;
    for (int k = 0; k < 4; ++k) std::swap(a[i][k], a[p][k]);
    for (int r = 0; r < 3; ++r) if (r != i) { double f = a[r][i] / a[i][i]; for (int k = 0; k < 4; ++k) a[r][k] -= f * a[i][k]; }
  }
  for (int i = 0; i < 3; ++i) c[i] = a[i][3] / a[i][i];
  return true;
}
TEST(H12Diag, ExactProjection) {
  PointArray site;
  ASSERT_EQ(ReadCSVFile(CString(testing_support::SourcePath("examples/site.csv").c_str()), site, 1), 1);
  PointArray ctrl, chk;
  std::mt19937 rng(20240503);
  std::uniform_real_distribution<double> x(1012.0, 1068.0), y(2000.0, 2066.0), z(47.5, 58.5);
  for (CXYZ& p : site) { if (p.Code == L"TGT") chk.Add(p); if (p.Code == L"CTRL") ctrl.Add(p); }
  for (int i = 0; i < 20; ++i) { CXYZ p(L"", x(rng), y(rng), z(rng)); p.Name.Format(L"C%02d", i); ctrl.Add(p); }
  sim::Instrument ins;
  double st[2][3] = {{1008, 2004, 50}, {1074, 1998, 50}};
  for (auto& s3 : st) {
    ins.station().SetPosition(s3[0], s3[1], s3[2]);
    ins.station().SetAngles(90, 45);
    sim::StationState s = ins.station().State();
    PointArray img;
    for (CXYZ& c : ctrl) {
      auto p = sim_test::LibraryProject(ins.calibration(), s, c.Y, c.X, c.Z);
      CXYZ q(c.Name, p->px, p->py, 0); img.Add(q);
    }
    CDLT d;
    ASSERT_EQ(d.Solve(ctrl, img), 1);
    double c[3]; Centre(d, c);
    std::printf("sigma %g centre %.4f %.4f %.4f\n", d.m_dSigma, c[0], c[1], c[2]);
    for (CXYZ& t : chk) {
      auto p = sim_test::LibraryProject(ins.calibration(), s, t.Y, t.X, t.Z);
      double u, v; d.Project(t, u, v);
      std::printf("  %ls %.6f %.6f\n", t.Name.c_str(), u - p->px, v - p->py);
    }
  }
}
}
