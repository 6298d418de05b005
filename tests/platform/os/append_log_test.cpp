#include "platform/os/append_log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/os/system_calls.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

using kivtest::TempDir;
using Names = std::vector<std::string>;

constexpr std::size_t kNoLimit = SIZE_MAX / 2;

// Lines of all files of the log, which must all be whole.
std::size_t CountWholeLines(const TempDir& dir, const std::string& line) {
  std::size_t count = 0;
  for (const std::string& name : dir.Names()) {
    std::istringstream text(dir.Read(name));
    for (std::string got; std::getline(text, got); ++count) {
      EXPECT_EQ(line, got + "\n");
    }
  }
  return count;
}

TEST(AppendLog, AppendsLines) {
  const TempDir dir;
  EXPECT_EQ(0, os::AppendLogLine(dir.File("log"), "one\n", kNoLimit));
  EXPECT_EQ(0, os::AppendLogLine(dir.File("log"), "two\n", kNoLimit));
  EXPECT_EQ("one\ntwo\n", dir.Read("log"));
}

TEST(AppendLog, CreatesItsDirectoryAndAPrivateFile) {
  const TempDir dir;
  EXPECT_EQ(0, os::AppendLogLine(dir.File("a/b/log"), "x\n", kNoLimit));
  struct stat status {};
  ASSERT_EQ(0, stat(dir.File("a/b/log").c_str(), &status));
  EXPECT_EQ(0600u, status.st_mode & 07777u);
}

TEST(AppendLog, MovesAFullFileAsideAndReplacesTheOlderOne) {
  const TempDir dir;
  for (const char* line : {"1111\n", "2222\n", "3333\n", "4444\n", "5555\n"}) {
    EXPECT_EQ(0, os::AppendLogLine(dir.File("log"), line, 10));
  }
  EXPECT_EQ("5555\n", dir.Read("log"));
  EXPECT_EQ("3333\n4444\n", dir.Read("log.1"));
  EXPECT_EQ((Names{"log", "log.1"}), dir.Names());
}

TEST(AppendLog, WritesALineThatIsLongerThanTheLimitIntoAFileOfItsOwn) {
  const TempDir dir;
  EXPECT_EQ(0, os::AppendLogLine(dir.File("log"), "a long line\n", 4));
  EXPECT_EQ(0, os::AppendLogLine(dir.File("log"), "another one\n", 4));
  EXPECT_EQ("another one\n", dir.Read("log"));
  EXPECT_EQ("a long line\n", dir.Read("log.1"));
}

TEST(AppendLog, SaysWhyItCannot) {
  const TempDir dir;
  dir.Write("file", "");
  EXPECT_EQ(EISDIR, os::AppendLogLine(dir.path(), "x\n", kNoLimit));
  EXPECT_EQ(ENOTDIR, os::AppendLogLine(dir.File("file/log"), "x\n", kNoLimit));
  EXPECT_EQ(ENOENT, os::AppendLogLine("", "x\n", kNoLimit));
  ASSERT_EQ(0, mkfifo(dir.File("pipe").c_str(), 0600));
  EXPECT_EQ(ENXIO, os::AppendLogLine(dir.File("pipe"), "x\n", kNoLimit));
  chmod(dir.path().c_str(), 0555);
  EXPECT_TRUE(kivtest::HoldsUnprivileged(
      [&dir] { return os::AppendLogLine(dir.File("log"), "x\n", kNoLimit) == EACCES; }));
}

TEST(AppendLog, LosesNothingWhicheverSystemCallFails) {
  const TempDir dir;
  for (std::uint64_t n = 1;; ++n) {
    dir.Write("log", "1111\n2222\n");
    std::filesystem::remove(dir.File("log.1"));
    os::system_calls::FailNth(n, EIO);
    const int error = os::AppendLogLine(dir.File("log"), "3333\n", 10);
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    const std::string all = dir.Read("log.1") + dir.Read("log");
    ASSERT_TRUE(all == "1111\n2222\n3333\n" || (error != 0 && all == "1111\n2222\n")) << n;
    if (!failed) break;
  }
}

TEST(AppendLog, GoesOnWhenInterrupted) {
  const TempDir dir;
  for (std::uint64_t n = 1; n <= 3; ++n) {
    os::system_calls::FailNth(n, EINTR);
    EXPECT_EQ(0, os::AppendLogLine(dir.File("log"), "line\n", kNoLimit));
    EXPECT_TRUE(os::system_calls::Failed());
    os::system_calls::FailNth(0, 0);
  }
  EXPECT_EQ("line\nline\nline\n", dir.Read("log"));
}

TEST(AppendLog, SaysSoWhenALineWasCutShort) {
  const TempDir dir;
  os::system_calls::FailNth(2, os::system_calls::kShortWrite);
  EXPECT_EQ(ENOSPC, os::AppendLogLine(dir.File("log"), "line\n", kNoLimit));
  os::system_calls::FailNth(0, 0);
}

TEST(AppendLog, KeepsEveryLineWholeWithTwoThreads) {
  const TempDir dir;
  const std::string line(100, 'x');
  const auto work = [&] {
    for (int i = 0; i < 500; ++i) {
      EXPECT_EQ(0, os::AppendLogLine(dir.File("log"), line + "\n", kNoLimit));
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(1000u, CountWholeLines(dir, line + "\n"));
}

TEST(AppendLog, IsMovedAsideOnceByTwoWritersThatFindItFull) {
  const TempDir dir;
  for (int round = 0; round < 200; ++round) {
    dir.Write("log", "full\n");
    dir.Write("log.1", "");
    std::atomic<int> ready{0};
    const auto work = [&] {
      ++ready;
      while (ready < 2) {
      }
      os::AppendLogLine(dir.File("log"), "new\n", 8);
    };
    std::thread other(work);
    work();
    other.join();
    ASSERT_EQ("full\n", dir.Read("log.1")) << round;
    ASSERT_EQ("new\nnew\n", dir.Read("log")) << round;
  }
}

TEST(AppendLog, LosesNoLineWhenSeveralProcessesMoveItAside) {
  const TempDir dir;
  const std::string line(99, 'x');
  constexpr int kLines = 60;
  // 120 lines of 100 bytes: the limit is passed once, by one of the two.
  const pid_t child = fork();
  for (int i = 0; i < kLines; ++i) os::AppendLogLine(dir.File("log"), line + "\n", 8000);
  if (child == 0) _exit(0);
  int status = 1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_EQ(2u * kLines, CountWholeLines(dir, line + "\n"));
  EXPECT_EQ((Names{"log", "log.1"}), dir.Names());
}

}  // namespace
