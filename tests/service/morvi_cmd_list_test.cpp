#include "svckiv/morvi_cmd_list.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using SvcKivSpace::MorviCmdList;

CmdInfo Command(std::uint32_t id, const wchar_t* name) {
  return CmdInfo::Make(id, name, L"", L"", 0, 0);
}

TEST(MorviCmdList, FindsByExactName) {
  MorviCmdList list;
  list.AddHelp(L"help", L"text");
  list.AddCommand(Command(7, L"getcfg"));
  ASSERT_NE(list.Find(L"getcfg"), nullptr);
  EXPECT_EQ(list.Find(L"getcfg")->GetId(), 7u);
  EXPECT_EQ(list.Find(L"GETCFG"), nullptr);
  EXPECT_EQ(list.Find(L"getcf"), nullptr);
  EXPECT_EQ(list.Find(L"help"), nullptr);
  EXPECT_EQ(list.Find(L""), nullptr);
}

TEST(MorviCmdList, KeepsEqualNamesInOrderAndFindsTheFirst) {
  MorviCmdList list;
  list.AddCommand(Command(7, L"twice"));
  list.AddCommand(Command(8, L"twice"));
  EXPECT_EQ(list.GetCount(), 2u);
  EXPECT_EQ(list.Commands()[1].GetId(), 8u);
  EXPECT_EQ(list.Find(L"twice")->GetId(), 7u);
}

TEST(MorviCmdList, CountsItsHelpEntries) {
  MorviCmdList list;
  list.AddHelp(L"help", L"a");
  list.AddHelp(L"?", L"b");
  list.AddCommand(Command(1, L"x"));
  EXPECT_EQ(list.GetCount(), 3u);
  EXPECT_EQ(list.Help()[1].name, L"?");
  EXPECT_EQ(list.Help()[1].description, L"b");
}

TEST(MorviCmdList, FindsEachOfManyWhileItGrows) {
  MorviCmdList list;
  for (std::uint32_t i = 0; i < 5000; ++i) {
    list.AddCommand(Command(i, (L"command_" + std::to_wstring(i)).c_str()));
  }
  for (std::uint32_t i = 0; i < 5000; ++i) {
    const CmdInfo* found = list.Find(L"command_" + std::to_wstring(i));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->GetId(), i);
  }
}

TEST(MorviCmdList, IsEmptyAfterClear) {
  MorviCmdList list;
  list.AddHelp(L"help", L"a");
  list.AddCommand(Command(1, L"x"));
  list.Clear();
  EXPECT_EQ(list.GetCount(), 0u);
  EXPECT_EQ(list.Find(L"x"), nullptr);
}

}  // namespace
