// What is shown of the rounds of a watched line, in place and on a pipe.
#include "hosts/terminal/watch_view.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kiv {
namespace {

WatchRound Round(std::uint64_t number, const std::string& text) {
  WatchRound round;
  round.number = number;
  round.timeText = "12:00:00";
  round.text = text;
  return round;
}

// Texts of the rows, those that stand out in brackets.
std::string Shown(const std::vector<BlockRow>& rows) {
  std::string shown;
  for (const BlockRow& row : rows) shown += row.isMarked ? "[" + row.text + "]\n" : row.text + "\n";
  return shown;
}

TEST(MarkedRows, MarksNothingInTheFirstRound) {
  EXPECT_EQ(Shown(MarkedRows("\n.a = 1 \n.b = 2 \n", {})), "  .a = 1 \n  .b = 2 \n");
}

TEST(MarkedRows, MarksWhatIsNotAsItWas) {
  const std::vector<BlockRow> first = MarkedRows(".a = 1\n.b = 2\n.c = 3\n", {});
  const std::vector<BlockRow> second = MarkedRows(".a = 1\n.b = 9\n.c = 3\n", first);
  EXPECT_EQ(Shown(second), "  .a = 1\n[* .b = 9]\n  .c = 3\n");
  EXPECT_EQ(Shown(MarkedRows(".a = 1\n.b = 9\n.c = 4\n.d = 5\n", second)),
            "  .a = 1\n  .b = 9\n[* .c = 4]\n[* .d = 5]\n");
}

TEST(MarkedRows, KeepsEmptyLinesWithinAText) {
  EXPECT_EQ(Shown(MarkedRows("a\n\nb", {})), "  a\n  \n  b\n");
}

TEST(RoundText, IsWholeInTheFirstRound) {
  EXPECT_EQ(RoundText(Round(1, "\n.a = 1\n"), ""), "round 1, 12:00:00\n\n.a = 1\n");
}

TEST(RoundText, HasTheChangedFieldsOfLaterRounds) {
  WatchRound round = Round(7, ".a = 2\n.b = 2\n");
  round.skipped = 3;
  round.changes = hostbench::ReplyChanges{{{L"a", L"1", L"2"}, {L"long", L"1", L"3"}}, 2};
  EXPECT_EQ(RoundText(round, ".a = 1\n.b = 1\n"),
            "round 7, 12:00:00, 3 skipped\na     1 -> 2\nlong  1 -> 3\n");
  round.changes->fields.clear();
  round.changes->count = 0;
  EXPECT_EQ(RoundText(round, ".a = 0x1\n"), "round 7, 12:00:00, 3 skipped\nnothing changed\n");
}

TEST(RoundText, IsWholeWhereThereAreNoFieldsToCompare) {
  EXPECT_EQ(RoundText(Round(2, "+CSQ: 2\nOK\n"), "+CSQ: 1\nOK\n"),
            "round 2, 12:00:00\n+CSQ: 2\nOK\n");
  EXPECT_EQ(RoundText(Round(2, "OK\n"), "OK\n"), "round 2, 12:00:00\nnothing changed\n");
}

TEST(RoundText, IsWholeForARoundThatFailed) {
  WatchRound round = Round(2, "busy\n");
  round.isFailed = true;
  EXPECT_EQ(RoundText(round, "busy\n"), "round 2, 12:00:00\nbusy\n");
}

}  // namespace
}  // namespace kiv
