// Two settings objects on one file, each with its own view of it: what one adds, the other keeps.
#include <gtest/gtest.h>

#include <cwchar>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

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

// Spelt as no console would: what one reads and stores back is no change of it.
TEST(TwoSettingsObjects, DoNotBeatAValueWithTheOneThatCompletesADocument) {
  SettingsBench bench(
      "<SourceData><SESSION ID=\"1\"><INSTANCE "
      "ID=\"1\"><DEFAULT/></INSTANCE></SESSION></SourceData>");
  bench.Load();
  Other other;
  other.config.SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, other.config.CompleteSettings());
  std::wcscpy(other.config.Memory().settings.title, L"mine");
  other.config.Memory().settings.fontSize = 44;
  EXPECT_EQ(0u, other.config.StoreEverything(nullptr));
  EXPECT_EQ(0u, other.config.Save());
  EXPECT_EQ(0u, bench.Config().CompleteSettings());
  const wchar_t* popular = L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR";
  EXPECT_EQ(L"mine", bench.OnDisk(popular, L"TITLE", L"0.0.0.0.0"));
  EXPECT_EQ(L"44", bench.OnDisk(popular, L"FONT_SIZE", L"0.0.0.0.0"));
}

TEST(TwoSettingsObjects, DoNotBeatAValueWithAnotherSpellingOfTheOldOne) {
  SettingsBench bench(Document(
      "<POPULAR FONT_SIZE=\"010\" PROMPT=\"&gt;&gt;\" TITLE=\"" + std::string(300, 't') +
      "\" WORD_WRAP=\"+1 x\" FONT_NAME=\"{U+0041}\"/><DEBUG_INFO POSTCMD_TIMEOUT=\"99999999999\"/>"
      "<KEYBOARD><CANCEL NAME=\"ESC\" VALUE=\" 7\"/></KEYBOARD>"
      "<SAVE SAVE_PATH=\"logs/mine.log\" AUTO_SAVE=\"\"/>"));
  bench.Load();
  Other other;
  other.config.SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, other.config.LoadEverything());
  SetText(bench.Settings().title, L"mine");
  SetText(bench.Settings().fontName, L"mine");
  SetText(bench.Settings().savePath, L"/mine");
  bench.Settings().prompt = L'$';
  bench.Settings().fontSize = 11;
  bench.Settings().wordWrap = 12;
  bench.Settings().postCmdTimeoutMs = 13;
  bench.Settings().autoSave = 14;
  bench.Keys().cancel.value = 15;
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  other.config.Settings().hScroll = 16;
  EXPECT_EQ(0u, other.config.StoreEverything(nullptr));
  EXPECT_EQ(0u, other.config.Save());
  EXPECT_EQ(L"mine", bench.OnDisk(L"POPULAR", L"TITLE"));
  EXPECT_EQ(L"mine", bench.OnDisk(L"POPULAR", L"FONT_NAME"));
  EXPECT_EQ(L"/mine", bench.OnDisk(L"SAVE", L"SAVE_PATH"));
  EXPECT_EQ(L"$", bench.OnDisk(L"POPULAR", L"PROMPT"));
  EXPECT_EQ(L"11", bench.OnDisk(L"POPULAR", L"FONT_SIZE"));
  EXPECT_EQ(L"12", bench.OnDisk(L"POPULAR", L"WORD_WRAP"));
  EXPECT_EQ(L"13", bench.OnDisk(L"DEBUG_INFO", L"POSTCMD_TIMEOUT"));
  EXPECT_EQ(L"14", bench.OnDisk(L"SAVE", L"AUTO_SAVE"));
  EXPECT_EQ(L"15", bench.OnDisk(L"KEYBOARD.CANCEL", L"VALUE"));
  EXPECT_EQ(L"16", bench.OnDisk(L"POPULAR", L"HSCROLL"));
}

// A host that keeps the whole save path, as consoles do, stores it relative again.
TEST(TwoSettingsObjects, DoNotBeatASavePathWithTheOldOneMadeWhole) {
  SettingsBench bench(Document("<SAVE SAVE_PATH=\"logs/old.txt\"/>"));
  bench.Load();
  Other other;
  other.config.SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, other.config.LoadEverything());
  SetText(other.config.Settings().savePath, bench.DataPath() + L"/logs/old.txt");
  SetText(bench.Settings().savePath, L"/mine");
  EXPECT_EQ(0u, bench.Config().WriteSave());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(0u, other.config.WriteSave());
  EXPECT_EQ(0u, other.config.Save());
  EXPECT_EQ(L"/mine", bench.OnDisk(L"SAVE", L"SAVE_PATH"));
}

std::vector<std::wstring> NamesOnDisk(const SettingsBench& bench, const std::wstring& container) {
  std::vector<std::wstring> names;
  for (std::uint32_t i = 0; i < bench.CountOnDisk(container, L"CMD", L"0.0.0.0.0"); ++i) {
    names.push_back(bench.OnDisk(container + L".CMD", L"NAME", L"0.0.0.0.0." + std::to_wstring(i)));
  }
  return names;
}

// Lists that no console would write: unknown attributes, other spellings, entries that none takes.
TEST(TwoSettingsObjects, DoNotBeatAListWithAnotherSpellingOfTheOldOne) {
  const std::string list =
      "<CMD NAME=\"old\" PARA=\"a&lt;b\" MINE=\"1\"/><!-- mine --><OTHER/><CMD "
      "NAME=\"" +
      std::string(81, 'n') + "\" PARA=\"x\"/>";
  SettingsBench bench(Document("<HISTORY_CMD>" + list + "</HISTORY_CMD><FAVORATE_CMD>" + list +
                               "</FAVORATE_CMD><SHORTCUTKEY_CMD>" + list +
                               "</SHORTCUTKEY_CMD><SUPPORT_IND>"
                               "<CMD NAME=\"i\" ID=\"007\"/><CMD NAME=\"no id\"/></SUPPORT_IND>"));
  bench.Load();
  Other other;
  other.config.SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, other.config.LoadEverything());
  const SvcKivSpace::KivCommandRecord mine = Command(L"mine", L"");
  bench.Lists().favourites.AddTail(mine);
  bench.Lists().shortcuts[3] = mine;
  bench.Lists().supportedInds.AddTail(Ind(8, L"mine"));
  EXPECT_EQ(0u, bench.Config().StoreEverything(&mine));
  EXPECT_EQ(0u, bench.Config().Save());
  const SvcKivSpace::KivCommandRecord theirs = Command(L"theirs", L"");
  EXPECT_EQ(0u, other.config.StoreEverything(&theirs));
  EXPECT_EQ(0u, other.config.Save());
  using Names = std::vector<std::wstring>;
  EXPECT_EQ((Names{L"old", L"mine", L"theirs"}), NamesOnDisk(bench, L"HISTORY_CMD"));
  EXPECT_EQ((Names{L"old", L"mine"}), NamesOnDisk(bench, L"FAVORATE_CMD"));
  EXPECT_EQ((Names{L"old", L"", L"", L"mine", L"", L"", L"", L"", L"", L""}),
            NamesOnDisk(bench, L"SHORTCUTKEY_CMD"));
  EXPECT_EQ((Names{L"i", L"mine"}), NamesOnDisk(bench, L"SUPPORT_IND"));
  // What the other did change is its change.
  other.config.Lists().favourites.AddTail(theirs);
  EXPECT_EQ(0u, other.config.StoreEverything(nullptr));
  EXPECT_EQ(0u, other.config.Save());
  EXPECT_EQ((Names{L"old", L"theirs"}), NamesOnDisk(bench, L"FAVORATE_CMD"));
}

// Two that start at once cut the same old entries off, also where new ones equal them.
TEST(TwoSettingsObjects, TrimTheHistoryOnce) {
  std::string entries;
  for (int i = 0; i < 150; ++i) entries += Cmd("same", "");
  SettingsBench bench(Document("<HISTORY_CMD>" + entries + "</HISTORY_CMD>"));
  bench.Open();
  Other other;
  for (SvcKivConfigImpl* config : {&bench.Config(), &other.config}) {
    config->SetSessionAndInstance(1, 1);
    EXPECT_EQ(0u, config->LoadEverything());
  }
  EXPECT_EQ(100u, bench.CountOnDisk(L"HISTORY_CMD", L"CMD", L"0.0.0.0.0"));
}

TEST(TwoSettingsObjects, GetBackWhatADeletedFileHad) {
  for (const bool otherSavesFirst : {false, true}) {
    SettingsBench bench(FullDocument());
    bench.Load();
    Other other;
    other.config.SetSessionAndInstance(1, 1);
    EXPECT_EQ(0u, other.config.LoadEverything());
    const SvcKivSpace::KivCommandRecord mine = Command(L"mine", L"");
    SetText(bench.Settings().title, L"mine");
    bench.Lists().favourites.AddTail(mine);
    EXPECT_EQ(0u, bench.Config().StoreEverything(&mine));
    EXPECT_EQ(0u, bench.Config().Save());
    for (const std::string& name : bench.Folder().Names()) {
      if (name.starts_with("kiv.xml")) std::filesystem::remove(bench.Folder().File(name));
    }
    other.config.Settings().fontSize = 77;
    if (otherSavesFirst) {
      EXPECT_EQ(0u, other.config.StoreEverything(nullptr));
      EXPECT_EQ(0u, other.config.Save());
    }
    EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
    EXPECT_EQ(0u, bench.Config().Save());
    EXPECT_EQ(L"mine", bench.OnDisk(L"POPULAR", L"TITLE"));
    EXPECT_EQ(otherSavesFirst ? L"77" : L"33", bench.OnDisk(L"POPULAR", L"FONT_SIZE"));
    EXPECT_EQ((std::vector<std::wstring>{L"h0", L"h1", L"mine"}),
              NamesOnDisk(bench, L"HISTORY_CMD"));
    EXPECT_EQ((std::vector<std::wstring>{L"f0", L"mine"}), NamesOnDisk(bench, L"FAVORATE_CMD"));
  }
}

}  // namespace
