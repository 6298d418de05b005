#include "platform/text/qc_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/os/paths.h"
#include "tests/support/temp_dir.h"

namespace {

using kivtest::TempDir;

std::size_t OpenDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

QCString Wide(const TempDir& dir, std::string_view name) { return QCString(dir.WideFile(name)); }

TEST(QCFile, ReadsBytesUpToTheEnd) {
  const TempDir dir;
  dir.Write("file", std::string("a\0\r\n\xFF"
                                "b",
                                6));
  QCFile file;
  ASSERT_TRUE(file.OpenRead(Wide(dir, "file")));
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(6u, file.GetLength());
  char bytes[10];
  EXPECT_EQ(4u, file.Read(bytes, 4));
  EXPECT_EQ(std::string("a\0\r\n", 4), std::string(bytes, 4));
  EXPECT_EQ(2u, file.Read(bytes, 10));
  EXPECT_EQ(
      "\xFF"
      "b",
      std::string(bytes, 2));
  EXPECT_EQ(0u, file.Read(bytes, 10));
  EXPECT_EQ(0, file.LastError());
}

TEST(QCFile, SaysWhyItCannot) {
  const TempDir dir;
  QCFile file;
  EXPECT_FALSE(file.OpenRead(Wide(dir, "nothing")));
  EXPECT_EQ(ENOENT, file.LastError());
  EXPECT_FALSE(file.OpenRead(QCString(dir.WidePath())));
  EXPECT_EQ(EISDIR, file.LastError());
  EXPECT_FALSE(file.OpenRead(QCString(L"a\0b", 3)));
  EXPECT_EQ(EINVAL, file.LastError());
  char byte;
  EXPECT_EQ(0u, file.Read(&byte, 1));
  EXPECT_EQ(EBADF, file.LastError());
  EXPECT_EQ(0u, file.GetLength());
  dir.Write("file", "x");
  ASSERT_TRUE(file.OpenRead(Wide(dir, "file")));
  EXPECT_EQ(0u, file.Read(nullptr, 1));
  EXPECT_EQ(EINVAL, file.LastError());
}

TEST(QCFile, ClosesWhatItOpened) {
  const TempDir dir;
  dir.Write("file", "x");
  const std::size_t before = OpenDescriptors();
  {
    QCFile file;
    EXPECT_TRUE(file.OpenRead(Wide(dir, "file")));
    EXPECT_TRUE(file.OpenRead(Wide(dir, "file")));
    EXPECT_EQ(before + 1, OpenDescriptors());
    EXPECT_FALSE(file.OpenRead(Wide(dir, "nothing")));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_FALSE(file.OpenRead(QCString(dir.WidePath())));
    EXPECT_EQ(before, OpenDescriptors());
    EXPECT_TRUE(file.OpenRead(Wide(dir, "file")));
  }
  EXPECT_EQ(before, OpenDescriptors());
}

TEST(QCFile, ExistsForFilesAndDirectories) {
  const TempDir dir;
  dir.Write("file", "");
  EXPECT_TRUE(QCFile::Exists(Wide(dir, "file")));
  EXPECT_TRUE(QCFile::Exists(QCString(dir.WidePath())));
  EXPECT_FALSE(QCFile::Exists(Wide(dir, "nothing")));
}

TEST(QCFile, OpensPathsAsTheUserWritesThem) {
  const TempDir dir;
  std::filesystem::create_directories(dir.File("C/sub"));
  dir.Write("C/sub/file", "x");
  os::SetDataDirectory(dir.path());
  QCFile file;
  EXPECT_TRUE(file.OpenRead(L"C:\\sub\\file"));
  os::SetDataDirectory("");
}

struct LinesRow {
  const char* what;
  std::string bytes;
  std::vector<std::wstring> lines;
};

std::vector<std::wstring> LinesOf(const QCString& path) {
  std::vector<std::wstring> lines;
  QCStdioFile file;
  EXPECT_TRUE(file.OpenRead(path));
  for (QCString line; file.ReadString(line);) lines.push_back(line.str());
  EXPECT_EQ(0, file.LastError());
  return lines;
}

TEST(QCStdioFile, ReadsLinesWithoutTheirEnds) {
  const LinesRow rows[] = {
      {"empty file", "", {}},
      {"one empty line", "\n", {L""}},
      {"unix and windows ends", "a\nb\r\nc\n", {L"a", L"b", L"c"}},
      {"last line without an end", "a\nb", {L"a", L"b"}},
      {"empty lines", "\n\r\n\na", {L"", L"", L"", L"a"}},
      {"carriage return inside", "a\rb\r\r\n", {L"a\rb\r"}},
      {"carriage return at the very end", "a\r", {L"a\r"}},
      {"byte order mark",
       "\xEF\xBB\xBF"
       "a\nb",
       {L"a", L"b"}},
      {"byte order mark alone", "\xEF\xBB\xBF", {}},
      {"byte order mark before a line end", "\xEF\xBB\xBF\n", {L""}},
      {"mark on a later line stays",
       "a\n\xEF\xBB\xBF"
       "b",
       {L"a",
        L"\uFEFF"
        L"b"}},
      {"part of a mark", "\xEF\xBB", {L"\uFFFD"}},
      {"wide characters", "\xC3\xA4\xE2\x82\xAC\n", {L"\u00E4\u20AC"}},
      {"broken characters", "a\xC3\nb\xFF", {L"a\uFFFD", L"b\uFFFD"}},
      {"zero inside", std::string("a\0b\n", 4), {std::wstring(L"a\0b", 3)}},
  };
  const TempDir dir;
  for (const LinesRow& row : rows) {
    dir.Write("file", row.bytes);
    EXPECT_EQ(row.lines, LinesOf(Wide(dir, "file"))) << row.what;
  }
}

TEST(QCStdioFile, ReadsLinesAcrossItsChunks) {
  const TempDir dir;
  // Around 64 KiB, with a character of three bytes and a line end cut at every place.
  for (int length = 65530; length <= 65540; ++length) {
    const std::wstring filler(static_cast<std::size_t>(length), L'x');
    const std::string bytes(static_cast<std::size_t>(length), 'x');
    dir.Write("file", bytes + "\xE2\x82\xAC\r\n" + bytes);
    EXPECT_EQ((std::vector<std::wstring>{filler + L"\u20AC", filler}), LinesOf(Wide(dir, "file")));
  }
}

TEST(QCStdioFile, SkipsAMarkAtTheStartOfTheFileOnly) {
  const TempDir dir;
  const std::string bytes(64 * 1024, 'x');
  dir.Write("file", bytes + "\xEF\xBB\xBFy");
  EXPECT_EQ((std::vector<std::wstring>{std::wstring(bytes.size(), L'x') + L"\uFEFFy"}),
            LinesOf(Wide(dir, "file")));
}

TEST(QCStdioFile, ReadsALineOfManyChunks) {
  const TempDir dir;
  dir.Write("file", std::string(5'000'000, 'x') + "\nend");
  const std::vector<std::wstring> lines = LinesOf(Wide(dir, "file"));
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ(5'000'000u, lines[0].size());
  EXPECT_EQ(L"end", lines[1]);
}

TEST(QCStdioFile, GivesUpOnALineWithoutEnd) {
  const TempDir dir;
  dir.Write("zeros", "");
  std::filesystem::resize_file(dir.File("zeros"), 1u << 30);
  QCStdioFile file;
  ASSERT_TRUE(file.OpenRead(Wide(dir, "zeros")));
  QCString line(L"before");
  EXPECT_FALSE(file.ReadString(line));
  EXPECT_TRUE(line.IsEmpty());
  EXPECT_EQ(EFBIG, file.LastError());
}

TEST(QCStdioFile, EmptiesTheLineAtTheEnd) {
  const TempDir dir;
  dir.Write("file", "");
  QCStdioFile file;
  ASSERT_TRUE(file.OpenRead(Wide(dir, "file")));
  QCString line(L"before");
  EXPECT_FALSE(file.ReadString(line));
  EXPECT_TRUE(line.IsEmpty());
  EXPECT_FALSE(file.ReadString(line));
}

TEST(QCStdioFile, SaysWhyItCannot) {
  const TempDir dir;
  QCStdioFile file;
  QCString line;
  EXPECT_FALSE(file.OpenRead(Wide(dir, "nothing")));
  EXPECT_EQ(ENOENT, file.LastError());
  EXPECT_FALSE(file.OpenRead(QCString(dir.WidePath())));
  EXPECT_EQ(EISDIR, file.LastError());
  EXPECT_FALSE(file.ReadString(line));
  EXPECT_EQ(EBADF, file.LastError());
}

TEST(QCStdioFile, ClosesWhatItOpened) {
  const TempDir dir;
  dir.Write("file", "a\nb\n");
  const std::size_t before = OpenDescriptors();
  QCString line;
  {
    QCStdioFile file;
    EXPECT_TRUE(file.OpenRead(Wide(dir, "file")));
    EXPECT_TRUE(file.ReadString(line));
    EXPECT_TRUE(file.OpenRead(Wide(dir, "file")));
    EXPECT_TRUE(file.ReadString(line));
    EXPECT_EQ(L"a", line);
    file.Close();
    EXPECT_EQ(before, OpenDescriptors());
    EXPECT_TRUE(file.OpenRead(Wide(dir, "file")));
  }
  EXPECT_EQ(before, OpenDescriptors());
}

}  // namespace
