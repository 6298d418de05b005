// The link against the real agent, which is written from the wire page alone: over pipes and over a
// Unix socket.
#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>

#include "platform/adapter/dev_adapter_connect.h"
#include "platform/devlink/child_process_posix.h"
#include "tests/platform/devlink/link_fixture.h"
#include "tests/support/tree_paths.h"

namespace linktest {
namespace {

using devlink::Milliseconds;

constexpr std::uint32_t kNoSuchCommand = 0x7FF0;

class AgentLink : public LinkTest, public testing::WithParamInterface<const char*> {
 protected:
  static bool OverPipes() { return std::string(GetParam()) == "exec"; }
  std::string AgentCommand(const std::string& arguments) const {
    return "'" + std::string(kivtest::BuildDir()) + "/bin/kivagent' --data '" + Path("data") +
           "' --name probe --allow-root " + arguments;
  }
  // For the socket the agent is a process of the test's own.
  void StartAgent() {
    if (OverPipes()) return;
    std::string problem;
    agent_ = std::make_unique<devlink::ChildProcess>();
    const std::vector<std::string> arguments = {
        "/bin/sh", "-c", "exec " + AgentCommand("--unix '" + Path("dir/socket") + "'")};
    ASSERT_TRUE(agent_->Start(arguments, pipes_, problem)) << problem;
  }
  void StartLink() {
    StartAgent();
    StartAt(OverPipes() ? "exec:" + AgentCommand("--stdio") : "unix:" + Path("dir/socket"));
    ASSERT_TRUE(record_.WaitForState("connected")) << testing::PrintToString(States());
  }

  devlink::ChildProcess::Pipes pipes_;
  std::unique_ptr<devlink::ChildProcess> agent_;
};

TEST_P(AgentLink, GreetsAndConfirmsAnUnknownCommandWithItsCode) {
  StartLink();
  EXPECT_EQ(record_.With([&] { return record_.peer->agentName; }), "probe");
  EXPECT_EQ(client_->PostCmd(kNoSuchCommand, "abc", 3, 77, 5, 9), 0u);
  ASSERT_TRUE(record_.WaitForPackets(1));
  EXPECT_EQ(Packets()[0], (Packet{kNoSuchCommand, 700, 0, {}, 9, 77, 5}));
}

TEST_P(AgentLink, SaysTheFingerprintOfTheCatalogueThatShips) {
  UseShippedCatalogue();
  StartLink();
  EXPECT_NE(record_.With([&] { return record_.peer->catalogueFingerprint; }), 0u);
  EXPECT_FALSE(record_.With([&] { return record_.peer->fingerprintDiffers; }));
}

TEST_P(AgentLink, LineTestsOfManyLengthsComeBackUnchanged) {
  StartLink();
  CDevAdapterConnect adapter;
  const auto before = devlink::GetLinkCounters();
  constexpr std::size_t kLengths[] = {0,      1,      65'499, 65'500,   65'501,
                                      65'535, 65'536, 65'537, 1'000'000};
  for (const std::size_t length : kLengths) {
    const Bytes body = Noise(length);
    EXPECT_EQ(adapter.TestServerResponse(body.data(), body.size()), 0ul);
  }
  const auto after = devlink::GetLinkCounters();
  EXPECT_EQ(after.testAnswers - before.testAnswers, std::size(kLengths));
  EXPECT_EQ(after.bytesIn - before.bytesIn > 1'000'000, true);
  EXPECT_EQ(after.badFrames + after.badMessages + after.sequenceGaps,
            before.badFrames + before.badMessages + before.sequenceGaps);
}

TEST_P(AgentLink, AnswersProbes) {
  timing_.probeAfter = Milliseconds(20);
  timing_.lostAfter = Milliseconds(10'000);
  const auto before = devlink::GetLinkCounters();
  StartLink();
  ASSERT_TRUE(
      record_.Wait([&] { return devlink::GetLinkCounters().messagesIn - before.messagesIn >= 6; }));
}

TEST_P(AgentLink, ConfirmsEveryRequestOfManyPosters) {
  record_.keepBodies = false;
  StartLink();
  constexpr std::size_t kPosts = 500;
  std::vector<std::thread> posters;
  for (int poster = 0; poster < 4; ++poster) {
    posters.emplace_back([&] {
      for (std::size_t i = 0; i < kPosts; ++i) EXPECT_EQ(Post(kNoSuchCommand, Bytes(i), 1), 0u);
    });
  }
  for (auto& poster : posters) poster.join();
  EXPECT_TRUE(record_.WaitForPackets(4 * kPosts));
}

INSTANTIATE_TEST_SUITE_P(Over, AgentLink, testing::Values("exec", "unix"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace linktest
