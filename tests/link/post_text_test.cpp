// Posting with a routing header: every status, every limit, and the wrapped packet byte for byte.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "link/wrapped_packet.h"
#include "platform/bounded/pool.h"
#include "tests/link/client_bench.h"
#include "tests/support/hex.h"

namespace {

using fake::Post;
using fake::PostKind;
using kivtest::ClientBench;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kNoRoute[18] = {};
constexpr std::uint8_t kRoute[18] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
const std::string kRouteHex = "0102030405060708090a0b0c0d0e0f101112";

std::uint32_t PostOf(ClientBench& bench, std::uint32_t lengthBytes, const std::uint8_t* route) {
  const Bytes data(lengthBytes == 0 ? 1 : lengthBytes, 0xAB);
  return bench.client->PostDiagCmd(0x1001, data.data(), lengthBytes, route, 0x1234);
}

TEST(PostWithARoute, RefusesNullDataBeforeAnythingElse) {
  ClientBench bench;
  bench.switches.ueConnectStatus = 0;
  EXPECT_EQ(bench.client->PostDiagCmd(1, nullptr, 0, kRoute, 0), 0xFFFFFFFFu);
  EXPECT_EQ(bench.client->PostDiagCmd(1, nullptr, 9999, nullptr, 0), 0xFFFFFFFFu);
  EXPECT_EQ(fake::Posts(), std::vector<Post>());
}

TEST(PostWithARoute, AsksForTheConnectionBeforeTheLength) {
  ClientBench bench;
  bench.switches.ueConnectStatus = 0;
  EXPECT_EQ(PostOf(bench, 2049, kNoRoute), 502u);
  EXPECT_EQ(PostOf(bench, 1, kRoute), 502u);
  bench.switches.ueConnectStatus = -1;
  EXPECT_EQ(PostOf(bench, 1, kRoute), 0u);
}

TEST(PostWithARoute, TakesTwoThousandAndFortyEightPlainBytesAndNotOneMore) {
  ClientBench bench;
  EXPECT_EQ(PostOf(bench, 2047, kNoRoute), 0u);
  EXPECT_EQ(PostOf(bench, 2048, kNoRoute), 0u);
  EXPECT_EQ(PostOf(bench, 2049, kNoRoute), 22u);
  ASSERT_EQ(fake::Posts().size(), 2u);
  EXPECT_EQ(fake::Posts()[1], (Post{PostKind::kCmd, 0x1001, Bytes(2048, 0xAB), 0x1234, 0, 0}));
}

TEST(PostWithARoute, TakesTwoThousandAndTwelveWrappedBytesAndNotOneMore) {
  ClientBench bench;
  EXPECT_EQ(PostOf(bench, 2012, kRoute), 0u);
  EXPECT_EQ(PostOf(bench, 2013, kRoute), 22u);
  EXPECT_EQ(PostOf(bench, 2048, kRoute), 22u);
  EXPECT_EQ(PostOf(bench, 2049, kRoute), 22u);
  ASSERT_EQ(fake::Posts().size(), 1u);
  EXPECT_EQ(fake::Posts()[0].body.size(), 2048u);
}

TEST(PostWithARoute, WritesTheHeadByteForByte) {
  ClientBench bench;
  EXPECT_EQ(bench.client->PostDiagCmd(0x12345678, "\x7E\x01", 2, kRoute, 0xFFFE), 0u);
  EXPECT_EQ(bench.client->PostDiagCmd(0x1001, "", 0, kRoute, 7), 0u);
  const std::vector<Post> posts = fake::Posts();
  ASSERT_EQ(posts.size(), 2u);
  EXPECT_EQ(kivtest::ToHex(posts[0].body),
            "00000000"
            "00000000"
            "7856"
            "0000" +
                kRouteHex +
                "000000000000"
                "7e01");
  EXPECT_EQ(kivtest::ToHex(posts[1].body),
            "01000000"
            "00000000"
            "0110"
            "0000" +
                kRouteHex + "000000000000");
  for (const Post& post : posts) {
    EXPECT_EQ(post.kind, PostKind::kCmd);
    EXPECT_EQ(post.cmdId, 0x7000u);
    EXPECT_EQ(post.word16, 0);
    EXPECT_EQ(post.word, 0u);
  }
  EXPECT_EQ(posts[0].tag, 0xFFFE);
  EXPECT_EQ(posts[1].tag, 7);
}

TEST(PostWithARoute, CountsInFourBytesLittleEnd) {
  ClientBench bench;
  for (int i = 0; i < 258; ++i) EXPECT_EQ(PostOf(bench, 1, kRoute), 0u);
  EXPECT_EQ(kivtest::ToHex(fake::Posts()[255].body.data(), 4), "ff000000");
  EXPECT_EQ(kivtest::ToHex(fake::Posts()[257].body.data(), 4), "01010000");
}

TEST(PostWithARoute, PostsPlainWhenTheFirstSixBytesAreZeroAndWrapsForAnyOfThem) {
  for (int place = 0; place < 18; ++place) {
    ClientBench bench;
    std::uint8_t route[18] = {};
    route[place] = 1;
    EXPECT_EQ(PostOf(bench, 3, route), 0u);
    ASSERT_EQ(fake::Posts().size(), 1u);
    EXPECT_EQ(fake::Posts()[0].cmdId, place < 6 ? 0x7000u : 0x1001u) << place;
    EXPECT_EQ(fake::Posts()[0].body.size(), place < 6 ? 39u : 3u) << place;
  }
}

TEST(PostWithARoute, ANullRouteIsAllZero) {
  ClientBench bench;
  EXPECT_EQ(bench.client->PostDiagCmd(0x1001, "abc", 3, nullptr, 5), 0u);
  EXPECT_EQ(fake::Posts(), (std::vector<Post>{{PostKind::kCmd, 0x1001, {'a', 'b', 'c'}, 5, 0, 0}}));
}

TEST(PostWithARoute, PlainPostsDoNotAdvanceTheCounter) {
  ClientBench bench;
  PostOf(bench, 1, kNoRoute);
  PostOf(bench, 2013, kRoute);
  PostOf(bench, 1, kRoute);
  EXPECT_EQ(kivtest::ToHex(fake::Posts().back().body.data(), 4), "00000000");
}

TEST(PostWithARoute, AFailedPostAdvancesTheCounterAndPassesItsStatusOn) {
  ClientBench bench;
  fake::SetPostStatus(77);
  EXPECT_EQ(PostOf(bench, 1, kRoute), 77u);
  EXPECT_EQ(PostOf(bench, 1, kNoRoute), 77u);
  fake::SetPostStatus(0);
  PostOf(bench, 1, kRoute);
  EXPECT_EQ(kivtest::ToHex(fake::Posts().back().body.data(), 4), "01000000");
}

TEST(PostWithARoute, WithoutMemoryAnswersSoAndConsumesNoNumber) {
  ClientBench bench;
  const std::uint64_t blocks = pool::LiveBlocks();
  pool::FailNth(1);
  EXPECT_EQ(PostOf(bench, 1, kRoute), 500u);
  pool::FailNth(0);
  EXPECT_EQ(fake::Posts(), std::vector<Post>());
  EXPECT_EQ(PostOf(bench, 1, kRoute), 0u);
  EXPECT_EQ(kivtest::ToHex(fake::Posts().back().body.data(), 4), "00000000");
  EXPECT_EQ(pool::LiveBlocks(), blocks);
}

TEST(PostWithARoute, TakesOnePoolBlockOfThePacketsSizeAndGivesItBack) {
  ClientBench bench;
  const std::size_t before = fake::Calls().size();
  fake::RecordPool(true);
  PostOf(bench, 5, kRoute);
  fake::SetPostStatus(9);
  PostOf(bench, 0, kRoute);
  PostOf(bench, 5, kNoRoute);
  fake::RecordPool(false);
  const std::vector<std::string> calls = fake::Calls();
  EXPECT_EQ(
      std::vector<std::string>(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()),
      (std::vector<std::string>{"PoolMalloc(41)", "PoolFree()", "PoolMalloc(36)", "PoolFree()"}));
}

TEST(PostWithARoute, CountsAcceptedPostsWithTheCallersLength) {
  ClientBench bench;
  PostOf(bench, 10, kRoute);  // no profile yet
  CTransferProfile& profile = bench.InstallProfile();
  PostOf(bench, 10, kRoute);
  PostOf(bench, 7, kNoRoute);
  PostOf(bench, 2013, kRoute);
  fake::SetPostStatus(9);
  PostOf(bench, 100, kRoute);
  PostOf(bench, 100, kNoRoute);
  EXPECT_EQ(profile.TxCount(), 2u);
  EXPECT_EQ(profile.TxBytes(), 17u);
  EXPECT_EQ(profile.RecvCount(), 0u);
}

TEST(WrappedHead, IsRefusedForABufferOfAnotherSize) {
  Bytes packet(38, 0xEE);
  const SvcKivClass::WrappedHead head = {1, 2, kRoute};
  EXPECT_FALSE(SvcKivClass::WriteWrappedPacket(head, "abc", 3, packet.data(), 38));
  EXPECT_TRUE(SvcKivClass::WriteWrappedPacket(head, "ab", 2, packet.data(), 38));
  EXPECT_EQ(kivtest::ToHex(packet),
            "01000000"
            "00000000"
            "0200"
            "0000" +
                kRouteHex +
                "000000000000"
                "6162");
}

TEST(WrappedHead, CarriesTheWholeCounter) {
  Bytes packet(36, 0xEE);
  const SvcKivClass::WrappedHead head = {0xFEDCBA98u, 0xFFFF7007u, kRoute};
  ASSERT_TRUE(SvcKivClass::WriteWrappedPacket(head, "", 0, packet.data(), 36));
  EXPECT_EQ(kivtest::ToHex(packet.data(), 12),
            "98badcfe"
            "00000000"
            "0770"
            "0000");
}

}  // namespace
