// The wrapped packet: command data under a 36-byte routing head, little-endian, posted under
// command id 0x7000 when the caller gives a route, and received under it from devices behind one.
//
//   offset  size  field
//        0     4  sequence number of the client
//        4     4  zero (the top bit of byte 7 marks a kind that is never sent)
//        8     2  the real command id
//       10     2  zero
//       12    18  routing header: three hops of six bytes
//       30     6  zero
//       36     n  command data
//
// Threads: any; no state. Owns nothing.
#pragma once

#include <cstdint>

namespace SvcKivClass {

inline constexpr std::uint32_t kWrappedCmdId = 0x7000;
inline constexpr std::uint32_t kWrappedHeadBytes = 36;
inline constexpr std::uint32_t kRoutingHeaderBytes = 18;

// What goes into the head. The routing header is borrowed.
struct WrappedHead {
  std::uint32_t sequence;
  std::uint32_t cmdId;
  const std::uint8_t* routingHeader;  // kRoutingHeaderBytes bytes
};

// Writes head and data into `packet`, which must be exactly head and data long. False when a copy
// does not fit; the packet's content is then of no use.
bool WriteWrappedPacket(const WrappedHead& head, const void* data, std::uint32_t dataLengthBytes,
                        std::uint8_t* packet, std::uint32_t packetBytes);

// A received body, before and after unwrapping. The body is borrowed.
struct ReceivedBody {
  std::uint32_t cmdId;
  const std::uint8_t* body;
  std::uint32_t lengthBytes;
};

// Takes the head off a wrapped reply whose sequence number is not above `counter`; anything else
// stays as it is. A body shorter than the head becomes empty; one that ends before the real id
// keeps 0x7000.
ReceivedBody Unwrapped(const ReceivedBody& received, std::uint32_t counter);

}  // namespace SvcKivClass
