// Lines and packets on their way through the text channels.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/fakes/module_bench.h"

namespace {

using fake::ChannelOrder;
using fake::FakeChannel;
using kivtest::ModuleBench;
using SvcKivClass::kChannelFailed;
using SvcKivClass::kChannelNoFile;
using SvcKivClass::kChannelTaken;
using Events = std::vector<std::string>;
using Offered = std::vector<std::pair<std::wstring, std::wstring>>;

constexpr wchar_t kKept[] = L"<untouched>";

ModuleBench::Options WithChannels() { return {.channels = fake::FourChannels()}; }

const Events kInits = {"0:init", "1:init", "2:init", "3:init"};
const Events kLines = {"0:line", "1:line", "2:line", "3:line"};

Events operator+(Events a, const Events& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

TEST(Offering, InitialisesEveryChannelOnceInOrder) {
  ModuleBench bench(WithChannels());
  EXPECT_EQ(ChannelOrder::Get().Events(), kInits);
  bench.App().ReloadDb();
  EXPECT_EQ(ChannelOrder::Get().Events(), kInits + kInits);
}

TEST(Offering, ReachesEveryChannelInOrderWhateverTheLineIs) {
  for (const wchar_t* line :
       {L"set_values 1", L"help", L"nonsense x", L"", L"AT+X", L"cls", L"\n x"}) {
    SCOPED_TRACE(QCString(line).ToUtf8());
    ModuleBench bench(WithChannels());
    bench.Run(line);
    EXPECT_EQ(ChannelOrder::Get().Events(), kInits + kLines);
  }
}

TEST(Offering, KeepsALoadLineFromEveryChannel) {
  for (const wchar_t* line : {L"ldnv", L"LDNV 1", L" LdNv nowhere "}) {
    SCOPED_TRACE(QCString(line).ToUtf8());
    ModuleBench bench(WithChannels());
    bench.Run(line);
    EXPECT_EQ(ChannelOrder::Get().Events(), kInits);
  }
}

TEST(Offering, GoesOnWhenAChannelTookTheLine) {
  ModuleBench bench(WithChannels());
  FakeChannel<0>::State().commandAnswer = kChannelTaken;
  FakeChannel<2>::State().commandAnswer = kChannelTaken;
  EXPECT_EQ(bench.Run(L"set_values 1,2,3"), kKept);
  EXPECT_EQ(ChannelOrder::Get().Events(), kInits + kLines);
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST(Offering, LeavesTheReplyHolderAloneWhicheverChannelTookTheLine) {
  for (int taker = 0; taker < 4; ++taker) {
    for (const wchar_t* line : {L"help", L"ping", L"nonsense", L"", L"cls"}) {
      SCOPED_TRACE(QCString(line).ToUtf8() + " taken by " + std::to_string(taker));
      ModuleBench bench(WithChannels());
      fake::ChannelState* states[] = {&FakeChannel<0>::State(), &FakeChannel<1>::State(),
                                      &FakeChannel<2>::State(), &FakeChannel<3>::State()};
      states[taker]->commandAnswer = kChannelTaken;
      EXPECT_EQ(bench.Run(line), kKept);
      EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
    }
  }
}

TEST(Offering, MaySendOneLineTwice) {
  ModuleBench bench(WithChannels());
  FakeChannel<1>::State().onLine = [](const wchar_t*, const wchar_t*) {
    FakeChannel<1>::State().tables.at(0).postDiagData(0x500D, "AT+X\r\n", 6, 0, 0);
  };
  FakeChannel<1>::State().commandAnswer = kChannelTaken;
  FakeChannel<3>::State().onLine = [](const wchar_t*, const wchar_t*) {
    FakeChannel<3>::State().tables.at(0).postHciData(0x7E0B, "AT+X", 4);
  };
  FakeChannel<3>::State().commandAnswer = kChannelTaken;
  EXPECT_EQ(bench.Run(L"AT+X"), kKept);
  const std::vector<fake::Post> expected = {
      {fake::PostKind::kCmd, 0x500D, {'A', 'T', '+', 'X', '\r', '\n'}, 0, 0, 0},
      {fake::PostKind::kSdt, 0x7E0B, {'A', 'T', '+', 'X'}, 0, 0, 0}};
  EXPECT_EQ(fake::Posts(), expected);
}

TEST(Offering, MakesAFailedSendAnUnknownCommandAlthoughItWasSentElsewhere) {
  ModuleBench bench(WithChannels());
  FakeChannel<1>::State().commandAnswer = kChannelFailed;
  EXPECT_EQ(bench.Run(L"AT+X"), L"Command 'AT+X' is not exist\n");
  FakeChannel<3>::State().commandAnswer = kChannelTaken;
  EXPECT_EQ(bench.Run(L"AT+X"), kKept);
}

TEST(Offering, ComesBeforeTheCatalogueAlsoForTheNamesThatItHas) {
  ModuleBench bench(WithChannels());
  FakeChannel<2>::State().commandAnswer = kChannelTaken;
  EXPECT_EQ(bench.Run(L"show_all 1"), kKept);
  EXPECT_EQ(FakeChannel<2>::State().lines, (Offered{{L"show_all", L"1"}}));
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST(Offering, GivesAScriptFileWithoutItsRest) {
  ModuleBench bench(WithChannels());
  std::ofstream(bench.Setup().Path("run.hcs")) << "x";
  const std::wstring path = QCString::FromUtf8(bench.Setup().Path("run.hcs")).str();
  bench.Run(path + L" a b");
  EXPECT_EQ(FakeChannel<0>::State().lines, (Offered{{path, L""}}));
}

TEST(Offering, CountsEveryOtherAnswerAsNotTaken) {
  for (std::int32_t answer : {kChannelFailed, kChannelNoFile, 1, 50, -50}) {
    SCOPED_TRACE(answer);
    ModuleBench bench(WithChannels());
    FakeChannel<1>::State().commandAnswer = answer;
    EXPECT_EQ(bench.Run(L"nonsense"), L"Command 'nonsense' is not exist\n");
  }
}

TEST(Offering, HandsOutWordAndRest) {
  ModuleBench bench(WithChannels());
  const std::wstring word81(81, L'w');
  const std::wstring longLine(16464, L'x');
  const std::wstring longRest(16385, L'1');
  const std::wstring longAt = L"AT" + std::wstring(90, L'9') + L" 1";
  for (const std::wstring& line :
       {std::wstring(L"set_values  1 , 2 "), std::wstring(L"AT+X 1"), std::wstring(),
        word81 + L" r", longLine, L"ping " + longRest, longAt, std::wstring(L"show at+x")}) {
    bench.Run(line);
  }
  const Offered expected = {
      {L"set_values", L"1 , 2"}, {L"AT+X 1", L""},    {L"", L""},    {word81, L""},
      {longLine, L""},           {L"ping", longRest}, {longAt, L""}, {L"show", L"at+x"}};
  EXPECT_EQ(FakeChannel<0>::State().lines, expected);
  EXPECT_EQ(FakeChannel<3>::State().lines, expected);
}

TEST(Offering, IsSkippedForARefusedCombination) {
  ModuleBench bench(WithChannels());
  FakeChannel<0>::State().commandAnswer = kChannelTaken;
  EXPECT_EQ(bench.Run(L"alone 1"), L"Morv Combined commands not supported.");
  EXPECT_EQ(ChannelOrder::Get().Events(), kInits);
}

TEST(Offering, SurvivesALineTypedFromInsideAChannel) {
  ModuleBench bench(WithChannels());
  std::wstring inner;
  FakeChannel<0>::State().onLine = [&](const wchar_t* word, const wchar_t*) {
    if (std::wstring(word) == L"help") return;
    inner = bench.Run(L"help nested");
  };
  EXPECT_EQ(bench.Run(L"nonsense outer"), L"Command 'nonsense' is not exist\n");
  EXPECT_EQ(inner.substr(0, 29), L"help  Querying All Commands\n?");
  const Offered expected = {{L"help", L"nested"}, {L"nonsense", L"outer"}};
  EXPECT_EQ(FakeChannel<3>::State().lines, expected);
}

TEST(Offering, SurvivesAReloadFromInsideAChannel) {
  ModuleBench bench(WithChannels());
  FakeChannel<0>::State().onLine = [&](const wchar_t*, const wchar_t*) { bench.App().ReloadDb(); };
  FakeChannel<3>::State().commandAnswer = kChannelTaken;
  EXPECT_EQ(bench.Run(L"help"), kKept);
}

TEST(Offering, OfPacketsEndsAtTheFirstChannelThatTakesOne) {
  ModuleBench bench(WithChannels());
  FakeChannel<1>::State().responseAnswer = kChannelTaken;
  EXPECT_EQ(fake::DeliverCnf(0xA011, {1, 2, 3}), 0);
  EXPECT_EQ(ChannelOrder::Get().Events(), kInits + (Events{"0:packet", "1:packet"}));
  EXPECT_EQ(bench.Messages().All().size(), 0u);
}

TEST(Offering, OfPacketsGoesOnPastEveryOtherAnswer) {
  for (std::int32_t answer : {kChannelFailed, kChannelNoFile, 50, 1}) {
    SCOPED_TRACE(answer);
    ModuleBench bench(WithChannels());
    FakeChannel<0>::State().responseAnswer = answer;
    EXPECT_EQ(fake::DeliverCnf(0x1004, {}), 0);
    EXPECT_EQ(ChannelOrder::Get().Events(),
              kInits + (Events{"0:packet", "1:packet", "2:packet", "3:packet"}));
    EXPECT_EQ(bench.Messages().Texts(), std::vector<std::wstring>{L"\nok"});
  }
}

TEST(Offering, OfPacketsTakesTheIdBeforeUnwrapping) {
  ModuleBench bench(WithChannels());
  std::vector<std::uint8_t> wrapped(36);
  wrapped[8] = 0x04;
  wrapped[9] = 0x10;
  fake::DeliverCnf(0x7000, wrapped);
  const std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>> expected = {
      {0x7000, wrapped}};
  EXPECT_EQ(FakeChannel<0>::State().packets, expected);
}

TEST(Offering, OfPacketsComesBeforeTheIndicationFilter) {
  ModuleBench bench({.ver = 0, .channels = fake::FourChannels()});
  fake::DeliverInd(0xA011, {7});
  fake::DeliverInd(0x7007, {255});
  EXPECT_EQ(FakeChannel<3>::State().packets.size(), 2u);
  EXPECT_EQ(bench.Messages().All().size(), 0u);
}

TEST(Offering, OfPacketsUsesTheNewControllersChannelsAfterAReload) {
  ModuleBench bench(WithChannels());
  bench.App().ReloadDb();
  fake::DeliverCnf(0xA011, {7});
  EXPECT_EQ(FakeChannel<0>::State().packets.size(), 1u);
}

}  // namespace
