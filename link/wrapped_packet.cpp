#include "link/wrapped_packet.h"

#include "platform/bounded/bounded.h"

namespace SvcKivClass {
namespace {

constexpr std::uint32_t kSequenceOffset = 0;
constexpr std::uint32_t kKindBitOffset = 7;
constexpr std::uint32_t kCmdIdOffset = 8;
constexpr std::uint32_t kRouteOffset = 12;

void StoreLittleEndian(std::uint8_t* to, std::uint32_t value, std::uint32_t widthBytes) {
  for (std::uint32_t i = 0; i < widthBytes; ++i)
    to[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint32_t LoadLittleEndian(const std::uint8_t* from, std::uint32_t widthBytes) {
  std::uint32_t value = 0;
  for (std::uint32_t i = 0; i < widthBytes; ++i) value |= std::uint32_t{from[i]} << (8 * i);
  return value;
}

}  // namespace

bool WriteWrappedPacket(const WrappedHead& head, const void* data, std::uint32_t dataLengthBytes,
                        std::uint8_t* packet, std::uint32_t packetBytes) {
  if (packetBytes < kWrappedHeadBytes) return false;
  if (bounded::memset_s(packet, packetBytes, 0, packetBytes) != 0) return false;
  StoreLittleEndian(packet + kSequenceOffset, head.sequence, 4);
  packet[kKindBitOffset] &= 0x7F;
  StoreLittleEndian(packet + kCmdIdOffset, head.cmdId, 2);
  if (bounded::memcpy_s(packet + kRouteOffset, kRoutingHeaderBytes, head.routingHeader,
                        kRoutingHeaderBytes) != 0) {
    return false;
  }
  return dataLengthBytes == 0 ||
         bounded::memcpy_s(packet + kWrappedHeadBytes, packetBytes - kWrappedHeadBytes, data,
                           dataLengthBytes) == 0;
}

ReceivedBody Unwrapped(const ReceivedBody& received, std::uint32_t counter) {
  if (received.cmdId != kWrappedCmdId || received.body == nullptr) return received;
  if (received.lengthBytes < kSequenceOffset + 4) return received;
  if (LoadLittleEndian(received.body + kSequenceOffset, 4) > counter) return received;
  ReceivedBody inner{received.cmdId, nullptr, 0};
  if (received.lengthBytes >= kCmdIdOffset + 2) {
    inner.cmdId = LoadLittleEndian(received.body + kCmdIdOffset, 2);
  }
  if (received.lengthBytes >= kWrappedHeadBytes) {
    inner.body = received.body + kWrappedHeadBytes;
    inner.lengthBytes = received.lengthBytes - kWrappedHeadBytes;
  }
  return inner;
}

}  // namespace SvcKivClass
