// Every way through the module with every allocation of the pool failing: once, and from there on.
// Each time one of the texts that say so, no block left, and the next line as if nothing had been.
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <string>

#include "command/built_in_channels.h"
#include "platform/bounded/pool.h"
#include "tests/fakes/module_bench.h"
#include "tests/support/hex.h"
#include "tests/support/sweep_report.h"

namespace {

using kivtest::ModuleBench;
using Outcomes = std::set<std::string>;

// One way: what is done, and what may come of it when memory fails. An outcome is the reply, then
// each post as " post ID:BODY", each message as " kind N: TEXT", and the result of a delivery.
struct Way {
  const char* name;
  std::function<std::string(ModuleBench&)> act;
  Outcomes whenOneFails;
  // When all behind it fail too, where that is not the same.
  std::optional<Outcomes> whenAllFail = std::nullopt;
};

std::string Utf8(const std::wstring& text) { return QCString(text).ToUtf8(); }

std::function<std::string(ModuleBench&)> Typed(const wchar_t* line) {
  return [line](ModuleBench& bench) { return Utf8(bench.Run(line)); };
}

std::function<std::string(ModuleBench&)> Packet(std::uint32_t id, const char* hex,
                                                bool isInd = false, std::uint32_t result = 0) {
  return [=](ModuleBench&) {
    fake::Packet packet;
    packet.cmdId = id;
    packet.resultCode = result;
    packet.isInd = isInd;
    packet.body = kivtest::FromHex(hex);
    packet.hasBody = !packet.body.empty();
    return std::to_string(fake::Deliver({packet}));
  };
}

const std::string kStars(20, '*');

std::string Input(const std::string& rows) {
  return "Input Parameters:\n" + kStars + rows + "\n" + kStars + "\n";
}

std::string NoPacket(const char* id) {
  return std::string("*** Failed to find valid packet (id=") + id +
         ", ret=500). Maybe the parameter is invalid or the ID does not exist. \n";
}

const std::string kNoBody =
    "*** Failed to execute diag command. Build diag command packet error. ErrNum =500\n";
const std::string kNoWrap = "*** Failed to execute diag command, ret=500\n";
const std::string kRows = ".first  = 7 \n.second = 8 \n.third  = 9 \n";
const std::string kText = ".text = abc \n";
const Outcomes kReplyFails = {"0 kind 1: \nNot enough memory!", "-1"};
const Outcomes kTextFails = {"-1"};

const Way kWays[] = {
    {"typed values", Typed(L"set_values 7,8,9"), {NoPacket("0x1001"), Input(kRows) + kNoBody}},
    {"typed values, routed",
     Typed(L"set_values 7,8,9 -r 00:11:22:33:44:55"),
     {NoPacket("0x1001"), Input(kRows) + kNoBody, Input(kRows) + kNoWrap}},
    {"typed values, direct",
     Typed(L"set_values 7,8,9 -d 5"),
     {NoPacket("0x1001"), Input(kRows) + kNoBody}},
    {"typed structure",
     Typed(L"set_nested {1,{2,3}}"),
     {NoPacket("0x1002"),
      Input(".lead   = 1 \n.pair   =  \n..left  = 2 \n..right = 3 \n") + kNoBody}},
    {"typed arrays",
     Typed(L"mixed 1,[65],[1,2,3]"),
     {NoPacket("0x100d"),
      Input(".small   = 1 \n.name    = Abc \ntable[0] = 1 \ntable[1] = 2 \ntable[2] = 3 \n") +
          kNoBody}},
    {"typed text", Typed(L"note hello"), {NoPacket("0x1003"), Input("") + kNoBody}},
    {"no parameters", Typed(L"ping"), {NoPacket("0x1004"), Input("") + kNoBody}},
    {"refused parameters", Typed(L"set_values x"), {NoPacket("0x1001")}},
    {"help", Typed(L"help"), {}},
    {"unknown word", Typed(L"nonsense"), {}},
    {"empty line", Typed(L""), {}},
    {"AT line", Typed(L"AT+CSQ"), {"Command 'AT+CSQ' is not exist\n"}},
    {"shell line", Typed(L"sh ls"), {"Command 'sh' is not exist\n"}},
    {"confirmation", Packet(0x1001, "07080009000000"), kReplyFails, kTextFails},
    {"indication", Packet(0x1101, "07080009000000", true), kReplyFails, kTextFails},
    {"confirmation with arrays", Packet(0x100d, "fb61626300000000000000000000000000010002000300"),
     kReplyFails, kTextFails},
    {"confirmation that is a text",
     Packet(0x1003, "6869000000000000000000000000000000000000000000000000000000000000"),
     kReplyFails, kTextFails},
    {"routed confirmation",
     Packet(0x7000,
            "000000000000000001100000"
            "000000000000000000000000000000000000000000000000"
            "07080009000000"),
     kReplyFails, kTextFails},
    {"confirmation without a body", Packet(0x1001, "", false, 700), kTextFails},
    {"confirmation of an unknown id", Packet(0x123456, "01"), kTextFails},
    {"confirmation of another length", Packet(0x1001, "01"), kTextFails},
    {"AT answer", Packet(0xA011, "4f4b00"), {"0 kind 1: \nok [ack(0xA011)]"}, kTextFails},
    {"shell answer", Packet(0xA012, "66696c657300"), {"0 kind 1: \nok [ack(0xA012)]"}, kTextFails},
    {"HCI answer", Packet(0x7E0C, "30342030650000"), {"0 kind 1: \nok [ack(0x7E0C)]"}, kTextFails},
    {"test case text", Packet(0xA010, "74657374656400"), {"0", "0 kind 3: "}},
    {"answer to a test case", Packet(0x500C, "00"), {"0 kind 3: "}},
};

enum class Mode { kOnce, kFromThereOn };

void PrintTo(Mode mode, std::ostream* out) { *out << (mode == Mode::kOnce ? "once" : "and on"); }

class FailingPool : public testing::TestWithParam<std::tuple<std::size_t, Mode>> {
 protected:
  FailingPool() : bench_({.channels = SvcKivClass::BuiltInChannels()}) {
    bench_.App().SetIsEnableInstantInd(true);
  }

  // Does it once, and tells what came of it.
  std::string Act(const Way& way) {
    const std::size_t postsBefore = fake::Posts().size();
    const std::size_t messagesBefore = bench_.Messages().All().size();
    std::string outcome = way.act(bench_);
    const auto posts = fake::Posts();
    for (std::size_t i = postsBefore; i < posts.size(); ++i) {
      char head[32];
      std::snprintf(head, sizeof head, " post %x:", posts[i].cmdId);
      outcome += head + kivtest::ToHex(posts[i].body);
    }
    const auto messages = bench_.Messages().All();
    for (std::size_t i = messagesBefore; i < messages.size(); ++i) {
      outcome += " kind " + std::to_string(messages[i].kind) + ": " + Utf8(messages[i].text);
    }
    return outcome;
  }

  static void Fail(Mode mode, std::uint64_t n) {
    mode == Mode::kOnce ? pool::FailNth(n) : pool::FailFrom(n);
  }

  ModuleBench bench_;
};

// The sequence number of a routed post grows with each, failed ones too.
std::string WithoutRoutedNumber(std::string outcome) {
  const std::size_t at = outcome.find(" post 7000:");
  return at == std::string::npos ? outcome : outcome.replace(at + 11, 8, "NNNNNNNN");
}

TEST_P(FailingPool, IsToldAndTheNextLineWorks) {
  const auto& [index, mode] = GetParam();
  const Way& way = kWays[index];
  const kivtest::SweepReport report(
      std::string(mode == Mode::kOnce ? "one pool allocation fails" : "all behind one fail too") +
      ", part " + std::to_string(index));
  Act(way);  // what is made once is made by now
  const std::string whole = WithoutRoutedNumber(Act(way));
  const std::uint64_t blocks = pool::LiveBlocks();
  Outcomes seen;
  std::uint64_t n = 1;
  for (bool failed = true; failed; ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 100u);
    Fail(mode, n);
    const std::string outcome = WithoutRoutedNumber(Act(way));
    failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(pool::LiveBlocks(), blocks);
    if (failed) {
      seen.insert(outcome);
    } else {
      EXPECT_EQ(outcome, whole);
    }
    EXPECT_EQ(WithoutRoutedNumber(Act(way)), whole);
  }
  report.Write(static_cast<std::int64_t>(n) - 2, HasFailure() ? "FAILED" : "told, nothing left");
  EXPECT_EQ(seen,
            mode == Mode::kOnce ? way.whenOneFails : way.whenAllFail.value_or(way.whenOneFails));
}

INSTANTIATE_TEST_SUITE_P(EachWay, FailingPool,
                         testing::Combine(testing::Range(std::size_t{0}, std::size(kWays)),
                                          testing::Values(Mode::kOnce, Mode::kFromThereOn)),
                         [](const testing::TestParamInfo<std::tuple<std::size_t, Mode>>& info) {
                           std::string name = kWays[std::get<0>(info.param)].name;
                           for (char& ch : name) ch = ch == ' ' || ch == ',' ? '_' : ch;
                           return name + (std::get<1>(info.param) == Mode::kOnce ? "" : "_and_on");
                         });

}  // namespace
