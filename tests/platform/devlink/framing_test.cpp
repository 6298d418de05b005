// Framer and deframer against the wire page's own examples, against a framing written bit by bit,
// and against every way in which a stream can be cut.
#include <gtest/gtest.h>

#include <random>

#include "platform/devlink/deframer.h"
#include "platform/devlink/frame_head.h"
#include "platform/devlink/framer.h"
#include "tests/platform/devlink/link_fixture.h"
#include "tests/platform/devlink/naive_frames.h"
#include "tests/platform/devlink/wire_page.h"

namespace linktest {
namespace {

class Contents : public devlink::FrameSink {
 public:
  void OnFrame(std::span<const std::uint8_t> content) override {
    contents.emplace_back(content.begin(), content.end());
  }
  std::vector<Bytes> contents;
};

devlink::FrameHead HeadOf(const NaiveFrame& frame) {
  devlink::FrameHead head;
  head.version = frame.version;
  head.kind = static_cast<devlink::MessageKind>(frame.kind);
  head.flags = frame.flags;
  head.id = frame.id;
  head.tag = frame.tag;
  head.word16 = frame.word16;
  head.word32 = frame.word32;
  head.result = frame.result;
  head.sequence = frame.sequence;
  head.bodyLengthBytes = frame.length;
  head.offsetBytes = frame.offset;
  return head;
}

NaiveFrame FrameOf(const devlink::FrameHead& head, std::span<const std::uint8_t> payload) {
  NaiveFrame frame;
  frame.version = head.version;
  frame.kind = static_cast<std::uint8_t>(head.kind);
  frame.flags = head.flags;
  frame.id = head.id;
  frame.tag = head.tag;
  frame.word16 = head.word16;
  frame.word32 = head.word32;
  frame.result = head.result;
  frame.sequence = head.sequence;
  frame.length = head.bodyLengthBytes;
  frame.offset = head.offsetBytes;
  frame.payload.assign(payload.begin(), payload.end());
  return frame;
}

Bytes Encode(const NaiveFrame& frame) {
  Bytes line(devlink::EncodedBytesAtMost(frame.payload.size()));
  line.resize(devlink::EncodeFrame(HeadOf(frame), frame.payload, line.data()));
  return line;
}

// Feeds the line cut at these places (ascending).
std::vector<Bytes> Deframe(devlink::Deframer& deframer, Bytes line,
                           const std::vector<std::size_t>& cuts = {}) {
  Contents sink;
  std::size_t from = 0;
  std::vector<std::size_t> ends = cuts;
  ends.push_back(line.size());
  for (const std::size_t end : ends) {
    // A piece of its own, so that the address sanitizer sees a step beyond it.
    Bytes piece(line.begin() + static_cast<long>(from), line.begin() + static_cast<long>(end));
    deframer.Feed(piece, sink);
    from = end;
  }
  return sink.contents;
}

TEST(WirePage, HasItsExamplesAndStreams) {
  EXPECT_GE(TheWirePage().examples.size(), 20u);
  EXPECT_GE(TheWirePage().streams.size(), 8u);
}

TEST(Framer, WritesTheLinesOfTheWirePage) {
  for (const WireExample& example : TheWirePage().examples) {
    EXPECT_EQ(Encode(example.frame), example.line) << example.name;
  }
}

TEST(Deframer, ReadsTheLinesOfTheWirePage) {
  for (const WireExample& example : TheWirePage().examples) {
    devlink::Deframer deframer;
    const auto contents = Deframe(deframer, example.line);
    ASSERT_EQ(contents.size(), 1u) << example.name;
    devlink::FrameHead head;
    std::span<const std::uint8_t> payload;
    EXPECT_TRUE(devlink::ReadHead(contents[0], head, payload)) << example.name;
    EXPECT_EQ(FrameOf(head, payload), example.frame) << example.name;
  }
}

TEST(Deframer, MakesOfTheWirePagesStreamsWhatThePageSays) {
  for (const WireStream& stream : TheWirePage().streams) {
    SCOPED_TRACE(stream.name);
    devlink::Deframer deframer;
    std::vector<NaiveFrame> given, wanted;
    std::uint64_t malformed = 0;
    for (const Bytes& content : Deframe(deframer, stream.line)) {
      devlink::FrameHead head;
      std::span<const std::uint8_t> payload;
      if (devlink::ReadHead(content, head, payload)) {
        given.push_back(FrameOf(head, payload));
      } else {
        ++malformed;
      }
    }
    for (const std::string& name : stream.gives) {
      wanted.push_back(TheWirePage().Example(name).frame);
    }
    EXPECT_EQ(given, wanted);
    EXPECT_EQ(deframer.Counts().damaged, stream.damaged);
    EXPECT_EQ(deframer.Counts().stray, stream.stray);
    EXPECT_EQ(malformed, stream.malformed);
  }
}

// A stretch of line with everything in it that a receiver must tell apart.
Bytes MixedLine() {
  Bytes line = {'o', 'k', 0x7D, 0x7E};
  Append(line, TheWirePage().Example("request-escaped").line);
  Append(line, {'t', 'e', 'x', 't'});
  Append(line, TheWirePage().Example("probe").line);
  Bytes bad = TheWirePage().Example("request").line;
  bad[20] ^= 1;
  Append(line, bad);
  Append(line, {0x7D, 0x7E});
  Append(line, TheWirePage().Example("line-test").line);
  return line;
}

TEST(Deframer, GivesTheSameFramesHoweverTheStreamIsCut) {
  const Bytes line = MixedLine();
  NaiveDeframer naive;
  naive.Take(line);
  ASSERT_EQ(naive.contents.size(), 3u);
  for (std::size_t first = 0; first <= line.size(); ++first) {
    for (std::size_t second = first; second <= line.size(); ++second) {
      devlink::Deframer deframer;
      ASSERT_EQ(Deframe(deframer, line, {first, second}), naive.contents) << first << " " << second;
      ASSERT_EQ(deframer.Counts().damaged, naive.damaged);
      ASSERT_EQ(deframer.Counts().stray, naive.stray);
    }
  }
}

TEST(Deframer, GivesTheSameFramesByteByByte) {
  const Bytes line = MixedLine();
  NaiveDeframer naive;
  naive.Take(line);
  std::vector<std::size_t> cuts;
  for (std::size_t at = 1; at < line.size(); ++at) cuts.push_back(at);
  devlink::Deframer deframer;
  EXPECT_EQ(Deframe(deframer, line, cuts), naive.contents);
}

TEST(Deframer, TakesAFrameOf65536BytesAndDropsALongerOne) {
  for (const bool allEscaped : {false, true}) {
    for (const std::size_t extra : {0u, 1u}) {
      SCOPED_TRACE(extra);
      Bytes content(65532 + extra, allEscaped ? 0x7D : 0x41);
      const Bytes line = NaiveLine(content);
      for (const std::size_t cut : {std::size_t{0}, std::size_t{40'000}, line.size() - 1}) {
        devlink::Deframer deframer;
        const auto contents = Deframe(deframer, line, {cut});
        EXPECT_EQ(contents.size(), extra == 0 ? 1u : 0u);
        EXPECT_EQ(deframer.Counts().damaged, extra);
        // In step again with the next frame.
        EXPECT_EQ(Deframe(deframer, TheWirePage().Example("probe").line).size(), 1u);
      }
    }
  }
}

TEST(Deframer, CountsAFrameWithoutEndOnce) {
  devlink::Deframer deframer;
  Deframe(deframer, {0x7E});
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(Deframe(deframer, Bytes(10'000, 'x')).empty());
  EXPECT_EQ(deframer.Counts().damaged, 1u);
  EXPECT_EQ(Deframe(deframer, TheWirePage().Example("probe").line).size(), 1u);
  EXPECT_EQ(deframer.Counts().damaged, 1u);
}

TEST(Deframer, ForgetsAnOpenFrameWhenReset) {
  devlink::Deframer deframer;
  const Bytes line = TheWirePage().Example("probe").line;
  Deframe(deframer, Bytes(line.begin(), line.begin() + 20));
  deframer.Reset();
  EXPECT_TRUE(Deframe(deframer, Bytes(line.begin() + 20, line.end() - 1)).empty());
  EXPECT_EQ(Deframe(deframer, line).size(), 1u);
  EXPECT_EQ(deframer.Counts().damaged, 0u);
}

NaiveFrame RandomFrame(std::minstd_rand& random) {
  static constexpr std::size_t kLengths[] = {0, 1, 3, 30, 63, 64, 65, 200, 1000, 5000};
  NaiveFrame frame;
  frame.kind = kCnf;
  frame.id = random();
  frame.tag = static_cast<std::uint16_t>(random());
  frame.sequence = random();
  frame.payload = Noise(kLengths[random() % std::size(kLengths)], random() | 1);
  // Many escapes in some.
  if (random() % 4 == 0) {
    for (auto& byte : frame.payload) byte = byte % 3 == 0 ? 0x7E : 0x7D;
  }
  return Whole(frame);
}

TEST(Framer, WritesWhatTheBitByBitFramingWrites) {
  std::minstd_rand random(3);
  for (int i = 0; i < 2000; ++i) {
    const NaiveFrame frame = RandomFrame(random);
    ASSERT_EQ(Encode(frame), NaiveLine(frame)) << i;
  }
}

TEST(Deframer, ReadsWhatTheBitByBitFramingReadsFromRandomPieces) {
  std::minstd_rand random(5);
  for (int i = 0; i < 200; ++i) {
    Bytes line;
    for (int frame = 0; frame < 8; ++frame) Append(line, NaiveLine(RandomFrame(random)));
    NaiveDeframer naive;
    naive.Take(line);
    std::vector<std::size_t> cuts;
    for (std::size_t at = random() % 3000; at < line.size(); at += random() % 3000)
      cuts.push_back(at);
    devlink::Deframer deframer;
    ASSERT_EQ(Deframe(deframer, line, cuts), naive.contents) << i;
  }
}

// --- Damage: whatever is done to a frame on its way, what comes out was sent.

enum class Damage {
  kFlip,
  kFlips,
  kDrop,
  kDouble,
  kTruncate,
  kJoin,
  kInsert,
  kText,
  kSwap,
  kCount
};

constexpr const char* kDamageNames[] = {"one bit flipped", "bits flipped",    "bytes dropped",
                                        "bytes doubled",   "truncated",       "two frames joined",
                                        "bytes inserted",  "text in between", "bytes swapped"};
static_assert(std::size(kDamageNames) == static_cast<std::size_t>(Damage::kCount));

class Damager {
 public:
  explicit Damager(std::uint32_t seed) : random_(seed) {}

  void Apply(Damage damage, Bytes& line) {
    const std::size_t at = Below(line.size());
    const auto here = line.begin() + static_cast<long>(at);
    switch (damage) {
      case Damage::kFlip:
        line[at] ^= static_cast<std::uint8_t>(1u << Below(8));
        break;
      case Damage::kFlips:
        for (std::size_t i = 2 + Below(6); i > 0; --i) {
          line[Below(line.size())] ^= static_cast<std::uint8_t>(1u << Below(8));
        }
        break;
      case Damage::kDrop:
        line.erase(here, here + static_cast<long>(std::min(line.size() - at, 1 + Below(4))));
        break;
      case Damage::kDouble: {
        const Bytes again(here, here + static_cast<long>(std::min(line.size() - at, 1 + Below(4))));
        line.insert(here, again.begin(), again.end());
        break;
      }
      case Damage::kTruncate:
        line.resize(at);
        break;
      case Damage::kJoin:  // the flags between two frames are lost
        line.erase(line.begin());
        line.pop_back();
        break;
      case Damage::kInsert: {
        const Bytes noise = Noise(1 + Below(4), random_());
        line.insert(here, noise.begin(), noise.end());
        break;
      }
      case Damage::kText: {
        const std::string text = "kernel: link is up\r\n";
        line.insert(here, text.begin(), text.end());
        break;
      }
      case Damage::kSwap:
        std::swap(line[at], line[Below(line.size())]);
        break;
      case Damage::kCount:
        break;
    }
  }
  std::size_t Below(std::size_t limit) { return random_() % limit; }

 private:
  std::mt19937 random_;
};

class DamagedFrames : public testing::TestWithParam<int> {};

TEST_P(DamagedFrames, NeverGiveAWrongPacket) {
  const auto damage = static_cast<Damage>(GetParam());
  const auto rounds = static_cast<long>(1'000'000 / std::size(kDamageNames) * SweepFactor());
  Damager damager(static_cast<std::uint32_t>(100 + GetParam()));
  devlink::Deframer deframer;
  std::uint64_t whole = 0;
  for (long i = 0; i < rounds; ++i) {
    NaiveFrame frame;
    frame.id = static_cast<std::uint32_t>(i);
    frame.sequence = static_cast<std::uint32_t>(i);
    frame.payload = Noise(damager.Below(60), static_cast<std::uint32_t>(i) | 1);
    frame = Whole(frame);
    const Bytes content = NaiveContent(frame);
    Bytes line = Encode(frame);
    damager.Apply(damage, line);
    // A good frame behind it: the receiver must be in step by then.
    Append(line, TheWirePage().Example("probe").line);
    const auto contents = Deframe(deframer, line, {damager.Below(line.size())});
    ASSERT_FALSE(contents.empty()) << i;
    for (std::size_t k = 0; k + 1 < contents.size(); ++k) {
      ASSERT_EQ(contents[k], content) << "a wrong packet in round " << i;
      ++whole;
    }
    ASSERT_EQ(contents.back().at(1), kKeepAlive) << i;
  }
  RecordProperty("rounds", static_cast<int>(rounds));
  RecordProperty("undamaged", static_cast<int>(whole));
}

INSTANTIATE_TEST_SUITE_P(InClasses, DamagedFrames,
                         testing::Range(0, static_cast<int>(Damage::kCount)),
                         [](const testing::TestParamInfo<int>& info) {
                           std::string name = kDamageNames[info.param];
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

}  // namespace
}  // namespace linktest
