#include "platform/os/file_lock.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "platform/os/system_calls.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

using kivtest::TempDir;

TEST(FileLock, IsHeldByOneAtATime) {
  const TempDir dir;
  os::FileLock one, other;
  EXPECT_EQ(0, one.Acquire(dir.File("lock"), 0));
  EXPECT_EQ(ETIMEDOUT, other.Acquire(dir.File("lock"), 20));
  one.Release();
  EXPECT_EQ(0, other.Acquire(dir.File("lock"), 0));
  EXPECT_EQ(ETIMEDOUT, one.Acquire(dir.File("lock"), 0));
}

TEST(FileLock, IsGoneWithItsObject) {
  const TempDir dir;
  os::FileLock other;
  {
    os::FileLock one;
    EXPECT_EQ(0, one.Acquire(dir.File("lock"), 0));
  }
  EXPECT_EQ(0, other.Acquire(dir.File("lock"), 0));
  EXPECT_EQ("", dir.Read("lock"));
}

TEST(FileLock, IsNotKeptByOneThatGaveUpWaiting) {
  const TempDir dir;
  os::FileLock one, other, third;
  EXPECT_EQ(0, one.Acquire(dir.File("lock"), 0));
  EXPECT_EQ(ETIMEDOUT, other.Acquire(dir.File("lock"), 0));
  one.Release();
  EXPECT_EQ(0, third.Acquire(dir.File("lock"), 0));
}

TEST(FileLock, IsFreeAgainThoughClosingFailed) {
  const TempDir dir;
  os::FileLock one, other;
  EXPECT_EQ(0, one.Acquire(dir.File("lock"), 0));
  os::system_calls::FailNth(1, EIO);
  one.Release();
  os::system_calls::FailNth(0, 0);
  EXPECT_EQ(0, other.Acquire(dir.File("lock"), 0));
}

TEST(FileLock, IsGoneWithItsProcess) {
  const TempDir dir;
  int ready[2];
  ASSERT_EQ(0, pipe(ready));
  const pid_t child = fork();
  if (child == 0) {
    os::FileLock lock;
    const char answer = lock.Acquire(dir.File("lock"), 0) == 0 ? 'y' : 'n';
    if (write(ready[1], &answer, 1) == 1) pause();
    _exit(1);
  }
  char answer = 0;
  EXPECT_EQ(1, read(ready[0], &answer, 1));
  EXPECT_EQ('y', answer);
  os::FileLock lock;
  EXPECT_EQ(ETIMEDOUT, lock.Acquire(dir.File("lock"), 0));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(0, lock.Acquire(dir.File("lock"), 0));
  close(ready[0]);
  close(ready[1]);
}

TEST(FileLock, MakesItsFileForTheUserAlone) {
  const TempDir dir;
  os::FileLock lock;
  EXPECT_EQ(0, lock.Acquire(dir.File("lock"), 0));
  struct stat status {};
  ASSERT_EQ(0, stat(dir.File("lock").c_str(), &status));
  EXPECT_EQ(0600u, status.st_mode & 07777);
}

TEST(FileLock, SaysWhyItCannot) {
  const TempDir dir;
  os::FileLock lock;
  EXPECT_EQ(ENOENT, lock.Acquire(dir.File("no/lock"), 0));
  EXPECT_EQ(EISDIR, lock.Acquire(dir.path(), 0));
  std::filesystem::create_symlink("elsewhere", dir.File("link"));
  EXPECT_EQ(ELOOP, lock.Acquire(dir.File("link"), 0));
  chmod(dir.path().c_str(), 0555);
  EXPECT_TRUE(kivtest::HoldsUnprivileged(
      [&] { return os::FileLock().Acquire(dir.File("lock"), 0) == EACCES; }));
}

}  // namespace
