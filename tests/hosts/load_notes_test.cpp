#include "hosts/terminal/load_notes.h"

#include <gtest/gtest.h>

namespace kiv {
namespace {

using std::chrono::milliseconds;

constexpr LoadNotes::Clock::time_point kBegin{std::chrono::seconds(1000)};

LoadState StateOf(std::uint32_t confirmed, std::uint32_t count, std::uint32_t first = 0) {
  LoadState state;
  state.isPosted = true;
  state.first = first;
  state.index = confirmed;
  state.confirmed = confirmed;
  state.count = count;
  return state;
}

TEST(LoadNotes, TheRowHasBarPercentBytesRateAndTimeLeft) {
  const LoadNotes notes("f.bin", 1'000'000, kBegin);
  EXPECT_EQ(notes.Row(StateOf(244, 489), kBegin + milliseconds(500)),
            "ldnv [#########-----------] 49 %, 499712 of 1000000 bytes, 999.4 kB/s, 1 s left");
  EXPECT_EQ(notes.Row(StateOf(489, 489), kBegin + milliseconds(500)),
            "ldnv [####################] 100 %, 1000000 of 1000000 bytes, 2.0 MB/s, 0 s left");
}

TEST(LoadNotes, BeforeTheFirstChunkIsConfirmedThereIsNoRate) {
  const LoadNotes notes("f.bin", 3000, kBegin);
  EXPECT_EQ(notes.Row(StateOf(0, 2), kBegin), "ldnv [--------------------] 0 %, 0 of 3000 bytes");
  EXPECT_EQ(notes.Line(StateOf(0, 2), kBegin + milliseconds(10)),
            "kiv: ldnv 0 %, 0 of 3000 bytes\n");
}

TEST(LoadNotes, OfAFileThatCannotBeAskedWholeChunksAreCounted) {
  const LoadNotes notes("f.bin", std::nullopt, kBegin);
  EXPECT_EQ(notes.Line(StateOf(1, 2), kBegin + milliseconds(1000)),
            "kiv: ldnv 50 %, 2048 of 4096 bytes, 2.0 kB/s, 1 s left\n");
}

TEST(LoadNotes, TheRateOfALoadThatGoesOnCountsOnlyWhatWasSentNow) {
  const LoadNotes notes("f.bin", 4096, kBegin);
  EXPECT_EQ(notes.Line(StateOf(2, 2, 1), kBegin + milliseconds(2000)),
            "kiv: ldnv 100 %, 4096 of 4096 bytes, 1.0 kB/s, 0 s left\n");
}

TEST(LoadNotes, EachEndIsALineOfItsOwn) {
  const LoadNotes notes("a b.bin", 2049, kBegin);
  const LoadState half = StateOf(1, 2);
  EXPECT_EQ(notes.StoredText(StateOf(2, 2), kBegin + milliseconds(250)),
            "kiv: stored: a b.bin, 2049 bytes in 0.2 s, 8.2 kB/s\n");
  EXPECT_EQ(notes.StoredText(StateOf(2, 2), kBegin + milliseconds(20'000)),
            "kiv: stored: a b.bin, 2049 bytes in 20 s, 102 B/s\n");
  EXPECT_EQ(notes.OtherPathText("b"),
            "kiv: b is not sent: the load of a b.bin waited for its answer and goes on\n");
  EXPECT_EQ(notes.NothingSentText(), "kiv: a b.bin is empty: nothing was sent\n");
  EXPECT_EQ(notes.NoAnswerText(half, 500),
            "kiv: no answer to chunk 2 of 2 within 500 ms; the same line sends it again\n");
  EXPECT_EQ(notes.LinkLostText(half),
            "kiv: the link was lost behind 1 of 2 chunks; a b.bin is not stored\n");
  EXPECT_EQ(notes.RefusedText(half),
            "kiv: the device refused chunk 2 of 2; a b.bin is not stored\n");
  EXPECT_EQ(notes.EndedText(half),
            "kiv: the load ended behind 1 of 2 chunks; a b.bin is not stored\n");
  EXPECT_EQ(notes.StoppedText(half),
            "kiv: the load was stopped behind 1 of 2 chunks; a b.bin is not stored\n");
  LoadState last = half;
  last.isWaiting = true;
  EXPECT_EQ(notes.LinkLostText(last),
            "kiv: the link was lost behind 1 of 2 chunks; a b.bin may be stored, the answer to its "
            "last chunk is missing\n");
  EXPECT_EQ(notes.StoppedText(last),
            "kiv: the load was stopped behind 1 of 2 chunks; a b.bin may be stored, the answer to "
            "its last chunk is missing\n");
  EXPECT_EQ(notes.VerifiedText("ab12"), "kiv: verified: a b.bin, SHA-256 ab12\n");
}

}  // namespace
}  // namespace kiv
