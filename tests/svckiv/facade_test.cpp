// The exported facade over the shared libraries, as a foreign host sees it: no fake anywhere, and
// no device.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdlib>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "platform/base/bench_setup.h"
#include "svckiv/svc_kiv.h"
#include "tests/support/tree_paths.h"

namespace {

using SvcKivSpace::SvcKiv;

static_assert(
    std::is_same_v<decltype(&SvcKiv::SetIsEnableInstantInd), void (SvcKiv::*)(bool) const>);
static_assert(std::is_same_v<decltype(&SvcKiv::Start), SvcKivSpace::CSVCKIVConfig* (*)()>);
static_assert(std::is_same_v<decltype(&SvcKiv::TestServerBufferResponse),
                             unsigned long (*)(const void*, unsigned long)>);
static_assert(std::is_default_constructible_v<SvcKiv>);

QCString FromUtf8(const std::string& text) { return QCString::FromUtf8(text); }

// Each case leaves the one application object stopped.
class Facade : public testing::Test {
 protected:
  Facade() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
    SvcKiv::Stop();
    bench::Setup setup;
    setup.configDir = FromUtf8(directory_.path().toStdString());
    setup.dataDir = FromUtf8(directory_.path().toStdString() + "/data");
    setup.catalogue = FromUtf8(std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat");
    setup.endpoint = FromUtf8("unix:" + directory_.path().toStdString() + "/nobody");
    bench::SetSetup(setup);
  }
  ~Facade() override {
    SvcKiv::SetUEConnectStatus(0);
    SvcKiv::SetHexadecimalFlag(false);
    SvcKiv::Stop();
    bench::SetSetup({});
  }

  static std::wstring Run(const wchar_t* line) {
    QCString reply(L"<untouched>");
    SvcKiv::GetDiagCmdResponse(line, reply);
    return reply.str();
  }

  QTemporaryDir directory_;
};

TEST_F(Facade, HasAMessageObjectAndNoListBeforeStart) {
  EXPECT_NE(SvcKiv::GetMsgSender(), nullptr);
  EXPECT_EQ(SvcKiv::GetMorviCmdList(), nullptr);
  EXPECT_EQ(Run(L"help"), L"<untouched>");
  SvcKiv::SetInstantIndTime(5);
}

TEST_F(Facade, AnswersTheSameMessageObjectOnEveryThread) {
  SvcKivSpace::SvcKivMessage* const sender = SvcKiv::GetMsgSender();
  std::vector<SvcKivSpace::SvcKivMessage*> seen(8);
  std::vector<std::thread> threads;
  for (auto& slot : seen) threads.emplace_back([&slot] { slot = SvcKiv::GetMsgSender(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(seen, std::vector<SvcKivSpace::SvcKivMessage*>(8, sender));
}

TEST_F(Facade, StartsOnceAndAnswersTheSettings) {
  SvcKivSpace::CSVCKIVConfig* const settings = SvcKiv::Start();
  ASSERT_NE(settings, nullptr);
  EXPECT_EQ(settings->SettingsInstancePath(), L"0.0.0.0");
  EXPECT_EQ(settings->Settings().postCmdTimeoutMs, 5000u);
  SvcKivSpace::MorviCmdList* const list = SvcKiv::GetMorviCmdList();
  ASSERT_NE(list, nullptr);
  EXPECT_NE(list->Find(L"sys_info"), nullptr);
  EXPECT_EQ(list->Find(L"help"), nullptr);
  EXPECT_EQ(list->GetCount(), list->Help().GetCount() + list->Commands().GetCount());
  EXPECT_EQ(SvcKiv::Start(), settings);
  EXPECT_EQ(SvcKiv::GetMorviCmdList(), list);
}

TEST_F(Facade, StopsTwiceAndStartsAgain) {
  SvcKiv::Start();
  SvcKiv::Stop();
  EXPECT_EQ(SvcKiv::GetMorviCmdList(), nullptr);
  SvcKiv::Stop();
  SvcKiv::Start();
  EXPECT_NE(SvcKiv::GetMorviCmdList(), nullptr);
}

TEST_F(Facade, ReloadsTheListAndKeepsTheOldOneReadable) {
  SvcKiv::Start();
  SvcKivSpace::MorviCmdList* const old = SvcKiv::GetMorviCmdList();
  const std::size_t count = old->GetCount();
  SvcKiv::ReloadDb();
  EXPECT_NE(SvcKiv::GetMorviCmdList(), old);
  EXPECT_EQ(old->GetCount(), count);
  EXPECT_STREQ(old->Commands()[0].GetName(), L"sys_info");
}

TEST_F(Facade, AnswersTypedLines) {
  SvcKiv::Start();
  const std::wstring head =
      L"help  Querying All Commands\n?  Querying All Commands\nsys_info  (0x1001) \n\n";
  EXPECT_EQ(Run(L"help").substr(0, head.size()), head);
  EXPECT_EQ(Run(L"nonsense"), L"Command 'nonsense' is not exist\n");
  EXPECT_EQ(Run(nullptr), L"");
  EXPECT_EQ(Run(L"sys_info"), L"*** Failed to execute diag command. No UE is connected.\n");
}

TEST_F(Facade, TellsThatNobodyIsAtTheOtherEnd) {
  SvcKiv::Start();
  SvcKiv::SetUEConnectStatus(1);
  const std::wstring stars(20, L'*');
  EXPECT_EQ(Run(L"sys_info"), L"Input Parameters:\n" + stars + L"\n" + stars +
                                  L"\n*** Failed to execute diag command. Connect UE before using "
                                  L"any commands.\n");
  EXPECT_EQ(SvcKiv::TestServerBufferResponse("x", 1), 3207ul);
}

TEST_F(Facade, TestsNoServerWithoutALink) {
  EXPECT_EQ(SvcKiv::TestServerBufferResponse("x", 1), 502ul);
}

TEST_F(Facade, SetsItsFlagsThroughAnyInstance) {
  const SvcKiv first;
  first.SetIsEnableInstantInd(true);
  SvcKiv().SetIsEnableInstantInd(false);
  SvcKiv::SetHexadecimalFlag(true);
  SvcKiv::Start();
  SvcKiv::SetUEConnectStatus(1);
  EXPECT_NE(Run(L"nv_read 255").find(L".item = 0x00ff \n"), std::wstring::npos);
}

TEST_F(Facade, EndsCleanlyWhenTheHostForgetsToStop) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        SvcKiv::Start();
        SvcKiv::SetUEConnectStatus(1);
        Run(L"sys_info");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
