// The n-th operation on the document fails, with each code, for every n: memory stays sound, the
// user's entries stay in memory, and the next try does all of it.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "tests/settings/expected_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary
using SvcKivSpace::CSVCKIVConfig;

constexpr std::uint32_t kCodes[] = {2u, 500u, 3004u, 3005u, 3018u};

struct Operation {
  const char* name;
  std::function<std::uint32_t(SettingsBench&)> run;
};

const Operation kOperations[] = {
    {"SetSessionAndInstance",
     [](SettingsBench& b) { return b.Config().SetSessionAndInstance(1, 1); }},
    {"new session", [](SettingsBench& b) { return b.Config().SetSessionAndInstance(6, 1); }},
    {"LoadEverything", [](SettingsBench& b) { return b.Config().LoadEverything(); }},
    {"StoreEverything", [](SettingsBench& b) { return b.Config().StoreEverything(nullptr); }},
    {"Import",
     [](SettingsBench& b) {
       return b.Config().Import(b.Folder().WideFile("other.xml").c_str(), true, true, true);
     }},
    {"Export",
     [](SettingsBench& b) {
       return b.Config().Export(b.Folder().WideFile("out.xml").c_str(), true, true, true);
     }},
    {"Save", [](SettingsBench& b) { return b.Config().Save(); }},
    {"NextInstanceId", [](SettingsBench& b) { return b.Config().NextInstanceId() - 2; }},
    {"WriteAttribute",
     [](SettingsBench& b) {
       return b.Config().WriteAttribute(L"v", L"A", L"SourceData.NEW", L"0.0");
     }},
};

TEST(FailingDocument, LeavesMemorySoundAndWorksAgain) {
  testing::internal::CaptureStderr();  // the lists tell the console
  for (const Operation& operation : kOperations) {
    for (const std::uint32_t code : kCodes) {
      std::uint64_t step = 1;
      for (std::uint64_t n = 1;; n += step) {
        SettingsBench bench(FullDocument());
        bench.Folder().Write("other.xml", FullDocument());
        bench.Load();
        bench.Tape().FailNth(n, code);
        operation.run(bench);
        const bool hasFailed = bench.Tape().hasFailed;
        bench.Tape().FailNth(0, 0);
        EXPECT_LE(bench.Lists().history.GetCount(), 2u);
        EXPECT_LE(bench.Lists().favourites.GetCount(), 2u);
        EXPECT_STREQ(L"A title", bench.Settings().title) << operation.name << " " << n;
        EXPECT_EQ(0u, operation.run(bench)) << operation.name << " " << n << " " << code;
        EXPECT_EQ(0u, bench.Config().Save());
        if (!hasFailed) break;
        step = n < 40 ? 1 : 7;  // the same kind of call again and again further on
      }
    }
  }
  testing::internal::GetCapturedStderr();
}

// A store that fails somewhere never loses what is in memory, and the next store brings all of it.
TEST(FailingDocument, LosesNothingOfAStore) {
  testing::internal::CaptureStderr();
  SettingsBench whole(FullDocument());
  whole.Load();
  FillGroups(whole);
  SetText(whole.Settings().savePath, L"/dev/null/y.txt");
  FillLists(whole);
  ASSERT_EQ(0u, whole.Config().StoreEverything(nullptr));
  ASSERT_EQ(0u, whole.Config().Save());
  for (std::uint64_t n = 1;; n += 3) {
    SettingsBench bench(FullDocument());
    bench.Load();
    FillGroups(bench);
    SetText(bench.Settings().savePath, L"/dev/null/y.txt");
    FillLists(bench);
    bench.Tape().FailNth(n, 500);
    bench.Config().StoreEverything(nullptr);
    const bool hasFailed = bench.Tape().hasFailed;
    bench.Tape().FailNth(0, 0);
    ASSERT_EQ(2u, bench.Lists().history.GetCount());
    ASSERT_EQ(0u, bench.Config().StoreEverything(nullptr));
    ASSERT_EQ(0u, bench.Config().Save());
    ASSERT_EQ(whole.File(), bench.File()) << n;
    if (!hasFailed) break;
  }
  testing::internal::GetCapturedStderr();
}

TEST(FailingDocument, AnswersTheCodeOfTheSave) {
  SettingsBench bench(FullDocument());
  bench.Load();
  bench.Tape().FailNth(1, 3018);
  EXPECT_EQ(3018u, bench.Config().Save());
  EXPECT_EQ(0u, bench.Config().Save());
}

TEST(FailingDocument, AnswersTheCodeOfANewSession) {
  const std::uint64_t steps = 5;  // find, add, count, write, save
  for (std::uint64_t n = 2; n <= steps; ++n) {
    SettingsBench bench(RootDocument(""));
    bench.Open();
    bench.Tape().FailNth(n, 500);
    EXPECT_EQ(500u, bench.Config().SetSessionAndInstance(1, 1)) << n;
  }
}

// Nothing of a failed export is left, and the target is as it was.
TEST(FailingDocument, LeavesTheTargetOfAFailedExport) {
  SettingsBench bench(FullDocument());
  bench.Folder().Write("out.xml", "old");
  bench.Load();
  bench.Config().Export(bench.Folder().WideFile("out.xml").c_str(), true, true, true);
  const Calls calls = bench.Tape().Take();
  ASSERT_EQ("other: save 1", calls.back());
  bench.Folder().Write("out.xml", "old");
  bench.Tape().FailNth(calls.size(), 3018);
  EXPECT_EQ(3018u,
            bench.Config().Export(bench.Folder().WideFile("out.xml").c_str(), true, true, true));
  EXPECT_EQ("old", bench.Folder().Read("out.xml"));
}

}  // namespace
