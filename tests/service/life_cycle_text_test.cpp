// Start, Stop and ReloadDb as one sequence of calls, traces included, as a host or a log reader
// sees them; also with each step failing.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/fakes/wait_until.h"
#include "tests/fakes/written_texts.h"

namespace {

using Sequence = std::vector<std::string>;

std::int32_t NoteInit(const SvcKivClass::ChannelServiceTable&) {
  fake::Note("channel init");
  return 0;
}
std::int32_t NotMine(const wchar_t*, const wchar_t*) { return SvcKivClass::kChannelNotMine; }
std::int32_t NotMyPacket(std::uint32_t, const void*, const std::uint8_t*, std::uint32_t) {
  return SvcKivClass::kChannelNotMine;
}

// Not started; one channel that notes its initialisation.
kivtest::ModuleBench::Options Unstarted() {
  kivtest::ModuleBench::Options options;
  options.channels = {{&NoteInit, &NotMine, &NotMyPacket}};
  options.start = false;
  options.connected = false;
  return options;
}

const Sequence kLinkSteps = {
    "trace [SvcKivApp::Start]start create lirn client",
    "CLinkClient(0, Kiv 1)",
    "InstallClient(256, 1)",
    "TpfClientInstall(256, 1)",
    "StartConnect(256, 1, 8191, 1, 0)",
    "trace [SvcKivApp::Start]end create lirn client",
};

const Sequence kControllerSteps = {
    "channel init",
    "trace [CmdCtrl::Initial]start",
    "trace [CmdCtrl::FillMorviCmdList]start",
    "EnumCommands(3, 256, 0, 0)",
    "trace [CmdCtrl::FillMorviCmdList]end, morviCmdList length = 24",
    "trace [CmdCtrl::Initial]end",
};

Sequence Joined(Sequence first, const Sequence& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Sequence StopSteps(std::size_t controllers) {
  Sequence steps = {"StopConnect(256, 1, 8191)", "Sleep(5)", "TpfClientUnInstall()",
                    "Shutdown(200, 1)", "~CLinkClient()"};
  for (std::size_t i = 0; i < controllers; ++i) steps.emplace_back("controller deleted");
  return steps;
}

void NoteDeletion(CmdCtrl& controller) {
  QObject::connect(&controller, &QObject::destroyed, [] { fake::Note("controller deleted"); });
}

// The calls made while `act` runs.
template <typename Act>
Sequence CallsOf(const Act& act) {
  const std::size_t before = fake::Calls().size();
  act();
  const Sequence all = fake::Calls();
  return Sequence(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
}

TEST(LifeCycleSequence, StartMakesTheLinkAndThenTheController) {
  kivtest::ModuleBench bench(Unstarted());
  EXPECT_EQ(bench.App().GetUeId(), 0u);
  const kivtest::TracesInSequence traces;
  const Sequence calls = CallsOf([&] { bench.App().Start(); });
  EXPECT_EQ(calls, Joined(kLinkSteps, kControllerSteps));
  EXPECT_EQ(bench.App().GetUeId(), 1u);
}

TEST(LifeCycleSequence, ASecondStartMakesNothing) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  const auto* link = bench.App().GetLinkClient();
  const auto* controller = bench.App().GetController();
  const kivtest::TracesInSequence traces;
  EXPECT_EQ(CallsOf([&] { bench.App().Start(); }), Sequence());
  EXPECT_EQ(bench.App().GetLinkClient(), link);
  EXPECT_EQ(bench.App().GetController(), controller);
}

TEST(LifeCycleSequence, StopTakesTheLinkDownBeforeItDeletesTheController) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  NoteDeletion(bench.Controller());
  EXPECT_EQ(CallsOf([&] { bench.App().Stop(); }), StopSteps(1));
  EXPECT_EQ(bench.App().GetLinkClient(), nullptr);
  EXPECT_EQ(bench.App().GetController(), nullptr);
  EXPECT_EQ(bench.App().GetMorviCmdList(), nullptr);
}

TEST(LifeCycleSequence, StopAfterStopAndStopBeforeStartTouchNothing) {
  kivtest::ModuleBench bench(Unstarted());
  EXPECT_EQ(CallsOf([&] { bench.App().Stop(); }), Sequence());
  bench.App().Start();
  bench.App().Stop();
  EXPECT_EQ(CallsOf([&] { bench.App().Stop(); }), Sequence());
}

TEST(LifeCycleSequence, StartAfterStopBeginsFromTheBeginning) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  bench.App().SetUEConnectStatus(1);
  bench.Run(L"ping");
  bench.App().Stop();
  const kivtest::TracesInSequence traces;
  EXPECT_EQ(CallsOf([&] { bench.App().Start(); }), Joined(kLinkSteps, kControllerSteps));
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
}

TEST(LifeCycleSequence, TheDestructorStopsWhatStillRuns) {
  kivtest::CoreApplication();
  fake::ResetSeam();
  const kivtest::ScratchSetup setup;
  Sequence calls;
  {
    auto app = std::make_unique<SvcKivClass::SvcKivApp>(SvcKivClass::SvcKivAppParts{{}, {}});
    app->Start();
    NoteDeletion(*app->GetController());
    calls = CallsOf([&] { app.reset(); });
  }
  EXPECT_EQ(calls, StopSteps(1));
}

TEST(LifeCycleSequence, AFailingStepOfTheLinkStopsNeitherStartNorStop) {
  for (const char* step : {"InstallClient", "TpfClientInstall", "StartConnect"}) {
    SCOPED_TRACE(step);
    kivtest::ModuleBench bench(Unstarted());
    fake::FailStep(step, 7);
    {
      const kivtest::TracesInSequence traces;
      EXPECT_EQ(CallsOf([&] { bench.App().Start(); }), Joined(kLinkSteps, kControllerSteps));
    }
    bench.App().SetUEConnectStatus(1);
    EXPECT_NE(bench.Run(L"set_values 7,8,9 -r 00:11:22:33:44:55"),
              kivtest::ModuleBench::kUntouched);
    NoteDeletion(bench.Controller());
    EXPECT_EQ(CallsOf([&] { bench.App().Stop(); }), StopSteps(1));
  }
}

TEST(LifeCycleSequence, FailingStepsOfStopDoNotEndIt) {
  for (const char* step : {"StopConnect", "TpfClientUnInstall"}) {
    SCOPED_TRACE(step);
    kivtest::ModuleBench bench(Unstarted());
    bench.App().Start();
    NoteDeletion(bench.Controller());
    fake::FailStep(step, 7);
    EXPECT_EQ(CallsOf([&] { bench.App().Stop(); }), StopSteps(1));
  }
}

TEST(LifeCycleSequence, AnEnumerationThatFailsIsLoggedAndHasNoEndTrace) {
  kivtest::ModuleBench bench(Unstarted());
  fake::FailStep("EnumCommands", 7);
  const kivtest::TracesInSequence traces;
  const Sequence calls = CallsOf([&] { bench.App().Start(); });
  Sequence expected = Joined(kLinkSteps, kControllerSteps);
  std::erase(expected, "trace [CmdCtrl::FillMorviCmdList]end, morviCmdList length = 24");
  EXPECT_EQ(calls, expected);
  EXPECT_EQ(
      bench.Log().Lines(),
      std::vector<std::wstring>{L"01 CmdCtrl::FillMorviCmdList() - err=7, EnumCommands Fail\n"});
}

TEST(LifeCycleSequence, AfterAFailedEnumerationHelpStillAnswersWithItsTwoWords) {
  kivtest::ModuleBench bench(Unstarted());
  fake::FailStep("EnumCommands", 7);
  bench.App().Start();
  EXPECT_EQ(bench.App().GetMorviCmdList()->GetCount(), 2u);
  EXPECT_EQ(bench.Run(L"help"), L"help  Querying All Commands\n?  Querying All Commands\n");
  EXPECT_EQ(bench.Run(L"set_values 1"), L"Command 'set_values' is not exist\n");
}

TEST(LifeCycleSequence, ReloadReadsTheListAgainWithoutTouchingTheLink) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  NoteDeletion(bench.Controller());
  const kivtest::TracesInSequence traces;
  EXPECT_EQ(CallsOf([&] { bench.App().ReloadDb(); }), kControllerSteps);
}

TEST(LifeCycleSequence, StopDeletesControllersThatWereReplacedToo) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  NoteDeletion(bench.Controller());
  bench.App().ReloadDb();
  NoteDeletion(bench.Controller());
  bench.App().ReloadDb();
  NoteDeletion(bench.Controller());
  EXPECT_EQ(CallsOf([&] { bench.App().Stop(); }), StopSteps(3));
}

TEST(LifeCycleSequence, ReloadKeepsTheOldListValid) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  SvcKivSpace::MorviCmdList* const old = bench.App().GetMorviCmdList();
  bench.App().ReloadDb();
  ASSERT_NE(bench.App().GetMorviCmdList(), old);
  EXPECT_EQ(old->GetCount(), 24u);
  ASSERT_NE(old->Find(L"set_values"), nullptr);
  EXPECT_EQ(old->Find(L"set_values")->GetId(), 0x1001u);
}

TEST(LifeCycleSequence, ReloadStartsTheSequenceNumberAndThePeriodAnew) {
  kivtest::ModuleBench bench;
  bench.App().SetInstantIndTime(1000000);
  bench.Run(L"ping");
  bench.Run(L"ping");
  bench.App().SetIsEnableInstantInd(false);
  bench.App().ReloadDb();
  bench.Run(L"ping");
  EXPECT_EQ(fake::Posts().back().tag, 1);
  // The period is 0 until the host sets it again.
  EXPECT_TRUE(kivtest::WaitUntil([&] { return !bench.App().GetIsEnableInstantInd(); }));
}

TEST(LifeCycleSequence, ReloadBeforeStartMakesTheControllerThatStartKeeps) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().ReloadDb();
  const CmdCtrl* controller = bench.App().GetController();
  ASSERT_NE(controller, nullptr);
  const kivtest::TracesInSequence traces;
  EXPECT_EQ(CallsOf([&] { bench.App().Start(); }), kLinkSteps);
  EXPECT_EQ(bench.App().GetController(), controller);
}

TEST(LifeCycleSequence, ReloadSeesACatalogueThatHasChanged) {
  kivtest::CoreApplication();
  fake::ResetSeam();
  const kivtest::ScratchSetup setup;
  namespace fs = std::filesystem;
  const fs::path file = setup.Path("changing.kcat");
  SvcKivClass::SvcKivApp app(SvcKivClass::SvcKivAppParts{{}, QCString::FromUtf8(file.string())});
  app.Start();
  EXPECT_EQ(app.GetMorviCmdList()->GetCount(), 2u);  // no such file yet
  fs::copy_file(kivtest::TestCatalogue().ToUtf8(), file);
  app.ReloadDb();
  EXPECT_EQ(app.GetMorviCmdList()->GetCount(), 24u);
}

TEST(LifeCycleSequence, WithoutAControllerTheHolderStaysAndThePeriodIsIgnored) {
  kivtest::ModuleBench bench(Unstarted());
  EXPECT_EQ(bench.Run(L"help"), kivtest::ModuleBench::kUntouched);
  bench.App().SetInstantIndTime(5);
  bench.App().Start();
  bench.App().Stop();
  EXPECT_EQ(bench.Run(L"help"), kivtest::ModuleBench::kUntouched);
  bench.App().SetInstantIndTime(5);
}

TEST(LifeCycleSequence, ACycleGivesEveryPoolBlockBack) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  bench.App().Stop();
  const std::uint64_t blocks = pool::LiveBlocks();
  for (int i = 0; i < 3; ++i) {
    bench.App().Start();
    bench.App().SetUEConnectStatus(1);
    bench.Run(L"set_values 7,8,9");
    fake::DeliverCnf(0x1001, kivtest::kSevenEightNine);
    bench.App().ReloadDb();
    bench.App().Stop();
    EXPECT_EQ(pool::LiveBlocks(), blocks);
  }
}

TEST(LifeCycleSequence, NoMessageComesAfterStop) {
  kivtest::ModuleBench bench(Unstarted());
  bench.App().Start();
  fake::DeliverCnf(0x1001, {});
  EXPECT_EQ(bench.Messages().All().size(), 1u);
  bench.App().Stop();
  EXPECT_EQ(fake::DeliverCnf(0x1001, {}), fake::kNoClient);
  EXPECT_EQ(bench.Messages().All().size(), 1u);
}

}  // namespace
