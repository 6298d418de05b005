// Framer and deframer against the wire page's own examples, against a framing written bit by bit,
// and against every way in which a stream can be cut.
#include <gtest/gtest.h>

#include <random>

#include "tests/platform/devlink/framing.h"
#include "tests/platform/devlink/noise.h"
#include "tests/platform/devlink/wire_page.h"

namespace linktest {
namespace {

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

}  // namespace
}  // namespace linktest
