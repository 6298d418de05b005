// The three byte values of HDLC-like framing that framer and deframer share.
#pragma once

#include <cstdint>

namespace devlink {
inline constexpr std::uint8_t kFlag = 0x7E;
inline constexpr std::uint8_t kEscape = 0x7D;
inline constexpr std::uint8_t kEscapeXor = 0x20;
}  // namespace devlink
