// The agent's conversation, with a program around it that only records.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "device/core/agent.h"
#include "tests/device/line_recorder.h"

namespace kivtest {
namespace {

constexpr uint32_t kDouble = 0x10;
constexpr uint32_t kFails = 0x11;
constexpr uint32_t kTooMuch = 0x12;

uint32_t Double(void* context, const uint8_t* request, uint32_t requestBytes, kiv_writer* reply) {
  ++*static_cast<int*>(context);
  kiv_reader reader = kiv_reader_of(request, requestBytes);
  kiv_write_u32(reply, kiv_read_u32(&reader) * 2);
  return KIV_RESULT_OK;
}

uint32_t Fails(void*, const uint8_t*, uint32_t, kiv_writer* reply) {
  kiv_write_u32(reply, 1);
  return KIV_RESULT_FIGURES_FAILED;
}

uint32_t WritesTooMuch(void*, const uint8_t*, uint32_t, kiv_writer* reply) {
  for (int i = 0; i < 100; ++i) kiv_write_u32(reply, 1);
  return KIV_RESULT_OK;
}

const kiv_command kCommands[] = {
    {kDouble, 4, 4, Double}, {kFails, 0, 100, Fails}, {kTooMuch, 0, 0, WritesTooMuch}};

class Agent : public testing::Test {
 protected:
  Agent() : frameBuffer_(KIV_MAX_FRAME_BYTES), replyBuffer_(64) {
    setup_.self.variant = 248;
    setup_.self.name = reinterpret_cast<const uint8_t*>("unit");
    setup_.self.name_bytes = 4;
    setup_.commands = kCommands;
    setup_.command_count = 3;
    setup_.command_context = &doubled_;
    setup_.reply_buffer = replyBuffer_.data();
    setup_.reply_bytes = static_cast<uint32_t>(replyBuffer_.size());
    const kiv_agent_owner owner = {this,    TakeStorage, GiveBackStorage, SessionReplaced,
                                   HasRoom, Send,        Dropped};
    kiv_agent_init(&agent_, &setup_, &owner, frameBuffer_.data());
  }
  ~Agent() override { kiv_agent_end(&agent_); }

  void Feed(const kiv_head& head, const Bytes& body = {}, uint32_t pieceBytes = 1000) {
    const Bytes line = EncodeMessage(head, body, pieceBytes);
    kiv_agent_feed(&agent_, line.data(), static_cast<uint32_t>(line.size()));
  }

  void Greet(const std::string& token = "", uint16_t version = 1) {
    kiv_hello hello{};
    hello.protocol_version = version;
    hello.token = reinterpret_cast<const uint8_t*>(token.data());
    hello.token_bytes = static_cast<uint8_t>(token.size());
    Bytes body(KIV_HELLO_MAX_BYTES);
    body.resize(kiv_hello_write(&hello, KIV_SIDE_HOST, body.data()));
    Feed(HeadOf(KIV_HELLO, 0, 77, 0), body);
    sequence_ = 1;
  }

  // Sends a request and returns what was answered.
  Recorded Ask(uint32_t id, const Bytes& body = {}) {
    kiv_head head = HeadOf(KIV_REQUEST, id, 9, sequence_++);
    head.word16 = 3;
    head.word32 = 4;
    sent_.clear();
    Feed(head, body);
    EXPECT_EQ(sent_.size(), 1u);
    return sent_.empty() ? Recorded{} : sent_.front();
  }

  static Recorded Confirmation(uint32_t id, uint32_t result, const Bytes& body) {
    kiv_head head = HeadOf(KIV_CNF, id, 9, 0);
    head.word16 = 3;
    head.word32 = 4;
    head.result = result;
    head.body_bytes = static_cast<uint32_t>(body.size());
    return {head, body};
  }

  void RequireToken(const char* token) {
    setup_.self.token = reinterpret_cast<const uint8_t*>(token);
    setup_.self.token_bytes = static_cast<uint8_t>(std::string(token).size());
  }

  kiv_agent_setup setup_{};
  kiv_agent agent_{};
  uint32_t sequence_ = 1;
  int doubled_ = 0;
  bool storageFails_ = false;
  bool hasRoom_ = true;
  std::vector<Recorded> sent_;
  std::vector<bool> sessions_;

 private:
  static Agent* Of(void* context) { return static_cast<Agent*>(context); }
  static uint8_t* TakeStorage(void* context, uint32_t bodyBytes) {
    return Of(context)->storageFails_ ? nullptr : static_cast<uint8_t*>(std::malloc(bodyBytes));
  }
  static void GiveBackStorage(void*, uint8_t* storage) { std::free(storage); }
  static void SessionReplaced(void* context, bool accepted) {
    Of(context)->sessions_.push_back(accepted);
  }
  static bool HasRoom(void* context) { return Of(context)->hasRoom_; }
  static void Send(void* context, const kiv_head* head, const uint8_t* body, uint32_t bodyBytes) {
    Recorded sent{*head, Bytes(body, body + bodyBytes)};
    sent.head.body_bytes = bodyBytes;
    Of(context)->sent_.push_back(sent);
  }
  static uint32_t Dropped(void*) { return 12; }

  Bytes frameBuffer_;
  Bytes replyBuffer_;
};

TEST_F(Agent, AnswersAGreetingWithItsOwn) {
  Greet();
  ASSERT_EQ(sent_.size(), 1u);
  EXPECT_EQ(sent_[0].head.kind, KIV_HELLO);
  EXPECT_EQ(sent_[0].head.tag, 77);
  EXPECT_EQ(sent_[0].head.result, 0u);
  kiv_hello hello;
  ASSERT_TRUE(kiv_hello_read(&hello, KIV_SIDE_AGENT, sent_[0].body.data(),
                             static_cast<uint32_t>(sent_[0].body.size())));
  EXPECT_EQ(hello.variant, 248);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(hello.name), hello.name_bytes), "unit");
  EXPECT_EQ(sessions_, std::vector<bool>{true});
}

TEST_F(Agent, RefusesEachTokenButItsOwn) {
  RequireToken("secret");
  for (const char* wrong : {"", "secre", "secreT", "Secret", "secret1"}) {
    sent_.clear();
    Greet(wrong);
    ASSERT_EQ(sent_.size(), 1u) << wrong;
    EXPECT_EQ(sent_[0].head.result, uint32_t{KIV_RESULT_TOKEN_REFUSED}) << wrong;
    sent_.clear();
    Feed(HeadOf(KIV_REQUEST, kDouble, 1, 1), {1, 0, 0, 0});
    EXPECT_TRUE(sent_.empty()) << wrong;
  }
  sessions_.clear();
  Greet("secret");
  EXPECT_EQ(sessions_, std::vector<bool>{true});
  EXPECT_EQ(Ask(kDouble, {1, 0, 0, 0}), Confirmation(kDouble, 0, {2, 0, 0, 0}));
}

TEST_F(Agent, NeverTellsItsToken) {
  RequireToken("secret");
  Greet("secret");
  const std::string body(sent_[0].body.begin(), sent_[0].body.end());
  EXPECT_EQ(body.find("secret"), std::string::npos);
}

TEST_F(Agent, EndsTheSessionWhenAGreetingIsRefused) {
  Greet();
  Greet("", 0);
  EXPECT_EQ(sessions_, (std::vector<bool>{true, false}));
  EXPECT_EQ(sent_.back().head.result, uint32_t{KIV_RESULT_VERSION_REFUSED});
  sent_.clear();
  Feed(HeadOf(KIV_REQUEST, kDouble, 1, 1), {1, 0, 0, 0});
  EXPECT_TRUE(sent_.empty());
}

TEST_F(Agent, RunsACommandAndRepeatsTheWordsOfThePost) {
  Greet();
  EXPECT_EQ(Ask(kDouble, {5, 0, 0, 0}), Confirmation(kDouble, 0, {10, 0, 0, 0}));
}

TEST_F(Agent, SendsNoBodyWithAFailure) {
  Greet();
  EXPECT_EQ(Ask(kFails), Confirmation(kFails, KIV_RESULT_FIGURES_FAILED, {}));
  EXPECT_EQ(Ask(0x99), Confirmation(0x99, KIV_RESULT_UNKNOWN_COMMAND, {}));
  EXPECT_EQ(Ask(kDouble, {1, 2, 3}), Confirmation(kDouble, KIV_RESULT_BODY_SHORT, {}));
  EXPECT_EQ(Ask(kDouble, Bytes(5)), Confirmation(kDouble, KIV_RESULT_BODY_LONG, {}));
  EXPECT_EQ(doubled_, 0);
}

TEST_F(Agent, TellsAReplyThatDoesNotFit) {
  Greet();
  EXPECT_EQ(Ask(kTooMuch), Confirmation(kTooMuch, KIV_RESULT_DEVICE_FAILED, {}));
}

TEST_F(Agent, TellsARequestThatItCannotStore) {
  Greet();
  storageFails_ = true;
  EXPECT_EQ(Ask(kFails, Bytes(1001)), Confirmation(kFails, KIV_RESULT_TOO_LONG, {}));
}

TEST_F(Agent, RunsNothingForAHostThatDoesNotRead) {
  Greet();
  hasRoom_ = false;
  EXPECT_EQ(Ask(kDouble, {5, 0, 0, 0}), Confirmation(kDouble, KIV_RESULT_BUSY, {}));
  EXPECT_EQ(doubled_, 0);
  sent_.clear();
  Feed(HeadOf(KIV_RAW, 1, 0, sequence_++), {1, 2, 3});
  EXPECT_TRUE(sent_.empty());
}

TEST_F(Agent, KnowsThePortsOfEachVariant) {
  Greet();
  const uint32_t ports[] = {0x500C, 0x7E0C, 0x500D, 0x500E};
  for (const uint32_t id : ports) EXPECT_EQ(Ask(id).head.result, 704u) << id;
  EXPECT_EQ(Ask(0x705).head.result, 700u);
  EXPECT_EQ(Ask(0x805).head.result, 700u);
  setup_.self.variant = 249;
  const uint32_t renumbered[] = {0x500C, 0x7E0C, 0x705, 0x805};
  for (const uint32_t id : renumbered) EXPECT_EQ(Ask(id).head.result, 704u) << id;
  EXPECT_EQ(Ask(0x500D).head.result, 700u);
  EXPECT_EQ(Ask(0x500E).head.result, 700u);
}

Bytes RoutedHead(uint16_t id) {
  Bytes head = {
      0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, static_cast<uint8_t>(id), static_cast<uint8_t>(id >> 8),
      0,    0};
  for (uint8_t i = 0; i < 18; ++i) head.push_back(static_cast<uint8_t>(0xA0 + i));
  head.resize(KIV_ROUTED_HEAD_BYTES);
  return head;
}

TEST_F(Agent, WrapsTheConfirmationOfAWrappedRequest) {
  Greet();
  EXPECT_EQ(Ask(KIV_ROUTED_ID, RoutedHead(kDouble) + Bytes{5, 0, 0, 0}),
            Confirmation(KIV_ROUTED_ID, 0, RoutedHead(kDouble) + Bytes{10, 0, 0, 0}));
  EXPECT_EQ(Ask(KIV_ROUTED_ID, RoutedHead(kFails)),
            Confirmation(KIV_ROUTED_ID, KIV_RESULT_FIGURES_FAILED, RoutedHead(kFails)));
  EXPECT_EQ(Ask(KIV_ROUTED_ID, RoutedHead(kDouble)),
            Confirmation(KIV_ROUTED_ID, KIV_RESULT_BODY_SHORT, RoutedHead(kDouble)));
  EXPECT_EQ(Ask(KIV_ROUTED_ID, Bytes(35)), Confirmation(KIV_ROUTED_ID, KIV_RESULT_BODY_SHORT, {}));
  EXPECT_EQ(Ask(KIV_ROUTED_ID, RoutedHead(kTooMuch)),
            Confirmation(KIV_ROUTED_ID, KIV_RESULT_DEVICE_FAILED, RoutedHead(kTooMuch)));
}

TEST_F(Agent, AnswersAProbeWithItsCounts) {
  Greet();
  const Bytes noise = Bytes{0x7E} + Bytes(50, 'x') + Bytes{0x7E} + Bytes(5, 'x');
  kiv_agent_feed(&agent_, noise.data(), static_cast<uint32_t>(noise.size()));
  Feed(HeadOf(KIV_IND, 1, 0, 1));
  Feed(HeadOf(KIV_KEEP_ALIVE, 0, 1, 5));
  Feed(HeadOf(KIV_KEEP_ALIVE, 0, 2, 5));
  sent_.clear();
  Feed(HeadOf(KIV_KEEP_ALIVE, 0, 55, 6));
  ASSERT_EQ(sent_.size(), 1u);
  EXPECT_EQ(sent_[0].head.tag, 55);
  EXPECT_EQ(sent_[0].body, FromHex("03 00 00 00 03 00 00 00 01 00 00 00 00 00 00 00 0C 00 00 00"));
}

}  // namespace
}  // namespace kivtest
