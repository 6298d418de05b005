#include "platform/os/kept_copies.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/os/safe_file.h"
#include "platform/os/system_calls.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

namespace fs = std::filesystem;
using kivtest::TempDir;
using Names = std::vector<std::string>;

// Replaces the file as a save does.
int Replace(const TempDir& dir, const std::string& content) {
  os::GoodCopy copy;
  if (const int error = copy.Prepare(dir.File("file"), dir.File("copy"))) return error;
  if (const int error = os::WriteFileSafely(dir.File("file"), content)) return error;
  return copy.Keep();
}

bool AreApart(const TempDir& dir) { return !fs::equivalent(dir.File("file"), dir.File("copy")); }

TEST(GoodCopy, KeepsWhatIsReplaced) {
  const TempDir dir;
  for (const char* content : {"1", "2", "3"}) {
    dir.Write("file", content);
    EXPECT_EQ(0, Replace(dir, "new"));
    EXPECT_EQ(content, dir.Read("copy"));
    EXPECT_EQ((Names{"copy", "file"}), dir.Names());
  }
}

TEST(GoodCopy, IsAnotherFileAtEachMoment) {
  const TempDir dir;
  dir.Write("file", "1");
  dir.Write("copy", "0");
  os::GoodCopy copy;
  EXPECT_EQ(0, copy.Prepare(dir.File("file"), dir.File("copy")));
  EXPECT_EQ("0", dir.Read("copy"));
  EXPECT_TRUE(AreApart(dir));
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), "2"));
  EXPECT_EQ("0", dir.Read("copy"));
  EXPECT_EQ(0, copy.Keep());
  EXPECT_EQ("1", dir.Read("copy"));
  EXPECT_TRUE(AreApart(dir));
}

TEST(GoodCopy, StaysTheFormerOneWhenTheFileIsNotReplaced) {
  const TempDir dir;
  dir.Write("file", "1");
  dir.Write("copy", "0");
  for (std::uint64_t n = 2;; ++n) {
    os::system_calls::FailNth(n, EIO);
    const int error = Replace(dir, "2");
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    if (!failed) break;
    // Closing the directory may fail without harm, and the rename of the copy has another way.
    EXPECT_TRUE(error == EIO || error == 0) << n;
    EXPECT_EQ(error == 0 ? "1" : "0", dir.Read("copy")) << n;
    EXPECT_TRUE(AreApart(dir)) << n;
    EXPECT_EQ((Names{"copy", "file"}), dir.Names()) << n;
    dir.Write("file", "1");
    dir.Write("copy", "0");
  }
  EXPECT_EQ("1", dir.Read("copy"));
}

TEST(GoodCopy, ClearsWhatAKilledOneLeft) {
  const TempDir dir;
  dir.Write("file", "1");
  dir.Write("copy", "0");
  fs::create_hard_link(dir.File("file"), dir.File("copy-new"));
  EXPECT_EQ(0, Replace(dir, "2"));
  EXPECT_EQ("1", dir.Read("copy"));
  EXPECT_EQ((Names{"copy", "file"}), dir.Names());
}

TEST(GoodCopy, PartsAFileThatIsItsOwnCopy) {
  const TempDir dir;
  dir.Write("file", "1");
  fs::create_hard_link(dir.File("file"), dir.File("copy"));
  EXPECT_EQ(0, Replace(dir, "2"));
  EXPECT_EQ("1", dir.Read("copy"));
  EXPECT_EQ("2", dir.Read("file"));
  EXPECT_EQ((Names{"copy", "file"}), dir.Names());
}

TEST(GoodCopy, CopiesWhatCannotBeLinked) {
  for (const int error : {EPERM, EIO, ENOSPC, EMLINK}) {
    const TempDir dir;
    dir.Write("file", "1");
    dir.Write("copy", "0");
    os::system_calls::FailNth(1, error);
    EXPECT_EQ(0, Replace(dir, "2"));
    EXPECT_TRUE(os::system_calls::Failed());
    os::system_calls::FailNth(0, 0);
    EXPECT_EQ("1", dir.Read("copy")) << error;
    EXPECT_EQ((Names{"copy", "file"}), dir.Names());
  }
}

TEST(GoodCopy, IsKeptThoughRenamingFailed) {
  const TempDir dir;
  dir.Write("file", "1");
  dir.Write("copy", "0");
  {
    os::GoodCopy copy;
    EXPECT_EQ(0, copy.Prepare(dir.File("file"), dir.File("copy")));
    EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), "2"));
    os::system_calls::FailNth(1, EIO);
    EXPECT_EQ(0, copy.Keep());
    os::system_calls::FailNth(0, 0);
  }
  EXPECT_EQ("1", dir.Read("copy"));
  EXPECT_EQ((Names{"copy", "file"}), dir.Names());
}

TEST(GoodCopy, OfAFileThatIsNotThereFails) {
  const TempDir dir;
  EXPECT_EQ(ENOENT, Replace(dir, "1"));
  EXPECT_EQ(Names{}, dir.Names());
}

TEST(SetAside, TakesTheFirstNameThatIsFree) {
  const TempDir dir;
  dir.Write("file.corrupt-1", "other");
  dir.Write("file", "broken");
  std::string aside;
  EXPECT_EQ(0, os::SetAside(dir.File("file"), aside));
  EXPECT_EQ(dir.File("file.corrupt-2"), aside);
  EXPECT_EQ("other", dir.Read("file.corrupt-1"));
  EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), "new"));
  EXPECT_EQ("broken", dir.Read("file.corrupt-2"));
}

TEST(SetAside, KeepsTheNameOfOneThatWasSetAside) {
  const TempDir dir;
  dir.Write("file", "broken");
  std::string aside;
  EXPECT_EQ(0, os::SetAside(dir.File("file"), aside));
  EXPECT_EQ(0, os::SetAside(dir.File("file"), aside));
  EXPECT_EQ(dir.File("file.corrupt-1"), aside);
  EXPECT_EQ((Names{"file", "file.corrupt-1"}), dir.Names());
}

// The file keeps its own name too: whoever is killed now finds it broken, not missing.
TEST(SetAside, CopiesWhatCannotBeLinked) {
  for (const int error : {EPERM, EIO, ENOSYS}) {
    const TempDir dir;
    dir.Write("file", "broken");
    std::string aside;
    for (int again = 0; again < 2; ++again) {  // as after a kill
      os::system_calls::FailNth(1, error);
      EXPECT_EQ(0, os::SetAside(dir.File("file"), aside));
      os::system_calls::FailNth(0, 0);
      EXPECT_EQ(dir.File("file.corrupt-1"), aside);
      EXPECT_EQ("broken", dir.Read("file.corrupt-1"));
      EXPECT_EQ("broken", dir.Read("file"));
      EXPECT_EQ((Names{"file", "file.corrupt-1"}), dir.Names());
    }
  }
}

TEST(SetAside, LeavesTheFileWhenItFails) {
  const TempDir dir;
  dir.Write("file", "broken");
  chmod(dir.path().c_str(), 0555);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&] {
    std::string aside;
    return os::SetAside(dir.File("file"), aside) == EACCES;
  }));
  EXPECT_EQ(Names{"file"}, dir.Names());
  std::string aside;
  EXPECT_EQ(ENOENT, os::SetAside(dir.File("nothing"), aside));
}

}  // namespace
