#pragma once
// CKvoStringT: the wide string of the in-house utility library, with the
// MFC-style interface the library and its host use. Format follows the
// Windows C runtime's meaning of the format string (platform/text.h).
#include <algorithm>
#include <cstdarg>
#include <string>
#include <type_traits>

#include "platform/text.h"

template <class T>
class CKvoStringT {
 public:
  using Str = std::basic_string<T>;

  CKvoStringT() = default;
  CKvoStringT(const T* text) : s_(text ? text : Str()) {}
  CKvoStringT(const T* text, int length)
      : s_(text ? Str(text, size_t(std::max(length, 0))) : Str()) {}
  CKvoStringT(T ch, int repeat = 1) : s_(size_t(std::max(repeat, 0)), ch) {}
  CKvoStringT(const Str& text) : s_(text) {}
  CKvoStringT(Str&& text) : s_(std::move(text)) {}
  // Narrow text (UTF-8) into a wide string, as MFC's converting constructor.
  template <class U = T, class = std::enable_if_t<std::is_same_v<U, wchar_t>>>
  CKvoStringT(const char* text) : s_(platform::Utf8ToWide(text)) {}

  operator const T*() const { return s_.c_str(); }
  const T* c_str() const { return s_.c_str(); }
  Str& str() { return s_; }

  int GetLength() const { return int(s_.size()); }
  bool IsEmpty() const { return s_.empty(); }
  void Empty() { s_.clear(); }
  T operator[](int i) const { return s_[size_t(i)]; }

  CKvoStringT& operator=(const T* text) {
    s_ = text ? text : Str();
    return *this;
  }
  CKvoStringT& operator+=(const CKvoStringT& o) {
    s_ += o.s_;
    return *this;
  }
  CKvoStringT& operator+=(const T* text) {
    if (text) s_ += text;
    return *this;
  }
  friend CKvoStringT operator+(const CKvoStringT& a, const CKvoStringT& b) {
    return CKvoStringT(a.s_ + b.s_);
  }
  friend CKvoStringT operator+(const CKvoStringT& a, const T* b) {
    return CKvoStringT(a.s_ + (b ? b : Str()));
  }
  friend CKvoStringT operator+(const T* a, const CKvoStringT& b) {
    return CKvoStringT((a ? Str(a) : Str()) + b.s_);
  }

  int Compare(const T* other) const { return s_.compare(other ? other : Str()); }
  friend bool operator==(const CKvoStringT& a, const CKvoStringT& b) { return a.s_ == b.s_; }
  friend bool operator==(const CKvoStringT& a, const T* b) { return a.Compare(b) == 0; }
  friend bool operator!=(const CKvoStringT& a, const CKvoStringT& b) { return a.s_ != b.s_; }
  friend bool operator!=(const CKvoStringT& a, const T* b) { return a.Compare(b) != 0; }
  friend bool operator<(const CKvoStringT& a, const CKvoStringT& b) { return a.s_ < b.s_; }

  // Printf-style formatting with the Windows meaning of %s/%S.
  void Format(const T* format, ...) {
    va_list args;
    va_start(args, format);
    FormatV(format, args);
    va_end(args);
  }
  void FormatV(const T* format, va_list args) {
    if constexpr (std::is_same_v<T, wchar_t>) {
      s_ = platform::FormatWV(format, args);
    } else {
      s_ = platform::FormatAV(format, args);
    }
  }

  // Removes white space (blank, tab, CR, LF, VT, FF) from the ends.
  CKvoStringT& TrimLeft() {
    size_t i = 0;
    while (i < s_.size() && IsSpace(s_[i])) ++i;
    s_.erase(0, i);
    return *this;
  }
  CKvoStringT& TrimRight() {
    size_t n = s_.size();
    while (n > 0 && IsSpace(s_[n - 1])) --n;
    s_.resize(n);
    return *this;
  }
  CKvoStringT& Trim() { return TrimRight().TrimLeft(); }

  int Find(T ch, int start = 0) const { return ToIndex(s_.find(ch, size_t(std::max(start, 0)))); }
  int ReverseFind(T ch) const { return ToIndex(s_.rfind(ch)); }
  CKvoStringT Left(int n) const { return CKvoStringT(s_.substr(0, size_t(Clamp(n)))); }
  CKvoStringT Mid(int first) const { return Mid(first, GetLength()); }
  CKvoStringT Mid(int first, int count) const {
    first = Clamp(first);
    count = std::min(std::max(count, 0), GetLength() - first);
    return CKvoStringT(s_.substr(size_t(first), size_t(count)));
  }

 private:
  static bool IsSpace(T c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
  }
  static int ToIndex(size_t pos) { return pos == Str::npos ? -1 : int(pos); }
  int Clamp(int n) const { return std::min(std::max(n, 0), GetLength()); }

  Str s_;
};

using CKvoString = CKvoStringT<wchar_t>;
