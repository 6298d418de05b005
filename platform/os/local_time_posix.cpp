#include <cstdio>
#include <ctime>

#include "platform/os/local_time.h"

namespace os {

std::tm LocalTime(std::time_t at) {
  std::tm parts{};
  return localtime_r(&at, &parts) != nullptr ? parts : std::tm{};
}

std::string LocalTimeText() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::tm parts = LocalTime(now.tv_sec);
  char text[128];
  std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d.%03d", parts.tm_year + 1900,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<int>(now.tv_nsec / 1'000'000));
  return text;
}

}  // namespace os
