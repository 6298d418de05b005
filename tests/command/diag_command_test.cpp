// A diagnostic command from the typed line to the post: bodies, routes, sequence numbers, replies.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/fakes/module_bench.h"

namespace {

using fake::Post;
using fake::PostKind;
using kivtest::ModuleBench;
using Body = std::vector<std::uint8_t>;
using Lines = std::vector<std::wstring>;
using Posts = std::vector<Post>;

const std::wstring kStars(20, L'*');

std::wstring Input(const std::wstring& rows) {
  return L"Input Parameters:\n" + kStars + rows + L"\n" + kStars + L"\n";
}

std::wstring ThreeRows(const std::wstring& a, const std::wstring& b, const std::wstring& c) {
  return L".first  = " + a + L" \n.second = " + b + L" \n.third  = " + c + L" \n";
}

const std::wstring kInput123 = Input(ThreeRows(L"1", L"2", L"3"));
const Body kBody123 = {1, 2, 0, 3, 0, 0, 0};

Post Plain(std::uint32_t cmdId, Body body, std::uint16_t tag, std::uint32_t word = 0) {
  return {PostKind::kCmd, cmdId, std::move(body), tag, 0, word};
}

// Head of a wrapped packet with its body.
Body Wrapped(std::uint8_t sequence, std::uint16_t cmdId, const Body& route, const Body& data) {
  Body packet(36 + data.size());
  packet[0] = sequence;
  packet[8] = static_cast<std::uint8_t>(cmdId);
  packet[9] = static_cast<std::uint8_t>(cmdId >> 8);
  std::copy(route.begin(), route.end(), packet.begin() + 12);
  std::copy(data.begin(), data.end(), packet.begin() + 36);
  return packet;
}

const Body kHop = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const Body kBroadcastThenHop = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                0x00, 0x11, 0x22, 0x33, 0x44, 0x55};

TEST(DiagCommand, PostsItsParametersAndShowsThem) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 5,6,7"), Input(ThreeRows(L"5", L"6", L"7")));
  EXPECT_EQ(fake::Posts(), Posts{Plain(0x1001, {5, 6, 0, 7, 0, 0, 0}, 1)});
}

TEST(DiagCommand, PostsItsDefaultsWithoutParameters) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values"), kInput123);
  EXPECT_EQ(bench.Run(L"set_values {,9,}"), Input(ThreeRows(L"1", L"9", L"3")));
  EXPECT_EQ(fake::Posts(),
            (Posts{Plain(0x1001, kBody123, 1), Plain(0x1001, {1, 9, 0, 3, 0, 0, 0}, 2)}));
}

TEST(DiagCommand, WithoutRequestPostsAnEmptyBody) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"ping"), Input(L""));
  EXPECT_EQ(fake::Posts(), Posts{Plain(0x1004, {}, 1)});
}

TEST(DiagCommand, FillsNestedStructures) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_nested {1,{2,3}}"),
            Input(L".lead   = 1 \n.pair   =  \n..left  = 2 \n..right = 3 \n"));
  EXPECT_EQ(fake::Posts(), Posts{Plain(0x1002, {1, 2, 3}, 1)});
}

TEST(DiagCommand, ShowsItsInputWithTheSwitchesOfReplies) {
  ModuleBench bench;
  bench.App().SetHexadecimalFlag(true);
  EXPECT_EQ(bench.Run(L"set_values 255,256,1"),
            Input(ThreeRows(L"0xff", L"0x0100", L"0x00000001")));
  bench.App().SetHexadecimalFlag(false);
  bench.App().GetSwitches().oneLineArrays = true;
  EXPECT_EQ(bench.Run(L"mixed"), Input(L".small = -5 \n.name  = abc \n.table = 7,8,9 \n"));
  bench.App().GetSwitches().oneLineArrays = false;
  EXPECT_EQ(
      bench.Run(L"mixed"),
      Input(L".small   = -5 \n.name    = abc \ntable[0] = 7 \ntable[1] = 8 \ntable[2] = 9 \n"));
}

TEST(DiagCommand, NeedsAConnectedDevice) {
  ModuleBench bench({.connected = false});
  EXPECT_EQ(bench.Run(L"set_values 1,2,3"),
            L"*** Failed to execute diag command. No UE is connected.\n");
  EXPECT_EQ(fake::Posts(), Posts());
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
  bench.App().SetUEConnectStatus(-3);
  EXPECT_EQ(bench.Run(L"set_values 1,2,3"), kInput123);
}

TEST(DiagCommand, DirectOptionPassesItsNumberAsTheLastWord) {
  struct Row {
    const wchar_t* option;
    std::uint32_t word;
  };
  for (const Row& row :
       {Row{L"-d 200", 200}, Row{L"-D 200", 200}, Row{L"-d   7", 7}, Row{L"-d x", 0},
        Row{L"-d 4294967295", 4294967295u}, Row{L"-d 4294967296", 0}, Row{L"-d 0x10", 0},
        Row{L"-d 200abc", 0}, Row{L"-d -5", 0}, Row{L"-r d->5", 5}, Row{L"-d 1->2->3", 3}}) {
    SCOPED_TRACE(QCString(row.option).ToUtf8());
    ModuleBench bench;
    EXPECT_EQ(bench.Run(std::wstring(L"set_values 1,2,3 ") + row.option), kInput123);
    EXPECT_EQ(fake::Posts(), Posts{Plain(0x1001, kBody123, 1, row.word)});
  }
}

TEST(DiagCommand, RoutedOptionPostsAWrappedPacket) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 1,2,3 -r 00:11:22:33:44:55"), kInput123);
  EXPECT_EQ(bench.Run(L"set_values 1,2,3-R 00-11-22-33-44-55"), kInput123);
  EXPECT_EQ(fake::Posts(), (Posts{Plain(0x7000, Wrapped(0, 0x1001, kHop, kBody123), 1),
                                  Plain(0x7000, Wrapped(1, 0x1001, kHop, kBody123), 2)}));
}

TEST(DiagCommand, BroadcastOptionPutsTheBroadcastHopInFront) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 1,2,3 -rf 00:11:22:33:44:55"), kInput123);
  EXPECT_EQ(fake::Posts(),
            Posts{Plain(0x7000, Wrapped(0, 0x1001, kBroadcastThenHop, kBody123), 1)});
}

TEST(DiagCommand, ARouteWhoseFirstHopIsZeroIsPostedPlainAndCounted) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 1,2,3 -r 00:00:00:00:00:00->11:22:33:44:55:66"), kInput123);
  EXPECT_EQ(fake::Posts(), Posts{Plain(0x1001, kBody123, 1)});
  EXPECT_EQ(bench.Link().TransferProfile().load()->TxBytes(), 7u);
}

TEST(DiagCommand, OnlyRoutedPostsAreCounted) {
  ModuleBench bench;
  bench.Run(L"set_values 1,2,3");
  bench.Run(L"set_values 1,2,3 -d 5");
  EXPECT_EQ(bench.Link().TransferProfile().load()->TxCount(), 0u);
  bench.Run(L"set_values 1,2,3 -r 00:11:22:33:44:55");
  EXPECT_EQ(bench.Link().TransferProfile().load()->TxCount(), 1u);
  EXPECT_EQ(bench.Link().TransferProfile().load()->TxBytes(), 7u);
}

TEST(DiagCommand, ABadPathIsToldAndUsesANumberUp) {
  for (const wchar_t* path : {L"00:11:22:33:44:5", L"D->5", L"x",
                              L"00:11:22:33:44:55->00:11:22:33:44:55->00:11:22:33:44:55->"
                              L"00:11:22:33:44:55"}) {
    SCOPED_TRACE(QCString(path).ToUtf8());
    ModuleBench bench;
    EXPECT_EQ(bench.Run(std::wstring(L"set_values 1,2,3 -r ") + path),
              kInput123 + L"*** Failed to execute diag command. Check MAC path.\n");
    EXPECT_EQ(fake::Posts(), Posts());
    EXPECT_EQ(bench.Log().Lines(), Lines());
    bench.Run(L"ping");
    EXPECT_EQ(fake::Posts(), Posts{Plain(0x1004, {}, 2)});
  }
}

TEST(DiagCommand, ASecondOptionFailsInTheParser) {
  ModuleBench bench;
  const std::wstring reply = bench.Run(L"set_values 1,2,3 -d 5 -r 00:11:22:33:44:55");
  EXPECT_EQ(reply.rfind(L"*** Failed to parse the diag command parameters (2).\n", 0), 0u);
  EXPECT_EQ(fake::Posts(), Posts());
}

TEST(DiagCommand, AnOptionWithNothingBehindItIsNoOption) {
  ModuleBench bench;
  const std::wstring reply = bench.Run(L"set_values 1,2,3 -r ");
  EXPECT_EQ(reply.rfind(L"*** Failed to parse the diag command parameters (2).\n", 0), 0u);
  EXPECT_EQ(fake::Posts(), Posts());
}

TEST(DiagCommand, AParseFailureSendsNothingAndUsesNoNumber) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values @missing-file")
                .rfind(L"*** Failed to parse the diag command parameters (1).", 0),
            0u);
  EXPECT_EQ(bench.Run(L"set_values 1,x")
                .rfind(L"*** Failed to parse the diag command parameters (2).\n", 0),
            0u);
  EXPECT_EQ(fake::Posts(), Posts());
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
}

TEST(DiagCommand, StringTypedPostsItsTextPaddedToFourBytes) {
  struct Row {
    const wchar_t* rest;
    Body body;
    std::uint32_t word;
  };
  for (const Row& row :
       {Row{L"hello", {'h', 'e', 'l', 'l', 'o', 0, 0, 0}, 0}, Row{L"abc", {'a', 'b', 'c', 0}, 0},
        Row{L"abcd", {'a', 'b', 'c', 'd', 0, 0, 0, 0}, 0}, Row{L"", {0, 0, 0, 0}, 0},
        Row{L"\u20ac", {0xE2, 0x82, 0xAC, 0}, 0},
        Row{L"a  {1 -d 5", {'a', ' ', ' ', '{', '1', 0, 0, 0}, 5},
        Row{L"a -d 5 -d 6", {'a', ' ', '-', 'd', ' ', '5', 0, 0}, 6}}) {
    SCOPED_TRACE(QCString(row.rest).ToUtf8());
    ModuleBench bench;
    bench.Run(std::wstring(L"note ") + row.rest);
    EXPECT_EQ(fake::Posts(), Posts{Plain(0x1003, row.body, 1, row.word)});
  }
}

TEST(DiagCommand, NumbersItsPostsFromOneAndNeverUses65535) {
  ModuleBench bench;
  std::vector<int> tags;
  bench.Run(L"ping");
  bench.Controller().SetSequenceNumber(65532);
  for (int i = 0; i < 5; ++i) bench.Run(L"ping");
  for (const Post& post : fake::Posts()) tags.push_back(post.tag);
  EXPECT_EQ(tags, (std::vector<int>{1, 65533, 65534, 0, 1, 2}));
}

TEST(DiagCommand, AFreshControllerNumbersFromOneAgain) {
  ModuleBench bench;
  bench.Run(L"ping");
  bench.App().ReloadDb();
  bench.Run(L"ping");
  EXPECT_EQ(fake::Posts(), (Posts{Plain(0x1004, {}, 1), Plain(0x1004, {}, 1)}));
}

TEST(DiagCommand, TellsThatTheLinkIsDown) {
  ModuleBench bench;
  fake::SetDeviceThere(false);
  const std::wstring expected =
      Input(L"") + L"*** Failed to execute diag command. Connect UE before using any commands.\n";
  EXPECT_EQ(bench.Run(L"ping"), expected);
  EXPECT_EQ(bench.Run(L"ping -d 5"), expected);
  EXPECT_EQ(bench.Run(L"ping -r 00:11:22:33:44:55"), expected);
  EXPECT_EQ(bench.Log().Lines(), Lines());
}

TEST(DiagCommand, AMissingLinkClientCountsAsALinkThatIsDown) {
  ModuleBench bench({.start = false});
  bench.App().ReloadDb();
  EXPECT_EQ(
      bench.Run(L"ping"),
      Input(L"") + L"*** Failed to execute diag command. Connect UE before using any commands.\n");
  EXPECT_EQ(bench.Run(L"ping -r x"),
            Input(L"") + L"*** Failed to execute diag command. Check MAC path.\n");
}

TEST(DiagCommand, TellsEveryOtherStatusAndLogsIt) {
  struct Row {
    std::uint32_t status;
    const wchar_t* shown;
    const wchar_t* logged;
  };
  for (const Row& row : {Row{9, L"9", L"9"}, Row{22, L"22", L"22"}, Row{500, L"500", L"500"},
                         Row{502, L"502", L"502"}, Row{0xFFFFFFFFu, L"4294967295", L"-1"}}) {
    SCOPED_TRACE(row.status);
    ModuleBench bench;
    fake::SetPostStatus(row.status);
    EXPECT_EQ(bench.Run(L"ping"),
              Input(L"") + L"*** Failed to execute diag command, ret=" + row.shown + L"\n");
    EXPECT_EQ(bench.Log().Lines(), Lines{std::wstring(L"01 CmdCtrl::DispatchMyCommand() - err=") +
                                         row.logged + L", Connection Error. Invalid UE ID!\n"});
  }
}

TEST(DiagCommand, APostThatAnswers23IsToldAsABadPath) {
  ModuleBench bench;
  fake::SetPostStatus(23);
  EXPECT_EQ(bench.Run(L"ping"),
            Input(L"") + L"*** Failed to execute diag command. Check MAC path.\n");
  EXPECT_EQ(bench.Log().Lines(), Lines());
}

TEST(DiagCommand, OnlyRoutedPostsHaveALimit) {
  const std::wstring tooLong = L"*** Failed to execute diag command, ret=22\n";
  const std::wstring route = L" -r 00:11:22:33:44:55";
  ModuleBench bench;
  const auto endsTooLong = [&](const std::wstring& line) {
    const std::wstring reply = bench.Run(line);
    return reply.size() > tooLong.size() && reply.substr(reply.size() - tooLong.size()) == tooLong;
  };
  EXPECT_FALSE(endsTooLong(L"block_2049"));
  EXPECT_FALSE(endsTooLong(L"block_2049 -d 1"));
  EXPECT_FALSE(endsTooLong(L"block_2012" + route));
  EXPECT_TRUE(endsTooLong(L"block_2013" + route));
  EXPECT_FALSE(endsTooLong(L"block_2048 -r 00:00:00:00:00:00"));
  EXPECT_TRUE(endsTooLong(L"block_2049 -r 00:00:00:00:00:00"));
  std::vector<std::size_t> lengths;
  for (const Post& post : fake::Posts()) lengths.push_back(post.body.size());
  EXPECT_EQ(lengths, (std::vector<std::size_t>{2049, 2049, 2048, 2048}));
}

TEST(DiagCommand, ADropBetweenCheckAndPostIs502OnTheRoutedPathAlone) {
  ModuleBench bench;
  // The pool's first block of a routed post is the encoded body: the link goes down right then.
  fake::RecordPool(true);
  fake::OnStep("PoolMalloc", [&] { bench.App().SetUEConnectStatus(0); });
  EXPECT_EQ(bench.Run(L"ping -r 00:11:22:33:44:55"),
            Input(L"") + L"*** Failed to execute diag command, ret=502\n");
  bench.App().SetUEConnectStatus(1);
  EXPECT_EQ(bench.Run(L"ping"), Input(L""));
}

TEST(DiagCommand, SurvivesEveryFailingAllocation) {
  ModuleBench bench;
  const std::wstring line = L"set_values 1,2,3 -r 00:11:22:33:44:55";
  bench.Run(line);  // what is cached once is allocated by now
  const std::uint64_t blocks = pool::LiveBlocks();
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 100u);
    pool::FailNth(n);
    const std::size_t posts = fake::Posts().size();
    const std::wstring reply = bench.Run(line);
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(pool::LiveBlocks(), blocks);
    if (!failed) {
      EXPECT_EQ(reply, kInput123);
      break;
    }
    EXPECT_EQ(fake::Posts().size(), posts);
    EXPECT_NE(reply.find(L"*** Failed to "), std::wstring::npos);
    EXPECT_NE(reply.find(L"500"), std::wstring::npos);
  }
  EXPECT_EQ(bench.Run(line), kInput123);
}

// The first block that a command takes is its tree, the second its body.
TEST(DiagCommand, WithoutMemoryForItsTreeIsToldAsNotFound) {
  ModuleBench bench;
  pool::FailNth(1);
  EXPECT_EQ(bench.Run(L"set_values 1,2,3"),
            L"*** Failed to find valid packet (id=0x1001, ret=500). Maybe the parameter is invalid "
            L"or the ID does not exist. \n");
  pool::FailNth(0);
}

TEST(DiagCommand, WithoutMemoryForItsBodyUsesNoNumber) {
  ModuleBench bench;
  pool::FailNth(2);
  EXPECT_EQ(bench.Run(L"set_values 1,2,3"),
            kInput123 +
                L"*** Failed to execute diag command. Build diag command packet error. "
                L"ErrNum =500\n");
  pool::FailNth(0);
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
}

TEST(DiagCommand, ReleasesItsBodyOnEveryPath) {
  ModuleBench bench;
  const std::uint64_t blocks = pool::LiveBlocks();
  for (const wchar_t* line : {L"ping", L"ping -d 5", L"ping -r 00:11:22:33:44:55", L"ping -r x",
                              L"note text", L"set_values 1,x", L"note text -r x"}) {
    for (std::uint32_t status : {0u, 9u}) {
      fake::SetPostStatus(status);
      bench.Run(line);
      EXPECT_EQ(pool::LiveBlocks(), blocks);
    }
  }
}

TEST(DiagCommand, TracesItsSteps) {
  ModuleBench bench;
  kivtest::TraceEar traces;
  bench.Run(L"set_values 1,2,3 -d 5");
  EXPECT_EQ(traces.Lines(),
            (Lines{L"[CmdCtrl::DispatchCmd]start", L"[CmdCtrl::ResponseMyCommand]start",
                   L"[CmdCtrl::ResponseMyCommand]paramRest = 1,2,3",
                   L"[CmdCtrl::DisplayInputParams]start",
                   L"[CmdCtrl::DisplayInputParams]dispStr = " + kInput123}));
  EXPECT_EQ(bench.Controller().GetRest(), L"1,2,3");
}

TEST(DiagCommand, TracesNonAsciiTextWhole) {
  ModuleBench bench;
  kivtest::TraceEar traces;
  bench.Run(L"note \u00e4\u20ac\U0001F600%s%n");
  EXPECT_EQ(traces.Lines().at(2),
            L"[CmdCtrl::ResponseMyCommand]paramRest = \u00e4\u20ac\U0001F600%s%n");
}

}  // namespace
