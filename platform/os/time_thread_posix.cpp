#include <unistd.h>

#include <chrono>
#include <ctime>
#include <thread>

#include "platform/os/time_thread.h"

void Sleep(DWORD delayMs) { std::this_thread::sleep_for(std::chrono::milliseconds(delayMs)); }

void GetSystemTime(SYSTEMTIME* time) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  time->wYear = static_cast<std::uint16_t>(parts.tm_year + 1900);
  time->wMonth = static_cast<std::uint16_t>(parts.tm_mon + 1);
  time->wDayOfWeek = static_cast<std::uint16_t>(parts.tm_wday);
  time->wDay = static_cast<std::uint16_t>(parts.tm_mday);
  time->wHour = static_cast<std::uint16_t>(parts.tm_hour);
  time->wMinute = static_cast<std::uint16_t>(parts.tm_min);
  time->wSecond = static_cast<std::uint16_t>(parts.tm_sec);
  time->wMilliseconds = static_cast<std::uint16_t>(now.tv_nsec / 1'000'000);
}

DWORD GetCurrentThreadId() { return static_cast<DWORD>(gettid()); }
