// TimeStamp: the time that a shown line begins with, local, in the same form in every locale.
//
// Threads: none of its own, one caller at a time. Errors: none; a time that the system cannot
// split is shown as zeros.
#pragma once

#include <chrono>
#include <string_view>

namespace kiv {

enum class StampForm {
  kNone,
  kTime,      // "23:59:59.123 "
  kDateTime,  // "2026-01-31 23:59:59.123 "
};

class TimeStamp {
 public:
  using Clock = std::chrono::system_clock;

  // The text lives until the next call. Most calls are of the second of the one before, which is
  // not worked out again.
  std::string_view Text(Clock::time_point at, StampForm form);

 private:
  std::chrono::sys_seconds second_ = std::chrono::sys_seconds::min();
  char text_[40] = {};
};

}  // namespace kiv
