// GetNextArray: bracketed lists.
#include <gtest/gtest.h>

#include "tests/params/line_reading.h"

using namespace kivtest;

namespace {

constexpr char kBrackets[] = "The position of '[' or ']' is incorrect.\n";
constexpr char kTooMany[] = "The number of array parameters is bigger than that of the default.\n";

}  // namespace

TEST(ParamArray, EmptyElementKeepsItsBytes) {
  ParamLineParser parser = Opened("[1,,3]");
  EXPECT_EQ(NextArray(parser, 2, "aabbccddeeff"), "0100ccdd0300");
  ParamLineParser tail = Opened("[1,2,]");
  EXPECT_EQ(NextArray(tail, 1, "aabbcc"), "0102cc");
  ParamLineParser lead = Opened("[,2]");
  EXPECT_EQ(NextArray(lead, 1, "aabbcc"), "aa02cc");
}

TEST(ParamArray, NothingBetweenTheBracketsIsOneEmptyElement) {
  ParamLineParser parser = Opened("[]");
  EXPECT_EQ(NextArray(parser, 1, "aabb"), "aabb");
  ParamLineParser none = Opened("[]");
  EXPECT_EQ(NextArray(none, 1, ""), std::string(" failed: ") + kTooMany);
}

TEST(ParamArray, FewerValuesLeaveTheTail) {
  ParamLineParser parser = Opened("[1]");
  EXPECT_EQ(NextArray(parser, 4, "aaaaaaaabbbbbbbb"), "01000000bbbbbbbb");
}

TEST(ParamArray, MoreValuesThanElementsFailAfterTheFirstOnesAreWritten) {
  for (const char* line : {"[1,2,3,4]", "[1,2,3,]", "[1,2,3,x]"}) {
    ParamLineParser parser = Opened(line);
    EXPECT_EQ(NextArray(parser, 1, "aaaaaa"), std::string("010203 failed: ") + kTooMany) << line;
    EXPECT_EQ(StateOf(parser), "0 flat 1");
  }
}

TEST(ParamArray, CapacityIsTheWholeNumberOfElementsThatFit) {
  ParamLineParser parser = Opened("[1,2,3]");
  EXPECT_EQ(NextArray(parser, 2, "aaaaaaaaaa"), std::string("01000200aa failed: ") + kTooMany);
  ParamLineParser small = Opened("[1]");
  EXPECT_EQ(NextArray(small, 2, "aa"), std::string("aa failed: ") + kTooMany);
}

TEST(ParamArray, ElementGetsTheLowBytesLittleEndFirst) {
  ParamLineParser one = Opened("[300]");
  EXPECT_EQ(NextArray(one, 1, "aa"), "2c");
  ParamLineParser two = Opened("[0x12345678,-2]");
  EXPECT_EQ(NextArray(two, 2, "aaaaaaaa"), "7856feff");
  ParamLineParser three = Opened("[0x12345678]");
  EXPECT_EQ(NextArray(three, 3, "aaaaaa"), "785634");
  ParamLineParser four = Opened("[0x12345678]");
  EXPECT_EQ(NextArray(four, 4, "aaaaaaaa"), "78563412");
}

TEST(ParamArray, ElementWiderThanFourBytesGetsZerosAbove) {
  ParamLineParser parser = Opened("[-1,,2]");
  EXPECT_EQ(NextArray(parser, 8, "aaaaaaaaaaaaaaaabbbbbbbbbbbbbbbbcccccccccccccccc"),
            "ffffffff00000000bbbbbbbbbbbbbbbb0200000000000000");
}

TEST(ParamArray, ElementWidthZeroFailsWithoutAText) {
  ParamLineParser parser = Opened("[1]");
  EXPECT_EQ(NextArray(parser, 0, "aa"), "aa failed: ");
  EXPECT_EQ(StateOf(parser), "0 flat 1");
}

TEST(ParamArray, NoBufferFailsWithoutAText) {
  ParamLineParser parser = Opened("[1],2");
  std::uint8_t* none = nullptr;
  EXPECT_EQ(parser.GetNextArray(&none, 1, 4), 0u);
  EXPECT_EQ(ErrorOf(parser), "");
  EXPECT_EQ(StateOf(parser), "0 flat 1");
}

TEST(ParamArray, NoBufferIsFoundBeforeTheEndOfTheLine) {
  ParamLineParser parser = Opened("1");
  NextValue(parser);
  std::uint8_t* none = nullptr;
  EXPECT_EQ(parser.GetNextArray(&none, 1, 4), 0u);
  EXPECT_EQ(ErrorOf(parser), "");
}

TEST(ParamArray, BadElementFailsAfterTheOnesBeforeIt) {
  ParamLineParser parser = Opened("[1,x,3]");
  EXPECT_EQ(NextArray(parser, 1, "aaaaaa"), "01aaaa failed: Failed to translate x to wexUint32.\n");
  EXPECT_EQ(StateOf(parser), "0 flat 1");
}

TEST(ParamArray, BlanksLeadElementsButDoNotTrail) {
  ParamLineParser parser = Opened("[ 1 , 2 ]");
  EXPECT_EQ(NextArray(parser, 1, "aaaa"), "01aa failed: Failed to translate 2  to wexUint32.\n");
  ParamLineParser blank = Opened("[ ]");
  EXPECT_EQ(NextArray(blank, 1, "aa"), "aa failed: Failed to translate   to wexUint32.\n");
}

TEST(ParamArray, BracesBetweenTheBracketsAreNoNumbers) {
  ParamLineParser parser = Opened("{1,[2}],3}");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(NextArray(parser, 1, "aa"), "aa failed: Failed to translate 2} to wexUint32.\n");
}

TEST(ParamArray, SecondOpeningBracketBelongsToTheFirstElement) {
  ParamLineParser parser = Opened("[[1],2]");
  EXPECT_EQ(NextArray(parser, 1, "aa"), "aa failed: Failed to translate [1 to wexUint32.\n");
}

TEST(ParamArray, MissingOrMisplacedBracketsFail) {
  for (const char* line : {"1", "1,[2]", "]1[", "[1", "1]", ",[1]", "[", "]", "][1]", "1,2"}) {
    ParamLineParser parser = Opened(line);
    EXPECT_EQ(NextArray(parser, 1, "aa"), std::string("aa failed: ") + kBrackets) << line;
    EXPECT_EQ(StateOf(parser), "0 flat 1") << line;
  }
}

TEST(ParamArray, TextBeforeTheOpeningBracketIsPassedOver) {
  ParamLineParser parser = Opened("junk [1],2");
  EXPECT_EQ(NextArray(parser, 1, "aa"), "01");
  EXPECT_EQ(StateOf(parser), "9 flat 1");
}

TEST(ParamArray, TextBehindTheClosingBracketIsPassedOver) {
  ParamLineParser parser = Opened("[1]junk,2");
  EXPECT_EQ(NextArray(parser, 1, "aa"), "01");
  EXPECT_EQ(NextValue(parser), "2");
}

// Device scripts write an array last without a comma; what follows it is never looked at.
TEST(ParamArray, LastArrayLeavesTheCursorOnItsBracketAndNoBraceCounted) {
  ParamLineParser parser = Opened("{{1,[2,3]}}");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(NextArray(parser, 1, "aaaa"), "0203");
  EXPECT_EQ(StateOf(parser), "8 2 2");
}

TEST(ParamArray, ValueBehindTheLastArrayFailsOnItsBracket) {
  ParamLineParser flat = Opened("[7,8]");
  NextArray(flat, 1, "aaaa");
  EXPECT_EQ(NextValue(flat), "failed: Failed to translate ] to wexUint32.\n");
  ParamLineParser array = Opened("[7,8]");
  NextArray(array, 1, "aaaa");
  EXPECT_EQ(NextArray(array, 1, "aaaa"), std::string("aaaa failed: ") + kBrackets);
}

TEST(ParamArray, CommaBehindTheLastArrayGivesDefaults) {
  ParamLineParser parser = Opened("[7,8],");
  EXPECT_EQ(NextArray(parser, 1, "aaaa"), "0708");
  EXPECT_EQ(StateOf(parser), "6 flat 1");
  EXPECT_EQ(NextValues(parser, 2), "default default");
}

TEST(ParamArray, BracesBetweenBracketAndCommaLowerTheDepthAndTheNextAreEntered) {
  ParamLineParser parser = Opened("{{[1]},{{2}}}");
  EXPECT_EQ(StateOf(parser), "2 2 0");
  EXPECT_EQ(NextArray(parser, 1, "aa"), "01");
  EXPECT_EQ(StateOf(parser), "9 3 1");
  EXPECT_EQ(NextValue(parser), "2");
}

TEST(ParamArray, LineThatRanOutFailsInsteadOfKeepingTheDefault) {
  ParamLineParser used = Opened("1");
  NextValue(used);
  EXPECT_EQ(NextArray(used, 1, "aa"), "aa failed: The parameters line is end");
  EXPECT_EQ(StateOf(used), "end flat 2");
  ParamLineParser behind = Opened("1,");
  NextValue(behind);
  EXPECT_EQ(StateOf(behind), "2 flat 1");
  EXPECT_EQ(NextArray(behind, 1, "aa"), "aa failed: The parameters line is end");
  ParamLineParser blank = Opened(" ");
  EXPECT_EQ(NextArray(blank, 1, "aa"), "aa failed: The parameters line is end");
}

TEST(ParamArray, RequestsOfBothKindsShareOneIndex) {
  ParamLineParser parser = Opened("1,[2],3");
  NextValue(parser);
  NextArray(parser, 1, "aa");
  NextValue(parser);
  NextArray(parser, 1, "aa");
  NextValue(parser);
  EXPECT_EQ(StateOf(parser), "end flat 5");
}
