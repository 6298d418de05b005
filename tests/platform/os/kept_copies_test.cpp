#include "platform/os/kept_copies.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/os/safe_file.h"
#include "platform/os/system_calls.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using kivtest::TempDir;
using Names = std::vector<std::string>;

TEST(KeepCopy, KeepsWhatIsReplacedNext) {
  const TempDir dir;
  for (const char* content : {"1", "2", "3"}) {
    dir.Write("file", content);
    EXPECT_EQ(0, os::KeepCopy(dir.File("file"), dir.File("copy")));
    EXPECT_EQ(0, os::KeepCopy(dir.File("file"), dir.File("copy")));  // already is
    EXPECT_EQ(0, os::WriteFileSafely(dir.File("file"), "new"));
    EXPECT_EQ(content, dir.Read("copy"));
    EXPECT_EQ((Names{"copy", "file"}), dir.Names());
  }
}

TEST(KeepCopy, ClearsWhatAKilledOneLeft) {
  const TempDir dir;
  dir.Write("file", "1");
  dir.Write("copy", "0");
  fs::create_hard_link(dir.File("file"), dir.File("copy-new"));
  EXPECT_EQ(0, os::KeepCopy(dir.File("file"), dir.File("copy")));
  EXPECT_EQ("1", dir.Read("copy"));
  EXPECT_EQ((Names{"copy", "file"}), dir.Names());
}

TEST(KeepCopy, CopiesWhereThereAreNoLinks) {
  const TempDir dir;
  dir.Write("file", "1");
  os::system_calls::FailNth(1, EPERM);
  EXPECT_EQ(0, os::KeepCopy(dir.File("file"), dir.File("copy")));
  os::system_calls::FailNth(0, 0);
  EXPECT_EQ("1", dir.Read("copy"));
  EXPECT_FALSE(fs::equivalent(dir.File("file"), dir.File("copy")));
  EXPECT_EQ((Names{"copy", "file"}), dir.Names());
}

TEST(KeepCopy, LeavesTheOldCopyWhenItFails) {
  const TempDir dir;
  for (std::uint64_t n = 1; n <= 2; ++n) {
    dir.Write("file", "1");
    dir.Write("copy", "0");
    os::system_calls::FailNth(n, EIO);
    EXPECT_EQ(EIO, os::KeepCopy(dir.File("file"), dir.File("copy")));
    os::system_calls::FailNth(0, 0);
    EXPECT_EQ("0", dir.Read("copy"));
    EXPECT_EQ("1", dir.Read("file"));
    EXPECT_EQ((Names{"copy", "file"}), dir.Names());
  }
  EXPECT_EQ(ENOENT, os::KeepCopy(dir.File("nothing"), dir.File("copy")));
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

TEST(SetAside, RenamesWhereThereAreNoLinks) {
  const TempDir dir;
  dir.Write("file", "broken");
  std::string aside;
  os::system_calls::FailNth(1, EPERM);
  EXPECT_EQ(0, os::SetAside(dir.File("file"), aside));
  os::system_calls::FailNth(0, 0);
  EXPECT_EQ("broken", dir.Read("file.corrupt-1"));
  EXPECT_EQ(Names{"file.corrupt-1"}, dir.Names());
}

TEST(SetAside, LeavesTheFileWhenItFails) {
  const TempDir dir;
  dir.Write("file", "broken");
  std::string aside;
  os::system_calls::FailNth(1, ENOSPC);
  EXPECT_EQ(ENOSPC, os::SetAside(dir.File("file"), aside));
  os::system_calls::FailNth(0, 0);
  EXPECT_EQ(Names{"file"}, dir.Names());
  EXPECT_EQ(ENOENT, os::SetAside(dir.File("nothing"), aside));
}

}  // namespace
