// The catalogue of the packet tests, compiled from packets.json into a folder of the test's own.
//
// Threads: one test. Owns the folder. Errors: a catalogue that cannot be compiled fails the test.
#ifndef TESTS_COMMAND_PACKET_PACKET_CATALOGUE_H_
#define TESTS_COMMAND_PACKET_PACKET_CATALOGUE_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "command/packet/diag_packet.h"
#include "tests/support/hex.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/tree_paths.h"

namespace kivtest {

inline constexpr std::uint32_t kThree = 4097;
inline constexpr std::uint32_t kLists = 4098;
inline constexpr std::uint32_t kNested = 4099;
inline constexpr std::uint32_t kText = 4100;
inline constexpr std::uint32_t kBareText = 4101;
inline constexpr std::uint32_t kAsk = 4102;
inline constexpr std::uint32_t kNull = 4103;
inline constexpr std::uint32_t kUnknown = 0xABCD;

class PacketCatalogue : public testing::Test {
 protected:
  void SetUp() override {
    const std::string command = std::string("'") + BuildDir() + "/bin/kivcat' build '" +
                                SourceDir() + "/tests/command/packet/packets.json' -o '" +
                                folder_.Path("packets.kcat") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }

  QCString Path() const { return QCString::FromUtf8(folder_.Path("packets.kcat")); }

  ScratchFolder folder_;
};

inline std::string BodyOf(const SvcKivClass::DiagPacket& packet) {
  return ToHex(packet.Body(), packet.BodyLengthBytes());
}

inline std::string ReplyOf(const SvcKivClass::DiagPacket& packet) {
  return packet.Reply().ToUtf8();
}

}  // namespace kivtest

#endif  // TESTS_COMMAND_PACKET_PACKET_CATALOGUE_H_
