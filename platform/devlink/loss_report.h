// LossReport: what a session lost, as lines for a person, not more often than they can read.
//
// Threads: one object for one thread. Errors: none.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/devlink/link_timing.h"

namespace devlink {

// One kind of loss each; the texts stand in the same order in loss_report.cpp.
enum class Loss : std::size_t {
  kDamagedFrames,
  kMalformedFrames,
  kLostFrames,
  kRepeatedFrames,
  kAbandonedMessages,
  kIndicationsDropped,
  kDeviceBadFrames,
  kDeviceLostFrames,
  kDeviceRepeatedFrames,
  kDeviceAbandoned,
  kCount
};

// Turns counted losses into few lines for people.
class LossReport {
 public:
  // `total` is the count of this kind since the session began.
  void Set(Loss loss, std::uint64_t total) noexcept {
    totals_[static_cast<std::size_t>(loss)] = total;
  }
  std::uint64_t Get(Loss loss) const noexcept { return totals_[static_cast<std::size_t>(loss)]; }

  // One line about what grew since the last line; nothing when nothing did, or when the last line
  // is younger than `noticeEvery`.
  std::optional<std::string> Line(LinkClock::time_point now, Milliseconds noticeEvery);

 private:
  using Totals = std::array<std::uint64_t, static_cast<std::size_t>(Loss::kCount)>;
  Totals totals_{};
  Totals told_{};
  std::optional<LinkClock::time_point> toldAt_;
};

}  // namespace devlink
