// The bytes that draw a block and take it away, on terminals of all sizes.
#include "hosts/terminal/live_block.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kiv {
namespace {

const std::string kBegin = "\x1b[?7l";
const std::string kEnd = "\x1b[?7h";

std::vector<BlockRow> Rows(int count) {
  std::vector<BlockRow> rows;
  for (int i = 1; i <= count; ++i) rows.push_back({"row " + std::to_string(i)});
  return rows;
}

TEST(LiveBlock, DrawsItsRowsAndLeavesTheCursorInTheLast) {
  LiveBlock block;
  EXPECT_FALSE(block.IsDrawn());
  EXPECT_EQ(block.Draw(Rows(3), {24, 80}), kBegin + "row 1\nrow 2\nrow 3" + kEnd);
  EXPECT_TRUE(block.IsDrawn());
  EXPECT_EQ(block.Erase({24, 80}, true), "\r\x1b[2A\x1b[J");
  EXPECT_FALSE(block.IsDrawn());
  EXPECT_EQ(block.Erase({24, 80}, true), "");
}

TEST(LiveBlock, ErasesOneRowWithoutGoingUp) {
  LiveBlock block;
  block.Draw(Rows(1), {24, 80});
  EXPECT_EQ(block.Erase({24, 80}, true), "\r\x1b[J");
}

TEST(LiveBlock, MarksRowsWithoutColours) {
  LiveBlock block;
  EXPECT_EQ(block.Draw({{"a"}, {"b", true}, {"c"}}, {24, 80}),
            kBegin + "a\n\x1b[7mb\x1b[27m\nc" + kEnd);
}

TEST(LiveBlock, CutsRowsToTheWidthByCells) {
  LiveBlock block;
  EXPECT_EQ(
      block.Draw(
          {{"0123456789"}, {"\u6e29\u5ea6\u6e29\u5ea6\u6e29"}, {"a\tb"}, {"e\u0301xxxxxxxxxx"}},
          {24, 10}),
      kBegin + "012345678\n\u6e29\u5ea6\u6e29\u5ea6\na       b\ne\u0301xxxxxxxx" + kEnd);
}

TEST(LiveBlock, CountsTheRowsBeyondTheHeight) {
  LiveBlock block;
  EXPECT_EQ(block.Draw(Rows(4), {5, 80}), kBegin + "row 1\nrow 2\nrow 3\nrow 4" + kEnd);
  block.Erase({5, 80}, true);
  EXPECT_EQ(block.Draw(Rows(5), {5, 80}), kBegin + "row 1\nrow 2\nrow 3\n... 2 more rows" + kEnd);
  EXPECT_EQ(block.Erase({5, 80}, true), "\r\x1b[3A\x1b[J");
  EXPECT_EQ(block.Draw(Rows(9), {1, 80}), kBegin + "row 1\n... 8 more rows" + kEnd);
}

TEST(LiveBlock, TakesATerminalOfUnknownSizeAsAUsualOne) {
  LiveBlock block;
  const std::string drawn = block.Draw(Rows(30), {0, 0});
  EXPECT_NE(drawn.find("row 22\n... 8 more rows"), std::string::npos) << drawn;
  EXPECT_EQ(block.Draw({{std::string(200, 'x')}}, {0, 0}).size(), kBegin.size() + kEnd.size() + 80);
}

TEST(LiveBlock, FindsItsBeginWhereTheTerminalHasLaidItOutAnew) {
  const std::vector<BlockRow> rows = {{std::string(39, 'x')}, {std::string(40, 'y')}, {"z"}};
  LiveBlock block;
  block.Draw(rows, {24, 80});
  EXPECT_EQ(block.Erase({24, 39}, true), "\r\x1b[3A\x1b[J");
  block.Draw(rows, {24, 80});
  EXPECT_EQ(block.Erase({24, 10}, true), "\r\x1b[8A\x1b[J");
  block.Draw(rows, {24, 80});
  EXPECT_EQ(block.Erase({24, 10}, false), "\r\x1b[2A\x1b[J");
  block.Draw(rows, {24, 80});
  EXPECT_EQ(block.Erase({5, 10}, true), "\r\x1b[4A\x1b[J");
}

TEST(LiveBlock, LeavesRowsThatItForgotWhereTheyAre) {
  LiveBlock block;
  block.Draw(Rows(3), {24, 80});
  block.Forget();
  EXPECT_EQ(block.Erase({24, 80}, true), "");
}

}  // namespace
}  // namespace kiv
