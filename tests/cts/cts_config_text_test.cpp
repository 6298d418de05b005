// Where the test cases are, statement by statement: the ini file, "ctscfg", the log and its head,
// whole texts and whole files.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <filesystem>
#include <regex>
#include <thread>

#include "tests/cts/cts_bench.h"

namespace {

using kivtest::kLogHead;
using TextList = std::vector<std::wstring>;

constexpr char kUsage[] =
    "****error: fail to set config path.\n"
    "usage    : ctscfg <config path>\n"
    "example  : ctscfg D:\\work\\app\\cts\\config\n";
constexpr char kStamp[] = "\n\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\d{4,}\n";

std::wstring Wide(const std::string& text) { return QCString::FromUtf8(text).str(); }

class TestConfig : public kivtest::CtsBench {
 protected:
  // "config path: ..., log file: ..." as the view gets it.
  static std::string Shown(const std::string& path, const std::string& log) {
    return "config path: " + path + "\nlog file: " + log + "\n";
  }
  std::string LogPath(const std::string& title) const {
    return CasesUtf8() + "\\cts_" + title + ".log";
  }
  // What the view got since the last call.
  std::vector<std::string> News() {
    std::vector<std::string> news;
    const std::vector<kivtest::Message> all = Messages();
    for (; seen_ < all.size(); ++seen_) {
      EXPECT_EQ(all[seen_].kind, 3);
      news.push_back(QCString(all[seen_].text.c_str()).ToUtf8());
    }
    return news;
  }
  // The log with its time stamps taken out; `count` gets how many there were.
  static std::string WithoutStamps(const std::string& log, int* count) {
    const std::regex stamp(kStamp);
    *count = static_cast<int>(
        std::distance(std::sregex_iterator(log.begin(), log.end(), stamp), std::sregex_iterator()));
    return std::regex_replace(log, stamp, "");
  }
  std::string IniValue(const wchar_t* key) const {
    QCString value(L"<none>");
    SvcKivClass::TextChannel::ReadIniString(L"C:\\Kestrax\\kit_kiv_plc_cts.ini", L"config", key,
                                            value);
    return value.ToUtf8();
  }

 private:
  std::size_t seen_ = 0;
};

TEST_F(TestConfig, WithoutAnArgumentAndNothingConfiguredShowsEmptyTextsAndTheUsage) {
  Init();
  EXPECT_EQ(Run(L"ctscfg", L""), 0);
  EXPECT_EQ(News(), (std::vector<std::string>{Shown("", ""), kUsage}));
  EXPECT_FALSE(std::filesystem::exists(Path(kIni)));
}

TEST_F(TestConfig, OfAnExistingDirectoryIsSetStoredLoggedAndShown) {
  Init();
  EXPECT_EQ(Run(L"CtsCfg", Cases() + L" run1"), 0);
  const std::string shown = Shown(CasesUtf8(), LogPath("run1"));
  EXPECT_EQ(News(), std::vector<std::string>{shown});
  EXPECT_EQ(IniValue(L"path"), CasesUtf8());
  EXPECT_EQ(IniValue(L"title"), "run1");
  int stamps = 0;
  EXPECT_EQ(WithoutStamps(Log("run1"), &stamps), kLogHead + shown + shown);
  EXPECT_EQ(stamps, 1);
  EXPECT_EQ(cts_.GetConfigPath().ToUtf8(), CasesUtf8());
  EXPECT_EQ(cts_.GetOutputFile().ToUtf8(), LogPath("run1"));
}

TEST_F(TestConfig, IsShownWithoutAnArgumentAndTheLogGoesOn) {
  Configure();
  EXPECT_EQ(Run(L"ctscfg", L""), 0);
  const std::string shown = Shown(CasesUtf8(), LogPath("na"));
  EXPECT_EQ(News(), std::vector<std::string>{shown});
  int stamps = 0;
  EXPECT_EQ(WithoutStamps(Log(), &stamps), kLogHead + std::string("ctscfg  \n") + shown + shown);
  EXPECT_EQ(stamps, 1);
  EXPECT_FALSE(std::filesystem::exists(Path(kIni))) << "only an argument is stored";
}

TEST_F(TestConfig, SplitsItsArgumentAtTheFirstBlank) {
  const struct {
    std::wstring behind;
    const char* title;
    const char* log;
  } rows[] = {
      {L"", "", "na"},
      {L" ", "", "na"},
      {L" t", "t", "t"},
      {L"   t", "t", "t"},
      {L" a b", "a b", "a b"},
      {L" %1%2", "%1%2", "%1%2"},
      {L" \u00FC", "\xC3\xBC", "\xC3\xBC"},
  };
  Init();
  for (const auto& row : rows) {
    EXPECT_EQ(Run(L"ctscfg", Cases() + row.behind), 0);
    EXPECT_EQ(News(), std::vector<std::string>{Shown(CasesUtf8(), LogPath(row.log))});
    EXPECT_EQ(IniValue(L"title"), row.title);
    EXPECT_NE(Log(row.log).find(kLogHead), std::string::npos);
  }
}

TEST_F(TestConfig, OfAMissingPathChangesNothingAndSaysSoFirst) {
  Init();
  EXPECT_EQ(Run(L"ctscfg", Cases() + L" run1"), 0);
  const std::string ini = FileText(kIni);
  News();
  const std::string gone = CasesUtf8() + "/%2gone%1";
  EXPECT_EQ(Run(L"ctscfg", Wide(gone) + L" other"), 0);
  EXPECT_EQ(News(), (std::vector<std::string>{"***error: config path not found: " + gone + "\n",
                                              Shown(CasesUtf8(), LogPath("run1"))}));
  EXPECT_EQ(FileText(kIni), ini);
  EXPECT_EQ(cts_.GetConfigPath().ToUtf8(), CasesUtf8());
  EXPECT_EQ(Run(L"ctscfg", L" " + Cases()), 0);
  EXPECT_EQ(News()[0], "***error: config path not found: \n") << "what stands before the blank";
}

TEST_F(TestConfig, OfAMissingPathAndNothingConfiguredEndsWithTheUsage) {
  Init();
  EXPECT_EQ(Run(L"ctscfg", L"D:\\missing"), 0);
  EXPECT_EQ(News(), (std::vector<std::string>{"***error: config path not found: D:\\missing\n",
                                              Shown("", ""), kUsage}));
  EXPECT_FALSE(std::filesystem::exists(Path(kIni)));
}

TEST_F(TestConfig, OnADriveIsShownAsTypedAndFoundInTheDataDirectory) {
  std::filesystem::create_directories(Path("data/D/cts"));
  Init();
  EXPECT_EQ(Run(L"ctscfg", L"D:\\cts run1"), 0);
  EXPECT_EQ(News(), std::vector<std::string>{Shown("D:\\cts", "D:\\cts\\cts_run1.log")});
  EXPECT_EQ(FileText("data/D/cts/cts_run1.log").substr(0, std::string(kLogHead).size()), kLogHead);
  EXPECT_EQ(IniValue(L"path"), "D:\\cts");
  EXPECT_EQ(Run(L"ctscfg", L"D:\\cts"), 0);
  EXPECT_EQ(News(), std::vector<std::string>{Shown("D:\\cts", "D:\\cts\\cts_na.log")});
  EXPECT_EQ(IniValue(L"title"), "");
}

TEST_F(TestConfig, IsTakenBehindItsDelayOption) {
  Init();
  EXPECT_EQ(Run(L"ctscfg", Cases() + L" run1 -d 5"), 0);
  EXPECT_EQ(News(), std::vector<std::string>{Shown(CasesUtf8(), LogPath("run1"))});
  EXPECT_EQ(Run(L"ctscfg", Cases() + L" run1 -d 0"), 0);
  EXPECT_EQ(News(), std::vector<std::string>{Shown(CasesUtf8(), LogPath("run1 -d 0"))});
}

TEST_F(TestConfig, HasATimeStampInUtcWithTheKernelsThreadId) {
  Configure();
  const std::time_t before = std::time(nullptr);
  Run(L"ctscfg", L"");
  const std::time_t after = std::time(nullptr);
  const std::string log = Log();
  std::smatch match;
  const std::regex stamp(
      "\n(\\d{4})-(\\d\\d)-(\\d\\d) (\\d\\d):(\\d\\d):(\\d\\d)\\.(\\d{3}) (\\d+)\n$");
  ASSERT_TRUE(std::regex_search(log, match, stamp)) << log;
  std::tm time{};
  time.tm_year = std::stoi(match[1]) - 1900;
  time.tm_mon = std::stoi(match[2]) - 1;
  time.tm_mday = std::stoi(match[3]);
  time.tm_hour = std::stoi(match[4]);
  time.tm_min = std::stoi(match[5]);
  time.tm_sec = std::stoi(match[6]);
  const std::time_t stamped = timegm(&time);
  EXPECT_GE(stamped, before);
  EXPECT_LE(stamped, after);
  char id[16];
  std::snprintf(id, sizeof id, "%04ld", static_cast<long>(syscall(SYS_gettid)));
  EXPECT_EQ(match[8], id);
  for (const std::string& text : News()) EXPECT_FALSE(std::regex_search(text, stamp)) << "log only";
}

// --- loading

TEST_F(TestConfig, IsLoadedOnceAtTheFirstInitThatFindsIt) {
  WriteIni("[config]\npath=" + CasesUtf8() + "/none\ntitle=t\n");
  Init();
  EXPECT_TRUE(cts_.GetConfigPath().IsEmpty());
  EXPECT_TRUE(cts_.GetOutputFile().IsEmpty());
  WriteIni("[config]\npath=" + CasesUtf8() + "\ntitle=t\n");
  Init();
  EXPECT_EQ(cts_.GetOutputFile().ToUtf8(), LogPath("t"));
  WriteIni("[config]\npath=" + CasesUtf8() + "\ntitle=u\n");
  cts_.SetFilter(1);
  Init();
  EXPECT_EQ(cts_.GetOutputFile().ToUtf8(), LogPath("t")) << "not while there is one";
  EXPECT_EQ(cts_.GetFilter(), 1u) << "and the filter stays";
  EXPECT_EQ(Log("t"), kLogHead);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(TestConfig, IsLoadedWithoutATitleUnderNa) {
  WriteIni("; c\n[Config]\nPath = " + CasesUtf8() + "\n");
  Init();
  EXPECT_EQ(cts_.GetOutputFile().ToUtf8(), LogPath("na"));
  EXPECT_EQ(Log(), kLogHead);
}

TEST_F(TestConfig, IsStoredBesideForeignLines) {
  WriteIni("; note\n[other]\nx=1\n[config]\nmine=2\ntitle=old\n");
  Init();
  Run(L"ctscfg", Cases() + L" new");
  const std::string ini = FileText(kIni);
  for (const char* part : {"; note\n", "[other]\nx=1\n", "[config]\n", "mine=2\n"}) {
    EXPECT_NE(ini.find(part), std::string::npos) << ini;
  }
  EXPECT_EQ(ini.find("old"), std::string::npos);
  EXPECT_EQ(IniValue(L"path"), CasesUtf8());
  EXPECT_EQ(IniValue(L"title"), "new");
}

// --- SetConfigPath

TEST_F(TestConfig, SetByCallAnswers53ForNullAndForAMissingPath) {
  Init();
  EXPECT_EQ(cts_.SetConfigPath(nullptr, L"t"), 53);
  EXPECT_EQ(cts_.SetConfigPath(Cases().c_str(), nullptr), 0);
  EXPECT_EQ(cts_.GetOutputFile().ToUtf8(), LogPath("na"));
  EXPECT_EQ(cts_.SetConfigPath(nullptr, nullptr), 53);
  EXPECT_EQ(cts_.GetOutputFile().ToUtf8(), LogPath("na")) << "null changes nothing";
  EXPECT_EQ(cts_.SetConfigPath(L"/no/such", L"t"), 53);
  EXPECT_TRUE(cts_.GetConfigPath().IsEmpty());
  EXPECT_TRUE(cts_.GetOutputFile().IsEmpty());
  EXPECT_EQ(cts_.WriteLog(L"x"), 53);
  EXPECT_EQ(Log(), kLogHead);
}

TEST_F(TestConfig, SetByCallAppendsItsHeadToTheLogThatIsThere) {
  Write("cases/cts_t.log", "earlier\n");
  Init();
  EXPECT_EQ(cts_.SetConfigPath(Cases().c_str(), L"t"), 0);
  EXPECT_EQ(cts_.SetConfigPath(Cases().c_str(), L"t"), 0);
  EXPECT_EQ(Log("t"), std::string("earlier\n") + kLogHead + kLogHead);
  Write("file", "");
  EXPECT_EQ(cts_.SetConfigPath(WidePath("file").c_str(), L"t"), 0) << "a file exists as well";
}

// --- the log and the view

TEST_F(TestConfig, LogAndViewGetAnAnswerTwiceAndOnce) {
  Configure();
  cts_.OutputText(L"100% %ls\u00FC");
  cts_.ShowText(L"once");
  cts_.ShowText(L"");
  EXPECT_EQ(News(), (std::vector<std::string>{"100% %ls\xC3\xBC\n", "once\n", "\n"}));
  EXPECT_EQ(Log(), std::string(kLogHead) + "100% %ls\xC3\xBC\n100% %ls\xC3\xBC\nonce\n\n");
}

TEST_F(TestConfig, ViewGetsATextOfTwoCharactersMoreFromThePool) {
  Configure();
  fake::ResetSeam();
  fake::RecordPool(true);
  cts_.ShowText(L"abc");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls(),
            (std::vector<std::string>{"PoolMalloc(" + std::to_string(5 * sizeof(wchar_t)) + ")",
                                      "PoolFree()"}));
}

TEST_F(TestConfig, LogIsNeverEmptiedAndTheViewGetsNullWithoutMemory) {
  Configure();
  pool::FailNth(1);
  cts_.ShowText(L"lost");
  EXPECT_TRUE(pool::Failed());
  pool::FailNth(1);
  cts_.OutputText(L"kept once");
  pool::FailNth(0);
  const auto shown = Messages();
  ASSERT_EQ(shown.size(), 2u);
  EXPECT_TRUE(shown[0].isNull);
  EXPECT_EQ(shown[0].kind, 3);
  EXPECT_TRUE(shown[1].isNull);
  EXPECT_EQ(Log(), std::string(kLogHead) + "kept once\n");
}

TEST_F(TestConfig, ViewGetsTheTextWhenTheLogCannotBeOpened) {
  Configure();
  std::filesystem::remove_all(Path("cases"));
  EXPECT_EQ(cts_.WriteLog(L"x"), 53);
  cts_.OutputText(L"text");
  EXPECT_EQ(News(), std::vector<std::string>{"text\n"});
}

TEST_F(TestConfig, EveryLineIsNotedInTheLogLowerCasedAndCut) {
  Configure();
  EXPECT_EQ(Run(L"Help", L""), 50);
  EXPECT_EQ(Run(L"SH", L"Ls -L -d 5"), 50);
  EXPECT_EQ(Run(L"AT+X -d 5", L""), 50);
  EXPECT_EQ(cts_.HandleCommand(nullptr, nullptr), 50);
  EXPECT_EQ(Log(), std::string(kLogHead) + "help  \nsh Ls -L \nat+x -d 5  \n  \n");
  EXPECT_TRUE(Messages().empty());
}

TEST_F(TestConfig, MayChangeWhileTheDeviceSendsTexts) {
  Init();
  std::filesystem::create_directories(Path("second"));
  std::atomic<bool> done{false};
  int sent = 0;
  std::thread link([&] {
    while (!done.load() || sent < 50) {
      EXPECT_EQ(Answer(0xA010, "from the device"), 0);
      ++sent;
      if (sent >= 2000) break;
    }
  });
  const std::wstring second = WidePath("second").str();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(cts_.SetConfigPath(i % 2 == 0 ? second.c_str() : Cases().c_str(), L"t"), 0);
  }
  done = true;
  link.join();
  const std::string logs = Log("t") + FileText("second/cts_t.log");
  const std::regex line("from the device\n");
  const auto logged =
      std::distance(std::sregex_iterator(logs.begin(), logs.end(), line), std::sregex_iterator());
  EXPECT_LE(logged, sent) << "some came before there was a log";
  EXPECT_EQ(std::regex_replace(std::regex_replace(logs, line, ""), std::regex(kLogHead), ""), "");
  EXPECT_EQ(News(), std::vector<std::string>(static_cast<std::size_t>(sent), "from the device\n"));
}

}  // namespace
