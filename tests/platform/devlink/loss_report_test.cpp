// Losses as lines for a person.
#include "platform/devlink/loss_report.h"

#include <gtest/gtest.h>

namespace linktest {
namespace {

using devlink::LinkClock;
using devlink::Loss;
using devlink::LossReport;
using devlink::Milliseconds;

TEST(LossReport, SaysNothingWhenNothingIsLost) {
  LossReport report;
  EXPECT_FALSE(report.Line(LinkClock::now(), Milliseconds(1000)));
}

TEST(LossReport, TellsWhatGrewSinceTheLastLine) {
  LossReport report;
  auto now = LinkClock::now();
  report.Set(Loss::kLostFrames, 3);
  report.Set(Loss::kIndicationsDropped, 12);
  EXPECT_EQ(report.Line(now, Milliseconds(1000)),
            "3 frames from the device lost, 12 indications dropped by the device");
  report.Set(Loss::kLostFrames, 4);
  now += Milliseconds(1000);
  EXPECT_EQ(report.Line(now, Milliseconds(1000)), "1 frames from the device lost");
  EXPECT_FALSE(report.Line(now + Milliseconds(5000), Milliseconds(1000)));
}

TEST(LossReport, WaitsBetweenTwoLinesAndLosesNothing) {
  LossReport report;
  const auto now = LinkClock::now();
  report.Set(Loss::kDamagedFrames, 1);
  EXPECT_TRUE(report.Line(now, Milliseconds(1000)));
  report.Set(Loss::kDamagedFrames, 2);
  EXPECT_FALSE(report.Line(now + Milliseconds(999), Milliseconds(1000)));
  report.Set(Loss::kDamagedFrames, 9);
  EXPECT_EQ(report.Line(now + Milliseconds(1000), Milliseconds(1000)),
            "8 damaged frames from the device dropped");
}

TEST(LossReport, HasAWordForEachKindOfLoss) {
  LossReport report;
  for (std::size_t i = 0; i < static_cast<std::size_t>(Loss::kCount); ++i) {
    report.Set(static_cast<Loss>(i), i + 1);
  }
  EXPECT_EQ(
      report.Line(LinkClock::now(), Milliseconds(1000)),
      "1 damaged frames from the device dropped, "
      "2 malformed frames from the device dropped, 3 frames from the device lost, "
      "4 repeated frames from the device dropped, "
      "5 unfinished messages from the device dropped, 6 indications dropped by the device, "
      "7 damaged frames dropped by the device, 8 frames to the device lost, "
      "9 repeated frames dropped by the device, 10 unfinished messages dropped by the device");
}

}  // namespace
}  // namespace linktest
