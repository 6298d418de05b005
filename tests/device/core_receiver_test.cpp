// Frames and messages of the agent's core: good ones in any pieces, and bad ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "device/core/crc32.h"
#include "tests/device/line_recorder.h"
#include "tests/support/sweep.h"

namespace kivtest {
namespace {

constexpr uint8_t kFlag = 0x7E;
constexpr uint8_t kEscape = 0x7D;

Bytes HelloFrame() {
  kiv_hello hello{};
  hello.protocol_version = 1;
  Bytes body(KIV_HELLO_MAX_BYTES);
  body.resize(kiv_hello_write(&hello, KIV_SIDE_HOST, body.data()));
  return EncodeMessage(HeadOf(KIV_HELLO, 0, 1, 0), body);
}

Bytes RandomBody(std::mt19937* random, size_t maxBytes) {
  Bytes body((*random)() % (maxBytes + 1));
  // Every third byte is one that matters to the framing.
  for (uint8_t& byte : body) {
    const uint32_t r = (*random)();
    byte = r % 3 == 0 ? static_cast<uint8_t>(kEscape + (r >> 8) % 2) : static_cast<uint8_t>(r >> 8);
  }
  return body;
}

TEST(Crc32, OfTheCheckTextIsTheKnownValue) {
  const std::string text = "123456789";
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  EXPECT_EQ(~kiv_crc32_run(KIV_CRC32_START, bytes, 9), 0xCBF43926u);
  const uint8_t with[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9', 0x26, 0x39, 0xF4, 0xCB};
  EXPECT_EQ(kiv_crc32_run(KIV_CRC32_START, with, sizeof with), KIV_CRC32_GOOD);
}

// The same, bit by bit.
uint32_t SlowCrc(uint32_t crc, const uint8_t* bytes, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    crc ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0);
  }
  return crc;
}

TEST(Crc32, IsTheSameHoweverTheRunIsCut) {
  std::mt19937 random(5);
  Bytes bytes(4000);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  for (uint32_t length = 0; length < 70; ++length) {
    for (uint32_t at = 0; at < 9; ++at) {
      const uint32_t first = kiv_crc32_run(KIV_CRC32_START, bytes.data(), at);
      EXPECT_EQ(kiv_crc32_run(first, bytes.data() + at, length),
                SlowCrc(KIV_CRC32_START, bytes.data(), at + length));
    }
  }
  EXPECT_EQ(kiv_crc32_run(7, bytes.data(), 4000), SlowCrc(7, bytes.data(), 4000));
}

TEST(Frame, EscapesFlagAndEscapeAtEachPlaceAndNothingElse) {
  const kiv_head head = HeadOf(KIV_RAW, 1, 1, 1);
  for (size_t place = 0; place < 40; ++place) {
    for (int value = 0; value < 256; ++value) {
      Bytes body(40, 'x');
      body[place] = static_cast<uint8_t>(value);
      const Bytes line = EncodeMessage(head, body);
      const Bytes content(line.begin() + 1, line.end() - 1);
      EXPECT_EQ(std::count(content.begin(), content.end(), kFlag), 0);
      LineRecorder recorder(KIV_SIDE_HOST);
      recorder.SkipGreeting(1);
      recorder.Feed(line);
      ASSERT_EQ(recorder.messages.size(), 1u) << place << ' ' << value;
      ASSERT_EQ(recorder.messages[0].body, body) << place << ' ' << value;
      const bool escaped = value == kFlag || value == kEscape;
      EXPECT_EQ(line[1 + KIV_HEAD_BYTES + place], escaped ? kEscape : value);
    }
  }
}

TEST(Frame, ThatDoesNotFitIsNotWritten) {
  const kiv_head head = HeadOf(KIV_REQUEST, 1, 1, 1);
  const Bytes whole = EncodeFrame(head, Bytes(20, kFlag));
  for (uint32_t room = 0; room < whole.size(); ++room) {
    Bytes out(room + 1, 0xAA);
    const Bytes payload(20, kFlag);
    EXPECT_EQ(kiv_frame_encode(&head, payload.data(), 20, out.data(), room), 0u);
    EXPECT_EQ(out[room], 0xAA);
  }
  EXPECT_TRUE(EncodeFrame(head, Bytes(KIV_MAX_PAYLOAD_BYTES + 1)).empty());
}

TEST(Frame, OfTheLargestPayloadIsTakenAndOneByteMoreIsDamaged) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.SkipGreeting(1);
  const Bytes payload(KIV_MAX_PAYLOAD_BYTES, kEscape);
  const Bytes frame = EncodeMessage(HeadOf(KIV_REQUEST, 1, 1, 1), payload);
  recorder.Feed(frame);
  ASSERT_EQ(recorder.messages.size(), 1u);
  EXPECT_EQ(recorder.messages[0].body, payload);
  Bytes longer = frame;
  longer.insert(longer.begin() + 40, 'x');
  recorder.Feed(longer);
  EXPECT_EQ(recorder.messages.size(), 1u);
  EXPECT_EQ(recorder.receiver.deframer.damaged, 1u);
}

TEST(Frame, OfEveryLengthBelowTheLeastIsStray) {
  for (size_t length = 1; length < KIV_MIN_FRAME_BYTES; ++length) {
    LineRecorder recorder(KIV_SIDE_HOST);
    recorder.Feed(Bytes{kFlag} + Bytes(length, 'x') + Bytes{kFlag});
    EXPECT_EQ(recorder.receiver.deframer.stray, 1u) << length;
    EXPECT_EQ(recorder.receiver.deframer.damaged, 0u) << length;
  }
}

TEST(Frame, WithoutEndIsCountedOnceAndStoredNowhere) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.Feed({kFlag});
  for (int i = 0; i < 1000; ++i) recorder.Feed(Bytes(1000, 'x'));
  EXPECT_LE(recorder.receiver.deframer.used_bytes, KIV_MAX_FRAME_BYTES);
  recorder.Feed({kFlag});
  recorder.Feed(HelloFrame());
  EXPECT_EQ(recorder.receiver.deframer.damaged, 1u);
  EXPECT_EQ(recorder.messages.size(), 1u);
}

// A session with messages in one and several frames, probes between them, and text.
Bytes MixedSession(std::vector<Recorded>* messages) {
  std::mt19937 random(1);
  Bytes line = HelloFrame();
  uint32_t sequence = 1;
  for (uint16_t tag = 1; tag <= 12; ++tag) {
    kiv_head head = HeadOf(tag % 3 == 0 ? KIV_RAW : KIV_REQUEST, tag, tag, sequence);
    const Bytes body = RandomBody(&random, 60);
    const Bytes frames = EncodeMessage(head, body, 1 + tag * 5);
    sequence += static_cast<uint32_t>(body.empty() ? 1 : (body.size() + tag * 5) / (1 + tag * 5));
    head.body_bytes = static_cast<uint32_t>(body.size());
    messages->push_back({head, body});
    line = line + frames + (tag % 4 == 0 ? FromHex("6F 6F 70 73") : Bytes());
  }
  return line;
}

TEST(Receiver, GivesTheSameHoweverTheBytesArePieced) {
  std::vector<Recorded> messages;
  const Bytes line = MixedSession(&messages);
  for (size_t pieceBytes = 1; pieceBytes <= line.size(); ++pieceBytes) {
    LineRecorder recorder(KIV_SIDE_HOST);
    recorder.FeedInPieces(line, pieceBytes);
    ASSERT_EQ(recorder.messages.size(), messages.size() + 1) << pieceBytes;
    recorder.messages.erase(recorder.messages.begin());
    ASSERT_EQ(recorder.messages, messages) << pieceBytes;
    EXPECT_EQ(recorder.receiver.deframer.stray, 2u);  // the third text has no flag behind it
    EXPECT_EQ(recorder.receiver.counts.lost, 0u);
    EXPECT_EQ(recorder.storageTaken, recorder.storageGivenBack);
  }
}

TEST(Receiver, GivesTheSameWhenCutAtEachByte) {
  std::vector<Recorded> messages;
  const Bytes line = MixedSession(&messages);
  for (size_t cut = 0; cut <= line.size(); ++cut) {
    LineRecorder recorder(KIV_SIDE_HOST);
    recorder.Feed(Bytes(line.begin(), line.begin() + static_cast<int64_t>(cut)));
    recorder.Feed(Bytes(line.begin() + static_cast<int64_t>(cut), line.end()));
    ASSERT_EQ(recorder.messages.size(), messages.size() + 1) << cut;
  }
}

TEST(Receiver, TakesLongMessagesWhole) {
  for (const size_t length : {size_t{65535}, size_t{65536}, size_t{65537}, size_t{10000000}}) {
    std::mt19937 random(7);
    Bytes body(length);
    for (uint8_t& byte : body) byte = static_cast<uint8_t>(random());
    LineRecorder recorder(KIV_SIDE_HOST);
    recorder.SkipGreeting(1);
    recorder.FeedInPieces(EncodeMessage(HeadOf(KIV_RAW, 1, 1, 1), body), 32768);
    ASSERT_EQ(recorder.messages.size(), 1u) << length;
    EXPECT_TRUE(recorder.messages[0].body == body) << length;
    EXPECT_EQ(recorder.storageGivenBack, 1);
  }
}

TEST(Receiver, TakesALengthOf64MebibytesAndNoMore) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.SkipGreeting(1);
  kiv_head head = HeadOf(KIV_RAW, 1, 1, 1);
  head.flags = KIV_FLAG_MORE_FOLLOWS;
  for (const uint32_t tooLong : {KIV_MAX_BODY_BYTES + 1, 0x80000000u, 0xFFFFFFFFu}) {
    head.body_bytes = tooLong;
    recorder.Feed(EncodeFrame(head, Bytes(10)));
    ++head.sequence;
  }
  EXPECT_EQ(recorder.receiver.counts.malformed, 3u);
  EXPECT_EQ(recorder.storageTaken, 0);
  head.body_bytes = KIV_MAX_BODY_BYTES;
  recorder.Feed(EncodeFrame(head, Bytes(10)));
  EXPECT_EQ(recorder.receiver.counts.malformed, 3u);
  EXPECT_EQ(recorder.storageTaken, 1);
}

TEST(Receiver, DeliversWhatItCouldNotStoreAsNotStored) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.SkipGreeting(1);
  recorder.storageFails = true;
  const kiv_head head = HeadOf(KIV_REQUEST, 5, 6, 1);
  recorder.Feed(EncodeMessage(head, Bytes(100), 30));
  ASSERT_EQ(recorder.messages.size(), 1u);
  EXPECT_FALSE(recorder.messages[0].stored);
  EXPECT_EQ(recorder.messages[0].head.tag, 6);
  EXPECT_TRUE(recorder.messages[0].body.empty());
}

TEST(Receiver, HearsNothingButAGreetingAtFirst) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.Feed(EncodeMessage(HeadOf(KIV_REQUEST, 1, 1, 1), {}));
  EXPECT_TRUE(recorder.messages.empty());
  recorder.Feed(HelloFrame());
  recorder.Feed(EncodeMessage(HeadOf(KIV_REQUEST, 1, 1, 1), {}));
  EXPECT_EQ(recorder.messages.size(), 2u);
  EXPECT_EQ(recorder.receiver.counts.lost, 0u);
}

// One row: a head that is changed, and whether it is still taken.
struct HeadCase {
  const char* what;
  void (*change)(kiv_head* head);
  uint32_t payloadBytes;
  bool taken;
};

TEST(Receiver, DropsEachMalformedHead) {
  const HeadCase cases[] = {
      {"unchanged", [](kiv_head*) {}, 4, true},
      {"another version", [](kiv_head* h) { h->version = 2; }, 4, false},
      {"kind 0", [](kiv_head* h) { h->kind = 0; }, 4, false},
      {"kind 8", [](kiv_head* h) { h->kind = 8; }, 4, false},
      {"kind 255", [](kiv_head* h) { h->kind = 255; }, 4, false},
      {"a kind of the other direction", [](kiv_head* h) { h->kind = KIV_CNF; }, 4, false},
      {"unknown flags", [](kiv_head* h) { h->flags = 0xFE; }, 4, true},
      {"length above the payload", [](kiv_head* h) { h->body_bytes = 5; }, 4, false},
      {"length below the payload", [](kiv_head* h) { h->body_bytes = 3; }, 4, false},
      {"more follows, nothing left", [](kiv_head* h) { h->flags = 1; }, 4, false},
      {"more follows, no payload", [](kiv_head* h) { h->flags = 1; }, 0, false},
      {"an offset without a message",
       [](kiv_head* h) {
         h->offset_bytes = 4;
         h->body_bytes = 8;
       },
       4, false},
      {"an offset beyond the length", [](kiv_head* h) { h->offset_bytes = 0xFFFFFFFF; }, 4, false},
      {"a probe in several frames",
       [](kiv_head* h) {
         h->kind = KIV_KEEP_ALIVE;
         h->flags = 1;
         h->body_bytes = 8;
       },
       4, false},
      {"a hello with a number", [](kiv_head* h) { h->kind = KIV_HELLO; }, 4, false}};
  for (const HeadCase& row : cases) {
    LineRecorder recorder(KIV_SIDE_HOST);
    recorder.SkipGreeting(1);
    kiv_head head = HeadOf(KIV_REQUEST, 1, 1, 1);
    head.body_bytes = 4;
    row.change(&head);
    recorder.Feed(EncodeFrame(head, Bytes(row.payloadBytes)));
    EXPECT_EQ(recorder.messages.size(), row.taken ? 1u : 0u) << row.what;
    EXPECT_EQ(recorder.receiver.counts.malformed, row.taken ? 0u : 1u) << row.what;
  }
}

TEST(Receiver, CountsGapsAndDropsRepetitionsAcrossTheWrap) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.SkipGreeting(0xFFFFFFFE);
  const uint32_t sequences[] = {0xFFFFFFFE, 0xFFFFFFFF, 0, 0, 0xFFFFFFFF, 3, 2, 0x80000003, 4};
  for (const uint32_t sequence : sequences) {
    recorder.Feed(EncodeMessage(HeadOf(KIV_REQUEST, sequence, 1, sequence), {}));
  }
  std::vector<uint32_t> taken;
  for (const Recorded& message : recorder.messages) taken.push_back(message.head.id);
  EXPECT_EQ(taken, (std::vector<uint32_t>{0xFFFFFFFE, 0xFFFFFFFF, 0, 3, 0x80000003}));
  EXPECT_EQ(recorder.receiver.counts.lost, 2u + 0x7FFFFFFFu);
  EXPECT_EQ(recorder.receiver.counts.repeated, 4u);
}

TEST(Receiver, CountsMalformedFramesInTheSequence) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.SkipGreeting(1);
  recorder.Feed(EncodeMessage(HeadOf(9, 1, 1, 1), {}));
  recorder.Feed(EncodeMessage(HeadOf(KIV_REQUEST, 1, 1, 2), {}));
  EXPECT_EQ(recorder.receiver.counts.lost, 0u);
  EXPECT_EQ(recorder.messages.size(), 1u);
}

// What may break a message of two frames off, put between them.
TEST(Receiver, GivesUpAMessageThatIsNotContinued) {
  struct Row {
    const char* what;
    Bytes between;
    size_t delivered;
  };
  kiv_head part = HeadOf(KIV_REQUEST, 1, 1, 2);
  part.flags = KIV_FLAG_MORE_FOLLOWS;
  part.body_bytes = 10;
  kiv_head otherOffset = part;
  otherOffset.offset_bytes = 6;
  kiv_head otherTag = part;
  otherTag.tag = 2;
  otherTag.offset_bytes = 5;
  const Row rows[] = {{"another message", EncodeMessage(HeadOf(KIV_RAW, 1, 1, 2), {}), 1},
                      {"another tag", EncodeFrame(otherTag, Bytes(2)), 0},
                      {"another offset", EncodeFrame(otherOffset, Bytes(2)), 0},
                      {"a malformed frame", EncodeMessage(HeadOf(KIV_CNF, 1, 1, 2), {}), 0},
                      {"a gap", EncodeMessage(HeadOf(KIV_KEEP_ALIVE, 0, 1, 3), {}), 1},
                      {"a greeting", HelloFrame(), 1}};
  for (const Row& row : rows) {
    LineRecorder recorder(KIV_SIDE_HOST);
    recorder.SkipGreeting(1);
    kiv_head first = part;
    first.sequence = 1;
    recorder.Feed(EncodeFrame(first, Bytes(5)));
    recorder.Feed(row.between);
    kiv_head last = part;
    last.flags = 0;
    last.offset_bytes = 5;
    last.sequence = recorder.receiver.expected_sequence;
    recorder.Feed(EncodeFrame(last, Bytes(5)));
    EXPECT_EQ(recorder.messages.size(), row.delivered) << row.what;
    EXPECT_EQ(recorder.receiver.counts.abandoned, 1u) << row.what;
    EXPECT_EQ(recorder.storageGivenBack, 1) << row.what;
  }
}

TEST(Receiver, BeginsTheSameMessageAnewWhenItsFirstFrameComesAgain) {
  LineRecorder recorder(KIV_SIDE_HOST);
  recorder.SkipGreeting(1);
  const Bytes body = {1, 2, 3, 4, 5, 6};
  kiv_head first = HeadOf(KIV_REQUEST, 1, 1, 1);
  first.flags = KIV_FLAG_MORE_FOLLOWS;
  first.body_bytes = 6;
  recorder.Feed(EncodeFrame(first, {1, 2, 3}));
  recorder.Feed(EncodeMessage(HeadOf(KIV_REQUEST, 1, 1, 2), body, 3));
  ASSERT_EQ(recorder.messages.size(), 1u);
  EXPECT_EQ(recorder.messages[0].body, body);
  EXPECT_EQ(recorder.receiver.counts.abandoned, 1u);
}

TEST(Receiver, SurvivesPureNoise) {
  std::mt19937 random(3);
  LineRecorder recorder(KIV_SIDE_HOST);
  const int64_t rounds = SweepCount(20000);
  for (int64_t round = 0; round < rounds; ++round) {
    Bytes noise(random() % 500);
    for (uint8_t& byte : noise) {
      byte = random() % 20 == 0 ? kFlag : static_cast<uint8_t>(random());
    }
    recorder.Feed(noise);
  }
  EXPECT_TRUE(recorder.messages.empty());
  EXPECT_GT(recorder.receiver.deframer.damaged + recorder.receiver.deframer.stray, 1000u);
}

}  // namespace
}  // namespace kivtest
