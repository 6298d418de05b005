// KeepAlive: decides when to probe a silent device and when to give it up (docs/wire-format.md 7).
//
// It has no clock of its own: every call says what time it is. Time in which nobody read, because
// the view was waited for or the process stood still, is taken out by Exclude and counts for
// nothing.
//
// Threads: one object for one thread. Errors: none.
#pragma once

#include "platform/devlink/link_timing.h"

namespace devlink {

// Decides when to probe and when the link is lost; has no clock of its own.
class KeepAlive {
 public:
  enum class Due { kNothing, kProbe, kLost };
  using Time = LinkClock::time_point;

  KeepAlive(const LinkTiming& timing, Time now)
      : probeAfter_(timing.probeAfter), lostAfter_(timing.lostAfter), heardAt_(now) {}

  // A sound frame came.
  void Heard(Time now) noexcept {
    heardAt_ = now;
    probing_ = false;
  }
  // `duration` before `now` does not count as silence.
  void Exclude(LinkClock::duration duration, Time now) noexcept;
  // With kProbe the caller sends a probe now, or counts it as sent if nothing can be written.
  Due Ask(Time now) noexcept;
  // When Ask may have something to say again.
  Time NextAsk() const noexcept;

 private:
  LinkClock::duration probeAfter_;
  LinkClock::duration lostAfter_;
  Time heardAt_;
  bool probing_ = false;
  Time firstProbeAt_{};
  Time lastProbeAt_{};
};

}  // namespace devlink
