// Two settings objects on one file, each with its own view of it: what one adds, the other keeps.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary
using SvcKivClass::SvcKivConfigImpl;

// The second console on the file of a bench.
struct Other {
  Other() : config({switches, sender, {}}) {}
  SvcKivClass::LiveSwitches switches;
  SvcKivSpace::SvcKivMessage sender;
  SvcKivConfigImpl config;
};

std::multiset<std::wstring> IdsOnDisk(const SettingsBench& bench, const std::wstring& parent,
                                      const std::wstring& tag, const std::wstring& position) {
  std::multiset<std::wstring> ids;
  for (std::uint32_t i = 0; i < bench.CountOnDisk(parent, tag, position); ++i) {
    ids.insert(bench.OnDisk(parent + L"." + tag, L"ID", position + L"." + std::to_wstring(i)));
  }
  return ids;
}

TEST(TwoSettingsObjects, KeepEachOthersSessions) {
  SettingsBench bench(FullDocument());
  bench.Load();
  Other other;
  EXPECT_EQ(0u, other.config.SetSessionAndInstance(2, 1));
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(3, 1));
  EXPECT_EQ(0u, other.config.SetSessionAndInstance(4, 1));
  EXPECT_EQ((std::multiset<std::wstring>{L"1", L"2", L"3", L"4"}),
            IdsOnDisk(bench, L"SourceData", L"SESSION", L"0"));
}

TEST(TwoSettingsObjects, KeepEachOthersInstances) {
  SettingsBench bench(FullDocument());
  bench.Load();
  Other other;
  EXPECT_EQ(0u, other.config.SetSessionAndInstance(1, 1));
  const wchar_t* element = L"SourceData.SESSION.INSTANCE";
  EXPECT_EQ(0u, bench.Config().WriteAttribute(L"2", L"ID", element, L"0.0.1"));
  EXPECT_EQ(0u, other.config.WriteAttribute(L"3", L"ID", element, L"0.0.1"));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(0u, other.config.Save());
  EXPECT_EQ((std::multiset<std::wstring>{L"1", L"2", L"3"}),
            IdsOnDisk(bench, L"SourceData.SESSION", L"INSTANCE", L"0.0"));
}

TEST(TwoSettingsObjects, KeepTheHistoryInItsOrderOfArrival) {
  SettingsBench bench(FullDocument());
  bench.Load();
  Other other;
  other.config.SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, other.config.LoadEverything());
  const auto type = [](SvcKivConfigImpl& config, const std::wstring& name) {
    const SvcKivSpace::KivCommandRecord entry = Command(name, L"");
    EXPECT_EQ(0u, config.StoreEverything(&entry));
    EXPECT_EQ(0u, config.Save());
  };
  type(bench.Config(), L"one");
  type(other.config, L"two");
  type(other.config, L"three");
  type(bench.Config(), L"four");
  bench.Load();
  std::vector<std::wstring> names;
  for (const auto& record : bench.Lists().history) names.push_back(record.name.str());
  EXPECT_EQ((std::vector<std::wstring>{L"h0", L"h1", L"one", L"two", L"three", L"four"}), names);
}

TEST(TwoSettingsObjects, KeepOfOneValueTheLastStore) {
  SettingsBench bench(FullDocument());
  bench.Load();
  Other other;
  other.config.SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, other.config.LoadEverything());
  bench.Settings().fontSize = 71;
  other.config.Settings().fontSize = 72;
  other.config.Settings().wordWrap = 73;
  EXPECT_EQ(0u, bench.Config().WritePopular());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(0u, other.config.WritePopular());
  EXPECT_EQ(0u, other.config.Save());
  bench.Settings().hScroll = 74;
  EXPECT_EQ(0u, bench.Config().WritePopular());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"72", bench.OnDisk(L"POPULAR", L"FONT_SIZE"));
  EXPECT_EQ(L"73", bench.OnDisk(L"POPULAR", L"WORD_WRAP"));
  EXPECT_EQ(L"74", bench.OnDisk(L"POPULAR", L"HSCROLL"));
}

TEST(TwoSettingsObjects, DoNotBeatAValueWithOneThatWasNeverSet) {
  SettingsBench bench(Document("<POPULAR SHOW_DEV_ID=\"1\"/>"));
  bench.Load();
  Other other;
  other.config.SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, other.config.LoadEverything());
  SetText(bench.Settings().title, L"mine");
  bench.Settings().fontSize = 12;
  bench.Settings().autoIntellisense = 0;
  bench.Settings().wordWrap = 3;
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  other.config.Settings().wordWrap = 4;
  EXPECT_EQ(0u, other.config.StoreEverything(nullptr));
  EXPECT_EQ(0u, other.config.Save());
  EXPECT_EQ(L"mine", bench.OnDisk(L"POPULAR", L"TITLE"));
  EXPECT_EQ(L"12", bench.OnDisk(L"POPULAR", L"FONT_SIZE"));
  EXPECT_EQ(L"0", bench.OnDisk(L"AUTOINTELLISENCE", L"AUTO_INTELLISENSE"));
  EXPECT_EQ(L"4", bench.OnDisk(L"POPULAR", L"WORD_WRAP"));  // set by both: the last store
}

}  // namespace
