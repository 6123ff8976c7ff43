// The photogrammetric job: DLT per photograph, then intersection, with a
// report of residuals and check-point errors.
#include "storage/photogrammetry_job.h"

#include <algorithm>
#include <cmath>

#include "photogrammetry/dlt.h"
#include "photogrammetry/space_intersection.h"
#include "platform/fs.h"
#include "platform/text.h"

namespace photogrammetry {
namespace {

JobPhoto SolvePhoto(CProject& project, const PROJECT_PHOTO& photo, int min_controls) {
  JobPhoto result;
  result.name = photo.Name;
  CSize size;
  CKvoArray<CXYZ, CXYZ&> image;
  if (project.GetImagePoints(photo.Name, size, image)) result.measured = image.GetSize();
  CDLT dlt;
  const bool solved = project.SolveDLT(photo.Name, dlt) != 0;
  if (solved) result.controls = dlt.GetControlCount();
  if (!solved || result.controls < min_controls) {
    // Neither a weak solution nor one left from earlier measurements may feed
    // the intersection.
    DeleteFileW(project.GetFilePath(photo.Dlt));
    return result;
  }
  result.solved = 1;
  result.sigma = dlt.m_dSigma;
  for (const CXYZ& v : dlt.m_Residuals) {
    double length = std::hypot(v.X, v.Y);
    if (length >= result.worst_residual) {
      result.worst_residual = length;
      result.worst_control = v.Name;
    }
  }
  dlt.GetCentre(result.centre);
  return result;
}

JobPoint Compare(CProject& project, const CXYZ& intersected, const CKvoArray<CXYZ, CXYZ&>* known) {
  JobPoint result;
  result.point = intersected;
  result.photos = intersected.Num;
  result.sigma = intersected.Aux1;
  CSpaceIntersection rays;
  CXYZ again;
  if (project.Intersect(intersected.Name, again, &rays))
    result.angle = rays.GetIntersectionAngle(again);
  if (known) {
    for (const CXYZ& k : *known) {
      if (k.Name != intersected.Name) continue;
      result.known = 1;
      result.error = CXYZ(intersected.X - k.X, intersected.Y - k.Y, intersected.Z - k.Z);
      break;
    }
  }
  return result;
}

std::string Utf8(const CString& text) { return platform::WideToUtf8(text.c_str()); }

}  // namespace

int JobReport::SolvedPhotos() const {
  return int(
      std::count_if(photos.begin(), photos.end(), [](const JobPhoto& p) { return p.solved != 0; }));
}

double JobReport::WorstError() const {
  double worst = -1.0;
  for (const JobPoint& p : points)
    if (p.known) worst = std::max(worst, p.Error());
  return worst;
}

std::vector<std::string> JobReport::Lines() const {
  std::vector<std::string> lines;
  for (const JobPhoto& p : photos) {
    if (!p.solved) {
      lines.push_back(platform::FormatA("photo %s: %d points, DLT not solved (%d controls)",
                                        Utf8(p.name).c_str(),
                                        p.measured,
                                        p.controls));
      continue;
    }
    lines.push_back(
        platform::FormatA("photo %s: %d points, DLT from %d controls, sigma %.3f px, worst %.3f px "
                          "(%s), centre %.3f %.3f %.3f",
                          Utf8(p.name).c_str(),
                          p.measured,
                          p.controls,
                          p.sigma,
                          p.worst_residual,
                          Utf8(p.worst_control).c_str(),
                          p.centre.X,
                          p.centre.Y,
                          p.centre.Z));
  }
  for (const JobPoint& p : points) {
    std::string line =
        platform::FormatA("point %s: %.4f %.4f %.4f from %d photos, sigma %.3f px, angle %.1f deg",
                          Utf8(p.point.Name).c_str(),
                          p.point.X,
                          p.point.Y,
                          p.point.Z,
                          p.photos,
                          p.sigma,
                          p.angle);
    if (p.known) {
      line += platform::FormatA(", error %.1f mm (%.1f %.1f %.1f)",
                                p.Error() * 1000.0,
                                p.error.X * 1000.0,
                                p.error.Y * 1000.0,
                                p.error.Z * 1000.0);
    }
    lines.push_back(line);
  }
  std::string summary = platform::FormatA("%d of %d photos solved, %d points intersected",
                                          SolvedPhotos(),
                                          int(photos.size()),
                                          int(points.size()));
  if (WorstError() >= 0.0)
    summary += platform::FormatA(", worst check error %.1f mm", WorstError() * 1000.0);
  lines.push_back(summary);
  return lines;
}

int AddMeasuredPhoto(CProject& project,
                     const wchar_t* jpeg,
                     CSize& size,
                     CKvoArray<CXYZ, CXYZ&>& image,
                     CString& photo) {
  CString name;
  if (!project.AddPhoto(jpeg, name)) return 0;
  if (!project.SetImagePoints(name, size, image)) {
    project.RemovePhoto(name);
    return 0;
  }
  photo = name;
  return 1;
}

int SolvePhotogrammetryJob(CProject& project,
                           const CKvoArray<CXYZ, CXYZ&>* known,
                           JobReport& report,
                           int min_controls) {
  report = JobReport();
  if (!project.IsOpen()) return 0;
  for (int i = 0; i < project.GetPhotoCount(); ++i)
    report.photos.push_back(SolvePhoto(project, project.GetPhoto(i), std::max(min_controls, 6)));
  CKvoArray<CXYZ, CXYZ&> results;
  if (!project.IntersectAll(results)) return 0;
  for (const CXYZ& r : results) report.points.push_back(Compare(project, r, known));
  return 1;
}

}  // namespace photogrammetry
