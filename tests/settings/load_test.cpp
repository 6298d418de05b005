// Which session and instance hold, what a load does, and what happens without a document.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/base/bench_setup.h"
#include "tests/settings/expected_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"
#include "tests/support/unprivileged.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary
using SvcKivSpace::CSVCKIVConfig;

std::string Title(const std::string& title) { return "<POPULAR TITLE=\"" + title + "\"/>"; }

std::string Instance(const std::string& id, const std::string& title) {
  return "<INSTANCE ID=\"" + id + "\"><DEFAULT>" + Title(title) + "</DEFAULT></INSTANCE>";
}

TEST(SettingsLoad, TakesTheNamedSessionAndInstance) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\">" + Instance("1", "1/1") +
                                   Instance("2", "1/2") + "</SESSION><SESSION ID=\"7\">" +
                                   Instance("3", "7/3") + Instance("4", "7/4") + "</SESSION>"));
  for (const auto& [session, instance, title, path] :
       {std::tuple{1u, 1u, L"1/1", L"0.0.0.0"}, std::tuple{1u, 2u, L"1/2", L"0.0.1.0"},
        std::tuple{7u, 3u, L"7/3", L"0.1.0.0"}, std::tuple{7u, 4u, L"7/4", L"0.1.1.0"}}) {
    bench.Load(session, instance);
    EXPECT_STREQ(title, bench.Settings().title);
    EXPECT_EQ(path, bench.Config().SettingsInstancePath().str());
  }
}

TEST(SettingsLoad, ComparesIdsAsTexts) {
  SettingsBench bench(RootDocument(
      "<SESSION ID=\"01\">" + Instance("1", "wrong") + "</SESSION><SESSION ID=\"1\">" +
      Instance("01", "wrong") + Instance(" 1", "wrong") + Instance("1", "right") + "</SESSION>"));
  bench.Load();
  EXPECT_STREQ(L"right", bench.Settings().title);
}

TEST(SettingsLoad, SearchesOnlyTheOwnSession) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\">" + Instance("1", "mine") +
                                   "</SESSION><SESSION ID=\"2\">" + Instance("2", "other") +
                                   "</SESSION>"));
  bench.Open();
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 2));
  EXPECT_EQ(3005u, bench.Config().LoadEverything());
  EXPECT_STREQ(L"", bench.Settings().title);
}

TEST(SettingsLoad, KeepsThePreviousPlaceForAnInstanceThatIsMissing) {
  SettingsBench bench(
      RootDocument("<SESSION ID=\"1\">" + Instance("1", "a") + Instance("2", "b") + "</SESSION>"));
  bench.Load(1, 2);
  bench.Settings().title[0] = L'x';
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 3));
  EXPECT_EQ(3005u, bench.Config().LoadEverything());
  EXPECT_EQ(L"SourceData.SESSION.INSTANCE.DEFAULT.", bench.Config().SettingsPrefix().str());
  EXPECT_EQ(L"0.0.1.0", bench.Config().SettingsInstancePath().str());
  EXPECT_STREQ(L"b", bench.Settings().title);
}

TEST(SettingsLoad, NeverCreatesAnInstance) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\"/>"));
  bench.Open();
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 1));
  EXPECT_EQ(3005u, bench.Config().LoadEverything());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(0u, bench.CountOnDisk(L"SourceData.SESSION", L"INSTANCE", L"0.0"));
}

TEST(SettingsLoad, FindsTheInstanceThatAHostCreated) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\">" + Instance("4", "four") + "</SESSION>"));
  bench.Open();
  CSVCKIVConfig& config = bench.Config();
  EXPECT_EQ(0u, config.SetSessionAndInstance(1, 5));
  EXPECT_EQ(5u, config.NextInstanceId());
  EXPECT_EQ(0u, config.WriteAttribute(L"5", L"ID", L"SourceData.SESSION.INSTANCE", L"0.0.1"));
  EXPECT_EQ(0u,
            config.WriteAttribute(L"new", L"TITLE", L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR",
                                  L"0.0.1.0.0"));
  EXPECT_EQ(0u, config.LoadEverything());
  EXPECT_EQ(L"0.0.1.0", config.SettingsInstancePath().str());
  EXPECT_STREQ(L"new", bench.Settings().title);
  EXPECT_EQ(6u, config.NextInstanceId());
}

TEST(SettingsLoad, SetsAutoIntellisenseBeforeItReads) {
  SettingsBench bench(Document("<POPULAR/>"));
  bench.Load();
  EXPECT_EQ(1, bench.Settings().autoIntellisense);
  bench.Settings().autoIntellisense = 5;
  EXPECT_EQ(0u, bench.Config().LoadEverything());
  EXPECT_EQ(1, bench.Settings().autoIntellisense);
  bench.Close();
  bench.Folder().Write("kiv.xml", Document("<AUTOINTELLISENCE AUTO_INTELLISENSE=\"0\"/>"));
  bench.Load();
  EXPECT_EQ(0, bench.Settings().autoIntellisense);
}

TEST(SettingsLoad, LeavesWhatTheDocumentLacks) {
  SettingsBench bench(Document(""));
  bench.Open();
  FillGroups(bench);
  FillLists(bench);
  bench.Config().SetOneLineArrays(7);
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 1));
  EXPECT_EQ(0u, bench.Config().LoadEverything());
  bench.Settings().autoIntellisense = 301;
  bench.Tape().Take();
  EXPECT_EQ(0u, bench.Config().WritePopular());
  Calls written;
  for (const std::string& call : bench.Tape().Take()) {
    if (call.starts_with("write") && call.find(" = ") == std::string::npos) written.push_back(call);
  }
  EXPECT_EQ(WritesOf(kPopularWrites), written);
  EXPECT_EQ(0u, bench.Lists().history.GetCount());
  EXPECT_EQ(L"short9", bench.Lists().shortcuts[9].name.str());
  EXPECT_EQ(L"CTRL+R", bench.Keys().listRecentCmd.name.str());
}

TEST(SettingsLoad, BeginsWithEverythingZero) {
  SettingsBench bench(FullDocument());
  bench.Open();
  EXPECT_EQ(0, bench.Settings().autoIntellisense);
  EXPECT_EQ(0u, bench.Settings().postCmdTimeoutMs);
  EXPECT_STREQ(L"", bench.Settings().title);
  EXPECT_EQ(0, bench.Keys().sendCmd.value);
  EXPECT_EQ(0u, bench.Lists().history.GetCount());
  EXPECT_EQ(L"", bench.Config().SettingsPrefix().str());
  EXPECT_EQ(Calls{}, bench.Tape().Take());
}

TEST(SettingsLoad, KeepsTheReferencesOfTheHost) {
  SettingsBench bench(FullDocument());
  bench.Open();
  const auto* settings = &bench.Settings();
  const auto* lists = &bench.Lists();
  const auto* keys = &bench.Keys();
  bench.Config().SetSessionAndInstance(1, 1);
  bench.Config().LoadEverything();
  EXPECT_EQ(settings, &bench.Settings());
  EXPECT_EQ(lists, &bench.Lists());
  EXPECT_EQ(keys, &bench.Keys());
  EXPECT_STREQ(L"A title", settings->title);
}

TEST(NextInstanceId, IsOneMoreThanTheLargest) {
  const std::vector<std::pair<std::string, std::uint32_t>> rows = {
      {"", 1u},
      {"<INSTANCE ID=\"1\"/>", 2u},
      {"<INSTANCE ID=\"9\"/><INSTANCE ID=\"3\"/>", 10u},
      {"<INSTANCE ID=\"3\"/><INSTANCE/><INSTANCE ID=\"x\"/>", 4u},
      {"<INSTANCE ID=\" 12 apples\"/>", 13u},
      {"<INSTANCE ID=\"3000000000\"/>", 3000000001u},
      {"<INSTANCE ID=\"0\"/>", 1u},
  };
  for (const auto& [instances, next] : rows) {
    SettingsBench bench(
        RootDocument("<SESSION ID=\"2\"><INSTANCE ID=\"99\"/></SESSION>"
                     "<SESSION ID=\"1\">" +
                     instances + "</SESSION>"));
    bench.Open();
    bench.Config().SetSessionAndInstance(1, 1);
    EXPECT_EQ(next, bench.Config().NextInstanceId()) << instances;
  }
}

// One row for each operation that answers a code.
const std::vector<std::pair<const char*, std::function<std::uint32_t(CSVCKIVConfig&)>>>
    kOperations = {
        {"SetSessionAndInstance", [](CSVCKIVConfig& c) { return c.SetSessionAndInstance(1, 1); }},
        {"SelectSession", &CSVCKIVConfig::SelectSession},
        {"StoreEverything",
         [](CSVCKIVConfig& c) {
           const SvcKivSpace::KivCommandRecord entry = Command(L"n", L"");
           return c.StoreEverything(&entry);
         }},
        {"Export", [](CSVCKIVConfig& c) { return c.Export(L"/nonexistent/x", true, true, true); }},
        {"Save", &CSVCKIVConfig::Save},
        {"LoadEverything", &CSVCKIVConfig::LoadEverything},
        {"ReadHistory", &CSVCKIVConfig::ReadHistory},
        {"ReadFavourites", &CSVCKIVConfig::ReadFavourites},
        {"WriteHistory", &CSVCKIVConfig::WriteHistory},
        {"WriteFavourites", &CSVCKIVConfig::WriteFavourites},
        {"ReadShortcuts", &CSVCKIVConfig::ReadShortcuts},
        {"ReadSupportedInds", &CSVCKIVConfig::ReadSupportedInds},
        {"WriteShortcuts", &CSVCKIVConfig::WriteShortcuts},
        {"WriteSupportedInds", &CSVCKIVConfig::WriteSupportedInds},
        {"ReadPopular", &CSVCKIVConfig::ReadPopular},
        {"ReadColours", &CSVCKIVConfig::ReadColours},
        {"ReadSave", &CSVCKIVConfig::ReadSave},
        {"ReadKeyboard", &CSVCKIVConfig::ReadKeyboard},
        {"ReadAutoIntellisense", &CSVCKIVConfig::ReadAutoIntellisense},
        {"ReadClearScreen", &CSVCKIVConfig::ReadClearScreen},
        {"WritePopular", &CSVCKIVConfig::WritePopular},
        {"WriteColours", &CSVCKIVConfig::WriteColours},
        {"WriteSave", &CSVCKIVConfig::WriteSave},
        {"WriteKeyboard", &CSVCKIVConfig::WriteKeyboard},
        {"WriteAutoIntellisense", &CSVCKIVConfig::WriteAutoIntellisense},
        {"WriteClearScreen", &CSVCKIVConfig::WriteClearScreen},
        {"WriteAttribute",
         [](CSVCKIVConfig& c) { return c.WriteAttribute(L"v", L"A", L"SourceData", L"0"); }},
        {"ReadAttribute",
         [](CSVCKIVConfig& c) {
           QCString value(L"kept");
           const std::uint32_t code = c.ReadAttribute(value, L"A", L"SourceData", L"0");
           EXPECT_EQ(L"kept", value.str());
           return code;
         }},
};

// A folder in the file's place is there and cannot be read, whoever asks.
TEST(SettingsWithoutADocument, AnswerTwoAndTouchNothing) {
  SettingsBench bench;
  std::filesystem::create_directory(bench.Folder().File("kiv.xml"));
  bench.Open();
  FillGroups(bench);
  FillLists(bench);
  bench.Config().SetOneLineArrays(77);
  for (const auto& [name, run] : kOperations) EXPECT_EQ(2u, run(bench.Config())) << name;
  EXPECT_EQ(1u, bench.Config().NextInstanceId());
  EXPECT_EQ(0u, bench.Config().NvLoadFileMaxSizeBytes());
  EXPECT_STREQ(L"Title of mine", bench.Settings().title);
  EXPECT_EQ(301, bench.Settings().autoIntellisense);
  EXPECT_EQ(77, bench.Config().OneLineArrays());
  EXPECT_EQ(2u, bench.Lists().history.GetCount());
  bench.Close();
  EXPECT_EQ(std::vector<std::string>{"kiv.xml"}, bench.Folder().Names());
}

TEST(SettingsWithoutADocument, SaveNothingOverAFileThatMayNotBeRead) {
  const TempDir folder;
  folder.Write("kiv.xml", FullDocument());
  chmod(folder.path().c_str(), 0777);
  chmod(folder.File("kiv.xml").c_str(), 0200);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&folder] {
    bench::Setup setup;
    setup.configDir = QCString(folder.WidePath());
    setup.dataDir = QCString(folder.WideFile("data"));
    bench::SetSetup(setup);
    SvcKivClass::LiveSwitches switches;
    SvcKivSpace::SvcKivMessage sender;
    bool holds = true;
    {
      SvcKivClass::SvcKivConfigImpl config({switches, sender});
      for (const auto& row : kOperations) holds = holds && row.second(config) == 2;
    }
    return holds;
  }));
  EXPECT_EQ(std::vector<std::string>{"kiv.xml"}, folder.Names());
  EXPECT_EQ(FullDocument(), folder.Read("kiv.xml"));
}

}  // namespace
