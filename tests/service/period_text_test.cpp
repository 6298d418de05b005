// The instant-indication period: the flag is true from each accepted command until the interval
// has passed without another one.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QMetaMethod>
#include <QThread>
#include <QTimer>
#include <string>
#include <thread>
#include <vector>

#include "tests/fakes/wait_until.h"
#include "tests/fakes/written_texts.h"

namespace {

using kivtest::ModuleBench;
using kivtest::WaitUntil;

constexpr int kLongMs = 1000000;

bool Flag(ModuleBench& bench) { return bench.App().GetIsEnableInstantInd(); }

TEST(PeriodAfterACommand, AnAcceptedCommandSetsTheFlagUntilTheIntervalHasPassed) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(40);
  EXPECT_FALSE(Flag(bench));
  QElapsedTimer clock;
  clock.start();
  bench.Run(L"ping");
  EXPECT_TRUE(Flag(bench));
  EXPECT_TRUE(bench.Controller().IsPeriodRunning());
  EXPECT_TRUE(WaitUntil([&] { return !Flag(bench); }));
  EXPECT_GE(clock.elapsed(), 36);  // coarse timers may be a twentieth early
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
}

TEST(PeriodAfterACommand, AnotherCommandBeginsThePeriodAnew) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(150);
  bench.Run(L"ping");
  QElapsedTimer clock;
  clock.start();
  ASSERT_TRUE(WaitUntil([&] { return clock.elapsed() >= 80; }));
  bench.App().SetInstantIndTime(300);
  bench.Run(L"ping");
  clock.restart();
  ASSERT_TRUE(WaitUntil([&] { return !Flag(bench); }));
  EXPECT_GE(clock.elapsed(), 280);
}

TEST(PeriodAfterACommand, AnIntervalOfZeroEndsAtTheNextTurnOfTheEventLoop) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(0);
  bench.Run(L"ping");
  EXPECT_TRUE(Flag(bench));
  QCoreApplication::processEvents();
  EXPECT_FALSE(Flag(bench));
}

TEST(PeriodAfterACommand, TheIntervalIsZeroBeforeTheHostSetsOne) {
  ModuleBench bench;
  bench.Run(L"ping");
  EXPECT_TRUE(Flag(bench));
  QCoreApplication::processEvents();
  EXPECT_FALSE(Flag(bench));
}

TEST(PeriodAfterACommand, ANegativeIntervalCountsAsZeroAndWarnsNobody) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(-20);
  const std::size_t before = fake::Calls().size();
  {
    const kivtest::TracesInSequence traces;
    bench.Run(L"ping");
    EXPECT_TRUE(Flag(bench));
    QCoreApplication::processEvents();
  }
  EXPECT_FALSE(Flag(bench));
  const std::vector<std::string> calls = fake::Calls();
  for (std::size_t i = before; i < calls.size(); ++i) {
    EXPECT_NE(calls[i].rfind("message ", 0), 0u) << calls[i];
  }
}

TEST(PeriodAfterACommand, APostThatFailsDoesNotBeginOne) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  fake::SetPostStatus(9);
  bench.Run(L"ping");
  EXPECT_FALSE(Flag(bench));
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
}

TEST(PeriodAfterACommand, APostThatFailsLeavesARunningOneAsItWas) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(60);
  bench.Run(L"ping");
  bench.App().SetInstantIndTime(kLongMs);
  fake::SetPostStatus(9);
  bench.Run(L"ping");
  EXPECT_TRUE(Flag(bench));
  EXPECT_TRUE(WaitUntil([&] { return !Flag(bench); }));
}

TEST(PeriodAfterACommand, APathThatCannotBeConvertedDoesNotBeginOne) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"ping -r nonsense");
  EXPECT_FALSE(Flag(bench));
}

TEST(PeriodAfterACommand, RoutedDirectAndUnheadedPostsBeginOneToo) {
  for (const wchar_t* line :
       {L"ping -r 00:11:22:33:44:55", L"ping -d 5", L"ping -r 00:00:00:00:00:00", L"note x"}) {
    ModuleBench bench;
    bench.App().SetInstantIndTime(kLongMs);
    bench.Run(line);
    EXPECT_TRUE(Flag(bench)) << QString::fromWCharArray(line).toStdString();
  }
}

TEST(PeriodAfterACommand, APostOfAChannelDoesNotBeginOne) {
  ModuleBench bench({.channels = {fake::FakeChannel<0>::Entries()}});
  bench.App().SetInstantIndTime(kLongMs);
  const auto& table = fake::FakeChannel<0>::State().tables.at(0);
  EXPECT_EQ(table.postDiagData(0x500D, "x", 1, 0, 0), 0u);
  EXPECT_FALSE(Flag(bench));
}

TEST(PeriodAfterACommand, ItsEndAlsoEndsWhatTheHostHadSwitchedOn) {
  ModuleBench bench;
  bench.App().SetIsEnableInstantInd(true);
  bench.Run(L"ping");
  QCoreApplication::processEvents();
  EXPECT_FALSE(Flag(bench));
}

TEST(PeriodAfterACommand, TheSlotMayBeCalledWithoutARunningPeriod) {
  ModuleBench bench;
  bench.App().SetIsEnableInstantInd(true);
  EXPECT_TRUE(QMetaObject::invokeMethod(&bench.Controller(), "SlotInstantIndTimer"));
  EXPECT_FALSE(Flag(bench));
}

TEST(PeriodAfterACommand, TheEndOfAReplacedControllersPeriodLeavesTheCurrentOnesFlag) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(50);
  bench.Run(L"ping");
  const CmdCtrl& old = bench.Controller();
  bench.App().ReloadDb();
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"ping");
  ASSERT_TRUE(old.IsPeriodRunning());
  ASSERT_TRUE(WaitUntil([&] { return !old.IsPeriodRunning(); }));
  EXPECT_TRUE(Flag(bench));
}

TEST(PeriodAfterACommand, AReplacedControllersPeriodEndsTheFlagWhenNoOtherRuns) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(50);
  bench.Run(L"ping");
  bench.App().ReloadDb();
  EXPECT_TRUE(Flag(bench));
  EXPECT_TRUE(WaitUntil([&] { return !Flag(bench); }));
}

TEST(PeriodAfterACommand, BegunFromAnotherThreadRunsInTheControllersOwn) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  std::thread([&] { bench.Controller().StartInstantIndPeriod(); }).join();
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
  ASSERT_TRUE(WaitUntil([&] { return bench.Controller().IsPeriodRunning(); }));
  EXPECT_TRUE(Flag(bench));
  const auto timers = bench.Controller().findChildren<QTimer*>();
  ASSERT_EQ(timers.size(), 1);
  EXPECT_EQ(timers[0]->thread(), QThread::currentThread());
}

TEST(PeriodAfterACommand, HasOneTimerHoweverManyCommandsWereAccepted) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  for (int i = 0; i < 5; ++i) bench.Run(L"ping");
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  const auto timers = bench.Controller().findChildren<QTimer*>();
  ASSERT_EQ(timers.size(), 1);
  EXPECT_EQ(timers[0]->interval(), kLongMs);
}

TEST(PeriodAfterACommand, StopEndsARunningPeriodWithoutALateSlot) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(1);
  bench.Run(L"ping");
  bench.App().Stop();
  QElapsedTimer clock;
  clock.start();
  EXPECT_TRUE(WaitUntil([&] { return clock.elapsed() >= 20; }));
  EXPECT_EQ(bench.App().GetController(), nullptr);
}

TEST(PeriodAfterACommand, TheControllerHasItsClassNameAndOneSlot) {
  ModuleBench bench;
  const QMetaObject* meta = bench.Controller().metaObject();
  EXPECT_STREQ(meta->className(), "CmdCtrl");
  ASSERT_EQ(meta->methodCount() - meta->methodOffset(), 1);
  const QMetaMethod slot = meta->method(meta->methodOffset());
  EXPECT_EQ(slot.methodType(), QMetaMethod::Slot);
  EXPECT_EQ(slot.methodSignature(), QByteArray("SlotInstantIndTimer()"));
}

}  // namespace
