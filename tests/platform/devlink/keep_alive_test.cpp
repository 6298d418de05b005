// When a silent device is probed and when it is given up, on a clock that the test moves.
#include "platform/devlink/keep_alive.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace linktest {
namespace {

using devlink::KeepAlive;
using devlink::LinkClock;
using devlink::Milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class Silence : public testing::Test {
 protected:
  // Lets time pass as the link does: asks whenever there may be something to say.
  void PassUntil(int ms) {
    while (keepAlive_.NextAsk() <= At(ms)) {
      now_ = keepAlive_.NextAsk();
      const auto due = keepAlive_.Ask(now_);
      const auto sinceStart = std::chrono::duration_cast<Milliseconds>(now_ - start_).count();
      if (due == KeepAlive::Due::kProbe) said_.push_back("probe " + std::to_string(sinceStart));
      if (due == KeepAlive::Due::kLost) {
        said_.push_back("lost " + std::to_string(sinceStart));
        return;
      }
    }
    now_ = At(ms);
  }
  LinkClock::time_point At(int ms) const { return start_ + Milliseconds(ms); }

  const LinkClock::time_point start_ = LinkClock::now();
  LinkClock::time_point now_ = start_;
  KeepAlive keepAlive_{devlink::LinkTiming(), start_};
  std::vector<std::string> said_;
};

TEST_F(Silence, IsProbedEachSecondAndGivenUpFiveSecondsAfterTheFirstProbe) {
  PassUntil(60'000);
  EXPECT_THAT(said_, ElementsAre("probe 1000", "probe 2000", "probe 3000", "probe 4000",
                                 "probe 5000", "lost 6000"));
}

TEST_F(Silence, IsNotProbedWhileSomethingArrives) {
  for (int ms = 900; ms < 20'000; ms += 900) {
    PassUntil(ms);
    keepAlive_.Heard(At(ms));
  }
  EXPECT_THAT(said_, IsEmpty());
}

TEST_F(Silence, BeginsAnewWhenTheDeviceAnswers) {
  PassUntil(5'999);
  keepAlive_.Heard(At(5'999));
  PassUntil(60'000);
  EXPECT_THAT(said_, ElementsAre("probe 1000", "probe 2000", "probe 3000", "probe 4000",
                                 "probe 5000", "probe 6999", "probe 7999", "probe 8999",
                                 "probe 9999", "probe 10999", "lost 11999"));
}

TEST_F(Silence, DoesNotCountTimeInWhichNobodyRead) {
  PassUntil(5'500);
  // The view kept the link's thread for ten minutes.
  keepAlive_.Exclude(Milliseconds(600'000), At(605'500));
  PassUntil(605'999);
  EXPECT_EQ(said_.back(), "probe 5000");
  PassUntil(700'000);
  EXPECT_EQ(said_.back(), "lost 606000");
}

TEST_F(Silence, IsNotMovedIntoTheFutureByExcludedTime) {
  keepAlive_.Heard(At(100));
  keepAlive_.Exclude(Milliseconds(60'000), At(200));
  PassUntil(1'300);
  EXPECT_THAT(said_, ElementsAre("probe 1200"));
}

}  // namespace
}  // namespace linktest
