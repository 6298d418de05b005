// A client against a device in the same process: what is posted arrives as the wire page says, what
// the device sends comes in batches, and statuses are as the header says.
#include <gmock/gmock.h>

#include "platform/base/version_query.h"
#include "platform/bounded/pool.h"
#include "tests/platform/devlink/link_fixture.h"

namespace linktest {
namespace {

using testing::ElementsAre;

TEST_F(LinkTest, GreetsAndTellsWhatTheDeviceIs) {
  Connect([](DeviceEnd& end, int) {
    end.Greet();
    end.Linger();
  });
  const auto peer = record_.With([&] { return *record_.peer; });
  EXPECT_EQ(peer.agentName, "board");
  EXPECT_EQ(peer.protocolVersion, 1u);
  EXPECT_EQ(peer.variant, 248u);
  EXPECT_EQ(peer.product, 38u);
  EXPECT_EQ(peer.abilities, 0x107u);
  EXPECT_EQ(peer.catalogueFingerprint, 0x0011223344556677u);
  EXPECT_FALSE(peer.fingerprintDiffers);  // this process has no catalogue to differ from
  EXPECT_EQ(CProductVersion::GetVersion(), 38u);
  client_->StopConnect(256, 1, 8191);
  client_->Shutdown(200, 1);
  EXPECT_EQ(CProductVersion::GetVersion(), 0u);
  EXPECT_THAT(States(), ElementsAre("connecting", "connected", "disconnected: "));
  EXPECT_THAT(Taps(), ElementsAre("> 1 0 1", "< 1 0 1"));
}

// One row of a conversation: what the host posts, the frame that the device then sees, what the
// device sends back (maybe cut into pieces), the packet that the client then gets.
struct Row {
  const char* name;
  std::function<std::uint32_t(RecordingClient&)> post;
  NaiveFrame seen;
  NaiveFrame answer;
  std::size_t pieceBytes;
  Packet got;
};

NaiveFrame Frame(std::uint8_t kind, std::uint32_t id, std::uint16_t tag, std::uint16_t word16,
                 std::uint32_t word32, std::uint32_t result, Bytes payload) {
  NaiveFrame frame;
  frame.kind = kind;
  frame.id = id;
  frame.tag = tag;
  frame.word16 = word16;
  frame.word32 = word32;
  frame.result = result;
  frame.payload = std::move(payload);
  return Whole(frame);
}

const Bytes kSpecial = {0x7D, 0x7E, 0x7F, 0x5D, 0x5E, 0x00};

std::vector<Row> Conversation() {
  return {
      {"a request with every word set, confirmed",
       [](RecordingClient& client) {
         return client.PostCmd(0x1235, kSpecial.data(), 6, 32381, 3, 200);
       },
       Frame(kRequest, 0x1235, 32381, 3, 200, 0, kSpecial),
       Frame(kCnf, 0x1235, 32381, 3, 200, 0, kSpecial),
       0,
       {0x1235, 0, 0, kSpecial, 200, 32381, 3}},
      {"a request without a body, refused, the answer byte by byte",
       [](RecordingClient& client) { return client.PostCmd(0x9999, nullptr, 0, 8, 0, 0); },
       Frame(kRequest, 0x9999, 8, 0, 0, 0, {}),
       Frame(kCnf, 0x9999, 8, 0, 0, 700, {}),
       1,
       {0x9999, 700, 0, {}, 0, 8, 0}},
      {"an indication in pieces of five bytes",
       [](RecordingClient& client) { return client.PostCmd(1, "x", 1, 9, 0, 0); },
       Frame(kRequest, 1, 9, 0, 0, 0, {'x'}),
       Frame(kInd, 0x2001, 0, 0, 0, 0, {1, 0, 2, 0}),
       5,
       {0x2001, 0, 1, {1, 0, 2, 0}, 0, 0, 0}},
      {"an SDT frame both ways",
       [](RecordingClient& client) { return client.PostSdtFrame(0x7E0B, "\1\3\f\0", 4); },
       Frame(kSdt, 0x7E0B, 0, 0, 0, 0, {1, 3, 12, 0}),
       Frame(kSdt, 0x7E0B, 0, 0, 0, 0, {4, 14}),
       0,
       {0x7E0B, 0, 1, {4, 14}, 0, 0, 0}},
      {"console text, handed over under the shell's answer id",
       [](RecordingClient& client) { return client.PostRawData("ls\r\n", 4); },
       Frame(kRaw, 0, 0, 0, 0, 0, {'l', 's', '\r', '\n'}),
       Frame(kRaw, 0, 0, 0, 0, 0, {'a', 'b'}),
       3,
       {0xA012, 0, 1, {'a', 'b'}, 0, 0, 0}},
  };
}

void SendInPieces(DeviceEnd& end, NaiveFrame frame, std::size_t pieceBytes) {
  if (pieceBytes == 0) {
    end.Send(frame);
    return;
  }
  frame.sequence = end.NextSequence();
  end.SkipSequence(1);
  const Bytes line = NaiveLine(frame);
  for (std::size_t at = 0; at < line.size(); at += pieceBytes) {
    const auto last = std::min(line.size(), at + pieceBytes);
    end.SendBytes(
        Bytes(line.begin() + static_cast<long>(at), line.begin() + static_cast<long>(last)));
  }
}

TEST_F(LinkTest, AConversationGoesAsItsTableSays) {
  const auto rows = Conversation();
  std::vector<NaiveFrame> seen;
  Connect([&](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    for (const Row& row : rows) {
      const auto frame = end.NextMessage();
      if (!frame) return;
      seen.push_back(*frame);
      SendInPieces(end, row.answer, row.pieceBytes);
    }
    end.Linger();
  });
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i].name);
    EXPECT_EQ(rows[i].post(*client_), 0u);
    ASSERT_TRUE(record_.WaitForPackets(i + 1));
    EXPECT_EQ(record_.With([&] { return record_.packets[i]; }), rows[i].got);
  }
  device_.reset();
  ASSERT_EQ(seen.size(), rows.size());
  std::uint32_t last = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i].name);
    EXPECT_GT(seen[i].sequence, last);
    last = seen[i].sequence;
    seen[i].sequence = 0;
    EXPECT_EQ(seen[i], rows[i].seen);
  }
}

TEST_F(LinkTest, ThePostIsTappedBeforeItsConfirmation) {
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    while (const auto request = end.NextMessage()) {
      end.Send(Frame(kCnf, request->id, request->tag, 0, 0, 0, {}));
    }
  });
  constexpr int kPosts = 200;
  for (std::uint16_t i = 1; i <= kPosts; ++i) ASSERT_EQ(Post(5, {1}, i), 0u);
  ASSERT_TRUE(record_.WaitForPackets(kPosts));
  const auto taps = Taps();
  for (int i = 1; i <= kPosts; ++i) {
    const auto post = std::find(taps.begin(), taps.end(), "> 2 5 " + std::to_string(i));
    const auto confirmation = std::find(taps.begin(), taps.end(), "< 3 5 " + std::to_string(i));
    ASSERT_NE(confirmation, taps.end());
    ASSERT_LT(post, confirmation);
  }
}

TEST_F(LinkTest, TheTapTellsWhenTheFirstFrameOfAMessageWasRead) {
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    const auto request = end.NextMessage();
    if (!request) return;
    NaiveFrame part = Frame(kCnf, request->id, request->tag, 0, 0, 0, {1});
    part.length = 2;
    part.flags = 1;
    // In one piece with an indication, which says that it was read.
    NaiveFrame ind = Frame(kInd, 9, 0, 0, 0, 0, {});
    ind.sequence = end.NextSequence();
    part.sequence = ind.sequence + 1;
    end.SkipSequence(2);
    Bytes line = NaiveLine(ind);
    Append(line, NaiveLine(part));
    end.SendBytes(line);
    if (!end.NextMessage()) return;
    part.flags = 0;
    part.offset = 1;
    part.sequence = end.NextSequence();
    end.SkipSequence(1);
    end.SendBytes(NaiveLine(part));
    end.Linger();
  });
  const auto begin = devlink::LinkClock::now();
  ASSERT_EQ(Post(5, {}, 1), 0u);
  ASSERT_TRUE(record_.WaitForPackets(1));
  const auto between = devlink::LinkClock::now();
  ASSERT_EQ(Post(6, {}, 2), 0u);
  ASSERT_TRUE(record_.WaitForPackets(2));
  EXPECT_THAT(Taps(),
              ElementsAre("> 1 0 1", "< 1 0 1", "> 2 5 1", "< 4 9 0", "> 2 6 2", "< 3 5 1"));
  const auto readAts = record_.With([&] { return record_.readAts; });
  EXPECT_EQ(readAts[2], devlink::LinkClock::time_point());
  EXPECT_GE(readAts[5], begin);
  EXPECT_LE(readAts[5], between);
}

TEST_F(LinkTest, WhatOneReadBringsIsOneBatch) {
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    end.NextMessage();
    Bytes line;
    for (std::uint32_t i = 0; i < 100; ++i) {
      NaiveFrame ind = Frame(kInd, i, 0, 0, 0, 0, {1});
      ind.sequence = end.NextSequence();
      end.SkipSequence(1);
      Append(line, NaiveLine(ind));
    }
    end.SendBytes(line);
    end.Linger();
  });
  Post(1, {});
  ASSERT_TRUE(record_.WaitForPackets(100));
  ASSERT_TRUE(record_.Wait([&] { return record_.handedOver.size() == record_.batches.size(); }));
  Stop();
  EXPECT_LE(record_.batches.size(), 3u);  // 4 KiB writes of about 4 KiB in all
  EXPECT_EQ(record_.handedOver, record_.batches);
  for (std::uint32_t i = 0; i < 100; ++i) EXPECT_EQ(record_.packets[i].cmdId, i);
}

class Sizes : public LinkTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(Sizes, AMessageGoesBothWaysUnchanged) {
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    Bytes body;
    while (const auto frame = end.NextMessage()) {
      EXPECT_EQ(frame->offset, body.size());
      Append(body, frame->payload);
      if (frame->flags != 0) continue;
      EXPECT_EQ(frame->length, body.size());
      end.SendMessage(Frame(kCnf, frame->id, frame->tag, 0, 0, 0, body));
      body.clear();
    }
  });
  const Bytes body = Noise(GetParam());
  ASSERT_EQ(Post(77, body, 3), 0u);
  ASSERT_TRUE(record_.WaitForPackets(1));
  EXPECT_TRUE(Packets()[0].body == body);
  EXPECT_EQ(Packets()[0].tag, 3);
  // One message each way, however many frames it took.
  EXPECT_THAT(Taps(), ElementsAre("> 1 0 1", "< 1 0 1", "> 2 77 3", "< 3 77 3"));
}

INSTANTIATE_TEST_SUITE_P(OfMessages, Sizes,
                         testing::Values(1, 65'499, 65'500, 65'501, 65'535, 65'536, 65'537,
                                         10'000'000));

TEST_F(LinkTest, APostWithoutALinkAnswers3207) {
  StartAt("unix:" + Path("nobody"));
  EXPECT_EQ(Post(1, {1}), 3207u);
  EXPECT_EQ(client_->PostRawData("x", 1), 3207u);
  EXPECT_EQ(client_->PostSdtFrame(1, "x", 1), 3207u);
  EXPECT_THAT(Taps(), ElementsAre());
}

TEST_F(LinkTest, APostBeforeStartConnectAnswers3207) {
  client_ = std::make_unique<RecordingClient>(record_);
  EXPECT_EQ(Post(1, {1}), 3207u);
}

TEST_F(LinkTest, APostBeyond64MiBAnswers22AndSendsNothing) {
  std::vector<NaiveFrame> seen;
  Connect([&](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    while (const auto frame = end.NextMessage()) seen.push_back(*frame);
  });
  Bytes body(64 * 1024 * 1024 + 1);
  EXPECT_EQ(Post(1, body), 22u);
  EXPECT_EQ(Post(2, {}), 0u);
  Stop();
  device_.reset();
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].id, 2u);
}

TEST_F(LinkTest, NoDataWithALengthIsTheCallersMistake) {
  client_ = std::make_unique<RecordingClient>(record_);
  EXPECT_EQ(client_->PostCmd(1, nullptr, 1, 0, 0, 0), 0xFFFFFFFFu);
  EXPECT_EQ(client_->PostRawData(nullptr, 1), 0xFFFFFFFFu);
  EXPECT_EQ(client_->PostSdtFrame(1, nullptr, 1), 0xFFFFFFFFu);
}

TEST_F(LinkTest, TextsOfStatusesAreThoseOfTheTable) {
  client_ = std::make_unique<RecordingClient>(record_);
  EXPECT_EQ(client_->GetErrorString(3207), L"the device is not connected");
  EXPECT_EQ(client_->GetResultCodeString(700), L"unknown command");
  EXPECT_EQ(client_->GetResultCodeString(123456), L"result 123456");
}

}  // namespace
}  // namespace linktest
