// One host at a pair of descriptors: nothing blocks, and missing memory ends it cleanly.
#include "device/linux/connection.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "tests/device/failing_calls.h"
#include "tests/device/line_recorder.h"

namespace kivtest {
namespace {

uint32_t Echo(void*, const uint8_t* request, uint32_t requestBytes, kiv_writer* reply) {
  kiv_write_bytes(reply, request, requestBytes);
  return KIV_RESULT_OK;
}

void IgnoreSession(void*, kiv_connection*, bool) {}

const kiv_command kEcho = {1, 0, 4096, Echo};

kiv_agent_setup SetupWith(std::array<uint8_t, 4096>* replyBuffer) {
  kiv_agent_setup setup{};
  setup.commands = &kEcho;
  setup.command_count = 1;
  setup.reply_buffer = replyBuffer->data();
  setup.reply_bytes = static_cast<uint32_t>(replyBuffer->size());
  return setup;
}

Bytes Greeting() {
  kiv_hello hello{};
  hello.protocol_version = 1;
  Bytes body(KIV_HELLO_MAX_BYTES);
  body.resize(kiv_hello_write(&hello, KIV_SIDE_HOST, body.data()));
  return EncodeMessage(HeadOf(KIV_HELLO, 0, 1, 0), body);
}

// A greeting, a request in one frame, one in several, a line test and an indication's worth of
// everything that takes memory.
Bytes Conversation() {
  return Greeting() + EncodeMessage(HeadOf(KIV_REQUEST, 1, 1, 1), Bytes(10, 'a')) +
         EncodeMessage(HeadOf(KIV_REQUEST, 1, 2, 2), Bytes(90, 'b'), 30) +
         EncodeMessage(HeadOf(KIV_RAW, 1, 3, 5), Bytes(50, 'c')) +
         EncodeMessage(HeadOf(KIV_KEEP_ALIVE, 0, 4, 6), {});
}

class Connection : public testing::Test {
 protected:
  Connection() : setup_(SetupWith(&replyBuffer_)), host_(KIV_SIDE_AGENT) {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair_.data()), 0);
  }
  ~Connection() override {
    if (connection_ != nullptr) kiv_connection_close(connection_);
    close(pair_[0]);
    close(pair_[1]);
  }

  bool Open() {
    connection_ = kiv_connection_open(pair_[1], pair_[1], false, &setup_, IgnoreSession, nullptr);
    return connection_ != nullptr;
  }
  void HostSends(const Bytes& bytes) {
    EXPECT_EQ(send(pair_[0], bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    kiv_connection_read(connection_, 0);
  }
  // What the agent has written by now.
  void HostReads() {
    kiv_connection_write(connection_);
    Bytes bytes(100000);
    const ssize_t n = recv(pair_[0], bytes.data(), bytes.size(), MSG_DONTWAIT);
    bytes.resize(n < 0 ? 0 : static_cast<size_t>(n));
    host_.Feed(bytes);
  }

  std::array<int, 2> pair_{};
  std::array<uint8_t, 4096> replyBuffer_{};
  kiv_agent_setup setup_;
  LineRecorder host_;
  kiv_connection* connection_ = nullptr;
};

TEST_F(Connection, HoldsAConversation) {
  ASSERT_TRUE(Open());
  EXPECT_EQ(kiv_connection_wants_in(connection_), POLLIN);
  EXPECT_EQ(kiv_connection_wants_out(connection_), 0);
  HostSends(Conversation());
  EXPECT_EQ(kiv_connection_wants_out(connection_), POLLOUT);
  HostReads();
  EXPECT_EQ(kiv_connection_wants_out(connection_), 0);
  std::vector<uint16_t> tags;
  for (const Recorded& message : host_.messages) tags.push_back(message.head.tag);
  EXPECT_EQ(tags, (std::vector<uint16_t>{1, 4, 1, 2, 3}));  // the probe's answer overtakes
  EXPECT_FALSE(kiv_connection_is_finished(connection_, 1 << 30));
}

TEST_F(Connection, DoesNotBlockOnAHostThatDoesNotRead) {
  ASSERT_TRUE(Open());
  HostSends(Greeting());
  uint32_t sequence = 1;
  for (int i = 0; i < 2000; ++i) {
    HostSends(EncodeMessage(HeadOf(KIV_REQUEST, 1, 1, sequence++), Bytes(4000, 'x')));
    kiv_connection_write(connection_);
  }
  EXPECT_EQ(kiv_connection_wants_out(connection_), POLLOUT);
  for (int i = 0; i < 1000 && kiv_connection_wants_out(connection_) != 0; ++i) HostReads();
  HostReads();
  EXPECT_EQ(host_.messages.size(), 2001u);
  EXPECT_EQ(host_.receiver.counts.lost, 0u);
}

TEST_F(Connection, FlushesForASecondBehindTheEndOfItsInput) {
  ASSERT_TRUE(Open());
  HostSends(Conversation());
  EXPECT_EQ(shutdown(pair_[0], SHUT_WR), 0);
  kiv_connection_read(connection_, 5000);
  EXPECT_EQ(kiv_connection_wants_in(connection_), 0);
  EXPECT_FALSE(kiv_connection_is_finished(connection_, 5999));
  EXPECT_TRUE(kiv_connection_is_finished(connection_, 6000));
  HostReads();
  EXPECT_TRUE(kiv_connection_is_finished(connection_, 5001));
}

TEST_F(Connection, IsOverWhenItsHostHasGone) {
  ASSERT_TRUE(Open());
  HostSends(Conversation());
  EXPECT_EQ(shutdown(pair_[0], SHUT_RD), 0);
  kiv_connection_write(connection_);
  EXPECT_TRUE(kiv_connection_is_finished(connection_, 0));
}

TEST(ConnectionMemory, IsAnsweredRightOrOverWhicheverAllocationFails) {
  std::array<uint8_t, 4096> replyBuffer{};
  const kiv_agent_setup setup = SetupWith(&replyBuffer);
  for (int nth = 1;; ++nth) {
    ASSERT_LT(nth, 50);
    std::array<int, 2> pair{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    const Bytes conversation = Conversation();
    ASSERT_EQ(send(pair[0], conversation.data(), conversation.size(), 0),
              static_cast<ssize_t>(conversation.size()));
    LineRecorder host(KIV_SIDE_AGENT);
    const FailingCall failing(FailingCall::Kind::kAllocation, nth);
    kiv_connection* connection =
        kiv_connection_open(pair[1], pair[1], true, &setup, IgnoreSession, nullptr);
    if (connection == nullptr) {
      close(pair[0]);
      close(pair[1]);
      continue;
    }
    kiv_connection_read(connection, 0);
    kiv_connection_write(connection);
    Bytes bytes(10000);
    const ssize_t n = recv(pair[0], bytes.data(), bytes.size(), MSG_DONTWAIT);
    bytes.resize(n < 0 ? 0 : static_cast<size_t>(n));
    host.Feed(bytes);
    // Without storage a request is told to be too long; without memory for an answer it is over.
    const bool over = kiv_connection_is_finished(connection, 0);
    const bool refused = host.messages.size() == 5 && host.messages[3].head.result == 22;
    EXPECT_EQ(over || refused, failing.Happened()) << nth;
    if (!over) {
      EXPECT_EQ(host.messages.size(), 5u) << nth;
    }
    kiv_connection_close(connection);
    close(pair[0]);
    if (!failing.Happened()) break;
  }
}

}  // namespace
}  // namespace kivtest
