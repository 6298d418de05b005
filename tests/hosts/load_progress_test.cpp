#include "hosts/terminal/load_progress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hosts/terminal/load_layout.h"
#include "hosts/terminal/stored_file.h"
#include "platform/base/bench_setup.h"
#include "platform/catalogue/cmd_database.h"
#include "tests/support/tree_paths.h"

namespace kiv {
namespace {

constexpr std::uint32_t kLoad = 0x1203;  // of the shipped catalogue, as the next
constexpr std::uint32_t kInfo = 0x1204;

// Index and count, 16 bits each, small end first; 2048 bytes and their number.
std::vector<std::uint8_t> Chunk(std::uint16_t index, std::uint16_t count) {
  std::vector<std::uint8_t> body(2054);
  body[0] = static_cast<std::uint8_t>(index);
  body[1] = static_cast<std::uint8_t>(index >> 8);
  body[2] = static_cast<std::uint8_t>(count);
  body[3] = static_cast<std::uint8_t>(count >> 8);
  return body;
}

class LoadProgressTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    bench::Setup setup;
    setup.catalogue =
        QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat");
    bench::SetSetup(setup);
    QCList<CmdInfo> rows;
    CCmdDatabase catalogue;
    ASSERT_EQ(catalogue.EnumCommands(rows, 3, 256, 0, 0), 0u);
  }

  LoadProgress load;
};

TEST_F(LoadProgressTest, CountsChunksAsTheyAreConfirmedUntilTheLast) {
  load.BeginLine(kLoad);
  for (std::uint16_t i = 0; i < 3; ++i) {
    load.Posted(kLoad, i + 1, Chunk(i, 3));
    EXPECT_TRUE(load.State().isWaiting);
    EXPECT_EQ(load.State().index, i);
    EXPECT_EQ(load.State().count, 3u);
    EXPECT_FALSE(load.State().IsStored());
    EXPECT_EQ(load.Confirmed(kLoad, i + 1, 0), i == 2);
    EXPECT_EQ(load.State().confirmed, i + 1u);
  }
  EXPECT_TRUE(load.State().IsStored());
  EXPECT_FALSE(load.State().IsRefused());
}

TEST_F(LoadProgressTest, AConfirmationOfAnotherPostOrCommandMovesNothing) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 7, Chunk(0, 2));
  EXPECT_FALSE(load.Confirmed(kLoad, 6, 0));
  EXPECT_FALSE(load.Confirmed(kInfo, 7, 0));
  EXPECT_EQ(load.State().confirmed, 0u);
  EXPECT_FALSE(load.Confirmed(kLoad, 7, 0));
  EXPECT_EQ(load.State().confirmed, 1u);
  EXPECT_FALSE(load.Confirmed(kLoad, 7, 0));  // a second one of the same post
  EXPECT_EQ(load.State().confirmed, 1u);
}

TEST_F(LoadProgressTest, ARefusedChunkEndsTheLoad) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 2));
  EXPECT_TRUE(load.Confirmed(kLoad, 1, 720));
  EXPECT_TRUE(load.State().IsRefused());
  EXPECT_FALSE(load.State().IsStored());
  EXPECT_EQ(load.State().result, 720u);
  EXPECT_EQ(load.State().confirmed, 0u);
}

TEST_F(LoadProgressTest, AChunkThatIsSentAgainKeepsItsIndexAndItsFirstAnswerCountsNoMore) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 2));
  load.Confirmed(kLoad, 1, 0);
  load.Posted(kLoad, 2, Chunk(1, 2));
  load.Posted(kLoad, 3, Chunk(1, 2));
  EXPECT_EQ(load.State().index, 1u);
  EXPECT_FALSE(load.Confirmed(kLoad, 2, 0));
  EXPECT_TRUE(load.Confirmed(kLoad, 3, 0));
}

TEST_F(LoadProgressTest, ALineThatSendsALaterChunkAgainGoesOnFromThere) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 40, Chunk(17, 65535));
  EXPECT_EQ(load.State().first, 17u);
  EXPECT_EQ(load.State().index, 17u);
  EXPECT_EQ(load.State().confirmed, 17u);
  EXPECT_EQ(load.State().count, 65535u);
  load.Confirmed(kLoad, 40, 0);
  EXPECT_EQ(load.State().confirmed, 18u);
}

TEST_F(LoadProgressTest, OnlyALoadThatStillWaitedIsResumed) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 2));
  EXPECT_FALSE(load.State().isResumed);
  load.BeginLine(kLoad);
  load.Posted(kLoad, 2, Chunk(0, 2));
  EXPECT_TRUE(load.State().isResumed);
  load.BeginLine(kLoad);
  load.Posted(kLoad, 3, Chunk(0, 3));  // another file
  EXPECT_FALSE(load.State().isResumed);
  load.Close();
  load.BeginLine(kLoad);
  load.Posted(kLoad, 4, Chunk(0, 3));
  EXPECT_FALSE(load.State().isResumed);
  load.Confirmed(kLoad, 4, 0);
  load.Posted(kLoad, 5, Chunk(1, 3));
  load.Confirmed(kLoad, 5, 713);
  load.BeginLine(kLoad);
  load.Posted(kLoad, 6, Chunk(1, 3));
  EXPECT_FALSE(load.State().isResumed);
}

TEST_F(LoadProgressTest, ALineThatPostsNothingLeavesTheOpenLoadAsItIs) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 3));
  load.BeginLine(kLoad);
  load.EndLine();
  EXPECT_TRUE(load.State().isWaiting);
  EXPECT_FALSE(load.Confirmed(kLoad, 1, 0));
  load.Posted(kLoad, 2, Chunk(1, 3));  // by itself
  EXPECT_EQ(load.State().index, 1u);
  EXPECT_FALSE(load.State().isResumed);
  load.BeginLine(kLoad);
  load.EndLine();
  load.BeginLine(kLoad);
  EXPECT_TRUE(load.Posted(kLoad, 3, Chunk(1, 3)));
  EXPECT_TRUE(load.State().isResumed);
}

TEST_F(LoadProgressTest, AChunkWhoseConfirmationTheModuleHasNotSeenIsResumed) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 3));
  load.EndLine();
  load.Confirmed(kLoad, 1, 0);
  load.Posted(kLoad, 2, Chunk(1, 3));
  load.Confirmed(kLoad, 2, 0);
  load.BeginLine(kLoad);
  load.Posted(kLoad, 3, Chunk(1, 3));
  EXPECT_TRUE(load.State().isResumed);
}

TEST_F(LoadProgressTest, AFileOfNoChunksIsNeverStored) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 0));
  EXPECT_FALSE(load.State().IsStored());
  EXPECT_FALSE(load.Confirmed(kLoad, 1, 0));
  EXPECT_FALSE(load.State().IsStored());
}

TEST_F(LoadProgressTest, APostThatFailedIsNotWaitedFor) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 2));
  load.PostFailed(kLoad, 1);
  EXPECT_FALSE(load.State().isWaiting);
  EXPECT_FALSE(load.Confirmed(kLoad, 1, 0));
}

TEST_F(LoadProgressTest, WithoutALoadAndOfOtherCommandsNothingIsCounted) {
  load.Posted(0, 1, Chunk(0, 2));
  EXPECT_FALSE(load.State().isPosted);
  load.BeginLine(kLoad);
  load.Posted(kInfo, 1, {});
  EXPECT_FALSE(load.State().isPosted);
}

// Index, count, state.
std::vector<std::uint8_t> Confirmation(std::uint8_t index, std::uint8_t count, std::uint8_t state) {
  return {index, 0, count, 0, state};
}

TEST_F(LoadProgressTest, ADeviceThatConfirmsAheadLosesNoChunkOfTheCount) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 3));
  load.Posted(kLoad, 2, Chunk(1, 3));  // its confirmation had come before it, and moved the module
  EXPECT_EQ(load.State().index, 1u);
  EXPECT_EQ(load.State().confirmed, 1u);
  load.Posted(kLoad, 3, Chunk(2, 3));
  EXPECT_EQ(load.State().confirmed, 2u);
  EXPECT_TRUE(load.State().IsOpenQuestion());
  EXPECT_TRUE(load.Confirmed(kLoad, 3, 0));
  EXPECT_TRUE(load.State().IsStored());
}

TEST_F(LoadProgressTest, AConfirmationThatMayBeAnothersSaysNothingOfTheFile) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 1), true);
  EXPECT_TRUE(load.Confirmed(kLoad, 1, 0, Confirmation(0, 1, 2)));
  EXPECT_FALSE(load.State().IsStored());
  EXPECT_TRUE(load.State().IsOpenQuestion());
  load.BeginLine(kLoad);
  load.Posted(kLoad, 2, Chunk(0, 1), true);
  EXPECT_TRUE(load.Confirmed(kLoad, 2, 719));
  EXPECT_TRUE(load.State().IsOpenQuestion());
}

TEST_F(LoadProgressTest, OnlyTheLastChunksConfirmationHasToBeItsOwn) {
  load.BeginLine(kLoad);
  load.Posted(kLoad, 1, Chunk(0, 2), true);
  EXPECT_FALSE(load.Confirmed(kLoad, 1, 0));
  load.Posted(kLoad, 2, Chunk(1, 2));
  EXPECT_TRUE(load.Confirmed(kLoad, 2, 0));
  EXPECT_TRUE(load.State().IsStored());
}

TEST_F(LoadProgressTest, ALastConfirmationWhoseStateIsNotStoredIsADenial) {
  struct Row {
    std::vector<std::uint8_t> body;
    bool isStored;
  };
  const Row rows[] = {
      {Confirmation(1, 2, 2), true},
      {Confirmation(1, 2, 1), false},
      {Confirmation(1, 2, 0), false},
      // Of other chunks, too short, too long: result 0 is all that is said of this one.
      {Confirmation(0, 2, 1), true},
      {Confirmation(1, 3, 1), true},
      {{}, true},
      {{1, 0, 2, 0}, true},
      {std::vector<std::uint8_t>(100), true},
  };
  for (const Row& row : rows) {
    LoadProgress one;
    one.BeginLine(kLoad);
    one.Posted(kLoad, 1, Chunk(0, 2));
    one.Confirmed(kLoad, 1, 0, Confirmation(0, 2, 1));
    one.Posted(kLoad, 2, Chunk(1, 2));
    EXPECT_TRUE(one.Confirmed(kLoad, 2, 0, row.body));
    EXPECT_EQ(one.State().IsStored(), row.isStored);
    EXPECT_FALSE(one.State().IsOpenQuestion());
  }
}

TEST_F(LoadProgressTest, TheShippedCommandCountsTo65535ChunksAndCarriesTheLength) {
  const LoadLayout layout = LoadLayoutOf(kLoad);
  EXPECT_EQ(layout.mostChunks, 65535u);
  EXPECT_TRUE(layout.carriesLength);
}

TEST_F(LoadProgressTest, ACommandWithOtherFieldsTakesNoChunk) {
  EXPECT_EQ(LoadLayoutOf(kInfo).mostChunks, 0u);
  EXPECT_EQ(LoadLayoutOf(0).mostChunks, 0u);
}

TEST(LoadPath, IsWhatStandsBehindTheWordInAnyCase) {
  EXPECT_EQ(LoadPathOf(L"  LdNv  a b \x0c "), L"a b \x0c");
  EXPECT_EQ(LoadPathOf(L"ldnv"), L"");
  EXPECT_FALSE(LoadPathOf(L"ldnvx a"));
  EXPECT_FALSE(LoadPathOf(L""));
}

TEST_F(LoadProgressTest, AStoredFileIsReadByTheNamesOfItsFields) {
  std::vector<std::uint8_t> body(45);
  body[0] = 2;
  body[1] = 0x40;
  body[2] = 0xe2;
  body[3] = 0x01;
  for (std::uint8_t i = 0; i < 32; ++i) body[5 + i] = static_cast<std::uint8_t>(i * 8 + 1);
  const auto stored = ReadStoredFile(kInfo, body);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->sizeBytes, 123456u);
  EXPECT_EQ(stored->sha256, "0109111921293139414951596169717981899199a1a9b1b9c1c9d1d9e1e9f1f9");
}

TEST_F(LoadProgressTest, AnAnswerWithoutTheFieldsIsNoStoredFile) {
  EXPECT_FALSE(ReadStoredFile(kInfo, {}));
  EXPECT_FALSE(ReadStoredFile(kLoad, Chunk(0, 2)));
  EXPECT_FALSE(ReadStoredFile(0x7777, Chunk(0, 2)));
}

}  // namespace
}  // namespace kiv
