// What stands at a place of a half-typed line.
#include "hosts/bench/field_help.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/os/utf8.h"
#include "tests/hosts/bench/shaped_tree.h"

using namespace kivtest;
using hostbench::FieldHelp;
using hostbench::HelpState;

namespace {

std::string Text(const std::wstring& line) {
  ShapedTree tree(MixedTree());
  const FieldHelp help = tree.Help(line);
  return os::WideToUtf8(hostbench::HelpText(help, tree.Shape()));
}

std::string Typed(const std::vector<hostbench::FieldCandidate>& candidates) {
  std::string all;
  for (const hostbench::FieldCandidate& each : candidates) {
    all += (all.empty() ? "" : "|") + os::WideToUtf8(each.typed);
  }
  return all;
}

TEST(FieldHelp, TellsTheFirstFieldOfAnEmptyLine) {
  EXPECT_EQ(Text(L""),
            "count: value, default 1, 0 to 255; begins with \"{\", or without; then \",{\", "
            "6 more fields");
}

TEST(FieldHelp, TellsTheFieldOfTheValueBeforeTheCursor) {
  EXPECT_EQ(Text(L"{1"), "count: value, default 1, 0 to 255; then \",{\", 6 more fields");
  EXPECT_EQ(Text(L"{1,{2,3"),
            "inner.y: value, default 3, -32768 to 32767; then \"},[\", 4 more fields");
  EXPECT_EQ(Text(L"1"), "count: value, default 1, 0 to 255; then \",\", 6 more fields");
  EXPECT_EQ(Text(L"1,2,3"),
            "inner.y: value, default 3, -32768 to 32767; then \",[\", 4 more fields");
}

TEST(FieldHelp, TellsWhatMustOpenFirst) {
  EXPECT_EQ(Text(L"{1,"),
            "inner.x: value, default 2, 0 to 65535; begins with \"{\"; then \",\", 5 more fields");
  EXPECT_EQ(Text(L"{1,{2,3},[4,5,6],"),
            "parts[0].p: value, default 7, 0 to 4294967295; begins with \"{{\"; then \"},{\", "
            "2 more fields");
  EXPECT_EQ(Text(L"1,2,3,"),
            "table: items[3], default 4, 5, 6, 0 to 65535; begins with \"[\"; then \",\" or "
            "\"],\", 2 more elements, 3 more fields");
}

TEST(FieldHelp, TellsTheElementOfAnArray) {
  EXPECT_EQ(Text(L"{1,{2,3},["),
            "table[0]: items, default 4, 0 to 65535; then \",\" or \"],{{\", 2 more elements, "
            "3 more fields");
  EXPECT_EQ(Text(L"{1,{2,3},[4,5,6"),
            "table[2]: items, default 6, 0 to 65535; then \"],{{\", 3 more fields");
}

TEST(FieldHelp, TellsWhatComesBehindABrace) {
  EXPECT_EQ(Text(L"{1,{2,3}"), "then \",[\" and table: items[3], default 4, 5, 6, 0 to 65535");
  EXPECT_EQ(Text(L"{1,{2,3},[4,5,6],{{7}"),
            "then \",{\" and parts[1].p: value, default 8, 0 to 4294967295");
  EXPECT_EQ(Text(L"{1,{2,3},[4,5,6],{{7},{8}"), "then \"},\" and last: value, default 9, 0 to 255");
  EXPECT_EQ(Text(L"{1,{2,3},[4,5,6],{{7},{8}},9"), "last: value, default 9, 0 to 255; then \"}\"");
}

TEST(FieldHelp, TellsThatNothingIsLeft) {
  ShapedTree tree(MixedTree());
  EXPECT_EQ(tree.Help(L"{1,{2,3},[4,5,6],{{7},{8}},9}").state, HelpState::kComplete);
  EXPECT_EQ(tree.Help(L"1,2,3,[4,5,6],7,8,9,").state, HelpState::kComplete);
  EXPECT_EQ(Text(L"{1,{2,3},[4,5,6],{{7},{8}},9}"), "every field has its value");
}

TEST(FieldHelp, TellsWhyALineIsRefusedAlready) {
  EXPECT_EQ(Text(L"{1,{2x"), "inner.x: not a number");
  EXPECT_EQ(Text(L"{1,{2x,"), "inner.x: not a number");
  EXPECT_EQ(Text(L"{1,2"), "inner.x: \"{\" is missing");
  EXPECT_EQ(Text(L"1,{"), "a line with braces begins with \"{\"");
  EXPECT_EQ(Text(L"1,2,3,4"), "table: an array stands in \"[\" and \"]\"");
  EXPECT_EQ(Text(L"1,2,3,[4,5,6,"), "table: more elements than the array has");
  EXPECT_EQ(Text(L"{1,{{"), "inner.x: one \"{\" too many");
}

TEST(FieldHelp, TakesTheBeginningOfANumberForOne) {
  ShapedTree tree(MixedTree());
  for (const wchar_t* line : {L"-", L"+", L"0x", L"{0X", L"{1,{-", L"1,2,3,[0x"}) {
    const FieldHelp help = tree.Help(line);
    EXPECT_EQ(help.state, HelpState::kField) << os::WideToUtf8(line);
    EXPECT_FALSE(help.isTaken) << os::WideToUtf8(line);
  }
  EXPECT_TRUE(tree.Help(L"{0x1").isTaken);
}

TEST(FieldHelp, SaysWhetherTheLineCouldBeSentNow) {
  ShapedTree tree({Structure(0, L"struct", L"s"), Single(1, L"a", 1), Single(1, L"b", 1)});
  EXPECT_TRUE(tree.Help(L"").sendsNow);
  EXPECT_TRUE(tree.Help(L"1").sendsNow);
  EXPECT_TRUE(tree.Help(L"1,").sendsNow);
  EXPECT_FALSE(tree.Help(L"{1,2").sendsNow);
  EXPECT_TRUE(tree.Help(L"{1,2}").sendsNow);
  EXPECT_FALSE(tree.Help(L"1,-").sendsNow);
}

TEST(FieldHelp, NamesTheColumnsOfTheTypedLine) {
  ShapedTree tree(MixedTree());
  const FieldHelp help = tree.Help(L"{1 ,  {2 ,   34");
  EXPECT_EQ(help.typed, L"34");
  EXPECT_EQ(help.from, 13u);
  EXPECT_EQ(tree.Help(L"{1 ,  {").from, 7u);
}

TEST(FieldHelp, OffersRoutingOptionsWhereTheyCanStand) {
  ShapedTree tree({Structure(0, L"struct", L"s"), Single(1, L"a", 1), Single(1, L"b", 1)});
  EXPECT_EQ(Typed(tree.Help(L"").options), "-d |-r |-rf ");
  EXPECT_EQ(Typed(tree.Help(L"1 ").options), "-d |-r |-rf ");
  EXPECT_EQ(Typed(tree.Help(L"1 -r").options), "-r |-rf ");
  EXPECT_EQ(Typed(tree.Help(L"{1,2} -D").options), "-d ");
  EXPECT_EQ(Typed(tree.Help(L"-").options), "-d |-r |-rf ");
  EXPECT_EQ(Typed(tree.Help(L"{1, ").options), "");
  EXPECT_EQ(Typed(tree.Help(L"1").options), "");
  EXPECT_EQ(tree.Help(L"1 -r").from, 2u);
  EXPECT_EQ(tree.Help(L"{1 -r").state, HelpState::kRefused);
}

TEST(FieldHelp, KnowsThePathBehindARoutingOption) {
  ShapedTree tree({Structure(0, L"struct", L"s"), Single(1, L"a", 1)});
  for (const wchar_t* option : {L"1 -r ", L"1 -rf ", L"1 -d ", L"-R "}) {
    const FieldHelp help = tree.Help(std::wstring(option) + L"00:11");
    EXPECT_EQ(help.state, HelpState::kRoutePath) << os::WideToUtf8(option);
    EXPECT_EQ(help.typed, L"00:11");
    EXPECT_EQ(help.from, std::wstring(option).size());
  }
}

TEST(FieldHelp, KnowsWhereAPathIsTyped) {
  ShapedTree tree(MixedTree());
  EXPECT_EQ(tree.Help(L"1,@/tmp/x").state, HelpState::kFilePath);
  EXPECT_EQ(tree.Help(L"1,@/tmp/x").typed, L"/tmp/x");
  EXPECT_EQ(tree.Help(L"1,$(T</tmp/x").state, HelpState::kFilePath);
  EXPECT_EQ(tree.Help(L"1,$(T</tmp/x").from, 6u);
  EXPECT_EQ(tree.Help(L"1,$(T</tmp/x),").state, HelpState::kFromFile);
  EXPECT_EQ(tree.Help(L"1,$(B<x").state, HelpState::kRefused);
}

TEST(FieldHelp, KnowsWhichArrayABinaryFileFills) {
  ShapedTree tree({Structure(0, L"struct", L"s"), Single(1, L"a", 1), Array(1, L"first", 1, {0, 0}),
                   Array(1, L"second", 1, {0, 0})});
  EXPECT_EQ(tree.Help(L"1,$(B<x").state, HelpState::kFilePath);
  EXPECT_EQ(tree.Help(L"1,$(B<x").field, 1u);
  EXPECT_EQ(tree.Help(L"1,[1],$(B<x").field, 1u);
  EXPECT_EQ(tree.Help(L"{1,$(B<x").state, HelpState::kFilePath);
  EXPECT_EQ(tree.Help(L"$(B<x").state, HelpState::kRefused);
  EXPECT_EQ(tree.Help(L"1,[$(B<x").state, HelpState::kRefused);
  EXPECT_EQ(tree.Help(L"1,$(B<x)").state, HelpState::kFromFile);
}

TEST(FieldHelp, OffersTheBeginningOfAFileReference) {
  ShapedTree tree({Structure(0, L"struct", L"s"), Array(1, L"a", 1, {0, 0})});
  EXPECT_EQ(Typed(tree.Help(L"$").candidates), "$(T<|$(B<");
  EXPECT_EQ(Typed(tree.Help(L"$(B").candidates), "$(B<");
  ShapedTree single({Structure(0, L"struct", L"s"), Single(1, L"a", 1)});
  EXPECT_EQ(Typed(single.Help(L"$").candidates), "$(T<");
  EXPECT_EQ(single.Help(L"$x").state, HelpState::kRefused);
}

TEST(FieldHelp, OfATreeWithoutFieldsSaysSo) {
  ShapedTree tree({Structure(0, L"struct", L"s")});
  EXPECT_EQ(tree.Help(L"").state, HelpState::kNoParameters);
  EXPECT_EQ(Typed(tree.Help(L"").options), "-d |-r |-rf ");
}

}  // namespace
