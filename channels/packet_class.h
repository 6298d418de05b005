// The command ids of the text channels: they depend on the protocol variant of the device, and each
// packet-encapsulation class of the device's software has a set of its own.
//
// Threads: any; no state.
#pragma once

#include <cstdint>

namespace SvcKivClass {

// The ids of one packet-encapsulation class.
struct DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS {
  std::uint32_t atRequest;
  std::uint32_t atAnswer;
  std::uint32_t shellRequest;
  std::uint32_t shellAnswer;
};

// The class of a protocol variant: 246, 248 and 249 have one of their own, every other number has
// the base class.
DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS PacketClassOf(std::uint32_t variant);
// The class of what the version query answers now.
DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS CurrentPacketClass();

// Ids that are the same under every variant.
inline constexpr std::uint32_t kHciId = 0x7E0C;          // request and answer
inline constexpr std::uint32_t kTestRequestId = 0x500C;  // and its confirmation
inline constexpr std::uint32_t kTestTextId = 0xA010;

// Variant and product that switch a channel's behaviour.
inline constexpr std::uint32_t kHciVariant = 246;
inline constexpr std::uint32_t kRawShellProduct = 38;

}  // namespace SvcKivClass
