// The ids of the text channels by protocol variant.
#include "channels/packet_class.h"

#include <gtest/gtest.h>

#include "platform/base/version_query.h"
#include "tests/fakes/module_bench.h"

namespace {

using SvcKivClass::CurrentPacketClass;
using SvcKivClass::PacketClassOf;
using Ids = SvcKivClass::DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS;

std::vector<std::uint32_t> ListOf(const Ids& ids) {
  return {ids.atRequest, ids.atAnswer, ids.shellRequest, ids.shellAnswer};
}

const std::vector<std::uint32_t> kBase = {0x500D, 0xA011, 0x500E, 0xA012};
const std::vector<std::uint32_t> k249 = {0x705, 0x4005, 0x805, 0x4105};

TEST(PacketClass, HasIdsOfItsOwnOnVariant249Alone) {
  for (const std::uint32_t variant : {0u, 1u, 245u, 246u, 247u, 248u, 250u, 0xFFFFFFFFu}) {
    EXPECT_EQ(ListOf(PacketClassOf(variant)), kBase) << variant;
  }
  EXPECT_EQ(ListOf(PacketClassOf(249)), k249);
}

TEST(PacketClass, FollowsWhatTheConnectedDeviceSays) {
  kivtest::ScratchSetup setup;
  EXPECT_EQ(ListOf(CurrentPacketClass()), kBase);
  version_query::NoteDevice(249, 0);
  EXPECT_EQ(ListOf(CurrentPacketClass()), k249);
  version_query::NoteDevice(-1, -1);
  EXPECT_EQ(ListOf(CurrentPacketClass()), kBase);
}

}  // namespace
