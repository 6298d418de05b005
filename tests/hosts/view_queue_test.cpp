#include "hosts/terminal/view_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace kiv {
namespace {

ViewEvent Text(std::string text) {
  ViewEvent event;
  event.text = std::move(text);
  return event;
}

ViewEvent Reply(std::uint64_t line) {
  ViewEvent event;
  event.kind = ViewEvent::Kind::kReply;
  event.line = line;
  return event;
}

std::string Joined(ViewQueue& queue) {
  std::string all;
  for (const ViewEvent& event : queue.TakeAll()) all += event.text;
  return all;
}

TEST(ViewQueue, KeepsTheOrderOfWhatIsPushed) {
  ViewQueue queue([] {});
  queue.Push(Text("a"));
  queue.PushWaiting(Text("b"));
  queue.Push(Text("c"));
  EXPECT_EQ(Joined(queue), "abc");
  EXPECT_EQ(Joined(queue), "");
}

TEST(ViewQueue, WakesOnceABatchAndForEachReply) {
  int wakes = 0;
  ViewQueue queue([&wakes] { ++wakes; });
  queue.Push(Text("a"));
  queue.Push(Text("b"));
  EXPECT_EQ(wakes, 1);
  queue.Push(Reply(1));
  EXPECT_EQ(wakes, 2);
  queue.TakeAll();
  queue.Push(Text("c"));
  EXPECT_EQ(wakes, 3);
}

TEST(ViewQueue, GivesAReplyOutOfTurnAndLeavesTheRest) {
  ViewQueue queue([] {});
  ViewEvent reply;
  queue.Push(Text("a"));
  EXPECT_FALSE(queue.TakeReply(7, reply));
  queue.Push(Reply(6));
  queue.Push(Reply(7));
  queue.Push(Text("b"));
  ASSERT_TRUE(queue.TakeReply(7, reply));
  EXPECT_EQ(reply.line, 7u);
  EXPECT_FALSE(queue.TakeReply(7, reply));
  EXPECT_EQ(queue.TakeAll().size(), 3u);
}

TEST(ViewQueue, MakesAPusherWaitWhileItIsFullAndLosesNothing) {
  ViewQueue queue([] {}, 4096);
  constexpr int kTexts = 2000;
  std::thread pusher([&queue] {
    for (int i = 0; i < kTexts; ++i) EXPECT_TRUE(queue.PushWaiting(Text(std::to_string(i) + ",")));
  });
  std::string expected;
  for (int i = 0; i < kTexts; ++i) expected += std::to_string(i) + ",";
  std::string all;
  while (all.size() < expected.size()) {
    const auto taken = queue.TakeAll();
    EXPECT_LE(taken.size(), 4096 / sizeof(ViewEvent) + 1);
    for (const ViewEvent& event : taken) all += event.text;
  }
  pusher.join();
  EXPECT_EQ(all, expected);
}

TEST(ViewQueue, NeverMakesTheFacadesThreadWait) {
  ViewQueue queue([] {}, 1);
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(queue.Push(Text("x")));
  EXPECT_EQ(queue.TakeAll().size(), 100u);
}

TEST(ViewQueue, LetsAWaitingPusherGoWhenItIsClosedAndTakesNothingMore) {
  std::atomic<int> pushed{0};
  ViewQueue queue([] {}, 1);
  ASSERT_TRUE(queue.Push(Text("full")));
  std::thread pusher([&] {
    pushed = 1;
    EXPECT_FALSE(queue.PushWaiting(Text("late")));
  });
  while (pushed == 0) std::this_thread::yield();
  queue.Close();
  pusher.join();
  EXPECT_FALSE(queue.Push(Text("later")));
  EXPECT_TRUE(queue.TakeAll().empty());
}

}  // namespace
TEST(ViewQueue, TellsHowFullItIs) {
  ViewQueue queue([] {}, 1000);
  EXPECT_EQ(queue.GetFill().events, 0u);
  EXPECT_EQ(queue.GetFill().heldBytes, 0u);
  EXPECT_EQ(queue.GetFill().limitBytes, 1000u);
  ViewEvent event;
  event.text = "text";
  queue.Push(event);
  EXPECT_EQ(queue.GetFill().events, 1u);
  EXPECT_EQ(queue.GetFill().heldBytes, sizeof(ViewEvent) + 4);
  queue.TakeAll();
  EXPECT_EQ(queue.GetFill().heldBytes, 0u);
}

}  // namespace kiv
