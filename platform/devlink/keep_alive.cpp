#include "platform/devlink/keep_alive.h"

#include <algorithm>

namespace devlink {

void KeepAlive::Exclude(LinkClock::duration duration, Time now) noexcept {
  for (Time* const since : {&heardAt_, &firstProbeAt_, &lastProbeAt_}) {
    *since = std::min(*since + duration, now);
  }
}

KeepAlive::Due KeepAlive::Ask(Time now) noexcept {
  if (!probing_) {
    if (now - heardAt_ < probeAfter_) return Due::kNothing;
    probing_ = true;
    firstProbeAt_ = lastProbeAt_ = now;
    return Due::kProbe;
  }
  if (now - firstProbeAt_ >= lostAfter_) return Due::kLost;
  if (now - lastProbeAt_ < probeAfter_) return Due::kNothing;
  lastProbeAt_ = now;
  return Due::kProbe;
}

KeepAlive::Time KeepAlive::NextAsk() const noexcept {
  if (!probing_) return heardAt_ + probeAfter_;
  return std::min(firstProbeAt_ + lostAfter_, lastProbeAt_ + probeAfter_);
}

}  // namespace devlink
