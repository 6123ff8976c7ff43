#pragma once
// Whole-file text helpers for the project files (internal to the library): read a
// file into memory with a size cap, split lines and fields, read numbers with
// '.' as the decimal point whatever the locale. Whole files are written with
// platform::SafeFile (platform/safe_file.h).
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Largest project text file the readers accept (bytes).
inline constexpr unsigned kMaxTextFile = 4u * 1024 * 1024;

// Reads the whole file; false when it cannot be opened or read, or is larger
// than kMaxTextFile.
bool ReadWholeFile(const wchar_t* path, std::string& bytes);
// Lines without their LF (and a CR before it); a last line without LF counts.
std::vector<std::string_view> SplitLines(std::string_view text);
// Fields separated by tabs.
std::vector<std::string_view> SplitTabs(std::string_view line);
// The whole field is one finite number.
bool ParseNumber(std::string_view field, double& value);
// The whole field is a decimal integer in [lo, hi].
bool ParseInt(std::string_view field, long lo, long hi, long& value);
// "%.17g" in the C locale: reads back to the same double.
std::string ExactNumber(double value);
// CRC-32 (IEEE 802.3) of the bytes.
unsigned Crc32(std::string_view bytes);

}  // namespace platform
