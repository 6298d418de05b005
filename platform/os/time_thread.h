// The named time and thread services.
//
// Threads: any.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdint>

#include "platform/os/files.h"
#include "platform/platform_export.h"

// A point in time, field by field, as the named service has it.
struct SYSTEMTIME {
  std::uint16_t wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

KIVPLATFORM_API void Sleep(DWORD delayMs);
// UTC.
KIVPLATFORM_API void GetSystemTime(SYSTEMTIME* time);
KIVPLATFORM_API DWORD GetCurrentThreadId();
#endif
