// The fill in one pass beside the parser and the walk: what it takes comes out the same, and what
// it does not take it leaves as it was.
#include "params/quick_fill.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/params/fill_trees.h"
#include "tests/support/sweep.h"

using namespace kivtest;

namespace {

constexpr std::int64_t kFullLines = 200000;

std::vector<std::uint8_t> BodyOf(HandTree& tree) {
  const std::uint8_t* const body = tree.Root().GetBody();
  return {body, body + tree.Root().GetBodyBytes()};
}

// Below a structure: a value, a structure of two values, an array of structures, an array.
std::vector<ParamNodeSpec> MixedTree() {
  return {Structure(0, L"struct", L"mixed_type"),
          Single(1, L"first", 1, 1),
          Structure(1, L"pair", L"pair_type"),
          Single(2, L"left", 2, 2),
          Single(2, L"right", 4, 3),
          Structure(1, L"legs", L"leg_type", 17),
          Structure(2, L"legs[0]", L"leg_type"),
          Single(3, L"x", 8, 4),
          Structure(2, L"legs[1]", L"leg_type"),
          Single(3, L"x", 1, 5),
          Array(1, L"table", 2, {6, 0, 7, 0, 8, 0}),
          Single(1, L"last", 4, 9)};
}

std::vector<ParamNodeSpec> ArrayTree() {
  return {Structure(0, L"struct", L"array_type"), Array(1, L"table", 1, {1, 2, 3})};
}

struct LineCase {
  const wchar_t* line;
  bool isTaken;
};

// The trees by both ways; answers what differs.
std::string Difference(const std::vector<ParamNodeSpec>& specs, const std::wstring& line,
                       bool* isTaken) {
  HandTree quick(specs);
  HandTree walked(specs);
  const std::vector<std::uint8_t> before = BodyOf(quick);
  *isTaken = SvcKivClass::QuickFill(quick.Root(), line);
  if (!*isTaken) return BodyOf(quick) == before ? "" : "not taken, and changed";
  ParamLineParser parser;
  if (parser.SetParamLine(QCString(line)) == 0) return "the parser refuses it";
  const std::uint32_t status = walked.Root().ParseNodes(&SvcKivClass::FillNode, &parser, 0);
  if (status != 0) return "the walk ends with " + std::to_string(status);
  return BodyOf(quick) == BodyOf(walked) ? "" : "other values";
}

void ExpectCases(const std::vector<ParamNodeSpec>& specs, const std::vector<LineCase>& cases) {
  for (const LineCase& one : cases) {
    bool isTaken = false;
    EXPECT_EQ(Difference(specs, one.line, &isTaken), "") << QCString(one.line).ToUtf8();
    EXPECT_EQ(isTaken, one.isTaken) << QCString(one.line).ToUtf8();
  }
}

// Lines that are nearly right, so that many are taken and the others miss by little.
class RandomLines {
 public:
  std::wstring Next() {
    std::wstring line = L"{" + Number() + L",{" + Number() + L"," + Number() + L"},{{" + Number() +
                        L"},{" + Number() + L"}},[" + Number() + L"," + Number() + L"]," +
                        Number() + L"}";
    for (std::uint32_t changes = Below(4); changes > 0; --changes) Change(line);
    return line;
  }

 private:
  std::uint32_t Below(std::uint32_t bound) {
    return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(random_);
  }
  std::wstring Number() {
    static const wchar_t* const kNumbers[] = {
        L"",           L"0",
        L"7",          L"-1",
        L"255",        L"65536",
        L"-300",       L"4294967295",
        L"4294967296", L"-4294967296",
        L"0x1F",       L"-0x80000000",
        L"017",        L"+5",
        L"08",         L"0x",
        L"123456789",  L"18446744073709551616",
        L"00",         L"0xg",
        L"- 1",        L"340282366920938463463374607431768211456"};
    return kNumbers[Below(sizeof kNumbers / sizeof *kNumbers)];
  }
  void Change(std::wstring& line) {
    static constexpr wchar_t kCharacters[] = L"{}[],-+0x9 @$(T<B#\n\t\x2003";
    const std::uint32_t at = Below(static_cast<std::uint32_t>(line.size()));
    const wchar_t one = kCharacters[Below(sizeof kCharacters / sizeof *kCharacters - 1)];
    switch (Below(3)) {
      case 0:
        line[at] = one;
        break;
      case 1:
        line.insert(at, 1, one);
        break;
      default:
        if (line.size() > 1) line.erase(at, 1);
        break;
    }
  }

  std::mt19937 random_{20262};
};

}  // namespace

TEST(QuickFill, UsualLinesOfAMixedTreeAreTaken) {
  ExpectCases(MixedTree(),
              {{L"{1,{2,3},{{4},{5}},[6,7,8],9}", true},
               {L"{,{,},{{},{}},[],}", true},
               {L"{-1,{0x10,010},{{+3},{4294967296}},[,1],18446744073709551616}", true},
               {L"{1,{2,3},{{4},{5}},[6,7,8],9}}}", false},
               {L"{1,{2,3},{{4},{5}},[6,7,8]}", false},
               {L"{1,{2,3},{{4},{5}},[6,7,8,9],9}", false},
               {L"{1,2,3,{{4},{5}},[6,7,8],9}", false},
               {L"{1,{2,3},{{4},{5}},6,9}", false},
               {L"{1,{2,3},{{4},{5}},[6,7,8],9,10}", false},
               {L"{ 1,{2,3},{{4},{5}},[6,7,8],9}", false},
               {L"{x,{2,3},{{4},{5}},[6,7,8],9}", false},
               {L"1,2,3,4,5,[6,7,8],9", true},
               {L"1,,3,,,[6],", true},
               {L"1,2", false},
               {L"@file", false},
               {L"$(T<file)", false},
               {L"1,2,3,4,5,$(B<file),9", false},
               {L"", false}});
}

TEST(QuickFill, FlatLinesMayEndEarlyWhereOnlyValuesAreLeft) {
  ExpectCases(FlatStructure(4), {{L"1", true},
                                 {L"1,2", true},
                                 {L",", true},
                                 {L"1,2,3,4", true},
                                 {L"1,2,3,4,", false},
                                 {L"{1,2,3,4}", true},
                                 {L"{1,2}", false},
                                 {L"{}", false},
                                 {L"{", false},
                                 {L"1}", false},
                                 {L"[1]", false}});
}

TEST(QuickFill, AFlatLineThatEndsBehindAnArrayIsLeftToTheWalkWhenValuesAreLeft) {
  std::vector<ParamNodeSpec> tree = ArrayTree();
  tree.push_back(Single(1, L"last", 4, 9));
  ExpectCases(tree, {{L"[1,2,3],4", true},
                     {L"[1,2,3],", true},
                     {L"[1,2,3]", false},
                     {L"[]", false},
                     {L"{[1,2,3],4}", true},
                     {L"{[1,2,3]}", false}});
}

TEST(QuickFill, ArraysTakeUpToTheirCount) {
  ExpectCases(ArrayTree(), {{L"[1,2,3]", true},
                            {L"{[1,2,3]}", true},
                            {L"[]", true},
                            {L"[,,]", true},
                            {L"[,,,]", false},
                            {L"[1,2,3", false},
                            {L"[1,2},3]", false},
                            {L"[1,2,3]4", false},
                            {L"[ 1]", false}});
}

TEST(QuickFill, TreesWithOtherNodesAreLeftToTheWalk) {
  std::vector<ParamNodeSpec> odd = FlatStructure(2);
  odd.back().kind = 5;
  ExpectCases(odd, {{L"1,2", false}});
  std::vector<ParamNodeSpec> wide = FlatStructure(1);
  wide.push_back(Single(1, L"three", 3));
  ExpectCases(wide, {{L"1,2", false}});
  std::vector<ParamNodeSpec> hidden = ArrayTree();
  hidden.back().hasBuffer = false;
  ExpectCases(hidden, {{L"[1,2]", false}});
  CParamNode empty;
  EXPECT_FALSE(SvcKivClass::QuickFill(empty, L"1"));
}

TEST(QuickFill, RandomLinesComeOutAsByTheWalk) {
  RandomLines lines;
  const std::vector<ParamNodeSpec> specs = MixedTree();
  const std::int64_t count = SweepCount(kFullLines);
  std::int64_t taken = 0;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::wstring line = lines.Next();
    bool isTaken = false;
    ASSERT_EQ(Difference(specs, line, &isTaken), "") << QCString(line).ToUtf8();
    taken += isTaken ? 1 : 0;
  }
  EXPECT_GT(taken, count / 50);
  EXPECT_LT(taken, count);
}
