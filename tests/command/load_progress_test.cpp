// How the chunks of a load follow each other: which confirmation sends the next, what a line typed
// meanwhile does, and what ends a load without a failure.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/fakes/load_bench.h"
#include "tests/fakes/wait_until.h"

namespace {

using kivtest::ChunkBody;
using kivtest::kLoadCmdId;
using kivtest::LoadBench;
using kivtest::LoadContent;
using Lines = std::vector<std::wstring>;
using Indices = std::vector<int>;

const std::string kFourChunks = LoadContent(3 * 2048 + 7);

// The indices of the chunks posted so far.
Indices Posted() {
  Indices indices;
  for (const fake::Post& post : fake::Posts()) indices.push_back(post.body[0] | post.body[1] << 8);
  return indices;
}

std::vector<int> Tags() {
  std::vector<int> tags;
  for (const fake::Post& post : fake::Posts()) tags.push_back(post.tag);
  return tags;
}

TEST(LoadProgress, SendsTheWholeFileAndEndsWithItsLastConfirmation) {
  for (std::size_t sizeBytes : {1u, 2047u, 2048u, 2049u, 4096u, 100'000u}) {
    SCOPED_TRACE(sizeBytes);
    LoadBench bench;
    const std::string content = LoadContent(sizeBytes);
    EXPECT_EQ(bench.LoadNew("file", content), L"");
    EXPECT_EQ(fake::Posts().size(), 1u);
    bench.ConfirmAll();
    std::vector<fake::Post> chunks;
    for (std::size_t i = 0; i * kivtest::kLoadChunkBytes < content.size(); ++i) {
      chunks.push_back({.cmdId = kLoadCmdId,
                        .body = ChunkBody(content, i),
                        .tag = static_cast<std::uint16_t>(i + 1)});
    }
    EXPECT_EQ(fake::Posts(), chunks);
    EXPECT_FALSE(bench.IsHeld("file"));
    EXPECT_EQ(bench.Module().Log().Lines(), Lines());
    EXPECT_EQ(bench.Module().Messages().Texts(), Lines(chunks.size(), L"\n.stored = 1 \n"));
  }
}

TEST(LoadProgress, HoldsTheFileUntilTheLastConfirmation) {
  LoadBench bench;
  bench.LoadNew("file", LoadContent(2049));
  EXPECT_TRUE(bench.IsHeld("file"));
  bench.ConfirmNewest();
  EXPECT_TRUE(bench.IsHeld("file"));
  bench.ConfirmNewest();
  EXPECT_FALSE(bench.IsHeld("file"));
}

TEST(LoadProgress, SendsNothingBeforeTheControllersThreadRuns) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  fake::Deliver({LoadBench::Confirmation(1)});
  EXPECT_EQ(Posted(), (Indices{0}));
  LoadBench::RunQueued();
  EXPECT_EQ(Posted(), (Indices{0, 1}));
}

TEST(LoadProgress, CountsAConfirmationOnce) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  fake::Deliver({LoadBench::Confirmation(1), LoadBench::Confirmation(1)});
  fake::Deliver({LoadBench::Confirmation(1, 5)});
  LoadBench::RunQueued();
  EXPECT_EQ(Posted(), (Indices{0, 1}));
  bench.Confirm(1);
  EXPECT_EQ(Posted(), (Indices{0, 1}));
  EXPECT_EQ(bench.Module().Messages().All().size(), 4u);  // all of them are shown
  bench.Confirm(2);
  EXPECT_EQ(Posted(), (Indices{0, 1, 2}));
}

TEST(LoadProgress, IsMovedByNoOtherPacket) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  fake::Packet indication = LoadBench::Confirmation(1);
  indication.isInd = true;
  fake::Packet other = LoadBench::Confirmation(1);
  other.cmdId = kLoadCmdId + 1;
  fake::Deliver({indication, other, LoadBench::Confirmation(0), LoadBench::Confirmation(2),
                 LoadBench::Confirmation(1 | 0x100)});
  LoadBench::RunQueued();
  EXPECT_EQ(Posted(), (Indices{0}));
  EXPECT_TRUE(bench.Controller().GetLoad().IsOpen());
}

TEST(LoadProgress, IsMovedByAWrappedConfirmation) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  fake::Packet wrapped = LoadBench::Confirmation(1);
  wrapped.cmdId = 0x7000;
  wrapped.body.assign(38, 0);
  wrapped.body[8] = 0x01;
  wrapped.body[9] = 0x20;
  fake::Deliver({wrapped});
  LoadBench::RunQueued();
  EXPECT_EQ(Posted(), (Indices{0, 1}));
}

TEST(LoadProgress, IsMovedByAConfirmationWithoutABody) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  fake::Packet bare = LoadBench::Confirmation(1);
  bare.hasBody = false;
  fake::Deliver({bare});
  LoadBench::RunQueued();
  EXPECT_EQ(Posted(), (Indices{0, 1}));
}

TEST(LoadProgress, EndsWithAFailedConfirmation) {
  for (int failing = 0; failing < 4; ++failing) {
    SCOPED_TRACE(failing);
    LoadBench bench;
    bench.LoadNew("file", kFourChunks);
    for (int i = 0; i < failing; ++i) bench.ConfirmNewest();
    bench.ConfirmNewest(700);
    EXPECT_EQ(Posted().size(), failing + 1u);
    EXPECT_FALSE(bench.IsHeld("file"));
    bench.ConfirmNewest();  // late
    EXPECT_EQ(Posted().size(), failing + 1u);
    EXPECT_EQ(bench.Load("file"), L"");
    EXPECT_EQ(Posted().back(), 0);
  }
}

TEST(LoadProgress, SendsTheSameChunkAgainWhenTheLineIsTypedAgain) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  bench.ConfirmNewest();
  EXPECT_EQ(bench.Load("file"), L"");
  EXPECT_EQ(Posted(), (Indices{0, 1, 1}));
  bench.Confirm(2);  // the answer of the first of the two moves nothing
  EXPECT_EQ(Posted(), (Indices{0, 1, 1}));
  bench.Confirm(3);
  bench.Confirm(2);
  EXPECT_EQ(Posted(), (Indices{0, 1, 1, 2}));
}

TEST(LoadProgress, RetriesALastConfirmationThatWasLost) {
  LoadBench bench;
  bench.LoadNew("file", LoadContent(2049));
  bench.ConfirmNewest();
  bench.Load("file");
  EXPECT_EQ(Posted(), (Indices{0, 1, 1}));
  EXPECT_TRUE(bench.IsHeld("file"));
  bench.ConfirmNewest();
  EXPECT_FALSE(bench.IsHeld("file"));
  bench.Load("file");
  EXPECT_EQ(Posted(), (Indices{0, 1, 1, 0}));
}

TEST(LoadProgress, DropsAnAnswerThatWasQueuedWhenTheLineIsTypedAgain) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  fake::Deliver({LoadBench::Confirmation(1)});
  bench.Load("file");
  EXPECT_EQ(Posted(), (Indices{0, 0}));
  LoadBench::RunQueued();
  EXPECT_EQ(Posted(), (Indices{0, 0}));
  bench.Confirm(2);
  EXPECT_EQ(Posted(), (Indices{0, 0, 1}));
}

TEST(LoadProgress, GoesOnWithItsFileWhateverPathIsTyped) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  EXPECT_EQ(bench.Module().Run(L"ldnv"), L"Enter a file path.\n");
  EXPECT_EQ(bench.Load("missing"), L"Enter a valid file path.\n");
  EXPECT_EQ(Posted(), (Indices{0}));
  EXPECT_EQ(bench.LoadNew("other", LoadContent(10)), L"");
  EXPECT_EQ(fake::Posts()[1].body, fake::Posts()[0].body);
  EXPECT_EQ(bench.Module().Run(L"ldnv " + bench.Files().WidePath()), L"");
  EXPECT_EQ(Posted(), (Indices{0, 0, 0}));
  EXPECT_FALSE(bench.IsHeld("other"));
}

TEST(LoadProgress, GoesOnThoughAChannelTakesEveryPacket) {
  LoadBench bench(LoadBench::Catalogued({.channels = fake::FourChannels()}));
  fake::FakeChannel<0>::State().responseAnswer = SvcKivClass::kChannelTaken;
  bench.LoadNew("file", kFourChunks);
  bench.ConfirmAll();
  EXPECT_EQ(Posted(), (Indices{0, 1, 2, 3}));
  EXPECT_FALSE(bench.IsHeld("file"));
  EXPECT_EQ(bench.Module().Messages().Texts(), Lines());
  EXPECT_EQ(fake::FakeChannel<0>::State().packets.size(), 4u);
}

TEST(LoadProgress, GoesOnUnderTheTestCaseFilter) {
  LoadBench bench(LoadBench::Catalogued({.channels = SvcKivClass::BuiltInChannels()}));
  bench.Module().Run(L"ctsftl 1");
  bench.LoadNew("file", kFourChunks);
  bench.ConfirmAll();
  EXPECT_EQ(Posted(), (Indices{0, 1, 2, 3}));
  EXPECT_FALSE(bench.IsHeld("file"));
  for (const kivtest::Message& message : bench.Module().Messages().All()) {
    EXPECT_NE(message.kind, SvcKivSpace::kReply);
  }
  bench.Module().Run(L"ctsftl 0");
}

TEST(LoadProgress, SharesTheNumbersOfPostsWithTypedCommands) {
  LoadBench bench;
  bench.Controller().SetSequenceNumber(65532);
  bench.LoadNew("file", kFourChunks);
  bench.Module().Run(L"put 1");
  EXPECT_EQ(Tags(), (std::vector<int>{65533, 65534}));
  bench.Confirm(65533);
  EXPECT_EQ(Tags(), (std::vector<int>{65533, 65534, 0}));
  bench.Confirm(0);
  EXPECT_EQ(Tags(), (std::vector<int>{65533, 65534, 0, 1}));
}

TEST(LoadProgress, StartsTheIndicationPeriodWithEachChunk) {
  LoadBench bench;
  bench.App().SetInstantIndTime(60'000);
  bench.LoadNew("file", kFourChunks);
  EXPECT_TRUE(bench.Controller().IsPeriodRunning());
  EXPECT_TRUE(bench.App().GetIsEnableInstantInd());
  bench.Controller().SlotInstantIndTimer();
  EXPECT_FALSE(bench.App().GetIsEnableInstantInd());
  bench.ConfirmNewest();
  EXPECT_TRUE(bench.Controller().IsPeriodRunning());
  EXPECT_TRUE(bench.App().GetIsEnableInstantInd());
  bench.Controller().SlotInstantIndTimer();
  fake::SetPostStatus(77);
  bench.ConfirmNewest();
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
}

TEST(LoadProgress, TakesNoRouteFromTheLineBefore) {
  LoadBench bench;
  bench.Module().Run(L"put 1 -r 00:11:22:33:44:55");
  bench.Module().Run(L"put 1 -d 7");
  EXPECT_EQ(bench.LoadNew("file", LoadContent(10)), L"");
  EXPECT_EQ(fake::Posts().back().cmdId, kLoadCmdId);
  EXPECT_EQ(fake::Posts().back().word, 0u);
  EXPECT_EQ(fake::Posts().back().word16, 0);
}

TEST(LoadProgress, IsForgottenByReloadDb) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  bench.ConfirmNewest();
  fake::Deliver({LoadBench::Confirmation(2)});
  bench.App().ReloadDb();
  EXPECT_FALSE(bench.IsHeld("file"));
  LoadBench::RunQueued();
  bench.Confirm(2);
  EXPECT_EQ(Posted(), (Indices{0, 1}));
  EXPECT_EQ(bench.Load("file"), L"");
  EXPECT_EQ(Posted(), (Indices{0, 1, 0}));
  bench.Confirm(1);
  EXPECT_EQ(Posted(), (Indices{0, 1, 0, 1}));
}

TEST(LoadProgress, IsForgottenByStop) {
  LoadBench bench;
  bench.LoadNew("file", kFourChunks);
  fake::Deliver({LoadBench::Confirmation(1)});
  bench.App().Stop();
  EXPECT_FALSE(bench.IsHeld("file"));
  LoadBench::RunQueued();
  EXPECT_EQ(Posted(), (Indices{0}));
  bench.App().Start();
  EXPECT_EQ(bench.Load("file"), L"");
  EXPECT_EQ(Posted(), (Indices{0, 0}));
}

// The device confirms on the link's thread as soon as a chunk is there.
TEST(LoadProgress, GoesOnWhenTheLinksThreadConfirms) {
  LoadBench bench;
  const std::string content = LoadContent(200 * 2048 - 1);
  std::atomic<bool> stop{false};
  std::thread device([&] {
    std::size_t confirmed = 0;
    while (!stop) {
      const std::vector<fake::Post> posts = fake::Posts();
      for (; confirmed < posts.size(); ++confirmed) {
        const std::uint16_t tag = posts[confirmed].tag;
        fake::Deliver({LoadBench::Confirmation(tag), LoadBench::Confirmation(tag)});
      }
      std::this_thread::yield();
    }
  });
  bench.LoadNew("file", content);
  EXPECT_TRUE(kivtest::WaitUntil([&] { return !bench.Controller().GetLoad().IsOpen(); }, 60'000));
  stop = true;
  device.join();
  Indices all;
  for (int i = 0; i < 200; ++i) all.push_back(i);
  EXPECT_EQ(Posted(), all);
}

}  // namespace
