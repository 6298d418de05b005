// What waits for a host: order, bounds, numbers.
#include "device/linux/out_queue.h"

#include <gtest/gtest.h>

#include "tests/device/failing_calls.h"
#include "tests/device/line_recorder.h"

namespace kivtest {
namespace {

class OutQueue : public testing::Test {
 protected:
  OutQueue() : host_(KIV_SIDE_AGENT) {
    EXPECT_TRUE(kiv_queue_init(&queue_));
    host_.SkipGreeting(0);
  }
  ~OutQueue() override { kiv_queue_destroy(&queue_); }

  void Push(kiv_kind kind, uint32_t id, const Bytes& body = {}) {
    const kiv_head head = HeadOf(kind, id, 0, 0);
    EXPECT_TRUE(kiv_queue_push(&queue_, &head, body.data(), static_cast<uint32_t>(body.size())));
  }

  // Writes up to `maxBytes` of what waits; says whether there was anything.
  bool WriteOnce(size_t maxBytes = SIZE_MAX) {
    size_t lengthBytes = 0;
    const uint8_t* bytes = kiv_queue_bytes(&queue_, &lengthBytes);
    if (bytes == nullptr) return false;
    const size_t written = std::min(lengthBytes, maxBytes);
    host_.Feed(Bytes(bytes, bytes + written));
    kiv_queue_wrote(&queue_, written);
    return true;
  }

  void WriteAll(size_t pieceBytes = SIZE_MAX) {
    while (WriteOnce(pieceBytes)) continue;
  }

  // Ids of what the host received.
  std::vector<uint32_t> Received() const {
    std::vector<uint32_t> ids;
    for (const Recorded& message : host_.messages) ids.push_back(message.head.id);
    return ids;
  }

  kiv_queue queue_;
  LineRecorder host_;
};

TEST_F(OutQueue, KeepsTheOrderInWhichThingsArose) {
  Push(KIV_CNF, 1);
  Push(KIV_IND, 2);
  Push(KIV_IND, 3);
  Push(KIV_RAW, 4);
  Push(KIV_CNF, 5);
  Push(KIV_IND, 6);
  WriteAll(7);
  EXPECT_EQ(Received(), (std::vector<uint32_t>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(host_.receiver.counts.lost, 0u);
  EXPECT_TRUE(kiv_queue_is_empty(&queue_));
}

TEST_F(OutQueue, LetsProbeAnswersOvertake) {
  Push(KIV_CNF, 1);
  Push(KIV_KEEP_ALIVE, 2);
  WriteAll();
  EXPECT_EQ(Received(), (std::vector<uint32_t>{2, 1}));
}

TEST_F(OutQueue, PutsProbeAnswersBetweenTheFramesOfAMessage) {
  Push(KIV_RAW, 1, Bytes(200000, 'x'));
  EXPECT_TRUE(WriteOnce());
  Push(KIV_KEEP_ALIVE, 2);
  WriteAll();
  EXPECT_EQ(Received(), (std::vector<uint32_t>{2, 1}));
  EXPECT_EQ(host_.messages[1].body, Bytes(200000, 'x'));
  EXPECT_EQ(host_.receiver.counts.abandoned, 0u);
}

TEST_F(OutQueue, CutsForASlowLineAndLetsAProbeAnswerWaitForOneFrame) {
  kiv_queue_slow_down(&queue_, 115'200);
  Bytes body(100'000);
  for (size_t i = 0; i < body.size(); ++i) body[i] = static_cast<uint8_t>(i * 7 % 125);
  Push(KIV_CNF, 1, body);
  Push(KIV_CNF, 2, {1});
  size_t frames = 0;
  for (; host_.messages.empty(); ++frames) {
    size_t lengthBytes = 0;
    EXPECT_NE(kiv_queue_bytes(&queue_, &lengthBytes), nullptr);
    EXPECT_LE(lengthBytes, 5760u + 100);
    if (frames == 3) Push(KIV_KEEP_ALIVE, 9);
    WriteOnce();
  }
  EXPECT_EQ(frames, 5u);  // four of the message, then the answer
  EXPECT_EQ(host_.messages[0].head.id, 9u);
  WriteAll();
  ASSERT_EQ(Received(), (std::vector<uint32_t>{9, 1, 2}));
  EXPECT_TRUE(host_.messages[1].body == body);
}

TEST_F(OutQueue, CutsAtWhatHalfASecondCarriesWithinBounds) {
  const struct {
    uint32_t baud, cutBytes;
  } rows[] = {{1, 256},
              {5119, 256},
              {5120, 256},
              {5140, 257},
              {9600, 480},
              {115'200, 5760},
              {1'310'000, 65'500},
              {1'310'040, 65'500},
              {4'000'000, 65'500},
              {4'294'967'295, 65'500}};
  for (const auto& row : rows) {
    kiv_queue queue;
    ASSERT_TRUE(kiv_queue_init(&queue));
    kiv_queue_slow_down(&queue, row.baud);
    EXPECT_EQ(queue.cut_bytes, row.cutBytes) << row.baud;
    kiv_queue_destroy(&queue);
  }
}

TEST_F(OutQueue, DropsTheOldestIndicationsAndTellsHowMany) {
  Push(KIV_CNF, 1000);
  for (uint32_t id = 1; id <= 300; ++id) Push(KIV_IND, id);
  Push(KIV_CNF, 1001);
  EXPECT_EQ(queue_.dropped_indications, 44u);
  WriteAll();
  const std::vector<uint32_t> ids = Received();
  ASSERT_EQ(ids.size(), 258u);
  EXPECT_EQ(ids.front(), 1000u);
  EXPECT_EQ(ids[1], 45u);
  EXPECT_EQ(ids[256], 300u);
  EXPECT_EQ(ids.back(), 1001u);
  EXPECT_EQ(host_.messages[1].head.word32, 44u);
}

TEST_F(OutQueue, NeverDropsTheAnswersOfPorts) {
  kiv_head head = HeadOf(KIV_IND, 1, 0, 0);
  const Bytes text(1000, 'x');
  uint32_t count = 0;
  while (kiv_queue_has_room_for_answers(&queue_)) {
    ASSERT_TRUE(kiv_queue_push_answer(&queue_, &head, text.data(), 1000));
    ++count;
  }
  EXPECT_GT(count, 2 * KIV_MAX_INDICATIONS);
  for (uint32_t i = 0; i < KIV_MAX_INDICATIONS + 3; ++i) Push(KIV_IND, 2);
  WriteAll();
  EXPECT_TRUE(kiv_queue_has_room_for_answers(&queue_));
  EXPECT_EQ(Received().size(), count + KIV_MAX_INDICATIONS);
  EXPECT_EQ(host_.messages.front().head.id, 1u);
  EXPECT_EQ(host_.messages.front().body, text);
  EXPECT_EQ(host_.messages.front().head.word32, 3u);
}

TEST_F(OutQueue, KeepsTheNewestProbeAnswersOnly) {
  for (uint32_t id = 1; id <= 100; ++id) Push(KIV_KEEP_ALIVE, id);
  WriteAll();
  EXPECT_EQ(Received().size(), KIV_MAX_PROBE_ANSWERS);
  EXPECT_EQ(Received().back(), 100u);
}

TEST_F(OutQueue, NumbersFramesFromZeroAfterAGreeting) {
  Push(KIV_RAW, 1, Bytes(200000));
  EXPECT_TRUE(WriteOnce(100));
  Push(KIV_IND, 2);
  kiv_queue_clear(&queue_);
  const kiv_head hello = HeadOf(KIV_HELLO, 0, 5, 0);
  kiv_hello self{};
  self.protocol_version = 1;
  Bytes body(KIV_HELLO_MAX_BYTES);
  body.resize(kiv_hello_write(&self, KIV_SIDE_AGENT, body.data()));
  EXPECT_TRUE(kiv_queue_push(&queue_, &hello, body.data(), static_cast<uint32_t>(body.size())));
  Push(KIV_CNF, 3);
  WriteAll(1000);
  ASSERT_EQ(host_.messages.size(), 2u);
  EXPECT_EQ(host_.messages[0].head.kind, KIV_HELLO);
  EXPECT_EQ(host_.messages[1].head.sequence, 1u);
  EXPECT_EQ(host_.receiver.counts.lost, 0u);
  EXPECT_EQ(host_.receiver.deframer.damaged, 0u);  // the frame half written was completed
}

TEST_F(OutQueue, HasNoRoomAbove128MebibytesUntilTheyAreRead) {
  const Bytes body(KIV_MAX_BODY_BYTES);
  Push(KIV_CNF, 1, body);
  Push(KIV_CNF, 2, body);
  EXPECT_FALSE(kiv_queue_has_room(&queue_));
  for (uint32_t i = 0; i <= KIV_MAX_KEPT_BEYOND; ++i) {
    EXPECT_FALSE(kiv_queue_is_overfull(&queue_));
    Push(KIV_CNF, 3);
  }
  EXPECT_TRUE(kiv_queue_is_overfull(&queue_));
  while (!kiv_queue_has_room(&queue_)) {
    size_t lengthBytes = 0;
    (void)kiv_queue_bytes(&queue_, &lengthBytes);
    kiv_queue_wrote(&queue_, lengthBytes);
  }
  EXPECT_FALSE(kiv_queue_is_overfull(&queue_));
}

TEST(OutQueueMemory, LosesNothingQueuedWhenOneMessageFindsNone) {
  for (int nth = 1;; ++nth) {
    kiv_queue queue;
    const FailingCall failing(FailingCall::Kind::kAllocation, nth);
    if (!kiv_queue_init(&queue)) continue;
    uint32_t queued = 0;
    uint32_t refused = 0;
    for (uint32_t id = 1; id <= 4; ++id) {
      const kiv_head head = HeadOf(id % 2 == 0 ? KIV_IND : KIV_CNF, id, 0, 0);
      const uint8_t body[3] = {};
      ++(kiv_queue_push(&queue, &head, body, sizeof body) ? queued : refused);
    }
    EXPECT_EQ(refused, failing.Happened() ? 1u : 0u);
    size_t lengthBytes = 0;
    LineRecorder host(KIV_SIDE_AGENT);
    host.SkipGreeting(0);
    const uint8_t* bytes = kiv_queue_bytes(&queue, &lengthBytes);
    host.Feed(Bytes(bytes, bytes + lengthBytes));
    EXPECT_EQ(host.messages.size(), queued);
    kiv_queue_destroy(&queue);
    if (!failing.Happened()) break;
  }
}

}  // namespace
}  // namespace kivtest
