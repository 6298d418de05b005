// Start and Stop again and again while a device floods: nothing runs behind a Stop, nothing leaks,
// and a Stop is quick wherever it meets the link.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "platform/bounded/pool.h"
#include "tests/live/module_over_link.h"
#include "tests/support/sanitized.h"
#include "tests/support/sweep.h"
#include "tests/support/sweep_report.h"

namespace {

using linktest::Bytes;
using linktest::DeviceEnd;
using linktest::NaiveFrame;
using livetest::ModuleOverLink;
using SvcKivClass::SvcKivApp;
using Clock = std::chrono::steady_clock;

// The sanitizers' builds make all rounds: what they look for is what this is about.
std::int64_t Rounds() {
  if (kivtest::kThreadSanitizer) return 200;
  return kivtest::kAddressSanitizer ? 1000 : kivtest::SweepCount(1000);
}

// A view would wait a second or two; more is a hang.
constexpr std::chrono::milliseconds kCeiling{3000};

// Indications of the command "tick" without a pause.
void Flood(DeviceEnd& end, int) {
  if (!end.Greet()) return;
  for (;;) {
    Bytes line;
    for (int i = 0; i < 50; ++i) {
      NaiveFrame ind;
      ind.kind = linktest::kInd;
      ind.id = 0x1101;
      ind.sequence = end.NextSequence();
      ind.payload = {1, 2, 0, 3, 0, 0, 0};
      end.SkipSequence(1);
      linktest::Append(line, linktest::NaiveLine(linktest::Whole(ind)));
    }
    if (!end.SendBytes(line)) return;
  }
}

class StartStopUnderAFlood : public ModuleOverLink {
 protected:
  // Waits for one of the moments at which a user may stop; `round` picks it.
  void WaitForTheMoment(std::int64_t round, std::size_t shownBefore) {
    switch (round % 4) {
      case 0:
        return;  // while connecting
      case 1:
        ASSERT_TRUE(ear_.WaitForConnected());
        return;
      case 2:
        ASSERT_TRUE(ear_.WaitForCount(shownBefore + 1));
        return;
      default:
        ASSERT_TRUE(ear_.WaitForCount(shownBefore + 500));
        Run(app_, L"set_values 4,5,6");
    }
  }

  SvcKivApp app_;
  linktest::TestDevice flooding_{directory_.Path("s"), &Flood};
};

TEST_F(StartStopUnderAFlood, IsQuickAndNothingComesBehindIt) {
  const kivtest::SweepReport report("start and stop under a flood");
  ear_.OnlyCount();
  Listen(app_);
  const std::uint64_t blocks = pool::LiveBlocks();
  Clock::duration longest{0};
  std::int64_t slow = 0;
  const std::int64_t rounds = Rounds();
  for (std::int64_t round = 0; round < rounds && !HasFatalFailure(); ++round) {
    const std::size_t shownBefore = ear_.Count();
    app_.Start();
    app_.SetUEConnectStatus(1);
    app_.SetIsEnableInstantInd(true);
    WaitForTheMoment(round, shownBefore);
    const auto begin = Clock::now();
    app_.Stop();
    const Clock::duration time = Clock::now() - begin;
    longest = std::max(longest, time);
    if (time > std::chrono::milliseconds(300)) ++slow;
    const std::size_t shown = ear_.Count();
    EXPECT_LT(time, kCeiling);
    EXPECT_EQ(pool::LiveBlocks(), blocks) << round;
    EXPECT_EQ(ear_.Count(), shown) << round;
  }
  char found[96];
  std::snprintf(found, sizeof found, "longest Stop %.1f ms, above 300 ms %lld",
                std::chrono::duration<double, std::milli>(longest).count(),
                static_cast<long long>(slow));
  report.Write(rounds, HasFailure() ? "FAILED" : found);
  EXPECT_GT(ear_.Count(), static_cast<std::size_t>(rounds / 4 * 500));
}

}  // namespace
