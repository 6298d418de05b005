// Facade's thread and link's thread at the same time. Meant for the thread sanitizer: nothing here
// waits for a queued connection.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/bounded/pool.h"
#include "tests/fakes/module_bench.h"
#include "tests/support/sweep.h"

namespace {

using kivtest::ModuleBench;

// Delivers packets until it is destroyed.
class Storm {
 public:
  Storm()
      : thread_([this] {
          while (!stop_) {
            fake::DeliverCnf(0x1001, {1, 2, 0, 3, 0, 0, 0});
            fake::DeliverInd(0x1001, {1, 2, 0, 3, 0, 0, 0});
            fake::Deliver({{.cmdId = 0x7000, .body = std::vector<std::uint8_t>(40)}});
            ++rounds_;
          }
        }) {}
  ~Storm() {
    stop_ = true;
    thread_.join();
  }
  // Waits until `count` more rounds have gone through.
  void Wait(std::uint64_t count) const {
    const std::uint64_t until = rounds_ + count;
    while (rounds_ < until) std::this_thread::yield();
  }

 private:
  std::atomic<bool> stop_{false};
  std::atomic<std::uint64_t> rounds_{0};
  std::thread thread_;
};

TEST(LiveThreads, PacketsArriveWhileTheViewWorks) {
  const std::uint64_t blocks = pool::LiveBlocks();
  {
    ModuleBench bench({.channels = fake::FourChannels()});
    Storm storm;
    for (int i = 0; i < 20; ++i) {
      bench.App().SetHexadecimalFlag(i % 2 == 0);
      bench.App().SetIsEnableInstantInd(i % 3 == 0);
      bench.App().GetSwitches().indicationsEnabled = i % 5 == 0;
      bench.App().GetSwitches().oneLineArrays = i % 2 == 0;
      bench.App().SetUEConnectStatus(i % 4 != 0 ? 1 : 0);
      bench.Run(L"set_values 1,2,3 -r 00:11:22:33:44:55");
      bench.Run(L"help");
      if (i % 5 == 0) bench.App().ReloadDb();
      storm.Wait(2);
    }
    EXPECT_GT(bench.Messages().All().size(), 0u);
  }
  EXPECT_EQ(pool::LiveBlocks(), blocks);
}

TEST(LiveThreads, StopAndStartUnderAStorm) {
  const std::uint64_t blocks = pool::LiveBlocks();
  {
    ModuleBench bench;
    Storm storm;
    for (int i = 0; i < static_cast<int>(kivtest::SweepCount(100)); ++i) {
      storm.Wait(1);
      bench.App().Stop();
      const std::size_t messages = bench.Messages().All().size();
      storm.Wait(1);
      // No message after Stop returned.
      EXPECT_EQ(bench.Messages().All().size(), messages);
      bench.App().Start();
    }
  }
  EXPECT_EQ(pool::LiveBlocks(), blocks);
}

}  // namespace
