#include "pointfiles/point_files.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/file_exception.h"
#include "platform/file_messages.h"
#include "platform/fs.h"
#include "platform/kvo_utils.h"
#include "platform/message_box.h"
#include "platform/safe_file.h"
#include "platform/text.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

// Every written line is formatted into a 256-byte buffer: at most 255 bytes.
constexpr size_t kMaxWrittenLine = 255;

bool IsEmptyPath(const wchar_t* path) { return !path || !*path; }

bool FileExists(const wchar_t* path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

// Opens `file`; when access is refused the operator is told, any other
// failure is silent.
bool OpenFile(CFile& file, const wchar_t* path, UINT flags) {
  CFileException error;
  if (file.Open(path, flags, &error)) return true;
  if (IsAccessRefusedCause(error.m_cause)) ShowAccessRefused(path);
  return false;
}

// Writes one formatted line, cut to 255 bytes like the fixed buffer it
// stands for (never inside a UTF-8 sequence).
bool WriteLine(CFile& file, std::string line) {
  if (line.size() > kMaxWrittenLine) {
    size_t cut = kMaxWrittenLine;
    while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
    line.resize(cut);
  }
  return file.Write(line.data(), UINT(line.size())) != FALSE;
}

std::string PointLine(const CXYZ& p) {
  return platform::FormatA("%S,%.6lf,%.6lf,%.6lf\n", p.Name.c_str(), p.X, p.Y, p.Z);
}

// A scan record: the Code column only when the point has one.
std::string ScanLine(const CXYZ& p) {
  if (p.Code.IsEmpty()) return PointLine(p);
  return platform::FormatA(
      "%S,%.6lf,%.6lf,%.6lf,%S\n", p.Name.c_str(), p.X, p.Y, p.Z, p.Code.c_str());
}

// Reads a file line by line (the line feed dropped, a carriage return kept),
// through a block buffer rather than a system call per byte.
class LineReader {
 public:
  enum class Status { kLine, kEnd, kTooLong };

  explicit LineReader(CFile& file) : file_(file) {}

  Status Next(std::string& line) {
    line.clear();
    bool any = false;
    for (;;) {
      if (pos_ == size_ && !Fill()) return any ? Finish(line) : Status::kEnd;
      any = true;
      const char c = block_[pos_++];
      if (c == '\n') return Finish(line);
      if (line.size() == size_t(kPointFileMaxLine)) return Status::kTooLong;
      line += c;
    }
  }

 private:
  bool Fill() {
    size_ = file_.Read(block_, sizeof block_);
    pos_ = 0;
    return size_ > 0;
  }
  // The text ends at its first zero byte, as in a character buffer.
  static Status Finish(std::string& line) {
    const size_t zero = line.find('\0');
    if (zero != std::string::npos) line.resize(zero);
    return Status::kLine;
  }

  CFile& file_;
  char block_[4096];
  UINT pos_ = 0;
  UINT size_ = 0;
};

// Up to six comma-separated columns, each trimmed; the last one present keeps
// any further commas.
std::vector<CKvoString> SplitColumns(const CKvoString& line) {
  std::vector<CKvoString> columns(6);
  CKvoString rest = line;
  for (size_t i = 0; i < columns.size(); ++i) {
    const int comma = rest.Find(L',');
    if (comma < 0 || i + 1 == columns.size()) {
      columns[i] = rest;
      columns[i].Trim();
      break;
    }
    columns[i] = rest.Left(comma);
    columns[i].Trim();
    rest = rest.Mid(comma + 1);
  }
  return columns;
}

// Creates an empty file where none exists (for the readers' mustExist = 0).
bool CreateEmpty(const wchar_t* path) {
  CFile file;
  if (!OpenFile(file, path, CFile::modeCreate | CFile::modeReadWrite)) return false;
  file.Close();
  return true;
}

// The missing-file rule of the readers: 0 when it must exist, else an empty
// file is made.
bool EnsureExists(const wchar_t* path, int mustExist) {
  if (FileExists(path)) return true;
  if (mustExist == 1) return false;
  return CreateEmpty(path);
}

// Reads one header line of an image-coordinate file.
bool HeaderLine(LineReader& reader, std::string& line) {
  return reader.Next(line) == LineReader::Status::kLine;
}

// Reads up to n point lines into points[0..n-1]; 1 when all n were read.
int ReadImcPoints(LineReader& reader, PointArray& points, int n) {
  std::string line;
  std::vector<char> name(size_t(kPointFileMaxLine) + 1);
  for (int i = 0; i < n; ++i) {
    if (reader.Next(line) != LineReader::Status::kLine) return 0;
    CXYZ& p = points[i];
    name[0] = '\0';
    if (platform::ScanA(line.c_str(), "%s %lf %lf", name.data(), &p.X, &p.Y) == EOF) return 0;
    p.Name = platform::Utf8ToWide(name.data()).c_str();
    p.Name.Trim();
  }
  return 1;
}

}  // namespace

int WriteCSVFile(const wchar_t* path, PointArray& points, int append) {
  if (IsEmptyPath(path)) return 0;
  // Replacing writes go through a temporary file; appending opens the file.
  platform::SafeFile file;
  const UINT flags =
      append == 1 ? UINT(CFile::modeWrite) : UINT(CFile::modeCreate | CFile::modeWrite);
  if (!OpenFile(file, path, flags)) return 0;
  if (append == 1) file.SeekToEnd();
  for (const CXYZ& p : points)
    if (!WriteLine(file, PointLine(p))) return 0;
  return file.Commit() ? 1 : 0;
}

int ReadCSVFile(const wchar_t* path, PointArray& points, int mustExist) {
  if (IsEmptyPath(path)) return 0;
  points.RemoveAll();
  if (!EnsureExists(path, mustExist)) return 0;
  CFile file;
  if (!OpenFile(file, path, CFile::modeRead)) return 0;
  LineReader reader(file);
  std::string line;
  for (;;) {
    const LineReader::Status status = reader.Next(line);
    if (status == LineReader::Status::kEnd) return 1;
    if (status == LineReader::Status::kTooLong) return 0;
    if (line.empty()) continue;
    const std::vector<CKvoString> col = SplitColumns(CKvoString(platform::Utf8ToWide(line)));
    if (col[0].IsEmpty()) continue;
    CXYZ p(col[0], platform::WtoF(col[1]), platform::WtoF(col[2]), platform::WtoF(col[3]));
    p.Code = col[4];
    p.Num = platform::WtoI(col[5]);
    points.Add(p);
  }
}

int WriteImcFile(const wchar_t* path, const wchar_t* title, CSize& size, PointArray& points) {
  if (IsEmptyPath(path)) return 0;
  platform::SafeFile file;
  if (!OpenFile(file, path, CFile::modeCreate | CFile::modeWrite)) return 0;
  int count = points.GetSize();
  for (const CXYZ& p : points)
    if (p.Name.IsEmpty()) --count;
  bool ok = WriteLine(file, platform::FormatA("%S\n", title ? title : L"")) &&
            WriteLine(file, platform::FormatA("%d %d\n", int(size.cx), int(size.cy))) &&
            WriteLine(file, platform::FormatA("%d\n", count));
  // Only the first `count` entries are walked: unnamed points in front push
  // named points at the end out of the file. Kept on purpose.
  for (int i = 0; ok && i < count; ++i) {
    const CXYZ& p = points[i];
    if (!p.Name.IsEmpty())
      ok = WriteLine(file, platform::FormatA("%S %20.10lf %20.10lf\n", p.Name.c_str(), p.X, p.Y));
  }
  return ok && WriteLine(file, "0\n") && file.Commit() ? 1 : 0;
}

int ReadImcFile(
    const wchar_t* path, CKvoString& title, CSize& size, PointArray& points, int mustExist) {
  if (IsEmptyPath(path)) return 0;
  points.RemoveAll();
  if (!EnsureExists(path, mustExist)) return 0;
  CFile file;
  if (!OpenFile(file, path, CFile::modeRead)) return 0;
  LineReader reader(file);
  std::string line;
  // A missing title line reads as an empty title; the size line is the
  // first one that must be there.
  if (reader.Next(line) == LineReader::Status::kTooLong) return 0;
  title = platform::Utf8ToWide(line).c_str();
  title.Trim();
  if (!HeaderLine(reader, line)) return 0;
  int cx = size.cx, cy = size.cy;
  const int scanned = platform::ScanA(line.c_str(), "%d %d", &cx, &cy);
  size.cx = cx;
  size.cy = cy;
  if (scanned == EOF) return 0;
  int n = 0;
  if (!HeaderLine(reader, line) || platform::ScanA(line.c_str(), "%d", &n) == EOF) return 0;
  // A count beyond what the rest of the file can hold (a line needs at least
  // one byte) is bound to fail; the array is not grown past that.
  const ULONGLONG room = file.GetLength() + 1;
  points.SetSize(int(std::min<ULONGLONG>(ULONGLONG(std::max(n, 0)), room)));
  if (n < 1) return 1;
  if (ULONGLONG(n) > room) {
    ReadImcPoints(reader, points, points.GetSize());
    return 0;
  }
  return ReadImcPoints(reader, points, n);
}

int ScanFileOpen(CFile* file, const wchar_t* path) {
  if (!file || IsEmptyPath(path)) return 0;
  CFileException error;
  if (!file->Open(path, CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite, &error)) {
    if (IsAccessRefusedCause(error.m_cause)) ShowAccessRefused(path);
    MessageBoxW(nullptr, L"", L"ScanFileOpen", MB_OK);
    return 0;
  }
  file->SeekToEnd();
  return 1;
}

int ScanFileClose(CFile* file) {
  if (file) file->Close();
  return 1;
}

namespace {

// Opens the scan file, appends the given lines and closes it.
int AppendScanLines(const wchar_t* path, const std::vector<std::string>& lines) {
  if (IsEmptyPath(path)) return 0;
  CFile file;
  if (!ScanFileOpen(&file, path)) {
    MessageBoxW(nullptr, L"", L"ScanFileAdd", MB_OK);
    return 0;
  }
  bool ok = true;
  for (const std::string& line : lines) ok = ok && WriteLine(file, line);
  // Each record reaches the card before the next one is taken.
  ok = ok && file.Flush();
  ScanFileClose(&file);
  return ok ? 1 : 0;
}

}  // namespace

int ScanFileAdd(const wchar_t* path, const CXYZ& point) {
  return AppendScanLines(path, {ScanLine(point)});
}

int ScanFileAdd(const wchar_t* path, const CXYZ& point, const wchar_t* note) {
  return AppendScanLines(path,
                         {platform::FormatA("%S,%.6lf,%.6lf,%.6lf,%S,%d,%S\n",
                                            point.Name.c_str(),
                                            point.X,
                                            point.Y,
                                            point.Z,
                                            point.Code.c_str(),
                                            point.Num,
                                            note ? note : L"")});
}

int ScanFileAdd(const wchar_t* path, PointArray& points) {
  std::vector<std::string> lines;
  for (const CXYZ& p : points) lines.push_back(ScanLine(p));
  return AppendScanLines(path, lines);
}

int EditFileName(const wchar_t* path, CKvoString& name) {
  if (IsEmptyPath(path)) return 0;
  ExtractFileNameWithoutExtFromPathName(path, name);
  return 1;
}
