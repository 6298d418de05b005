// The file that keeps what was shown.
#include "hosts/terminal/auto_log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/os/system_calls.h"
#include "tests/support/scratch_folder.h"

namespace kiv {
namespace {

constexpr std::chrono::milliseconds kPatience{60'000};

class AutoLogTest : public testing::Test {
 protected:
  static std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  // Waits until the writing thread has something to tell.
  std::string Problem() {
    wakes.wait(0);
    return log.TakeProblem();
  }

  kivtest::ScratchFolder folder;
  std::atomic<int> wakes{0};
  AutoLog log{[this] {
    ++wakes;
    wakes.notify_all();
  }};
};

TEST_F(AutoLogTest, IsWantedWhereThereIsAPath) {
  EXPECT_FALSE(log.IsWanted());
  log.SetPath(folder.Path("a.txt"));
  EXPECT_TRUE(log.IsWanted());
  log.SetPath("");
  EXPECT_FALSE(log.IsWanted());
}

TEST_F(AutoLogTest, AppendsToWhatIsThereAndIsTheOwnersAlone) {
  const std::string path = folder.Path("deep/er/kiv.txt");
  for (const char* text : {"one\n", "two\n"}) {
    AutoLog run([] {});
    run.SetPath(path);
    run.Add(text);
    run.Close(kPatience);
  }
  EXPECT_EQ(Content(path), "one\ntwo\n");
  EXPECT_EQ(std::filesystem::status(path).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(AutoLogTest, WhatWasAddedGoesToThePathOfItsTime) {
  log.SetPath(folder.Path("a"));
  log.Add("1");
  log.SetPath(folder.Path("b"));
  log.Add("2");
  log.SetPath(folder.Path("a"));
  log.Add("3");
  log.Close(kPatience);
  EXPECT_EQ(Content(folder.Path("a")), "13");
  EXPECT_EQ(Content(folder.Path("b")), "2");
}

TEST_F(AutoLogTest, AFileThatWasMovedAppearsAgain) {
  const std::string path = folder.Path("kiv.txt");
  log.SetPath(path);
  log.Add("one\n");
  log.Flush();
  while (Content(path) != "one\n") std::this_thread::yield();
  std::filesystem::rename(path, path + ".1");
  log.Add("two\n");
  log.Close(kPatience);
  EXPECT_EQ(Content(path + ".1"), "one\n");
  EXPECT_EQ(Content(path), "two\n");
}

TEST_F(AutoLogTest, AFullDiskIsToldOnceAndNothingWaitsForIt) {
  log.SetPath("/dev/full");
  log.Add("one\n");
  log.Flush();
  EXPECT_EQ(Problem(), "kiv: the log /dev/full cannot be written: it is no regular file\n");
  log.Add("two\n");
  log.Close(kPatience);
  EXPECT_EQ(log.TakeProblem(), "");
}

TEST_F(AutoLogTest, WhatCouldNotBeWrittenIsBroughtLater) {
  const std::string path = folder.Path("kiv.txt");
  std::filesystem::create_directory(path);
  log.SetPath(path);
  log.Add("one\n");
  log.Flush();
  EXPECT_EQ(Problem(), "kiv: the log " + path + " cannot be written: Is a directory\n");
  std::filesystem::remove(path);
  log.Add("two\n");
  log.Flush();
  while (Content(path) != "one\ntwo\n") std::this_thread::yield();
  log.Close(kPatience);
  EXPECT_EQ(Content(path), "one\ntwo\n");
  EXPECT_EQ(log.TakeProblem(), "");
}

TEST_F(AutoLogTest, WhicheverCallFailsEverythingIsThereAtTheEndAndOnce) {
  for (const int error : {ENOSPC, EIO, os::system_calls::kShortWrite}) {
    bool hasFailed = true;
    for (std::uint64_t n = 1; hasFailed; ++n) {
      const std::string path = folder.Path(std::to_string(error) + "-" + std::to_string(n));
      std::atomic<bool> isTold{false};
      AutoLog run([&isTold] { isTold = true; });
      run.SetPath(path);
      os::system_calls::FailNth(n, error);
      run.Add("one\ntwo\n");
      run.Flush();
      while (!isTold && Content(path) != "one\ntwo\n") std::this_thread::yield();
      run.Close(kPatience);
      hasFailed = os::system_calls::Failed();
      os::system_calls::FailNth(0, 0);
      EXPECT_EQ(Content(path), "one\ntwo\n") << n;
      ASSERT_LT(n, 20u);
    }
  }
}

}  // namespace
}  // namespace kiv
