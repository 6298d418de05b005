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
  EXPECT_EQ(notes.StoredText(StateOf(2, 2), kBegin + milliseconds(250), false),
            "kiv: stored: a b.bin, 2049 bytes in 0.2 s, 8.2 kB/s\n");
  EXPECT_EQ(notes.StoredText(StateOf(2, 2), kBegin + milliseconds(20'000), false),
            "kiv: stored: a b.bin, 2049 bytes in 20 s, 102 B/s\n");
  EXPECT_EQ(notes.OtherPathText("b"),
            "kiv: b is not sent: the load of a b.bin waited for its answer and goes on\n");
  EXPECT_EQ(notes.NotSentText(), "kiv: a b.bin is not sent\n");
  EXPECT_EQ(notes.WaitsText(), "kiv: a b.bin waits for the answer to the load before it\n");
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
  EXPECT_EQ(
      notes.EndedText(last),
      "kiv: the load ended behind 1 of 2 chunks; a b.bin may be stored, the answer to its last "
      "chunk is missing\n");
  EXPECT_EQ(notes.StoppedText(StateOf(2, 2)),
            "kiv: the load was stopped behind 2 of 2 chunks; a b.bin is stored\n");
  EXPECT_EQ(
      notes.StoppedText(StateOf(0, 2), false),
      "kiv: the load was stopped behind 0 of 2 chunks; a b.bin may be stored, the load has not "
      "ended yet\n");
  EXPECT_EQ(notes.VerifiedText("ab12"), "kiv: verified: a b.bin, SHA-256 ab12\n");
}

TEST(LoadNotes, AFileThatTheDeviceFilledWithZerosIsNotJustStored) {
  const LoadNotes notes("f", 5000, kBegin);
  EXPECT_EQ(notes.StoredText(StateOf(3, 3), kBegin + milliseconds(1000), true),
            "kiv: stored, padded to 6144 bytes: f, 5000 bytes in 1.0 s, 5.0 kB/s\n");
  const LoadNotes whole("f", 4096, kBegin);
  EXPECT_EQ(whole.StoredText(StateOf(2, 2), kBegin + milliseconds(1000), true),
            "kiv: stored: f, 4096 bytes in 1.0 s, 4.1 kB/s\n");
}

TEST(LoadNotes, WhyNothingWasSentIsReadFromTheFile) {
  EXPECT_EQ(LoadNotes("f", 0, kBegin).NothingSentText(0), "kiv: f is empty: nothing was sent\n");
  EXPECT_EQ(LoadNotes("f", 0, kBegin).NothingSentText(std::nullopt),
            "kiv: nothing could be read of f: nothing was sent\n");
  EXPECT_EQ(LoadNotes("f", 4096, kBegin).NothingSentText(0),
            "kiv: nothing could be read of f: nothing was sent\n");
  EXPECT_EQ(LoadNotes("f", 4096, kBegin).NothingSentText(23),
            "kiv: f has 23 bytes where its size says 4096: nothing was sent\n");
  EXPECT_EQ(LoadNotes("f", 0, kBegin).NothingSentText(1500),
            "kiv: f has 1500 bytes where its size says 0: nothing was sent\n");
  EXPECT_EQ(LoadNotes("f", 5000, kBegin).NothingSentText(5000),
            "kiv: f has 5000 bytes, but nothing was sent\n");
  EXPECT_EQ(LoadNotes("f", 1'000'000, kBegin).NotCarriedText(489, 255),
            "kiv: f is not sent: it has 489 chunks, and ldnv of this catalogue counts to 255\n");
  EXPECT_EQ(LoadNotes("f", 5000, kBegin).NotCarriedText(0, 0),
            "kiv: f is not sent: ldnv of this catalogue does not begin with an index, a count and "
            "2048 bytes\n");
}

TEST(LoadNotes, OfAFileWhoseSizeSaysNothingNoCountIsShown) {
  const LoadNotes notes("f", 0, kBegin);
  EXPECT_EQ(notes.Line(StateOf(7, 0), kBegin + milliseconds(1000)), "kiv: ldnv 14336 bytes\n");
  EXPECT_EQ(notes.EndedText(StateOf(7, 0)),
            "kiv: the load ended behind 7 chunks; f is not stored\n");
  EXPECT_EQ(notes.RefusedText(StateOf(0, 0)), "kiv: the device refused chunk 1; f is not stored\n");
}

TEST(LoadNotes, AnAnswerOfWhichNobodyKnowsWhoseItIsLeavesTheQuestionOpen) {
  const LoadNotes notes("f", 700, kBegin);
  LoadState state = StateOf(1, 1);
  state.index = 0;
  state.isUnclear = true;
  EXPECT_EQ(notes.UnclearText(state),
            "kiv: f may be stored, the answer may be to a load before it\n");
  state.result = 719;
  EXPECT_EQ(notes.UnclearText(state),
            "kiv: f may be stored, the answer may be to a load before it\n");
}

TEST(LoadNotes, ALateEndSaysWhetherTheFileIsStored) {
  const LoadNotes notes("f", std::nullopt, kBegin);
  EXPECT_EQ(notes.LateText(StateOf(2, 2), false), "kiv: the answer came late: f is stored\n");
  EXPECT_EQ(notes.LateText(StateOf(2, 2), true),
            "kiv: the answer came late: f is stored, not verified\n");
  LoadState refused = StateOf(1, 2);
  refused.result = 720;
  EXPECT_EQ(notes.LateText(refused, true), "kiv: the answer came late: f is not stored\n");
  LoadState denied = StateOf(2, 2);
  denied.isDenied = true;
  EXPECT_EQ(
      notes.LateText(denied, false),
      "kiv: the answer came late: the device took all 2 chunks of f, but does not say that it is "
      "stored\n");
  EXPECT_EQ(notes.DeniedText(denied),
            "kiv: the device took all 2 chunks of f, but does not say that it is stored\n");
}

}  // namespace
}  // namespace kiv
