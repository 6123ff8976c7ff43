#include "platform/text.h"

#include <locale.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <vector>

namespace platform {
namespace {

locale_t CLocale() {
  static locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
  return c;
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += char(c);
  } else if (c < 0x800) {
    out += char(0xC0 | (c >> 6));
    out += char(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += char(0xE0 | (c >> 12));
    out += char(0x80 | ((c >> 6) & 0x3F));
    out += char(0x80 | (c & 0x3F));
  } else if (c < 0x110000) {
    out += char(0xF0 | (c >> 18));
    out += char(0x80 | ((c >> 12) & 0x3F));
    out += char(0x80 | ((c >> 6) & 0x3F));
    out += char(0x80 | (c & 0x3F));
  } else {
    out += '?';
  }
}

}  // namespace

std::string WideToUtf8(const wchar_t* text) {
  std::string out;
  if (!text) return out;
  for (; *text; ++text) AppendUtf8(out, char32_t(*text));
  return out;
}

std::string WideToUtf8(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) AppendUtf8(out, char32_t(c));
  return out;
}

std::wstring Utf8ToWide(const char* text, size_t length) {
  std::wstring out;
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  size_t i = 0;
  while (i < length) {
    unsigned char b = s[i];
    int extra = b < 0x80 ? 0 : (b >> 5) == 6 ? 1 : (b >> 4) == 14 ? 2 : (b >> 3) == 30 ? 3 : -1;
    if (extra < 0) {
      out += L'\xFFFD';
      ++i;
      continue;
    }
    char32_t c = extra == 0 ? b : b & (0x3F >> extra);
    bool ok = true;
    for (int k = 1; k <= extra; ++k) {
      if (i + k >= length || (s[i + k] & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      c = (c << 6) | (s[i + k] & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not text: each
    // such byte becomes U+FFFD, so decoding then encoding is stable.
    static constexpr char32_t kLeast[4] = {0, 0x80, 0x800, 0x10000};
    if (ok && (c < kLeast[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))) ok = false;
    if (!ok) {
      out += L'\xFFFD';
      ++i;
      continue;
    }
    out += wchar_t(c);
    i += extra + 1;
  }
  return out;
}

std::wstring Utf8ToWide(const char* text) {
  return text ? Utf8ToWide(text, std::strlen(text)) : std::wstring();
}

std::wstring Utf8ToWide(const std::string& text) { return Utf8ToWide(text.data(), text.size()); }

std::wstring Utf16ToWide(const uint16_t* units, size_t count) {
  std::wstring out;
  for (size_t i = 0; i < count; ++i) {
    uint16_t u = units[i];
    if (u >= 0xD800 && u < 0xDC00 && i + 1 < count && units[i + 1] >= 0xDC00 &&
        units[i + 1] < 0xE000) {
      out += wchar_t(0x10000 + ((u - 0xD800) << 10) + (units[i + 1] - 0xDC00));
      ++i;
    } else {
      out += wchar_t(u);
    }
  }
  return out;
}

std::u16string WideToUtf16(const std::wstring& text) {
  std::u16string out;
  for (wchar_t w : text) {
    auto c = char32_t(w);
    if (c >= 0x10000 && c < 0x110000) {
      c -= 0x10000;
      out += char16_t(0xD800 + (c >> 10));
      out += char16_t(0xDC00 + (c & 0x3FF));
    } else {
      out += char16_t(c);
    }
  }
  return out;
}

CLocaleScope::CLocaleScope() : previous_(uselocale(CLocale())) {}
CLocaleScope::~CLocaleScope() { uselocale(static_cast<locale_t>(previous_)); }

namespace {

// One conversion ("%-8.3lf") of a Windows-style format string.
struct Conversion {
  std::string flags;
  int width = -1;
  int precision = -1;
  bool hasPrecision = false;
  int longness = 0;  // -1 h, 1 l/w, 2 ll/I64
  bool longDouble = false;
  char letter = 0;  // the conversion letter: d, s, f, ...
};

template <class Ch>
size_t ParseConversion(const Ch* f, size_t i, Conversion& conv, va_list& args) {
  while (f[i] == '-' || f[i] == '+' || f[i] == ' ' || f[i] == '#' || f[i] == '0')
    conv.flags += char(f[i++]);
  if (f[i] == '*') {
    conv.width = va_arg(args, int);
    if (conv.width < 0) {
      conv.flags += '-';
      conv.width = -conv.width;
    }
    ++i;
  } else {
    while (f[i] >= '0' && f[i] <= '9')
      conv.width = (conv.width < 0 ? 0 : conv.width * 10) + (f[i++] - '0');
  }
  if (f[i] == '.') {
    ++i;
    conv.hasPrecision = true;
    conv.precision = 0;
    if (f[i] == '*') {
      conv.precision = va_arg(args, int);
      if (conv.precision < 0) conv.hasPrecision = false;
      ++i;
    } else {
      while (f[i] >= '0' && f[i] <= '9') conv.precision = conv.precision * 10 + (f[i++] - '0');
    }
  }
  for (;;) {
    if (f[i] == 'h') {
      conv.longness = -1;
      ++i;
      if (f[i] == 'h') ++i;
    } else if (f[i] == 'l') {
      ++i;
      if (f[i] == 'l') {
        conv.longness = 2;
        ++i;
      } else {
        conv.longness = 1;
      }
    } else if (f[i] == 'w') {
      conv.longness = 1;
      ++i;
    } else if (f[i] == 'I' && f[i + 1] == '6' && f[i + 2] == '4') {
      conv.longness = 2;
      i += 3;
    } else if (f[i] == 'I' && f[i + 1] == '3' && f[i + 2] == '2') {
      i += 3;
    } else if (f[i] == 'L') {
      conv.longDouble = true;
      ++i;
    } else if (f[i] == 'z' || f[i] == 'j' || f[i] == 't') {
      conv.longness = 3;
      ++i;
    } else {
      break;
    }
  }
  conv.letter = char(f[i]);
  return f[i] ? i + 1 : i;
}

std::string FormatNumber(const Conversion& conv, va_list& args) {
  std::string fmt(1, '%');
  fmt += conv.flags;
  if (conv.width >= 0) fmt += std::to_string(conv.width);
  if (conv.hasPrecision) {
    fmt += '.';
    fmt += std::to_string(conv.precision);
  }
  char buf[512];
  CLocaleScope c_locale;
  switch (conv.letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o': {
      if (conv.longness == 2) {
        fmt += "ll";
        fmt += conv.letter;
        std::snprintf(buf, sizeof buf, fmt.c_str(), va_arg(args, long long));
      } else if (conv.longness == 3) {
        fmt += "z";
        fmt += conv.letter;
        std::snprintf(buf, sizeof buf, fmt.c_str(), va_arg(args, size_t));
      } else {
        if (conv.longness == -1) fmt += "h";
        fmt += conv.letter;
        std::snprintf(buf, sizeof buf, fmt.c_str(), va_arg(args, int));
      }
      break;
    }
    case 'p':
      fmt += 'p';
      std::snprintf(buf, sizeof buf, fmt.c_str(), va_arg(args, void*));
      break;
    default:  // floating point
      if (conv.longDouble) {
        fmt += 'L';
        fmt += conv.letter;
        std::snprintf(buf, sizeof buf, fmt.c_str(), va_arg(args, long double));
      } else {
        fmt += conv.letter;
        std::snprintf(buf, sizeof buf, fmt.c_str(), va_arg(args, double));
      }
  }
  return buf;
}

template <class Out>
void Pad(Out& out, const Out& piece, const Conversion& conv) {
  size_t width = conv.width > 0 ? size_t(conv.width) : 0;
  bool left = conv.flags.find('-') != std::string::npos;
  if (!left && piece.size() < width) out.append(width - piece.size(), ' ');
  out += piece;
  if (left && piece.size() < width) out.append(width - piece.size(), ' ');
}

// Formats with Windows semantics; Ch is the format's character type and
// decides what %s means.
template <class Ch>
std::basic_string<Ch> FormatImpl(const Ch* f, va_list args_in) {
  std::basic_string<Ch> out;
  if (!f) return out;
  va_list args;
  va_copy(args, args_in);
  constexpr bool wide = sizeof(Ch) == sizeof(wchar_t);
  for (size_t i = 0; f[i];) {
    if (f[i] != '%') {
      out += f[i++];
      continue;
    }
    if (f[i + 1] == '%') {
      out += Ch('%');
      i += 2;
      continue;
    }
    Conversion conv;
    i = ParseConversion(f, i + 1, conv, args);
    switch (conv.letter) {
      case 's':
      case 'S': {
        bool argWide = (conv.letter == 's') == wide;
        if (conv.longness == -1) argWide = false;
        if (conv.longness == 1) argWide = true;
        std::wstring text;
        if (argWide) {
          const wchar_t* s = va_arg(args, const wchar_t*);
          text = s ? s : L"(null)";
        } else {
          const char* s = va_arg(args, const char*);
          text = s ? Utf8ToWide(s) : L"(null)";
        }
        if (conv.hasPrecision && text.size() > size_t(conv.precision)) text.resize(conv.precision);
        if constexpr (wide) {
          Pad(out, text, conv);
        } else {
          Pad(out, WideToUtf8(text), conv);
        }
        break;
      }
      case 'c':
      case 'C': {
        int value = va_arg(args, int);
        std::wstring text(1, wchar_t(value));
        if constexpr (wide) {
          Pad(out, text, conv);
        } else {
          Pad(out, WideToUtf8(text), conv);
        }
        break;
      }
      case 'n':
        (void)va_arg(args, int*);
        break;
      case 0:
        break;
      default: {
        std::string number = FormatNumber(conv, args);
        out.append(number.begin(), number.end());
      }
    }
  }
  va_end(args);
  return out;
}

}  // namespace

std::wstring FormatWV(const wchar_t* format, va_list args) { return FormatImpl(format, args); }
std::string FormatAV(const char* format, va_list args) { return FormatImpl(format, args); }

std::wstring FormatW(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring out = FormatWV(format, args);
  va_end(args);
  return out;
}

std::string FormatA(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string out = FormatAV(format, args);
  va_end(args);
  return out;
}

int ScanA(const char* text, const char* format, ...) {
  if (!text || !format) return EOF;
  CLocaleScope c_locale;
  va_list args;
  va_start(args, format);
  int n = std::vsscanf(text, format, args);
  va_end(args);
  return n;
}

double AtoF(const char* text) {
  if (!text) return 0.0;
  CLocaleScope c_locale;
  return std::strtod(text, nullptr);
}

double WtoF(const wchar_t* text) {
  if (!text) return 0.0;
  CLocaleScope c_locale;
  return std::wcstod(text, nullptr);
}

int WtoI(const wchar_t* text) {
  if (!text) return 0;
  CLocaleScope c_locale;
  return int(std::wcstol(text, nullptr, 10));
}

}  // namespace platform
