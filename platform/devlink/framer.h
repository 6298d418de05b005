// Framer: a head and its payload to the bytes of one frame on the line (docs/wire-format.md 1).
//
// Threads: pure function. Borrows the payload. Errors: none; the caller gives the room.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/devlink/frame_head.h"

namespace devlink {

// The most that EncodeFrame writes for a payload of this length.
constexpr std::size_t EncodedBytesAtMost(std::size_t payloadBytes) noexcept {
  return 2 * (kHeadBytes + payloadBytes + kFcsBytes) + 2;
}

// Writes one whole frame, flags included, and answers its length. `to` has room for
// EncodedBytesAtMost(payload.size()); the payload is at most kMaxPayloadBytes long.
std::size_t EncodeFrame(const FrameHead& head, std::span<const std::uint8_t> payload,
                        std::uint8_t* to) noexcept;

}  // namespace devlink
