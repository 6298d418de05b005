// FrameHead: the 32 bytes that begin every frame, and the sizes of the wire (docs/wire-format.md 1,
// 2).
//
// Threads: pure functions. Errors: ReadHead says why a frame is no part of a message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/devlink/link_observer.h"

namespace devlink {

inline constexpr std::size_t kHeadBytes = 32;
inline constexpr std::size_t kFcsBytes = 4;
inline constexpr std::size_t kMinFrameBytes = kHeadBytes + kFcsBytes;  // content and FCS, unescaped
inline constexpr std::size_t kMaxFrameBytes = 65536;
inline constexpr std::size_t kMaxPayloadBytes = kMaxFrameBytes - kMinFrameBytes;
inline constexpr std::size_t kMaxLineBytes =
    2 * kMaxFrameBytes + 2;  // all escaped, with both flags
inline constexpr std::uint32_t kMaxBodyBytes = 64u * 1024 * 1024;
inline constexpr std::uint8_t kWireVersion = 1;
inline constexpr std::uint8_t kMoreFollows = 0x01;

// The fields of a frame's head in the machine's own order.
struct FrameHead {
  std::uint8_t version = kWireVersion;
  MessageKind kind = MessageKind::kKeepAlive;
  std::uint8_t flags = 0;
  std::uint32_t id = 0;
  std::uint16_t tag = 0;
  std::uint16_t word16 = 0;
  std::uint32_t word32 = 0;
  std::uint32_t result = 0;
  std::uint32_t sequence = 0;
  std::uint32_t bodyLengthBytes = 0;  // of the whole message
  std::uint32_t offsetBytes = 0;      // of this frame's payload in it

  bool MoreFollows() const noexcept { return (flags & kMoreFollows) != 0; }
  // Whether both heads belong to one message: all that its frames have in common is equal.
  bool SameMessage(const FrameHead& other) const noexcept;
};

// Reads the head at the beginning of a frame's content (FCS left out). False when the frame is
// malformed: foreign version or kind, or lengths that do not fit each other. `head` is filled
// either way as far as the bytes go, `payload` only when the answer is true.
bool ReadHead(std::span<const std::uint8_t> content, FrameHead& head,
              std::span<const std::uint8_t>& payload) noexcept;

// Writes kHeadBytes bytes.
void WriteHead(const FrameHead& head, std::uint8_t* to) noexcept;

}  // namespace devlink
