#include "platform/clock.h"

#include <atomic>
#include <chrono>
#include <ctime>

namespace platform::clock {
namespace {

std::atomic<bool> g_fixed{false};
std::atomic<int64_t> g_fixed_ms{0};

SYSTEMTIME FromMs(int64_t ms) {
  int64_t days = ms >= 0 ? ms / 86400000 : (ms - 86399999) / 86400000;
  int64_t rest = ms - days * 86400000;
  // civil_from_days
  int64_t z = days + 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = unsigned(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t y = int64_t(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  SYSTEMTIME t{};
  t.wYear = WORD(y + (m <= 2));
  t.wMonth = WORD(m);
  t.wDay = WORD(d);
  t.wDayOfWeek = WORD(((days % 7) + 11) % 7);  // 1970-01-01 was a Thursday (4)
  t.wHour = WORD(rest / 3600000);
  t.wMinute = WORD(rest / 60000 % 60);
  t.wSecond = WORD(rest / 1000 % 60);
  t.wMilliseconds = WORD(rest % 1000);
  return t;
}

int64_t RealLocalMs() {
  auto now = std::chrono::system_clock::now();
  int64_t ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
  std::time_t secs = std::time_t(ms / 1000);
  std::tm local{};
  localtime_r(&secs, &local);
  return ms + int64_t(local.tm_gmtoff) * 1000;
}

}  // namespace

int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = unsigned(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + int64_t(doe) - 719468;
}

void SetLocal(const SYSTEMTIME& t) {
  int64_t days = DaysFromCivil(t.wYear, t.wMonth, t.wDay);
  g_fixed_ms = days * 86400000 + int64_t(t.wHour) * 3600000 + int64_t(t.wMinute) * 60000 +
               int64_t(t.wSecond) * 1000 + t.wMilliseconds;
  g_fixed = true;
}

void Advance(uint64_t milliseconds) {
  if (!g_fixed) {
    g_fixed_ms = RealLocalMs();
    g_fixed = true;
  }
  g_fixed_ms += int64_t(milliseconds);
}

bool IsFixed() { return g_fixed; }
int64_t NowMs() { return g_fixed ? g_fixed_ms.load() : RealLocalMs(); }

SYSTEMTIME ToSystemTime(int64_t ms) { return FromMs(ms); }

}  // namespace platform::clock

void GetLocalTime(SYSTEMTIME* out) {
  if (out) *out = platform::clock::ToSystemTime(platform::clock::NowMs());
}

// The device keeps one time zone: system time is the local time.
void GetSystemTime(SYSTEMTIME* out) { GetLocalTime(out); }

DWORD GetTickCount() { return DWORD(uint64_t(platform::clock::NowMs())); }
