#include "platform/os/file_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

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

TEST(FileLock, HasAnotherMarkEachTimeSomethingBeganAnew) {
  const TempDir dir;
  std::set<std::string> marks = {""};
  for (int i = 0; i < 100; ++i) {
    os::FileLock lock;
    ASSERT_EQ(0, lock.Acquire(dir.File("lock"), 0));
    EXPECT_EQ(i == 0, lock.Mark() == "") << i;
    ASSERT_EQ(0, lock.NoteBegun());
    EXPECT_TRUE(marks.insert(lock.Mark()).second);
    EXPECT_EQ(lock.Mark(), os::FileLock::Mark(dir.File("lock")));
    EXPECT_EQ(48u, lock.Mark().size());
  }
  std::filesystem::remove(dir.File("lock"));
  os::FileLock anew;
  ASSERT_EQ(0, anew.Acquire(dir.File("lock"), 0));
  EXPECT_EQ("", anew.Mark());
  ASSERT_EQ(0, anew.NoteBegun());
  EXPECT_TRUE(marks.insert(anew.Mark()).second);
  EXPECT_EQ("", os::FileLock::Mark(dir.File("nothing")));
  EXPECT_EQ(EBADF, os::FileLock().NoteBegun());
}

TEST(FileLock, NeedsNoMoreRoomForAnotherMark) {
  const TempDir dir;
  os::FileLock lock;
  ASSERT_EQ(0, lock.Acquire(dir.File("lock"), 0));
  ASSERT_EQ(0, lock.NoteBegun());
  const auto size = std::filesystem::file_size(dir.File("lock"));
  ASSERT_EQ(0, lock.NoteBegun());
  EXPECT_EQ(size, std::filesystem::file_size(dir.File("lock")));
  os::system_calls::FailNth(1, ENOSPC);
  EXPECT_EQ(ENOSPC, lock.NoteBegun());
  os::system_calls::FailNth(1, os::system_calls::kShortWrite);
  EXPECT_EQ(0, lock.NoteBegun());
  os::system_calls::FailNth(0, 0);
}

// Until somebody waits for the lock, who holds its first byte.
void WaitForQueue(const std::string& path) {
  const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(file, 0);
  for (;;) {
    struct flock range {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_len = 1;
    if (fcntl(file, F_OFD_GETLK, &range) != 0 || range.l_type != F_UNLCK) break;
    std::this_thread::yield();
  }
  close(file);
}

// Two that wait for what is no lock any more would both go on.
TEST(FileLock, IsOfTheFileThatHasTheNameNow) {
  const TempDir dir;
  os::FileLock removed;
  ASSERT_EQ(0, removed.Acquire(dir.File("lock"), 0));
  int began[2];
  ASSERT_EQ(0, pipe(began));
  const pid_t child = fork();
  if (child == 0) {
    os::FileLock waiting, other;
    if (write(began[1], "x", 1) != 1) _exit(2);
    const bool isHeld = waiting.Acquire(dir.File("lock"), 20'000) == 0;
    _exit(isHeld && other.Acquire(dir.File("lock"), 0) == ETIMEDOUT ? 0 : 1);
  }
  char byte = 0;
  EXPECT_EQ(1, read(began[0], &byte, 1));
  WaitForQueue(dir.File("lock"));
  std::filesystem::remove(dir.File("lock"));
  removed.Release();
  int status = -1;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  close(began[0]);
  close(began[1]);
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
