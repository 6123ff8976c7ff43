// CSpaceIntersection: linear least-squares intersection of DLT rays.
//
// The unknowns are solved relative to a reduction point (the first linear
// solution, then each refinement), so the corrections stay small while the
// site's coordinates run into thousands of metres.
#include "photogrammetry/space_intersection.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "camera/least_sq.h"

CSpaceIntersection::CSpaceIntersection() : m_dSigma(0.0) {}

CSpaceIntersection::~CSpaceIntersection() = default;

void CSpaceIntersection::Init() {
  m_Rays.RemoveAll();
  m_Residuals.RemoveAll();
  m_dSigma = 0.0;
}

int CSpaceIntersection::Add(const CDLT& dlt, double x, double y) {
  Ray ray;
  ray.dlt.Name = dlt.Name;
  for (int i = 0; i < 11; ++i) ray.dlt.m_dL[i] = dlt.m_dL[i];
  ray.x = x;
  ray.y = y;
  m_Rays.Add(ray);
  return m_Rays.GetSize();
}

namespace {

// Rays that meet at a tiny angle leave the depth undetermined; the pivots
// alone do not show it, the normal matrix's determinant against its diagonal
// does (1 for perpendicular rays, about the squared angle for narrow ones).
bool WellConditioned(CLeastSq& lsq) {
  double n[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) n[i][j] = lsq.GetNoeq(i, j);
  double det = n[0][0] * (n[1][1] * n[2][2] - n[1][2] * n[2][1]) -
               n[0][1] * (n[1][0] * n[2][2] - n[1][2] * n[2][0]) +
               n[0][2] * (n[1][0] * n[2][1] - n[1][1] * n[2][0]);
  double diagonal = n[0][0] * n[1][1] * n[2][2];
  return diagonal > 0.0 && det > 1e-10 * diagonal;
}

}  // namespace

double CSpaceIntersection::GetIntersectionAngle(const CXYZ& point) const {
  std::vector<CXYZ> towards;  // unit vectors from the point to each centre
  for (const Ray& ray : m_Rays) {
    CXYZ centre;
    if (!ray.dlt.GetCentre(centre)) return 0.0;
    CXYZ d(centre.X - point.X, centre.Y - point.Y, centre.Z - point.Z);
    const double length = d.Len();
    if (!(length > 0.0)) return 0.0;
    towards.push_back(CXYZ(d.X / length, d.Y / length, d.Z / length));
  }
  double widest = 0.0;
  for (size_t i = 0; i < towards.size(); ++i) {
    for (size_t j = i + 1; j < towards.size(); ++j) {
      const CXYZ& a = towards[i];
      const CXYZ& b = towards[j];
      const double dot = a.X * b.X + a.Y * b.Y + a.Z * b.Z;
      const double cross =
          CXYZ(a.Y * b.Z - a.Z * b.Y, a.Z * b.X - a.X * b.Z, a.X * b.Y - a.Y * b.X).Len();
      // Rays from opposite sides fix the depth no better than parallel ones.
      widest = std::max(widest, std::atan2(cross, std::fabs(dot)) * 180.0 / 3.141592653589793);
    }
  }
  return widest;
}

int CSpaceIntersection::Solve(CXYZ& point) {
  const int n = m_Rays.GetSize();
  if (n < 2) return 0;
  double at[3] = {0.0, 0.0, 0.0};
  bool have_start = false;
  for (int pass = 0; pass < 4; ++pass) {
    CLeastSq lsq(2 * n, 3);
    for (const Ray& ray : m_Rays) {
      const double* l = ray.dlt.m_dL;
      // Weight 1 / denominator turns the equation into image units.
      double d = have_start ? l[8] * at[0] + l[9] * at[1] + l[10] * at[2] + 1.0 : 1.0;
      if (!std::isfinite(d) || d == 0.0) return 0;
      const double w = 1.0 / (d * d);
      const double rows[2][4] = {
          {l[0] - ray.x * l[8], l[1] - ray.x * l[9], l[2] - ray.x * l[10], ray.x - l[3]},
          {l[4] - ray.y * l[8], l[5] - ray.y * l[9], l[6] - ray.y * l[10], ray.y - l[7]}};
      for (const auto& row : rows) {
        // Observed value relative to the reduction point.
        double observed = row[3] - (row[0] * at[0] + row[1] * at[1] + row[2] * at[2]);
        for (int i = 0; i < 3; ++i) lsq.SetObeq(i, row[i]);
        lsq.SetObeq(3, observed);
        lsq.SetWeight(w);
      }
    }
    if (!lsq.Solve() || !WellConditioned(lsq)) return 0;
    for (int i = 0; i < 3; ++i) {
      double c = lsq.GetBcor(i);
      if (!std::isfinite(c)) return 0;
      at[i] += c;
    }
    have_start = true;
  }
  CKvoArray<CXYZ, CXYZ&> residuals;
  double sum2 = 0.0;
  CXYZ solved = point;
  solved.SetXYZ(at[0], at[1], at[2]);
  if (!(GetIntersectionAngle(solved) >= kMinAngle)) return 0;
  for (const Ray& ray : m_Rays) {
    double x = 0.0, y = 0.0;
    if (!ray.dlt.Project(solved, x, y)) return 0;
    CXYZ v(ray.dlt.Name, ray.x - x, ray.y - y, 0.0);
    sum2 += v.X * v.X + v.Y * v.Y;
    residuals.Add(v);
  }
  point.SetXYZ(at[0], at[1], at[2]);
  m_Residuals.Copy(residuals);
  m_dSigma = std::sqrt(sum2 / double(n));
  return 1;
}
