// The settings object in the application: made and loaded by Start, saved and gone with Stop.
#include <gtest/gtest.h>

#include <string>

#include "tests/fakes/module_bench.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary

ModuleBench::Options Unstarted() {
  ModuleBench::Options options;
  options.start = false;
  return options;
}

void WriteSettings(const ModuleBench& bench, const std::string& document) {
  std::ofstream(bench.Setup().Path("kiv.xml"), std::ios::binary) << document;
}

std::string ReadSettings(const ModuleBench& bench) {
  std::ifstream file(bench.Setup().Path("kiv.xml"), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(StartOfTheModule, LoadsTheFirstInstanceOfTheFirstSession) {
  ModuleBench bench(Unstarted());
  WriteSettings(bench, RootDocument("<SESSION ID=\"2\"/><SESSION ID=\"1\"><INSTANCE ID=\"2\"/>"
                                    "<INSTANCE ID=\"1\"><DEFAULT>" +
                                    FullGroups() + "</DEFAULT></INSTANCE></SESSION>"));
  SvcKivSpace::CSVCKIVConfig* config = bench.App().Start();
  ASSERT_NE(nullptr, config);
  EXPECT_EQ(L"0.1.1.0", config->SettingsInstancePath().str());
  EXPECT_STREQ(L"A title", config->Settings().title);
  EXPECT_EQ(35, bench.App().GetSwitches().oneLineArrays.load());
  EXPECT_EQ(36, bench.App().GetSwitches().showType.load());
  EXPECT_EQ(38, bench.App().GetSwitches().indicationsEnabled.load());
  EXPECT_EQ(config, bench.App().Start());
}

TEST(StartOfTheModule, LetsTheHostSelectAnotherInstance) {
  ModuleBench bench(Unstarted());
  WriteSettings(bench, RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"1\"/></SESSION><SESSION "
                                    "ID=\"5\"><INSTANCE ID=\"6\"><DEFAULT>" +
                                    FullGroups() + "</DEFAULT></INSTANCE></SESSION>"));
  SvcKivSpace::CSVCKIVConfig* config = bench.App().Start();
  ASSERT_NE(nullptr, config);
  EXPECT_EQ(0u, config->SetSessionAndInstance(5, 6));
  EXPECT_EQ(0u, config->LoadEverything());
  EXPECT_STREQ(L"A title", config->Settings().title);
}

TEST(StopOfTheModule, SavesTheDocument) {
  ModuleBench bench(Unstarted());
  WriteSettings(bench, FullDocument());
  SvcKivSpace::CSVCKIVConfig* config = bench.App().Start();
  ASSERT_NE(nullptr, config);
  SetText(config->Settings().title, L"changed");
  EXPECT_EQ(0u, config->WritePopular());
  EXPECT_EQ(FullDocument(), ReadSettings(bench));
  bench.App().Stop();
  EXPECT_NE(std::string::npos, ReadSettings(bench).find("TITLE=\"changed\""));
  EXPECT_EQ(0, bench.App().GetSwitches().oneLineArrays.load());
}

TEST(StopOfTheModule, IsFollowedByAFreshStart) {
  ModuleBench bench(Unstarted());
  WriteSettings(bench, FullDocument());
  SvcKivSpace::KivCommandRecord entry = Command(L"typed", L"1");
  for (int i = 0; i < 3; ++i) {
    SvcKivSpace::CSVCKIVConfig* config = bench.App().Start();
    ASSERT_NE(nullptr, config);
    EXPECT_EQ(static_cast<std::size_t>(2 + i), config->Lists().history.GetCount());
    EXPECT_EQ(0u, config->StoreEverything(&entry));
    bench.App().Stop();
  }
}

}  // namespace
