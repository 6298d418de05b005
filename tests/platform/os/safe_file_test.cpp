#include "platform/os/safe_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/os/system_calls.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

namespace fs = std::filesystem;
using kivtest::TempDir;
using Names = std::vector<std::string>;

constexpr std::size_t kNoLimit = SIZE_MAX / 2;

unsigned ModeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

std::size_t OpenDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

TEST(WriteFileSafely, CreatesAFile) {
  const TempDir dir;
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("new"), "content"));
  EXPECT_EQ("content", dir.Read("new"));
  EXPECT_EQ(Names{"new"}, dir.Names());
}

TEST(WriteFileSafely, GivesANewFileWhatTheUmaskLeaves) {
  const TempDir dir;
  const mode_t old = umask(027);
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("new"), "x"));
  umask(old);
  EXPECT_EQ(0640u, ModeOf(dir.File("new")));
}

TEST(WriteFileSafely, GivesANewFileToItsOwnerAloneWhenAsked) {
  const TempDir dir;
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("new"), "x", os::NewFileRights::kOwnerOnly));
  EXPECT_EQ(0600u, ModeOf(dir.File("new")));
}

TEST(WriteFileSafely, ReplacesAFileAndKeepsItsMode) {
  const TempDir dir;
  dir.Write("file", "old and longer");
  for (const unsigned mode : {0600u, 0644u, 0666u, 0751u}) {
    chmod(dir.File("file").c_str(), mode);
    EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), "new"));
    EXPECT_EQ("new", dir.Read("file"));
    EXPECT_EQ(mode, ModeOf(dir.File("file")));
  }
  EXPECT_EQ(Names{"file"}, dir.Names());
}

TEST(WriteFileSafely, KeepsTheOwnerAsFarAsItMay) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  const TempDir dir;
  dir.Write("file", "old");
  ASSERT_EQ(0, chown(dir.File("file").c_str(), 1234, 4321));
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), "new"));
  struct stat status {};
  ASSERT_EQ(0, stat(dir.File("file").c_str(), &status));
  EXPECT_EQ(1234u, status.st_uid);
  EXPECT_EQ(4321u, status.st_gid);
}

TEST(WriteFileSafely, WritesEmptyAndLargeContent) {
  const TempDir dir;
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), ""));
  EXPECT_EQ("", dir.Read("file"));
  const std::string large(3'000'001, 'x');
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), large));
  EXPECT_EQ(large, dir.Read("file"));
}

TEST(WriteFileSafely, WritesIntoTheCurrentDirectory) {
  const TempDir dir;
  const fs::path before = fs::current_path();
  fs::current_path(dir.path());
  EXPECT_EQ(0, os::WriteFileSafely("plain", "content"));
  fs::current_path(before);
  EXPECT_EQ("content", dir.Read("plain"));
}

TEST(WriteFileSafely, ReplacesTheTargetOfLinks) {
  const TempDir dir;
  fs::create_directory(dir.File("sub"));
  dir.Write("sub/file", "old");
  fs::create_symlink("sub/file", dir.File("one"));
  fs::create_symlink(dir.File("one"), dir.File("two"));
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("two"), "new"));
  EXPECT_EQ("new", dir.Read("sub/file"));
  EXPECT_TRUE(fs::is_symlink(dir.File("one")));
  EXPECT_TRUE(fs::is_symlink(dir.File("two")));
}

TEST(WriteFileSafely, CreatesTheTargetOfADanglingLink) {
  const TempDir dir;
  fs::create_symlink("target", dir.File("link"));
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("link"), "new"));
  EXPECT_EQ("new", dir.Read("target"));
  EXPECT_TRUE(fs::is_symlink(dir.File("link")));
}

TEST(WriteFileSafely, RefusesALinkThatGoesRound) {
  const TempDir dir;
  fs::create_symlink("b", dir.File("a"));
  fs::create_symlink("a", dir.File("b"));
  EXPECT_EQ(ELOOP, os::WriteFileSafely(dir.File("a"), "new"));
}

TEST(WriteFileSafely, RefusesWhatIsNoRegularFile) {
  const TempDir dir;
  ASSERT_EQ(0, mkfifo(dir.File("pipe").c_str(), 0666));
  EXPECT_EQ(EINVAL, os::WriteFileSafely(dir.File("pipe"), "x"));
  EXPECT_EQ(EINVAL, os::WriteFileSafely("/dev/null", "x"));
  EXPECT_EQ(EISDIR, os::WriteFileSafely(dir.path(), "x"));
  EXPECT_EQ(ENOENT, os::WriteFileSafely(dir.File("no/file"), "x"));
  EXPECT_EQ(ENOENT, os::WriteFileSafely("", "x"));
  EXPECT_EQ(ENOENT, os::WriteFileSafely(std::string("a\0b", 3), "x"));
  dir.Write("file", "");
  EXPECT_EQ(ENOTDIR, os::WriteFileSafely(dir.File("file/below"), "x"));
  EXPECT_EQ((Names{"file", "pipe"}), dir.Names());
}

TEST(WriteFileSafely, RefusesAFileThatTheUserMayNotWrite) {
  const TempDir dir;
  chmod(dir.path().c_str(), 0777);
  dir.Write("file", "old");
  chmod(dir.File("file").c_str(), 0444);
  EXPECT_TRUE(kivtest::HoldsUnprivileged(
      [&dir] { return os::WriteFileSafely(dir.File("file"), "new") == EACCES; }));
  EXPECT_EQ("old", dir.Read("file"));
  EXPECT_EQ(Names{"file"}, dir.Names());
}

TEST(WriteFileSafely, RefusesADirectoryThatTheUserMayNotWrite) {
  const TempDir dir;
  chmod(dir.path().c_str(), 0555);
  dir.Write("file", "old");
  chmod(dir.File("file").c_str(), 0666);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&dir] {
    return os::WriteFileSafely(dir.File("file"), "new") == EACCES &&
           os::WriteFileSafely(dir.File("other"), "new") == EACCES;
  }));
  EXPECT_EQ("old", dir.Read("file"));
  EXPECT_EQ(Names{"file"}, dir.Names());
}

TEST(WriteFileSafely, WritesIntoADirectoryThatCannotBeRead) {
  const TempDir dir;
  chmod(dir.path().c_str(), 0733);
  EXPECT_TRUE(kivtest::HoldsUnprivileged(
      [&dir] { return os::WriteFileSafely(dir.File("file"), "new") == 0; }));
  EXPECT_EQ("new", dir.Read("file"));
}

// Fails the n-th system call of a replacement for every n until none is hit any more.
class EverySystemCall : public testing::TestWithParam<int> {};

TEST_P(EverySystemCall, MayFailAndLeavesOldOrNewContentWhole) {
  const TempDir dir;
  const std::string content(100'000, 'n');
  const std::size_t descriptors = OpenDescriptors();
  std::size_t failures = 0;
  for (std::uint64_t n = 1;; ++n) {
    dir.Write("file", "old");
    os::system_calls::FailNth(n, GetParam());
    const int error = os::WriteFileSafely(dir.File("file"), content);
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    const std::string left = dir.Read("file");
    ASSERT_TRUE(left == content || (error != 0 && left == "old")) << n;
    ASSERT_EQ(Names{"file"}, dir.Names()) << n;
    ASSERT_EQ(descriptors, OpenDescriptors()) << n;
    if (error != 0) ++failures;
    if (!failed) {
      ASSERT_EQ(0, error);
      // Directory, temporary, write, mode, sync, close, rename, sync and close of the directory.
      ASSERT_EQ(10u, n);
      break;
    }
  }
  // Interrupted and short calls are gone on with; the close of the directory has nothing to lose.
  const bool isHarmless = GetParam() == EINTR || GetParam() == os::system_calls::kShortWrite;
  EXPECT_EQ(isHarmless ? 0u : 8u, failures);
}

TEST_P(EverySystemCall, MayFailWhereThereWasNoFile) {
  const TempDir dir;
  for (std::uint64_t n = 1;; ++n) {
    os::system_calls::FailNth(n, GetParam());
    const int error = os::WriteFileSafely(dir.File("file"), "new");
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    const bool written = dir.Names() == Names{"file"} && dir.Read("file") == "new";
    ASSERT_TRUE(written || (error != 0 && dir.Names().empty())) << n;
    fs::remove(dir.File("file"));
    if (!failed) break;
  }
}

INSTANTIATE_TEST_SUITE_P(Errors, EverySystemCall,
                         testing::Values(ENOSPC, EIO, EINTR, os::system_calls::kShortWrite));

TEST(WriteFileSafely, LeavesAWholeFileWhenTheProcessIsKilled) {
  const TempDir dir;
  const std::string contents[] = {std::string(300'000, 'a'), std::string(200'000, 'b')};
  ASSERT_EQ(0, os::WriteFileSafely(dir.File("file"), contents[0]));
  for (int round = 0; round < 10; ++round) {
    int ready[2];
    ASSERT_EQ(0, pipe(ready));
    const pid_t child = fork();
    if (child == 0) {
      for (int i = 0;; ++i) {
        os::WriteFileSafely(dir.File("file"), contents[i % 2]);
        if (i == round && write(ready[1], "x", 1) != 1) _exit(1);
      }
    }
    char ignored;
    EXPECT_EQ(1, read(ready[0], &ignored, 1));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    const std::string left = dir.Read("file");
    ASSERT_TRUE(left == contents[0] || left == contents[1]) << left.size();
  }
}

TEST(ReadWholeFile, ReadsWhatIsThere) {
  const TempDir dir;
  std::string content = "rest of before";
  dir.Write("empty", "");
  EXPECT_EQ(0, os::ReadWholeFile(dir.File("empty"), kNoLimit, content));
  EXPECT_EQ("", content);
  const std::string bytes = std::string("a\0\xFF\r\n", 5) + std::string(200'000, 'x');
  dir.Write("file", bytes);
  EXPECT_EQ(0, os::ReadWholeFile(dir.File("file"), kNoLimit, content));
  EXPECT_EQ(bytes, content);
}

TEST(ReadWholeFile, ReadsFilesWithoutASize) {
  std::string content;
  EXPECT_EQ(0, os::ReadWholeFile("/proc/self/status", kNoLimit, content));
  EXPECT_NE(std::string::npos, content.find("Pid:"));
}

TEST(ReadRegularFile, RefusesAllElseWithoutWaiting) {
  const TempDir dir;
  dir.Write("file", "content");
  std::string content;
  EXPECT_EQ(0, os::ReadRegularFile(dir.File("file"), kNoLimit, content));
  EXPECT_EQ("content", content);
  EXPECT_EQ(EFBIG, os::ReadRegularFile(dir.File("file"), 6, content));
  ASSERT_EQ(0, mkfifo(dir.File("pipe").c_str(), 0600));
  EXPECT_EQ(EINVAL, os::ReadRegularFile(dir.File("pipe"), kNoLimit, content));
  EXPECT_EQ("", content);
  EXPECT_EQ(EINVAL, os::ReadRegularFile("/dev/zero", 10, content));
  EXPECT_EQ(EISDIR, os::ReadRegularFile(dir.File(""), kNoLimit, content));
  EXPECT_EQ(ENOENT, os::ReadRegularFile(dir.File("none"), kNoLimit, content));
}

TEST(ReadWholeFile, HoldsItsLimit) {
  const TempDir dir;
  dir.Write("file", "12345");
  std::string content;
  EXPECT_EQ(0, os::ReadWholeFile(dir.File("file"), 5, content));
  EXPECT_EQ("12345", content);
  EXPECT_EQ(EFBIG, os::ReadWholeFile(dir.File("file"), 4, content));
  EXPECT_EQ("", content);
  EXPECT_EQ(EFBIG, os::ReadWholeFile("/dev/zero", 1'000'000, content));
}

TEST(ReadWholeFile, SaysWhyItCannot) {
  const TempDir dir;
  std::string content;
  EXPECT_EQ(ENOENT, os::ReadWholeFile(dir.File("nothing"), kNoLimit, content));
  EXPECT_EQ(ENOENT, os::ReadWholeFile("", kNoLimit, content));
  EXPECT_EQ(ENOENT, os::ReadWholeFile(std::string("a\0b", 3), kNoLimit, content));
  EXPECT_EQ(EISDIR, os::ReadWholeFile(dir.path(), kNoLimit, content));
  dir.Write("secret", "x");
  chmod(dir.File("secret").c_str(), 0);
  chmod(dir.path().c_str(), 0755);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&dir] {
    std::string ignored;
    return os::ReadWholeFile(dir.File("secret"), kNoLimit, ignored) == EACCES;
  }));
}

TEST(MakeDirectories, CreatesAllThatAreMissing) {
  const TempDir dir;
  EXPECT_EQ(0, os::MakeDirectories(dir.File("a/b//c/")));
  EXPECT_TRUE(fs::is_directory(dir.File("a/b/c")));
  EXPECT_EQ(0700u, ModeOf(dir.File("a")));
  EXPECT_EQ(0700u, ModeOf(dir.File("a/b/c")));
  EXPECT_EQ(0, os::MakeDirectories(dir.File("a/b/c")));
  EXPECT_EQ(0, os::MakeDirectories("/"));
}

TEST(MakeDirectories, SaysWhyItCannot) {
  const TempDir dir;
  dir.Write("file", "");
  EXPECT_EQ(ENOTDIR, os::MakeDirectories(dir.File("file")));
  EXPECT_EQ(ENOTDIR, os::MakeDirectories(dir.File("file/below")));
  EXPECT_EQ(ENOENT, os::MakeDirectories(""));
  chmod(dir.path().c_str(), 0555);
  EXPECT_TRUE(kivtest::HoldsUnprivileged(
      [&dir] { return os::MakeDirectories(dir.File("a/b")) == EACCES; }));
}

}  // namespace
