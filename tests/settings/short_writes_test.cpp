// Every system call of a save, an export and an ini write fails once inside the process, or writes
// only half: what strace cannot make (short writes), and what is open or left behind afterwards.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/os/ini_files.h"
#include "platform/os/system_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary

std::size_t OpenDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

// One kind of write: the file, and what answers true when the new content is in it.
struct Write {
  const char* name;
  const char* file;
  std::function<bool(SettingsBench&)> run;
};

const Write kWrites[] = {
    {"save", "kiv.xml", [](SettingsBench& bench) { return bench.Config().Save() == 0; }},
    {"export", "out.xml",
     [](SettingsBench& bench) {
       return bench.Config().Export(bench.Folder().WideFile("out.xml").c_str(), true, true, true) ==
              0;
     }},
    {"ini", "x.ini",
     [](SettingsBench& bench) {
       return WritePrivateProfileStringW(L"s", L"k", std::wstring(9000, L'n').c_str(),
                                         bench.Folder().WideFile("x.ini").c_str()) != 0;
     }},
};

class EveryCallOfAWrite : public testing::TestWithParam<int> {};

TEST_P(EveryCallOfAWrite, MayFailAndLeavesOldOrNewContent) {
  for (const Write& write : kWrites) {
    std::string sound;
    for (std::uint64_t n = 1;; ++n) {
      SettingsBench bench(FullDocument());
      bench.Folder().Write("out.xml", "old export");
      bench.Folder().Write("x.ini", "[s]\nk=old\n");
      bench.Load();
      FillGroups(bench);
      FillLists(bench);
      SetText(bench.Settings().savePath, L"/dev/null/y.txt");
      ASSERT_EQ(0u, bench.Config().StoreEverything(nullptr));
      const std::string old = bench.Folder().Read(write.file);
      const std::size_t descriptors = OpenDescriptors();
      os::system_calls::FailNth(n, GetParam());
      const bool isWritten = write.run(bench);
      const bool hasFailed = os::system_calls::Failed();
      os::system_calls::FailNth(0, 0);
      const std::string left = bench.Folder().Read(write.file);
      EXPECT_EQ(descriptors, OpenDescriptors()) << write.name << " " << n;
      for (const std::string& name : bench.Folder().Names()) {
        EXPECT_FALSE(name.ends_with(".tmp")) << write.name << " " << n;
      }
      EXPECT_TRUE(write.run(bench)) << write.name << " " << n;
      const std::string content = bench.Folder().Read(write.file);
      EXPECT_NE(old, content);
      // Of a sync of the directory that failed the new content is there, and the answer is no.
      EXPECT_TRUE(left == content || (!isWritten && left == old)) << write.name << " " << n;
      if (sound.empty()) sound = content;
      EXPECT_EQ(sound, content);
      const bool isHarmless =
          GetParam() == os::system_calls::kShortWrite || GetParam() == EINTR || !hasFailed;
      if (isHarmless) {
        EXPECT_TRUE(isWritten) << write.name << " " << n;
      }
      if (!hasFailed) {
        EXPECT_GE(n, 6u) << "open, write, sync, close, rename, sync of the directory";
        break;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Errors, EveryCallOfAWrite,
                         testing::Values(os::system_calls::kShortWrite, EINTR, ENOSPC, EIO, EACCES,
                                         EMFILE, ENOMEM));

}  // namespace
