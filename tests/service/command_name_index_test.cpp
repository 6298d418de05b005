// The index of names against a plain map: the first of equal names is found, whatever the order in
// which the table grew.
#include "svckiv/command_name_index.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_map>
#include <vector>

using SvcKivSpace::CommandNameIndex;

namespace {

struct NameAt {
  const std::vector<std::wstring>& names;
  std::wstring_view operator()(std::uint32_t place) const { return names[place]; }
};

// Names of which about every third is a repetition.
std::vector<std::wstring> RandomNames(std::size_t count) {
  std::mt19937 random(20263);
  std::vector<std::wstring> names;
  for (std::size_t i = 0; i < count; ++i) {
    names.push_back(L"command_" + std::to_wstring(random() % (2 * count)));
  }
  return names;
}

void ExpectFirstPlaces(bool reserved) {
  const std::vector<std::wstring> names = RandomNames(5000);
  std::unordered_map<std::wstring, std::uint32_t> wanted;
  CommandNameIndex index;
  if (reserved) index.Reserve(names.size(), NameAt{names});
  for (std::uint32_t i = 0; i < names.size(); ++i) {
    wanted.try_emplace(names[i], i);
    index.Add(names[i], i, NameAt{names});
  }
  for (const std::wstring& name : names) {
    ASSERT_EQ(index.Find(name, NameAt{names}), wanted[name]);
  }
  for (std::uint32_t i = 0; i < 5000; ++i) {
    ASSERT_EQ(index.Find(L"other_" + std::to_wstring(i), NameAt{names}), CommandNameIndex::kNone);
  }
}

}  // namespace

TEST(CommandNameIndex, FindsTheFirstOfEqualNamesWhenItGrows) { ExpectFirstPlaces(false); }

TEST(CommandNameIndex, FindsTheFirstOfEqualNamesWhenItHasRoom) { ExpectFirstPlaces(true); }

TEST(CommandNameIndex, FindsNothingWhileItIsEmptyAndAfterItWasCleared) {
  const std::vector<std::wstring> names = {L"one", L""};
  CommandNameIndex index;
  EXPECT_EQ(index.Find(L"one", NameAt{names}), CommandNameIndex::kNone);
  index.Add(names[0], 0, NameAt{names});
  index.Add(names[1], 1, NameAt{names});
  EXPECT_EQ(index.Find(L"one", NameAt{names}), 0u);
  EXPECT_EQ(index.Find(L"", NameAt{names}), 1u);
  index.Clear();
  EXPECT_EQ(index.Find(L"one", NameAt{names}), CommandNameIndex::kNone);
}
