// The order of reads and writes: hosts and scripts that watch the document compare it.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "tests/settings/expected_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary
using SvcKivSpace::CSVCKIVConfig;

const Calls kShortcutWrites = ListWrites("SHORTCUTKEY_CMD", {{"short0", "p"},
                                                             {"short1", "p"},
                                                             {"short2", "p"},
                                                             {"short3", "p"},
                                                             {"", ""},
                                                             {"short5", "p"},
                                                             {"short6", "p"},
                                                             {"short7", "p"},
                                                             {"short8", "p"},
                                                             {"short9", "p"}});

Calls ShortcutReads(int present, const std::string& instance = "0.0.0") {
  Calls calls = EntryReads("SHORTCUTKEY_CMD", 10, "PARA", instance);
  for (std::size_t i = static_cast<std::size_t>(present) * 2; i < calls.size(); ++i) {
    calls[i] += " = 3004";
  }
  return calls;
}

// Everything that a load reads of FullDocument(), when its instance stands at these positions.
Calls LoadReads(const std::string& instance = "0.0.0") {
  return Join({CountedReads("HISTORY_CMD", 2, "PARA", instance),
               CountedReads("FAVORATE_CMD", 1, "PARA", instance),
               ReadsOf(kPopularReads, instance),
               ReadsOf(kColours, instance),
               SaveReads(instance),
               {ReadOf({"AUTOINTELLISENCE", "AUTO_INTELLISENSE"}, instance),
                ReadOf({"CLEARSCREEN", "CLEAR_SCREEN"}, instance)},
               ReadsOf(kKeyboard, instance),
               ShortcutReads(3, instance),
               CountedReads("SUPPORT_IND", 2, "ID", instance)});
}

Calls StoreWrites(const Calls& history) {
  return Join({history,
               ListWrites("FAVORATE_CMD", {{"sys_info", ""}}),
               WritesOf(kPopularWrites),
               WritesOf(kColours),
               WritesOf(kSaveWrites),
               WritesOf(kKeyboard),
               {WriteOf({"AUTOINTELLISENCE", "AUTO_INTELLISENSE"}, "301"),
                WriteOf({"CLEARSCREEN", "CLEAR_SCREEN"}, "-302")},
               kShortcutWrites,
               ListWrites("SUPPORT_IND", {{"TICK", "7"}, {"TOCK", "-8"}}, "ID")});
}

const Calls kHistoryWrites = ListWrites("HISTORY_CMD", {{"ping", "1,2"}, {"echo_all", "{3}"}});

// One operation of the interface and the calls that it makes on the document.
struct Order {
  const char* name;
  std::function<std::uint32_t(CSVCKIVConfig&)> run;
  Calls calls;
};

std::vector<Order> Orders() {
  return {
      {"ReadHistory", &CSVCKIVConfig::ReadHistory, CountedReads("HISTORY_CMD", 2)},
      {"ReadFavourites", &CSVCKIVConfig::ReadFavourites, CountedReads("FAVORATE_CMD", 1)},
      {"WriteHistory", &CSVCKIVConfig::WriteHistory, kHistoryWrites},
      {"WriteFavourites", &CSVCKIVConfig::WriteFavourites,
       ListWrites("FAVORATE_CMD", {{"sys_info", ""}})},
      {"ReadShortcuts", &CSVCKIVConfig::ReadShortcuts, ShortcutReads(3)},
      {"ReadSupportedInds", &CSVCKIVConfig::ReadSupportedInds,
       CountedReads("SUPPORT_IND", 2, "ID")},
      {"WriteShortcuts", &CSVCKIVConfig::WriteShortcuts, kShortcutWrites},
      {"WriteSupportedInds", &CSVCKIVConfig::WriteSupportedInds,
       ListWrites("SUPPORT_IND", {{"TICK", "7"}, {"TOCK", "-8"}}, "ID")},
      {"ReadPopular", &CSVCKIVConfig::ReadPopular, ReadsOf(kPopularReads)},
      {"ReadColours", &CSVCKIVConfig::ReadColours, ReadsOf(kColours)},
      {"ReadSave", &CSVCKIVConfig::ReadSave, SaveReads()},
      {"ReadKeyboard", &CSVCKIVConfig::ReadKeyboard, ReadsOf(kKeyboard)},
      {"ReadAutoIntellisense",
       &CSVCKIVConfig::ReadAutoIntellisense,
       {ReadOf({"AUTOINTELLISENCE", "AUTO_INTELLISENSE"})}},
      {"ReadClearScreen",
       &CSVCKIVConfig::ReadClearScreen,
       {ReadOf({"CLEARSCREEN", "CLEAR_SCREEN"})}},
      {"WritePopular", &CSVCKIVConfig::WritePopular, WritesOf(kPopularWrites)},
      {"WriteColours", &CSVCKIVConfig::WriteColours, WritesOf(kColours)},
      {"WriteSave", &CSVCKIVConfig::WriteSave, WritesOf(kSaveWrites)},
      {"WriteKeyboard", &CSVCKIVConfig::WriteKeyboard, WritesOf(kKeyboard)},
      {"WriteAutoIntellisense",
       &CSVCKIVConfig::WriteAutoIntellisense,
       {WriteOf({"AUTOINTELLISENCE", "AUTO_INTELLISENSE"}, "301")}},
      {"WriteClearScreen",
       &CSVCKIVConfig::WriteClearScreen,
       {WriteOf({"CLEARSCREEN", "CLEAR_SCREEN"}, "-302")}},
      {"StoreEverything", [](CSVCKIVConfig& config) { return config.StoreEverything(nullptr); },
       StoreWrites(kHistoryWrites)},
      {"Save", &CSVCKIVConfig::Save, {"save 1"}},
      {"SelectSession", &CSVCKIVConfig::SelectSession, {"find ID=1 of SourceData.SESSION from 0"}},
      {"SetSessionAndInstance",
       [](CSVCKIVConfig& config) { return config.SetSessionAndInstance(1, 1); },
       {"find ID=1 of SourceData.SESSION from 0"}},
      {"LoadEverything", &CSVCKIVConfig::LoadEverything,
       Join({{"find ID=1 of SourceData.SESSION.INSTANCE from 0.0.0"}, LoadReads()})},
      {"ReadAttribute",
       [](CSVCKIVConfig& config) {
         QCString value;
         return config.ReadAttribute(value, L"TITLE",
                                     L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR", L"0.0.0.0.0");
       },
       {ReadOf({"POPULAR", "TITLE"})}},
      {"WriteAttribute",
       [](CSVCKIVConfig& config) {
         return config.WriteAttribute(L"v", L"TITLE",
                                      L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR", L"0.0.0.0.0");
       },
       {WriteOf({"POPULAR", "TITLE"}, "v")}},
  };
}

TEST(SettingsOrder, OfEachOperationIsKept) {
  for (const Order& order : Orders()) {
    SettingsBench bench(FullDocument());
    bench.Load();
    FillGroups(bench);
    FillLists(bench);
    EXPECT_EQ(0u, order.run(bench.Config())) << order.name;
    EXPECT_EQ(order.calls, bench.Tape().Take()) << order.name;
  }
}

TEST(SettingsOrder, IsTheSameInAnotherInstance) {
  SettingsBench bench(RootDocument(
      "<SESSION ID=\"9\"/><SESSION ID=\"1\"><INSTANCE ID=\"5\"/><INSTANCE ID=\"1\"><DEFAULT>" +
      FullGroups() + "</DEFAULT></INSTANCE></SESSION>"));
  bench.Open();
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 1));
  EXPECT_EQ(0u, bench.Config().LoadEverything());
  EXPECT_EQ(Join({{"find ID=1 of SourceData.SESSION from 0",
                   "find ID=1 of SourceData.SESSION.INSTANCE from 0.1.0"},
                  LoadReads("0.1.1")}),
            bench.Tape().Take());
  EXPECT_EQ(L"SourceData.SESSION.INSTANCE.DEFAULT.", bench.Config().SettingsPrefix().str());
  EXPECT_EQ(L"0.1.1.0", bench.Config().SettingsInstancePath().str());
  EXPECT_EQ(0u, bench.Config().ReadColours());
  EXPECT_EQ(ReadsOf(kColours, "0.1.1"), bench.Tape().Take());
}

TEST(SettingsOrder, StoresTheNewEntryBehindTheHistory) {
  SettingsBench bench(FullDocument());
  bench.Load();
  FillGroups(bench);
  FillLists(bench);
  const SvcKivSpace::KivCommandRecord entry = Command(L"new", L"x");
  EXPECT_EQ(0u, bench.Config().StoreEverything(&entry));
  EXPECT_EQ(
      StoreWrites(ListWrites("HISTORY_CMD", {{"ping", "1,2"}, {"echo_all", "{3}"}, {"new", "x"}})),
      bench.Tape().Take());
}

TEST(SettingsOrder, OfANewSessionAddsItAndSavesAtOnce) {
  SettingsBench bench(RootDocument("<SESSION ID=\"4\"/><SESSION ID=\"5\"/>"));
  bench.Open();
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(4294967295u, 1));
  EXPECT_EQ((Calls{"find ID=4294967295 of SourceData.SESSION from 0 = 3005",
                   "add SESSION under SourceData 0", "count SESSION under SourceData 0",
                   "write ID=4294967295 of SourceData.SESSION 0.2", "save 1"}),
            bench.Tape().Take());
  EXPECT_EQ(L"4294967295", bench.OnDisk(L"SourceData.SESSION", L"ID", L"0.2"));
}

TEST(SettingsOrder, OfAMissingInstanceStillRunsAllTenReaders) {
  SettingsBench bench(FullDocument());
  bench.Open();
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 8));
  bench.Tape().Take();
  EXPECT_EQ(3005u, bench.Config().LoadEverything());
  const Calls calls = bench.Tape().Take();
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ("find ID=8 of SourceData.SESSION.INSTANCE from 0.0.0 = 3005", calls.front());
  // 1 search; 2 counts; 22, 9 and 4 values; 2 single ones; 14 of the keyboard; 20; 1 count.
  EXPECT_EQ(75u, calls.size());
  for (const std::string& call : calls) EXPECT_NE(std::string::npos, call.find(" = 300")) << call;
  EXPECT_EQ(L"", bench.Config().SettingsPrefix().str());
  EXPECT_EQ(L"", bench.Config().SettingsInstancePath().str());
}

TEST(SettingsOrder, EndsWithASave) {
  SettingsBench bench(FullDocument());
  bench.Load();
  bench.Close();
  EXPECT_EQ(Calls{"save 1"}, bench.Tape().Take());
}

// Missing groups are added by the single-attribute writer, ancestors included.
TEST(SettingsOrder, OfAMissingNodeAddsItAndWritesOnceMore) {
  SettingsBench bench(Document(""));
  bench.Load();
  FillGroups(bench);
  EXPECT_EQ(0u, bench.Config().WriteClearScreen());
  EXPECT_EQ((Calls{"write CLEAR_SCREEN=-302 of ~CLEARSCREEN 0.0.0.0.0 = 3004",
                   "add CLEARSCREEN under SourceData.SESSION.INSTANCE.DEFAULT 0.0.0.0 with "
                   "ancestors",
                   "write CLEAR_SCREEN=-302 of ~CLEARSCREEN 0.0.0.0.0"}),
            bench.Tape().Take());
  bench.Config().WriteKeyboard();
  const Calls calls = bench.Tape().Take();
  ASSERT_GE(calls.size(), 4u);
  EXPECT_EQ((Calls{"write NAME=F2 of ~KEYBOARD.REPEAT_CMD 0.0.0.0.0.0 = 3004",
                   "add REPEAT_CMD under ~KEYBOARD 0.0.0.0.0 with ancestors",
                   "write NAME=F2 of ~KEYBOARD.REPEAT_CMD 0.0.0.0.0.0",
                   "write VALUE=16777265 of ~KEYBOARD.REPEAT_CMD 0.0.0.0.0.0"}),
            Calls(calls.begin(), calls.begin() + 4));
}

TEST(SettingsOrder, WritesOnceMoreOnlyForAMissingNode) {
  SettingsBench bench(FullDocument());
  bench.Load();
  for (const std::uint32_t code : {1u, 3005u, 3018u}) {
    bench.Tape().FailNth(1, code);
    EXPECT_EQ(code, bench.Config().WriteAttribute(
                        L"41", L"CLEAR_SCREEN", L"SourceData.SESSION.INSTANCE.DEFAULT.CLEARSCREEN",
                        L"0.0.0.0.0"));
    const std::string call = "write CLEAR_SCREEN=41 of ~CLEARSCREEN 0.0.0.0.0 = ";
    EXPECT_EQ(Calls{call + std::to_string(code)}, bench.Tape().Take());
    // A group goes on with its other attributes and answers 0.
    bench.Tape().FailNth(1, code);
    EXPECT_EQ(0u, bench.Config().WriteClearScreen());
    EXPECT_EQ(Calls{call + std::to_string(code)}, bench.Tape().Take());
  }
}

TEST(SettingsInterface, KeepsItsFunctionTable) {
  // Hosts built against an older header call by these places: the destructor fills two.
  const auto place = [](auto member) {
    std::uintptr_t words[sizeof(member) / sizeof(std::uintptr_t)];
    std::memcpy(words, &member, sizeof(member));
    return (words[0] & ~std::uintptr_t{1}) / sizeof(void*);
  };
  using C = CSVCKIVConfig;
  const std::vector<std::uintptr_t> places = {place(&C::SetSessionAndInstance),
                                              place(&C::NextInstanceId),
                                              place(&C::SelectSession),
                                              place(&C::Import),
                                              place(&C::Export),
                                              place(&C::StoreEverything),
                                              place(&C::Save),
                                              place(&C::LoadEverything),
                                              place(&C::ReadHistory),
                                              place(&C::ReadFavourites),
                                              place(&C::WriteHistory),
                                              place(&C::WriteFavourites),
                                              place(&C::ReadShortcuts),
                                              place(&C::ReadSupportedInds),
                                              place(&C::WriteShortcuts),
                                              place(&C::WriteSupportedInds),
                                              place(&C::ReadPopular),
                                              place(&C::ReadColours),
                                              place(&C::ReadSave),
                                              place(&C::ReadKeyboard),
                                              place(&C::ReadAutoIntellisense),
                                              place(&C::ReadClearScreen),
                                              place(&C::WritePopular),
                                              place(&C::WriteColours),
                                              place(&C::WriteSave),
                                              place(&C::WriteKeyboard),
                                              place(&C::WriteAutoIntellisense),
                                              place(&C::WriteClearScreen),
                                              place(&C::WriteAttribute),
                                              place(&C::ReadAttribute)};
  std::vector<std::uintptr_t> expected;
  for (std::uintptr_t i = 2; i < 32; ++i) expected.push_back(i);
  EXPECT_EQ(expected, places);
}

}  // namespace
