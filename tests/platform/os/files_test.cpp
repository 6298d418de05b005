#include "platform/os/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>

#include "platform/os/last_error.h"
#include "platform/os/paths.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

std::atomic<int> g_lockError{0};  // what locking fails with; 0: it works

}  // namespace

// The linker calls these for flock (CMakeLists.txt).
extern "C" {
int __real_flock(int file, int operation);  // NOLINT(bugprone-reserved-identifier)
int __wrap_flock(int file, int operation);  // NOLINT(bugprone-reserved-identifier)
}

int __wrap_flock(int file, int operation) {
  if (g_lockError == 0) return __real_flock(file, operation);
  errno = g_lockError;
  return -1;
}

namespace {

using kivtest::TempDir;

constexpr DWORD kStale = 4711;  // a last error that no call under test sets

HANDLE OpenForReading(const std::wstring& path) {
  os::SetLastErrorCode(kStale);
  return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE CreateAlways(const std::wstring& path) {
  os::SetLastErrorCode(kStale);
  return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

// A file "0123456789", open for reading.
class OpenFile : public testing::Test {
 protected:
  OpenFile() {
    dir_.Write("file", "0123456789");
    file_ = OpenForReading(dir_.WideFile("file"));
  }
  ~OpenFile() override { CloseHandle(file_); }

  std::string Read(DWORD sizeBytes) {
    std::string bytes(sizeBytes, '#');
    DWORD got = 99;
    EXPECT_NE(0, ReadFile(file_, bytes.data(), sizeBytes, &got, nullptr));
    return bytes.substr(0, got);
  }

  TempDir dir_;
  HANDLE file_;
};

TEST_F(OpenFile, IsReadInPartsUpToItsEnd) {
  ASSERT_NE(INVALID_HANDLE_VALUE, file_);
  ASSERT_NE(nullptr, file_);
  EXPECT_EQ("0123", Read(4));
  EXPECT_EQ("", Read(0));
  EXPECT_EQ("456789", Read(100));
  EXPECT_EQ("", Read(100));
}

TEST_F(OpenFile, TellsItsSize) {
  DWORD high = 99;
  os::SetLastErrorCode(kStale);
  EXPECT_EQ(10u, GetFileSize(file_, &high));
  EXPECT_EQ(0u, high);
  EXPECT_EQ(0u, GetLastError());
  EXPECT_EQ(10u, GetFileSize(file_, nullptr));
}

TEST_F(OpenFile, MovesItsPointerFromStartCurrentPlaceAndEnd) {
  EXPECT_EQ(4u, SetFilePointer(file_, 4, nullptr, FILE_BEGIN));
  EXPECT_EQ("45", Read(2));
  EXPECT_EQ(5u, SetFilePointer(file_, -1, nullptr, FILE_CURRENT));
  EXPECT_EQ("5", Read(1));
  EXPECT_EQ(8u, SetFilePointer(file_, -2, nullptr, FILE_END));
  EXPECT_EQ("89", Read(5));
  EXPECT_EQ(15u, SetFilePointer(file_, 5, nullptr, FILE_END));
  EXPECT_EQ("", Read(5));
}

TEST_F(OpenFile, DoesNotMoveBeforeItsStart) {
  SetFilePointer(file_, 3, nullptr, FILE_BEGIN);
  EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(file_, -4, nullptr, FILE_CURRENT));
  EXPECT_EQ(ERROR_NEGATIVE_SEEK, GetLastError());
  EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(file_, -1, nullptr, FILE_BEGIN));
  EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(file_, -11, nullptr, FILE_END));
  EXPECT_EQ("3", Read(1));
}

TEST_F(OpenFile, TakesA64BitDistance) {
  LONG high = 1;
  os::SetLastErrorCode(kStale);
  EXPECT_EQ(2u, SetFilePointer(file_, 2, &high, FILE_BEGIN));
  EXPECT_EQ(1, high);
  EXPECT_EQ(0u, GetLastError());
  high = -1;
  EXPECT_EQ(0u, SetFilePointer(file_, -2, &high, FILE_CURRENT));
  EXPECT_EQ(1, high);
  high = 0;
  EXPECT_EQ(0xFFFFFFFFu, SetFilePointer(file_, -1, &high, FILE_BEGIN));
  EXPECT_EQ(0u, GetLastError());
}

TEST_F(OpenFile, DoesNotMoveWhereTheAnswerCannotSay) {
  LONG high = 1;
  SetFilePointer(file_, 0, &high, FILE_BEGIN);
  EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(file_, 1, nullptr, FILE_CURRENT));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
  high = 0x7FFFFFFF;
  EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(file_, -1, &high, FILE_CURRENT));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
  EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(file_, 0, nullptr, 3));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
}

TEST_F(OpenFile, RefusesReadingIntoNowhere) {
  DWORD got = 99;
  char byte;
  int overlapped = 0;
  EXPECT_EQ(0, ReadFile(file_, &byte, 1, nullptr, nullptr));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
  EXPECT_EQ(0, ReadFile(file_, &byte, 1, &got, &overlapped));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
  EXPECT_EQ(0, ReadFile(file_, nullptr, 1, &got, nullptr));
  EXPECT_EQ(998u, GetLastError());
  EXPECT_EQ(0u, got);
}

TEST_F(OpenFile, IsInvalidOnceClosed) {
  HANDLE closed = file_;
  EXPECT_NE(0, CloseHandle(closed));
  file_ = nullptr;
  EXPECT_EQ(0, CloseHandle(closed));
  EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
}

TEST(Handles, ThatAreNoneDoNoHarm) {
  for (HANDLE handle : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, reinterpret_cast<HANDLE>(7),
                        reinterpret_cast<HANDLE>(INTPTR_MAX & ~3)}) {
    DWORD got = 0;
    char byte;
    os::SetLastErrorCode(kStale);
    EXPECT_EQ(0, CloseHandle(handle));
    EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
    EXPECT_EQ(INVALID_FILE_SIZE, GetFileSize(handle, nullptr));
    EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(handle, 0, nullptr, FILE_BEGIN));
    EXPECT_EQ(0, ReadFile(handle, &byte, 1, &got, nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
  }
}

TEST(GetFileSize, GivesTheUpperHalfOfALargeSize) {
  const TempDir dir;
  dir.Write("large", "");
  std::filesystem::resize_file(dir.File("large"), 0x1FFFFFFFFull);
  HANDLE file = OpenForReading(dir.WideFile("large"));
  DWORD high = 0;
  EXPECT_EQ(0xFFFFFFFFu, GetFileSize(file, &high));
  EXPECT_EQ(1u, high);
  EXPECT_EQ(0u, GetLastError());
  CloseHandle(file);
}

TEST(CreateFile, SaysWhyItCannotOpen) {
  const TempDir dir;
  dir.Write("file", "");
  const auto errorOf = [](const std::wstring& path) {
    EXPECT_EQ(INVALID_HANDLE_VALUE, OpenForReading(path));
    return GetLastError();
  };
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, errorOf(dir.WideFile("nothing")));
  EXPECT_EQ(ERROR_PATH_NOT_FOUND, errorOf(dir.WideFile("no/thing")));
  EXPECT_EQ(ERROR_PATH_NOT_FOUND, errorOf(dir.WideFile("file/below")));
  EXPECT_EQ(ERROR_PATH_NOT_FOUND, errorOf(L""));
  EXPECT_EQ(ERROR_ACCESS_DENIED, errorOf(dir.WidePath()));
  EXPECT_EQ(206u, errorOf(dir.WideFile(std::string(300, 'x'))));
  EXPECT_EQ(INVALID_HANDLE_VALUE,
            CreateFileW(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_EQ(ERROR_PATH_NOT_FOUND, GetLastError());
  EXPECT_EQ(INVALID_HANDLE_VALUE,
            CreateFileW(dir.WideFile("file").c_str(), GENERIC_READ, 0, nullptr, 77, 0, nullptr));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
}

TEST(CreateFile, RefusesWhatIsNoRegularFileWithoutWaiting) {
  const TempDir dir;
  ASSERT_EQ(0, mkfifo(dir.File("pipe").c_str(), 0600));
  for (const std::wstring& path : {dir.WideFile("pipe"), dir.WidePath(), std::wstring(L"/dev/null"),
                                   std::wstring(L"/dev/zero")}) {
    for (DWORD access : {GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE}) {
      for (DWORD disposition : {OPEN_EXISTING, CREATE_ALWAYS}) {
        os::SetLastErrorCode(kStale);
        EXPECT_EQ(INVALID_HANDLE_VALUE,
                  CreateFileW(path.c_str(), access, 0, nullptr, disposition, 0, nullptr));
        EXPECT_EQ(ERROR_ACCESS_DENIED, GetLastError());
      }
    }
  }
}

TEST(CreateFile, LocksWhatIsNotShared) {
  const TempDir dir;
  dir.Write("file", "content");
  const auto open = [&](DWORD share, DWORD disposition) {
    return CreateFileW(dir.WideFile("file").c_str(), GENERIC_READ | GENERIC_WRITE, share, nullptr,
                       disposition, 0, nullptr);
  };
  HANDLE first = open(0, OPEN_EXISTING);
  ASSERT_NE(INVALID_HANDLE_VALUE, first);
  for (DWORD disposition : {OPEN_EXISTING, CREATE_ALWAYS}) {
    EXPECT_EQ(INVALID_HANDLE_VALUE, open(0, disposition));
    EXPECT_EQ(ERROR_SHARING_VIOLATION, GetLastError());
  }
  EXPECT_EQ("content", dir.Read("file"));
  HANDLE sharing = open(FILE_SHARE_READ, OPEN_EXISTING);
  EXPECT_NE(INVALID_HANDLE_VALUE, sharing);
  EXPECT_NE(0, CloseHandle(sharing));
  EXPECT_NE(0, CloseHandle(first));
  HANDLE again = open(0, OPEN_EXISTING);
  EXPECT_NE(INVALID_HANDLE_VALUE, again);
  EXPECT_NE(0, CloseHandle(again));
}

TEST(CreateFile, TakesALockOfAnotherProgramForInUse) {
  const TempDir dir;
  dir.Write("file", "");
  const int other = open(dir.File("file").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(0, flock(other, LOCK_SH));
  EXPECT_EQ(INVALID_HANDLE_VALUE, CreateFileW(dir.WideFile("file").c_str(), GENERIC_READ, 0,
                                              nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_EQ(ERROR_SHARING_VIOLATION, GetLastError());
  close(other);
}

TEST(CreateFile, OpensWhereTheFileSystemHasNoLocks) {
  const TempDir dir;
  dir.Write("file", "");
  for (int error : {ENOLCK, EBADF, EOPNOTSUPP, EINVAL}) {
    g_lockError = error;
    HANDLE file = CreateFileW(dir.WideFile("file").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                              0, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, file) << error;
    EXPECT_NE(0, CloseHandle(file));
  }
  g_lockError = 0;
}

TEST(CreateFile, IsDeniedWhereTheUserHasNoRight) {
  const TempDir dir;
  dir.Write("secret", "x");
  std::filesystem::permissions(dir.File("secret"), std::filesystem::perms::none);
  std::filesystem::permissions(dir.path(), std::filesystem::perms(0755));
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&dir] {
    return OpenForReading(dir.WideFile("secret")) == INVALID_HANDLE_VALUE &&
           GetLastError() == ERROR_ACCESS_DENIED;
  }));
}

TEST(CreateFile, LeavesTheLastErrorAloneWhenItOpens) {
  const TempDir dir;
  dir.Write("file", "");
  HANDLE file = OpenForReading(dir.WideFile("file"));
  EXPECT_EQ(kStale, GetLastError());
  CloseHandle(file);
}

TEST(CreateFile, CreatesAndEmpties) {
  const TempDir dir;
  HANDLE file = CreateAlways(dir.WideFile("new"));
  ASSERT_NE(INVALID_HANDLE_VALUE, file);
  EXPECT_EQ(0u, GetLastError());
  CloseHandle(file);
  dir.Write("new", "content");
  file = CreateAlways(dir.WideFile("new"));
  EXPECT_EQ(ERROR_ALREADY_EXISTS, GetLastError());
  EXPECT_EQ(0u, GetFileSize(file, nullptr));
  CloseHandle(file);
}

TEST(CreateFile, OpensWhereADriveLetterIsMapped) {
  const TempDir dir;
  std::filesystem::create_directory(dir.File("C"));
  dir.Write("C/file", "");
  os::SetDataDirectory(dir.path());
  HANDLE file = OpenForReading(L"C:\\file");
  os::SetDataDirectory("");
  EXPECT_NE(INVALID_HANDLE_VALUE, file);
  CloseHandle(file);
}

struct AttributeRow {
  unsigned before;
  DWORD attributes;
  unsigned after;
};

TEST(SetFileAttributes, ChangesTheRightToWriteOnly) {
  const TempDir dir;
  dir.Write("file", "");
  const AttributeRow rows[] = {
      {0444, FILE_ATTRIBUTE_NORMAL, 0644},
      {0644, FILE_ATTRIBUTE_NORMAL, 0644},
      {0500, FILE_ATTRIBUTE_NORMAL, 0700},
      {0, FILE_ATTRIBUTE_NORMAL, 0200},
      {0666, FILE_ATTRIBUTE_READONLY, 0444},
      {0444, FILE_ATTRIBUTE_READONLY, 0444},
      {0444, 0x20, 0644},
  };
  for (const AttributeRow& row : rows) {
    chmod(dir.File("file").c_str(), row.before);
    EXPECT_NE(0, SetFileAttributesW(dir.WideFile("file").c_str(), row.attributes));
    struct stat status {};
    stat(dir.File("file").c_str(), &status);
    EXPECT_EQ(row.after, status.st_mode & 07777u);
  }
}

TEST(SetFileAttributes, SaysWhyItCannot) {
  const TempDir dir;
  EXPECT_EQ(0, SetFileAttributesW(dir.WideFile("nothing").c_str(), FILE_ATTRIBUTE_NORMAL));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, GetLastError());
  EXPECT_EQ(0, SetFileAttributesW(nullptr, FILE_ATTRIBUTE_NORMAL));
  EXPECT_EQ(ERROR_PATH_NOT_FOUND, GetLastError());
}

TEST(LastError, IsEachThreadsOwn) {
  os::SetLastErrorCode(kStale);
  std::thread([] {
    EXPECT_EQ(0u, GetLastError());
    os::SetLastErrorCode(1);
  }).join();
  EXPECT_EQ(kStale, GetLastError());
}

TEST(LastError, HasACodeForEverySystemError) {
  EXPECT_EQ(0u, os::WindowsCodeOf(0));
  EXPECT_EQ(112u, os::WindowsCodeOf(ENOSPC));
  for (int error = 1; error < 200; ++error) EXPECT_NE(0u, os::WindowsCodeOf(error)) << error;
}

}  // namespace
