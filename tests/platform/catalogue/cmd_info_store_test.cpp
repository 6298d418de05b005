// The packed list of commands: names of any length come back whole.
#include "platform/catalogue/cmd_info_store.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Characters that a block of names has room for, with a zero.
constexpr std::size_t kBlock = 65536;

}  // namespace

TEST(CmdInfoStore, NamesOfAnyLengthComeBackWhole) {
  std::vector<std::string> names = {"", "a"};
  for (const std::size_t length : {kBlock - 10, std::size_t{20}, kBlock - 1, kBlock, 3 * kBlock,
                                   std::size_t{5}, kBlock - 7, std::size_t{6}, std::size_t{1}}) {
    names.push_back(std::string(length, static_cast<char>('b' + names.size())));
  }
  CmdInfoStore store;
  for (std::uint32_t i = 0; i < names.size(); ++i) {
    ASSERT_TRUE(store.Add(i, names[i], "text of " + std::to_string(i), "group", 3));
  }
  store.Seal();
  ASSERT_EQ(store.Count(), names.size());
  for (std::uint32_t i = 0; i < names.size(); ++i) {
    EXPECT_TRUE(std::wstring(names[i].begin(), names[i].end()) == store.NameAt(i)) << i;
    EXPECT_EQ(store.DescriptionAt(i), "text of " + std::to_string(i));
  }
}

// Empty ones at the borders of blocks too.
TEST(CmdInfoStore, DescriptionsOfAnyLengthComeBackWhole) {
  std::vector<std::string> texts;
  for (const std::size_t length :
       {std::size_t{0}, kBlock - 3, std::size_t{0}, std::size_t{3}, std::size_t{0}, std::size_t{0},
        kBlock, std::size_t{0}, kBlock + 1, std::size_t{0}, std::size_t{7}, 3 * kBlock,
        std::size_t{1}, kBlock - 1, std::size_t{0}, std::size_t{2}, std::size_t{0}}) {
    texts.push_back(std::string(length, static_cast<char>('a' + texts.size())));
  }
  for (std::size_t count = 0; count <= texts.size(); ++count) {
    CmdInfoStore store;
    for (std::uint32_t i = 0; i < count; ++i) ASSERT_TRUE(store.Add(i, "name", texts[i], "", 0));
    store.Seal();
    for (std::uint32_t i = 0; i < count; ++i) ASSERT_TRUE(store.DescriptionAt(i) == texts[i]) << i;
  }
}

TEST(CmdInfoStore, GroupsAreFoundAgainWhateverStandsBetween) {
  CmdInfoStore store;
  for (std::uint32_t i = 0; i < 300; ++i) {
    ASSERT_TRUE(store.Add(i, "name", "", "group " + std::to_string(i * 7 % 100), 0));
  }
  store.Seal();
  for (std::uint32_t i = 0; i < 300; ++i) {
    EXPECT_EQ(store.GroupAt(i), "group " + std::to_string(i * 7 % 100));
  }
}

TEST(CmdInfoStore, NamesBeyondAsciiAreKeptAsWideText) {
  CmdInfoStore store;
  ASSERT_TRUE(store.Add(1, "\xc3\xa9\xe2\x82\xac", "", "", 0));
  ASSERT_TRUE(store.Add(2, "plain", "", "", 0));
  store.Seal();
  EXPECT_EQ(std::wstring(store.NameAt(0)), L"\x00e9\x20ac");
  EXPECT_EQ(std::wstring(store.NameAt(1)), L"plain");
}
