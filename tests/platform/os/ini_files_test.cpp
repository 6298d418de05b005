#include "platform/os/ini_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>

#include "platform/os/paths.h"
#include "platform/os/system_calls.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

using kivtest::TempDir;

class IniFiles : public testing::Test {
 protected:
  // The value with a buffer that is large enough.
  std::wstring Get(const wchar_t* section, const wchar_t* key, const wchar_t* fallback) {
    wchar_t value[1024];
    const DWORD lengthChars =
        GetPrivateProfileStringW(section, key, fallback, value, 1024, Path().c_str());
    EXPECT_EQ(lengthChars, std::wstring(value).size());
    return value;
  }
  BOOL Set(const wchar_t* section, const wchar_t* key, const wchar_t* value) {
    return WritePrivateProfileStringW(section, key, value, Path().c_str());
  }
  std::wstring Path() const { return dir_.WideFile("kit.ini"); }

  TempDir dir_;
};

TEST_F(IniFiles, ReadAValueAndSetTheLastErrorToZero) {
  dir_.Write("kit.ini", "[config]\npath=\"C:\\a b\"\n");
  EXPECT_EQ(L"C:\\a b", Get(L"Config", L"PATH", L"none"));
  EXPECT_EQ(0u, GetLastError());
}

TEST_F(IniFiles, AnswerTheFallbackForWhatIsNotThere) {
  EXPECT_EQ(L"none", Get(L"config", L"path", L"none"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, GetLastError());
  dir_.Write("kit.ini", "[config]\npath=x\n");
  EXPECT_EQ(L"none", Get(L"config", L"title", L"none"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, GetLastError());
  EXPECT_EQ(L"none", Get(L"other", L"path", L"none"));
  EXPECT_EQ(L"", Get(L"other", L"path", nullptr));
  EXPECT_EQ(L"none", Get(nullptr, L"path", L"none"));
  EXPECT_EQ(L"none", Get(L"config", nullptr, L"none"));
  wchar_t value[10];
  EXPECT_EQ(4u, GetPrivateProfileStringW(L"s", L"k", L"none", value, 10, nullptr));
  EXPECT_STREQ(L"none", value);
}

TEST_F(IniFiles, PreferAnEmptyValueToTheFallback) {
  dir_.Write("kit.ini", "[config]\npath=\n");
  EXPECT_EQ(L"", Get(L"config", L"path", L"none"));
}

TEST_F(IniFiles, CutAValueToItsBuffer) {
  dir_.Write("kit.ini", "[s]\nk=12345\n");
  for (DWORD sizeChars = 1; sizeChars <= 7; ++sizeChars) {
    std::wstring value(8, L'#');
    const DWORD expected = std::min<DWORD>(sizeChars - 1, 5);
    EXPECT_EQ(expected,
              GetPrivateProfileStringW(L"s", L"k", L"", value.data(), sizeChars, Path().c_str()));
    EXPECT_EQ(std::wstring(L"12345").substr(0, expected) + L'\0' + std::wstring(7 - expected, L'#'),
              value);
  }
}

TEST_F(IniFiles, CutTheFallbackToo) {
  wchar_t value[4];
  EXPECT_EQ(3u, GetPrivateProfileStringW(L"s", L"k", L"fallback", value, 4, Path().c_str()));
  EXPECT_STREQ(L"fal", value);
}

TEST_F(IniFiles, WriteNothingIntoABufferOfSizeZero) {
  wchar_t value = L'#';
  EXPECT_EQ(0u, GetPrivateProfileStringW(L"s", L"k", L"x", &value, 0, Path().c_str()));
  EXPECT_EQ(L'#', value);
  EXPECT_EQ(0u, GetPrivateProfileStringW(L"s", L"k", L"x", nullptr, 5, Path().c_str()));
}

TEST_F(IniFiles, WriteAndReadBack) {
  EXPECT_NE(0, Set(L"config", L"path", L"C:\\tests\\\u00C4"));
  EXPECT_NE(0, Set(L"config", L"title", L""));
  EXPECT_EQ("[config]\npath=C:\\tests\\\xC3\x84\ntitle=\n", dir_.Read("kit.ini"));
  EXPECT_EQ(L"C:\\tests\\\u00C4", Get(L"config", L"path", L"none"));
  EXPECT_EQ(L"", Get(L"config", L"title", L"none"));
}

TEST_F(IniFiles, KeepForeignKeysAndCommentsWhenWriting) {
  dir_.Write("kit.ini", "; mine\r\n[other]\r\nx = 1\r\n\r\n[config]\r\npath=a\r\n; end\r\n");
  EXPECT_NE(0, Set(L"CONFIG", L"path", L"b"));
  EXPECT_NE(0, Set(L"config", L"title", L"t"));
  EXPECT_EQ("; mine\r\n[other]\r\nx = 1\r\n\r\n[config]\r\npath=b\r\n; end\r\ntitle=t\r\n",
            dir_.Read("kit.ini"));
}

TEST_F(IniFiles, RemoveAKeyForANullValueAndASectionForANullKey) {
  dir_.Write("kit.ini", "[a]\nk=1\nl=2\n[b]\nk=3\n");
  EXPECT_NE(0, Set(L"a", L"k", nullptr));
  EXPECT_EQ("[a]\nl=2\n[b]\nk=3\n", dir_.Read("kit.ini"));
  EXPECT_NE(0, Set(L"a", L"nothing", nullptr));
  EXPECT_NE(0, Set(L"a", nullptr, nullptr));
  EXPECT_EQ("[b]\nk=3\n", dir_.Read("kit.ini"));
}

TEST_F(IniFiles, CreateNoFileWhereNothingIsToBeRemoved) {
  EXPECT_NE(0, Set(L"a", L"k", nullptr));
  EXPECT_TRUE(dir_.Names().empty());
}

TEST_F(IniFiles, CreateMissingDirectoriesOfTheMappedPath) {
  os::SetDataDirectory(dir_.File("data"));
  EXPECT_NE(0, WritePrivateProfileStringW(L"config", L"path", L"x", L"C:\\Kestrax\\kit.ini"));
  os::SetDataDirectory("");
  EXPECT_EQ("[config]\npath=x\n", dir_.Read("data/C/Kestrax/kit.ini"));
}

TEST_F(IniFiles, RefuseWhatCouldNotBeReadBack) {
  EXPECT_EQ(0, Set(L"a]b", L"k", L"v"));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
  EXPECT_EQ(0, Set(L"a\nb", L"k", L"v"));
  EXPECT_EQ(0, Set(L"s", L"a=b", L"v"));
  EXPECT_EQ(0, Set(L"s", L" ;k", L"v"));
  EXPECT_EQ(0, Set(L"s", L"[k", L"v"));
  EXPECT_EQ(0, Set(L"s", L" ", L"v"));
  EXPECT_EQ(0, Set(L"s", L"k\r", L"v"));
  EXPECT_EQ(0, Set(L"s", L"k", L"v\n[other]"));
  EXPECT_EQ(0, Set(nullptr, L"k", L"v"));
  EXPECT_EQ(0, WritePrivateProfileStringW(L"s", L"k", L"v", nullptr));
  EXPECT_TRUE(dir_.Names().empty());
}

TEST_F(IniFiles, RefuseAReadOnlyFileUntilItsAttributesAreNormal) {
  dir_.Write("kit.ini", "[s]\nk=1\n");
  chmod(dir_.path().c_str(), 0777);
  chmod(dir_.File("kit.ini").c_str(), 0444);
  if (geteuid() == 0) {
    ASSERT_EQ(0, chown(dir_.File("kit.ini").c_str(), kivtest::kNobody, kivtest::kNobody));
  }
  EXPECT_TRUE(kivtest::HoldsUnprivileged([this] {
    const bool refused = Set(L"s", L"k", L"2") == 0 && GetLastError() == ERROR_ACCESS_DENIED;
    return refused && SetFileAttributesW(Path().c_str(), FILE_ATTRIBUTE_NORMAL) != 0 &&
           Set(L"s", L"k", L"2") != 0;
  }));
  EXPECT_EQ("[s]\nk=2\n", dir_.Read("kit.ini"));
}

TEST_F(IniFiles, SayWhyADirectoryIsNoFile) {
  EXPECT_EQ(0, WritePrivateProfileStringW(L"s", L"k", L"v", dir_.WidePath().c_str()));
  EXPECT_EQ(ERROR_ACCESS_DENIED, GetLastError());
}

TEST_F(IniFiles, StayWholeWhicheverSystemCallFails) {
  const std::string old = "[s]\nk=1\n";
  for (std::uint64_t n = 1;; ++n) {
    dir_.Write("kit.ini", old);
    os::system_calls::FailNth(n, EIO);
    const BOOL written = Set(L"s", L"k", L"2");
    const DWORD error = GetLastError();
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    const std::string left = dir_.Read("kit.ini");
    ASSERT_TRUE(left == "[s]\nk=2\n" || (written == 0 && left == old)) << n;
    ASSERT_TRUE(written != 0 || error == 1117) << n;
    if (!failed) break;
  }
}

TEST_F(IniFiles, LoseNoValueOfTwoThreads) {
  const auto write = [this](const wchar_t* section) {
    for (int i = 0; i < 20; ++i) {
      const std::wstring key = L"key" + std::to_wstring(i);
      EXPECT_NE(0, Set(section, key.c_str(), section));
    }
  };
  std::thread other(write, L"one");
  write(L"two");
  other.join();
  for (int i = 0; i < 20; ++i) {
    const std::wstring key = L"key" + std::to_wstring(i);
    EXPECT_EQ(L"one", Get(L"one", key.c_str(), L"none"));
    EXPECT_EQ(L"two", Get(L"two", key.c_str(), L"none"));
  }
}

}  // namespace
