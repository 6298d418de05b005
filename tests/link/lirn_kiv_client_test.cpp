#include "link/lirn_kiv_client.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/fakes/module_bench.h"

namespace {

using fake::Packet;
using fake::Post;
using fake::PostKind;
using kivtest::Message;
using SvcKivClass::LirnKivClient;
using SvcKivClass::LiveSwitches;
using SvcKivClass::ReplyDescriptor;
using SvcKivClass::ReplyHandlers;
using Body = std::vector<std::uint8_t>;
using Lines = std::vector<std::wstring>;
using Posts = std::vector<Post>;

constexpr std::uint8_t kRoute[18] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88,
                                     0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01, 0x02};
constexpr std::uint8_t kNoRoute[18] = {};

// What a controller would answer, as a test says.
class Handlers : public ReplyHandlers {
 public:
  std::int32_t OfferReply(std::uint32_t cmdId, std::uint32_t resultCode, const std::uint8_t* body,
                          std::uint32_t bodyLengthBytes, const ReplyDescriptor& reply) override {
    EXPECT_EQ(cmdId, reply.cmdId);
    EXPECT_EQ(resultCode, reply.resultCode);
    EXPECT_EQ(body, reply.body);
    EXPECT_EQ(bodyLengthBytes, reply.bodyLengthBytes);
    offered.push_back(reply);
    return answer;
  }
  void HookText(std::uint32_t kind, QCString& text, std::uint32_t cmdId) override {
    hooks.push_back({kind, text.str(), cmdId});
    if (rewrite) text = *rewrite;
  }

  struct Hook {
    std::uint32_t kind;
    std::wstring text;
    std::uint32_t cmdId;
    bool operator==(const Hook&) const = default;
  };
  std::int32_t answer = 50;
  std::optional<QCString> rewrite;
  std::vector<ReplyDescriptor> offered;
  std::vector<Hook> hooks;
};

// A client on its own: no application object, handlers only where a test sets them.
class LirnKivClientTest : public testing::Test {
 protected:
  LirnKivClientTest() { fake::ResetSeam(); }

  void SetUp() override { MakeClient(1); }

  void MakeClient(int ver) {
    setup_.WritePlatformIni(ver);
    client_.reset();
    client_ = std::make_unique<LirnKivClient>(
        L"Kiv 1", SvcKivClass::LirnKivClientParts{switches_, sender_, handlers_});
    client_->InstallClient(256, 1);
    client_->StartConnect(256, 1, 8191, 1, 0);
    switches_.ueConnectStatus = 1;
  }
  void InstallProfile() { TpfClientInstall(client_->TransferProfile(), 256, 1); }
  CTransferProfile& Profile() { return *client_->TransferProfile().load(); }
  void UseHandlers() { handlers_ = &fakeHandlers_; }

  std::uint32_t PostBytes(std::size_t count, const std::uint8_t* route) {
    const Body data(count, 7);
    return client_->PostDiagCmd(0x1001, data.data(), static_cast<std::uint32_t>(count), route, 3);
  }
  std::size_t LastPostBytes() {
    const Posts posts = fake::Posts();
    return posts.empty() ? 0 : posts.back().body.size();
  }

  kivtest::ScratchSetup setup_;
  LiveSwitches switches_;
  SvcKivSpace::SvcKivMessage sender_;
  std::atomic<ReplyHandlers*> handlers_{nullptr};
  Handlers fakeHandlers_;
  kivtest::MessageEar ear_{sender_};
  std::unique_ptr<LirnKivClient> client_;
};

// --- posting ---

using PostDiagCmd = LirnKivClientTest;

TEST_F(PostDiagCmd, PostsPlainDataAsItIs) {
  for (const std::uint8_t* route : {kNoRoute, static_cast<const std::uint8_t*>(nullptr)}) {
    fake::ResetSeam();
    EXPECT_EQ(client_->PostDiagCmd(0x12345678, "abc", 3, route, 0xBEEF), 0u);
    EXPECT_EQ(fake::Posts(), Posts({{PostKind::kCmd, 0x12345678, {'a', 'b', 'c'}, 0xBEEF, 0, 0}}));
  }
}

TEST_F(PostDiagCmd, RefusesNullDataEvenWhenNothingIsConnected) {
  switches_.ueConnectStatus = 0;
  EXPECT_EQ(client_->PostDiagCmd(0x1001, nullptr, 0, kNoRoute, 3), 0xFFFFFFFFu);
  EXPECT_EQ(client_->PostDiagCmd(0x1001, nullptr, 5000, kRoute, 3), 0xFFFFFFFFu);
  EXPECT_EQ(fake::Posts(), Posts());
}

TEST_F(PostDiagCmd, NeedsAConnectedDevice) {
  switches_.ueConnectStatus = 0;
  EXPECT_EQ(PostBytes(1, kNoRoute), 502u);
  EXPECT_EQ(PostBytes(5000, kNoRoute), 502u);
  switches_.ueConnectStatus = -1;
  EXPECT_EQ(PostBytes(1, kNoRoute), 0u);
}

TEST_F(PostDiagCmd, TakesTwoKibibytesOfPlainData) {
  EXPECT_EQ(PostBytes(2048, kNoRoute), 0u);
  EXPECT_EQ(LastPostBytes(), 2048u);
  EXPECT_EQ(PostBytes(2049, kNoRoute), 22u);
  EXPECT_EQ(fake::Posts().size(), 1u);
}

TEST_F(PostDiagCmd, TakesTwoKibibytesHeadIncludedWithARoute) {
  EXPECT_EQ(PostBytes(2012, kRoute), 0u);
  EXPECT_EQ(LastPostBytes(), 2048u);
  EXPECT_EQ(PostBytes(2013, kRoute), 22u);
  EXPECT_EQ(PostBytes(2049, kRoute), 22u);
  EXPECT_EQ(fake::Posts().size(), 1u);
}

TEST_F(PostDiagCmd, TakesNoDataAtAll) {
  EXPECT_EQ(client_->PostDiagCmd(0x1001, "", 0, kNoRoute, 3), 0u);
  EXPECT_EQ(LastPostBytes(), 0u);
  EXPECT_EQ(client_->PostDiagCmd(0x1001, "", 0, kRoute, 3), 0u);
  EXPECT_EQ(LastPostBytes(), 36u);
}

TEST_F(PostDiagCmd, WrapsRoutedDataWithACountingSequence) {
  EXPECT_EQ(client_->PostDiagCmd(0xABCD1001, "xy", 2, kRoute, 9), 0u);
  EXPECT_EQ(client_->PostDiagCmd(0x1001, "xy", 2, kRoute, 10), 0u);
  Body expected = {0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0x10, 0, 0};
  expected.insert(expected.end(), std::begin(kRoute), std::end(kRoute));
  expected.insert(expected.end(), {0, 0, 0, 0, 0, 0, 'x', 'y'});
  Body second = expected;
  second[0] = 1;
  EXPECT_EQ(fake::Posts(), Posts({{PostKind::kCmd, 0x7000, expected, 9, 0, 0},
                                  {PostKind::kCmd, 0x7000, second, 10, 0, 0}}));
}

TEST_F(PostDiagCmd, LooksAtTheFirstSixBytesOfTheRouteOnly) {
  std::uint8_t route[18] = {};
  route[6] = 1;
  EXPECT_EQ(PostBytes(1, route), 0u);
  EXPECT_EQ(LastPostBytes(), 1u);
  for (int i = 0; i < 6; ++i) {
    std::uint8_t one[18] = {};
    one[i] = 1;
    EXPECT_EQ(PostBytes(1, one), 0u);
    EXPECT_EQ(LastPostBytes(), 37u) << i;
  }
}

TEST_F(PostDiagCmd, UsesASequenceNumberUpWhenThePostFails) {
  fake::SetPostStatus(9);
  EXPECT_EQ(PostBytes(1, kRoute), 9u);
  fake::SetPostStatus(0);
  EXPECT_EQ(PostBytes(1, kRoute), 0u);
  EXPECT_EQ(fake::Posts().back().body[0], 1);
}

TEST_F(PostDiagCmd, WithoutMemoryPostsNothingAndUsesNoNumber) {
  pool::FailNth(1);
  EXPECT_EQ(PostBytes(1, kRoute), 500u);
  pool::FailNth(0);
  EXPECT_EQ(fake::Posts(), Posts());
  EXPECT_EQ(PostBytes(1, kRoute), 0u);
  EXPECT_EQ(fake::Posts().back().body[0], 0);
}

TEST_F(PostDiagCmd, ReleasesTheWrappedPacketWhateverBecomesOfIt) {
  const std::uint64_t blocks = pool::LiveBlocks();
  for (std::uint32_t status : {0u, 9u}) {
    fake::SetPostStatus(status);
    PostBytes(5, kRoute);
    EXPECT_EQ(pool::LiveBlocks(), blocks);
  }
}

TEST_F(PostDiagCmd, CountsTheCallersBytesOfAcceptedPosts) {
  PostBytes(5, kRoute);  // no profile yet
  InstallProfile();
  PostBytes(5, kRoute);
  PostBytes(7, kNoRoute);
  EXPECT_EQ(Profile().TxCount(), 2u);
  EXPECT_EQ(Profile().TxBytes(), 12u);
  fake::SetPostStatus(9);
  PostBytes(5, kRoute);
  PostBytes(5000, kRoute);
  EXPECT_EQ(Profile().TxCount(), 2u);
}

TEST_F(PostDiagCmd, AnswersTheStatusOfTheLink) {
  fake::SetPostStatus(1234567);
  EXPECT_EQ(PostBytes(1, kNoRoute), 1234567u);
  EXPECT_EQ(PostBytes(1, kRoute), 1234567u);
  fake::SetDeviceThere(false);
  EXPECT_EQ(PostBytes(1, kNoRoute), 3207u);
}

// --- receiving ---

using ReceiveCmd = LirnKivClientTest;

TEST_F(ReceiveCmd, ShowsAConfirmationWithALineFeedInFront) {
  EXPECT_EQ(fake::DeliverCnf(0x1001, {1, 2, 0, 3, 0, 0, 0}), 0);
  ASSERT_EQ(ear_.All().size(), 1u);
  const Message message = ear_.All()[0];
  EXPECT_EQ(message.kind, 1);
  EXPECT_EQ(message.text, L"\n.first  = 1 \n.second = 2 \n.third  = 3 \n");
}

TEST_F(ReceiveCmd, ShowsTheResultCodeWhenThereIsNoBody) {
  fake::Deliver({{.cmdId = 0x1001, .resultCode = 0, .hasBody = false},
                 {.cmdId = 0x1001, .resultCode = 22, .body = {}},
                 {.cmdId = 0x1001, .resultCode = 987654, .hasBody = false}});
  EXPECT_EQ(ear_.Texts(), (Lines{L"\nok", L"\ntoo long", L"\nresult 987654"}));
}

TEST_F(ReceiveCmd, AnswersZeroForAnEmptyBatch) {
  InstallProfile();
  EXPECT_EQ(fake::Deliver({}), 0);
  EXPECT_EQ(Profile().RecvCount(), 0u);
}

TEST_F(ReceiveCmd, ShowsABatchInOrder) {
  EXPECT_EQ(fake::Deliver({{.cmdId = 1, .resultCode = 22, .hasBody = false},
                           {.cmdId = 2, .resultCode = 0, .hasBody = false},
                           {.cmdId = 3, .resultCode = 500, .hasBody = false}}),
            0);
  EXPECT_EQ(ear_.Texts(), (Lines{L"\ntoo long", L"\nok", L"\nnot enough memory"}));
}

TEST_F(ReceiveCmd, CountsTheWholeBatchBeforeItShowsAnything) {
  InstallProfile();
  std::uint64_t counted = 0;
  QObject::connect(
      &sender_, &SvcKivSpace::SvcKivMessage::SvcHandleMessage, &sender_,
      [&] { counted = Profile().RecvBytes(); }, Qt::DirectConnection);
  fake::Deliver({{.cmdId = 1, .body = {1, 2, 3}}, {.cmdId = 2, .isInd = true, .body = {4, 5}}});
  EXPECT_EQ(counted, 5u);
  EXPECT_EQ(Profile().RecvCount(), 2u);
  EXPECT_EQ(Profile().RecvBytes(), 5u);
}

TEST_F(ReceiveCmd, EndsTheBatchWhereShowingFails) {
  InstallProfile();
  pool::FailNth(2);
  const std::int32_t answer = fake::Deliver({{.cmdId = 1, .hasBody = false},
                                             {.cmdId = 2, .hasBody = false},
                                             {.cmdId = 3, .hasBody = false}});
  pool::FailNth(0);
  EXPECT_EQ(answer, -1);
  EXPECT_EQ(ear_.Texts(), Lines{L"\nok"});
  EXPECT_EQ(Profile().RecvCount(), 3u);
}

TEST_F(ReceiveCmd, OffersEachPacketToTheHandlersFirst) {
  UseHandlers();
  fakeHandlers_.answer = 0;
  EXPECT_EQ(fake::Deliver({{.cmdId = 5,
                            .resultCode = 6,
                            .isInd = true,
                            .body = {1, 2},
                            .tag = 7,
                            .word16 = 8,
                            .word = 9}}),
            0);
  ASSERT_EQ(fakeHandlers_.offered.size(), 1u);
  const ReplyDescriptor& reply = fakeHandlers_.offered[0];
  EXPECT_EQ(reply.cmdId, 5u);
  EXPECT_EQ(reply.resultCode, 6u);
  EXPECT_EQ(reply.isInd, 1u);
  EXPECT_EQ(reply.bodyLengthBytes, 2u);
  EXPECT_EQ(reply.tag, 7);
  EXPECT_EQ(reply.word16, 8);
  EXPECT_EQ(reply.word, 9u);
  EXPECT_EQ(ear_.All().size(), 0u);
  EXPECT_EQ(fakeHandlers_.hooks.size(), 0u);
}

TEST_F(ReceiveCmd, GoesOnWithTheNextPacketAfterATakenOne) {
  UseHandlers();
  fakeHandlers_.answer = 0;
  fake::Deliver({{.cmdId = 1, .hasBody = false}, {.cmdId = 2, .hasBody = false}});
  EXPECT_EQ(fakeHandlers_.offered.size(), 2u);
}

TEST_F(ReceiveCmd, ShowsWhatHandlersDidNotTake) {
  UseHandlers();
  for (std::int32_t answer : {50, -1, 1}) {
    fakeHandlers_.answer = answer;
    fake::DeliverCnf(1, {});
  }
  EXPECT_EQ(ear_.Texts(), (Lines{L"\nok", L"\nok", L"\nok"}));
}

TEST_F(ReceiveCmd, DropsTheDevicesOwnBookkeeping) {
  switches_.indicationsEnabled = true;
  EXPECT_EQ(fake::Deliver({{.cmdId = 0x7007, .body = {255}},
                           {.cmdId = 0x7007, .isInd = true, .body = {255, 1}},
                           {.cmdId = 0x7007, .body = {254}},
                           {.cmdId = 0x7007, .body = {}},
                           {.cmdId = 0x7007, .hasBody = false},
                           {.cmdId = 0x7008, .body = {255}}}),
            0);
  ASSERT_EQ(ear_.All().size(), 4u);
  EXPECT_EQ(ear_.Texts()[0], L"\n.value = 254 \n");
  EXPECT_EQ(ear_.Texts()[1], L"\nok");
  EXPECT_EQ(ear_.Texts()[2], L"\nok");
}

TEST_F(ReceiveCmd, ShowsIndicationsBySupportSettingAndFlag) {
  for (int ver : {0, 1, 2}) {
    for (bool enabled : {false, true}) {
      for (bool instant : {false, true}) {
        SCOPED_TRACE(testing::Message() << ver << enabled << instant);
        MakeClient(ver);
        switches_.indicationsEnabled = enabled;
        switches_.instantInd = instant;
        const std::size_t before = ear_.All().size();
        EXPECT_EQ(fake::DeliverInd(0x1001, {1, 2, 0, 3, 0, 0, 0}), 0);
        const bool shown = ver != 0 && (enabled || instant);
        EXPECT_EQ(ear_.All().size() - before, shown ? 1u : 0u);
        EXPECT_EQ(fake::DeliverCnf(0x1001, {1, 2, 0, 3, 0, 0, 0}), 0);
        EXPECT_EQ(ear_.All().size() - before, shown ? 2u : 1u);
      }
    }
  }
}

TEST_F(ReceiveCmd, ReadsTheIndicationSupportOnceAtConstruction) {
  switches_.indicationsEnabled = true;
  setup_.WritePlatformIni(0);
  fake::DeliverInd(0x1001, {1, 2, 0, 3, 0, 0, 0});
  EXPECT_EQ(ear_.All().size(), 1u);
}

TEST_F(ReceiveCmd, ReadsTheDisplaySwitchesAtEachReply) {
  fake::DeliverCnf(0x7007, {7});
  switches_.hexadecimal = true;
  fake::DeliverCnf(0x7007, {7});
  switches_.showType = true;
  fake::DeliverCnf(0x7007, {7});
  EXPECT_EQ(ear_.Texts(),
            (Lines{L"\n.value = 7 \n", L"\n.value = 0x07 \n", L"\n.value = 0x07  \n"}));
}

TEST_F(ReceiveCmd, TracesEachPacketAndWhatIsShown) {
  switches_.indicationsEnabled = true;
  UseHandlers();
  kivtest::TraceEar traces;
  fake::Deliver({{.cmdId = 0xABC, .hasBody = false},
                 {.cmdId = 0x1001, .isInd = true, .body = {1, 2, 0, 3, 0, 0, 0}}});
  fakeHandlers_.rewrite = QCString();
  fake::DeliverCnf(1, {});
  EXPECT_EQ(
      traces.Lines(),
      (Lines{L"[LirnKivClient::ReceiveCmd][0]cmdId[0xabc], isIndCmd[0]",
             L"[LirnKivClient::ReceiveCmd]revice CNF CMD",
             L"[LirnKivClient::ReceiveCmd]text = \nok",
             L"[LirnKivClient::ReceiveCmd][1]cmdId[0x1001], isIndCmd[1]",
             L"[LirnKivClient::ReceiveCmd]revice IND CMD",
             L"[LirnKivClient::ReceiveCmd]text = \n.first  = 1 \n.second = 2 \n.third  = 3 \n",
             L"[LirnKivClient::ReceiveCmd][0]cmdId[0x1], isIndCmd[0]",
             L"[LirnKivClient::ReceiveCmd]revice CNF CMD", L"[LirnKivClient::ReceiveCmd]text = "}));
}

TEST_F(ReceiveCmd, TracesAPacketThatIsDropped) {
  kivtest::TraceEar traces;
  fake::DeliverInd(0x1001, {1});
  EXPECT_EQ(traces.Lines(), Lines{L"[LirnKivClient::ReceiveCmd][0]cmdId[0x1001], isIndCmd[1]"});
}

TEST_F(ReceiveCmd, ReleasesEachTextAfterItWasSent) {
  const std::uint64_t blocks = pool::LiveBlocks();
  fake::RecordPool(true);
  QObject::connect(
      &sender_, &SvcKivSpace::SvcKivMessage::SvcHandleMessage, &sender_,
      [] { fake::Note("shown"); }, Qt::DirectConnection);
  fake::Deliver({{.cmdId = 1, .hasBody = false}});
  fake::RecordPool(false);
  std::vector<std::string> calls = fake::Calls();
  const std::vector<std::string> tail(calls.end() - 3, calls.end());
  // "ok", its line feed and its terminator.
  EXPECT_EQ(tail,
            (std::vector<std::string>{"PoolMalloc(" + std::to_string(4 * sizeof(wchar_t)) + ")",
                                      "shown", "PoolFree()"}));
  EXPECT_EQ(pool::LiveBlocks(), blocks);
}

// --- showing ---

using ShowReply = LirnKivClientTest;

TEST_F(ShowReply, RunsTheHookWithKindTextAndId) {
  switches_.indicationsEnabled = true;
  UseHandlers();
  fake::DeliverCnf(0xABC, {});
  fake::DeliverInd(0xABD, {});
  EXPECT_EQ(fakeHandlers_.hooks,
            (std::vector<Handlers::Hook>{{1, L"ok", 0xABC}, {0, L"ok", 0xABD}}));
}

TEST_F(ShowReply, SendsWhatTheHookMadeOfTheText) {
  UseHandlers();
  fakeHandlers_.rewrite = QCString(L"other");
  fake::DeliverCnf(1, {});
  EXPECT_EQ(ear_.Texts(), Lines{L"\nother"});
}

TEST_F(ShowReply, SendsANullBufferWhenTheHookClearedTheText) {
  UseHandlers();
  fakeHandlers_.rewrite = QCString();
  EXPECT_EQ(fake::DeliverCnf(1, {}), 0);
  ASSERT_EQ(ear_.All().size(), 1u);
  EXPECT_TRUE(ear_.All()[0].isNull);
}

TEST_F(ShowReply, AnswersMinusOneWithoutABufferAndSendsNothing) {
  QCString text;
  const ReplyDescriptor reply{.cmdId = 1};
  pool::FailNth(1);
  EXPECT_EQ(client_->ShowReply(reply, text), -1);
  pool::FailNth(0);
  EXPECT_EQ(ear_.All().size(), 0u);
  EXPECT_EQ(text, L"ok");
  EXPECT_EQ(client_->ShowReply(reply, text), 1);
  EXPECT_EQ(ear_.Texts(), Lines{L"\nok"});
}

TEST_F(ShowReply, UnwrapsAReplyToARoutedPost) {
  UseHandlers();
  Body body(36);
  body[8] = 0x01;
  body[9] = 0x10;
  const Body values = {1, 2, 0, 3, 0, 0, 0};
  body.insert(body.end(), values.begin(), values.end());
  fake::DeliverCnf(0x7000, body);
  EXPECT_EQ(ear_.Texts(), Lines{L"\n.first  = 1 \n.second = 2 \n.third  = 3 \n"});
  EXPECT_EQ(fakeHandlers_.offered.at(0).cmdId, 0x7000u);
  EXPECT_EQ(fakeHandlers_.hooks.at(0).cmdId, 0x1001u);
}

TEST_F(ShowReply, LeavesAReplyAboveTheCounterWrapped) {
  UseHandlers();
  Body body(43);
  body[0] = 1;
  body[8] = 0x01;
  body[9] = 0x10;
  fake::DeliverCnf(0x7000, body);
  EXPECT_EQ(fakeHandlers_.hooks.at(0).cmdId, 0x7000u);
  PostBytes(1, kRoute);
  fake::DeliverCnf(0x7000, body);
  EXPECT_EQ(fakeHandlers_.hooks.at(1).cmdId, 0x1001u);
  EXPECT_EQ(ear_.Texts().at(0), L"\nok [ack(0x7000)]");
  EXPECT_EQ(ear_.Texts().at(1), L"\n.first  = 0 \n.second = 0 \n.third  = 0 \n");
}

TEST_F(ShowReply, ShowsTheResultCodeOfAShortWrappedBody) {
  UseHandlers();
  for (std::uint32_t length = 4; length <= 36; ++length) {
    Body body(length);
    if (length >= 10) {
      body[8] = 0x01;
      body[9] = 0x10;
    }
    fake::DeliverCnf(0x7000, body, 22);
    EXPECT_EQ(ear_.Texts().back(), L"\ntoo long") << length;
    EXPECT_EQ(fakeHandlers_.hooks.back().cmdId, length < 10 ? 0x7000u : 0x1001u) << length;
  }
}

TEST_F(ShowReply, OfAnUnknownIdShowsTheAcknowledgement) {
  fake::DeliverCnf(0xBEEF, {1}, 22);
  EXPECT_EQ(ear_.Texts(), Lines{L"\ntoo long [ack(0xBEEF)]"});
}

TEST_F(ShowReply, OfAStructureWithNothingToShowIsTheResultCodeAlone) {
  fake::DeliverCnf(0x1015, {1}, 22);
  EXPECT_EQ(ear_.Texts(), Lines{L"\ntoo long"});
}

TEST_F(ShowReply, OfAStringShowsTheString) {
  Body body(32);
  const std::string text = "hello";
  std::copy(text.begin(), text.end(), body.begin());
  fake::DeliverCnf(0x1003, body);
  EXPECT_EQ(ear_.Texts(), Lines{L"\nhello  "});
}

TEST_F(ShowReply, SurvivesEveryFailingAllocation) {
  const std::uint64_t blocks = pool::LiveBlocks();
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 100u);
    pool::FailNth(n);
    fake::DeliverCnf(0x1001, {1, 2, 0, 3, 0, 0, 0});
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(pool::LiveBlocks(), blocks);
    if (!failed) break;
  }
  EXPECT_EQ(ear_.Texts().back(), L"\n.first  = 1 \n.second = 2 \n.third  = 3 \n");
}

}  // namespace
