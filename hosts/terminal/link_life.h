// LinkLife: what became of the link so far: its state and since when, what the device said of
// itself, how often it was lost and why.
//
// Threads: none of its own, one caller at a time. Owns its texts. Errors: none.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/devlink/link_observer.h"

namespace kiv {

struct LinkStatus {
  using Time = std::chrono::steady_clock::time_point;

  devlink::LinkState state = devlink::LinkState::kDisconnected;
  std::optional<Time> since;  // unset: nothing was tried yet
  std::string sinceText;      // the local time
  // Of the device that was connected last, also when it is gone; as it came.
  std::optional<devlink::PeerInfo> peer;
  std::string reason;        // why it is not connected now
  std::uint64_t losses = 0;  // of a link that had been up
  std::string lastLossText;  // the local time
  std::string lastLossReason;
};

// Follows the states of one link.
class LinkLife {
 public:
  // `nowText` is the local time of `now`.
  void Changed(const devlink::StateChange& change, LinkStatus::Time now,
               const std::string& nowText);
  const LinkStatus& Status() const { return status_; }

 private:
  LinkStatus status_;
};

}  // namespace kiv
