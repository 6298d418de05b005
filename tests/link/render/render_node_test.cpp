// RenderNode: rows, names, titles and single values of trees made by hand.
#include <gtest/gtest.h>

#include "tests/link/render/rendered_rows.h"

using namespace kivtest;

TEST(RenderNode, FieldsHaveOneDotForEveryAncestor) {
  HandTree tree({Structure(0, L"root", L"t"), Single(1, L"a", 1, 5), Structure(1, L"s", L"t"),
                 Single(2, L"b", 1, 6), Structure(2, L"u", L"t"), Single(3, L"c", 1, 7),
                 Single(1, L"d", 1, 8)});
  EXPECT_EQ(RowsOf(TableOf(tree)), "root||\n.a|5|\n.s||\n..b|6|\n..u||\n...c|7|\n.d|8|\n");
}

TEST(RenderNode, DotsCountAncestorsWhateverDepthTheWalkStartsAt) {
  HandTree tree({Structure(0, L"root", L"t"), Single(1, L"a", 1, 5)});
  EXPECT_EQ(RowsOf(TableOf(tree, {}, 7)), "root||\n.a|5|\n");
}

TEST(RenderNode, StructNodesGiveTheTitleAndNoRow) {
  HandTree tree({Structure(0, L"struct", L"sys_info_cnf"), Single(1, L"a", 1, 5)});
  const RenderTable table = TableOf(tree);
  EXPECT_EQ(table.title.ToUtf8(), "sys_info_cnf");
  EXPECT_EQ(RowsOf(table), ".a|5|\n");
}

TEST(RenderNode, LastStructNodeGivesTheTitle) {
  HandTree tree({Structure(0, L"struct", L"outer"), Structure(1, L"struct", L"inner", 25),
                 Single(2, L"a", 1, 5)});
  EXPECT_EQ(TableOf(tree).title.ToUtf8(), "inner");
}

TEST(RenderNode, NameStructIsComparedExactly) {
  HandTree tree({Structure(0, L"Struct", L"t"), Structure(1, L"structs", L"u")});
  const RenderTable table = TableOf(tree);
  EXPECT_EQ(table.title.ToUtf8(), "");
  EXPECT_EQ(RowsOf(table), "Struct||\n.structs||\n");
}

TEST(RenderNode, ValueNamedStructGivesTheTitleAndNoRow) {
  HandTree tree({Structure(0, L"root", L"t"), Single(1, L"struct", 1, 5),
                 Characters(1, L"struct", "text", 4, L"characters")});
  const RenderTable table = TableOf(tree);
  EXPECT_EQ(table.title.ToUtf8(), "characters");
  EXPECT_EQ(RowsOf(table), "root||\n");
}

TEST(RenderNode, NumericArrayNamedStructStillHasItsRows) {
  HandTree tree({Structure(0, L"root", L"t"), Array(1, L"struct", 1, {5, 6}, L"bytes")});
  const RenderTable table = TableOf(tree);
  EXPECT_EQ(table.title.ToUtf8(), "bytes");
  EXPECT_EQ(RowsOf(table), "root||\nstruct[0]|5|bytes\nstruct[1]|6|bytes\n");
}

TEST(RenderNode, ContainersAddNeitherRowNorTitle) {
  HandTree tree({Structure(0, L"struct", L"outer"), Structure(1, L"struct", L"container", 17),
                 Structure(1, L"list", L"elements", 17), Structure(2, L"list[0]", L"element"),
                 Single(3, L"a", 1, 5)});
  const RenderTable table = TableOf(tree);
  EXPECT_EQ(table.title.ToUtf8(), "outer");
  EXPECT_EQ(RowsOf(table), "..list[0]||\n...a|5|\n");
}

TEST(RenderNode, AllOtherKindsHaveARowWithoutValue) {
  for (std::int32_t kind : {24, 25, 32, 33, 2, 7, 10, 40, -1}) {
    EXPECT_EQ(RowsBelowRoot({Structure(1, L"s", L"t", kind)}), ".s||\n") << kind;
  }
}

TEST(RenderNode, AllSingleKindsShowTheirValue) {
  for (std::int32_t kind : {0, 8, 16}) {
    EXPECT_EQ(RowsBelowRoot({Single(1, L"a", 2, 1000, false, kind)}), ".a|1000|\n") << kind;
  }
}

TEST(RenderNode, BothArrayKindsShowTheirElements) {
  for (std::int32_t kind : {1, 9}) {
    EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 1, {5, 6}, L"bytes", kind)}),
              "a[0]|5|bytes\na[1]|6|bytes\n")
        << kind;
  }
}

TEST(RenderNode, UnsignedValuesShowTheirWholeWidth) {
  EXPECT_EQ(RowsBelowRoot({Single(1, L"a", 1, 255), Single(1, L"b", 2, 65535),
                           Single(1, L"c", 4, 4294967295), Single(1, L"d", 4, 0)}),
            ".a|255|\n.b|65535|\n.c|4294967295|\n.d|0|\n");
}

TEST(RenderNode, SignedValuesAreExtendedFromTheirWidth) {
  EXPECT_EQ(
      RowsBelowRoot({Single(1, L"a", 1, 0xFB, true), Single(1, L"b", 1, 0x80, true),
                     Single(1, L"c", 1, 0x7F, true), Single(1, L"d", 2, 0xFFFB, true),
                     Single(1, L"e", 2, 0x8000, true), Single(1, L"f", 4, 0xFFFFFFFB, true),
                     Single(1, L"g", 4, 0x80000000, true), Single(1, L"h", 4, 0x7FFFFFFF, true)}),
      ".a|-5|\n.b|-128|\n.c|127|\n.d|-5|\n.e|-32768|\n.f|-5|\n.g|-2147483648|\n.h|2147483647|\n");
}

TEST(RenderNode, EightByteValuesShowTheirLow32Bits) {
  EXPECT_EQ(RowsBelowRoot({Single(1, L"a", 8, 0x1122334400000005), Single(1, L"b", 8, 0xFFFFFFFF),
                           Single(1, L"c", 8, static_cast<std::uint64_t>(-5), true)}),
            ".a|5|\n.b|4294967295|\n.c|-5|\n");
}

TEST(RenderNode, HexadecimalValuesHaveTheDigitsOfTheirWidth) {
  EXPECT_EQ(RowsBelowRoot({Single(1, L"a", 1, 10), Single(1, L"b", 2, 10), Single(1, L"c", 4, 10),
                           Single(1, L"d", 1, 255), Single(1, L"e", 2, 0xABCD),
                           Single(1, L"f", 4, 3000000000)},
                          kHexadecimal),
            ".a|0x0a|\n.b|0x000a|\n.c|0x0000000a|\n.d|0xff|\n.e|0xabcd|\n.f|0xb2d05e00|\n");
}

// Hosts compare this text: the hexadecimal form does not know negative numbers.
TEST(RenderNode, HexadecimalNegativeValuesAreAllZeros) {
  EXPECT_EQ(RowsBelowRoot({Single(1, L"a", 1, 0xFB, true), Single(1, L"b", 2, 0xFFFB, true),
                           Single(1, L"c", 4, 0xFFFFFFFB, true), Single(1, L"d", 1, 5, true)},
                          kHexadecimal),
            ".a|0x00|\n.b|0x0000|\n.c|0x00000000|\n.d|0x05|\n");
}

TEST(RenderNode, HexadecimalEightByteValuesAreEmpty) {
  EXPECT_EQ(RowsBelowRoot({Single(1, L"a", 8, 10), Single(1, L"b", 4, 1)}, kHexadecimal),
            ".a||\n.b|0x00000001|\n");
}

TEST(RenderNode, WidthsAreThoseOfTheLongestNameAndValue) {
  HandTree tree({Structure(0, L"struct", L"t"), Single(1, L"a", 4, 4294967295),
                 Single(1, L"long_name", 1, 5), Structure(1, L"s", L"t"), Single(2, L"b", 1)});
  const RenderTable table = TableOf(tree);
  EXPECT_EQ(table.nameWidth, 10);
  EXPECT_EQ(table.valueWidth, 10);
}

TEST(RenderNode, NullTableStopsTheWalk) {
  HandTree tree({Structure(0, L"struct", L"t")});
  EXPECT_EQ(tree.Root().ParseNodes(&SvcKivClass::RenderNode, nullptr, 0), 2u);
}

TEST(RenderTable, AddingARowRaisesTheWidthsAndClearingResetsThem) {
  RenderTable table;
  table.title = L"title";
  table.AddRow(L"name", L"v", L"comment");
  table.AddRow(L"n", L"value", L"");
  EXPECT_EQ(RowsOf(table), "name|v|comment\nn|value|\n");
  EXPECT_EQ(table.nameWidth, 4);
  EXPECT_EQ(table.valueWidth, 5);
  table.Clear();
  EXPECT_EQ(RowsOf(table), "");
  EXPECT_EQ(table.nameWidth, 0);
  EXPECT_EQ(table.valueWidth, 0);
}

TEST(RenderTable, StartsEmpty) {
  RenderTable table;
  EXPECT_EQ(table.title.ToUtf8(), "");
  EXPECT_EQ(RowsOf(table), "");
  EXPECT_EQ(table.nameWidth, 0);
  EXPECT_EQ(table.valueWidth, 0);
}
