// Whole-file text helpers for the project files.
#include "platform/text_file.h"

#include <cmath>

#include "platform/file.h"
#include "platform/text.h"

namespace platform {

bool ReadWholeFile(const wchar_t* path, std::string& bytes) {
  CFile file;
  if (!path || !file.Open(path, CFile::modeRead | CFile::shareDenyWrite)) return false;
  ULONGLONG length = file.GetLength();
  if (length > kMaxTextFile) return false;
  std::string data(size_t(length), '\0');
  if (length && file.Read(data.data(), UINT(length)) != UINT(length)) return false;
  bytes = std::move(data);
  return true;
}

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return lines;
}

std::vector<std::string_view> SplitTabs(std::string_view line) {
  std::vector<std::string_view> fields;
  for (;;) {
    size_t tab = line.find('\t');
    fields.push_back(line.substr(0, tab));
    if (tab == std::string_view::npos) return fields;
    line.remove_prefix(tab + 1);
  }
}

bool ParseNumber(std::string_view field, double& value) {
  if (field.empty() || field.size() > 64) return false;
  std::string text(field);
  double parsed = 0.0;
  int used = 0;
  if (platform::ScanA(text.c_str(), "%lf%n", &parsed, &used) != 1 || size_t(used) != text.size())
    return false;
  if (!std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

bool ParseInt(std::string_view field, long lo, long hi, long& value) {
  if (field.empty() || field.size() > 18) return false;
  long parsed = 0;
  size_t i = 0;
  bool negative = field[0] == '-';
  if (negative) ++i;
  if (i == field.size()) return false;
  for (; i < field.size(); ++i) {
    if (field[i] < '0' || field[i] > '9') return false;
    parsed = parsed * 10 + (field[i] - '0');
  }
  if (negative) parsed = -parsed;
  if (parsed < lo || parsed > hi) return false;
  value = parsed;
  return true;
}

std::string ExactNumber(double value) { return platform::FormatA("%.17g", value); }

unsigned Crc32(std::string_view bytes) {
  unsigned crc = 0xFFFFFFFFu;
  for (unsigned char byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

}  // namespace platform
