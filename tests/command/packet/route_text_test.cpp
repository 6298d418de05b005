// Routing options, MAC paths and the texts of a post's result: one row a form.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "command/packet/diag_packet.h"
#include "command/packet/mac_tools.h"
#include "command/packet/post_route.h"
#include "tests/support/hex.h"

namespace {

using SvcKivClass::MacSplit;
using SvcKivClass::MacTools;
using SvcKivClass::PostForm;
using SvcKivClass::PostRoute;
using SvcKivClass::RoutingHeader;

constexpr wchar_t kBroadcast[] = L"FF:FF:FF:FF:FF:FF->";

struct SplitRow {
  std::wstring typed;
  std::wstring rest;
  std::wstring path;
};

void CheckSplits(const std::vector<SplitRow>& rows) {
  for (const SplitRow& row : rows) {
    SCOPED_TRACE(QCString(row.typed).ToUtf8());
    const MacSplit split = SvcKivClass::SplitMacPath(QCString(row.typed));
    EXPECT_EQ(split.rest.str(), row.rest);
    EXPECT_EQ(split.macPath.str(), row.path);
  }
}

TEST(RoutingOption, EachPutsItsPrefixBeforeThePath) {
  const std::wstring broadcast = kBroadcast;
  CheckSplits({{L"", L"", L""},
               {L"1,2,3", L"1,2,3", L""},
               {L"1,2,3 -r A:b", L"1,2,3", L"A:b"},
               {L"1,2,3 -rf A:b", L"1,2,3", broadcast + L"A:b"},
               {L"1,2,3 -d A:b", L"1,2,3", L"d->A:b"},
               {L"-r A", L"", L"A"},
               {L"-rf A", L"", broadcast + L"A"},
               {L"-d 5", L"", L"d->5"}});
}

TEST(RoutingOption, IsFoundInAnyCaseAndThePathKeepsItsOwn) {
  const std::wstring broadcast = kBroadcast;
  CheckSplits({{L"x -R aB", L"x", L"aB"},
               {L"x -RF aB", L"x", broadcast + L"aB"},
               {L"x -Rf aB", L"x", broadcast + L"aB"},
               {L"x -rF aB", L"x", broadcast + L"aB"},
               {L"x -D aB", L"x", L"d->aB"},
               {L"AbC -r aB", L"AbC", L"aB"},
               {L"\u0130\u0130 -r \u0130b", L"\u0130\u0130", L"\u0130b"}});
}

TEST(RoutingOption, NeedsItsBlankBehindButNoneBefore) {
  CheckSplits({{L"1,2,3-r A", L"1,2,3", L"A"},
               {L"1 -r", L"1 -r", L""},
               {L"1 -rf", L"1 -rf", L""},
               {L"1 -d", L"1 -d", L""},
               {L"1 -rA", L"1 -rA", L""},
               {L"1 -r\tA", L"1 -r\tA", L""},
               {L"1 - r A", L"1 - r A", L""},
               {L"1 -rd A", L"1 -rd A", L""},
               {L"1 -r    A", L"1", L"A"},
               {L"1    -r A", L"1", L"A"}});
}

TEST(RoutingOption, OfTwoTheLastBeginsThePathAndAnyPlaceGivesThePrefix) {
  const std::wstring broadcast = kBroadcast;
  CheckSplits({{L"1 -r A -r B", L"1 -r A", L"B"},
               {L"1 -rf A -r B", L"1 -rf A", broadcast + L"B"},
               {L"1 -r A -rf B", L"1 -r A", broadcast + L"B"},
               {L"1 -d 5 -r B", L"1 -d 5", L"d->B"},
               {L"1 -r A -d 5", L"1 -r A", L"d->5"},
               {L"1 -rf A -d 5", L"1 -rf A", L"d->" + broadcast + L"5"},
               {L"1 -d 5 -rf A", L"1 -d 5", L"d->" + broadcast + L"A"},
               {L"1 -d 5 -d 6", L"1 -d 5", L"d->6"},
               {L"1 -rf A -rf B", L"1 -rf A", broadcast + L"B"},
               {L"1 -d 5 -rf A -r B", L"1 -d 5 -rf A", L"d->" + broadcast + L"B"}});
}

struct RouteRow {
  const wchar_t* path;
  PostForm form;
  std::uint32_t number;
  std::uint32_t status;
};

TEST(RouteOfAPath, IsPlainDirectOrRouted) {
  const std::vector<RouteRow> rows = {
      {L"", PostForm::kPlain, 0, 0},
      {L"d->5", PostForm::kDirect, 5, 0},
      {L"d->", PostForm::kDirect, 0, 0},
      {L"d->x", PostForm::kDirect, 0, 0},
      {L"d->1->2", PostForm::kDirect, 2, 0},
      {L"d->1>2", PostForm::kDirect, 2, 0},
      {L"d->1>", PostForm::kDirect, 0, 0},
      {L"d-> 200 ", PostForm::kDirect, 200, 0},
      {L"d->4294967295", PostForm::kDirect, 4294967295u, 0},
      {L"d->4294967296", PostForm::kDirect, 0, 0},
      {L"d->99999999999999999999", PostForm::kDirect, 0, 0},
      {L"d->-1", PostForm::kDirect, 0, 0},
      {L"d->0x10", PostForm::kDirect, 0, 0},
      {L"d->00:11:22:33:44:55", PostForm::kDirect, 0, 0},
      {L"D->5", PostForm::kRouted, 0, 23},
      {L"d>5", PostForm::kRouted, 0, 23},
      {L"d-", PostForm::kRouted, 0, 23},
      {L" ", PostForm::kRouted, 0, 23},
      {L"00:11:22:33:44:55", PostForm::kRouted, 0, 0},
      {L"00:11:22:33:44:55->d->5", PostForm::kRouted, 0, 23},
  };
  for (const RouteRow& row : rows) {
    SCOPED_TRACE(QCString(row.path).ToUtf8());
    const PostRoute route = SvcKivClass::RouteOf(row.path);
    EXPECT_EQ(route.form, row.form);
    EXPECT_EQ(route.directNumber, row.number);
    EXPECT_EQ(route.status, row.status);
  }
}

TEST(RouteOfAPath, CarriesTheHeaderOfARoutedOne) {
  const PostRoute route = SvcKivClass::RouteOf(L"00:11:22:33:44:55->66:77:88:99:AA:BB");
  EXPECT_EQ(kivtest::ToHex(route.header.data(), 18), "00112233445566778899aabb000000000000");
}

struct Converted {
  std::uint32_t status;
  std::uint32_t hops;
  std::string header;
};

Converted Convert(const wchar_t* path) {
  RoutingHeader header;
  header.fill(0xEE);
  std::uint32_t hops = 99;
  const std::uint32_t status = MacTools::PathToHeader(path, header, &hops);
  return {status, hops, kivtest::ToHex(header.data(), header.size())};
}

TEST(MacPath, OneToThreeHopsFillTheHeaderFromTheLeft) {
  const Converted one = Convert(L"01:02:03:04:05:06");
  EXPECT_EQ(one.status, 0u);
  EXPECT_EQ(one.hops, 1u);
  EXPECT_EQ(one.header, "010203040506000000000000000000000000");
  const Converted two = Convert(L"01:02:03:04:05:06->0a:0B:0c:0D:0e:0F");
  EXPECT_EQ(two.status, 0u);
  EXPECT_EQ(two.hops, 2u);
  EXPECT_EQ(two.header, "0102030405060a0b0c0d0e0f000000000000");
  const Converted three = Convert(L"FF:FF:FF:FF:FF:FF->00:00:00:00:00:00->ab:CD:ef:AB:cd:EF");
  EXPECT_EQ(three.status, 0u);
  EXPECT_EQ(three.hops, 3u);
  EXPECT_EQ(three.header, "ffffffffffff000000000000abcdefabcdef");
}

TEST(MacPath, AFourthHopFailsAndThreeAreReported) {
  const std::wstring hop = L"01:02:03:04:05:06";
  const std::wstring path = hop + L"->" + hop + L"->" + hop + L"->";
  for (const std::wstring& fourth : {hop, std::wstring(), std::wstring(L"x"), hop + L"->" + hop}) {
    const Converted converted = Convert((path + fourth).c_str());
    EXPECT_EQ(converted.status, 23u);
    EXPECT_EQ(converted.hops, 3u);
  }
}

TEST(MacPath, TakesColonsDashesAndBlanksInAHop) {
  for (const wchar_t* path : {L"00:11:22:33:44:55", L"00-11-22-33-44-55", L"00:11-22:33-44:55",
                              L" 00:11:22:33:44:55 ", L"0 0 : 1 1:2 2:33:4 4:55"}) {
    SCOPED_TRACE(QCString(path).ToUtf8());
    const Converted converted = Convert(path);
    EXPECT_EQ(converted.status, 0u);
    EXPECT_EQ(converted.header, "001122334455000000000000000000000000");
  }
}

TEST(MacPath, AnyOtherFormIsRefused) {
  for (const wchar_t* path : {L"",
                              L" ",
                              L"00:11:22:33:44:5",
                              L"00:11:22:33:44:555",
                              L"00:11:22:33:44",
                              L"001122334455",
                              L"00:11:22:33:44:5g",
                              L"0g:11:22:33:44:55",
                              L"00:11:22:33:44.55",
                              L"00::1:22:33:44:55",
                              L"0x:11:22:33:44:55",
                              L"-1:11:22:33:44:55",
                              L"+1:11:22:33:44:55",
                              L"00\t:11:22:33:44:55",
                              L"00:11:22:33:44:\uff10\uff11",
                              L"00:11:22:33:44:\u0661\u0661",
                              L"00\uff1a11:22:33:44:55",
                              L"->00:11:22:33:44:55",
                              L"00:11:22:33:44:55->",
                              L"00:11:22:33:44:55->->00:11:22:33:44:55",
                              L"00:11:22:33:44:55>00:11:22:33:44:55",
                              L"00:11:22:33:44:55\u00a0"}) {
    SCOPED_TRACE(QCString(path).ToUtf8());
    EXPECT_EQ(Convert(path).status, 23u);
  }
}

TEST(TextOfAPostResult, IsEmptyForSuccessAndExactForTheRest) {
  const auto text = [](std::uint32_t result) { return SvcKivClass::PostFailureText(result).str(); };
  EXPECT_EQ(text(0), L"");
  EXPECT_EQ(text(3207),
            L"*** Failed to execute diag command. Connect UE before using any commands.\n");
  EXPECT_EQ(text(23), L"*** Failed to execute diag command. Check MAC path.\n");
  EXPECT_EQ(text(1), L"*** Failed to execute diag command, ret=1\n");
  EXPECT_EQ(text(22), L"*** Failed to execute diag command, ret=22\n");
  EXPECT_EQ(text(502), L"*** Failed to execute diag command, ret=502\n");
  EXPECT_EQ(text(3206), L"*** Failed to execute diag command, ret=3206\n");
  EXPECT_EQ(text(0xFFFFFFFFu), L"*** Failed to execute diag command, ret=4294967295\n");
}

}  // namespace
