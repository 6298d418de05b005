// SetParamLine: clean-up of the line and its outer braces, without files.
#include <gtest/gtest.h>

#include "tests/params/line_reading.h"

using namespace kivtest;

TEST(ParamLine, FreshParserIsEmptyAtTheStart) {
  ParamLineParser parser;
  EXPECT_EQ(LineOf(parser), "");
  EXPECT_EQ(StateOf(parser), "0 0 0");
  EXPECT_EQ(ErrorOf(parser), "");
}

TEST(ParamLine, SecondConstructorSetsTheLineAtOnce) {
  ParamLineParser good(Wide("{1,{2}}"));
  EXPECT_EQ(StateOf(good), "1 1 0");
  EXPECT_EQ(ErrorOf(good), "");
  ParamLineParser bad(Wide("{1"));
  EXPECT_EQ(ErrorOf(bad), "the last '}' is missing.\n");
}

TEST(ParamLine, EmptyTextIsRefused) { EXPECT_EQ(Refusal(""), "The parameters line is empty.\n"); }

TEST(ParamLine, BlankTextIsAFlatLineWithoutValues) {
  for (const char* text : {" ", "    ", "\n", " \n \n"}) {
    ParamLineParser parser = Opened(text);
    EXPECT_EQ(LineOf(parser), "");
    EXPECT_EQ(StateOf(parser), "0 flat 0");
    EXPECT_EQ(NextValues(parser, 3), "default default default");
    EXPECT_EQ(StateOf(parser), "end flat 3");
  }
}

TEST(ParamLine, MissingLastBraceIsRefused) {
  for (const char* text : {"{1,2", "{", "{1} 2", "{1},2", "{}x", "{1}#"}) {
    EXPECT_EQ(Refusal(text), "the last '}' is missing.\n") << text;
  }
}

TEST(ParamLine, BracesInsideWithoutOuterOnesAreRefused) {
  for (const char* text : {"1,{2}", "1,2}", "}", "1{", "x{1}", "[{1}]", "}{", "\t{1}"}) {
    EXPECT_EQ(Refusal(text), "The outermost '{' or '}' is missing.\n") << text;
  }
}

TEST(ParamLine, RefusedLineLeavesTheCursorAtTheStart) {
  ParamLineParser parser;
  EXPECT_EQ(parser.SetParamLine(L"{1"), 0u);
  EXPECT_EQ(StateOf(parser), "0 0 0");
}

TEST(ParamLine, OutermostBraceIsPassedAndLeadingOnesAreEntered) {
  EXPECT_EQ(StateOf(Opened("{1}")), "1 1 0");
  EXPECT_EQ(StateOf(Opened("{}")), "1 1 0");
  EXPECT_EQ(StateOf(Opened("{{1}}")), "2 2 0");
  EXPECT_EQ(StateOf(Opened("{{{1},2}}")), "3 3 0");
  EXPECT_EQ(StateOf(Opened("{ { 1}}")), "3 2 0");
  EXPECT_EQ(StateOf(Opened("{1,{2}}")), "1 1 0");
}

TEST(ParamLine, BracesAheadOfTheFirstCommaCountWhereverTheyStand) {
  EXPECT_EQ(StateOf(Opened("{1}{2,3}")), "4 2 0");
  EXPECT_EQ(StateOf(Opened("{[{1}]}")), "3 2 0");
}

TEST(ParamLine, FlatLineKeepsNoDepth) {
  EXPECT_EQ(StateOf(Opened("1,2,3")), "0 flat 0");
  EXPECT_EQ(StateOf(Opened("[1,2]")), "0 flat 0");
  EXPECT_EQ(StateOf(Opened(",")), "0 flat 0");
}

TEST(ParamLine, LineFeedsBecomeBlanksAndTheEndsAreTrimmed) {
  EXPECT_EQ(LineOf(Opened("\n 1\n2 \n")), "1 2");
  EXPECT_EQ(LineOf(Opened("  {1,2}  ")), "{1,2}");
}

TEST(ParamLine, RunsOfBlanksCollapse) {
  EXPECT_EQ(LineOf(Opened("1  2   3    4          5")), "1 2 3 4 5");
  EXPECT_EQ(LineOf(Opened("1 \n \n 2")), "1 2");
}

TEST(ParamLine, BlanksThatTouchACommaGo) {
  EXPECT_EQ(LineOf(Opened("1 , 2 ,3, 4")), "1,2,3,4");
  EXPECT_EQ(LineOf(Opened("1 ,  , 2")), "1,,2");
  EXPECT_EQ(LineOf(Opened(" , ")), ",");
  EXPECT_EQ(LineOf(Opened(", , , ,")), ",,,,");
}

TEST(ParamLine, BlanksBesideBracesAndBracketsStay) {
  EXPECT_EQ(LineOf(Opened("{  1 , [ 2 ,  3 ]  }")), "{ 1,[ 2,3 ] }");
}

TEST(ParamLine, OnlyBlanksAreBlanks) {
  EXPECT_EQ(LineOf(Opened("\t1\t,\t2\t")), "\t1\t,\t2\t");
  EXPECT_EQ(LineOf(Opened("\r"
                          "1\r")),
            "\r"
            "1\r");
  EXPECT_EQ(LineOf(Opened("\xc2\xa0"
                          "1")),
            "\xc2\xa0"
            "1");
}

TEST(ParamLine, LengthsCountWideCharacters) {
  ParamLineParser parser = Opened(
      "\xf0\x9f\x98\x80"
      "1,2");
  EXPECT_EQ(NextValue(parser),
            "failed: Failed to translate \xf0\x9f\x98\x80"
            "1 to wexUint32.\n");
  EXPECT_EQ(StateOf(parser), "0 flat 1");
}
