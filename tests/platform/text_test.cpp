// Formatting with the Windows meaning of %s, UTF-8 both ways (translation: tests/liveview).
#include "platform/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

TEST(Format, WindowsMeaningOfPercentSAndUtf8BothWays) {
  EXPECT_EQ(platform::FormatW(L"%s|%S|%hs|%ls", L"wide", "narrow", "h", L"l"), L"wide|narrow|h|l");
  EXPECT_EQ(platform::FormatA("%s|%S", "narrow", L"wide"), "narrow|wide");
  EXPECT_EQ(platform::FormatW(L"%08.4lf|%.3d|%le", 45.3, 7, 0.00125), L"045.3000|007|1.250000e-03");
  EXPECT_EQ(platform::FormatA("%-5s|%5s|%.2s", "ab", "cd", "xyz"), "ab   |   cd|xy");
  const wchar_t* name = L"Punkt\u00E4\u6E2C";
  std::string bytes = platform::FormatA("%S", name);
  EXPECT_EQ(bytes, "Punkt\xC3\xA4\xE6\xB8\xAC");
  EXPECT_EQ(platform::Utf8ToWide(bytes), name);
  // Bytes that are not UTF-8 decode to U+FFFD one byte at a time, stable when encoded again.
  const std::string cases[] = {
      "\xF5\xA4\xB7\xB4",  // past U+10FFFF
      "\xC0\xAF",          // overlong '/'
      "\xED\xA0\x80",      // a surrogate
      "\xBF\xF5M",         // stray continuation and a cut lead byte
      "\xE6\xB8",          // truncated at the end
  };
  for (const std::string& bytes : cases) {
    const std::wstring once = platform::Utf8ToWide(bytes);
    EXPECT_EQ(once.size(),
              std::count(once.begin(), once.end(), L'\xFFFD') +
                  std::count(once.begin(), once.end(), L'M'))
        << bytes;
    EXPECT_EQ(platform::Utf8ToWide(platform::WideToUtf8(once)), once);
  }
  EXPECT_EQ(platform::Utf8ToWide("\xF4\x8F\xBF\xBF"), std::wstring(1, wchar_t(0x10FFFF)));
}

}  // namespace
