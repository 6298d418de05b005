#include "platform/devlink/link_timing.h"

#include <mutex>

namespace devlink {

namespace {

std::mutex timingMutex;

LinkTiming& Current() {
  static LinkTiming timing;
  return timing;
}

}  // namespace

LinkTiming GetLinkTiming() {
  const std::lock_guard lock(timingMutex);
  return Current();
}

void SetLinkTiming(const LinkTiming& timing) {
  const std::lock_guard lock(timingMutex);
  Current() = timing;
}

std::string SecondsText(Milliseconds time) {
  std::string text = std::to_string(time.count() / 1000);
  const auto rest = time.count() % 1000;
  if (rest != 0) {
    std::string digits = std::to_string(1000 + rest).substr(1);
    digits.erase(digits.find_last_not_of('0') + 1);
    text += "." + digits;
  }
  return text + " s";
}

}  // namespace devlink
