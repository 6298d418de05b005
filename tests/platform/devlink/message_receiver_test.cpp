// Sound frames to whole messages: sequence numbers, joining, what is malformed, and what memory
// costs.
#include "platform/devlink/message_receiver.h"

#include <gmock/gmock.h>

#include "platform/bounded/pool.h"
#include "tests/platform/devlink/naive_frames.h"

namespace linktest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Messages : public devlink::MessageSink {
 public:
  void OnMessage(const devlink::FrameHead& head, std::span<const std::uint8_t> body) override {
    texts.push_back(std::to_string(static_cast<int>(head.kind)) + ":" + std::to_string(head.id) +
                    ":" + std::string(body.begin(), body.end()));
  }
  std::vector<std::string> texts;
};

class Receiver : public testing::Test {
 protected:
  void Begin() { receiver_.BeginSession(); }
  void Take(const NaiveFrame& frame) { receiver_.OnFrame(NaiveContent(frame)); }
  // A whole IND with this number.
  void TakeInd(std::uint32_t sequence) { Take(Ind(sequence)); }

  static NaiveFrame Ind(std::uint32_t sequence) {
    NaiveFrame frame;
    frame.kind = kInd;
    frame.sequence = sequence;
    frame.id = sequence;
    return frame;
  }
  static NaiveFrame Probe(std::uint32_t sequence) {
    NaiveFrame frame = Ind(sequence);
    frame.kind = kKeepAlive;
    return frame;
  }
  // A part of a CNF of `length` bytes.
  static NaiveFrame Part(std::uint32_t sequence, std::uint32_t length, std::uint32_t offset,
                         const std::string& payload) {
    NaiveFrame frame;
    frame.kind = kCnf;
    frame.id = 9;
    frame.sequence = sequence;
    frame.length = length;
    frame.offset = offset;
    frame.payload.assign(payload.begin(), payload.end());
    frame.flags = offset + payload.size() < length ? 1 : 0;
    return frame;
  }
  const devlink::ReceiverCounts& Counts() const { return receiver_.Counts(); }

  Messages messages_;
  devlink::MessageReceiver receiver_{messages_};
};

TEST_F(Receiver, IgnoresEverythingButAHelloBeforeTheSession) {
  TakeInd(1);
  Take(Part(2, 4, 0, "ab"));
  NaiveFrame hello;
  hello.kind = kHello;
  Take(hello);
  EXPECT_THAT(messages_.texts, ElementsAre("1:0:"));
  EXPECT_EQ(Counts().malformed, 0u);
  EXPECT_EQ(Counts().lost, 0u);
}

TEST_F(Receiver, GivesMessagesInOrder) {
  Begin();
  TakeInd(1);
  TakeInd(2);
  EXPECT_THAT(messages_.texts, ElementsAre("4:1:", "4:2:"));
  EXPECT_EQ(Counts().frames, 2u);
}

struct Gap {
  const char* name;
  std::vector<std::uint32_t> numbers;
  std::vector<std::string> given;
  std::uint64_t lost;
  std::uint64_t repeated;
};

TEST_F(Receiver, CountsGapsAndDropsRepeatedFrames) {
  const Gap rows[] = {
      {"none", {1, 2, 3}, {"4:1:", "4:2:", "4:3:"}, 0, 0},
      {"one", {1, 3}, {"4:1:", "4:3:"}, 1, 0},
      {"many", {1, 1000}, {"4:1:", "4:1000:"}, 998, 0},
      {"twice the same", {1, 1, 2}, {"4:1:", "4:2:"}, 0, 1},
      {"from the past", {5, 3, 6}, {"4:5:", "4:6:"}, 4, 1},
      {"half of all numbers back", {1, 0x80000002u, 2}, {"4:1:", "4:2:"}, 0, 1},
      {"just under half ahead", {1, 0x80000001u}, {"4:1:", "4:2147483649:"}, 0x7FFFFFFFu, 0},
      {"a hello's number", {1, 0, 2}, {"4:1:", "4:2:"}, 0, 1},
  };
  for (const Gap& row : rows) {
    SCOPED_TRACE(row.name);
    Messages messages;
    devlink::MessageReceiver receiver(messages);
    receiver.BeginSession();
    for (const std::uint32_t number : row.numbers) receiver.OnFrame(NaiveContent(Ind(number)));
    EXPECT_EQ(messages.texts, row.given);
    EXPECT_EQ(receiver.Counts().lost, row.lost);
    EXPECT_EQ(receiver.Counts().repeated, row.repeated);
  }
}

TEST_F(Receiver, CountsOnAcrossTheLargestNumber) {
  Begin();
  TakeInd(0x7FFFFFF0u);
  TakeInd(0xFFFFFFE0u);
  TakeInd(0xFFFFFFFFu);
  const auto lost = Counts().lost;
  TakeInd(0);
  TakeInd(1);
  EXPECT_EQ(Counts().lost, lost);
  EXPECT_EQ(Counts().frames, 5u);
}

TEST_F(Receiver, JoinsTheFramesOfAMessage) {
  Begin();
  Take(Part(1, 6, 0, "ab"));
  Take(Probe(2));
  Take(Part(3, 6, 2, "cde"));
  EXPECT_THAT(messages_.texts, ElementsAre("7:2:"));
  Take(Part(4, 6, 5, "f"));
  EXPECT_THAT(messages_.texts, ElementsAre("7:2:", "3:9:abcdef"));
  EXPECT_EQ(Counts().abandoned, 0u);
}

struct Broken {
  const char* name;
  std::vector<NaiveFrame> frames;
  std::vector<std::string> given;
  std::uint64_t malformed;
  std::uint64_t abandoned;
};

TEST_F(Receiver, GivesUpAMessageThatIsNotContinued) {
  NaiveFrame otherTag = Part(2, 6, 2, "cdef");
  otherTag.tag = 1;
  NaiveFrame otherResult = Part(2, 6, 2, "cdef");
  otherResult.result = 1;
  NaiveFrame hello;
  hello.kind = kHello;
  const Broken rows[] = {
      {"another message", {Part(1, 6, 0, "ab"), Ind(2)}, {"4:2:"}, 0, 1},
      {"a new one of the same kind", {Part(1, 6, 0, "ab"), Part(2, 2, 0, "xy")}, {"3:9:xy"}, 0, 1},
      {"another tag", {Part(1, 6, 0, "ab"), otherTag}, {}, 1, 1},
      {"another result", {Part(1, 6, 0, "ab"), otherResult}, {}, 1, 1},
      {"another length", {Part(1, 6, 0, "ab"), Part(2, 7, 2, "cdefg")}, {}, 1, 1},
      {"an offset too far", {Part(1, 6, 0, "ab"), Part(2, 6, 3, "def")}, {}, 1, 1},
      {"an offset again", {Part(1, 6, 0, "abc"), Part(2, 6, 2, "cdef")}, {}, 1, 1},
      {"a gap", {Part(1, 6, 0, "ab"), Part(3, 6, 2, "cdef")}, {}, 1, 1},
      {"a hello", {Part(1, 6, 0, "ab"), hello, Part(2, 6, 2, "cdef")}, {"1:0:"}, 1, 1},
      {"begun anew",
       {Part(1, 6, 0, "ab"), Part(2, 6, 0, "uvw"), Part(3, 6, 3, "xyz")},
       {"3:9:uvwxyz"},
       0,
       1},
      {"no beginning", {Part(1, 6, 2, "cdef")}, {}, 1, 0},
  };
  for (const Broken& row : rows) {
    SCOPED_TRACE(row.name);
    Messages messages;
    devlink::MessageReceiver receiver(messages);
    receiver.BeginSession();
    for (const NaiveFrame& frame : row.frames) receiver.OnFrame(NaiveContent(frame));
    EXPECT_EQ(messages.texts, row.given);
    EXPECT_EQ(receiver.Counts().malformed, row.malformed);
    EXPECT_EQ(receiver.Counts().abandoned, row.abandoned);
  }
  EXPECT_EQ(pool::LiveBlocks(), 0u);
}

struct Malformed {
  const char* name;
  NaiveFrame frame;
};

std::vector<Malformed> MalformedFrames() {
  const auto with = [](auto change) {
    NaiveFrame frame;
    frame.kind = kInd;
    frame.sequence = 1;
    frame.payload = {1, 2, 3, 4};
    frame.length = 4;
    change(frame);
    return frame;
  };
  return {
      {"kind 0", with([](NaiveFrame& frame) { frame.kind = 0; })},
      {"kind 8", with([](NaiveFrame& frame) { frame.kind = 8; })},
      {"a request, which does not travel this way",
       with([](NaiveFrame& frame) { frame.kind = kRequest; })},
      {"a body of more than 64 MiB", with([](NaiveFrame& frame) {
         frame.length = 0x04000001;
         frame.flags = 1;
       })},
      {"a body of 4 GiB", with([](NaiveFrame& frame) {
         frame.length = 0xFFFFFFFF;
         frame.flags = 1;
       })},
      {"payload beyond the body", with([](NaiveFrame& frame) { frame.length = 3; })},
      {"payload short of the body", with([](NaiveFrame& frame) { frame.length = 5; })},
      {"offset and payload beyond 4 GiB", with([](NaiveFrame& frame) {
         frame.offset = 0xFFFFFFFF;
         frame.length = 3;
       })},
      {"more follows, but the body is whole", with([](NaiveFrame& frame) { frame.flags = 1; })},
      {"more follows an empty payload", with([](NaiveFrame& frame) {
         frame.flags = 1;
         frame.payload.clear();
       })},
      {"a keep-alive in parts", with([](NaiveFrame& frame) {
         frame.kind = kKeepAlive;
         frame.flags = 1;
         frame.length = 9;
       })},
      {"the second part of a keep-alive", with([](NaiveFrame& frame) {
         frame.kind = kKeepAlive;
         frame.offset = 1;
         frame.length = 5;
       })},
  };
}

TEST_F(Receiver, DropsAMalformedFrameAndCountsItsNumber) {
  for (const Malformed& row : MalformedFrames()) {
    SCOPED_TRACE(row.name);
    Messages messages;
    devlink::MessageReceiver receiver(messages);
    receiver.BeginSession();
    receiver.OnFrame(NaiveContent(row.frame));
    EXPECT_THAT(messages.texts, IsEmpty());
    EXPECT_EQ(receiver.Counts().malformed, 1u);
    receiver.OnFrame(NaiveContent(Ind(2)));
    EXPECT_THAT(messages.texts, ElementsAre("4:2:"));
    EXPECT_EQ(receiver.Counts().lost, 0u);
    EXPECT_EQ(pool::LiveBlocks(), 0u);
  }
}

TEST_F(Receiver, TakesNoNumberFromAFrameOfAnotherVersion) {
  Begin();
  NaiveFrame foreign = Ind(500);
  foreign.version = 2;
  Take(foreign);
  TakeInd(1);
  EXPECT_THAT(messages_.texts, ElementsAre("4:1:"));
  EXPECT_EQ(Counts().malformed, 1u);
  EXPECT_EQ(Counts().lost, 0u);
}

TEST_F(Receiver, DropsAHelloWithAnotherNumberThanZero) {
  Begin();
  NaiveFrame hello;
  hello.kind = kHello;
  hello.sequence = 1;
  Take(hello);
  EXPECT_THAT(messages_.texts, IsEmpty());
  EXPECT_EQ(Counts().malformed, 1u);
}

TEST_F(Receiver, StoresOnlyWhatReallyArrives) {
  Begin();
  Take(Part(1, 64 * 1024 * 1024, 0, "a few bytes"));
  EXPECT_EQ(pool::LiveBlocks(), 1u);
  receiver_.EndSession();
  EXPECT_EQ(pool::LiveBlocks(), 0u);
}

TEST_F(Receiver, KeepsAJoinedMessageUntilItIsDropped) {
  Begin();
  Take(Part(1, 4, 0, "ab"));
  Take(Part(2, 4, 2, "cd"));
  EXPECT_EQ(pool::LiveBlocks(), 1u);
  receiver_.DropJoined();
  EXPECT_EQ(pool::LiveBlocks(), 0u);
}

// Fails the first, second, ... allocation of a long message until one run needs no more: the
// message is abandoned, the next one comes through, nothing is leaked.
TEST_F(Receiver, AbandonsAMessageThatFindsNoMemory) {
  const std::string part(10'000, 'x');
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 20u);
    Messages messages;
    devlink::MessageReceiver receiver(messages);
    receiver.BeginSession();
    pool::FailNth(n);
    for (std::uint32_t i = 0; i < 10; ++i) {
      receiver.OnFrame(NaiveContent(Part(i + 1, 100'000, i * 10'000, part)));
    }
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(messages.texts.size(), failed ? 0u : 1u) << n;
    EXPECT_EQ(receiver.Counts().abandoned, failed ? 1u : 0u) << n;
    receiver.OnFrame(NaiveContent(Ind(11)));
    EXPECT_EQ(messages.texts.back(), "4:11:");
    receiver.DropJoined();
    EXPECT_EQ(pool::LiveBlocks(), 0u);
    if (!failed) break;
  }
}

}  // namespace
}  // namespace linktest
