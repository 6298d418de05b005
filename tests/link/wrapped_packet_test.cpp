#include "link/wrapped_packet.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

using SvcKivClass::kWrappedCmdId;
using SvcKivClass::ReceivedBody;
using SvcKivClass::Unwrapped;
using SvcKivClass::WrappedHead;
using SvcKivClass::WriteWrappedPacket;
using Bytes = std::vector<std::uint8_t>;

Bytes Counting(std::size_t count, std::uint8_t first) {
  Bytes bytes(count);
  std::iota(bytes.begin(), bytes.end(), first);
  return bytes;
}

TEST(WrappedPacket, HasSequenceIdRouteAndDataInTheirPlaces) {
  const Bytes route = Counting(18, 0xA0);
  const Bytes data = {1, 2, 3};
  Bytes packet(39, 0xEE);
  ASSERT_TRUE(WriteWrappedPacket({0xDDCCBBAA, 0x12345678, route.data()}, data.data(), 3,
                                 packet.data(), 39));
  Bytes expected = {0xAA, 0xBB, 0xCC, 0xDD, 0, 0, 0, 0, 0x78, 0x56, 0, 0};
  expected.insert(expected.end(), route.begin(), route.end());
  expected.insert(expected.end(), 6, 0);
  expected.insert(expected.end(), data.begin(), data.end());
  EXPECT_EQ(packet, expected);
}

TEST(WrappedPacket, MayCarryNoData) {
  const Bytes route = Counting(18, 1);
  Bytes packet(36, 0xEE);
  EXPECT_TRUE(WriteWrappedPacket({0, 0x1001, route.data()}, "", 0, packet.data(), 36));
  EXPECT_EQ(packet[8], 0x01);
  EXPECT_EQ(packet[9], 0x10);
}

TEST(WrappedPacket, IsNotWrittenWhereItDoesNotFit) {
  const Bytes route = Counting(18, 1);
  Bytes packet(39);
  EXPECT_FALSE(WriteWrappedPacket({0, 1, route.data()}, "abcd", 4, packet.data(), 39));
  EXPECT_FALSE(WriteWrappedPacket({0, 1, route.data()}, "", 0, packet.data(), 35));
  EXPECT_FALSE(WriteWrappedPacket({0, 1, nullptr}, "abc", 3, packet.data(), 39));
  EXPECT_FALSE(WriteWrappedPacket({0, 1, route.data()}, nullptr, 3, packet.data(), 39));
}

// A wrapped reply of `length` bytes with sequence 5 and real id 0x1001.
Bytes Reply(std::size_t length) {
  Bytes body(length);
  const Bytes head = {5, 0, 0, 0, 0, 0, 0, 0, 0x01, 0x10};
  for (std::size_t i = 0; i < std::min(length, head.size()); ++i) body[i] = head[i];
  return body;
}

TEST(WrappedReply, LosesItsHead) {
  const Bytes body = Reply(40);
  const ReceivedBody inner = Unwrapped({kWrappedCmdId, body.data(), 40}, 5);
  EXPECT_EQ(inner.cmdId, 0x1001u);
  EXPECT_EQ(inner.body, body.data() + 36);
  EXPECT_EQ(inner.lengthBytes, 4u);
}

TEST(WrappedReply, IsWrappedUpToTheCounterAndNotAbove) {
  const Bytes body = Reply(40);
  EXPECT_EQ(Unwrapped({kWrappedCmdId, body.data(), 40}, 4).cmdId, kWrappedCmdId);
  EXPECT_EQ(Unwrapped({kWrappedCmdId, body.data(), 40}, 4).body, body.data());
  EXPECT_EQ(Unwrapped({kWrappedCmdId, body.data(), 40}, 5).cmdId, 0x1001u);
  EXPECT_EQ(Unwrapped({kWrappedCmdId, body.data(), 40}, 0xFFFFFFFFu).cmdId, 0x1001u);
}

TEST(WrappedReply, ComparesTheWholeSequenceNumber) {
  Bytes body = Reply(40);
  body[3] = 0x80;
  EXPECT_EQ(Unwrapped({kWrappedCmdId, body.data(), 40}, 0x7FFFFFFF).cmdId, kWrappedCmdId);
  EXPECT_EQ(Unwrapped({kWrappedCmdId, body.data(), 40}, 0x80000005).cmdId, 0x1001u);
}

TEST(WrappedReply, OfEveryShorterLengthReadsNothingBeyondItsEnd) {
  for (std::uint32_t length = 0; length < 36; ++length) {
    SCOPED_TRACE(length);
    const Bytes body = Reply(length);  // its own heap block, so the sanitizer sees each over-read
    const ReceivedBody inner = Unwrapped({kWrappedCmdId, body.data(), length}, 5);
    if (length < 4) {
      EXPECT_EQ(inner.cmdId, kWrappedCmdId);
      EXPECT_EQ(inner.body, body.data());
      EXPECT_EQ(inner.lengthBytes, length);
    } else {
      EXPECT_EQ(inner.cmdId, length < 10 ? kWrappedCmdId : 0x1001u);
      EXPECT_EQ(inner.body, nullptr);
      EXPECT_EQ(inner.lengthBytes, 0u);
    }
  }
}

TEST(WrappedReply, OfExactlyTheHeadHasAnEmptyBody) {
  const Bytes body = Reply(36);
  const ReceivedBody inner = Unwrapped({kWrappedCmdId, body.data(), 36}, 5);
  EXPECT_EQ(inner.cmdId, 0x1001u);
  EXPECT_EQ(inner.lengthBytes, 0u);
}

TEST(WrappedReply, IsOnlyWhatComesUnderItsId) {
  const Bytes body = Reply(40);
  const ReceivedBody same = Unwrapped({0x7001, body.data(), 40}, 5);
  EXPECT_EQ(same.cmdId, 0x7001u);
  EXPECT_EQ(same.body, body.data());
  EXPECT_EQ(same.lengthBytes, 40u);
  EXPECT_EQ(Unwrapped({kWrappedCmdId, nullptr, 0}, 5).cmdId, kWrappedCmdId);
}

}  // namespace
