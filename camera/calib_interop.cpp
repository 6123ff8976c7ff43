#include "camera/calib_interop.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string_view>

#include "camera/least_sq.h"
#include "platform/text.h"
#include "platform/text_file.h"

namespace calib {
namespace {

// OpenCV's coefficient positions.
enum : size_t {
  kK1,
  kK2,
  kP1,
  kP2,
  kK3,
  kK4,
  kK5,
  kK6,
  kS1,
  kS2,
  kS3,
  kS4,
  kTauX,
  kTauY,
  kMaxDist
};

// Sample grid over the sensor, corners and edges included.
constexpr int kGridX = 32;
constexpr int kGridY = 24;

struct Vec2 {
  double x = 0.0, y = 0.0;
};

double Coef(const std::vector<double>& d, size_t i) { return i < d.size() ? d[i] : 0.0; }

bool AnyNonZero(const std::vector<double>& d, size_t from, size_t to) {
  for (size_t i = from; i < to; ++i)
    if (Coef(d, i) != 0.0) return true;
  return false;
}

// OpenCV's lens model: the observed normalised point of the ideal one (x, y),
// y down. The tilted-sensor terms are refused before this is used.
Vec2 TheirDistort(const std::vector<double>& d, Vec2 p) {
  const double r2 = p.x * p.x + p.y * p.y, r4 = r2 * r2, r6 = r4 * r2;
  const double radial = (1 + Coef(d, kK1) * r2 + Coef(d, kK2) * r4 + Coef(d, kK3) * r6) /
                        (1 + Coef(d, kK4) * r2 + Coef(d, kK5) * r4 + Coef(d, kK6) * r6);
  const double p1 = Coef(d, kP1), p2 = Coef(d, kP2);
  return {p.x * radial + 2 * p1 * p.x * p.y + p2 * (r2 + 2 * p.x * p.x) + Coef(d, kS1) * r2 +
              Coef(d, kS2) * r4,
          p.y * radial + p1 * (r2 + 2 * p.y * p.y) + 2 * p2 * p.x * p.y + Coef(d, kS3) * r2 +
              Coef(d, kS4) * r4};
}

// The ideal normalised point that OpenCV's model observes at `observed`:
// Newton's method with a numeric Jacobian, from the observed point.
Vec2 TheirUndistort(const std::vector<double>& d, Vec2 observed) {
  Vec2 p = observed;
  const double h = 1e-7;
  for (int pass = 0; pass < 50; ++pass) {
    const Vec2 f = TheirDistort(d, p);
    const double ex = f.x - observed.x, ey = f.y - observed.y;
    if (std::fabs(ex) + std::fabs(ey) < 1e-15) break;
    const Vec2 fx = TheirDistort(d, {p.x + h, p.y}), fy = TheirDistort(d, {p.x, p.y + h});
    const double a = (fx.x - f.x) / h, b = (fy.x - f.x) / h;
    const double c = (fx.y - f.y) / h, e = (fy.y - f.y) / h;
    const double det = a * e - b * c;
    if (det == 0.0 || !std::isfinite(det)) break;
    p.x -= (e * ex - b * ey) / det;
    p.y -= (a * ey - c * ex) / det;
  }
  return p;
}

// A value as the camera file keeps it: "%lf" for lengths, "%le" for
// distortion parameters.
double AsFileKeeps(double v, const char* format) {
  double kept = v;
  return platform::ParseNumber(platform::FormatA(format, v), kept) ? kept : v;
}

std::string Number(double v) { return platform::ExactNumber(v); }

std::string TheirModelName(const std::vector<double>& d) {
  if (AnyNonZero(d, kTauX, kMaxDist)) return "OpenCV's tilted-sensor model (taux, tauy)";
  if (AnyNonZero(d, kS1, kTauX)) return "OpenCV's thin-prism model (s1..s4)";
  if (AnyNonZero(d, kK4, kS1)) return "OpenCV's rational model (k4..k6)";
  if (Coef(d, kK3) != 0.0) return "OpenCV's model k1 k2 p1 p2 k3";
  if (AnyNonZero(d, 0, kK3)) return "OpenCV's model k1 k2 p1 p2";
  return "OpenCV's distortion-free model";
}

std::string OurModelName(int model) {
  switch (model) {
    case DIST_NONE:
      return "model 0 (no distortion)";
    case DIST_RADIAL:
      return "model 1 (radial K1..K4)";
    case DIST_RADIAL_DECENTER:
      return "model 2 (K1 K2 P1 P2)";
    case DIST_RADIAL3_DECENTER:
      return "model 3 (K1 K2 K3 P1 P2)";
    default:
      return "model 4 (8-term polynomial)";
  }
}

// One observation equation pair per sample: the x and y components of the
// basis functions at normalised (x, y), then the observed x and y values.
struct Sample {
  Vec2 at, value;
};

// Basis function k at (x, y): radial terms x·r^(2i) for i = 1..radial, then
// the two decentring terms. Ours list first the term carrying 2x² + r² in x
// (P1); OpenCV lists first the one carrying 2xy in x (p1).
Vec2 Basis(int k, int radial, bool opencv_order, Vec2 p) {
  const double r2 = p.x * p.x + p.y * p.y;
  if (k < radial) {
    const double s = std::pow(r2, k + 1);
    return {p.x * s, p.y * s};
  }
  const bool xx_term = (k == radial) != opencv_order;  // 2x² + r² in x
  if (xx_term) return {2 * p.x * p.x + r2, 2 * p.x * p.y};
  return {2 * p.x * p.y, 2 * p.y * p.y + r2};
}

// Fits radial + 2 coefficients to the samples through CLeastSq.
bool FitTerms(const std::vector<Sample>& samples,
              int radial,
              bool opencv_order,
              std::vector<double>& coef) {
  const int n = radial + 2;
  CLeastSq lsq(int(samples.size()) * 2, n);
  for (const Sample& s : samples) {
    for (int axis = 0; axis < 2; ++axis) {
      for (int k = 0; k < n; ++k) {
        const Vec2 b = Basis(k, radial, opencv_order, s.at);
        lsq.SetObeq(k, axis == 0 ? b.x : b.y);
      }
      lsq.SetObeq(n, axis == 0 ? s.value.x : s.value.y);
    }
  }
  if (!lsq.Solve()) return false;
  coef.assign(size_t(n), 0.0);
  for (int k = 0; k < n; ++k) coef[size_t(k)] = lsq.GetBcor(k);
  return true;
}

// Sensor pixel positions of the sample grid (our convention: from the corner).
std::vector<Vec2> SensorGrid(int width, int height) {
  std::vector<Vec2> grid;
  for (int j = 0; j <= kGridY; ++j)
    for (int i = 0; i <= kGridX; ++i)
      grid.push_back({width * double(i) / kGridX, height * double(j) / kGridY});
  return grid;
}

// Our image coordinates [mm, y up] of a sensor pixel position.
Vec2 PixelToMm(const CCamera& c, Vec2 px) {
  return {px.x * c.Resolution.X - c.PrincipalPoint.X, c.PrincipalPoint.Y - px.y * c.Resolution.Y};
}

bool Refuse(Report& report, std::string message) {
  report.message = std::move(message);
  return false;
}

bool CheckIntrinsics(const Intrinsics& in, Report& report) {
  if (!(in.fx > 0.0 && in.fy > 0.0) || in.width <= 0 || in.height <= 0)
    return Refuse(report, "the camera needs positive fx, fy and an image size");
  if (in.skew != 0.0)
    return Refuse(report,
                  "a skewed camera matrix (skew " + Number(in.skew) +
                      ") has no counterpart in the camera file");
  if (in.dist.size() > kMaxDist) return Refuse(report, "more than 14 distortion coefficients");
  if (AnyNonZero(in.dist, kTauX, kMaxDist))
    return Refuse(report,
                  TheirModelName(in.dist) + " cannot be expressed nor refitted in the camera file");
  return true;
}

std::string Px(double v) { return platform::FormatA("%.4f px", v); }

// Accepts a conversion whose largest residual is within the tolerance, or any
// with --fit; otherwise refuses it, naming the residual.
bool Accept(Report& report, const std::string& what, const Options& opt) {
  if (!(report.max_residual_px <= opt.tolerance_px) && !opt.fit)
    return Refuse(report,
                  what + " differs by up to " + Px(report.max_residual_px) +
                      " on the sensor (more than " + Px(opt.tolerance_px) + "); --fit accepts it");
  report.message = what + ": largest residual " + Px(report.max_residual_px);
  return true;
}

}  // namespace

double MaxDisagreementPx(const Intrinsics& theirs, const CCamera& ours) {
  const double f = ours.FocalLength;
  const double tol = ours.Resolution.X * 1e-5;
  double worst = 0.0;
  for (const Vec2& p : SensorGrid(theirs.width, theirs.height)) {
    const Vec2 observed{(p.x - 0.5 - theirs.cx) / theirs.fx, (p.y - 0.5 - theirs.cy) / theirs.fy};
    const Vec2 ideal = TheirUndistort(theirs.dist, observed);
    const double u = f * ideal.x, v = -f * ideal.y;
    double du = 0.0, dv = 0.0;
    ours.Dist.CalDistInv(u, v, du, dv, tol);
    const double px = (u + du + ours.PrincipalPoint.X) / ours.Resolution.X;
    const double py = (ours.PrincipalPoint.Y - (v + dv)) / ours.Resolution.Y;
    const double d = std::hypot(px - p.x, py - p.y);
    worst = std::isfinite(d) ? std::max(worst, d) : HUGE_VAL;
  }
  return worst;
}

int ToCamera(const Intrinsics& in, const Options& opt, CCamera& out, Report& report) {
  report = Report{};
  if (!CheckIntrinsics(in, report)) return 0;
  if (!(opt.pixel_size_mm > 0.0)) return Refuse(report, "the pixel size [mm/pixel] is required");
  const std::string name = TheirModelName(in.dist);
  const bool beyond = AnyNonZero(in.dist, kK4, kMaxDist);
  if (beyond && !opt.fit)
    return Refuse(report,
                  name + " has no counterpart in the camera file's lens models; --fit refits it");
  int model = opt.model;
  if (model < 0) {
    if (!AnyNonZero(in.dist, 0, kMaxDist))
      model = DIST_NONE;
    else if (beyond || Coef(in.dist, kK3) != 0.0)
      model = DIST_RADIAL3_DECENTER;
    else
      model = DIST_RADIAL_DECENTER;
  }
  if (model != DIST_NONE && model != DIST_RADIAL_DECENTER && model != DIST_RADIAL3_DECENTER)
    return Refuse(report, "import writes model 0, 2 or 3, not " + std::to_string(model));

  CCamera cam;
  cam.FocalLength = AsFileKeeps(in.fx * opt.pixel_size_mm, "%f");
  cam.Resolution.X = AsFileKeeps(opt.pixel_size_mm, "%f");
  cam.Resolution.Y = AsFileKeeps(cam.FocalLength / in.fy, "%f");
  cam.PrincipalPoint.X = AsFileKeeps((in.cx + 0.5) * cam.Resolution.X, "%f");
  cam.PrincipalPoint.Y = AsFileKeeps((in.cy + 0.5) * cam.Resolution.Y, "%f");
  cam.Dist.SetDistModel(DIST_MODEL(model));
  if (model != DIST_NONE) {
    const double f = cam.FocalLength;
    std::vector<Sample> samples;
    for (const Vec2& p : SensorGrid(in.width, in.height)) {
      const Vec2 s = PixelToMm(cam, p);
      const Vec2 ideal = TheirUndistort(in.dist, {s.x / f, -s.y / f});
      samples.push_back({{s.x / f, s.y / f}, {ideal.x - s.x / f, -ideal.y - s.y / f}});
    }
    const int radial = model == DIST_RADIAL3_DECENTER ? 3 : 2;
    std::vector<double> c;
    if (!FitTerms(samples, radial, false, c))
      return Refuse(report, "the least-squares fit of " + name + " failed");
    for (int k = 0; k < radial + 2; ++k) {
      const double scale = k < radial ? std::pow(f, 2 * (k + 1)) : f;
      cam.Dist.AddPara(k, AsFileKeeps(c[size_t(k)] / scale, "%e"));
    }
  }
  report.max_residual_px = MaxDisagreementPx(in, cam);
  const std::string what = name + " as our " + OurModelName(model);
  if (!Accept(report, what, opt)) return 0;
  out = cam;
  return 1;
}

int FromCamera(const CCamera& in, const Options& opt, Intrinsics& out, Report& report) {
  report = Report{};
  const double f = in.FocalLength;
  if (!(f > 0.0 && in.Resolution.X > 0.0 && in.Resolution.Y > 0.0) || opt.width <= 0 ||
      opt.height <= 0)
    return Refuse(report, "the camera needs a positive focal length, pixel size and sensor size");
  const int model = in.Dist.GetDistModel();
  const std::string name = "our " + OurModelName(model);
  const bool same_shape =
      model == DIST_NONE || model == DIST_RADIAL_DECENTER || model == DIST_RADIAL3_DECENTER;
  if (!same_shape && !opt.fit)
    return Refuse(report, name + " has no counterpart in OpenCV's lens models; --fit refits it");

  Intrinsics cv;
  cv.width = opt.width;
  cv.height = opt.height;
  cv.fx = f / in.Resolution.X;
  cv.fy = f / in.Resolution.Y;
  cv.cx = in.PrincipalPoint.X / in.Resolution.X - 0.5;
  cv.cy = in.PrincipalPoint.Y / in.Resolution.Y - 0.5;
  cv.dist.assign(5, 0.0);
  if (model != DIST_NONE) {
    std::vector<Sample> samples;
    for (const Vec2& p : SensorGrid(opt.width, opt.height)) {
      const Vec2 s = PixelToMm(in, p);
      double dx = 0.0, dy = 0.0;
      in.Dist.CalDist(s.x, s.y, dx, dy);
      const Vec2 ideal{(s.x + dx) / f, -(s.y + dy) / f};
      samples.push_back({ideal, {s.x / f - ideal.x, -s.y / f - ideal.y}});
    }
    const int radial = model == DIST_RADIAL_DECENTER ? 2 : 3;
    std::vector<double> c;
    if (!FitTerms(samples, radial, true, c))
      return Refuse(report, "the least-squares fit of " + name + " failed");
    cv.dist[kK1] = c[0];
    cv.dist[kK2] = c[1];
    if (radial == 3) cv.dist[kK3] = c[2];
    cv.dist[kP1] = c[size_t(radial)];
    cv.dist[kP2] = c[size_t(radial) + 1];
  }
  report.max_residual_px = MaxDisagreementPx(cv, in);
  const std::string what = name + " as " + TheirModelName(cv.dist);
  if (!Accept(report, what, opt)) return 0;
  out = cv;
  return 1;
}

// ---- OpenCV FileStorage text ----

namespace {

std::string Join(const std::vector<double>& values) {
  std::string s;
  for (size_t i = 0; i < values.size(); ++i) s += (i ? ", " : "") + Number(values[i]);
  return s;
}

std::string Matrix(
    const char* key, int rows, int cols, const std::vector<double>& data, bool json, bool last) {
  const std::string body = Join(data);
  if (json)
    return platform::FormatA(
        "    \"%s\": {\n        \"type_id\": \"opencv-matrix\",\n        \"rows\": %d,\n        "
        "\"cols\": %d,\n"
        "        \"dt\": \"d\",\n        \"data\": [ %s ]\n    }%s\n",
        key,
        rows,
        cols,
        body.c_str(),
        last ? "" : ",");
  return platform::FormatA(
      "%s: !!opencv-matrix\n   rows: %d\n   cols: %d\n   dt: d\n   data: [ %s ]\n",
      key,
      rows,
      cols,
      body.c_str());
}

// Tokens of YAML or JSON text: words (bare or quoted) and the punctuation
// [ ] { } : , — enough to find the keys this reader needs in either syntax.
std::vector<std::string> Tokens(const std::string& text) {
  std::vector<std::string> tokens;
  size_t i = 0;
  bool line_start = true;
  while (i < text.size()) {
    const char c = text[i];
    if (c == '\n') {
      line_start = true;
      ++i;
      continue;
    }
    if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
      continue;
    }
    // Comments, the "%YAML:1.0" directive and the "---" document marker.
    if (c == '#' || (line_start && (c == '%' || text.compare(i, 3, "---") == 0))) {
      i = text.find('\n', i);
      if (i == std::string::npos) break;
      continue;
    }
    line_start = false;
    if (std::string_view("[]{}:,").find(c) != std::string_view::npos) {
      tokens.emplace_back(1, c);
      ++i;
    } else if (c == '"' || c == '\'') {
      const size_t end = text.find(c, i + 1);
      if (end == std::string::npos) break;
      tokens.push_back(text.substr(i + 1, end - i - 1));
      i = end + 1;
    } else {
      size_t end = i;
      while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end])) &&
             std::string_view("[]{},\"").find(text[end]) == std::string_view::npos &&
             !(text[end] == ':' &&
               (end + 1 >= text.size() || std::isspace(static_cast<unsigned char>(text[end + 1])) ||
                text[end + 1] == ',')))
        ++end;
      tokens.push_back(text.substr(i, end - i));
      i = end;
    }
  }
  return tokens;
}

// Index of the token after "key :" at or after `from`, or npos.
size_t FindKey(const std::vector<std::string>& t, const char* key, size_t from) {
  for (size_t i = from; i + 2 < t.size(); ++i)
    if (t[i] == key && t[i + 1] == ":") return i + 2;
  return std::string::npos;
}

bool ReadInt(const std::vector<std::string>& t, const char* key, size_t from, int& value) {
  const size_t i = FindKey(t, key, from);
  long v = 0;
  if (i == std::string::npos || !platform::ParseInt(t[i], 0, 1 << 20, v)) return false;
  value = int(v);
  return true;
}

bool ReadMatrix(const std::vector<std::string>& t,
                const char* key,
                std::vector<double>& data,
                std::string& error) {
  const size_t at = FindKey(t, key, 0);
  if (at == std::string::npos) return error = std::string("no ") + key, false;
  int rows = 0, cols = 0;
  size_t i = FindKey(t, "data", at);
  if (!ReadInt(t, "rows", at, rows) || !ReadInt(t, "cols", at, cols) || i == std::string::npos ||
      t[i] != "[")
    return error = std::string(key) + " is not an opencv-matrix", false;
  data.clear();
  for (++i; i < t.size() && t[i] != "]"; ++i) {
    if (t[i] == ",") continue;
    double v = 0.0;
    if (!platform::ParseNumber(t[i], v))
      return error = std::string(key) + " holds '" + t[i] + "'", false;
    data.push_back(v);
  }
  if (i == t.size() || data.size() != size_t(rows) * size_t(cols))
    return error = std::string(key) + " does not hold rows x cols numbers", false;
  return true;
}

}  // namespace

std::string WriteOpenCv(const Intrinsics& in, bool json) {
  const std::vector<double> k{in.fx, in.skew, in.cx, 0.0, in.fy, in.cy, 0.0, 0.0, 1.0};
  std::string s = json ? "{\n" : "%YAML:1.0\n---\n";
  s += platform::FormatA(json ? "    \"image_width\": %d,\n    \"image_height\": %d,\n"
                              : "image_width: %d\nimage_height: %d\n",
                         in.width,
                         in.height);
  s += Matrix("camera_matrix", 3, 3, k, json, false);
  s += Matrix("distortion_coefficients", 1, int(in.dist.size()), in.dist, json, true);
  if (json) s += "}\n";
  return s;
}

int ReadOpenCv(const std::string& text, Intrinsics& out, std::string& error) {
  const std::vector<std::string> t = Tokens(text);
  Intrinsics in;
  std::vector<double> k;
  if (!ReadMatrix(t, "camera_matrix", k, error)) return 0;
  if (k.size() != 9 || k[3] != 0.0 || k[6] != 0.0 || k[7] != 0.0 || k[8] != 1.0)
    return error = "camera_matrix is not a 3 x 3 camera matrix", 0;
  in.fx = k[0];
  in.skew = k[1];
  in.cx = k[2];
  in.fy = k[4];
  in.cy = k[5];
  if (FindKey(t, "distortion_coefficients", 0) != std::string::npos &&
      !ReadMatrix(t, "distortion_coefficients", in.dist, error))
    return 0;
  if (in.dist.size() > kMaxDist) return error = "more than 14 distortion_coefficients", 0;
  if (!ReadInt(t, "image_width", 0, in.width) || !ReadInt(t, "image_height", 0, in.height))
    return error = "no image_width and image_height", 0;
  out = in;
  return 1;
}

// ---- COLMAP cameras.txt ----

namespace {

struct ColmapModel {
  const char* name;
  int params;
};
constexpr ColmapModel kColmapModels[] = {
    {"SIMPLE_PINHOLE", 3},
    {"PINHOLE", 4},
    {"SIMPLE_RADIAL", 4},
    {"RADIAL", 5},
    {"OPENCV", 8},
    {"FULL_OPENCV", 12},
};

}  // namespace

int WriteColmap(const Intrinsics& in, int camera_id, std::string& text, std::string& error) {
  if (AnyNonZero(in.dist, kS1, kMaxDist) || in.skew != 0.0)
    return error =
               "COLMAP has no model for " + TheirModelName(in.dist) + " or a skewed camera matrix",
           0;
  // COLMAP counts pixels from the top-left corner, OpenCV from its centre.
  const double cx = in.cx + 0.5, cy = in.cy + 0.5;
  const std::vector<double>& d = in.dist;
  std::vector<double> p;
  const char* model = nullptr;
  if (!AnyNonZero(d, 0, kMaxDist)) {
    model = "PINHOLE";
    p = {in.fx, in.fy, cx, cy};
  } else if (in.fx == in.fy && !AnyNonZero(d, kP1, kMaxDist)) {
    model = Coef(d, kK2) == 0.0 ? "SIMPLE_RADIAL" : "RADIAL";
    p = {in.fx, cx, cy, Coef(d, kK1)};
    if (Coef(d, kK2) != 0.0) p.push_back(Coef(d, kK2));
  } else if (!AnyNonZero(d, kK3, kMaxDist)) {
    model = "OPENCV";
    p = {in.fx, in.fy, cx, cy, Coef(d, kK1), Coef(d, kK2), Coef(d, kP1), Coef(d, kP2)};
  } else {
    model = "FULL_OPENCV";
    p = {in.fx, in.fy, cx, cy};
    for (size_t i = 0; i < kS1; ++i) p.push_back(Coef(d, i));
  }
  text =
      "# Camera list with one line of data per camera:\n"
      "#   CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]\n"
      "# Number of cameras: 1\n";
  text += platform::FormatA("%d %s %d %d", camera_id, model, in.width, in.height);
  for (double v : p) text += " " + Number(v);
  text += "\n";
  return 1;
}

int ReadColmap(const std::string& text, int camera_id, Intrinsics& out, std::string& error) {
  for (std::string_view line : platform::SplitLines(text)) {
    std::vector<std::string> f;
    for (size_t i = 0; i < line.size();) {
      while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
      size_t end = i;
      while (end < line.size() && !std::isspace(static_cast<unsigned char>(line[end]))) ++end;
      if (end > i) f.emplace_back(line.substr(i, end - i));
      i = end;
    }
    if (f.empty() || f[0][0] == '#') continue;
    long id = 0, w = 0, h = 0;
    if (f.size() < 4 || !platform::ParseInt(f[0], 0, 1L << 31, id) ||
        !platform::ParseInt(f[2], 1, 1 << 20, w) || !platform::ParseInt(f[3], 1, 1 << 20, h))
      return error = "malformed camera line '" + std::string(line) + "'", 0;
    if (camera_id >= 0 && id != camera_id) continue;
    const auto* m = std::find_if(std::begin(kColmapModels),
                                 std::end(kColmapModels),
                                 [&](const ColmapModel& c) { return f[1] == c.name; });
    if (m == std::end(kColmapModels))
      return error = "COLMAP model " + f[1] + " has no counterpart", 0;
    std::vector<double> p;
    for (size_t i = 4; i < f.size(); ++i) {
      double v = 0.0;
      if (!platform::ParseNumber(f[i], v))
        return error = "camera " + f[0] + " holds '" + f[i] + "'", 0;
      p.push_back(v);
    }
    if (int(p.size()) != m->params)
      return error = platform::FormatA("%s takes %d parameters, camera %s has %d",
                                       m->name,
                                       m->params,
                                       f[0].c_str(),
                                       int(p.size())),
             0;
    // One focal length for SIMPLE_* and RADIAL; two for the others. The
    // coefficients that follow are OpenCV's, in OpenCV's order.
    const bool one_f = m->params == 3 || f[1] == "SIMPLE_RADIAL" || f[1] == "RADIAL";
    const size_t c0 = one_f ? 1 : 2;
    Intrinsics in;
    in.width = int(w);
    in.height = int(h);
    in.fx = p[0];
    in.fy = one_f ? p[0] : p[1];
    in.cx = p[c0] - 0.5;
    in.cy = p[c0 + 1] - 0.5;
    in.dist.assign(p.begin() + long(c0) + 2, p.end());
    out = in;
    return 1;
  }
  return error =
             camera_id >= 0 ? "no camera " + std::to_string(camera_id) : std::string("no camera"),
         0;
}

}  // namespace calib
