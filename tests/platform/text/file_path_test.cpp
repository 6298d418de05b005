#include "platform/text/file_path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "platform/os/paths.h"
#include "tests/support/temp_dir.h"

namespace {

using kivtest::TempDir;

struct PathRow {
  const wchar_t* path;
  const wchar_t* directory;
  const wchar_t* name;
  const wchar_t* extension;
};

TEST(CFilePath, TakesPathsApart) {
  const PathRow rows[] = {
      {L"C:\\dir\\file.txt", L"C:\\dir", L"file.txt", L".txt"},
      {L"/a/b/c.tar.gz", L"/a/b", L"c.tar.gz", L".gz"},
      {L"a\\b/c", L"a\\b", L"c", L""},
      {L"a/b\\c.x", L"a/b", L"c.x", L".x"},
      {L"file", L"", L"file", L""},
      {L"/file", L"", L"file", L""},
      {L"dir.d/file", L"dir.d", L"file", L""},
      {L"dir/", L"dir", L"", L""},
      {L".hcs", L"", L".hcs", L".hcs"},
      {L"name.", L"", L"name.", L"."},
      {L"", L"", L"", L""},
  };
  for (const PathRow& row : rows) {
    const CFilePath path(row.path);
    EXPECT_TRUE(path.GetPath() == row.path);
    EXPECT_EQ(row.directory, path.GetDirectory().str());
    EXPECT_EQ(row.name, path.GetFileName().str());
    EXPECT_EQ(row.extension, path.GetExtension().str());
  }
}

void WriteText(const QCString& path, const char* mode, const char* text) {
  std::FILE* file = CFilePathOperator::OpenFile(path, mode);
  ASSERT_NE(nullptr, file);
  std::fputs(text, file);
  std::fclose(file);
}

TEST(CFilePathOperator, OpensInTextModesWithoutChangingBytes) {
  const TempDir dir;
  const QCString path(dir.WideFile("file"));
  WriteText(path, "wt", "a\r\n");
  WriteText(path, "at", "b\n");
  EXPECT_EQ("a\r\nb\n", dir.Read("file"));
  WriteText(path, "wt", "");
  EXPECT_EQ("", dir.Read("file"));
}

TEST(CFilePathOperator, OpensForBinaryReading) {
  const TempDir dir;
  dir.Write("file", "ab");
  std::FILE* file = CFilePathOperator::OpenFile(QCString(dir.WideFile("file")), "rb");
  ASSERT_NE(nullptr, file);
  char bytes[4];
  EXPECT_EQ(2u, std::fread(bytes, 1, sizeof(bytes), file));
  EXPECT_EQ(FD_CLOEXEC, fcntl(fileno(file), F_GETFD));
  std::fclose(file);
}

TEST(CFilePathOperator, SaysWhyItCannotOpen) {
  const TempDir dir;
  const auto errorOf = [](const QCString& path, const char* mode) {
    EXPECT_EQ(nullptr, CFilePathOperator::OpenFile(path, mode));
    return errno;
  };
  EXPECT_EQ(ENOENT, errorOf(QCString(dir.WideFile("nothing")), "rb"));
  EXPECT_EQ(ENOENT, errorOf(QCString(dir.WideFile("no/thing")), "wt"));
  EXPECT_EQ(EISDIR, errorOf(QCString(dir.WidePath()), "rb"));
  EXPECT_EQ(EISDIR, errorOf(QCString(dir.WidePath()), "at"));
  EXPECT_EQ(EINVAL, errorOf(QCString(dir.WideFile("file")), nullptr));
  EXPECT_EQ(EINVAL, errorOf(QCString(dir.WideFile("file")), "x"));
  EXPECT_EQ(EINVAL, errorOf(QCString(dir.WideFile("file")), ""));
  EXPECT_TRUE(dir.Names().empty());
}

TEST(CFilePathOperator, OpensNoPipeSinceNobodyMayBeAtItsOtherEnd) {
  const TempDir dir;
  ASSERT_EQ(0, mkfifo(dir.File("pipe").c_str(), 0600));
  for (const char* mode : {"rb", "at", "wt", "r+"}) {
    errno = 0;
    EXPECT_EQ(nullptr, CFilePathOperator::OpenFile(QCString(dir.WideFile("pipe")), mode)) << mode;
    EXPECT_EQ(ESPIPE, errno) << mode;
  }
}

TEST(CFilePathOperator, TakesASizeAndIsBackAtTheStart) {
  const TempDir dir;
  dir.Write("file", "12345");
  std::FILE* file = CFilePathOperator::OpenFile(QCString(dir.WideFile("file")), "rb");
  ASSERT_NE(nullptr, file);
  ASSERT_EQ('1', std::fgetc(file));
  std::uint64_t sizeBytes = 0;
  EXPECT_TRUE(CFilePathOperator::GetSize(file, sizeBytes));
  EXPECT_EQ(5u, sizeBytes);
  EXPECT_EQ('1', std::fgetc(file));
  std::fclose(file);
}

TEST(CFilePathOperator, TakesNoSizeOfWhatHasNoPosition) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  std::FILE* file = fdopen(ends[0], "rb");
  std::uint64_t sizeBytes = 77;
  EXPECT_FALSE(CFilePathOperator::GetSize(file, sizeBytes));
  EXPECT_EQ(77u, sizeBytes);
  std::fclose(file);
  close(ends[1]);
}

TEST(CFilePathOperator, TellsRegularFilesFromTheRest) {
  const TempDir dir;
  dir.Write("script.hcs", "");
  std::filesystem::create_directory(dir.File("folder.hcs"));
  EXPECT_TRUE(CFilePathOperator::IsRegularFile(QCString(dir.WideFile("script.hcs"))));
  EXPECT_FALSE(CFilePathOperator::IsRegularFile(QCString(dir.WideFile("folder.hcs"))));
  EXPECT_FALSE(CFilePathOperator::IsRegularFile(QCString(dir.WideFile("nothing.hcs"))));
  EXPECT_FALSE(CFilePathOperator::IsRegularFile(L""));
}

TEST(CFilePathOperator, OpensWhereADriveLetterIsMapped) {
  const TempDir dir;
  std::filesystem::create_directory(dir.File("D"));
  os::SetDataDirectory(dir.path());
  WriteText(L"D:\\file", "wt", "x");
  os::SetDataDirectory("");
  EXPECT_EQ("x", dir.Read("D/file"));
}

}  // namespace
