#include "camera/camera.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/file_messages.h"
#include "platform/kvo_utils.h"
#include "platform/safe_file.h"
#include "platform/text.h"

namespace {

constexpr int kLineBuffer = 256;          // a written line holds at most 255 bytes
constexpr int kMaxRadialEntries = 65536;  // larger counts are not a radial table

// The lines of a text file: each up to its line feed, at most 255
// characters (the rest of a longer line is dropped), a trailing carriage
// return removed.
class LineReader {
 public:
  explicit LineReader(std::string text) : text_(std::move(text)) {}
  bool Next(std::string& line) {
    if (pos_ >= text_.size()) return false;
    size_t end = text_.find('\n', pos_);
    if (end == std::string::npos) end = text_.size();
    line = text_.substr(pos_, std::min(end - pos_, size_t(kLineBuffer - 1)));
    if (!line.empty() && line.back() == '\r') line.pop_back();
    pos_ = end + 1;
    return true;
  }
  // Lines not yet read (an upper bound for any count read from the file).
  int Remaining() const {
    if (pos_ >= text_.size()) return 0;
    return int(std::count(text_.begin() + long(pos_), text_.end(), '\n')) + 1;
  }

 private:
  std::string text_;
  size_t pos_ = 0;
};

// One mandatory line scanned with a single conversion: false when the line is
// missing or empty or the scan reports end of input.
template <class T>
bool ScanLine(LineReader& lines, const char* format, T* value) {
  std::string line;
  if (!lines.Next(line) || line.empty()) return false;
  return platform::ScanA(line.c_str(), format, value) != EOF;
}

bool OpenReporting(CFile& file, const wchar_t* path, UINT flags) {
  CFileException error;
  if (file.Open(path, flags, &error)) return true;
  if (IsAccessRefusedCause(error.m_cause)) ShowAccessRefused(path);
  return false;
}

bool WriteLine(CFile& file, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const std::wstring wide = platform::FormatWV(format, args);
  va_end(args);
  char buffer[kLineBuffer];
  const int length = String2ASCII(wide.c_str(), buffer, kLineBuffer);
  return file.Write(buffer, UINT(std::max(length, 0))) != 0;
}

std::string ReadAll(CFile& file) {
  std::string text(size_t(file.GetLength()), '\0');
  const UINT got = file.Read(text.data(), UINT(text.size()));
  text.resize(got);
  return text;
}

// The optional radial table: a count line (missing or not a number: 0), then
// one "radius distortion" line per entry; a missing or unreadable line leaves
// its entry at 0.0.
void ReadRadialTable(LineReader& lines, CDist& dist) {
  std::string line;
  int k = 0;
  if (!lines.Next(line) || platform::ScanA(line.c_str(), "%d", &k) != 1) k = 0;
  k = std::clamp(k, 0, kMaxRadialEntries);
  auto& radius = dist.GetRadiusList();
  auto& distortion = dist.GetDistortionList();
  radius.RemoveAll();
  distortion.RemoveAll();
  radius.SetSize(k);
  distortion.SetSize(k);
  for (int i = 0; i < k; ++i) {
    if (!lines.Next(line) || line.empty()) continue;
    double r = 0.0, d = 0.0;
    platform::ScanA(line.c_str(), "%lf %lf", &r, &d);
    radius[i] = r;
    distortion[i] = d;
  }
}

void CopyPoints(CKvoArray<CXYZ, CXYZ&>& to, const CKvoArray<CXYZ, CXYZ&>& from) {
  to.RemoveAll();
  to.SetSize(from.GetSize());
  for (int i = 0; i < from.GetSize(); ++i) to[i] = from[i];
}

}  // namespace

CCamera::CCamera() { Init(); }

CCamera::CCamera(const CCamera& o) { Copy(o); }

CCamera& CCamera::operator=(const CCamera& o) {
  if (this != &o) Copy(o);
  return *this;
}

CCamera::~CCamera() = default;

void CCamera::Init() {
  Name.Empty();
  UseFiducial = 0;
  FocalLength = 0.0;
  PrincipalPoint.Init();
  Resolution.Init();
  Dist.Init();
  FiducialMarks.RemoveAll();
  FiducialImageMarks.RemoveAll();
}

void CCamera::Copy(const CCamera& o) {
  Name = o.Name;
  UseFiducial = o.UseFiducial;
  FocalLength = o.FocalLength;
  PrincipalPoint = o.PrincipalPoint;
  Resolution = o.Resolution;
  Dist = o.Dist;
  CopyPoints(FiducialMarks, o.FiducialMarks);
  CopyPoints(FiducialImageMarks, o.FiducialImageMarks);
}

int CCamera::Write(const wchar_t* path) {
  if (!path || !*path) return 0;
  platform::SafeFile file;
  if (!OpenReporting(file, path, CFile::modeCreate | CFile::modeWrite)) return 0;
  ExtractFileNameWithoutExtFromPathName(path, Name);
  bool ok = WriteLine(file, L"%lf\t\t\t// focul length [mm]\n", FocalLength);
  ok &= WriteLine(file, L"%lf\t\t\t// x of principal point [m]\n", PrincipalPoint.X);
  ok &= WriteLine(file, L"%lf\t\t\t// y of principal point [m]\n", PrincipalPoint.Y);
  ok &= WriteLine(file, L"%d\t\t\t\t\t// distortion model\n", int(Dist.GetDistModel()));
  const int n = Dist.GetNumPara();
  ok &= WriteLine(file, L"%d\t\t\t\t\t// number of distortion parameters\n", n);
  for (int i = 0; i < n; ++i)
    ok &= WriteLine(file, L"%le\t\t// distortion parameter %d\n", Dist.GetPara(i), i + 1);
  ok &= WriteLine(file, L"%lf\t\t\t// x resolution [mm/pixel]\n", Resolution.X);
  ok &= WriteLine(file, L"%lf\t\t\t// y resolution [mm/pixel]\n", Resolution.Y);
  const int m = FiducialMarks.GetSize();
  ok &= WriteLine(file, L"%d\t\t\t\t\t// number of fiducial marks\n", m);
  for (int i = 0; i < m; ++i) {
    const CXYZ& mark = FiducialMarks[i];
    ok &= WriteLine(file,
                    L"%s\t%lf\t%lf\t// coordinates of fiducial mark %d [mm]\n",
                    mark.Name.c_str(),
                    mark.X,
                    mark.Y,
                    i + 1);
  }
  const auto& radius = Dist.GetRadiusList();
  const auto& distortion = Dist.GetDistortionList();
  const int k = std::min(radius.GetSize(), distortion.GetSize());
  ok &= WriteLine(file, L"%d\t\t\t\t\t// number of radial distortion values\n", k);
  for (int i = 0; i < k; ++i)
    ok &= WriteLine(file,
                    L"%lf\t%lf\t// radius and  radial distortion value %d [mm]\n",
                    radius[i],
                    distortion[i],
                    i + 1);
  // A failed write, flush or rename keeps the previous file whole: the save
  // did not happen, and the caller is told so.
  return ok && file.Commit() ? 1 : 0;
}

int CCamera::Read(const wchar_t* path) {
  CFile file;
  if (!path || !OpenReporting(file, path, CFile::modeRead)) return 0;
  LineReader lines(ReadAll(file));
  file.Close();
  if (!ScanLine(lines, "%lf", &FocalLength)) return 0;
  if (!ScanLine(lines, "%lf", &PrincipalPoint.X)) return 0;
  if (!ScanLine(lines, "%lf", &PrincipalPoint.Y)) return 0;
  int model = 0;
  if (!ScanLine(lines, "%d", &model)) return 0;
  Dist.SetDistModel(DIST_MODEL(model));
  int n = 0;
  if (!ScanLine(lines, "%d", &n)) return 0;
  for (int i = 0; i < n; ++i) {
    double value = 0.0;
    if (!ScanLine(lines, "%le", &value)) return 0;
    Dist.AddPara(i, value);
  }
  if (!ScanLine(lines, "%lf", &Resolution.X)) return 0;
  if (!ScanLine(lines, "%lf", &Resolution.Y)) return 0;
  int m = 0;
  if (!ScanLine(lines, "%d", &m)) return 0;
  // Never more marks than lines left: a larger count fails below anyway.
  FiducialMarks.RemoveAll();
  FiducialMarks.SetSize(std::clamp(m, 0, lines.Remaining()));
  for (int i = 0; i < m; ++i) {
    std::string line;
    if (!lines.Next(line) || line.empty()) return 0;
    char name[kLineBuffer] = {};
    CXYZ& mark = FiducialMarks[i];
    if (platform::ScanA(line.c_str(), "%255s %lf %lf", name, &mark.X, &mark.Y) == EOF) return 0;
    mark.Name = CKvoStringT<wchar_t>(platform::Utf8ToWide(name));
    mark.Name.Trim();
  }
  ReadRadialTable(lines, Dist);
  UseFiducial = m >= 1 ? 1 : 0;
  return 1;
}
