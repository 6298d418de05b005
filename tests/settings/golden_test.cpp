// Whole files: what stands in a settings file after each kind of work, byte for byte. A change here
// is a change of the format that users' files have.
//
// KIV_GOLDEN_OUT names a folder that gets what was written, to look at after a change that is
// meant.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"
#include "tests/support/tree_paths.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary

std::string Golden(const std::string& name) {
  std::ifstream file(std::string(SourceDir()) + "/tests/settings/data/" + name, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

void ExpectGolden(const std::string& name, const std::string& written) {
  if (const char* folder = std::getenv("KIV_GOLDEN_OUT")) {
    std::ofstream(std::string(folder) + "/" + name, std::ios::binary) << written;
  }
  EXPECT_EQ(Golden(name), written) << name;
}

TEST(GoldenDocument, OfTheStartIsWrittenAsItShips) {
  SettingsBench bench;
  bench.Load();
  bench.Close();
  ExpectGolden("start.xml", bench.File());
}

TEST(GoldenDocument, IsWritten) {
  SettingsBench bench(Document(""));
  bench.Load();
  FillGroups(bench);
  FillLists(bench);
  bench.Lists().history.AddTail(Command(L"odd \x01\x7F\xD800\xFFFE\xFFFF\x1F600", L"<\"&'>\n\t\r"));
  // Lists are made anew behind everything else: from the second store on the order is the same.
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  ExpectGolden("written.xml", bench.File());
}

TEST(GoldenDocument, IsTheSameAfterItWasReadAndStored) {
  SettingsBench bench(Golden("written.xml"));
  bench.Load();
  SetText(bench.Settings().savePath, bench.DataPath() + L"/logs/mine.txt");
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(Golden("written.xml"), bench.File());
}

TEST(GoldenDocument, IsTrimmed) {
  std::string history;
  for (int i = 0; i < 103; ++i) history += Cmd("c" + std::to_string(i), "");
  SettingsBench bench(Document("<HISTORY_CMD>" + history + "</HISTORY_CMD>"));
  bench.Load();
  ExpectGolden("trimmed.xml", bench.File());
}

TEST(GoldenDocument, IsImportedInto) {
  SettingsBench bench(FullDocument());
  bench.Folder().Write("other.xml", Golden("written.xml"));
  bench.Load();
  EXPECT_EQ(0u,
            bench.Config().Import(bench.Folder().WideFile("other.xml").c_str(), true, true, true));
  EXPECT_EQ(0u, bench.Config().Save());
  ExpectGolden("imported.xml", bench.File());
}

TEST(GoldenDocument, IsExported) {
  SettingsBench bench(Golden("written.xml"));
  bench.Load();
  EXPECT_EQ(0u,
            bench.Config().Export(bench.Folder().WideFile("out.xml").c_str(), true, true, true));
  ExpectGolden("exported.xml", bench.Folder().Read("out.xml"));
}

// Elements and attributes that this console does not know belong to somebody: they stay.
TEST(GoldenDocument, KeepsWhatItDoesNotKnow) {
  SettingsBench bench(Document("<POPULAR TITLE=\"t\" NEWER=\"kept\"/><NEWER A=\"b\"><C/></NEWER>"));
  bench.Load();
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"kept", bench.OnDisk(L"POPULAR", L"NEWER"));
  EXPECT_EQ(L"b", bench.OnDisk(L"NEWER", L"A"));
  EXPECT_EQ(1u, bench.CountOnDisk(L"NEWER", L"C"));
}

}  // namespace
