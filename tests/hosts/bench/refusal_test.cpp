// Where the caret stands below a refused line, for each way in which the parser refuses one.
#include "hosts/bench/refusal.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/os/utf8.h"
#include "tests/hosts/bench/shaped_tree.h"
#include "tests/support/scratch_folder.h"

using namespace kivtest;
using hostbench::RefusalKind;

namespace {

// The mark below the line and what is wrong, or "taken".
std::string Mark(ShapedTree& tree, const std::wstring& line) {
  const auto refusal = tree.Refusal(line);
  EXPECT_EQ(refusal.has_value(), !tree.Takes(line)) << os::WideToUtf8(line);
  if (!refusal) return "taken";
  return os::WideToUtf8(hostbench::CaretLine(line, refusal->column, refusal->path) + L": " +
                        hostbench::RefusalText(refusal->kind));
}

std::string Mark(const std::wstring& line) {
  ShapedTree tree(MixedTree());
  return Mark(tree, line);
}

std::wstring Wide(const std::string& text) { return os::Utf8ToWide(text); }

TEST(Refusal, IsNoneForLinesThatTheParserTakes) {
  EXPECT_EQ(Mark(L"{1,{2,3},[4,5,6],{{7},{8}},9}"), "taken");
  EXPECT_EQ(Mark(L"1,2,3,[4,5,6],7,8,9"), "taken");
  EXPECT_EQ(Mark(L"1,,0x10,[,,],,,"), "taken");
  EXPECT_EQ(Mark(L""), "taken");
}

TEST(Refusal, PointsAtTheFirstCharacterThatIsNoNumber) {
  EXPECT_EQ(Mark(L"1,2x,3,[4,5,6],7,8,9"), "   ^ inner.x: not a number");
  EXPECT_EQ(Mark(L"abc,2"), "^ count: not a number");
  EXPECT_EQ(Mark(L"1,08"), "   ^ inner.x: not a number");
  EXPECT_EQ(Mark(L"1, 0x"), "    ^ inner.x: not a number");
  EXPECT_EQ(Mark(L"1,-"), "  ^ inner.x: not a number");
  EXPECT_EQ(Mark(L"{1,{2,3},[4,5,6],{{7},{8}},9 }"),
            "                            ^ last: not a number");
  EXPECT_EQ(Mark(L"{  q,{2,3},[4,5,6],{{7},{8}},9}"), "   ^ count: not a number");
}

TEST(Refusal, NamesTheElementOfAnArray) {
  EXPECT_EQ(Mark(L"1,2,3,[4,5z,6],7,8,9"), "          ^ table[1]: not a number");
  EXPECT_EQ(Mark(L"1,2,3,[4,5 5,6]"), "          ^ table[1]: not a number");
  EXPECT_EQ(Mark(L"{1,{2,3},[4,[5,6],{{7},{8}},9}"), "            ^ table[1]: not a number");
}

TEST(Refusal, PointsAtASurplusElementOrItsComma) {
  EXPECT_EQ(Mark(L"1,2,3,[4,5,6,7],7,8,9"),
            "             ^ table: more elements than the array has");
  EXPECT_EQ(Mark(L"1,2,3,[4,5,6,],7,8,9"), "            ^ table: more elements than the array has");
}

TEST(Refusal, PointsAtABracketWhereOneValueBelongs) {
  EXPECT_EQ(Mark(L"1,[2,3]"), "  ^ inner.x: one value, no \"[\"");
  EXPECT_EQ(Mark(L"{1,{2[,3}}"), "     ^ inner.x: one value, no \"[\"");
}

TEST(Refusal, PointsWhereABracketIsMissing) {
  EXPECT_EQ(Mark(L"1,2,3,4,5,6"), "      ^ table: an array stands in \"[\" and \"]\"");
  EXPECT_EQ(Mark(L"1,2,3,[4,5,6"), "      ^ table: an array stands in \"[\" and \"]\"");
  EXPECT_EQ(Mark(L"1,2,3,4],5,6"), "       ^ table: an array stands in \"[\" and \"]\"");
  EXPECT_EQ(Mark(L"{1,{2,3},}"), "         ^ table: an array stands in \"[\" and \"]\"");
}

TEST(Refusal, PointsBehindALineThatEndedTooEarly) {
  EXPECT_EQ(Mark(L"1,2,3"), "     ^ table: nothing is left for it");
  EXPECT_EQ(Mark(L"1,2,3,"), "      ^ table: nothing is left for it");
  EXPECT_EQ(Mark(L"1,2,3,[4,5,6]"), "             ^ parts[0].p: nothing is left for it");
  EXPECT_EQ(Mark(L"1,2,3,[4,5,6]7"), "             ^ parts[0].p: nothing is left for it");
}

TEST(Refusal, PointsAtTheBraceThatEndsABracedLineTooEarly) {
  EXPECT_EQ(Mark(L"{1}"), "  ^ inner.x: nothing is left for it");
  EXPECT_EQ(Mark(L"{1,{2,3}}"), "        ^ table: nothing is left for it");
  EXPECT_EQ(Mark(L"{1,{2}}"), "     ^ inner.y: nothing is left for it");
  EXPECT_EQ(Mark(L"{1,{2,3},[4,5,6]}"), "                ^ parts[0].p: nothing is left for it");
  EXPECT_EQ(Mark(L"{1,{2,3},[4,5,6],{{7},{8}}}"),
            "                          ^ last: nothing is left for it");
}

TEST(Refusal, PointsWhereTheOutermostBracesAreWrong) {
  EXPECT_EQ(Mark(L"{1,{2,3},[4,5,6],{{7},{8}},9"),
            "                            ^: \"}\" is missing");
  EXPECT_EQ(Mark(L"{1,{2,3},[4,5,6],{{7},{8}},9} x"),
            "                              ^: behind the last \"}\"");
  EXPECT_EQ(Mark(L"1,{2,3},[4,5,6]"), "^: a line with braces begins with \"{\"");
  EXPECT_EQ(Mark(L"1,2}"), "^: a line with braces begins with \"{\"");
}

TEST(Refusal, PointsAtBracesThatDoNotFitTheTree) {
  EXPECT_EQ(Mark(L"{1,2,3,[4,5,6],{{7},{8}},9}"), "   ^ inner.x: \"{\" is missing");
  EXPECT_EQ(Mark(L"{{1,{2,3}}}"), " ^ count: one \"{\" too many");
  EXPECT_EQ(Mark(L"{1,{{2,3}}}"), "    ^ inner.x: one \"{\" too many");
  EXPECT_EQ(Mark(L"{1,{2,3,[4,5,6]}}"), "       ^ table: \"}\" is missing");
  EXPECT_EQ(Mark(L"{1},{2,3},[4,5,6]}"), "  ^ inner.x: one \"}\" too many");
  EXPECT_EQ(Mark(L"{1,{2,3}},[4,5,6]}"), "        ^ table: one \"}\" too many");
  EXPECT_EQ(Mark(L"{1,{2,3},[4,5,6],{{7,{8}},9}"),
            "                    ^ parts[1].p: \"}\" is missing");
}

TEST(Refusal, PointsIntoTheLineAsItWasTyped) {
  EXPECT_EQ(Mark(L"1 ,   2 ,  3x , [4,5,6]"), "            ^ inner.y: not a number");
  EXPECT_EQ(Mark(L"{1,{2,3},[4,   5,  6y],{{7},{8}},9}"),
            "                    ^ table[2]: not a number");
}

TEST(Refusal, PointsAtATagThatIsNotClosed) {
  EXPECT_EQ(Mark(L"1,$(T<values.txt"), "  ^: \")\" is missing behind the file's name");
  EXPECT_EQ(Mark(L"1,2,3,$(B<table.bin"), "      ^ table: \")\" is missing behind the file's name");
}

TEST(Refusal, PointsAtThePathOfAFileThatIsNotThere) {
  EXPECT_EQ(Mark(L"@/nowhere/line"), " ^: no such file");
  EXPECT_EQ(Mark(L"1,$(T</nowhere/values),3"), "      ^: no such file");
  EXPECT_EQ(Mark(L"1,2,3,$(B</nowhere/bytes)"), "          ^ table: no such file");
}

TEST(Refusal, PointsAtThePathOfAFileThatCannotBeRead) {
  ScratchFolder folder;
  EXPECT_EQ(Mark(L"@" + Wide(folder.Path())), " ^: the file cannot be read");
  EXPECT_EQ(Mark(L"1,$(T<" + Wide(folder.Path()) + L")"), "      ^: the file cannot be read");
  EXPECT_EQ(Mark(L"1,2,3,$(B<" + Wide(folder.Path()) + L")"),
            "          ^ table: the file cannot be read");
}

TEST(Refusal, TellsABinaryFileThatIsTooShort) {
  ScratchFolder folder;
  const std::string path = folder.Write("bytes", "12345");
  ShapedTree tree({Structure(0, L"struct", L"s"), Array(1, L"bytes", 1, {0, 0, 0, 0, 0, 0})});
  EXPECT_EQ(Mark(tree, L"$(B<" + Wide(path) + L")"),
            "    ^ bytes: the file is shorter than the array");
  folder.Write("bytes", "123456");
  EXPECT_EQ(Mark(tree, L"$(B<" + Wide(path) + L")"), "taken");
}

TEST(Refusal, TellsThatNothingMayComeBehindABinaryFile) {
  ScratchFolder folder;
  const std::string path = folder.Write("b", "123456");
  const std::wstring reference = L"$(B<" + Wide(path) + L")";
  const std::string blanks(6 + reference.size(), ' ');
  EXPECT_EQ(Mark(L"1,2,3," + reference), blanks + "^ parts[0].p: nothing is left for it");
}

TEST(Refusal, PointsAtTheReferenceForWhatItsFileBrought) {
  ScratchFolder folder;
  const std::string path = folder.Write("v", "2,\n3q");
  EXPECT_EQ(Mark(L"1,$(T<" + Wide(path) + L"),[4,5,6]"), "  ^ inner.y: not a number");
  EXPECT_EQ(Mark(L"7 @" + Wide(path)), "  ^ inner.x: not a number");
}

TEST(Refusal, TellsAFileThatNamesItself) {
  ScratchFolder folder;
  const std::string path = folder.Path("v");
  folder.Write("v", "$(T<" + path + ")");
  EXPECT_EQ(Mark(L"1,$(T<" + Wide(path) + L")"), "  ^: the file cannot be read");
}

TEST(Refusal, StandsAtTheBeginningForATreeThatNoCatalogueMakes) {
  ShapedTree tree({Structure(0, L"struct", L"s"), Array(1, L"odd", 0, {1, 2})});
  EXPECT_EQ(Mark(tree, L"[1]"), "^ odd: refused");
}

}  // namespace
