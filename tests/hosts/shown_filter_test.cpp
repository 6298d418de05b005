// What is left out of what the device says, and patterns that nobody can make slow.
#include "hosts/terminal/shown_filter.h"

#include <gtest/gtest.h>

#include <string>

namespace kiv {
namespace {

std::unique_ptr<LinePattern> Pattern(std::wstring_view expression) {
  std::string problem;
  auto pattern = LinePattern::Make(expression, problem);
  EXPECT_EQ(problem, "");
  return pattern;
}

std::string ProblemOf(std::wstring_view expression) {
  std::string problem;
  EXPECT_EQ(LinePattern::Make(expression, problem), nullptr);
  return problem;
}

TEST(ShownFilter, ShowsEverythingAtFirst) {
  ShownFilter filter;
  EXPECT_FALSE(filter.FiltersChannels());
  EXPECT_EQ(filter.Indication(7, "\na\n"), "\na\n");
  EXPECT_EQ(filter.Lines(ShownKind::kAt, "OK\n"), "OK\n");
}

TEST(ShownFilter, ShowsAllIndicationsNoneOrThoseThatWereNamed) {
  ShownFilter filter;
  filter.ShowIndications(false);
  EXPECT_EQ(filter.Indication(7, "x"), "");
  filter.ShowOnly(7);
  EXPECT_EQ(filter.Indication(7, "x"), "x");
  EXPECT_EQ(filter.Indication(8, "x"), "");
  filter.ShowOnly(8);
  EXPECT_EQ(filter.Indication(7, "x"), "x");
  EXPECT_EQ(filter.Indication(8, "x"), "x");
  filter.ShowIndications(true);
  EXPECT_EQ(filter.Indication(9, "x"), "x");
  EXPECT_TRUE(filter.Named().empty());
  const std::map<std::uint32_t, std::uint64_t> hidden = {{7, 1}, {8, 1}};
  EXPECT_EQ(filter.HiddenIndications(), hidden);
}

TEST(ShownFilter, AMutedIndicationIsHiddenAlsoWhenItWasNamed) {
  ShownFilter filter;
  filter.ShowOnly(7);
  filter.Mute(7);
  EXPECT_EQ(filter.Indication(7, "x"), "");
  EXPECT_TRUE(filter.Unmute(7));
  EXPECT_FALSE(filter.Unmute(7));
  EXPECT_EQ(filter.Indication(7, "x"), "x");
}

TEST(ShownFilter, AMutedChannelsLinesAreCounted) {
  ShownFilter filter;
  filter.Mute(ShownKind::kAt);
  EXPECT_TRUE(filter.FiltersChannels());
  EXPECT_EQ(filter.Lines(ShownKind::kAt, "RING\n\nNO CARR"), "");
  EXPECT_EQ(filter.Lines(ShownKind::kShell, "a\n"), "a\n");
  EXPECT_EQ(filter.HiddenLines(ShownKind::kAt), 3u);
  EXPECT_EQ(filter.HiddenLines(ShownKind::kShell), 0u);
  filter.UnmuteAll();
  EXPECT_EQ(filter.Lines(ShownKind::kAt, "RING\n"), "RING\n");
}

TEST(ShownFilter, OfLinesThoseWithThePatternStay) {
  ShownFilter filter;
  filter.SetPattern(Pattern(L"^\\.temp "));
  EXPECT_EQ(filter.Indication(7, "\n.temp = 3 \n.load = 4 \n"), ".temp = 3 \n");
  EXPECT_EQ(filter.Lines(ShownKind::kShell, "a\n.temp x"), ".temp x");
  EXPECT_EQ(filter.HiddenByPattern(), 2u);
  filter.SetPattern(nullptr);
  EXPECT_EQ(filter.Lines(ShownKind::kShell, "a\n"), "a\n");
}

TEST(LinePattern, FindsCapitalsOnlyWhenItHasOne) {
  EXPECT_TRUE(Pattern(L"ring")->IsIn("RING"));
  EXPECT_TRUE(Pattern(L"Ring")->IsIn("a Ring"));
  EXPECT_FALSE(Pattern(L"Ring")->IsIn("RING"));
  EXPECT_TRUE(Pattern(L"ring\\S")->IsIn("RINGS"));
}

TEST(LinePattern, SaysWhereItFound) {
  EXPECT_EQ(Pattern(L"\u6f22")->Find("a\xe5\xad\x97\xe6\xbc\xa2z"), (TextPart{4, 3}));
  EXPECT_EQ(Pattern(L"x")->Find("abc"), std::nullopt);
}

TEST(LinePattern, FindsInEveryPlaceOfALongLine) {
  const auto pattern = Pattern(L"needle");
  for (const std::size_t at : {0u, 2045u, 2047u, 2048u, 100'000u, 1'048'570u}) {
    std::string line(1u << 20, 'x');
    line.replace(at, 6, "needle");
    EXPECT_EQ(pattern->Find(line), (TextPart{at, 6})) << at;
  }
  EXPECT_FALSE(pattern->IsIn(std::string(1u << 20, 'x')));
}

TEST(LinePattern, ALookThatTakesTooManyStepsIsGivenUpAndCountsAsFound) {
  const auto pattern = Pattern(L"^(a|aa)+$");
  EXPECT_EQ(pattern->Find(std::string(1000, 'a') + "!"), TextPart{});
  EXPECT_EQ(pattern->GivenUp(), 1u);
  EXPECT_FALSE(pattern->IsIn("b"));
}

TEST(LinePattern, NoKnownTrapTakesLongerThanALongLineIs) {
  for (const wchar_t* trap : {L"(a+)+$", L"(.*)*x", L"x*y", L"((a*)*)*b", L"(?R)", L"(a(?1)?b)+c",
                              L"(a|a)*b", L"(?=(a+))\\1*c", L"(?<=a{1,200})b"}) {
    std::string problem;
    const auto pattern = LinePattern::Make(trap, problem);
    if (pattern == nullptr) continue;
    pattern->IsIn(std::string(64u << 10, 'a') + "!");
  }
}

TEST(LinePattern, WhatCannotBeUsedIsToldInOneLine) {
  EXPECT_EQ(ProblemOf(L"a("), "missing closing parenthesis at character 3");
  EXPECT_EQ(ProblemOf(std::wstring(1001, L'a')), "it has more than 1000 characters");
  EXPECT_NE(ProblemOf(L"*"), "");
}

}  // namespace
}  // namespace kiv
