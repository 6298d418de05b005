// What the application object makes and takes down, in which order, seen at the platform's seam.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/fakes/module_bench.h"

namespace {

using kivtest::ModuleBench;
using SvcKivClass::SvcKivApp;
using SvcKivClass::SvcKivAppParts;
using Texts = std::vector<std::string>;

std::int32_t NoteInit(const SvcKivClass::ChannelServiceTable&) {
  fake::Note("channel init");
  return 0;
}
std::int32_t NoLine(const wchar_t*, const wchar_t*) { return SvcKivClass::kChannelNotMine; }
std::int32_t NoPacket(std::uint32_t, const void*, const std::uint8_t*, std::uint32_t) {
  return SvcKivClass::kChannelNotMine;
}

// A channel that stands in the sequence of calls.
std::vector<SvcKivClass::ChannelEntries> NotedChannel() {
  return {{&NoteInit, &NoLine, &NoPacket}};
}

// Notes the end of the current controller in the sequence.
void NoteEndOf(CmdCtrl* controller, const std::string& name = "~CmdCtrl()") {
  QObject::connect(controller, &QObject::destroyed, [name] { fake::Note(name); });
}

const Texts kLinkStart = {"CLinkClient(0, Kiv 1)", "InstallClient(256, 1)",
                          "TpfClientInstall(256, 1)", "StartConnect(256, 1, 8191, 1, 0)"};
const Texts kControllerStart = {"channel init", "EnumCommands(3, 256, 0, 0)"};
const Texts kStop = {"StopConnect(256, 1, 8191)", "Sleep(5)",       "TpfClientUnInstall()",
                     "Shutdown(200, 1)",          "~CLinkClient()", "~CmdCtrl()"};

Texts operator+(Texts a, const Texts& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

class AppLifeCycle : public testing::Test {
 protected:
  AppLifeCycle() {
    kivtest::CoreApplication();
    fake::ResetSeam();
    fake::ResetChannels();
  }

  static SvcKivAppParts Parts() { return {NotedChannel(), {}}; }

  // A whole life; answers the sequence.
  static Texts StartAndStop() {
    SvcKivApp app(Parts());
    app.Start();
    NoteEndOf(app.GetController());
    app.Stop();
    return fake::Calls();
  }

  kivtest::ScratchSetup setup_;
};

TEST_F(AppLifeCycle, MakesNothingBeforeStart) {
  SvcKivApp app(Parts());
  EXPECT_EQ(fake::Calls(), Texts());
  EXPECT_EQ(app.GetController(), nullptr);
  EXPECT_EQ(app.GetLinkClient(), nullptr);
  EXPECT_EQ(app.GetMorviCmdList(), nullptr);
  EXPECT_NE(app.GetMsgSender(), nullptr);
  EXPECT_EQ(app.GetUeId(), 0u);
  EXPECT_FALSE(app.GetHexadecimalFlag());
  EXPECT_FALSE(app.GetIsEnableInstantInd());
  EXPECT_FALSE(app.GetSwitches().IsUeConnected());
}

TEST_F(AppLifeCycle, StartMakesSettingsThenLinkThenControllerAndAnswersTheSettings) {
  SvcKivApp app(Parts());
  fake::OnStep("InstallClient", [&app] { EXPECT_NE(app.GetSettings(), nullptr); });
  SvcKivSpace::CSVCKIVConfig* const settings = app.Start();
  ASSERT_NE(settings, nullptr);
  EXPECT_EQ(settings, app.GetSettings());
  EXPECT_EQ(fake::Calls(), kLinkStart + kControllerStart);
  EXPECT_EQ(app.GetUeId(), 1u);
  EXPECT_NE(app.GetMorviCmdList(), nullptr);
  EXPECT_NE(app.GetLinkClient()->TransferProfile().load(), nullptr);
}

TEST_F(AppLifeCycle, StopTakesLinkThenControllerDown) {
  EXPECT_EQ(StartAndStop(), kLinkStart + kControllerStart + kStop);
}

TEST_F(AppLifeCycle, EachFailingStepLeavesTheSequenceAsItIs) {
  for (const char* step : {"InstallClient", "TpfClientInstall", "StartConnect", "EnumCommands",
                           "StopConnect", "TpfClientUnInstall"}) {
    SCOPED_TRACE(step);
    fake::ResetSeam();
    fake::FailStep(step, 500);
    EXPECT_EQ(StartAndStop(), kLinkStart + kControllerStart + kStop);
  }
}

TEST_F(AppLifeCycle, EachFailingPoolAllocationLeavesTheSequenceAsItIs) {
  const std::uint64_t before = pool::LiveBlocks();
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 100u);
    fake::ResetSeam();
    pool::FailNth(n);
    EXPECT_EQ(StartAndStop(), kLinkStart + kControllerStart + kStop);
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(pool::LiveBlocks(), before);
    if (!failed) break;
  }
}

TEST_F(AppLifeCycle, SecondStartMakesNothing) {
  SvcKivApp app(Parts());
  app.Start();
  CmdCtrl* controller = app.GetController();
  SvcKivClass::LirnKivClient* link = app.GetLinkClient();
  app.Start();
  EXPECT_EQ(fake::Calls(), kLinkStart + kControllerStart);
  EXPECT_EQ(app.GetController(), controller);
  EXPECT_EQ(app.GetLinkClient(), link);
}

TEST_F(AppLifeCycle, StartAfterReloadWithoutStartMakesTheLinkAlone) {
  SvcKivApp app(Parts());
  app.ReloadDb();
  app.Start();
  EXPECT_EQ(fake::Calls(), kControllerStart + kLinkStart);
}

TEST_F(AppLifeCycle, SecondStopDoesNothing) {
  SvcKivApp app(Parts());
  app.Start();
  app.Stop();
  fake::ResetSeam();
  app.Stop();
  EXPECT_EQ(fake::Calls(), Texts());
  EXPECT_EQ(app.GetController(), nullptr);
  EXPECT_EQ(app.GetLinkClient(), nullptr);
  EXPECT_EQ(app.GetMorviCmdList(), nullptr);
}

TEST_F(AppLifeCycle, StopBeforeStartDoesNothing) {
  SvcKivApp app(Parts());
  app.Stop();
  EXPECT_EQ(fake::Calls(), Texts());
}

TEST_F(AppLifeCycle, StartAfterStopMakesEverythingAnew) {
  SvcKivApp app(Parts());
  app.Start();
  app.Stop();
  fake::ResetSeam();
  app.Start();
  EXPECT_EQ(fake::Calls(), kLinkStart + kControllerStart);
}

TEST_F(AppLifeCycle, DestructorRunsTheStepsOfStop) {
  {
    SvcKivApp app(Parts());
    app.Start();
    NoteEndOf(app.GetController());
    fake::ResetSeam();
  }
  EXPECT_EQ(fake::Calls(), kStop);
}

TEST_F(AppLifeCycle, DestructorAfterStopDoesNothing) {
  {
    SvcKivApp app(Parts());
    app.Start();
    app.Stop();
    fake::ResetSeam();
  }
  EXPECT_EQ(fake::Calls(), Texts());
}

TEST_F(AppLifeCycle, ReloadDbMakesAFreshControllerAndKeepsTheOldUntilStop) {
  SvcKivApp app(Parts());
  app.Start();
  CmdCtrl* old = app.GetController();
  SvcKivSpace::MorviCmdList* oldList = app.GetMorviCmdList();
  const std::size_t count = oldList->GetCount();
  NoteEndOf(old, "~CmdCtrl(old)");
  fake::ResetSeam();
  app.ReloadDb();
  EXPECT_EQ(fake::Calls(), kControllerStart);
  EXPECT_NE(app.GetController(), old);
  EXPECT_NE(app.GetMorviCmdList(), oldList);
  EXPECT_EQ(oldList->GetCount(), count);

  NoteEndOf(app.GetController());
  fake::ResetSeam();
  app.Stop();
  EXPECT_EQ(fake::Calls(), kStop + Texts{"~CmdCtrl(old)"});
}

TEST_F(AppLifeCycle, ThePacketsThatComeWhileStopWaitsAreStillTakenSafely) {
  SvcKivApp app(Parts());
  app.Start();
  kivtest::MessageEar ear(*app.GetMsgSender());
  fake::OnStep("Sleep", [] { EXPECT_EQ(fake::DeliverCnf(0x9999, {}), 0); });
  fake::OnStep("Shutdown", [] { EXPECT_EQ(fake::DeliverCnf(0x9999, {}), 0); });
  app.Stop();
  EXPECT_EQ(ear.Texts(), (std::vector<std::wstring>{L"\nok", L"\nok"}));
  EXPECT_EQ(fake::DeliverCnf(0x9999, {}), fake::kNoClient);
}

TEST_F(AppLifeCycle, StartTracesItsSteps) {
  kivtest::TraceEar traces;
  SvcKivApp app(Parts());
  app.Start();
  EXPECT_EQ(traces.Lines(), (std::vector<std::wstring>{
                                L"[SvcKivApp::Start]start create lirn client",
                                L"[SvcKivApp::Start]end create lirn client",
                                L"[CmdCtrl::Initial]start", L"[CmdCtrl::FillMorviCmdList]start",
                                L"[CmdCtrl::FillMorviCmdList]end, morviCmdList length = 24",
                                L"[CmdCtrl::Initial]end"}));
  traces.Clear();
  app.Stop();
  EXPECT_EQ(traces.Lines(), std::vector<std::wstring>());
}

TEST_F(AppLifeCycle, LeavesTheReplyHolderAloneWithoutController) {
  SvcKivApp app(Parts());
  QCString reply(L"kept");
  app.GetDiagCmdResponse(L"help", reply);
  EXPECT_EQ(reply, L"kept");
  app.SetInstantIndTime(5);
  EXPECT_EQ(fake::Calls(), Texts());
}

TEST_F(AppLifeCycle, PassesTheAdaptersResultOnWithOrWithoutALink) {
  SvcKivApp app(Parts());
  fake::FailStep("TestServerResponse", 0xFFFFFFFFu);
  EXPECT_EQ(app.TestServerResponse("abc", 3), 0xFFFFFFFFul);
  fake::FailStep("TestServerResponse", 0);
  EXPECT_EQ(app.TestServerResponse("", 0), 0ul);
  EXPECT_EQ(fake::Calls(), (Texts{"TestServerResponse(abc, 3)", "TestServerResponse(, 0)"}));
}

TEST_F(AppLifeCycle, EachPairOfFailingStepsLeavesTheSequenceAsItIs) {
  const char* const steps[] = {"InstallClient", "TpfClientInstall", "StartConnect",
                               "EnumCommands",  "StopConnect",      "TpfClientUnInstall"};
  for (const char* first : steps) {
    for (const char* second : steps) {
      SCOPED_TRACE(std::string(first) + " and " + second);
      fake::ResetSeam();
      fake::FailStep(first, 1);
      fake::FailStep(second, 3207);
      EXPECT_EQ(StartAndStop(), kLinkStart + kControllerStart + kStop);
    }
  }
}

TEST_F(AppLifeCycle, AFailedStartStillAnswersLines) {
  for (const char* step : {"InstallClient", "TpfClientInstall", "StartConnect", "EnumCommands"}) {
    SCOPED_TRACE(step);
    fake::ResetSeam();
    fake::FailStep(step, 500);
    SvcKivApp app(Parts());
    app.Start();
    app.SetUEConnectStatus(1);
    QCString reply;
    app.GetDiagCmdResponse(L"nonsense", reply);
    EXPECT_EQ(reply, L"Command 'nonsense' is not exist\n");
    app.GetDiagCmdResponse(L"ping -r 00:11:22:33:44:55", reply);
    EXPECT_EQ(fake::DeliverCnf(0x9999, {}), 0);
  }
}

TEST_F(AppLifeCycle, SwitchesOutliveStopAndStart) {
  SvcKivApp app(Parts());
  app.SetHexadecimalFlag(true);
  app.SetIsEnableInstantInd(true);
  app.SetUEConnectStatus(-7);
  app.Start();
  app.Stop();
  app.Start();
  EXPECT_TRUE(app.GetHexadecimalFlag());
  EXPECT_TRUE(app.GetIsEnableInstantInd());
  EXPECT_TRUE(app.GetSwitches().IsUeConnected());
  app.SetUEConnectStatus(0);
  EXPECT_FALSE(app.GetSwitches().IsUeConnected());
}

TEST_F(AppLifeCycle, StopTurnsTheSwitchesOfTheSettingsOff) {
  SvcKivApp app(Parts());
  app.Start();
  app.GetSwitches().indicationsEnabled = true;
  app.GetSwitches().oneLineArrays = true;
  app.GetSwitches().showType = true;
  app.Stop();
  EXPECT_FALSE(app.GetSwitches().indicationsEnabled);
  EXPECT_FALSE(app.GetSwitches().oneLineArrays);
  EXPECT_FALSE(app.GetSwitches().showType);
}

}  // namespace
