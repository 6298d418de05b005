// How long lists take, from the settings object to the document and back. The times are printed; a
// list of forty times as many entries may not take more than forty times as long, but for noise.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

#include "settings/svc_kiv_config_impl.h"
#include "tests/fakes/module_bench.h"

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::array<std::size_t, 3> kSizes = {100, 1000, 4000};
constexpr int kRuns = 5;

struct Times {
  Milliseconds write{0};
  Milliseconds read{0};
};

// Of the processor: on a busy machine a long act waits more often than a short one.
template <typename Act>
Milliseconds TimeOf(const Act& act) {
  const std::clock_t begin = std::clock();
  act();
  return Milliseconds(1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
}

// The best of some runs: others work on this machine too.
Times TimesOf(SvcKivClass::SvcKivConfigImpl& config, std::size_t entries) {
  auto& favourites = config.Lists().favourites;
  favourites.RemoveAll();
  for (std::size_t i = 0; i < entries; ++i) {
    SvcKivSpace::KivCommandRecord record;
    record.name = QCString(L"command_" + std::to_wstring(i));
    record.parameters = QCString(L"{" + std::to_wstring(i) + L",<1>}");
    favourites.AddTail(record);
  }
  Times best{Milliseconds::max(), Milliseconds::max()};
  for (int run = 0; run < kRuns; ++run) {
    best.write = std::min(best.write, TimeOf([&] { config.WriteFavourites(); }));
    best.read = std::min(best.read, TimeOf([&] { config.ReadFavourites(); }));
  }
  EXPECT_EQ(favourites.GetCount(), entries);
  return best;
}

TEST(ListTime, GrowsNoFasterThanTheList) {
  const kivtest::ScratchSetup setup;
  SvcKivClass::LiveSwitches switches;
  SvcKivSpace::SvcKivMessage sender;
  SvcKivClass::SvcKivConfigImpl config({switches, sender, {}});
  ASSERT_EQ(config.SetSessionAndInstance(1, 1), 0u);
  ASSERT_EQ(config.LoadEverything(), 0u);
  std::array<Times, kSizes.size()> times;
  for (std::size_t i = 0; i < kSizes.size(); ++i) {
    times[i] = TimesOf(config, kSizes[i]);
    std::printf("%5zu entries: written in %8.3f ms, read in %8.3f ms\n", kSizes[i],
                times[i].write.count(), times[i].read.count());
  }
  // Quadratic would be 40 times as long an entry for 40 times as many; a loaded machine gives
  // three.
  const auto growth = [](Milliseconds small, Milliseconds large) { return large / small / 40; };
  EXPECT_LT(growth(times[0].write, times[2].write), 10.0);
  EXPECT_LT(growth(times[0].read, times[2].read), 10.0);
}

}  // namespace
