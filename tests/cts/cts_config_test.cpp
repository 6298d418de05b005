// The test-case configuration: ini file, log file, "ctscfg".
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <regex>

#include "platform/os/time_thread.h"
#include "tests/cts/cts_bench.h"

namespace {

using kivtest::kLogHead;
using TextList = std::vector<std::wstring>;

const std::wstring kUsage =
    L"****error: fail to set config path.\n"
    L"usage    : ctscfg <config path>\n"
    L"example  : ctscfg D:\\work\\app\\cts\\config\n";

class CtsConfig : public kivtest::CtsBench {
 protected:
  std::wstring Shown(const std::wstring& path, const std::wstring& log) const {
    return L"config path: " + path + L"\nlog file: " + log + L"\n";
  }
};

TEST_F(CtsConfig, IsEmptyWithoutAnIniFile) {
  Init();
  EXPECT_EQ(cts_.GetConfigPath(), L"");
  EXPECT_EQ(cts_.GetOutputFile(), L"");
  EXPECT_FALSE(std::filesystem::exists(Path("data")));
}

TEST_F(CtsConfig, IsLoadedFromTheIniFile) {
  WriteIni("[config]\npath=" + CasesUtf8() + "\ntitle=run 1\n");
  Init();
  EXPECT_EQ(cts_.GetConfigPath(), QCString(Cases().c_str()));
  EXPECT_EQ(cts_.GetOutputFile(), QCString((Cases() + L"\\cts_run 1.log").c_str()));
  EXPECT_EQ(Log("run 1"), kLogHead);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(CtsConfig, NamesTheLogNaWithoutATitle) {
  WriteIni("[config]\npath=" + CasesUtf8() + "\n");
  Init();
  EXPECT_EQ(cts_.GetOutputFile(), QCString((Cases() + L"\\cts_na.log").c_str()));
  EXPECT_EQ(Log(), kLogHead);
}

TEST_F(CtsConfig, StaysEmptyWhenThePathOfTheIniFileIsGone) {
  WriteIni("[config]\npath=" + Path("gone") + "\ntitle=x\n");
  Init();
  EXPECT_EQ(cts_.GetConfigPath(), L"");
  EXPECT_EQ(cts_.GetOutputFile(), L"");
}

TEST_F(CtsConfig, IsLoadedOnceAndAgainOnlyWhileItIsEmpty) {
  Init();
  WriteIni("[config]\npath=" + CasesUtf8() + "\n");
  Init();
  EXPECT_EQ(cts_.GetConfigPath(), QCString(Cases().c_str()));
  WriteIni("[config]\npath=" + Path("data") + "\n");
  Init();
  EXPECT_EQ(cts_.GetConfigPath(), QCString(Cases().c_str()));
  EXPECT_EQ(Log(), kLogHead);
}

TEST_F(CtsConfig, SetsPathAndLogFile) {
  EXPECT_EQ(cts_.SetConfigPath(Cases().c_str(), L"a"), 0);
  EXPECT_EQ(cts_.SetConfigPath(Cases().c_str(), nullptr), 0);
  EXPECT_EQ(cts_.SetConfigPath(Cases().c_str(), L""), 0);
  EXPECT_EQ(Log("a"), kLogHead);
  EXPECT_EQ(Log("na"), std::string(kLogHead) + kLogHead);
}

TEST_F(CtsConfig, MayBeAFileAsWell) {
  Write("plain", "");
  EXPECT_EQ(cts_.SetConfigPath(WidePath("plain").c_str(), L"a"), 0);
  EXPECT_EQ(cts_.GetConfigPath(), WidePath("plain"));
}

TEST_F(CtsConfig, IsEmptiedByAPathThatDoesNotExist) {
  cts_.SetConfigPath(Cases().c_str(), L"a");
  EXPECT_EQ(cts_.SetConfigPath(nullptr, L"b"), 53);
  EXPECT_EQ(cts_.GetConfigPath(), QCString(Cases().c_str()));
  EXPECT_EQ(cts_.GetOutputFile(), QCString((Cases() + L"\\cts_a.log").c_str()));
  EXPECT_EQ(cts_.SetConfigPath(L"D:\\missing", L"b"), 53);
  EXPECT_EQ(cts_.GetConfigPath(), L"");
  EXPECT_EQ(cts_.GetOutputFile(), L"");
}

TEST_F(CtsConfig, CommandSetsStoresAndShowsIt) {
  Init();
  EXPECT_EQ(Run(L"CtsCfg", Cases() + L"  run 1"), 0);
  const std::wstring log = Cases() + L"\\cts_run 1.log";
  EXPECT_EQ(Texts(), (TextList{Shown(Cases(), log)}));
  EXPECT_EQ(Messages()[0].kind, 3);
  EXPECT_EQ(FileText(kIni), "[config]\npath=" + CasesUtf8() + "\ntitle=run 1\n");
  const std::string shown =
      "config path: " + CasesUtf8() + "\nlog file: " + CasesUtf8() + "\\cts_run 1.log\n";
  const std::string text = Log("run 1");
  const std::string head = kLogHead + shown + shown;
  EXPECT_EQ(text.substr(0, head.size()), head);
}

TEST_F(CtsConfig, CommandEndsWithATimeStampInUtcAndTheKernelsThreadId) {
  Configure();
  SYSTEMTIME before{};
  GetSystemTime(&before);
  Run(L"ctscfg", L"");
  const std::string text = Log();
  const std::string last = text.substr(text.rfind('\n', text.size() - 2));
  std::smatch parts;
  ASSERT_TRUE(std::regex_match(
      last, parts,
      std::regex("\n(\\d{4})-(\\d\\d)-(\\d\\d) \\d\\d:\\d\\d:\\d\\d\\.\\d{3} (\\d{4,})\n")))
      << last;
  char id[16];
  std::snprintf(id, sizeof id, "%04d", static_cast<int>(::gettid()));
  EXPECT_EQ(parts[4], id);
  EXPECT_GE(std::stoi(parts[1]), before.wYear);
  EXPECT_EQ(text.find("\n\n20"), text.size() - last.size() - 1);
}

TEST_F(CtsConfig, CommandWithoutATitleStoresAnEmptyOne) {
  Init();
  EXPECT_EQ(Run(L"ctscfg", Cases()), 0);
  EXPECT_EQ(Texts(), (TextList{Shown(Cases(), Cases() + L"\\cts_na.log")}));
  EXPECT_EQ(FileText(kIni), "[config]\npath=" + CasesUtf8() + "\ntitle=\n");
}

TEST_F(CtsConfig, CommandWithoutAnArgumentShowsItAndTheUsageWhenItIsEmpty) {
  Init();
  EXPECT_EQ(Run(L"ctscfg", L""), 0);
  EXPECT_EQ(Texts(), (TextList{Shown(L"", L""), kUsage}));
  EXPECT_FALSE(std::filesystem::exists(Path(kIni)));
}

TEST_F(CtsConfig, CommandWithAMissingPathKeepsWhatWasThere) {
  WriteIni("; mine\n[config]\npath=" + CasesUtf8() + "\n");
  Init();
  EXPECT_EQ(Run(L"ctscfg", L"D:\\missing%1 x"), 0);
  EXPECT_EQ(Texts(), (TextList{L"***error: config path not found: D:\\missing%1\n",
                               Shown(Cases(), Cases() + L"\\cts_na.log")}));
  EXPECT_EQ(FileText(kIni), "; mine\n[config]\npath=" + CasesUtf8() + "\n");
}

TEST_F(CtsConfig, CommandWithAMissingPathAndNothingConfiguredEndsWithTheUsage) {
  Init();
  EXPECT_EQ(Run(L"ctscfg", L"D:\\missing"), 0);
  EXPECT_EQ(Texts(),
            (TextList{L"***error: config path not found: D:\\missing\n", Shown(L"", L""), kUsage}));
}

TEST_F(CtsConfig, CommandFindsADirectoryOnADrive) {
  std::filesystem::create_directories(Path("data/D/cts"));
  Init();
  EXPECT_EQ(Run(L"ctscfg", L"D:\\cts run1"), 0);
  EXPECT_EQ(Texts(), (TextList{Shown(L"D:\\cts", L"D:\\cts\\cts_run1.log")}));
  EXPECT_TRUE(FileText("data/D/cts/cts_run1.log").starts_with(kLogHead));
  EXPECT_EQ(FileText(kIni), "[config]\npath=D:\\cts\ntitle=run1\n");
}

TEST_F(CtsConfig, CommandKeepsForeignKeysAndCommentsOfAProtectedIniFile) {
  WriteIni("; top\n[Config]\nowner = me\nPATH = old\n\n[else]\ntitle=theirs\n");
  std::filesystem::permissions(Path(kIni), std::filesystem::perms::owner_read);
  Init();
  Run(L"ctscfg", Cases() + L" t");
  EXPECT_EQ(FileText(kIni), "; top\n[Config]\nowner = me\npath=" + CasesUtf8() +
                                "\ntitle=t\n\n[else]\ntitle=theirs\n");
}

TEST_F(CtsConfig, CommandIsReadBackByTheNextRun) {
  Init();
  Run(L"ctscfg", Cases() + L" again");
  SvcKivClass::KivCts next;
  next.Init({});
  EXPECT_EQ(next.GetConfigPath(), QCString(Cases().c_str()));
  EXPECT_EQ(next.GetOutputFile(), QCString((Cases() + L"\\cts_again.log").c_str()));
}

TEST_F(CtsConfig, CommandCutsTheDelayOptionOffFirst) {
  Init();
  Run(L"ctscfg", Cases() + L" t -d 5");
  EXPECT_EQ(FileText(kIni), "[config]\npath=" + CasesUtf8() + "\ntitle=t\n");
}

TEST_F(CtsConfig, LogThatCannotBeOpenedCostsTheViewNothing) {
  std::filesystem::create_directories(Path("cases/cts_na.log"));
  Configure();
  cts_.OutputText(L"text");
  EXPECT_EQ(Texts(), (TextList{L"text\n"}));
}

TEST_F(CtsConfig, LogThatIsAPipeWithoutAReaderKeepsNobodyWaiting) {
  ASSERT_EQ(mkfifo(Path("cases/cts_na.log").c_str(), 0600), 0);
  Configure();
  EXPECT_EQ(cts_.WriteLog(L"text"), 53);
  cts_.OutputText(L"text");
  EXPECT_EQ(Texts(), (TextList{L"text\n"}));
}

}  // namespace
