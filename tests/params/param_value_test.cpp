// GetNextValue: single values, their depth and their defaults.
#include <gtest/gtest.h>

#include "tests/params/line_reading.h"

using namespace kivtest;

TEST(ParamValue, DepthIsThatOfTheBracesAroundTheNextValue) {
  ParamLineParser parser = Opened("{1,{2,3}}");
  EXPECT_EQ(StateOf(parser), "1 1 0");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(StateOf(parser), "4 2 1");
  EXPECT_EQ(NextValue(parser), "2");
  EXPECT_EQ(StateOf(parser), "6 2 2");
  EXPECT_EQ(NextValue(parser), "3");
  EXPECT_EQ(StateOf(parser), "end 0 3");
}

TEST(ParamValue, FlatLineRunsOutIntoDefaults) {
  ParamLineParser parser = Opened("1,2,3");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(StateOf(parser), "2 flat 1");
  EXPECT_EQ(NextValues(parser, 4), "2 3 default default");
  EXPECT_EQ(StateOf(parser), "end flat 5");
}

TEST(ParamValue, BasesMixInOneLine) {
  ParamLineParser parser = Opened("0x1F,017,31,-1,+7");
  EXPECT_EQ(NextValues(parser, 5), "31 15 31 4294967295 7");
}

TEST(ParamValue, ClosingAndOpeningBracesInOneItemBothCount) {
  ParamLineParser parser = Opened("{{1},{{2}},3}");
  EXPECT_EQ(StateOf(parser), "2 2 0");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(StateOf(parser), "7 3 1");
  EXPECT_EQ(NextValue(parser), "2");
  EXPECT_EQ(StateOf(parser), "11 1 2");
  EXPECT_EQ(NextValue(parser), "3");
  EXPECT_EQ(StateOf(parser), "end 0 3");
}

TEST(ParamValue, OnlyTextBeforeTheFirstClosingBraceIsTheNumber) {
  ParamLineParser parser = Opened("{1}x}y,2}");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(StateOf(parser), "7 flat 1");
  ParamLineParser deep = Opened("{{{1}junk},2}}");
  EXPECT_EQ(NextValue(deep), "1");
  EXPECT_EQ(StateOf(deep), "11 1 1");
}

TEST(ParamValue, OpeningBracesPullTheCursorPastWhatStandsBeforeThem) {
  ParamLineParser parser = Opened("{1,x{2}}");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(StateOf(parser), "5 2 1");
  EXPECT_EQ(NextValue(parser), "2");
}

TEST(ParamValue, EmptyItemLeavesTheDefault) {
  ParamLineParser parser = Opened("1,,3");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(NextValue(parser), "default");
  EXPECT_EQ(StateOf(parser), "3 flat 2");
  EXPECT_EQ(NextValues(parser, 2), "3 default");
}

TEST(ParamValue, TrailingCommaMeansOneMoreEmptyItem) {
  ParamLineParser parser = Opened("1,");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(StateOf(parser), "2 flat 1");
  EXPECT_EQ(NextValue(parser), "default");
  EXPECT_EQ(StateOf(parser), "end flat 2");
}

TEST(ParamValue, BracesBehindAnEmptyItemAreEntered) {
  ParamLineParser parser = Opened("{,{2,3},4}");
  EXPECT_EQ(NextValue(parser), "default");
  EXPECT_EQ(StateOf(parser), "3 2 1");
  EXPECT_EQ(NextValues(parser, 2), "2 3");
  EXPECT_EQ(StateOf(parser), "8 1 3");
  EXPECT_EQ(NextValue(parser), "4");
  EXPECT_EQ(StateOf(parser), "end 0 4");
}

TEST(ParamValue, EmptyItemWithBracesClosesThem) {
  ParamLineParser parser = Opened("{{},5}");
  EXPECT_EQ(StateOf(parser), "2 2 0");
  EXPECT_EQ(NextValue(parser), "default");
  EXPECT_EQ(StateOf(parser), "4 1 1");
  EXPECT_EQ(NextValue(parser), "5");
}

TEST(ParamValue, LeadingBlankConvertsTrailingOneDoesNot) {
  ParamLineParser parser = Opened("{ 1,2 }");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate 2  to wexUint32.\n");
}

TEST(ParamValue, BadNumberLeavesTheCursorOnIt) {
  ParamLineParser parser = Opened("1,abc,3");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate abc to wexUint32.\n");
  EXPECT_EQ(StateOf(parser), "2 flat 2");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate abc to wexUint32.\n");
  EXPECT_EQ(StateOf(parser), "2 flat 3");
}

TEST(ParamValue, BadLastNumberHasUsedUpTheLine) {
  ParamLineParser parser = Opened("abc");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate abc to wexUint32.\n");
  EXPECT_EQ(StateOf(parser), "end flat 1");
  EXPECT_EQ(NextValue(parser), "default");
}

TEST(ParamValue, BracesOfABadNumberStayCounted) {
  ParamLineParser parser = Opened("{{x},2}");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate x to wexUint32.\n");
  EXPECT_EQ(StateOf(parser), "2 1 1");
}

TEST(ParamValue, ValueIsStoredAlsoWhenTheNumberIsBad) {
  ParamLineParser parser = Opened("12abc");
  std::uint32_t value = 77;
  bool leftAtDefault = true;
  EXPECT_EQ(parser.GetNextValue(&value, &leftAtDefault), 0u);
  EXPECT_EQ(value, 12u);
  EXPECT_FALSE(leftAtDefault);
}

TEST(ParamValue, ArrayIsNoSingleValue) {
  ParamLineParser parser = Opened("{{[1],2}}");
  EXPECT_EQ(NextValue(parser),
            "failed: Value type does not match, meeting the '[' for single value.\n");
  EXPECT_EQ(StateOf(parser), "2 2 1");
  ParamLineParser last = Opened("{1[}");
  EXPECT_EQ(NextValue(last),
            "failed: Value type does not match, meeting the '[' for single value.\n");
  EXPECT_EQ(StateOf(last), "end 1 1");
}

TEST(ParamValue, BracketBehindAClosingBraceIsMetToo) {
  ParamLineParser parser = Opened("{1}[,2}");
  EXPECT_EQ(NextValue(parser),
            "failed: Value type does not match, meeting the '[' for single value.\n");
  EXPECT_EQ(StateOf(parser), "1 1 1");
}

TEST(ParamValue, ClosingBracketAloneIsABadNumber) {
  ParamLineParser parser = Opened("1],2");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate 1] to wexUint32.\n");
}

// Scripts rely on lines with one brace too many going through: the counter wraps to "flat".
TEST(ParamValue, OneClosingBraceTooManyReadsOnAsFlat) {
  ParamLineParser parser = Opened("{5}},6,7}");
  EXPECT_EQ(NextValue(parser), "5");
  EXPECT_EQ(StateOf(parser), "5 flat 1");
  EXPECT_EQ(NextValue(parser), "6");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate 7} to wexUint32.\n");
  ParamLineParser open = Opened("{5}},{6}}");
  EXPECT_EQ(NextValue(open), "5");
  EXPECT_EQ(NextValue(open), "failed: Failed to translate {6}} to wexUint32.\n");
}

TEST(ParamValue, TwoClosingBracesTooManyKeepCounting) {
  ParamLineParser parser = Opened("{5}}},{{6}}");
  EXPECT_EQ(NextValue(parser), "5");
  EXPECT_EQ(StateOf(parser), "8 0 1");
  EXPECT_EQ(NextValue(parser), "6");
  EXPECT_EQ(StateOf(parser), "end 4294967294 2");
}

TEST(ParamValue, ErrorTextStaysUntilTheNextFailure) {
  ParamLineParser parser = Opened("1,x");
  EXPECT_EQ(NextArray(parser, 1, "aa"), "aa failed: The position of '[' or ']' is incorrect.\n");
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(ErrorOf(parser), "The position of '[' or ']' is incorrect.\n");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate x to wexUint32.\n");
}
