#include "hosts/terminal/link_life.h"

namespace kiv {

using devlink::LinkState;

void LinkLife::Changed(const devlink::StateChange& change, LinkStatus::Time now,
                       const std::string& nowText) {
  const bool wasUp = status_.state == LinkState::kConnected;
  const std::string reason = change.reason != nullptr ? change.reason : "";
  if (wasUp && change.state != LinkState::kConnected) {
    ++status_.losses;
    status_.lastLossText = nowText;
    status_.lastLossReason = reason;
  }
  if (!status_.since || change.state != status_.state) {
    status_.since = now;
    status_.sinceText = nowText;
  }
  status_.state = change.state;
  // An attempt that begins says nothing; why the one before failed still holds.
  if (change.state != LinkState::kConnecting) status_.reason = reason;
  if (change.peer != nullptr) status_.peer = *change.peer;
}

}  // namespace kiv
