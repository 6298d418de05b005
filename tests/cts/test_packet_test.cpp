// The head of a test case's packet.
#include "cts/test_packet.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using SvcKivClass::FillTestHead;

std::vector<std::uint8_t> HeadOf(const std::string& name, std::uint32_t lengthBytes) {
  std::vector<std::uint8_t> packet(SvcKivClass::kTestHeadBytes, 0);
  FillTestHead(packet.data(), name, lengthBytes);
  return packet;
}

std::vector<std::uint8_t> Expected(const std::string& name,
                                   const std::vector<std::uint8_t>& length) {
  std::vector<std::uint8_t> packet(name.begin(), name.end());
  packet.resize(72, 0);
  packet.insert(packet.end(), length.begin(), length.end());
  return packet;
}

TEST(TestPacket, HasTheNameInFrontAndTheLengthBehind) {
  EXPECT_EQ(HeadOf("echo", 0x01020304), Expected("echo", {4, 3, 2, 1}));
  EXPECT_EQ(HeadOf("", 0), Expected("", {0, 0, 0, 0}));
  EXPECT_EQ(HeadOf("x", 0xFFFFFFB3), Expected("x", {0xB3, 0xFF, 0xFF, 0xFF}));
}

TEST(TestPacket, CutsANameAt63Bytes) {
  const std::string name = "0123456789012345678901234567890123456789012345678901234567890123456789";
  ASSERT_EQ(name.size(), 70u);
  EXPECT_EQ(HeadOf(name.substr(0, 63), 1), Expected(name.substr(0, 63), {1, 0, 0, 0}));
  EXPECT_EQ(HeadOf(name, 1), Expected(name.substr(0, 63), {1, 0, 0, 0}));
}

}  // namespace
