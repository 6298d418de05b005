#include "channels/packet_class.h"

#include "platform/base/version_query.h"

namespace SvcKivClass {
namespace {

using PacketClass = DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS;

constexpr PacketClass kBaseClass = {0x500D, 0xA011, 0x500E, 0xA012};

// The variants that have a class of their own.
struct VariantRow {
  std::uint32_t variant;
  PacketClass ids;
};
constexpr VariantRow kVariants[] = {
    {246, {0x500D, 0xA011, 0x500E, 0xA012}},
    {248, {0x500D, 0xA011, 0x500E, 0xA012}},
    {249, {0x705, 0x4005, 0x805, 0x4105}},
};

}  // namespace

PacketClass PacketClassOf(std::uint32_t variant) {
  for (const VariantRow& row : kVariants) {
    if (row.variant == variant) return row.ids;
  }
  return kBaseClass;
}

PacketClass CurrentPacketClass() { return PacketClassOf(CVersion::GetVersion()); }

}  // namespace SvcKivClass
