#include "hosts/terminal/time_stamp.h"

#include <cstdio>
#include <ctime>

#include "platform/os/local_time.h"

namespace kiv {
namespace {

constexpr std::size_t kDateChars = 11;  // and the blank behind it
constexpr std::size_t kMillisAt = 20;
constexpr std::size_t kStampChars = 24;

}  // namespace

std::string_view TimeStamp::Text(Clock::time_point at, StampForm form) {
  if (form == StampForm::kNone) return {};
  const auto second = std::chrono::floor<std::chrono::seconds>(at);
  if (second != second_) {
    second_ = second;
    const std::tm local = os::LocalTime(Clock::to_time_t(second));
    std::snprintf(text_, sizeof text_, "%04d-%02d-%02d %02d:%02d:%02d.000 ",
                  (local.tm_year + 1900) % 10000, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                  local.tm_min, local.tm_sec);
  }
  int millis = static_cast<int>(std::chrono::floor<std::chrono::milliseconds>(at - second).count());
  for (std::size_t i = 3; i-- > 0; millis /= 10) {
    text_[kMillisAt + i] = static_cast<char>('0' + millis % 10);
  }
  const std::string_view whole(text_, kStampChars);
  return form == StampForm::kDateTime ? whole : whole.substr(kDateChars);
}

}  // namespace kiv
