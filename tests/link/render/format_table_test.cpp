// FormatTable, FormatNumber and the whole-tree text: how rows become lines.
#include <gtest/gtest.h>

#include "tests/link/render/rendered_rows.h"

using namespace kivtest;
using SvcKivClass::FormatNumber;
using SvcKivClass::RenderTree;

namespace {

using Lines = std::vector<std::string>;

RenderTable TwoRows(const wchar_t* title) {
  RenderTable table;
  table.title = title;
  table.AddRow(L".name", L"value", L"type");
  table.AddRow(L".n", L"v", L"");
  return table;
}

}  // namespace

TEST(FormatTable, EmptyTableHasNoLines) {
  RenderTable table;
  EXPECT_EQ(LinesOf(table), Lines{});
  table.title = L"some_type";
  EXPECT_EQ(LinesOf(table), Lines{});
  table.title = L"dbk_str_type";
  EXPECT_EQ(LinesOf(table), Lines{});
}

TEST(FormatTable, NamesArePaddedAndEachLineEndsWithABlank) {
  EXPECT_EQ(LinesOf(TwoRows(L"t")), (Lines{".name = value \n", ".n    = v \n"}));
}

TEST(FormatTable, ShownTypeStandsBehindTwoBlanks) {
  RenderTable table = TwoRows(L"t");
  table.flags = kShowType;
  EXPECT_EQ(LinesOf(table), (Lines{".name = value  type\n", ".n    = v  \n"}));
}

TEST(FormatTable, EmptyNamesAndValuesKeepTheirPlace) {
  RenderTable table;
  table.AddRow(L"", L"", L"");
  EXPECT_EQ(LinesOf(table), Lines{" =  \n"});
  table.AddRow(L"abc", L"", L"");
  EXPECT_EQ(LinesOf(table), (Lines{"    =  \n", "abc =  \n"}));
}

TEST(FormatTable, NamesArePaddedByWideCharacters) {
  RenderTable table;
  table.AddRow(QCString::FromUtf8("\xc3\xa9\xf0\x9f\x98\x80"), L"1", L"");
  table.AddRow(L"abc", L"2", L"");
  EXPECT_EQ(LinesOf(table), (Lines{"\xc3\xa9\xf0\x9f\x98\x80  = 1 \n", "abc = 2 \n"}));
}

TEST(FormatTable, PercentSignsInNamesAndValuesAreText) {
  RenderTable table;
  table.AddRow(L"%d%1", L"%s%n%2", L"%ls");
  table.flags = kShowType;
  EXPECT_EQ(LinesOf(table), Lines{"%d%1 = %s%n%2  %ls\n"});
}

TEST(FormatTable, StringResultsAreOneLineOfTheirValues) {
  for (const wchar_t* title : {L"dbk_str_type", L"dbk_str_type_stru"}) {
    EXPECT_EQ(LinesOf(TwoRows(title)), Lines{"value  v  "});
  }
}

TEST(FormatTable, StringResultsKeepBlanksOfValuesButDropBlankValues) {
  RenderTable table;
  table.title = L"dbk_str_type_stru";
  table.flags = kShowType;
  table.AddRow(L"a", L" one ", L"t");
  table.AddRow(L"b", L"   ", L"t");
  table.AddRow(L"c", L"", L"t");
  table.AddRow(L"d", L"\t\r\n\x00a0\x2003", L"t");
  table.AddRow(L"e", L"two\n", L"t");
  EXPECT_EQ(LinesOf(table), Lines{" one   two\n  "});
}

TEST(FormatTable, StringResultsWithoutAnyValueAreOneEmptyLine) {
  RenderTable table;
  table.title = L"dbk_str_type";
  table.AddRow(L"a", L" ", L"");
  EXPECT_EQ(LinesOf(table), Lines{""});
}

TEST(FormatTable, StringTitlesAreComparedExactly) {
  for (const wchar_t* title :
       {L"DBK_STR_TYPE", L"dbk_str_type_", L"dbk_str_types", L" dbk_str_type"}) {
    EXPECT_EQ(LinesOf(TwoRows(title)), (Lines{".name = value \n", ".n    = v \n"}));
  }
}

TEST(FormatTable, NullStructureTitleHasNoEffectHere) {
  EXPECT_EQ(LinesOf(TwoRows(L"NULL_STRU")), (Lines{".name = value \n", ".n    = v \n"}));
}

TEST(FormatNumber, DigitsFollowTheElementSize) {
  EXPECT_EQ(FormatNumber(1, L"0").ToUtf8(), "0x00");
  EXPECT_EQ(FormatNumber(1, L"10").ToUtf8(), "0x0a");
  EXPECT_EQ(FormatNumber(2, L"10").ToUtf8(), "0x000a");
  EXPECT_EQ(FormatNumber(4, L"10").ToUtf8(), "0x0000000a");
  EXPECT_EQ(FormatNumber(4, L"4294967295").ToUtf8(), "0xffffffff");
  EXPECT_EQ(FormatNumber(4, L"3000000000").ToUtf8(), "0xb2d05e00");
}

TEST(FormatNumber, LargerNumbersAreNotCut) {
  EXPECT_EQ(FormatNumber(1, L"300").ToUtf8(), "0x12c");
  EXPECT_EQ(FormatNumber(2, L"65536").ToUtf8(), "0x10000");
}

TEST(FormatNumber, NegativeTextIsAllZeros) {
  EXPECT_EQ(FormatNumber(1, L"-5").ToUtf8(), "0x00");
  EXPECT_EQ(FormatNumber(2, L"-32768").ToUtf8(), "0x0000");
  EXPECT_EQ(FormatNumber(4, L"-1").ToUtf8(), "0x00000000");
}

TEST(FormatNumber, OtherSizesAreEmpty) {
  for (std::uint32_t size : {0u, 3u, 5u, 8u, 16u, 0xFFFFFFFFu}) {
    EXPECT_EQ(FormatNumber(size, L"10").ToUtf8(), "") << size;
  }
}

TEST(RenderTree, LinesAreJoinedWithNothingBetween) {
  HandTree tree({Structure(0, L"struct", L"t"), Single(1, L"id", 1, 5),
                 Characters(1, L"name", "board", 8), Array(1, L"list", 2, {1, 0, 2, 0}, L"u16")});
  EXPECT_EQ(RenderTree(tree.Root(), {}).ToUtf8(),
            ".id     = 5 \n.name   = board \nlist[0] = 1 \nlist[1] = 2 \n");
  EXPECT_EQ(RenderTree(tree.Root(), {true, true, true}).ToUtf8(),
            ".id   = 0x05  \n.name = board  \n.list = 0x0001,0x0002  u16\n");
}

TEST(RenderTree, TreeWithoutFieldsIsNothing) {
  HandTree tree({Structure(0, L"struct", L"t")});
  EXPECT_EQ(RenderTree(tree.Root(), {}).ToUtf8(), "");
}

TEST(RenderTree, NullStructureIsShownLikeAnyOther) {
  HandTree tree({Structure(0, L"struct", L"x_null_stru"), Single(1, L"id", 1, 5)});
  EXPECT_EQ(RenderTree(tree.Root(), {}).ToUtf8(), ".id = 5 \n");
}

TEST(RenderTree, StringTypedTreeShowsItsValuesOnOneLine) {
  HandTree tree({Structure(0, L"struct", L"dbk_str_type"), Characters(1, L"text", "hello", 8)});
  EXPECT_EQ(RenderTree(tree.Root(), {}).ToUtf8(), "hello  ");
}
