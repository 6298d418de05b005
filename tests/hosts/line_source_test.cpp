#include "hosts/terminal/line_source.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kiv {
namespace {

std::vector<std::wstring> LinesOf(LineSource& source) {
  std::vector<std::wstring> lines;
  LineSource::Line line;
  while (source.Next(line)) lines.push_back(line.tooLong ? L"(too long)" : line.text);
  return lines;
}

std::vector<std::wstring> WholeInput(const std::string& bytes) {
  LineSource source;
  source.Add(bytes);
  source.End();
  return LinesOf(source);
}

using Lines = std::vector<std::wstring>;

TEST(LineSource, CutsAtLineFeedAndAtCarriageReturnLineFeed) {
  EXPECT_EQ(WholeInput("one\ntwo\r\n\nfour\n"), (Lines{L"one", L"two", L"", L"four"}));
}

TEST(LineSource, TakesALastLineWithoutAnEnd) {
  EXPECT_EQ(WholeInput("one\ntwo"), (Lines{L"one", L"two"}));
}

TEST(LineSource, HasNoLineForNoInput) { EXPECT_EQ(WholeInput(""), Lines{}); }

TEST(LineSource, HandsOutNothingBeforeALineEnds) {
  LineSource source;
  source.Add("sys_");
  EXPECT_EQ(LinesOf(source), Lines{});
  source.Add("info\nnext");
  EXPECT_EQ(LinesOf(source), Lines{L"sys_info"});
  source.End();
  EXPECT_EQ(LinesOf(source), Lines{L"next"});
  EXPECT_EQ(LinesOf(source), Lines{});
}

TEST(LineSource, GivesTheSameLinesWhereverTheBytesAreCut) {
  const std::string bytes =
      "\xEF\xBB\xBF"
      "a \xC3\xA4\r\nb\n\nlast";
  const Lines whole = WholeInput(bytes);
  ASSERT_EQ(whole, (Lines{L"a \u00e4", L"b", L"", L"last"}));
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
    LineSource source;
    Lines lines;
    source.Add(bytes.substr(0, cut));
    for (auto& line : LinesOf(source)) lines.push_back(line);
    source.Add(bytes.substr(cut));
    source.End();
    for (auto& line : LinesOf(source)) lines.push_back(line);
    EXPECT_EQ(lines, whole) << "cut at " << cut;
  }
}

TEST(LineSource, DropsAByteOrderMarkOnlyInFrontOfTheFirstLine) {
  EXPECT_EQ(WholeInput("\xEF\xBB\xBFx\n\xEF\xBB\xBFy\n"), (Lines{L"x", L"\xFEFFy"}));
}

TEST(LineSource, ReplacesWhatIsNotUtf8AndNul) {
  EXPECT_EQ(WholeInput(std::string("a\xFFz\0b\n", 6)), (Lines{L"a\xFFFDz\xFFFD"
                                                              L"b"}));
}

TEST(LineSource, RefusesALineBeyondTheLimitAndGoesOnBehindIt) {
  const std::string longest(LineSource::kLimitBytes, 'x');
  LineSource source;
  source.Add(longest + "\n");
  source.Add(longest + "y");
  source.Add("y\nshort\n");
  EXPECT_EQ(LinesOf(source), (Lines{std::wstring(longest.size(), L'x'), L"(too long)", L"short"}));
}

TEST(LineSource, HoldsNoMoreThanTheLimitOfALineWithoutEnd) {
  LineSource source;
  LineSource::Line line;
  const std::string block(1u << 16, 'x');
  for (int i = 0; i < 64; ++i) {
    source.Add(block);
    EXPECT_FALSE(source.Next(line));
  }
  source.Add("\nnext\n");
  EXPECT_EQ(LinesOf(source), (Lines{L"(too long)", L"next"}));
}

TEST(LineSource, NumbersLinesFromOne) {
  LineSource source;
  source.Add("a\nb\n");
  LineSource::Line line;
  ASSERT_TRUE(source.Next(line));
  EXPECT_EQ(line.number, 1u);
  ASSERT_TRUE(source.Next(line));
  EXPECT_EQ(line.number, 2u);
}

}  // namespace
}  // namespace kiv
