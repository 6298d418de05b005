#include "platform/base/app_prefs.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "tests/platform/base/fresh_setup.h"

namespace {

namespace fs = std::filesystem;

class AppPrefs : public kivtest::FreshSetup {};

TEST_F(AppPrefs, PutTheSettingsFileIntoTheConfigurationDirectory) {
  const QCString home(home_.WidePath());
  EXPECT_EQ(home + L"/.config/kiv/kiv.xml", GetAppPrefs().GetConfigFileByVersion(L"kiv", 0));
  EXPECT_EQ(home + L"/.config/kiv/kiv-2.xml", GetAppPrefs().GetConfigFileByVersion(L"kiv", 2));
  EXPECT_EQ(home + L"/.config/kiv/kiv-4294967295.xml",
            GetAppPrefs().GetConfigFileByVersion(L"kiv", 4294967295u));
  bench::Setup setup;
  setup.configDir = L"/elsewhere";
  bench::SetSetup(setup);
  EXPECT_EQ(QCString(L"/elsewhere/kiv.xml"), GetAppPrefs().GetConfigFileByVersion(L"kiv", 0));
}

TEST_F(AppPrefs, KeepLogsInTheApplicationDirectory) {
  EXPECT_EQ(QCString(home_.WidePath()) + L"/.local/share/kiv", GetAppPrefs().GetDirectory());
}

struct PathRow {
  const wchar_t* file;
  const wchar_t* directory;
  const wchar_t* answer;
};

TEST_F(AppPrefs, CutTheDirectoryOffAFileBeneathIt) {
  static constexpr PathRow kRows[] = {
      {L"/app/log.txt", L"/app", L"log.txt"},
      {L"/app/log.txt", L"/app/", L"log.txt"},
      {L"/app/a/b.txt", L"/app", L"a/b.txt"},
      {L"\\app\\a\\b.txt", L"/app", L"a\\b.txt"},
      {L"C:\\app/log.txt", L"C:/app\\", L"log.txt"},
      {L"/log.txt", L"/", L"log.txt"},
      {L"/app", L"/app", L"/app"},
      {L"/app/", L"/app", L"/app/"},
      {L"/apple/log.txt", L"/app", L"/apple/log.txt"},
      {L"/App/log.txt", L"/app", L"/App/log.txt"},
      {L"/other/log.txt", L"/app", L"/other/log.txt"},
      {L"log.txt", L"/app", L"log.txt"},
      {L"/app/log.txt", L"", L"/app/log.txt"},
      {L"", L"/app", L""},
      {L"/app/../log.txt", L"/app", L"../log.txt"},
      // Cut, these would not lead back to where they were.
      {L"/app//log.txt", L"/app", L"/app//log.txt"},
      {L"/app/C:/log.txt", L"/app", L"/app/C:/log.txt"},
  };
  for (const PathRow& row : kRows) {
    EXPECT_EQ(QCString(row.answer),
              GetAppPrefs().AbsoluteFile2RelativeFile(row.file, row.directory))
        << QCString(row.file).ToUtf8() << " in " << QCString(row.directory).ToUtf8();
  }
}

TEST_F(AppPrefs, PutTheDirectoryBeforeARelativeFile) {
  static constexpr PathRow kRows[] = {
      {L"log.txt", L"/app", L"/app/log.txt"},
      {L"log.txt", L"/app/", L"/app/log.txt"},
      {L"log.txt", L"C:\\", L"C:\\log.txt"},
      {L"a\\b", L"/app", L"/app/a\\b"},
      {L"/log.txt", L"/app", L"/log.txt"},
      {L"\\log.txt", L"/app", L"\\log.txt"},
      {L"C:log.txt", L"/app", L"C:log.txt"},
      {L"c:\\log.txt", L"/app", L"c:\\log.txt"},
      {L"1:log.txt", L"/app", L"/app/1:log.txt"},
      {L"", L"/app", L"/app/"},
      {L"log.txt", L"", L"log.txt"},
      {L":", L"/app", L"/app/:"},
  };
  for (const PathRow& row : kRows) {
    EXPECT_EQ(QCString(row.answer),
              GetAppPrefs().RelativeFile2AbsoluteFile(row.file, row.directory))
        << QCString(row.file).ToUtf8() << " in " << QCString(row.directory).ToUtf8();
  }
}

TEST_F(AppPrefs, LeadFromAnAbsoluteFileToItselfThroughItsRelativeForm) {
  for (const wchar_t* directory : {L"/app", L"/app/", L"/", L"C:\\Kestrax", L"\\\\host\\share"}) {
    for (const wchar_t* rest : {L"x", L"a/b.txt", L"C:/x", L"../x", L"a b"}) {
      const QCString file = GetAppPrefs().RelativeFile2AbsoluteFile(rest, directory);
      const QCString relative = GetAppPrefs().AbsoluteFile2RelativeFile(file, directory);
      EXPECT_EQ(file, GetAppPrefs().RelativeFile2AbsoluteFile(relative, directory));
    }
  }
}

TEST_F(AppPrefs, MakeADirectoryWithItsParents) {
  const QCString home(home_.WidePath());
  EXPECT_EQ(0, MakeDir(home + L"\\a\\b", 0));
  EXPECT_TRUE(fs::is_directory(home_.File("a/b")));
  EXPECT_EQ(0, MakeDir(home + L"/c/d/file.txt", 1));
  EXPECT_TRUE(fs::is_directory(home_.File("c/d")));
  EXPECT_FALSE(fs::exists(home_.File("c/d/file.txt")));
  EXPECT_EQ(0, MakeDir(L"C:\\Kestrax\\file.txt", 1));
  EXPECT_TRUE(fs::is_directory(home_.File(".local/share/kiv/C/Kestrax")));
  EXPECT_EQ(0, MakeDir(L"file.txt", 1));
  EXPECT_EQ(0, MakeDir(L"/file.txt", 1));
  EXPECT_EQ(ENOENT, MakeDir(L"", 0));
  home_.Write("file", "");
  EXPECT_EQ(ENOTDIR, MakeDir(home + L"/file/below", 0));
}

}  // namespace
