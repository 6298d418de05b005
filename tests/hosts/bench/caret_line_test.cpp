// The mark below a line, counted in cells.
#include "hosts/bench/caret_line.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/os/utf8.h"

using hostbench::CaretLine;
using hostbench::CellsOf;
using hostbench::CellWidth;
using hostbench::MarkLine;

namespace {

std::string Below(const std::string& text, std::size_t column, const std::string& path = "",
                  std::size_t startCell = 0) {
  return os::WideToUtf8(CaretLine(os::Utf8ToWide(text), column, os::Utf8ToWide(path), startCell));
}

TEST(CaretLine, StandsBelowItsCharacterWithThePathBehindIt) {
  EXPECT_EQ(Below("mem 1,x", 6, "a.b[2].c"), "      ^ a.b[2].c");
  EXPECT_EQ(Below("mem 1,x", 0), "^");
  EXPECT_EQ(Below("mem 1,x", 7), "       ^");
  EXPECT_EQ(Below("mem 1,x", 700), "       ^");
}

TEST(CaretLine, BeginsBehindThePrompt) { EXPECT_EQ(Below("12x", 2, "a", 5), "       ^ a"); }

TEST(CaretLine, CountsATabToTheNextMultipleOfEight) {
  EXPECT_EQ(Below("a\tb", 2), "        ^");
  EXPECT_EQ(Below("a\tb", 1), " ^");
  EXPECT_EQ(Below("a\tb", 2, "", 6), "        ^");
  EXPECT_EQ(Below("a\tb", 2, "", 7), "                ^");
}

TEST(CaretLine, CountsWideCharactersAsTwoCells) {
  EXPECT_EQ(Below("\u6e29\u5ea6x", 2), "    ^");
  EXPECT_EQ(Below("\uff11,x", 2), "   ^");
}

TEST(CaretLine, StandsBelowTheLetterThatAMarkBelongsTo) {
  EXPECT_EQ(Below("e\u0301x", 2), " ^");
  EXPECT_EQ(Below("ae\u0301x", 2), " ^");
}

TEST(CaretLine, CountsWhatIsShownEscapedAsItIsShown) {
  EXPECT_EQ(Below("\x01x", 1), "    ^");
  EXPECT_EQ(Below("\u202ex", 1), "      ^");
}

TEST(CaretLine, TakesASurrogatePairAsOneCharacter) {
  const std::wstring pair = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00), L'x'};
  EXPECT_EQ(CellWidth(pair), 3u);
  EXPECT_EQ(CaretLine(pair, 1, L""), L"^");
  EXPECT_EQ(CaretLine(pair, 2, L""), L"  ^");
}

TEST(CellWidth, IsThatOfEachKindOfCharacter) {
  EXPECT_EQ(CellsOf(U'a'), 1u);
  EXPECT_EQ(CellsOf(U'\u00e9'), 1u);
  EXPECT_EQ(CellsOf(U'\u00ad'), 1u);
  EXPECT_EQ(CellsOf(U'\u0301'), 0u);
  EXPECT_EQ(CellsOf(U'\u200d'), 0u);
  EXPECT_EQ(CellsOf(U'\u1100'), 2u);
  EXPECT_EQ(CellsOf(U'\u1161'), 0u);
  EXPECT_EQ(CellsOf(U'\uac00'), 2u);
  EXPECT_EQ(CellsOf(U'\U0001F600'), 2u);
  EXPECT_EQ(CellsOf(U'\U00020000'), 2u);
  EXPECT_EQ(CellsOf(U'\uff71'), 1u);
  EXPECT_EQ(CellWidth(L""), 0u);
}

std::string Marked(const std::string& text, std::size_t column, const std::string& path,
                   std::size_t widthCells) {
  const hostbench::MarkedLine marked =
      MarkLine(os::Utf8ToWide(text), column, os::Utf8ToWide(path), widthCells);
  EXPECT_LE(CellWidth(marked.shown), widthCells);
  EXPECT_LE(CellWidth(marked.caret), widthCells);
  return os::WideToUtf8(marked.shown) + "\n" + os::WideToUtf8(marked.caret);
}

TEST(MarkLine, ShowsALineThatFitsWhole) {
  EXPECT_EQ(Marked("cmd 1,2x", 7, "inner.x", 80), "cmd 1,2x\n       ^ inner.x");
}

TEST(MarkLine, ShowsTabsAsTheBlanksThatTheyAre) {
  EXPECT_EQ(Marked("cmd\t1,x", 6, "a", 80), "cmd     1,x\n          ^ a");
  EXPECT_EQ(Marked("cmd\t1,x", 3, "a", 80), "cmd     1,x\n   ^ a");
}

TEST(MarkLine, CutsWhatIsFarFromThePlace) {
  EXPECT_EQ(Marked("0123456789012345678901234567890123456789x", 40, "", 30),
            "...01234567890123456789x\n                       ^");
  EXPECT_EQ(Marked("01x3456789012345678901234567890123456789", 2, "p", 20),
            "01x34567890123456...\n  ^ p");
}

TEST(MarkLine, PutsAPathThatHasNoRoomBehindTheMarkInFrontOfIt) {
  EXPECT_EQ(Marked("0123456789012345678x", 19, "a.b.c", 20),
            "0123456789012345678x\n             a.b.c ^");
}

TEST(MarkLine, CutsAPathThatHasNoRoomAtAll) {
  EXPECT_EQ(Marked("012345678x0123456789", 9, "a_very_long_path_indeed", 20),
            "012345678x0123456789\n         ^ a_very_lo");
}

TEST(MarkLine, KeepsEveryPlaceOfAnyTextInTheRow) {
  const std::string text =
      "cmd \u6e29\u5ea6\te\u0301\x01,1234567890,\u6e29\u5ea6\u6e29\u5ea6\u6e29\u5ea6 end";
  const std::size_t chars = os::Utf8ToWide(text).size();
  for (std::size_t column = 0; column <= chars; ++column) {
    for (std::size_t width = 20; width < 60; ++width) Marked(text, column, "some.path[3]", width);
  }
}

}  // namespace
