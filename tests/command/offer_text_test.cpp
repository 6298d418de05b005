// Which lines the text channels are offered, in which order, and what becomes of the line and of
// the caller's reply holder afterwards.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "tests/fakes/written_texts.h"

namespace {

using fake::FakeChannel;
using kivtest::ModuleBench;
using Events = std::vector<std::string>;
using Lines = std::vector<std::pair<std::wstring, std::wstring>>;

const Events kAllOffered = {"0:line", "1:line", "2:line", "3:line"};

class LineOffered : public testing::Test {
 protected:
  // The events of one line, without those of the start.
  Events Offered(const std::wstring& line) {
    const std::size_t before = fake::ChannelOrder::Get().Events().size();
    reply_ = bench_.Run(line);
    const Events all = fake::ChannelOrder::Get().Events();
    return Events(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
  }
  static void Answer(std::int32_t first, std::int32_t second, std::int32_t third,
                     std::int32_t fourth) {
    FakeChannel<0>::State().commandAnswer = first;
    FakeChannel<1>::State().commandAnswer = second;
    FakeChannel<2>::State().commandAnswer = third;
    FakeChannel<3>::State().commandAnswer = fourth;
  }

  ModuleBench bench_{{.channels = fake::FourChannels()}};
  std::wstring reply_;
};

TEST_F(LineOffered, ReachesEveryChannelInOrderWhateverTheEarlierAnswered) {
  for (const auto& [a, b, c, d] : std::vector<std::array<std::int32_t, 4>>{
           {50, 50, 50, 50}, {0, 50, 50, 50}, {0, 0, 0, 0}, {50, -1, 53, 0}, {-1, 0, 50, 50}}) {
    Answer(a, b, c, d);
    EXPECT_EQ(Offered(L"nonsense 1"), kAllOffered);
  }
}

TEST_F(LineOffered, LeavesTheHolderAloneWhenAnyChannelTookIt) {
  for (int taker = 0; taker < 4; ++taker) {
    Answer(taker == 0 ? 0 : 50, taker == 1 ? 0 : -1, taker == 2 ? 0 : 53, taker == 3 ? 0 : 50);
    for (const wchar_t* line : {L"nonsense", L"set_values 1", L"help", L"", L"cls"}) {
      Offered(line);
      EXPECT_EQ(reply_, ModuleBench::kUntouched) << taker;
    }
  }
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST_F(LineOffered, GoesOnToTheDispatchForEveryOtherAnswer) {
  for (const std::int32_t answer : {50, 53, -1, 1, 2}) {
    Answer(answer, answer, answer, answer);
    Offered(L"nonsense");
    EXPECT_EQ(reply_, L"Command 'nonsense' is not exist\n") << answer;
  }
}

TEST_F(LineOffered, IsOfEveryKind) {
  const std::wstring longLine(16464, L'x');
  const std::wstring longWord(81, L'w');
  for (const std::wstring& line :
       {std::wstring(L"set_values 1,2,3"), std::wstring(L"help"), std::wstring(L"?"),
        std::wstring(L"nonsense"), std::wstring(), std::wstring(L"cls"), std::wstring(L"hidden"),
        std::wstring(L"AT+X"), longLine, longWord, L"ping " + std::wstring(16385, L'x')}) {
    EXPECT_EQ(Offered(line), kAllOffered);
  }
}

TEST_F(LineOffered, IsOfferedAsWordAndRest) {
  for (const wchar_t* line : {L"  show   at+x  1 ", L"AT+X 1 2", L"set_values 1", L""}) {
    Offered(line);
  }
  const Lines expected = {
      {L"show", L"at+x  1"}, {L"AT+X 1 2", L""}, {L"set_values", L"1"}, {L"", L""}};
  EXPECT_EQ(FakeChannel<0>::State().lines, expected);
  EXPECT_EQ(FakeChannel<3>::State().lines, expected);
}

TEST_F(LineOffered, NeverCarriesTheRestOfTheLineBefore) {
  const std::wstring longLine(16464, L'x');
  const std::wstring longWord(81, L'w');
  for (const std::wstring& line : {std::wstring(), longLine, longWord + L" 5"}) {
    Offered(L"set_values 1,2,3");
    FakeChannel<2>::State().lines.clear();
    Offered(line);
    const std::wstring word = line.substr(0, line.find(L' '));
    EXPECT_EQ(FakeChannel<2>::State().lines, (Lines{{word, L""}}));
  }
}

TEST_F(LineOffered, IsNotOfferedWhenItMayNotBeCombined) {
  Answer(0, 0, 0, 0);
  EXPECT_EQ(Offered(L"alone 1,2,3"), Events());
  EXPECT_EQ(reply_, L"Morv Combined commands not supported.");
  EXPECT_EQ(bench_.Log().Lines(),
            (std::vector<std::wstring>{
                L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n",
                L"01 CmdCtrl::GetCmd() - err=-1, Morv Combined Cmd Not Supported!\n"}));
}

TEST_F(LineOffered, IsOfferedAndThenUnknownWhenItsRestIsTooLong) {
  EXPECT_EQ(Offered(L"ping " + std::wstring(16385, L'x')), kAllOffered);
  EXPECT_EQ(reply_, L"Command 'ping' is not exist\n");
}

TEST_F(LineOffered, MayBeFollowedByAnotherFromWithinAChannel) {
  std::wstring inner;
  FakeChannel<1>::State().onLine = [&](const wchar_t* word, const wchar_t*) {
    if (std::wstring(word) == L"outer") inner = bench_.Run(L"cls inner");
  };
  Answer(50, 0, 50, 50);
  FakeChannel<1>::State().commandAnswer = 0;
  Offered(L"outer with rest");
  EXPECT_EQ(inner, ModuleBench::kUntouched);
  EXPECT_EQ(reply_, ModuleBench::kUntouched);
  EXPECT_EQ(FakeChannel<2>::State().lines, (Lines{{L"cls", L"inner"}, {L"outer", L"with rest"}}));
}

TEST_F(LineOffered, IsDispatchedAsItselfAfterAnotherRanWithinAChannel) {
  std::wstring inner;
  FakeChannel<0>::State().onLine = [&](const wchar_t* word, const wchar_t*) {
    if (std::wstring(word) == L"set_values") inner = bench_.Run(L"nonsense 5");
  };
  Offered(L"set_values 7,8,9");
  EXPECT_EQ(inner, L"Command 'nonsense' is not exist\n");
  EXPECT_EQ(reply_, kivtest::InputShown(kivtest::kSevenEightNineRows));
  ASSERT_EQ(fake::Posts().size(), 1u);
  EXPECT_EQ(fake::Posts()[0].body, kivtest::kSevenEightNine);
}

TEST_F(LineOffered, WithoutChannelsIsDispatchedAtOnce) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"nonsense"), L"Command 'nonsense' is not exist\n");
}

class ServicesOfAChannel : public testing::Test {
 protected:
  const SvcKivClass::ChannelServiceTable& Table() { return FakeChannel<0>::State().tables.at(0); }

  ModuleBench bench_{{.channels = fake::FourChannels()}};
};

TEST_F(ServicesOfAChannel, AreHandedOutOnceInOrderWhenTheControllerIsMade) {
  EXPECT_EQ(fake::ChannelOrder::Get().Events(), (Events{"0:init", "1:init", "2:init", "3:init"}));
  bench_.App().ReloadDb();
  EXPECT_EQ(fake::ChannelOrder::Get().Events().size(), 8u);
}

TEST_F(ServicesOfAChannel, FillEntriesZeroToSixButTheThird) {
  const SvcKivClass::ChannelServiceTable& table = Table();
  EXPECT_NE(table.isUeConnected, nullptr);
  EXPECT_NE(table.postDiagData, nullptr);
  EXPECT_NE(table.postHciData, nullptr);
  EXPECT_EQ(table.empty3, nullptr);
  EXPECT_NE(table.postRawText, nullptr);
  EXPECT_EQ(table.controller, static_cast<void*>(&bench_.Controller()));
  EXPECT_EQ(table.application, static_cast<void*>(&bench_.App()));
  for (const void* entry : table.empty) EXPECT_EQ(entry, nullptr);
}

TEST_F(ServicesOfAChannel, TellWhetherADeviceIsConnected) {
  EXPECT_NE(Table().isUeConnected(), 0);
  bench_.App().SetUEConnectStatus(0);
  EXPECT_EQ(Table().isUeConnected(), 0);
  bench_.App().SetUEConnectStatus(-3);
  EXPECT_NE(Table().isUeConnected(), 0);
}

TEST_F(ServicesOfAChannel, PostDiagnosticDataWithTheValueAsTagAndTheDelayAsLastWord) {
  EXPECT_EQ(Table().postDiagData(0x500D, "abc", 3, 0x1234, 70000), 0u);
  EXPECT_EQ(
      fake::Posts(),
      (std::vector<fake::Post>{{fake::PostKind::kCmd, 0x500D, {'a', 'b', 'c'}, 0x1234, 0, 70000}}));
}

TEST_F(ServicesOfAChannel, PostHciFramesAndRawText) {
  EXPECT_EQ(Table().postHciData(0x7100, "h", 1), 0u);
  EXPECT_EQ(Table().postRawText("ls\r\n", 4), 0u);
  EXPECT_EQ(fake::Posts(), (std::vector<fake::Post>{
                               {.kind = fake::PostKind::kSdt, .cmdId = 0x7100, .body = {'h'}},
                               {.kind = fake::PostKind::kRaw, .body = {'l', 's', '\r', '\n'}}}));
}

TEST_F(ServicesOfAChannel, PassTheLinksStatusOn) {
  fake::SetPostStatus(9);
  EXPECT_EQ(Table().postDiagData(1, "x", 1, 0, 0), 9u);
  EXPECT_EQ(Table().postHciData(1, "x", 1), 9u);
  EXPECT_EQ(Table().postRawText("x", 1), 9u);
}

TEST_F(ServicesOfAChannel, PostEvenWhenNoDeviceIsConnectedAndNeverAdvanceTheSequence) {
  bench_.App().SetUEConnectStatus(0);
  EXPECT_EQ(Table().postDiagData(1, "x", 1, 0, 0), 0u);
  EXPECT_EQ(fake::Posts().size(), 1u);
  EXPECT_EQ(bench_.Controller().GetSequenceNumber(), 0);
}

TEST_F(ServicesOfAChannel, AnswerForAMissingLinkClient) {
  const SvcKivClass::ChannelServiceTable table = Table();
  bench_.App().Stop();
  EXPECT_EQ(table.postDiagData(1, "x", 1, 0, 0), 0u);
  EXPECT_EQ(table.postHciData(1, "x", 1), 502u);
  EXPECT_EQ(table.postRawText("x", 1), 502u);
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

class PacketOffered : public testing::Test {
 protected:
  ModuleBench bench_{{.channels = fake::FourChannels()}};
};

TEST_F(PacketOffered, GoesDownTheChainToTheFirstTakerAndIsNotShown) {
  FakeChannel<1>::State().responseAnswer = 0;
  fake::ChannelOrder::Get().events.clear();
  EXPECT_EQ(fake::DeliverCnf(0xA011, {1, 2}), 0);
  EXPECT_EQ(fake::ChannelOrder::Get().Events(), (Events{"0:packet", "1:packet"}));
  EXPECT_EQ(bench_.Messages().All().size(), 0u);
  using Packets = std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>>;
  EXPECT_EQ(FakeChannel<1>::State().packets, (Packets{{0xA011, {1, 2}}}));
}

TEST_F(PacketOffered, IsShownWhenNobodyTakesItWhateverElseTheyAnswer) {
  FakeChannel<0>::State().responseAnswer = -1;
  FakeChannel<1>::State().responseAnswer = 53;
  fake::ChannelOrder::Get().events.clear();
  fake::DeliverCnf(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(fake::ChannelOrder::Get().Events(),
            (Events{"0:packet", "1:packet", "2:packet", "3:packet"}));
  EXPECT_EQ(bench_.Messages().Texts(),
            std::vector<std::wstring>{std::wstring(L"\n") + kivtest::kSevenEightNineRows});
}

TEST_F(PacketOffered, IsOfferedUnderItsOuterIdAndWithItsWholeBody) {
  std::vector<std::uint8_t> wrapped(36, 0);
  wrapped[8] = 0x01;
  wrapped[9] = 0x10;
  fake::DeliverCnf(0x7000, wrapped);
  using Packets = std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>>;
  EXPECT_EQ(FakeChannel<2>::State().packets, (Packets{{0x7000, wrapped}}));
}

TEST_F(PacketOffered, IsOfferedEvenWhenItWouldBeFilteredAway) {
  bench_.App().GetSettings()->SetIndicationsEnabled(0);
  fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
  fake::DeliverCnf(0x7007, {255});
  EXPECT_EQ(FakeChannel<3>::State().packets.size(), 2u);
  EXPECT_EQ(bench_.Messages().All().size(), 0u);
}

}  // namespace
