#include "platform/base/sys_log_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/base/fresh_setup.h"
#include "tests/support/unprivileged.h"

namespace {

// Lines of a log without the time in front, which every line must have.
std::vector<std::string> TextsOf(const std::string& log) {
  const std::regex form("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} (.*)");
  std::vector<std::string> texts;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    EXPECT_TRUE(std::regex_match(line, match, form)) << line;
    texts.push_back(match[1]);
  }
  EXPECT_TRUE(log.empty() || log.ends_with('\n'));
  return texts;
}

using Texts = std::vector<std::string>;

class SysLog : public kivtest::FreshSetup {
 protected:
  ~SysLog() override { CSysLogFile::SetObserver(nullptr); }
  Texts Logged() { return TextsOf(home_.Read(".config/kiv/kiv.log")); }
};

TEST_F(SysLog, WritesLinesWithTheTimeInFront) {
  CSysLogFile::Write(L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n");
  CSysLogFile::Write(L"without a line feed");
  CSysLogFile::Write(L"");
  EXPECT_EQ((Texts{"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!",
                   "without a line feed", ""}),
            Logged());
}

TEST_F(SysLog, CutsATextTo255Characters) {
  CSysLogFile::Write(QCString(std::wstring(254, L'a') + L"\n"));
  CSysLogFile::Write(QCString(std::wstring(255, L'\u20AC') + L"\n"));
  CSysLogFile::Write(QCString(std::wstring(1000, L'c') + L"\n"));
  std::string wide;
  for (int i = 0; i < 255; ++i) wide += "\xE2\x82\xAC";
  EXPECT_EQ((Texts{std::string(254, 'a'), wide, std::string(255, 'c')}), Logged());
}

TEST_F(SysLog, NeverTakesATextForAFormat) {
  CSysLogFile::Write(L"%s%n%ls 100%");
  EXPECT_EQ(Texts{"%s%n%ls 100%"}, Logged());
}

TEST_F(SysLog, LetsNoTextPassForTwoLinesOrSteerATerminal) {
  CSysLogFile::Write(L"a\nb\x1B[2J\u009B\r\n");
  EXPECT_EQ(Texts{"a\\x0ab\\x1b[2J\\x9b\\x0d"}, Logged());
}

TEST_F(SysLog, ShowsEachCutTextToItsObserver) {
  std::vector<QCString> seen;
  CSysLogFile::SetObserver([&seen](const QCString& text) { seen.push_back(text); });
  CSysLogFile::Write(L"one\n");
  CSysLogFile::Write(QCString(std::wstring(300, L'x')));
  CSysLogFile::SetObserver(nullptr);
  CSysLogFile::Write(L"two\n");
  EXPECT_EQ((std::vector<QCString>{L"one\n", QCString(std::wstring(255, L'x'))}), seen);
  EXPECT_EQ(3u, Logged().size());
}

TEST_F(SysLog, LetsAnObserverLogAndSwitchItselfOff) {
  std::vector<QCString> seen;
  CSysLogFile::SetObserver([&seen](const QCString& text) {
    CSysLogFile::SetObserver(nullptr);
    seen.push_back(text);
    CSysLogFile::Write(L"inner");
  });
  CSysLogFile::Write(L"outer");
  EXPECT_EQ(std::vector<QCString>{L"outer"}, seen);
  EXPECT_EQ((Texts{"inner", "outer"}), Logged());
}

TEST_F(SysLog, FollowsTheConfigurationDirectory) {
  bench::Setup asked;
  asked.configDir = QCString(home_.WideFile("chosen"));
  bench::SetSetup(asked);
  CSysLogFile::Write(L"text");
  EXPECT_EQ(Texts{"text"}, TextsOf(home_.Read("chosen/kiv.log")));
}

TEST_F(SysLog, BeginsANewFileAtFourMebibytes) {
  WriteInHome(".config/kiv/kiv.log", std::string(4 * 1024 * 1024 - 10, 'x') + "\n");
  CSysLogFile::Write(L"text");
  EXPECT_EQ(Texts{"text"}, Logged());
  EXPECT_EQ(std::string(4 * 1024 * 1024 - 10, 'x') + "\n", home_.Read(".config/kiv/kiv.log.1"));
}

TEST_F(SysLog, FillsAFileUpToFourMebibytes) {
  // A line is 23 characters of time, a blank, "text" and a line feed.
  WriteInHome(".config/kiv/kiv.log", std::string(4 * 1024 * 1024 - 29, '\n'));
  CSysLogFile::Write(L"text");
  EXPECT_EQ(4u * 1024 * 1024, home_.Read(".config/kiv/kiv.log").size());
  EXPECT_EQ("", home_.Read(".config/kiv/kiv.log.1"));
}

TEST_F(SysLog, DoesWithoutAFileThatCannotBeWritten) {
  std::filesystem::permissions(home_.path(), std::filesystem::perms(0555));
  EXPECT_TRUE(kivtest::HoldsUnprivileged([] {
    bool seen = false;
    CSysLogFile::SetObserver([&seen](const QCString&) { seen = true; });
    CSysLogFile::Write(L"text");
    return seen;
  }));
  EXPECT_TRUE(home_.Names().empty());
}

TEST_F(SysLog, KeepsTheLinesOfTwoThreadsWhole) {
  std::atomic<int> seen{0};
  CSysLogFile::SetObserver([&seen](const QCString&) { ++seen; });
  const auto work = [](wchar_t ch) {
    for (int i = 0; i < 200; ++i) CSysLogFile::Write(QCString(std::wstring(200, ch)));
  };
  std::thread other(work, L'a');
  work(L'b');
  other.join();
  EXPECT_EQ(400, seen.load());
  const Texts texts = Logged();
  EXPECT_EQ(200, std::count(texts.begin(), texts.end(), std::string(200, 'a')));
  EXPECT_EQ(200, std::count(texts.begin(), texts.end(), std::string(200, 'b')));
}

std::string Printed(const QCString& text) {
  testing::internal::CaptureStderr();
  CConsolePrinter::Print(text);
  return testing::internal::GetCapturedStderr();
}

TEST(ConsolePrinter, WritesToStandardErrorAndEscapesControls) {
  EXPECT_EQ("text\n", Printed(L"text\n"));
  EXPECT_EQ("no end", Printed(L"no end"));
  EXPECT_EQ("", Printed(L""));
  EXPECT_EQ("\n", Printed(L"\n"));
  EXPECT_EQ("a\\x09b\\x0ac\\x1b[m\\x7f\\x80\\x9f\xC2\xA0\n",
            Printed(L"a\tb\nc\x1B[m\x7F\u0080\u009F\u00A0\n"));
  EXPECT_EQ("100%s\n", Printed(L"100%s\n"));
}

TEST(ConsolePrinter, CutsATextTo255Characters) {
  EXPECT_EQ(std::string(255, 'x'), Printed(QCString(std::wstring(300, L'x') + L"\n")));
}

}  // namespace
