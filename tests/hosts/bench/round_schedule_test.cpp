// When the next round is due, on a clock of the test's own.
#include "hosts/bench/round_schedule.h"

#include <gtest/gtest.h>

using hostbench::RoundSchedule;
using namespace std::chrono_literals;

namespace {

RoundSchedule::Time At(std::chrono::milliseconds time) { return RoundSchedule::Time(time); }

TEST(RoundSchedule, KeepsItsGridHoweverShortTheRoundsAre) {
  RoundSchedule schedule(At(100ms), 1s);
  EXPECT_EQ(schedule.After(At(101ms)), At(1100ms));
  EXPECT_EQ(schedule.After(At(1999ms)), At(2100ms));
  EXPECT_EQ(schedule.After(At(2100ms)), At(3100ms));
  EXPECT_EQ(schedule.Skipped(), 0u);
}

TEST(RoundSchedule, BeginsARoundThatIsDueWhenTheOneBeforeEndsAtOnce) {
  RoundSchedule schedule(At(0ms), 1s);
  EXPECT_EQ(schedule.After(At(1000ms)), At(1000ms));
  EXPECT_EQ(schedule.Skipped(), 0u);
}

TEST(RoundSchedule, SkipsAndCountsWhatALongRoundStoodInTheWayOf) {
  RoundSchedule schedule(At(0ms), 1s);
  EXPECT_EQ(schedule.After(At(1001ms)), At(2000ms));
  EXPECT_EQ(schedule.Skipped(), 1u);
  EXPECT_EQ(schedule.After(At(5500ms)), At(6000ms));
  EXPECT_EQ(schedule.Skipped(), 4u);
  EXPECT_EQ(schedule.After(At(6001ms)), At(7000ms));
  EXPECT_EQ(schedule.Skipped(), 4u);
}

TEST(RoundSchedule, TakesALongPauseOfTheWholeProgramAtOnce) {
  RoundSchedule schedule(At(0ms), 100ms);
  EXPECT_EQ(schedule.After(At(24h)), At(24h));
  EXPECT_EQ(schedule.Skipped(), 863'999u);
}

}  // namespace
