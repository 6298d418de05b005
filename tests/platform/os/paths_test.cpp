#include "platform/os/paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

using kivtest::ScopedEnv;
using kivtest::TempDir;

// A test whose data directory is known.
class MappedPaths : public testing::Test {
 protected:
  MappedPaths() { os::SetDataDirectory("/data"); }
  ~MappedPaths() override { os::SetDataDirectory(""); }
};

struct MapRow {
  const wchar_t* shown;
  const char* mapped;
};

TEST_F(MappedPaths, TurnBackslashesAndDrivesIntoFileSystemPaths) {
  const MapRow rows[] = {
      {L"", ""},
      {L"a\\b\\c.txt", "a/b/c.txt"},
      {L"/usr/x", "/usr/x"},
      {L"\\\\server\\share", "//server/share"},
      {L"C:\\Kestrax\\kit.ini", "/data/C/Kestrax/kit.ini"},
      {L"C:/Kestrax/kit.ini", "/data/C/Kestrax/kit.ini"},
      {L"d:\\", "/data/d/"},
      {L"C:", "C:"},
      {L"C:file", "C:file"},
      {L"1:\\x", "1:/x"},
      {L"\u00C4:\\x", "\xC3\x84:/x"},
      {L"xC:\\y", "xC:/y"},
      {L"a b\\\u20AC", "a b/\xE2\x82\xAC"},
      {L" C:\\x", " C:/x"},
  };
  for (const MapRow& row : rows) EXPECT_EQ(row.mapped, os::MapPath(row.shown)) << row.mapped;
}

// The variables that decide about the user's directories, all unset unless a test sets them.
class UserDirectories : public testing::Test {
 protected:
  void Set(const char* name, const char* value) { setenv(name, value, 1); }

  ScopedEnv config_{"KIV_CONFIG_DIR", std::nullopt};
  ScopedEnv data_{"KIV_DATA_DIR", std::nullopt};
  ScopedEnv xdgConfig_{"XDG_CONFIG_HOME", std::nullopt};
  ScopedEnv xdgData_{"XDG_DATA_HOME", std::nullopt};
  ScopedEnv home_{"HOME", std::nullopt};
  ScopedEnv lang_{"LANG", std::nullopt};
};

TEST_F(UserDirectories, StandBelowHome) {
  Set("HOME", "/home/me");
  EXPECT_EQ("/home/me/.config/kiv", os::DefaultConfigDirectory());
  EXPECT_EQ("/home/me/.local/share/kiv", os::DataDirectory());
}

TEST_F(UserDirectories, FollowTheXdgVariables) {
  Set("HOME", "/home/me");
  Set("XDG_CONFIG_HOME", "/cfg");
  Set("XDG_DATA_HOME", "/dat");
  EXPECT_EQ("/cfg/kiv", os::DefaultConfigDirectory());
  EXPECT_EQ("/dat/kiv", os::DataDirectory());
}

TEST_F(UserDirectories, IgnoreRelativeAndEmptyXdgVariables) {
  Set("HOME", "/home/me");
  Set("XDG_CONFIG_HOME", "cfg");
  Set("XDG_DATA_HOME", "");
  EXPECT_EQ("/home/me/.config/kiv", os::DefaultConfigDirectory());
  EXPECT_EQ("/home/me/.local/share/kiv", os::DataDirectory());
}

TEST_F(UserDirectories, FollowTheirOwnVariablesFirst) {
  Set("XDG_CONFIG_HOME", "/cfg");
  Set("XDG_DATA_HOME", "/dat");
  Set("KIV_CONFIG_DIR", "/own/config");
  Set("KIV_DATA_DIR", "/own/data");
  EXPECT_EQ("/own/config", os::DefaultConfigDirectory());
  EXPECT_EQ("/own/data", os::DataDirectory());
  EXPECT_EQ("/own/data/C/x", os::MapPath(L"C:\\x"));
}

TEST_F(UserDirectories, ComeFromTheUserDatabaseWithoutHome) {
  const std::string directory = os::DefaultConfigDirectory();
  EXPECT_TRUE(directory.starts_with('/')) << directory;
  EXPECT_TRUE(directory.ends_with("/.config/kiv")) << directory;
  Set("HOME", "");
  EXPECT_EQ(directory, os::DefaultConfigDirectory());
}

TEST_F(UserDirectories, AreThoseOfTheUserWhoRunsTheProgram) {
  if (geteuid() != 0) GTEST_SKIP() << "needs another user";
  const std::string own = os::DataDirectory();
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&own] { return os::DataDirectory() != own; }));
}

// The directory that is made use of, and nothing that another one stands before.
TEST_F(UserDirectories, NameTheVariableThatIsNotUtf8) {
  Set("HOME", "/home/m\xE4");
  EXPECT_EQ("HOME", os::DefaultConfigDirectoryNotUtf8());
  EXPECT_EQ("HOME", os::DataDirectoryNotUtf8());
  Set("XDG_CONFIG_HOME", "/cfg");
  Set("XDG_DATA_HOME", "/\xFF");
  EXPECT_EQ("", os::DefaultConfigDirectoryNotUtf8());
  EXPECT_EQ("XDG_DATA_HOME", os::DataDirectoryNotUtf8());
  Set("KIV_CONFIG_DIR", "/\xC3");
  Set("KIV_DATA_DIR", "/\xC3\xA4 \xEF\xBF\xBD");
  EXPECT_EQ("KIV_CONFIG_DIR", os::DefaultConfigDirectoryNotUtf8());
  EXPECT_EQ("", os::DataDirectoryNotUtf8());
}

TEST_F(UserDirectories, GiveWayToAChosenDataDirectoryUntilItIsTakenBack) {
  Set("KIV_DATA_DIR", "/own/data");
  os::SetDataDirectory("/chosen");
  EXPECT_EQ("/chosen", os::DataDirectory());
  os::SetDataDirectory("");
  EXPECT_EQ("/own/data", os::DataDirectory());
}

TEST(ProgramDirectory, IsWhereThisTestStands) {
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(self.parent_path().string(), os::ProgramDirectory());
}

TEST(LibraryDirectory, IsTheProgramsWhenTheLibraryIsLinkedIn) {
  EXPECT_EQ(os::ProgramDirectory(), os::LibraryDirectory());
}

TEST(PathFileExists, AnswersForFilesAndDirectories) {
  const TempDir dir;
  dir.Write("file", "");
  std::filesystem::create_symlink(dir.File("nothing"), dir.File("dangling"));
  EXPECT_NE(0, PathFileExistsW(dir.WideFile("file").c_str()));
  EXPECT_NE(0, PathFileExistsW(dir.WidePath().c_str()));
  EXPECT_EQ(0, PathFileExistsW(dir.WideFile("nothing").c_str()));
  EXPECT_EQ(0, PathFileExistsW(dir.WideFile("dangling").c_str()));
  EXPECT_EQ(0, PathFileExistsW(L""));
  EXPECT_EQ(0, PathFileExistsW(nullptr));
}

TEST(PathFileExists, LooksWhereADriveLetterIsMapped) {
  const TempDir dir;
  std::filesystem::create_directory(dir.File("C"));
  dir.Write("C/file", "");
  os::SetDataDirectory(dir.path());
  EXPECT_NE(0, PathFileExistsW(L"C:\\file"));
  EXPECT_EQ(0, PathFileExistsW(L"D:\\file"));
  os::SetDataDirectory("");
}

TEST(IsDirectory, TellsDirectoriesFromTheRest) {
  const TempDir dir;
  dir.Write("file", "");
  std::filesystem::create_directory_symlink(dir.path(), dir.File("link"));
  EXPECT_TRUE(os::IsDirectory(dir.path()));
  EXPECT_TRUE(os::IsDirectory(dir.File("link")));
  EXPECT_FALSE(os::IsDirectory(dir.File("file")));
  EXPECT_FALSE(os::IsDirectory(dir.File("nothing")));
}

}  // namespace
