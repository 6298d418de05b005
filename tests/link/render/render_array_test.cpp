// Arrays in rendered trees: characters, numbers, one line or one row an element, and what has none.
#include <gtest/gtest.h>

#include "tests/link/render/rendered_rows.h"

using namespace kivtest;

namespace {

ParamNodeSpec Signed(ParamNodeSpec spec) {
  spec.isSigned = true;
  return spec;
}

ParamNodeSpec Sized(ParamNodeSpec spec, std::uint32_t elementBytes) {
  spec.dataTypeBytes = elementBytes;
  return spec;
}

constexpr RenderFlags kHexOneLine = {true, true, false};

}  // namespace

TEST(RenderArray, CharactersAreOneRowUpToTheFirstZero) {
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", "board", 8)}), ".a|board|\n");
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", std::string_view("ab\0cd", 5), 5)}), ".a|ab|\n");
}

TEST(RenderArray, CharactersWithoutAZeroAreShownWhole) {
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", "abcd", 4), Characters(1, L"b", "z", 1)}),
            ".a|abcd|\n.b|z|\n");
}

TEST(RenderArray, CharactersThatBeginWithZeroAreEmpty) {
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", "", 4)}), ".a||\n");
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", std::string_view("\0bc", 3), 3)}), ".a||\n");
}

TEST(RenderArray, CharactersAreUtf8AndWhatIsNotIsReplaced) {
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", 16)}),
            ".a|\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80|\n");
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a",
                                      "x\xff"
                                      "y",
                                      8)}),
            ".a|x\xef\xbf\xbdy|\n");
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", "ab\xc3", 3)}), ".a|ab\xef\xbf\xbd|\n");
}

TEST(RenderArray, CharactersKnowNeitherHexadecimalNorOneLine) {
  EXPECT_EQ(RowsBelowRoot({Characters(1, L"a", "12", 4)}, kHexOneLine), ".a|12|\n");
}

TEST(RenderArray, CharactersWithoutABufferAreEmpty) {
  ParamNodeSpec spec = Characters(1, L"a", "text", 4);
  spec.hasBuffer = false;
  EXPECT_EQ(RowsBelowRoot({spec}), ".a||\n");
}

TEST(RenderArray, CharacterWidthCountsWideCharacters) {
  HandTree tree({Structure(0, L"struct", L"t"), Characters(1, L"a", "\xc3\xa9\xc3\xa9", 8)});
  EXPECT_EQ(TableOf(tree).valueWidth, 2);
}

TEST(RenderArray, WideElementsMarkedAsCharactersAreNumbers) {
  ParamNodeSpec spec = Array(1, L"a", 2, {65, 0, 66, 0}, L"wide");
  spec.isChar = true;
  EXPECT_EQ(RowsBelowRoot({spec}), "a[0]|65|wide\na[1]|66|wide\n");
}

// The missing dots are what log readers of the many-row form search for.
TEST(RenderArray, ElementRowsAreNamedWithoutDotsAndCarryTheType) {
  HandTree tree({Structure(0, L"struct", L"t"), Structure(1, L"s", L"t"),
                 Array(2, L"a", 2, {1, 0, 0, 1, 255, 255}, L"u16_list")});
  EXPECT_EQ(RowsOf(TableOf(tree)),
            ".s||\na[0]|1|u16_list\na[1]|256|u16_list\na[2]|65535|u16_list\n");
}

TEST(RenderArray, OneLineRowKeepsTheDotsAndCarriesTheType) {
  HandTree tree({Structure(0, L"struct", L"t"), Structure(1, L"s", L"t"),
                 Array(2, L"a", 2, {1, 0, 0, 1, 255, 255}, L"u16_list")});
  EXPECT_EQ(RowsOf(TableOf(tree, kOneLine)), ".s||\n..a|1,256,65535|u16_list\n");
}

TEST(RenderArray, OneElementHasNoCommaOnOneLine) {
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 4, {7, 0, 0, 0}, L"t")}, kOneLine), ".a|7|t\n");
}

TEST(RenderArray, ElementsOfAllRenderedWidthsAndBothSigns) {
  const std::vector<std::uint8_t> bytes = {251, 255, 255, 255};
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 1, bytes, L"t")}, kOneLine), ".a|251,255,255,255|t\n");
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 2, bytes, L"t")}, kOneLine), ".a|65531,65535|t\n");
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 4, bytes, L"t")}, kOneLine), ".a|4294967291|t\n");
  EXPECT_EQ(RowsBelowRoot({Signed(Array(1, L"a", 1, bytes, L"t"))}, kOneLine),
            ".a|-5,-1,-1,-1|t\n");
  EXPECT_EQ(RowsBelowRoot({Signed(Array(1, L"a", 2, bytes, L"t"))}), "a[0]|-5|t\na[1]|-1|t\n");
  EXPECT_EQ(RowsBelowRoot({Signed(Array(1, L"a", 4, bytes, L"t"))}), "a[0]|-5|t\n");
}

TEST(RenderArray, HexadecimalElementsFollowTheRuleOfSingleValues) {
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 1, {10, 255}, L"t")}, kHexOneLine), ".a|0x0a,0xff|t\n");
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 2, {10, 0}, L"t")}, kHexadecimal), "a[0]|0x000a|t\n");
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 4, {10, 0, 0, 0}, L"t")}, kHexadecimal),
            "a[0]|0x0000000a|t\n");
  EXPECT_EQ(RowsBelowRoot({Signed(Array(1, L"a", 1, {251, 5}, L"t"))}, kHexOneLine),
            ".a|0x00,0x05|t\n");
}

TEST(RenderArray, BytesBehindTheLastWholeElementAreLeftOut) {
  EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 2, {1, 0, 2}, L"t")}), "a[0]|1|t\n");
}

TEST(RenderArray, ArrayWithoutElementsIsOneEmptyRow) {
  for (const RenderFlags& flags : {RenderFlags{}, kOneLine}) {
    EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 1, {}, L"t")}, flags), ".a||\n");
    EXPECT_EQ(RowsBelowRoot({Array(1, L"a", 4, {1, 2}, L"t")}, flags), ".a||\n");
  }
}

TEST(RenderArray, ElementsOfOtherWidthsAreOneEmptyRow) {
  for (std::uint32_t width : {0u, 3u, 5u, 8u, 16u}) {
    for (const RenderFlags& flags : {RenderFlags{}, kOneLine, kHexadecimal}) {
      const ParamNodeSpec spec = Array(1, L"a", 1, std::vector<std::uint8_t>(48, 1), L"t");
      EXPECT_EQ(RowsBelowRoot({Sized(spec, width)}, flags), ".a||\n") << width;
    }
  }
}

TEST(RenderArray, IndexIsDecimalAlsoWhenValuesAreHexadecimal) {
  const std::string rows =
      RowsBelowRoot({Array(1, L"a", 1, std::vector<std::uint8_t>(12, 1), L"t")}, kHexadecimal);
  EXPECT_NE(rows.find("a[10]|0x01|t\na[11]|0x01|t\n"), std::string::npos) << rows;
}

TEST(RenderArray, BufferShorterThanTheFieldIsNeverReadBeyond) {
  for (const RenderFlags& flags : {RenderFlags{}, kOneLine}) {
    ParamNodeSpec numbers = Array(1, L"a", 4, {1, 0, 0, 0, 2, 0, 0, 0}, L"t");
    numbers.bufferBytes = 3;
    ParamNodeSpec characters = Characters(1, L"b", "text", 4);
    characters.bufferBytes = 1;
    const std::string rows = RowsBelowRoot({numbers, characters, Single(1, L"c", 1, 5)}, flags);
    EXPECT_EQ(rows.find("2|"), std::string::npos) << rows;
    EXPECT_EQ(rows.find("ex"), std::string::npos) << rows;
    EXPECT_NE(rows.find(".c|5|\n"), std::string::npos) << rows;
  }
}
