// CDLT: solving, projecting, reading and writing the eleven DLT parameters.
//
// The solution runs on normalised coordinates (ground and image points moved
// to their centroids and scaled to unit spread) so that the normal equations
// stay well conditioned with site coordinates in the thousands of metres, and
// is then taken back to the original units.
#include "photogrammetry/dlt.h"

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "camera/least_sq.h"
#include "platform/safe_file.h"
#include "platform/text.h"
#include "platform/text_file.h"

namespace {

struct Pair {
  CXYZ ground;
  double x = 0.0;
  double y = 0.0;
};

struct Similarity {  // normalised = (raw - centre) / scale
  double centre[3] = {0, 0, 0};
  double scale = 1.0;
};

std::vector<Pair> PairByName(CKvoArray<CXYZ, CXYZ&>& ground, CKvoArray<CXYZ, CXYZ&>& image) {
  std::vector<Pair> pairs;
  for (const CXYZ& g : ground) {
    if (g.Name.IsEmpty()) continue;
    for (const CXYZ& i : image) {
      if (i.Name == g.Name) {
        pairs.push_back({g, i.X, i.Y});
        break;
      }
    }
  }
  return pairs;
}

Similarity Normaliser(const std::vector<std::array<double, 3>>& points, int dims) {
  Similarity s;
  for (const auto& p : points)
    for (int k = 0; k < dims; ++k) s.centre[k] += p[k] / double(points.size());
  double spread = 0.0;
  for (const auto& p : points) {
    double d2 = 0.0;
    for (int k = 0; k < dims; ++k) d2 += (p[k] - s.centre[k]) * (p[k] - s.centre[k]);
    spread += std::sqrt(d2) / double(points.size());
  }
  s.scale = spread > 0.0 ? spread : 1.0;
  return s;
}

// The ground points span three dimensions: the smallest eigenvalue of their
// scatter is not negligible against the largest (a plane of control points
// leaves the DLT undetermined).
bool SpansSpace(const std::vector<Pair>& pairs, const Similarity& w) {
  double c[3][3] = {};
  for (const Pair& p : pairs) {
    double v[3] = {(p.ground.X - w.centre[0]) / w.scale,
                   (p.ground.Y - w.centre[1]) / w.scale,
                   (p.ground.Z - w.centre[2]) / w.scale};
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) c[i][j] += v[i] * v[j];
  }
  double det = c[0][0] * (c[1][1] * c[2][2] - c[1][2] * c[2][1]) -
               c[0][1] * (c[1][0] * c[2][2] - c[1][2] * c[2][0]) +
               c[0][2] * (c[1][0] * c[2][1] - c[1][1] * c[2][0]);
  double trace = c[0][0] + c[1][1] + c[2][2];
  // det >= lambda_min * (trace / 2)^2 roughly; demand lambda_min > 1e-6 trace.
  return trace > 0.0 && det > 1e-6 * trace * trace * trace / 4.0;
}

// One weighted linear solve in normalised coordinates; `l` receives L1..L11.
bool SolveOnce(const std::vector<Pair>& pairs,
               const Similarity& w,
               const Similarity& im,
               const std::vector<double>& weight,
               double l[11]) {
  CLeastSq lsq(int(2 * pairs.size()), 11);
  for (size_t k = 0; k < pairs.size(); ++k) {
    const Pair& p = pairs[k];
    double X = (p.ground.X - w.centre[0]) / w.scale, Y = (p.ground.Y - w.centre[1]) / w.scale,
           Z = (p.ground.Z - w.centre[2]) / w.scale;
    double x = (p.x - im.centre[0]) / im.scale, y = (p.y - im.centre[1]) / im.scale;
    const double rows[2][12] = {{X, Y, Z, 1, 0, 0, 0, 0, -x * X, -x * Y, -x * Z, x},
                                {0, 0, 0, 0, X, Y, Z, 1, -y * X, -y * Y, -y * Z, y}};
    for (const auto& row : rows) {
      for (int i = 0; i < 12; ++i) lsq.SetObeq(i, row[i]);
      lsq.SetWeight(weight[k] * weight[k]);
    }
  }
  if (!lsq.Solve()) return false;
  for (int i = 0; i < 11; ++i) {
    l[i] = lsq.GetBcor(i);
    if (!std::isfinite(l[i])) return false;
  }
  return true;
}

// Takes normalised parameters back to raw units: P = Ti^-1 * P' * Tw, scaled
// so that its last element is 1.
bool Denormalise(const double ln[11], const Similarity& w, const Similarity& im, double out[11]) {
  const double pn[3][4] = {
      {ln[0], ln[1], ln[2], ln[3]}, {ln[4], ln[5], ln[6], ln[7]}, {ln[8], ln[9], ln[10], 1.0}};
  double pw[3][4];  // P' * Tw
  for (int r = 0; r < 3; ++r) {
    double shift = 0.0;
    for (int c = 0; c < 3; ++c) {
      pw[r][c] = pn[r][c] / w.scale;
      shift += pn[r][c] * w.centre[c] / w.scale;
    }
    pw[r][3] = pn[r][3] - shift;
  }
  double p[3][4];  // Ti^-1 * pw
  for (int c = 0; c < 4; ++c) {
    p[0][c] = im.scale * pw[0][c] + im.centre[0] * pw[2][c];
    p[1][c] = im.scale * pw[1][c] + im.centre[1] * pw[2][c];
    p[2][c] = pw[2][c];
  }
  double norm = std::fabs(p[2][0]) + std::fabs(p[2][1]) + std::fabs(p[2][2]);
  if (!(std::fabs(p[2][3]) > 1e-12 * norm)) return false;
  const double d = p[2][3];
  const int order[11][2] = {
      {0, 0}, {0, 1}, {0, 2}, {0, 3}, {1, 0}, {1, 1}, {1, 2}, {1, 3}, {2, 0}, {2, 1}, {2, 2}};
  for (int i = 0; i < 11; ++i) {
    out[i] = p[order[i][0]][order[i][1]] / d;
    if (!std::isfinite(out[i])) return false;
  }
  return true;
}

}  // namespace

CDLT::CDLT() { Init(); }

CDLT::~CDLT() = default;

void CDLT::Init() {
  Name.Empty();
  for (double& l : m_dL) l = 0.0;
  m_dSigma = 0.0;
  m_Residuals.RemoveAll();
}

int CDLT::Solve(CKvoArray<CXYZ, CXYZ&>& ground, CKvoArray<CXYZ, CXYZ&>& image) {
  std::vector<Pair> pairs = PairByName(ground, image);
  if (pairs.size() < 6) return 0;
  std::vector<std::array<double, 3>> world_points, image_points;
  for (const Pair& p : pairs) {
    world_points.push_back({p.ground.X, p.ground.Y, p.ground.Z});
    image_points.push_back({p.x, p.y, 0.0});
  }
  const Similarity w = Normaliser(world_points, 3), im = Normaliser(image_points, 2);
  if (!SpansSpace(pairs, w)) return 0;

  std::vector<double> weight(pairs.size(), 1.0);
  double ln[11];
  for (int pass = 0; pass < 4; ++pass) {
    if (!SolveOnce(pairs, w, im, weight, ln)) return 0;
    for (size_t k = 0; k < pairs.size(); ++k) {
      const CXYZ& g = pairs[k].ground;
      double d = ln[8] * (g.X - w.centre[0]) / w.scale + ln[9] * (g.Y - w.centre[1]) / w.scale +
                 ln[10] * (g.Z - w.centre[2]) / w.scale + 1.0;
      if (!(std::fabs(d) > 1e-12)) return 0;
      weight[k] = 1.0 / d;
    }
  }
  double raw[11];
  if (!Denormalise(ln, w, im, raw)) return 0;

  CKvoArray<CXYZ, CXYZ&> residuals;
  double sum2 = 0.0;
  for (const Pair& p : pairs) {
    CDLT probe;
    for (int i = 0; i < 11; ++i) probe.m_dL[i] = raw[i];
    double x = 0.0, y = 0.0;
    if (!probe.Project(p.ground, x, y)) return 0;
    CXYZ v(p.ground.Name, p.x - x, p.y - y, 0.0);
    sum2 += v.X * v.X + v.Y * v.Y;
    residuals.Add(v);
  }
  for (int i = 0; i < 11; ++i) m_dL[i] = raw[i];
  m_Residuals.Copy(residuals);
  m_dSigma = std::sqrt(sum2 / double(pairs.size()));
  return 1;
}

int CDLT::Project(const CXYZ& g, double& x, double& y) const {
  const double* l = m_dL;
  double d = l[8] * g.X + l[9] * g.Y + l[10] * g.Z + 1.0;
  if (!std::isfinite(d) || d == 0.0) return 0;
  x = (l[0] * g.X + l[1] * g.Y + l[2] * g.Z + l[3]) / d;
  y = (l[4] * g.X + l[5] * g.Y + l[6] * g.Z + l[7]) / d;
  return 1;
}

int CDLT::GetCentre(CXYZ& centre) const {
  const double* l = m_dL;
  // [L1 L2 L3; L5 L6 L7; L9 L10 L11] C = -[L4; L8; 1], by Cramer's rule.
  const double a[3][3] = {{l[0], l[1], l[2]}, {l[4], l[5], l[6]}, {l[8], l[9], l[10]}};
  const double b[3] = {-l[3], -l[7], -1.0};
  auto det = [](const double m[3][3]) {
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
  };
  const double d = det(a);
  if (!std::isfinite(d) || d == 0.0) return 0;
  double c[3];
  for (int k = 0; k < 3; ++k) {
    double m[3][3];
    for (int r = 0; r < 3; ++r)
      for (int col = 0; col < 3; ++col) m[r][col] = col == k ? b[r] : a[r][col];
    c[k] = det(m) / d;
    if (!std::isfinite(c[k])) return 0;
  }
  centre.SetXYZ(c[0], c[1], c[2]);
  return 1;
}

int CDLT::Write(const wchar_t* path) {
  if (!path || !*path) return 0;
  std::string text = "DLT\t1\nphoto\t" + platform::WideToUtf8(Name.c_str()) + "\n";
  for (int i = 0; i < 11; ++i) {
    text += 'L';
    text += std::to_string(i + 1);
    text += '\t';
    text += platform::ExactNumber(m_dL[i]);
    text += '\n';
  }
  text += "sigma\t" + platform::ExactNumber(m_dSigma) + "\n";
  text += "controls\t" + std::to_string(m_Residuals.GetSize()) + "\n";
  for (const CXYZ& v : m_Residuals) {
    text += platform::WideToUtf8(v.Name.c_str()) + "\t" + platform::ExactNumber(v.X) + "\t" +
            platform::ExactNumber(v.Y) + "\n";
  }
  text += "end\n";
  return platform::SafeFile::WriteAll(path, text) ? 1 : 0;
}

int CDLT::Read(const wchar_t* path) {
  std::string bytes;
  if (!platform::ReadWholeFile(path, bytes)) return 0;
  return Parse(bytes.data(), int(bytes.size()));
}

int CDLT::Parse(const char* text, int length) {
  if (!text || length < 0) return 0;
  std::vector<std::string_view> lines =
      platform::SplitLines(std::string_view(text, size_t(length)));
  size_t at = 0;
  // Next line split at tabs, which must start with `key` and have `fields` fields.
  auto next = [&](const char* key, size_t fields, std::vector<std::string_view>& out) {
    if (at >= lines.size()) return false;
    out = platform::SplitTabs(lines[at++]);
    return out.size() == fields && (!key || out[0] == key);
  };
  std::vector<std::string_view> f;
  if (!next("DLT", 2, f) || f[1] != "1") return 0;
  if (!next("photo", 2, f)) return 0;
  CDLT result;
  result.Name = platform::Utf8ToWide(std::string(f[1])).c_str();
  for (int i = 0; i < 11; ++i) {
    std::string key = std::to_string(i + 1);
    key.insert(key.begin(), 'L');
    if (!next(key.c_str(), 2, f) || !platform::ParseNumber(f[1], result.m_dL[i])) return 0;
  }
  if (!next("sigma", 2, f) || !platform::ParseNumber(f[1], result.m_dSigma)) return 0;
  long count = 0;
  if (!next("controls", 2, f) || !platform::ParseInt(f[1], 0, long(lines.size()), count)) return 0;
  for (long k = 0; k < count; ++k) {
    CXYZ v;
    if (!next(nullptr, 3, f) || f[0].empty() || !platform::ParseNumber(f[1], v.X) ||
        !platform::ParseNumber(f[2], v.Y))
      return 0;
    v.Name = platform::Utf8ToWide(std::string(f[0])).c_str();
    result.m_Residuals.Add(v);
  }
  if (!next("end", 1, f)) return 0;
  Name = result.Name;
  for (int i = 0; i < 11; ++i) m_dL[i] = result.m_dL[i];
  m_dSigma = result.m_dSigma;
  m_Residuals.Copy(result.m_Residuals);
  return 1;
}
