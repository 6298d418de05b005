// One command from its parameter text to body and reply.
#include "command/packet/diag_packet.h"

#include <string>
#include <string_view>

#include "platform/bounded/pool.h"
#include "tests/command/packet/packet_catalogue.h"

using namespace kivtest;
using SvcKivClass::DiagPacket;
using SvcKivClass::PostFailureText;

namespace {

const std::string kStars = "********************";
const std::string kLineRefused = "*** Failed to parse the diag command parameters (1).";
const std::string kTreeRefused = "*** Failed to parse the diag command parameters (2).\n";
const std::string kDepthText =
    "The depth of the parameters line does not match that of the default parameters tree.\n"
    "The index of current parameter is %d.\n";

class DiagPacketTest : public PacketCatalogue {
 protected:
  // All steps up to the first that fails: "body HEX" or "refused STATUS REPLY".
  std::string Built(std::uint32_t cmdId, std::string_view rest) {
    DiagPacket packet(cmdId, Path());
    std::uint32_t status = packet.QueryDefaults();
    packet.SplitRest(QCString::FromUtf8(rest));
    if (status == 0) status = packet.FillParameters();
    if (status == 0) status = packet.Encode();
    if (status == 0) return "body " + BodyOf(packet);
    return "refused " + std::to_string(status) + " " + ReplyOf(packet);
  }

  // What is shown of the parameters.
  std::string Shown(std::uint32_t cmdId, std::string_view rest,
                    const SvcKivClass::RenderFlags& flags = {}) {
    DiagPacket packet(cmdId, Path());
    EXPECT_EQ(packet.QueryDefaults(), 0u);
    packet.SplitRest(QCString::FromUtf8(rest));
    EXPECT_EQ(packet.FillParameters(), 0u);
    const std::string shown = packet.DisplayInputParams(flags).ToUtf8();
    EXPECT_EQ(ReplyOf(packet), shown);
    return shown;
  }
};

std::string Display(const std::string& rows) {
  return "Input Parameters:\n" + kStars + rows + "\n" + kStars + "\n";
}

}  // namespace

TEST_F(DiagPacketTest, UnknownCommandIsToldWithHexadecimalIdAndDecimalStatus) {
  DiagPacket packet(kUnknown, Path());
  const std::uint32_t status = packet.QueryDefaults();
  ASSERT_NE(status, 0u);
  EXPECT_EQ(ReplyOf(packet),
            "*** Failed to find valid packet (id=0xabcd, ret=" + std::to_string(status) +
                "). Maybe the parameter is invalid or the ID does not exist. \n");
}

TEST_F(DiagPacketTest, MissingCatalogueIsToldTheSameWay) {
  DiagPacket packet(0xFFFFFFFF, QCString::FromUtf8(folder_.Path("none.kcat")));
  EXPECT_EQ(packet.QueryDefaults(), 51u);
  EXPECT_EQ(ReplyOf(packet),
            "*** Failed to find valid packet (id=0xffffffff, ret=51). Maybe the parameter is "
            "invalid or the ID does not exist. \n");
}

TEST_F(DiagPacketTest, EmptyTextSendsTheDefaults) {
  EXPECT_EQ(Built(kThree, ""), "body 05feff005ed0b2");
  EXPECT_EQ(Built(kLists, ""), "body 010a0014001e00");
}

TEST_F(DiagPacketTest, TypedValuesReplaceDefaultsInTheirOrder) {
  EXPECT_EQ(Built(kThree, "1,2,3"), "body 01020003000000");
  EXPECT_EQ(Built(kThree, "1"), "body 01feff005ed0b2");
  EXPECT_EQ(Built(kThree, ",,7"), "body 05feff07000000");
  EXPECT_EQ(Built(kThree, "{300,-1,0x10}"), "body 2cffff10000000");
}

TEST_F(DiagPacketTest, ArraysAndNestedStructuresAreFilled) {
  EXPECT_EQ(Built(kLists, "2,[1,,0x102]"), "body 02010014000201");
  EXPECT_EQ(Built(kNested, "{{1,2},{{3,4},{5,6}},7}"), "body 01020304050607");
  EXPECT_EQ(Built(kNested, "1,2,3,4,5,6,7"), "body 01020304050607");
}

TEST_F(DiagPacketTest, CommandWithoutARequestHasAnEmptyBody) {
  DiagPacket packet(kAsk, Path());
  ASSERT_EQ(packet.QueryDefaults(), 0u);
  packet.SplitRest(L"");
  ASSERT_EQ(packet.FillParameters(), 0u);
  ASSERT_EQ(packet.Encode(), 0u);
  EXPECT_NE(packet.Body(), nullptr);
  EXPECT_EQ(packet.BodyLengthBytes(), 0u);
}

TEST_F(DiagPacketTest, LineThatCannotBeReadIsFailureOne) {
  EXPECT_EQ(Built(kThree, "{1,2"), "refused 2 " + kLineRefused + "the last '}' is missing.\n");
  EXPECT_EQ(Built(kThree, "@none.txt"), "refused 2 " + kLineRefused + "none.txt does not exist.\n");
}

TEST_F(DiagPacketTest, TreeThatCannotBeFilledIsFailureTwo) {
  EXPECT_EQ(Built(kThree, "1,x"),
            "refused 2 " + kTreeRefused +
                "Failed to translate x to wexUint32.\nThe index of current parameter is %d.\n");
  EXPECT_EQ(Built(kThree, "{{1}}"), "refused 2 " + kTreeRefused + kDepthText);
  EXPECT_EQ(Built(kLists, "1"), "refused 2 " + kTreeRefused +
                                    "The parameters line is endThe index of current parameter is "
                                    "2.\n");
}

TEST_F(DiagPacketTest, WhatTheUserTypedIsNotTakenForAMarker) {
  EXPECT_EQ(Built(kThree, "%1"),
            "refused 2 " + kTreeRefused +
                "Failed to translate %1 to wexUint32.\nThe index of current parameter is %d.\n");
  EXPECT_EQ(Built(kLists, "1,[%2]"),
            "refused 2 " + kTreeRefused +
                "Failed to translate %2 to wexUint32.\nThe index of current parameter is 2.\n");
}

TEST_F(DiagPacketTest, FailureWithoutATextShowsNoOlderOne) {
  EXPECT_EQ(Built(kThree, "x").substr(0, 10), "refused 2 ");
  const std::string shortFile = folder_.Write("short.bin", "abc");
  EXPECT_EQ(Built(kLists, "1,$(B<" + shortFile + ")"),
            "refused 2 " + kTreeRefused + "The index of current parameter is 2.\n");
}

TEST_F(DiagPacketTest, PathIsTakenOffBeforeTheParametersAreRead) {
  DiagPacket packet(kThree, Path());
  ASSERT_EQ(packet.QueryDefaults(), 0u);
  packet.SplitRest(L"1,2,3 -rf 00:11:22:33:44:55");
  EXPECT_EQ(packet.Rest(), L"1,2,3");
  EXPECT_EQ(packet.MacPath(), L"FF:FF:FF:FF:FF:FF->00:11:22:33:44:55");
  ASSERT_EQ(packet.FillParameters(), 0u);
  ASSERT_EQ(packet.Encode(), 0u);
  EXPECT_EQ(BodyOf(packet), "01020003000000");
}

TEST_F(DiagPacketTest, SecondOptionOfATreeCommandIsNoParameter) {
  EXPECT_EQ(Built(kThree, "1 -r a -d 5").substr(0, 10), "refused 2 ");
  EXPECT_EQ(Built(kThree, "-r 00:11:22:33:44:55"), "body 05feff005ed0b2");
}

TEST_F(DiagPacketTest, ParametersAreShownBetweenStars) {
  EXPECT_EQ(Shown(kThree, "1,2"), Display(".small  = 1 \n"
                                          ".offset = 2 \n"
                                          ".large  = 3000000000 \n"));
}

TEST_F(DiagPacketTest, DisplayFlagsReachTheParameters) {
  EXPECT_EQ(Shown(kLists, "255,[1,2,3]", {true, true, true}),
            Display(".head  = 0xff  \n.items = 0x0001,0x0002,0x0003  u16\n"));
}

TEST_F(DiagPacketTest, CommandWithoutParametersShowsNothingBetweenTheStars) {
  EXPECT_EQ(Shown(kAsk, ""), Display(""));
}

TEST_F(DiagPacketTest, StructureNamedAsEmptyIsShownAllTheSame) {
  EXPECT_EQ(Shown(kNull, "4"), Display(".kept = 4 \n"));
}

TEST_F(DiagPacketTest, LaterFailureIsAppendedToWhatWasShown) {
  DiagPacket packet(kText, Path());
  ASSERT_EQ(packet.QueryDefaults(), 0u);
  packet.SplitRest(L"hello");
  packet.DisplayInputParams({});
  const std::string shown = ReplyOf(packet);
  pool::FailNth(1);
  EXPECT_EQ(packet.Encode(), 500u);
  EXPECT_TRUE(pool::Failed());
  pool::FailNth(0);
  EXPECT_EQ(packet.Body(), nullptr);
  EXPECT_EQ(ReplyOf(packet),
            shown +
                "*** Failed to execute diag command. Build diag command packet error. ErrNum "
                "=500\n");
}

TEST_F(DiagPacketTest, TextCommandTakesItsRestAsItIs) {
  DiagPacket packet(kText, Path());
  ASSERT_EQ(packet.QueryDefaults(), 0u);
  EXPECT_TRUE(packet.IsStringTyped());
  packet.SplitRest(L"{no, @grammar -r $(T<");
  EXPECT_EQ(packet.MacPath(), L"$(T<");
  EXPECT_EQ(packet.FillParameters(), 0u);
  ASSERT_EQ(packet.Encode(), 0u);
  EXPECT_EQ(BodyOf(packet), "7b6e6f2c20406772616d6d6172000000");
}

TEST_F(DiagPacketTest, TextIsPaddedToAMultipleOfFourWithItsTerminator) {
  for (const std::uint32_t id : {kText, kBareText}) {
    EXPECT_EQ(Built(id, ""), "body 00000000");
    EXPECT_EQ(Built(id, "abc"), "body 61626300");
    EXPECT_EQ(Built(id, "abcd"), "body 6162636400000000");
    EXPECT_EQ(Built(id, "abcde"), "body 6162636465000000");
  }
}

TEST_F(DiagPacketTest, TextIsSentInUtf8) {
  EXPECT_EQ(Built(kText, "\xC3\xA4\xE2\x82\xAC"), "body c3a4e282ac000000");
}

TEST_F(DiagPacketTest, TextLosesTheBlanksInFrontOfItsOption) {
  EXPECT_EQ(Built(kText, "abc   -d 7"), "body 61626300");
  EXPECT_EQ(Built(kText, "a -d 5 -r b"), "body 61202d6420350000");
}

TEST_F(DiagPacketTest, TextCommandShowsItsUntouchedDefaults) {
  EXPECT_EQ(Shown(kText, "typed"), Display("as it was  "));
  EXPECT_EQ(Shown(kBareText, "typed"), Display(""));
}

TEST_F(DiagPacketTest, TreeCommandsAreNotTextCommands) {
  for (const std::uint32_t id : {kThree, kLists, kNested, kAsk, kNull}) {
    DiagPacket packet(id, Path());
    ASSERT_EQ(packet.QueryDefaults(), 0u);
    EXPECT_FALSE(packet.IsStringTyped()) << id;
  }
}

// Every allocation of the way from the text to the body fails once: a status, a text, no block
// left.
TEST_F(DiagPacketTest, EachFailingAllocationIsToldAndLeavesNothingBehind) {
  for (const std::uint32_t id : {kThree, kText, kAsk}) {
    const std::uint64_t before = pool::LiveBlocks();
    const std::string whole = Built(id, "");
    bool failed = true;
    for (std::uint64_t n = 1; failed; ++n) {
      pool::FailNth(n);
      const std::string built = Built(id, "");
      failed = pool::Failed();
      pool::FailNth(0);
      if (failed) {
        EXPECT_EQ(built.substr(0, 12), "refused 500 ") << n;
      } else {
        EXPECT_EQ(built, whole) << n;
      }
      EXPECT_EQ(pool::LiveBlocks(), before) << n;
    }
  }
}

TEST_F(DiagPacketTest, EncodingAgainGivesTheSameBodyAndOneBlock) {
  const std::uint64_t before = pool::LiveBlocks();
  {
    DiagPacket packet(kThree, Path());
    ASSERT_EQ(packet.QueryDefaults(), 0u);
    ASSERT_EQ(packet.Encode(), 0u);
    ASSERT_EQ(packet.Encode(), 0u);
    EXPECT_EQ(BodyOf(packet), "05feff005ed0b2");
  }
  EXPECT_EQ(pool::LiveBlocks(), before);
}

TEST(PostFailureText, EachResultHasItsText) {
  EXPECT_EQ(PostFailureText(0).ToUtf8(), "");
  EXPECT_EQ(PostFailureText(3207).ToUtf8(),
            "*** Failed to execute diag command. Connect UE before using any commands.\n");
  EXPECT_EQ(PostFailureText(23).ToUtf8(), "*** Failed to execute diag command. Check MAC path.\n");
  EXPECT_EQ(PostFailureText(22).ToUtf8(), "*** Failed to execute diag command, ret=22\n");
  EXPECT_EQ(PostFailureText(0xFFFFFFFF).ToUtf8(),
            "*** Failed to execute diag command, ret=4294967295\n");
}
