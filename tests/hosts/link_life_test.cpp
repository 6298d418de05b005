// What became of the link, on a clock of the test's own.
#include "hosts/terminal/link_life.h"

#include <gtest/gtest.h>

namespace kiv {
namespace {

using devlink::LinkState;

LinkStatus::Time At(int s) { return LinkStatus::Time(std::chrono::seconds(s)); }

class LinkLifeTest : public testing::Test {
 protected:
  void Change(LinkState state, int s, const char* reason = "") {
    life.Changed({state, state == LinkState::kConnected ? &peer : nullptr, reason}, At(s),
                 "at " + std::to_string(s));
  }
  const LinkStatus& Status() const { return life.Status(); }

  devlink::PeerInfo peer{"board", 1, 248, 0, 7, 0, false};
  LinkLife life;
};

TEST_F(LinkLifeTest, KnowsNothingAtFirst) {
  EXPECT_EQ(Status().state, LinkState::kDisconnected);
  EXPECT_FALSE(Status().since);
  EXPECT_FALSE(Status().peer);
  EXPECT_EQ(Status().losses, 0u);
}

TEST_F(LinkLifeTest, AFailedAttemptIsNoLossAndItsReasonHoldsDuringTheNext) {
  Change(LinkState::kConnecting, 1);
  Change(LinkState::kDisconnected, 2, "no such file");
  Change(LinkState::kConnecting, 3);
  EXPECT_EQ(Status().losses, 0u);
  EXPECT_EQ(Status().reason, "no such file");
  EXPECT_EQ(Status().since, At(3));
}

TEST_F(LinkLifeTest, HasTheTimeOfTheFirstOfEqualStates) {
  Change(LinkState::kDisconnected, 1, "a");
  Change(LinkState::kDisconnected, 2, "b");
  EXPECT_EQ(Status().since, At(1));
  EXPECT_EQ(Status().sinceText, "at 1");
  EXPECT_EQ(Status().reason, "b");
}

TEST_F(LinkLifeTest, CountsLossesAndKeepsTheLastReasonAndTheDevice) {
  Change(LinkState::kConnected, 1);
  EXPECT_EQ(Status().reason, "");
  Change(LinkState::kDisconnected, 5, "the device closed the link");
  Change(LinkState::kDisconnected, 6, "no such file");
  EXPECT_EQ(Status().losses, 1u);
  EXPECT_EQ(Status().lastLossReason, "the device closed the link");
  EXPECT_EQ(Status().lastLossText, "at 5");
  ASSERT_TRUE(Status().peer);
  EXPECT_EQ(Status().peer->agentName, "board");
  peer.agentName = "another";
  Change(LinkState::kConnected, 7);
  Change(LinkState::kConnecting, 9, "no answer");
  EXPECT_EQ(Status().losses, 2u);
  EXPECT_EQ(Status().lastLossReason, "no answer");
  EXPECT_EQ(Status().peer->agentName, "another");
}

}  // namespace
}  // namespace kiv
