// The period during which indications are shown after an accepted command.
#include <gtest/gtest.h>

#include <QTimer>
#include <thread>

#include "tests/fakes/module_bench.h"
#include "tests/fakes/wait_until.h"

namespace {

using kivtest::ModuleBench;
using kivtest::WaitUntil;

constexpr int kLongMs = 3600000;

bool Flag(ModuleBench& bench) { return bench.App().GetIsEnableInstantInd(); }

QList<QTimer*> TimersOf(const CmdCtrl& controller) { return controller.findChildren<QTimer*>(); }

TEST(InstantIndPeriod, BeginsWithAnAcceptedCommand) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  EXPECT_FALSE(Flag(bench));
  bench.Run(L"ping");
  EXPECT_TRUE(Flag(bench));
  ASSERT_EQ(TimersOf(bench.Controller()).size(), 1);
  EXPECT_EQ(TimersOf(bench.Controller())[0]->interval(), kLongMs);
  EXPECT_TRUE(TimersOf(bench.Controller())[0]->isActive());
}

TEST(InstantIndPeriod, OfZeroEndsAtTheNextTurnOfTheEventLoop) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(0);
  bench.Run(L"ping");
  EXPECT_TRUE(Flag(bench));
  QCoreApplication::processEvents();
  EXPECT_FALSE(Flag(bench));
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(TimersOf(bench.Controller()).size(), 0);
}

TEST(InstantIndPeriod, IsZeroBeforeItWasSet) {
  ModuleBench bench;
  bench.Run(L"ping");
  ASSERT_EQ(TimersOf(bench.Controller()).size(), 1);
  EXPECT_EQ(TimersOf(bench.Controller())[0]->interval(), 0);
}

TEST(InstantIndPeriod, BelowZeroCountsAsZero) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(-20);
  bench.Run(L"ping");
  EXPECT_TRUE(Flag(bench));
  EXPECT_TRUE(WaitUntil([&] { return !Flag(bench); }));
}

TEST(InstantIndPeriod, EndsByItself) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(20);
  bench.Run(L"ping");
  EXPECT_TRUE(WaitUntil([&] { return !Flag(bench); }));
}

TEST(InstantIndPeriod, BeginsAnewWithEachAcceptedCommand) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(20);
  bench.Run(L"ping");
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"ping");
  ASSERT_EQ(TimersOf(bench.Controller()).size(), 1);
  EXPECT_EQ(TimersOf(bench.Controller())[0]->interval(), kLongMs);
  // The first command's timer is gone: another one that was started after it fires, it does not.
  bool fired = false;
  QTimer::singleShot(40, [&] { fired = true; });
  ASSERT_TRUE(WaitUntil([&] { return fired; }));
  EXPECT_TRUE(Flag(bench));
}

TEST(InstantIndPeriod, IsLeftAloneByAPostThatFails) {
  ModuleBench bench;
  fake::SetPostStatus(9);
  bench.App().SetInstantIndTime(0);
  bench.Run(L"ping");
  EXPECT_FALSE(Flag(bench));
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());

  fake::SetPostStatus(0);
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"ping");
  QTimer* timer = TimersOf(bench.Controller())[0];
  fake::SetPostStatus(9);
  bench.App().SetInstantIndTime(0);
  bench.Run(L"ping");
  QCoreApplication::processEvents();
  EXPECT_TRUE(Flag(bench));
  EXPECT_EQ(TimersOf(bench.Controller()), QList<QTimer*>{timer});
  EXPECT_TRUE(timer->isActive());
}

TEST(InstantIndPeriod, IsNotBegunByAChannelsPost) {
  ModuleBench bench({.channels = fake::FourChannels()});
  bench.App().SetInstantIndTime(kLongMs);
  const auto& table = fake::FakeChannel<0>::State().tables.at(0);
  EXPECT_EQ(table.postDiagData(0x500D, "x", 1, 0, 0), 0u);
  EXPECT_FALSE(Flag(bench));
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
}

TEST(InstantIndPeriod, OfARoutedCommandBeginsToo) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"set_values 1,2,3 -r 00:11:22:33:44:55");
  EXPECT_TRUE(Flag(bench));
}

TEST(InstantIndPeriod, MaySwitchOffWhatTheViewSwitchedOn) {
  ModuleBench bench;
  bench.App().SetIsEnableInstantInd(true);
  bench.Run(L"ping");
  EXPECT_TRUE(WaitUntil([&] { return !Flag(bench); }));
}

TEST(InstantIndPeriod, EndsThroughTheSlotThatHostsMayInvokeByName) {
  ModuleBench bench;
  EXPECT_STREQ(bench.Controller().metaObject()->className(), "CmdCtrl");
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"ping");
  ASSERT_TRUE(QMetaObject::invokeMethod(&bench.Controller(), "SlotInstantIndTimer"));
  EXPECT_FALSE(Flag(bench));
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
}

TEST(InstantIndPeriod, OfARetiredControllerDoesNotEndItsSuccessors) {
  ModuleBench bench;
  CmdCtrl& old = bench.Controller();
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"ping");
  bench.App().ReloadDb();
  bench.App().SetInstantIndTime(kLongMs);
  bench.Run(L"ping");
  old.SlotInstantIndTimer();
  EXPECT_FALSE(old.IsPeriodRunning());
  EXPECT_TRUE(Flag(bench));
  EXPECT_TRUE(bench.Controller().IsPeriodRunning());
}

TEST(InstantIndPeriod, OfARetiredControllerEndsTheFlagWhenItsSuccessorHasNone) {
  ModuleBench bench;
  CmdCtrl& old = bench.Controller();
  bench.App().SetInstantIndTime(10);
  bench.Run(L"ping");
  bench.App().ReloadDb();
  EXPECT_TRUE(Flag(bench));
  EXPECT_TRUE(WaitUntil([&] { return !Flag(bench); }));
  EXPECT_FALSE(old.IsPeriodRunning());
}

TEST(InstantIndPeriod, OfAFreshControllerIsZeroAgain) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  bench.App().ReloadDb();
  bench.Run(L"ping");
  ASSERT_EQ(TimersOf(bench.Controller()).size(), 1);
  EXPECT_EQ(TimersOf(bench.Controller())[0]->interval(), 0);
}

TEST(InstantIndPeriod, BegunOnAnotherThreadRunsOnTheControllers) {
  ModuleBench bench;
  bench.App().SetInstantIndTime(kLongMs);
  std::thread([&] { bench.Controller().StartInstantIndPeriod(); }).join();
  EXPECT_FALSE(bench.Controller().IsPeriodRunning());
  ASSERT_TRUE(WaitUntil([&] { return bench.Controller().IsPeriodRunning(); }));
  EXPECT_TRUE(Flag(bench));
  EXPECT_EQ(TimersOf(bench.Controller())[0]->thread(), bench.Controller().thread());
}

}  // namespace
