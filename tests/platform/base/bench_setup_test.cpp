#include "platform/base/bench_setup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

#include "platform/base/ini_values.h"
#include "platform/os/paths.h"
#include "tests/platform/base/fresh_setup.h"
#include "tests/support/scoped_env.h"
#include "tests/support/tree_paths.h"
#include "tests/support/unprivileged.h"

namespace {

using Number = std::optional<std::uint32_t>;

class BenchSetup : public kivtest::FreshSetup {
 protected:
  // What holds when the host asks for nothing and the sources are looked at again.
  const bench::Resolved& Again() {
    bench::SetSetup({});
    return bench::GetSetup();
  }
  std::wstring Home(std::string_view name) { return home_.WideFile(name); }
};

TEST_F(BenchSetup, NamesAVariableThatIsNotUtf8) {
  EXPECT_EQ("", bench::SourceNotUtf8());
  const auto expect = [](const char* variable, const bench::Setup& instead) {
    const kivtest::ScopedEnv broken(variable, "/m\xE4");
    bench::SetSetup({});
    EXPECT_EQ(variable, bench::SourceNotUtf8());
    bench::SetSetup(instead);
    EXPECT_EQ("", bench::SourceNotUtf8());
  };
  bench::Setup setup;
  setup.endpoint = L"unix:/x";
  expect("KIV_LINK", setup);
  setup.catalogue = L"/x";
  expect("KIV_CATALOGUE", setup);
  setup.configDir = L"/x";
  expect("KIV_CONFIG_DIR", setup);
  setup.dataDir = L"/x";
  expect("KIV_DATA_DIR", setup);
  expect("HOME", setup);
  bench::SetSetup({});
}

TEST_F(BenchSetup, HasADefaultForEverything) {
  const bench::Resolved& setup = bench::GetSetup();
  EXPECT_EQ(L"exec:kivagent --stdio", setup.endpoint.str());
  EXPECT_EQ(setup.shareDir.str() + L"/board.kcat", setup.catalogue.str());
  EXPECT_EQ(Home(".config/kiv"), setup.configDir.str());
  EXPECT_EQ(Home(".local/share/kiv"), setup.dataDir.str());
  EXPECT_EQ(Number(), setup.variant);
  EXPECT_EQ(Number(), setup.product);
  EXPECT_EQ(Number(), setup.fallbackVariant);
  EXPECT_EQ(Number(), setup.fallbackProduct);
}

TEST_F(BenchSetup, FindsShippedFilesOfTheBuildTree) {
  EXPECT_EQ(std::string(kivtest::BuildDir()) + "/share/kiv",
            std::filesystem::canonical(bench::GetSetup().shareDir.ToUtf8()).string());
}

TEST_F(BenchSetup, WritesNothing) {
  bench::GetSetup();
  EXPECT_TRUE(home_.Names().empty());
}

TEST_F(BenchSetup, ReadsItsIniFile) {
  WriteKivIni(
      "[bench]\nlink = unix:/run/board\ncatalogue=\"/a b/c.kcat\"\nvariant=249\nproduct=38\n");
  const bench::Resolved& setup = Again();
  EXPECT_EQ(L"unix:/run/board", setup.endpoint.str());
  EXPECT_EQ(L"/a b/c.kcat", setup.catalogue.str());
  EXPECT_EQ(Number(), setup.variant);
  EXPECT_EQ(Number(249), setup.fallbackVariant);
  EXPECT_EQ(Number(38), setup.fallbackProduct);
}

TEST_F(BenchSetup, PrefersTheEnvironmentToItsIniFile) {
  WriteKivIni("[bench]\nlink=unix:/ini\ncatalogue=ini\nvariant=249\nproduct=38\n");
  setenv("KIV_LINK", "unix:/environment", 1);
  setenv("KIV_CATALOGUE", "/\xC3\xA4.kcat", 1);
  setenv("KIV_VARIANT", "246", 1);
  setenv("KIV_PRODUCT", "0", 1);
  const bench::Resolved& setup = Again();
  EXPECT_EQ(L"unix:/environment", setup.endpoint.str());
  EXPECT_EQ(L"/\u00E4.kcat", setup.catalogue.str());
  EXPECT_EQ(Number(246), setup.fallbackVariant);
  EXPECT_EQ(Number(0), setup.fallbackProduct);
}

TEST_F(BenchSetup, PrefersTheHostToTheEnvironment) {
  setenv("KIV_LINK", "unix:/environment", 1);
  setenv("KIV_CATALOGUE", "environment", 1);
  setenv("KIV_VARIANT", "246", 1);
  setenv("KIV_PRODUCT", "1", 1);
  setenv("KIV_CONFIG_DIR", "/environment", 1);
  setenv("KIV_DATA_DIR", "/environment", 1);
  bench::Setup asked;
  asked.endpoint = L"unix:/host";
  asked.catalogue = L"host";
  asked.variant = 248;
  asked.product = 38;
  asked.configDir = L"/host/config";
  asked.dataDir = L"/host/data";
  bench::SetSetup(asked);
  const bench::Resolved& setup = bench::GetSetup();
  EXPECT_EQ(L"unix:/host", setup.endpoint.str());
  EXPECT_EQ(L"host", setup.catalogue.str());
  EXPECT_EQ(L"/host/config", setup.configDir.str());
  EXPECT_EQ(L"/host/data", setup.dataDir.str());
  EXPECT_EQ(Number(248), setup.variant);
  EXPECT_EQ(Number(38), setup.product);
}

TEST_F(BenchSetup, TakesEmptyTextsForUnset) {
  WriteKivIni("[bench]\nlink=\n");
  setenv("KIV_LINK", "", 1);
  bench::Setup asked;
  asked.endpoint = L"";
  asked.configDir = L"";
  asked.dataDir = L"";
  bench::SetSetup(asked);
  EXPECT_EQ(L"exec:kivagent --stdio", bench::GetSetup().endpoint.str());
  EXPECT_EQ(Home(".config/kiv"), bench::GetSetup().configDir.str());
  EXPECT_EQ(Home(".local/share/kiv"), bench::GetSetup().dataDir.str());
}

TEST_F(BenchSetup, IgnoresNumbersThatAreNone) {
  for (const char* text : {"x", "-1", "0x10", "65536", "4294967296", "12 3", "1.5"}) {
    setenv("KIV_VARIANT", text, 1);
    WriteKivIni("[bench]\nproduct=" + std::string(text) + "\n");
    EXPECT_EQ(Number(), Again().fallbackVariant) << text;
    EXPECT_EQ(Number(), Again().fallbackProduct) << text;
  }
  setenv("KIV_VARIANT", " 65535 ", 1);
  EXPECT_EQ(Number(65535), Again().fallbackVariant);
}

TEST_F(BenchSetup, ReadsTheIniFileOfTheChosenDirectory) {
  WriteInHome("chosen/kiv.ini", "[bench]\nlink=unix:/chosen\n");
  bench::Setup asked;
  asked.configDir = QCString(Home("chosen"));
  bench::SetSetup(asked);
  EXPECT_EQ(L"unix:/chosen", bench::GetSetup().endpoint.str());
  setenv("KIV_CONFIG_DIR", home_.File("chosen").c_str(), 1);
  EXPECT_EQ(L"unix:/chosen", Again().endpoint.str());
}

TEST_F(BenchSetup, MapsDriveLettersBeneathTheChosenDataDirectory) {
  bench::Setup asked;
  asked.dataDir = L"/host\\data";
  bench::SetSetup(asked);
  EXPECT_EQ("/host/data/C/x", os::MapPath(L"C:\\x"));
  EXPECT_EQ(L"/host/data", bench::GetSetup().dataDir.str());
  bench::SetSetup({});
  EXPECT_EQ(home_.File(".local/share/kiv/C/x"), os::MapPath(L"C:\\x"));
}

TEST_F(BenchSetup, StaysTheSameUntilTheHostSetsItAgain) {
  setenv("KIV_LINK", "unix:/first", 1);
  const bench::Resolved& first = Again();
  setenv("KIV_LINK", "unix:/second", 1);
  EXPECT_EQ(&first, &bench::GetSetup());
  EXPECT_EQ(L"unix:/second", Again().endpoint.str());
  EXPECT_EQ(L"unix:/first", first.endpoint.str());
}

TEST_F(BenchSetup, IsLookedUpOnceByTwoThreads) {
  const bench::Resolved* others = nullptr;
  std::thread other([&others] { others = &bench::GetSetup(); });
  const bench::Resolved* own = &bench::GetSetup();
  other.join();
  EXPECT_EQ(own, others);
}

TEST_F(BenchSetup, HoldsForAUserWithoutHome) {
  unsetenv("HOME");
  EXPECT_TRUE(kivtest::HoldsUnprivileged([this] {
    const bench::Resolved& setup = Again();
    return setup.configDir.EndsWith(L"/.config/kiv") && setup.configDir.StartsWith(L"/") &&
           setup.endpoint == L"exec:kivagent --stdio";
  }));
}

TEST_F(BenchSetup, IsWhatThePreferencesAnswer) {
  bench::Setup asked;
  asked.configDir = L"/host/config";
  asked.dataDir = L"/host/data";
  bench::SetSetup(asked);
  EXPECT_EQ(L"/host/config", CAppPrefs::GetConfigDir().str());
  EXPECT_EQ(L"/host/data", CAppPrefs::GetDataDir().str());
  EXPECT_EQ(bench::GetSetup().shareDir, CAppPrefs::GetShareDir());
}

}  // namespace
