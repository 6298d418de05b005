// What is remembered of the replies, and for how long.
#include "hosts/bench/reply_memory.h"

#include <gtest/gtest.h>

using hostbench::ReplyMemory;

namespace {

using Bytes = ReplyMemory::Bytes;

TEST(ReplyMemory, AnswersTheReplyBeforeToTheSameRequest) {
  ReplyMemory memory;
  EXPECT_EQ(memory.Exchange(7, {}, Bytes{1, 2}), std::nullopt);
  EXPECT_EQ(memory.Exchange(7, {}, Bytes{3}), (Bytes{1, 2}));
  EXPECT_EQ(memory.Exchange(7, {}, Bytes{3}), Bytes{3});
}

TEST(ReplyMemory, TellsCommandsAndParametersApart) {
  ReplyMemory memory;
  memory.Exchange(7, Bytes{1}, Bytes{10});
  EXPECT_EQ(memory.Exchange(7, Bytes{2}, Bytes{20}), std::nullopt);
  EXPECT_EQ(memory.Exchange(8, Bytes{1}, Bytes{30}), std::nullopt);
  EXPECT_EQ(memory.Exchange(7, {}, Bytes{40}), std::nullopt);
  EXPECT_EQ(memory.Exchange(7, Bytes{1}, Bytes{11}), Bytes{10});
  EXPECT_EQ(memory.Exchange(7, Bytes{2}, Bytes{21}), Bytes{20});
}

TEST(ReplyMemory, ForgetsWhatWasNotAskedForLongest) {
  constexpr std::uint8_t kRequests = 100;
  ReplyMemory memory(64 * 1024);
  const Bytes reply(4096, 1);
  memory.Exchange(1, Bytes{0}, reply);
  for (std::uint8_t i = 1; i < kRequests; ++i) {
    memory.Exchange(1, Bytes{i}, reply);
    ASSERT_EQ(memory.Exchange(1, Bytes{0}, reply), reply) << int{i};
  }
  EXPECT_EQ(memory.Exchange(1, Bytes{kRequests - 1}, reply), reply);
  EXPECT_EQ(memory.Exchange(1, Bytes{1}, reply), std::nullopt);
}

TEST(ReplyMemory, DoesNotKeepAReplyThatWouldPushOutTheOthers) {
  ReplyMemory memory(64 * 1024);
  memory.Exchange(1, {}, Bytes{1});
  memory.Exchange(2, {}, Bytes(64 * 1024, 2));
  EXPECT_EQ(memory.Exchange(2, {}, Bytes{2}), std::nullopt);
  EXPECT_EQ(memory.Exchange(1, {}, Bytes{1}), Bytes{1});
}

TEST(ReplyMemory, ForgetsAllWhenItIsAskedTo) {
  ReplyMemory memory;
  memory.Exchange(1, {}, Bytes{1});
  memory.Forget();
  EXPECT_EQ(memory.Exchange(1, {}, Bytes{1}), std::nullopt);
}

}  // namespace
