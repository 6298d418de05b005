// The arguments of :history, :fav, :key, :import and :export, and what completes them.
#include "hosts/terminal/memory_arguments.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using namespace kiv;
using Lines = std::vector<std::wstring>;
using Numbers = std::vector<std::size_t>;

const Lines kTyped = {L"nv_read 7", L"sys_info", L"nv_write 7,{1}", L"mem\x1b_info"};

TEST(MemoryArguments, ANumberIsMadeOfFiguresAlone) {
  EXPECT_EQ(NumberOf(L"0"), 0u);
  EXPECT_EQ(NumberOf(L"0042"), 42u);
  EXPECT_EQ(NumberOf(L"99999999999999999999999"), std::numeric_limits<std::size_t>::max());
  for (const wchar_t* text : {L"", L"-1", L"+1", L"1 ", L"0x1", L"1a"}) {
    EXPECT_EQ(NumberOf(text), std::nullopt);
  }
}

TEST(MemoryArguments, AKeyIsOneOfTenWithOrWithoutItsF) {
  EXPECT_EQ(KeyNumberOf(L"1"), 1u);
  EXPECT_EQ(KeyNumberOf(L"F10"), 10u);
  EXPECT_EQ(KeyNumberOf(L"f3"), 3u);
  for (const wchar_t* text : {L"", L"F", L"0", L"11", L"FF1", L"G1", L"F1 "}) {
    EXPECT_EQ(KeyNumberOf(text), std::nullopt);
  }
}

TEST(MemoryArguments, TheHistoryShowsAllTheNewestOrThoseWithTheWords) {
  EXPECT_EQ(HistoryChoice(kTyped, L""), (Numbers{1, 2, 3, 4}));
  EXPECT_EQ(HistoryChoice(kTyped, L"2"), (Numbers{3, 4}));
  EXPECT_EQ(HistoryChoice(kTyped, L"0"), Numbers());
  EXPECT_EQ(HistoryChoice(kTyped, L"99"), (Numbers{1, 2, 3, 4}));
  EXPECT_EQ(HistoryChoice(kTyped, L"NV_"), (Numbers{1, 3}));
  EXPECT_EQ(HistoryChoice(kTyped, L"7 \t write"), Numbers{3});
  EXPECT_EQ(HistoryChoice(kTyped, L"nothing"), Numbers());
  EXPECT_EQ(HistoryChoice({}, L"3"), Numbers());
}

TEST(MemoryArguments, NumbersOfRowsStandBelowEachOtherAndTextsAreEscaped) {
  EXPECT_EQ(NumberedRows(kTyped, {2, 4}), "2  sys_info\n4  mem\\x1b_info\n");
  const Lines many(10, L"x");
  EXPECT_EQ(NumberedRows(many, {9, 10}), " 9  x\n10  x\n");
  EXPECT_EQ(NumberedRows(many, {}), "");
}

TEST(MemoryArguments, AFavouriteIsMeantByItsNumberItsLineOrItsFirstWord) {
  const Lines kept = {L"nv_read 7", L"nv_read 8", L"sys_info", L"nv_read"};
  EXPECT_EQ(FavouritesMeant(kept, L"2"), Numbers{2});
  EXPECT_EQ(FavouritesMeant(kept, L"5"), Numbers());
  EXPECT_EQ(FavouritesMeant(kept, L"0"), Numbers());
  EXPECT_EQ(FavouritesMeant(kept, L"sys_info"), Numbers{3});
  EXPECT_EQ(FavouritesMeant(kept, L"nv_read 8"), Numbers{2});
  EXPECT_EQ(FavouritesMeant(kept, L"nv_read"), Numbers{4});
  EXPECT_EQ(FavouritesMeant({kept[0], kept[1]}, L"nv_read"), (Numbers{1, 2}));
  EXPECT_EQ(FavouritesMeant(kept, L"nv_"), Numbers());
}

TEST(MemoryArguments, GroupsStandInFrontOfAPathThatMayHaveBlanks) {
  const CarriedFile all(L"my file.xml");
  EXPECT_EQ(all.path, L"my file.xml");
  EXPECT_TRUE(all.groups.keys && all.groups.favourites && all.groups.shortcuts);
  const CarriedFile some(L"shortcuts  keys ./keys");
  EXPECT_EQ(some.path, L"./keys");
  EXPECT_TRUE(some.groups.keys && !some.groups.favourites && some.groups.shortcuts);
  EXPECT_EQ(CarriedFile(L"").path, L"");
  EXPECT_EQ(CarriedFile(L"keys").path, L"");
}

TEST(MemoryArguments, FavouritesAreCompletedByVerbThenByNumberAndFirstWord) {
  const Lines kept = {L"nv_read 7", L"nv_read 8", L"sys_info"};
  EXPECT_EQ(FavouriteChoices(kept, L""), (Lines{L"add", L"list", L"rm", L"run"}));
  EXPECT_EQ(FavouriteChoices(kept, L"r"), (Lines{L"rm", L"run"}));
  EXPECT_EQ(FavouriteChoices(kept, L"run "), (Lines{L"1", L"2", L"3", L"nv_read", L"sys_info"}));
  EXPECT_EQ(FavouriteChoices(kept, L"rm  n"), Lines{L"nv_read"});
  EXPECT_EQ(FavouriteChoices(kept, L"run nv_read "), Lines());
  EXPECT_EQ(FavouriteChoices(kept, L"list "), Lines());
}

TEST(MemoryArguments, KeysAreCompletedByNumberAndVerb) {
  EXPECT_EQ(ShortcutKeyChoices(L"1"), (Lines{L"1", L"10"}));
  EXPECT_EQ(ShortcutKeyChoices(L"r"), (Lines{L"rm", L"run"}));
  EXPECT_EQ(ShortcutKeyChoices(L"").size(), 12u);
  EXPECT_EQ(ShortcutKeyChoices(L"run "),
            (Lines{L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9", L"10"}));
  EXPECT_EQ(ShortcutKeyChoices(L"run 1 "), Lines());
  EXPECT_EQ(ShortcutKeyChoices(L"1 s"), Lines());
}

TEST(MemoryArguments, GroupsAreCompletedUpToThePath) {
  EXPECT_EQ(GroupChoices(L""), (Lines{L"keys", L"favourites", L"shortcuts"}));
  EXPECT_EQ(GroupChoices(L"keys s"), Lines{L"shortcuts"});
  EXPECT_EQ(GroupChoices(L"keys my s"), Lines());
}

}  // namespace
