#include "platform/os/file_watch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/temp_dir.h"

namespace {

using os::FileWatch;
using os::WatchedFile;

// A file "0123456789" that is open and watched.
class WatchedFileTest : public testing::Test {
 protected:
  WatchedFileTest() {
    dir_.Write("file", "0123456789");
    file_ = CreateFileW(Path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                        FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_TRUE(watch_.Begin(file_, Path().c_str()));
  }
  ~WatchedFileTest() override { CloseHandle(file_); }

  std::wstring Path() const { return dir_.WideFile("file"); }
  // Into the file that is there, without emptying it.
  void Overwrite(const std::string& bytes) const {
    std::fstream file(dir_.File("file"), std::ios::in | std::ios::out | std::ios::binary);
    file << bytes;
  }
  // Its times of access and modification, in nanoseconds since now.
  void SetTimes(std::int64_t beyondNowNs) const {
    struct stat status {};
    stat(dir_.File("file").c_str(), &status);
    const std::int64_t ns =
        status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec + beyondNowNs;
    const timespec time = {ns / 1'000'000'000, ns % 1'000'000'000};
    const timespec times[] = {time, time};
    utimensat(AT_FDCWD, dir_.File("file").c_str(), times, 0);
  }

  kivtest::TempDir dir_;
  HANDLE file_;
  FileWatch watch_;
};

TEST_F(WatchedFileTest, IsTheSameAsLongAsNobodyWrites) {
  EXPECT_EQ(watch_.Look(), WatchedFile::kSame);
  EXPECT_EQ(dir_.Read("file"), "0123456789");
  EXPECT_EQ(watch_.Look(), WatchedFile::kSame);
  chmod(dir_.File("file").c_str(), 0400);
  std::filesystem::create_hard_link(dir_.File("file"), dir_.File("other name"));
  EXPECT_EQ(watch_.Look(), WatchedFile::kSame);
}

TEST_F(WatchedFileTest, IsChangedByAWriteOfTheSameLengthAtOnce) {
  Overwrite("x");
  EXPECT_EQ(watch_.Look(), WatchedFile::kChanged);
}

TEST_F(WatchedFileTest, IsChangedByAnotherSizeThoughTheTimeIsTheSame) {
  struct stat before {};
  ASSERT_EQ(0, stat(dir_.File("file").c_str(), &before));
  for (std::uintmax_t sizeBytes : {0u, 9u, 11u}) {
    std::filesystem::resize_file(dir_.File("file"), sizeBytes);
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(0, utimensat(AT_FDCWD, dir_.File("file").c_str(), times, 0));
    EXPECT_EQ(watch_.Look(), WatchedFile::kChanged) << sizeBytes;
  }
}

TEST_F(WatchedFileTest, IsChangedByAnotherTimeDownToANanosecond) {
  SetTimes(1);
  EXPECT_EQ(watch_.Look(), WatchedFile::kChanged);
  SetTimes(-1);
  EXPECT_EQ(watch_.Look(), WatchedFile::kSame);
  SetTimes(-1'000'000'000);
  EXPECT_EQ(watch_.Look(), WatchedFile::kChanged);
}

TEST_F(WatchedFileTest, IsChangedWhenAnotherTakesItsName) {
  dir_.Write("other", "0123456789");
  std::filesystem::last_write_time(dir_.File("other"),
                                   std::filesystem::last_write_time(dir_.File("file")));
  std::filesystem::rename(dir_.File("other"), dir_.File("file"));
  EXPECT_EQ(watch_.Look(), WatchedFile::kChanged);
}

TEST_F(WatchedFileTest, IsGoneWithItsName) {
  std::filesystem::rename(dir_.File("file"), dir_.File("elsewhere"));
  EXPECT_EQ(watch_.Look(), WatchedFile::kGone);
  std::filesystem::rename(dir_.File("elsewhere"), dir_.File("file"));
  EXPECT_EQ(watch_.Look(), WatchedFile::kSame);
  std::filesystem::remove(dir_.File("file"));
  EXPECT_EQ(watch_.Look(), WatchedFile::kGone);
}

TEST_F(WatchedFileTest, IsFollowedThroughALink) {
  std::filesystem::create_symlink(dir_.File("file"), dir_.File("link"));
  ASSERT_TRUE(watch_.Begin(file_, dir_.WideFile("link").c_str()));
  EXPECT_EQ(watch_.Look(), WatchedFile::kSame);
  dir_.Write("other", "0123456789");
  std::filesystem::remove(dir_.File("link"));
  std::filesystem::create_symlink(dir_.File("other"), dir_.File("link"));
  EXPECT_EQ(watch_.Look(), WatchedFile::kChanged);
}

TEST_F(WatchedFileTest, CannotBeginWithoutAnOpenFile) {
  FileWatch none;
  EXPECT_FALSE(none.Begin(INVALID_HANDLE_VALUE, Path().c_str()));
  EXPECT_EQ(none.Look(), WatchedFile::kChanged);
}

TEST_F(WatchedFileTest, OfTheFutureIsNotWaitedFor) {
  SetTimes(std::int64_t{3600} * 1'000'000'000);
  const auto before = std::chrono::steady_clock::now();
  EXPECT_TRUE(watch_.Begin(file_, Path().c_str()));
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
  EXPECT_EQ(watch_.Look(), WatchedFile::kSame);
}

// Each round writes, begins and writes again as fast as it can: two writes within one tick of the
// clock that files are stamped with.
TEST(FileWatch, SeesAWriteThatFollowsAtOnce) {
  const kivtest::TempDir dir;
  for (int round = 0; round < 50; ++round) {
    dir.Write("file", "a");
    HANDLE file = CreateFileW(dir.WideFile("file").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    FileWatch watch;
    ASSERT_TRUE(watch.Begin(file, dir.WideFile("file").c_str()));
    dir.Write("file", "b");
    EXPECT_EQ(watch.Look(), WatchedFile::kChanged) << round;
    CloseHandle(file);
  }
}

}  // namespace
