// The facade as a host calls it: every function reaches the one application object.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "svckiv/svc_kiv.h"
#include "tests/fakes/wait_until.h"
#include "tests/fakes/written_texts.h"

namespace {

using SvcKivSpace::CSVCKIVConfig;
using SvcKivSpace::MorviCmdList;
using SvcKivSpace::SvcKiv;
using SvcKivSpace::SvcKivMessage;

// All static, but for SetIsEnableInstantInd, which hosts call through an instance.
static_assert(std::is_same_v<decltype(&SvcKiv::GetMsgSender), SvcKivMessage* (*)()>);
static_assert(std::is_same_v<decltype(&SvcKiv::GetMorviCmdList), MorviCmdList* (*)()>);
static_assert(std::is_same_v<decltype(&SvcKiv::Start), CSVCKIVConfig* (*)()>);
static_assert(std::is_same_v<decltype(&SvcKiv::Stop), void (*)()>);
static_assert(std::is_same_v<decltype(&SvcKiv::ReloadDb), void (*)()>);
static_assert(std::is_same_v<decltype(&SvcKiv::SetUEConnectStatus), void (*)(int)>);
static_assert(
    std::is_same_v<decltype(&SvcKiv::GetDiagCmdResponse), void (*)(const wchar_t*, QCString&)>);
static_assert(std::is_same_v<decltype(&SvcKiv::TestServerBufferResponse),
                             unsigned long (*)(const void*, unsigned long)>);
static_assert(std::is_same_v<decltype(&SvcKiv::SetHexadecimalFlag), void (*)(bool)>);
static_assert(
    std::is_same_v<decltype(&SvcKiv::SetIsEnableInstantInd), void (SvcKiv::*)(bool) const>);
static_assert(std::is_same_v<decltype(&SvcKiv::SetInstantIndTime), void (*)(int)>);
static_assert(std::is_default_constructible_v<SvcKiv>);

// A host's process: the application object lives on from case to case, so each begins and ends
// stopped.
class HostCallsFacade : public testing::Test {
 protected:
  HostCallsFacade() {
    kivtest::CoreApplication();
    SvcKiv::Stop();
    fake::ResetSeam();
    ear_ = std::make_unique<kivtest::MessageEar>(*SvcKiv::GetMsgSender());
  }
  ~HostCallsFacade() override {
    SvcKiv::Stop();
    SvcKiv::SetUEConnectStatus(0);
    SvcKiv::SetHexadecimalFlag(false);
    SvcKiv().SetIsEnableInstantInd(false);
  }

  static std::wstring Run(const wchar_t* line) {
    QCString reply(L"<holder>");
    SvcKiv::GetDiagCmdResponse(line, reply);
    return reply.str();
  }
  std::vector<std::wstring> Texts() { return ear_->Texts(); }

 private:
  kivtest::ScratchSetup setup_;
  std::unique_ptr<kivtest::MessageEar> ear_;
};

TEST_F(HostCallsFacade, HasASenderButNoListBeforeStart) {
  EXPECT_NE(SvcKiv::GetMsgSender(), nullptr);
  EXPECT_EQ(SvcKiv::GetMsgSender(), SvcKiv::GetMsgSender());
  EXPECT_EQ(SvcKiv::GetMorviCmdList(), nullptr);
}

TEST_F(HostCallsFacade, TwoStartsMakeOneLinkClientAndOneController) {
  SvcKiv::Start();
  SvcKiv::Start();
  EXPECT_EQ(fake::Calls(),
            (std::vector<std::string>{
                "CLinkClient(0, Kiv 1)", "InstallClient(256, 1)", "TpfClientInstall(256, 1)",
                "StartConnect(256, 1, 8191, 1, 0)", "EnumCommands(3, 256, 0, 0)"}));
}

TEST_F(HostCallsFacade, HasAListFromStartToStop) {
  SvcKiv::Start();
  ASSERT_NE(SvcKiv::GetMorviCmdList(), nullptr);
  EXPECT_EQ(SvcKiv::GetMorviCmdList()->GetCount(), 24u);
  SvcKiv::Stop();
  EXPECT_EQ(SvcKiv::GetMorviCmdList(), nullptr);
}

TEST_F(HostCallsFacade, TheSenderIsTheSameBeforeAndAfterStartAndStop) {
  const SvcKivMessage* sender = SvcKiv::GetMsgSender();
  SvcKiv::Start();
  EXPECT_EQ(SvcKiv::GetMsgSender(), sender);
  SvcKiv::Stop();
  EXPECT_EQ(SvcKiv::GetMsgSender(), sender);
}

TEST_F(HostCallsFacade, AnyStatusButZeroIsAConnectedDevice) {
  SvcKiv::Start();
  const std::wstring refused = L"*** Failed to execute diag command. No UE is connected.\n";
  EXPECT_EQ(Run(L"ping"), refused);
  for (const int status : {1, 2, -1}) {
    SvcKiv::SetUEConnectStatus(status);
    EXPECT_EQ(Run(L"ping"), kivtest::InputShown(L"")) << status;
  }
  SvcKiv::SetUEConnectStatus(0);
  EXPECT_EQ(Run(L"ping"), refused);
  EXPECT_EQ(fake::Posts().size(), 3u);
}

TEST_F(HostCallsFacade, TheConnectStatusOutlivesStopAndMayBeSetBeforeStart) {
  SvcKiv::SetUEConnectStatus(1);
  SvcKiv::Start();
  EXPECT_EQ(Run(L"ping"), kivtest::InputShown(L""));
}

TEST_F(HostCallsFacade, ALineWithoutStartLeavesTheHolderAsItWas) {
  EXPECT_EQ(Run(L"help"), L"<holder>");
}

TEST_F(HostCallsFacade, ANullLineIsTheEmptyLine) {
  SvcKiv::Start();
  EXPECT_EQ(Run(nullptr), L"");
}

TEST_F(HostCallsFacade, PassesBufferLengthAndResultOfTheRawTestThrough) {
  EXPECT_EQ(SvcKiv::TestServerBufferResponse("abcdef", 3), 0ul);
  fake::FailStep("TestServerResponse", 502);
  EXPECT_EQ(SvcKiv::TestServerBufferResponse("xy", 2), 502ul);
  EXPECT_EQ(fake::Calls(),
            (std::vector<std::string>{"TestServerResponse(abc, 3)", "TestServerResponse(xy, 2)"}));
}

TEST_F(HostCallsFacade, TheHexadecimalFlagChangesRepliesAndInputAlike) {
  SvcKiv::Start();
  SvcKiv::SetUEConnectStatus(1);
  SvcKiv::SetHexadecimalFlag(true);
  const std::wstring rows = L".first  = 0x07 \n.second = 0x0008 \n.third  = 0x00000009 \n";
  EXPECT_EQ(Run(L"set_values 7,8,9"), kivtest::InputShown(rows));
  fake::DeliverCnf(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(Texts(), std::vector<std::wstring>{L"\n" + rows});
  SvcKiv::SetHexadecimalFlag(false);
  EXPECT_EQ(Run(L"set_values 7,8,9"), kivtest::InputShown(kivtest::kSevenEightNineRows));
}

TEST_F(HostCallsFacade, AnyInstanceChangesTheOneInstantFlag) {
  SvcKiv::Start()->SetIndicationsEnabled(0);
  const SvcKiv first, second;
  fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(Texts().size(), 0u);
  first.SetIsEnableInstantInd(true);
  fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(Texts().size(), 1u);
  second.SetIsEnableInstantInd(false);
  fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(Texts().size(), 1u);
}

TEST_F(HostCallsFacade, IndicationsAtAnyTimeUnlessTheSettingsSayNo) {
  SvcKivSpace::CSVCKIVConfig* const settings = SvcKiv::Start();
  fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(Texts().size(), 1u);
  settings->SetIndicationsEnabled(0);
  fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(Texts().size(), 1u);
}

TEST_F(HostCallsFacade, IndicationsShowWhileThePeriodOfACommandRuns) {
  SvcKiv::Start()->SetIndicationsEnabled(0);
  SvcKiv::SetUEConnectStatus(1);
  SvcKiv::SetInstantIndTime(30);
  Run(L"ping");
  fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
  EXPECT_EQ(Texts(), std::vector<std::wstring>{std::wstring(L"\n") + kivtest::kSevenEightNineRows});
  EXPECT_TRUE(kivtest::WaitUntil([&] {
    const std::size_t before = Texts().size();
    fake::DeliverInd(0x1001, kivtest::kSevenEightNine);
    return Texts().size() == before;
  }));
}

TEST_F(HostCallsFacade, ReloadKeepsTheListThatTheHostHolds) {
  SvcKiv::Start();
  MorviCmdList* const held = SvcKiv::GetMorviCmdList();
  SvcKiv::ReloadDb();
  EXPECT_NE(SvcKiv::GetMorviCmdList(), held);
  EXPECT_EQ(held->GetCount(), SvcKiv::GetMorviCmdList()->GetCount());
  EXPECT_STREQ(held->Commands().GetAt(0).GetName(), L"set_values");
}

}  // namespace
