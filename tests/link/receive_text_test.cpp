// What the view is shown of received packets: the filter, the wrapped replies, every text whole,
// and the order of offering, hook, trace, buffer and message.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/link/client_bench.h"

namespace {

using fake::Packet;
using kivtest::ClientBench;
using kivtest::kSevenEightNine;
using Bytes = std::vector<std::uint8_t>;
using Texts = std::vector<std::wstring>;
using Hooks = std::vector<kivtest::RecordingHandlers::Hook>;

const std::wstring kRows = kivtest::kSevenEightNineRows;
const Texts kShownRows = {L"\n" + kRows};

Packet Cnf(std::uint32_t id, Bytes body, std::uint32_t result = 0) {
  return {.cmdId = id, .resultCode = result, .body = std::move(body)};
}
Packet Ind(std::uint32_t id, Bytes body) {
  return {.cmdId = id, .isInd = true, .body = std::move(body)};
}
Packet Bodiless(std::uint32_t id, std::uint32_t result, bool isInd = false) {
  return {.cmdId = id, .resultCode = result, .isInd = isInd, .hasBody = false};
}

// A wrapped reply: head with sequence and real id, then the data.
Bytes WrappedBody(std::uint8_t sequence, std::uint16_t id, const Bytes& data) {
  Bytes body(36 + data.size(), 0);
  body[0] = sequence;
  body[8] = static_cast<std::uint8_t>(id);
  body[9] = static_cast<std::uint8_t>(id >> 8);
  std::copy(data.begin(), data.end(), body.begin() + 36);
  return body;
}

Bytes CutTo(Bytes body, std::size_t size) {
  body.resize(size);
  return body;
}

TEST(ReceivedPackets, AConfirmationIsShownBehindALineFeed) {
  ClientBench bench;
  EXPECT_EQ(fake::DeliverCnf(0x1001, kSevenEightNine), 0);
  ASSERT_EQ(bench.Messages().size(), 1u);
  EXPECT_EQ(bench.Messages()[0].kind, 1);
  EXPECT_EQ(bench.Texts(), kShownRows);
}

TEST(ReceivedPackets, AnEmptyBatchIsNothing) {
  ClientBench bench;
  CTransferProfile& profile = bench.InstallProfile();
  EXPECT_EQ(fake::Deliver({}), 0);
  EXPECT_EQ(profile.RecvCount(), 0u);
  EXPECT_EQ(bench.Messages().size(), 0u);
}

TEST(ReceivedPackets, AreCountedWholeBeforeTheFirstIsShown) {
  ClientBench bench;
  CTransferProfile& profile = bench.InstallProfile();
  std::vector<std::uint64_t> counts;
  bench.handlers.answer = [&](std::uint32_t) {
    counts.push_back(profile.RecvCount());
    return 50;
  };
  fake::Deliver({Cnf(0x1001, kSevenEightNine), Ind(0x1001, {1, 2, 3}), Bodiless(0x1001, 0)});
  EXPECT_EQ(counts, (std::vector<std::uint64_t>{3, 3, 3}));
  EXPECT_EQ(profile.RecvBytes(), 10u);
  EXPECT_EQ(profile.TxCount(), 0u);
}

TEST(ReceivedPackets, AreOfferedWithEverythingTheyCarry) {
  ClientBench bench;
  fake::Deliver({Packet{.cmdId = 0x1001,
                        .resultCode = 700,
                        .isInd = true,
                        .body = {1, 2},
                        .tag = 0x1234,
                        .word16 = 0x5678,
                        .word = 0x9ABCDEF0},
                 Bodiless(0x2002, 5)});
  ASSERT_EQ(bench.handlers.offers.size(), 2u);
  const auto& first = bench.handlers.offers[0];
  EXPECT_EQ(first.cmdId, 0x1001u);
  EXPECT_EQ(first.resultCode, 700u);
  EXPECT_EQ(first.body, (Bytes{1, 2}));
  EXPECT_EQ(first.reply.cmdId, 0x1001u);
  EXPECT_EQ(first.reply.bodyLengthBytes, 2u);
  EXPECT_EQ(first.reply.resultCode, 700u);
  EXPECT_NE(first.reply.isInd, 0u);
  EXPECT_EQ(first.reply.tag, 0x1234);
  EXPECT_EQ(first.reply.word16, 0x5678);
  EXPECT_EQ(first.reply.word, 0x9ABCDEF0u);
  EXPECT_TRUE(bench.handlers.offers[1].isNull);
  EXPECT_EQ(bench.handlers.offers[1].reply.isInd, 0u);
}

TEST(ReceivedPackets, ThatAHandlerTookAreNotShownAndTheNextFollows) {
  ClientBench bench;
  bench.handlers.answer = [](std::uint32_t id) { return id == 0xA011 ? 0 : -1; };
  EXPECT_EQ(fake::Deliver({Cnf(0xA011, {1}), Cnf(0x1001, kSevenEightNine), Cnf(0xA011, {2})}), 0);
  EXPECT_EQ(bench.Texts(), kShownRows);
  EXPECT_EQ(bench.handlers.offers.size(), 3u);
  EXPECT_EQ(bench.handlers.hooks.size(), 1u);
}

TEST(ReceivedPackets, WithoutAControllerAreShownWithoutAHook) {
  ClientBench bench;
  bench.handlersPointer.store(nullptr);
  EXPECT_EQ(fake::DeliverCnf(0x1001, kSevenEightNine), 0);
  EXPECT_EQ(bench.Texts(), kShownRows);
  EXPECT_EQ(bench.handlers.hooks.size(), 0u);
}

TEST(ReceivedPackets, IndicationsPassBySupportAndEitherFlagAndConfirmationsAlways) {
  for (const int ver : {0, 1, 2}) {
    for (const bool enabled : {false, true}) {
      for (const bool instant : {false, true}) {
        SCOPED_TRACE(std::to_string(ver) + " " + std::to_string(enabled) + " " +
                     std::to_string(instant));
        ClientBench bench(ver);
        bench.switches.indicationsEnabled = enabled;
        bench.switches.instantInd = instant;
        EXPECT_EQ(fake::DeliverInd(0x1001, kSevenEightNine), 0);
        EXPECT_EQ(bench.Texts(), ver != 0 && (enabled || instant) ? kShownRows : Texts());
        EXPECT_EQ(fake::DeliverCnf(0x1001, kSevenEightNine), 0);
        EXPECT_EQ(bench.Texts().back(), kShownRows[0]);
        // The chain sees every packet, dropped or not.
        EXPECT_EQ(bench.handlers.offers.size(), 2u);
      }
    }
  }
}

TEST(ReceivedPackets, WithoutTheIniValueNoIndicationIsShown) {
  for (const char* ini : {"[other]\nVER=1\n", "[plc]\nOTHER=1\n", "[plc]\nVER=\n"}) {
    ClientBench bench(1, ini);
    bench.switches.indicationsEnabled = true;
    bench.switches.instantInd = true;
    fake::DeliverInd(0x1001, kSevenEightNine);
    EXPECT_EQ(bench.Texts(), Texts()) << ini;
  }
}

TEST(ReceivedPackets, TheIniValueIsReadOnceWhenTheClientIsMade) {
  ClientBench bench(1);
  bench.switches.indicationsEnabled = true;
  const kivtest::ScratchSetup other(0);
  fake::DeliverInd(0x1001, kSevenEightNine);
  EXPECT_EQ(bench.Messages().size(), 1u);
}

TEST(ReceivedPackets, SwitchesCountFromTheNextPacketOn) {
  ClientBench bench;
  fake::DeliverInd(0x1001, kSevenEightNine);
  bench.switches.instantInd = true;
  fake::DeliverInd(0x1001, kSevenEightNine);
  bench.switches.hexadecimal = true;
  fake::DeliverInd(0x1001, kSevenEightNine);
  bench.switches.showType = true;
  fake::DeliverInd(0x1001, kSevenEightNine);
  bench.switches.instantInd = false;
  fake::DeliverInd(0x1001, kSevenEightNine);
  EXPECT_EQ(bench.Texts(),
            (Texts{L"\n" + kRows, L"\n.first  = 0x07 \n.second = 0x0008 \n.third  = 0x00000009 \n",
                   L"\n.first  = 0x07  \n.second = 0x0008  \n.third  = 0x00000009  \n"}));
}

TEST(ReceivedPackets, BookkeepingThatBeginsWith255IsDropped) {
  ClientBench bench;
  bench.switches.indicationsEnabled = true;
  EXPECT_EQ(fake::Deliver({Cnf(0x7007, {255}), Ind(0x7007, {255}), Cnf(0x7007, {255, 1}),
                           Cnf(0x7007, {254}), Ind(0x7007, {0}), Cnf(0x1005, {255})}),
            0);
  EXPECT_EQ(bench.Texts(), (Texts{L"\n.value = 254 \n", L"\n.value = 0 \n", L"\n.value = 255 \n"}));
  EXPECT_EQ(bench.handlers.offers.size(), 6u);
  EXPECT_EQ(bench.handlers.hooks.size(), 3u);
}

TEST(ReceivedPackets, BookkeepingWithoutABodyIsShown) {
  ClientBench bench;
  fake::Deliver({Cnf(0x7007, {}), Bodiless(0x7007, 0)});
  EXPECT_EQ(bench.Texts(), (Texts{L"\nok", L"\nok"}));
}

TEST(ReceivedPackets, BookkeepingInsideAWrappedReplyIsShown) {
  ClientBench bench;
  Bytes body = WrappedBody(0, 0x7007, {255});
  fake::DeliverCnf(0x7000, body);
  EXPECT_EQ(bench.Texts(), (Texts{L"\n.value = 255 \n"}));
}

TEST(ReceivedPackets, WithoutABodyShowTheTextOfTheResultCode) {
  ClientBench bench;
  bench.switches.indicationsEnabled = true;
  fake::Deliver({Bodiless(0x1001, 0), Bodiless(0x1001, 700), Bodiless(0xABCD, 12345),
                 Bodiless(0x1001, 0xFFFFFFFFu), Cnf(0x1001, {}, 700), Bodiless(0x1001, 700, true)});
  EXPECT_EQ(bench.Texts(),
            (Texts{L"\nok", L"\nunknown command", L"\nresult 12345", L"\nresult 4294967295",
                   L"\nunknown command", L"\nunknown command"}));
}

TEST(ReceivedPackets, ThatTheCatalogueCannotReadAreAcknowledgedWithTheirId) {
  ClientBench bench;
  fake::Deliver({Cnf(0xabcd, {1}), Cnf(0x1001, {1, 2}), Cnf(0x100a, Bytes(2), 700),
                 Cnf(0x1001, Bytes(8)), Cnf(0xFFFFFFFFu, {1}), Cnf(0xf, {1})});
  EXPECT_EQ(bench.Texts(),
            (Texts{L"\nok [ack(0xABCD)]", L"\nok [ack(0x1001)]", L"\nunknown command [ack(0x100A)]",
                   L"\nok [ack(0x1001)]", L"\nok [ack(0xFFFFFFFF)]", L"\nok [ack(0xF)]"}));
}

TEST(ReceivedPackets, OfACommandWithoutThatStructureAreNotSupported) {
  ClientBench bench;
  bench.switches.indicationsEnabled = true;
  fake::Deliver({Cnf(0x1101, {1}, 700), Ind(0x1005, {1})});
  EXPECT_EQ(bench.Texts(), (Texts{L"\nNot supported!", L"\nNot supported!"}));
}

TEST(ReceivedPackets, OfANullStructureShowTheResultCodeAlone) {
  ClientBench bench;
  fake::Deliver({Cnf(0x1015, {1}), Cnf(0x1015, {1}, 700)});
  EXPECT_EQ(bench.Texts(), (Texts{L"\nok", L"\nunknown command"}));
}

TEST(ReceivedPackets, OfATextStructureShowTheTextAlone) {
  ClientBench bench;
  Bytes body = {'h', 'i', ' ', 'y', 'o', 'u'};
  body.resize(32);
  fake::DeliverCnf(0x1003, body);
  EXPECT_EQ(bench.Texts(), (Texts{L"\nhi you  "}));
}

TEST(ReceivedPackets, OfATextStructureWithoutTextAreANullMessage) {
  ClientBench bench;
  fake::DeliverCnf(0x1003, Bytes(32), 700);
  ASSERT_EQ(bench.Messages().size(), 1u);
  EXPECT_TRUE(bench.Messages()[0].isNull);
}

TEST(WrappedReplies, AreShownUnderTheirRealId) {
  ClientBench bench;
  fake::DeliverCnf(0x7000, WrappedBody(0, 0x1001, kSevenEightNine));
  EXPECT_EQ(bench.Texts(), kShownRows);
  EXPECT_EQ(bench.handlers.hooks, (Hooks{{1, kRows, 0x1001}}));
  ASSERT_EQ(bench.handlers.offers.size(), 1u);
  EXPECT_EQ(bench.handlers.offers[0].cmdId, 0x7000u);
  EXPECT_EQ(bench.handlers.offers[0].body.size(), 43u);
}

TEST(WrappedReplies, AreShownForIndicationsToo) {
  ClientBench bench;
  bench.switches.indicationsEnabled = true;
  fake::DeliverInd(0x7000, WrappedBody(0, 0x1001, kSevenEightNine));
  EXPECT_EQ(bench.handlers.hooks, (Hooks{{0, kRows, 0x1001}}));
}

TEST(WrappedReplies, AboveTheCounterStayWrapped) {
  ClientBench bench;
  const std::uint8_t route[18] = {1};
  const auto shown = [&](std::uint8_t sequence) {
    bench.handlers.hooks.clear();
    fake::DeliverCnf(0x7000, WrappedBody(sequence, 0x1001, kSevenEightNine));
    return bench.handlers.hooks.at(0);
  };
  const Hooks wrapped = {{1, L"ok [ack(0x7000)]", 0x7000}};
  const Hooks unwrapped = {{1, kRows, 0x1001}};
  EXPECT_EQ(shown(0), unwrapped[0]);  // also before anything was posted
  EXPECT_EQ(shown(1), wrapped[0]);
  bench.client->PostDiagCmd(0x1001, "x", 1, route, 0);
  EXPECT_EQ(shown(1), unwrapped[0]);
  EXPECT_EQ(shown(2), wrapped[0]);
  bench.client->PostDiagCmd(0x1001, "x", 1, route, 0);
  EXPECT_EQ(shown(2), unwrapped[0]);
  EXPECT_EQ(shown(3), wrapped[0]);
}

TEST(WrappedReplies, CompareTheWholeUnsignedSequence) {
  ClientBench bench;
  Bytes body = WrappedBody(0, 0x1001, kSevenEightNine);
  body[3] = 0x80;
  fake::DeliverCnf(0x7000, body);
  EXPECT_EQ(bench.handlers.hooks, (Hooks{{1, L"ok [ack(0x7000)]", 0x7000}}));
}

TEST(WrappedReplies, ShorterThanTheHeadHaveAnEmptyBody) {
  const Bytes whole = WrappedBody(0, 0x1001, {});
  for (std::size_t size = 1; size <= 36; ++size) {
    ClientBench bench;
    fake::Deliver({Cnf(0x7000, CutTo(whole, size), 700)});
    const std::wstring text = size < 4 ? L"unknown command [ack(0x7000)]" : L"unknown command";
    const std::uint32_t id = size < 10 ? 0x7000 : 0x1001;
    EXPECT_EQ(bench.handlers.hooks, (Hooks{{1, text, id}})) << size;
    EXPECT_EQ(bench.Texts(), (Texts{L"\n" + text})) << size;
  }
}

TEST(WrappedReplies, WithoutABodyAreTheResultCode) {
  ClientBench bench;
  fake::Deliver({Bodiless(0x7000, 700), Cnf(0x7000, {}, 700)});
  EXPECT_EQ(bench.handlers.hooks,
            (Hooks{{1, L"unknown command", 0x7000}, {1, L"unknown command", 0x7000}}));
}

TEST(WrappedReplies, OfAnUnknownRealIdAreAcknowledgedWithIt) {
  ClientBench bench;
  fake::DeliverCnf(0x7000, WrappedBody(0, 0xBEEF, {1}));
  EXPECT_EQ(bench.Texts(), (Texts{L"\nok [ack(0xBEEF)]"}));
}

TEST(ShownText, GoesThroughTheHookWhichMayRewriteOrClearIt) {
  ClientBench bench;
  bench.switches.indicationsEnabled = true;
  fake::Deliver({Ind(0x1001, kSevenEightNine), Cnf(0x1005, {5})});
  EXPECT_EQ(bench.handlers.hooks, (Hooks{{0, kRows, 0x1001}, {1, L".value = 5 \n", 0x1005}}));
  bench.handlers.rewrite = [](QCString& text) { text = L"other"; };
  fake::DeliverCnf(0x1005, {5});
  EXPECT_EQ(bench.Texts().back(), L"\nother");
  bench.handlers.rewrite = [](QCString& text) { text.Empty(); };
  EXPECT_EQ(fake::DeliverCnf(0x1005, {5}), 0);
  EXPECT_EQ(bench.Messages().size(), 4u);
  EXPECT_TRUE(bench.Messages().back().isNull);
  EXPECT_EQ(bench.Messages().back().kind, 1);
}

// The calls that one packet makes, messages included.
std::vector<std::string> CallsOf(ClientBench& bench, const Packet& packet) {
  const auto note = QObject::connect(
      &bench.sender, &SvcKivSpace::SvcKivMessage::SvcHandleMessage, &bench.sender,
      [](SvcKivSpace::SvcKivMsgType, void*) { fake::Note("message"); }, Qt::DirectConnection);
  const std::size_t before = fake::Calls().size();
  {
    const kivtest::TracesInSequence traces;
    fake::RecordPool(true);
    fake::Deliver({packet});
    fake::RecordPool(false);
  }
  QObject::disconnect(note);
  const std::vector<std::string> all = fake::Calls();
  return {all.begin() + static_cast<std::ptrdiff_t>(before), all.end()};
}

std::string Buffer(std::size_t lengthChars) {
  return "PoolMalloc(" + std::to_string((lengthChars + 2) * sizeof(wchar_t)) + ")";
}

TEST(ShownText, OfAConfirmationIsOfferedHookedTracedSentAndReleased) {
  ClientBench bench;
  EXPECT_EQ(CallsOf(bench, Bodiless(0x100A, 0)),
            (std::vector<std::string>{
                "trace [LirnKivClient::ReceiveCmd][0]cmdId[0x100a], isIndCmd[0]", "offer",
                "trace [LirnKivClient::ReceiveCmd]revice CNF CMD", "hook", Buffer(2),
                "trace [LirnKivClient::ReceiveCmd]text = \nok", "message", "PoolFree()"}));
}

TEST(ShownText, OfAnIndicationSaysSoInItsTraces) {
  ClientBench bench;
  bench.switches.instantInd = true;
  EXPECT_EQ(CallsOf(bench, Bodiless(0x1001, 0, true)),
            (std::vector<std::string>{
                "trace [LirnKivClient::ReceiveCmd][0]cmdId[0x1001], isIndCmd[1]", "offer",
                "trace [LirnKivClient::ReceiveCmd]revice IND CMD", "hook", Buffer(2),
                "trace [LirnKivClient::ReceiveCmd]text = \nok", "message", "PoolFree()"}));
}

TEST(ShownText, ThatIsEmptyIsANullMessageWithoutABuffer) {
  ClientBench bench;
  bench.handlers.rewrite = [](QCString& text) { text.Empty(); };
  EXPECT_EQ(
      CallsOf(bench, Bodiless(0x1001, 0)),
      (std::vector<std::string>{"trace [LirnKivClient::ReceiveCmd][0]cmdId[0x1001], isIndCmd[0]",
                                "offer", "trace [LirnKivClient::ReceiveCmd]revice CNF CMD", "hook",
                                "trace [LirnKivClient::ReceiveCmd]text = ", "message"}));
}

TEST(ShownText, ADroppedPacketIsTracedAndOfferedOnly) {
  ClientBench bench;
  EXPECT_EQ(CallsOf(bench, Ind(0x1001, {1})),
            (std::vector<std::string>{
                "trace [LirnKivClient::ReceiveCmd][0]cmdId[0x1001], isIndCmd[1]", "offer"}));
  EXPECT_EQ(CallsOf(bench, Cnf(0x7007, {255})),
            (std::vector<std::string>{
                "trace [LirnKivClient::ReceiveCmd][0]cmdId[0x7007], isIndCmd[0]", "offer"}));
}

TEST(ShownText, TracesCarryThePlaceInTheBatch) {
  ClientBench bench;
  bench.handlers.answer = [](std::uint32_t) { return 0; };
  kivtest::TraceEar traces;
  fake::Deliver({Cnf(0xA011, {}), Cnf(0xFFFFFFFFu, {}), Ind(0x1, {})});
  EXPECT_EQ(traces.Lines(), (Texts{L"[LirnKivClient::ReceiveCmd][0]cmdId[0xa011], isIndCmd[0]",
                                   L"[LirnKivClient::ReceiveCmd][1]cmdId[0xffffffff], isIndCmd[0]",
                                   L"[LirnKivClient::ReceiveCmd][2]cmdId[0x1], isIndCmd[1]"}));
}

TEST(ShownText, ThatHasNoBufferEndsTheBatchAfterAllWereCounted) {
  ClientBench bench;
  CTransferProfile& profile = bench.InstallProfile();
  const std::uint64_t blocks = pool::LiveBlocks();
  pool::FailNth(2);  // the second record's
  EXPECT_EQ(fake::Deliver({Bodiless(1, 0), Bodiless(2, 700), Bodiless(3, 0)}), -1);
  pool::FailNth(0);
  EXPECT_EQ(bench.Texts(), (Texts{L"\nok"}));
  EXPECT_EQ(bench.handlers.offers.size(), 2u);
  EXPECT_EQ(profile.RecvCount(), 3u);
  EXPECT_EQ(pool::LiveBlocks(), blocks);
}

TEST(ShownText, WithoutMemoryForTheTreeSaysSoAndSendsIt) {
  std::vector<Texts> outcomes;
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 50u);
    ClientBench bench;
    fake::DeliverCnf(0x1001, kSevenEightNine);  // what is made once is made
    const std::uint64_t blocks = pool::LiveBlocks();
    pool::FailNth(n);
    const std::int32_t answer = fake::DeliverCnf(0x1001, kSevenEightNine);
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(pool::LiveBlocks(), blocks) << n;
    Texts texts = bench.Texts();
    texts.erase(texts.begin());
    if (!failed) {
      EXPECT_EQ(texts, kShownRows);
      break;
    }
    EXPECT_EQ(answer, texts.empty() ? -1 : 0) << n;
    outcomes.push_back(texts);
  }
  EXPECT_EQ(outcomes, (std::vector<Texts>{{L"\nNot enough memory!"}, {}}));
}

// In a process of its own: a catalogue that was once open stays in use.
TEST(ShownText, WithoutACatalogueFileNamesTheMissingFile) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto texts = [] {
    ClientBench bench(1, "", "/nonexistent/none.kcat");
    fake::DeliverCnf(0x1001, kSevenEightNine);
    return bench.Texts();
  };
  EXPECT_EXIT(
      {
        for (const std::wstring& text : texts()) {
          std::fprintf(stderr, "<%s>", QCString(text).ToUtf8().c_str());
        }
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^<\nNo ZEBM data library file found!>$");
}

TEST(ShownText, IsAnsweredToTheCallerOfShowReply) {
  ClientBench bench;
  SvcKivClass::ReplyDescriptor reply;
  reply.cmdId = 0x1005;
  const std::uint8_t body[] = {9};
  reply.body = body;
  reply.bodyLengthBytes = 1;
  QCString text(L"before");
  EXPECT_EQ(bench.client->ShowReply(reply, text), 1);
  EXPECT_EQ(text, L".value = 9 \n");
  EXPECT_EQ(bench.Texts(), (Texts{L"\n.value = 9 \n"}));
  pool::FailNth(1);
  reply.body = nullptr;
  reply.bodyLengthBytes = 0;
  EXPECT_EQ(bench.client->ShowReply(reply, text), -1);
  pool::FailNth(0);
  EXPECT_EQ(bench.Texts().size(), 1u);
}

TEST(ShownText, IsSentInTheThreadThatDelivers) {
  ClientBench bench;
  std::thread::id thread;
  std::thread receiver([&] {
    thread = std::this_thread::get_id();
    fake::DeliverCnf(0x1005, {1});
  });
  receiver.join();
  ASSERT_EQ(bench.Messages().size(), 1u);
  EXPECT_EQ(bench.Messages()[0].thread, thread);
}

}  // namespace
