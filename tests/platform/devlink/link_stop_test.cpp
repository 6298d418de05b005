// The way down: StopConnect and Shutdown from any state, during floods, from call-backs, again and
// again.
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "platform/bounded/pool.h"
#include "tests/platform/devlink/device_child.h"
#include "tests/platform/devlink/link_fixture.h"

namespace linktest {
namespace {

using devlink::Milliseconds;
using testing::ElementsAre;

void Flood(DeviceEnd& end) {
  if (!end.Greet()) return;
  for (;;) {
    Bytes line;
    for (int i = 0; i < 50; ++i) {
      NaiveFrame ind;
      ind.kind = kInd;
      ind.sequence = end.NextSequence();
      end.SkipSequence(1);
      ind.payload = Bytes(20);
      Append(line, NaiveLine(Whole(ind)));
    }
    if (!end.SendBytes(line)) return;
  }
}

void AnswerAll(DeviceEnd& end) {
  if (!end.Greet()) return;
  while (const auto request = end.NextMessage()) {
    NaiveFrame answer;
    answer.id = request->id;
    answer.tag = request->tag;
    end.Send(answer);
  }
}

class LinkStop : public LinkTest {
 protected:
  void StopAndShutDown() {
    client_->StopConnect(256, 1, 8191);
    client_->Shutdown(200, 1);
  }
  // Stops, and shows that it was quick and that nothing comes any more.
  void StopsForGood() {
    const auto begin = std::chrono::steady_clock::now();
    StopAndShutDown();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    const auto calls = record_.With([&] { return record_.calls; });
    EXPECT_EQ(Post(1, {}), 3207u);
    device_.reset();
    EXPECT_EQ(record_.With([&] { return record_.calls; }), calls);
  }
};

TEST_F(LinkStop, DuringAFloodIsQuickAndNothingComesAfterIt) {
  record_.keepBodies = false;
  Connect([](DeviceEnd& end, int) { Flood(end); });
  ASSERT_TRUE(record_.WaitForPackets(1000));
  StopsForGood();
}

TEST_F(LinkStop, WhileTheDeviceIsAbsentIsQuick) {
  timing_.firstPause = timing_.longestPause = Milliseconds(60'000);
  StartAt("unix:" + Path("nobody"));
  ASSERT_TRUE(record_.Wait([&] { return record_.states.size() == 2; }));
  StopsForGood();
}

TEST_F(LinkStop, BeforeTheGreetingIsQuick) {
  std::atomic<bool> there{false};
  device_ = std::make_unique<TestDevice>(Path("s"), [&](DeviceEnd& end, int) {
    there = true;
    end.Linger();
  });
  StartAt("unix:" + Path("s"));
  while (!there) ::usleep(1000);
  StopsForGood();
}

TEST_F(LinkStop, WithoutAStartDoesNothing) {
  client_ = std::make_unique<RecordingClient>(record_);
  StopAndShutDown();
  StopAndShutDown();
  EXPECT_EQ(record_.calls, 0u);
}

TEST_F(LinkStop, RightBehindTheStartIsClean) {
  SetEndpoint("unix:" + Path("nobody"));
  for (int i = 0; i < 50; ++i) {
    Start();
    StopAndShutDown();
  }
}

TEST_F(LinkStop, TheLinkStartsAgainAfterAStop) {
  Connect([](DeviceEnd& end, int) { AnswerAll(end); });
  for (std::uint16_t i = 1; i <= 20; ++i) {
    EXPECT_EQ(Post(1, {}, i), 0u);
    ASSERT_TRUE(record_.WaitForPackets(i));
    StopAndShutDown();
    EXPECT_EQ(Post(1, {}, i), 3207u);
    Start();
    ASSERT_TRUE(record_.WaitForState("connected"));
  }
}

TEST_F(LinkStop, TheLinkStartsAgainWithoutAShutdownBetween) {
  Connect([](DeviceEnd& end, int) { AnswerAll(end); });
  for (std::size_t i = 1; i <= 20; ++i) {
    client_->StopConnect(256, 1, 8191);
    EXPECT_EQ(client_->StartConnect(256, 1, 8191, 1, 0), 0u);
    ASSERT_TRUE(record_.Wait([&] {
      return static_cast<std::size_t>(
                 std::count(record_.states.begin(), record_.states.end(), "connected")) > i;
    }));
  }
  EXPECT_EQ(Post(1, {}, 9), 0u);
  EXPECT_TRUE(record_.WaitForPackets(1));
}

TEST_F(LinkStop, WakesAPostThatWaits) {
  Connect([](DeviceEnd& end, int) {
    if (end.Greet()) end.WaitForTheEnd();
  });
  std::atomic<bool> begun{false};
  std::atomic<std::uint32_t> status{0};
  std::thread poster([&] {
    begun = true;
    status = Post(7, Bytes(30'000'000), 70);
  });
  ASSERT_TRUE(record_.Wait([&] {
    return std::find(record_.taps.begin(), record_.taps.end(), "> 2 7 70") != record_.taps.end();
  }));
  StopsForGood();
  poster.join();
  EXPECT_EQ(status, 3207u);
}

// A host whose queue is full keeps the link's thread in a call-back until it closes the queue.
TEST_F(LinkStop, EndsWhenTheViewThatKeepsTheThreadLetsGo) {
  std::atomic<bool> inView{false}, closed{false};
  record_.onReceive = [&] {
    inView = true;
    while (!closed) ::usleep(500);
  };
  Connect([](DeviceEnd& end, int) { Flood(end); });
  while (!inView) ::usleep(500);
  client_->StopConnect(256, 1, 8191);
  std::thread closer([&] { closed = true; });
  client_->Shutdown(200, 1);
  closer.join();
  EXPECT_EQ(record_.batches.size(), 1u);  // the one that was under way
}

TEST_F(LinkStop, AskedForOnTheLinksOwnThreadEndsItLater) {
  std::atomic<bool> asked{false};
  record_.onReceive = [&] {
    client_->StopConnect(256, 1, 8191);
    client_->Shutdown(200, 1);
    asked = true;
  };
  Connect([](DeviceEnd& end, int) { AnswerAll(end); });
  EXPECT_EQ(Post(1, {}, 1), 0u);
  ASSERT_TRUE(record_.WaitForState("disconnected: "));
  EXPECT_TRUE(asked);
  record_.onReceive = nullptr;
  Start();
  ASSERT_TRUE(record_.WaitForState("connected"));
}

TEST_F(LinkStop, APostOnTheLinksOwnThreadIsAnswered) {
  std::atomic<int> posts{0};
  record_.onReceive = [&] {
    if (posts++ >= 5) return;
    EXPECT_EQ(Post(2, {1}, 9), 0u);
  };
  Connect([](DeviceEnd& end, int) { AnswerAll(end); });
  EXPECT_EQ(Post(1, {}, 1), 0u);
  EXPECT_TRUE(record_.WaitForPackets(6));
}

TEST_F(LinkStop, AMessageToTheThreadEndsAPauseAndForeignOnesAreIgnored) {
  timing_.firstPause = timing_.longestPause = Milliseconds(60'000);
  StartAt("unix:" + Path("s"));
  ASSERT_TRUE(record_.Wait([&] { return record_.states.size() == 2; }));
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) { AnswerAll(end); });
  client_->ThreadHandler(12345, 1, 1);
  client_->ThreadHandler(1, 0, 0);
  EXPECT_TRUE(record_.WaitForState("connected"));
}

TEST_F(LinkStop, ManyPostersAndAStopLeaveWholeFramesOnly) {
  record_.keepBodies = false;
  Bytes received;
  Connect([&](DeviceEnd& end, int) {
    AnswerAll(end);
    received = end.Received();
  });
  std::vector<std::thread> posters;
  std::atomic<std::uint64_t> posted{0};
  for (std::uint16_t i = 0; i < 4; ++i) {
    posters.emplace_back([&, i] {
      while (Post(i, Bytes(i * 100u, 0x7E), i) == 0) ++posted;
    });
  }
  ASSERT_TRUE(record_.WaitForPackets(500));
  StopsForGood();
  for (auto& poster : posters) poster.join();
  NaiveDeframer deframer;
  deframer.Take(received);
  EXPECT_EQ(deframer.damaged + deframer.stray, 0u);
  EXPECT_GE(deframer.contents.size(), 500u);
  std::uint32_t expected = 0;
  for (const Bytes& content : deframer.contents)
    EXPECT_EQ(NaiveParse(content).sequence, expected++);
}

TEST_F(LinkStop, OfAChildThatFloodsIsQuick) {
  StartAt("exec:sh -c \"yes >&2\"");
  ASSERT_TRUE(record_.Wait([&] { return record_.notices.size() > 1000; }));
  const auto begin = std::chrono::steady_clock::now();
  StopAndShutDown();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

// Fails the first, second, ... pool allocation of a whole session until one run needs no more; then
// all from that one on.
class LinkMemory : public LinkStop, public testing::WithParamInterface<void (*)(std::uint64_t)> {};

TEST_P(LinkMemory, EveryAllocationThatFailsGivesAStatusAndTheNextPostWorks) {
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) { AnswerAll(end); });
  SetEndpoint("unix:" + Path("s"));
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 20u);
    record_.Clear();
    GetParam()(n);
    Start();
    // Without room for the greeting the link tries again, in vain while nothing is to be had.
    const bool connected = record_.Wait([&] {
      return !record_.states.empty() &&
             (record_.states.back() == "connected" ||
              (GetParam() == &pool::FailFrom && n == 1 && record_.states.size() >= 2));
    });
    ASSERT_TRUE(connected) << n;
    const std::uint32_t status = Post(3, Bytes(100'000), 1);
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_TRUE(status == 0 || (failed && (status == 500 || n == 1))) << n << " " << status;
    ASSERT_TRUE(record_.WaitForState("connected"));
    EXPECT_EQ(Post(4, {1}, static_cast<std::uint16_t>(n)), 0u);
    ASSERT_TRUE(record_.Wait([&] {
      return !record_.packets.empty() && record_.packets.back().cmdId == 4 &&
             record_.packets.back().tag == n;
    }));
    Stop();
    EXPECT_EQ(pool::LiveBlocks(), 0u);
    if (!failed) break;
  }
}

INSTANTIATE_TEST_SUITE_P(OnceAndOn, LinkMemory, testing::Values(&pool::FailNth, &pool::FailFrom),
                         [](const auto& info) { return info.index == 0 ? "Once" : "AndOn"; });

}  // namespace
}  // namespace linktest
