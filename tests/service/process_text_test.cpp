// What needs a process of its own: the first call of the facade, a host that leaves without Stop,
// and a host without an event loop. Each case runs in a fresh child that tells what it saw on
// standard error.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "svckiv/svc_kiv.h"
#include "tests/fakes/written_texts.h"

namespace {

using SvcKivSpace::SvcKiv;

class FreshProcess : public testing::Test {
 protected:
  FreshProcess() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

void TellStep(const char* step) {
  fake::OnStep(step, [step] { std::fprintf(stderr, "%s;", step); });
}

void TellSteps() {
  for (const char* step :
       {"CLinkClient", "StopConnect", "Sleep", "TpfClientUnInstall", "Shutdown", "~CLinkClient"}) {
    TellStep(step);
  }
}

TEST_F(FreshProcess, TheFirstCallMayComeFromManyThreadsAtOnce) {
  const auto senders = [] {
    std::vector<SvcKivSpace::SvcKivMessage*> seen(8);
    std::vector<std::thread> threads;
    for (auto& sender : seen) threads.emplace_back([&] { sender = SvcKiv::GetMsgSender(); });
    for (std::thread& thread : threads) thread.join();
    return std::set<SvcKivSpace::SvcKivMessage*>(seen.begin(), seen.end());
  };
  EXPECT_EXIT(
      {
        const auto distinct = senders();
        std::fprintf(stderr, "%zu null %zu", distinct.size(), distinct.count(nullptr));
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^1 null 0$");
}

TEST_F(FreshProcess, AHostThatLeavesWithoutStopIsStoppedAtItsEnd) {
  EXPECT_EXIT(
      {
        kivtest::CoreApplication();
        const kivtest::ScratchSetup setup;
        SvcKiv::Start();
        TellSteps();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^StopConnect;Sleep;TpfClientUnInstall;Shutdown;~CLinkClient;$");
}

TEST_F(FreshProcess, AHostThatStoppedHasNothingStoppedAtItsEnd) {
  EXPECT_EXIT(
      {
        kivtest::CoreApplication();
        const kivtest::ScratchSetup setup;
        SvcKiv::Start();
        SvcKiv::Stop();
        TellSteps();
        std::fprintf(stderr, "leaving");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^leaving$");
}

TEST_F(FreshProcess, WithoutAnEventLoopAnAcceptedCommandLeavesTheFlagSet) {
  const auto run = [] {
    qInstallMessageHandler(&kivtest::DropTraces);
    const kivtest::ScratchSetup setup;
    SvcKivClass::SvcKivApp app(SvcKivClass::SvcKivAppParts{{}, {}});
    app.Start();
    app.SetUEConnectStatus(1);
    app.SetInstantIndTime(0);
    QCString reply;
    app.GetDiagCmdResponse(L"ping", reply);
    app.GetDiagCmdResponse(L"ping", reply);
    std::fprintf(stderr, "posts %zu flag %d", fake::Posts().size(),
                 static_cast<int>(app.GetIsEnableInstantInd()));
  };
  EXPECT_EXIT(
      {
        run();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "posts 2 flag 1$");
}

}  // namespace
