#pragma once
// The platform clock behind GetLocalTime/GetSystemTime/GetTickCount. It runs
// in real time until a test or the simulator fixes it; a fixed clock moves
// only when told to (Advance), so timers fire without sleeping.
#include <cstdint>
#include <functional>

#include "platform/export.h"
#include "platform/types.h"

namespace platform::clock {

// Fixes the clock at the given local time (milliseconds are used).
SURVEYCAM_API void SetLocal(const SYSTEMTIME& local);
SURVEYCAM_API void Advance(uint64_t milliseconds);
SURVEYCAM_API bool IsFixed();
// Milliseconds since 1970-01-01 00:00 local time (the device has one zone).
SURVEYCAM_API int64_t NowMs();
// The calendar of the clock (proleptic Gregorian, 64-bit day counts).
// Days from 1970-01-01 to a civil date.
SURVEYCAM_API int64_t DaysFromCivil(int64_t year, unsigned month, unsigned day);
// The calendar time of milliseconds since 1970-01-01 00:00 (with the day of
// the week); times before 1970 count back.
SURVEYCAM_API SYSTEMTIME ToSystemTime(int64_t milliseconds);

}  // namespace platform::clock

SURVEYCAM_API void GetLocalTime(SYSTEMTIME* out);
SURVEYCAM_API void GetSystemTime(SYSTEMTIME* out);
SURVEYCAM_API DWORD GetTickCount();
