// Time of day: a FILETIME counts 100 ns ticks since 1601-01-01T00:00:00Z, a SYSTEMTIME is the same instant as a date
// and time in UTC of the Gregorian calendar.
//
// Every function here may be called from any thread; none blocks.
#pragma once

#include "quillmark/platform/Types.h"

// FALSE with ERROR_INVALID_PARAMETER, and the result untouched, when the time is none: a year outside 1601 to 30827, a
// day that its month does not have, a leap second. wDayOfWeek is ignored. Milliseconds are the finest unit.
QUILLMARK_PLATFORM_API BOOL WINAPI SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime);

// FALSE with ERROR_INVALID_PARAMETER, and the result untouched, when the top bit of the ticks is set. Parts of a
// millisecond are cut off; wDayOfWeek is computed, 0 being Sunday.
QUILLMARK_PLATFORM_API BOOL WINAPI FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime);

// Now, by the system's clock.
QUILLMARK_PLATFORM_API void WINAPI GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime);
QUILLMARK_PLATFORM_API void WINAPI GetSystemTime(LPSYSTEMTIME lpSystemTime);
