// The one observer of the process, as the link's own code reaches it.
//
// Threads: any.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/devlink/frame_head.h"
#include "platform/devlink/link_observer.h"

namespace devlink {

// Null when nobody observes.
LinkObserver* Observer() noexcept;

// Shows one whole message to the observer, if there is one. `readAt` as TapMessage says.
void Tap(Direction direction, const FrameHead& head, std::span<const std::uint8_t> body,
         std::chrono::steady_clock::time_point readAt = {});

}  // namespace devlink
