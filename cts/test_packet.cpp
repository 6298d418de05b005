#include "cts/test_packet.h"

#include <algorithm>

namespace SvcKivClass {
namespace {

constexpr std::uint32_t kLengthOffset = 72;
constexpr std::uint32_t kLengthBytes = 4;

}  // namespace

void FillTestHead(std::uint8_t* packet, std::string_view entryName, std::uint32_t parameterBytes) {
  const std::size_t nameBytes = std::min<std::size_t>(entryName.size(), kEntryNameBytes - 1);
  std::copy_n(entryName.begin(), nameBytes, packet);
  for (std::uint32_t i = 0; i < kLengthBytes; ++i) {
    packet[kLengthOffset + i] = static_cast<std::uint8_t>(parameterBytes >> (8 * i));
  }
}

}  // namespace SvcKivClass
