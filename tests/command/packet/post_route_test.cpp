// Routing options at the end of a parameter text, and how a path is posted.
#include "command/packet/post_route.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/hex.h"

using namespace kivtest;
using SvcKivClass::PostForm;
using SvcKivClass::PostRoute;
using SvcKivClass::RouteOf;
using SvcKivClass::SplitMacPath;

namespace {

// "rest|path" of a parameter text.
std::string Split(std::string_view rest) {
  const SvcKivClass::MacSplit split = SplitMacPath(QCString::FromUtf8(rest));
  return split.rest.ToUtf8() + "|" + split.macPath.ToUtf8();
}

// "plain", "direct N", "routed HEADER" or "refused N".
std::string Routed(std::string_view path) {
  const PostRoute route = RouteOf(QCString::FromUtf8(path));
  if (route.status != 0) return "refused " + std::to_string(route.status);
  switch (route.form) {
    case PostForm::kPlain:
      return "plain";
    case PostForm::kDirect:
      return "direct " + std::to_string(route.directNumber);
    case PostForm::kRouted:
      break;
  }
  return "routed " + ToHex(route.header.data(), route.header.size());
}

constexpr char kMac[] = "00:11:22:33:44:55";
const std::string kBroadcast = "FF:FF:FF:FF:FF:FF->";

}  // namespace

TEST(SplitMacPath, WithoutAnOptionTheRestStaysAsItIs) {
  EXPECT_EQ(Split(""), "|");
  EXPECT_EQ(Split("1,2,3"), "1,2,3|");
  EXPECT_EQ(Split(" 1, 2 "), " 1, 2 |");
}

TEST(SplitMacPath, PlainOptionGivesThePathAsWritten) {
  EXPECT_EQ(Split("1,2 -r 00:aA:22:33:44:55->x"), "1,2|00:aA:22:33:44:55->x");
}

TEST(SplitMacPath, BroadcastOptionPutsItsHopInFront) {
  EXPECT_EQ(Split(std::string("1 -rf ") + kMac), "1|" + kBroadcast + kMac);
}

TEST(SplitMacPath, DirectOptionPutsItsMarkInFront) { EXPECT_EQ(Split("1 -d 7"), "1|d->7"); }

TEST(SplitMacPath, OptionsAreFoundInEitherCase) {
  EXPECT_EQ(Split("1 -R aB"), "1|aB");
  EXPECT_EQ(Split("1 -Rf aB"), "1|" + kBroadcast + "aB");
  EXPECT_EQ(Split("1 -rF aB"), "1|" + kBroadcast + "aB");
  EXPECT_EQ(Split("1 -D aB"), "1|d->aB");
}

TEST(SplitMacPath, NoBlankIsNeededInFrontOfAnOption) { EXPECT_EQ(Split("1,2,3-r x"), "1,2,3|x"); }

TEST(SplitMacPath, OptionWithoutItsBlankIsText) {
  EXPECT_EQ(Split("1,2,3 -r"), "1,2,3 -r|");
  EXPECT_EQ(Split("1 -rx -dx"), "1 -rx -dx|");
  EXPECT_EQ(Split("1 -r\tx"), "1 -r\tx|");
}

TEST(SplitMacPath, BlanksAroundRestAndInFrontOfThePathAreTrimmed) {
  EXPECT_EQ(Split("  1 2   -r    x y  "), "1 2|x y  ");
  EXPECT_EQ(Split("\t1\t -r \tx"), "\t1\t|\tx");
}

TEST(SplitMacPath, LastOptionBeginsThePath) {
  EXPECT_EQ(Split("1 -r a -r b"), "1 -r a|b");
  EXPECT_EQ(Split("1 -rf a -r b"), "1 -rf a|" + kBroadcast + "b");
  EXPECT_EQ(Split("1 -r a -rf b"), "1 -r a|" + kBroadcast + "b");
  EXPECT_EQ(Split("1 -d 5 -r b"), "1 -d 5|d->b");
  EXPECT_EQ(Split("1 -r a -d 5"), "1 -r a|d->5");
}

TEST(SplitMacPath, DirectMarkStandsInFrontOfTheBroadcastHop) {
  EXPECT_EQ(Split("1 -rf a -d 5"), "1 -rf a|d->" + kBroadcast + "5");
  EXPECT_EQ(Split("1 -d a -rf 5"), "1 -d a|d->" + kBroadcast + "5");
}

TEST(SplitMacPath, OptionAloneLeavesAnEmptyRest) { EXPECT_EQ(Split("-r x"), "|x"); }

TEST(SplitMacPath, OptionWithNothingBehindItsBlankKeepsItsPrefix) {
  EXPECT_EQ(Split("1 -r "), "1|");
  EXPECT_EQ(Split("1 -rf "), "1|" + kBroadcast);
  EXPECT_EQ(Split("1 -d "), "1|d->");
}

TEST(SplitMacPath, CharactersThatLowerToSeveralDoNotMoveThePath) {
  EXPECT_EQ(Split("\xC4\xB0\xC4\xB0\xC4\xB0 -R x"), "\xC4\xB0\xC4\xB0\xC4\xB0|x");
}

TEST(SplitMacPath, PercentSignsAreShownAsTyped) { EXPECT_EQ(Split("%1 -r %2"), "%1|%2"); }

TEST(RouteOf, EmptyPathIsPlain) { EXPECT_EQ(Routed(""), "plain"); }

TEST(RouteOf, MacPathIsRouted) {
  EXPECT_EQ(Routed(kMac), "routed 001122334455000000000000000000000000");
  EXPECT_EQ(Routed(kBroadcast + kMac), "routed ffffffffffff001122334455000000000000");
}

TEST(RouteOf, PathThatCannotBeConvertedIsRefused) {
  EXPECT_EQ(Routed("x"), "refused 23");
  EXPECT_EQ(Routed("00:11:22:33:44:5"), "refused 23");
}

TEST(RouteOf, DirectNumberStandsBehindTheLastArrow) {
  EXPECT_EQ(Routed("d->7"), "direct 7");
  EXPECT_EQ(Routed("d->1->2>3"), "direct 3");
  EXPECT_EQ(Routed("d->4294967295"), "direct 4294967295");
  EXPECT_EQ(Routed("d-> 7 "), "direct 7");
  EXPECT_EQ(Routed("d->007"), "direct 7");
}

TEST(RouteOf, DirectPieceThatIsNoDecimalNumberGivesZero) {
  for (const char* path : {"d->", "d->x", "d->7x", "d->-5", "d->0x10", "d->4294967296",
                           "d->99999999999999999999", "d->7>", "d->\t7", "d->1 2"}) {
    EXPECT_EQ(Routed(path), "direct 0") << path;
  }
}

TEST(RouteOf, DirectMarkInCapitalsIsABadHop) { EXPECT_EQ(Routed("D->5"), "refused 23"); }

TEST(RouteOf, DirectPathWithAMacIsPostedWithZero) {
  EXPECT_EQ(Routed(std::string("d->") + kMac), "direct 0");
}

TEST(RouteOf, RoutesOfRefusedPathsAreStillRouted) {
  EXPECT_EQ(RouteOf(L"x").form, PostForm::kRouted);
  EXPECT_EQ(RouteOf(L"x").status, 23u);
}
