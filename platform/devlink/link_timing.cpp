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

}  // namespace devlink
