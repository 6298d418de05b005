// What happens when the device goes: killed, silent, cut in mid frame, replaced, not reading. Each
// time a clear reason, no spinning, and the link comes back by itself.
#include <gmock/gmock.h>
#include <time.h>
#include <unistd.h>

#include <thread>

#include "tests/platform/devlink/link_fixture.h"

namespace linktest {
namespace {

using devlink::GetLinkCounters;
using devlink::LinkClock;
using devlink::Milliseconds;
using testing::ElementsAre;

void AnswerAll(DeviceEnd& end) {
  while (const auto request = end.NextMessage()) {
    NaiveFrame answer;
    answer.id = request->id;
    answer.tag = request->tag;
    end.Send(answer);
  }
}

// The states that a link goes through when its first connection is lost for this reason.
auto LostOnce(const std::string& reason) {
  return ElementsAre("connecting", "connected", "disconnected: " + reason, "connected");
}

class LinkLoss : public LinkTest {
 protected:
  LinkLoss() { timing_.probeAfter = Milliseconds(50); }
  // Waits for the second connection, and shows that it works.
  void ComesBack() {
    ASSERT_TRUE(record_.Wait([&] { return record_.states.size() >= 4; }));
    ASSERT_TRUE(record_.WaitForState("connected"));
    EXPECT_EQ(Post(8, {}, 80), 0u);
    EXPECT_TRUE(
        record_.Wait([&] { return !record_.packets.empty() && record_.packets.back().tag == 80; }));
  }
};

TEST_F(LinkLoss, ADeviceThatClosesIsToldAndTheLinkComesBack) {
  Connect([](DeviceEnd& end, int connection) {
    if (!end.Greet() || connection == 0) return;
    AnswerAll(end);
  });
  ComesBack();
  EXPECT_THAT(States(), LostOnce("the device closed the link"));
}

TEST_F(LinkLoss, ASilentDeviceIsGivenUpAndTheLinkComesBack) {
  timing_.lostAfter = Milliseconds(1500);
  Connect([](DeviceEnd& end, int connection) {
    if (!end.Greet()) return;
    if (connection == 0) {
      while (end.Next()) {
      }
      return;
    }
    AnswerAll(end);
  });
  ComesBack();
  EXPECT_THAT(States(), LostOnce("the device has not answered for 1.5 s"));
}

TEST_F(LinkLoss, ADeviceThatOnlyAnswersProbesIsKept) {
  timing_.lostAfter = Milliseconds(1500);
  const auto before = GetLinkCounters();
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    end.Linger();
  });
  // 32 probes are more than the time after which a silent device is given up.
  ASSERT_TRUE(record_.Wait([&] {
    return GetLinkCounters().messagesIn - before.messagesIn >= 33;
  }) || GetLinkCounters().messagesIn - before.messagesIn >= 33);
  EXPECT_THAT(States(), ElementsAre("connecting", "connected"));
}

TEST_F(LinkLoss, ADeviceCutInMidFrameIsToldAndTheFrameIsNotHandedOver) {
  Connect([](DeviceEnd& end, int connection) {
    if (!end.Greet()) return;
    if (connection == 0) {
      NaiveFrame ind;
      ind.kind = kInd;
      ind.sequence = 1;
      Bytes line = NaiveLine(ind);
      line.resize(line.size() / 2);
      end.SendBytes(line);
      return;
    }
    AnswerAll(end);
  });
  ComesBack();
  EXPECT_THAT(States(), LostOnce("the device closed the link"));
  EXPECT_EQ(Packets().size(), 1u);
}

// Connection n is cut behind n bytes of the greeting and what follows, so that each cut is met
// once.
TEST_F(LinkLoss, ACutAtAnyPlaceOfTheDevicesBytesGivesNoWrongPacket) {
  timing_.firstPause = timing_.longestPause = Milliseconds(1);
  NaiveFrame ind;
  ind.kind = kInd;
  ind.id = 0x2001;
  ind.sequence = 1;
  ind.payload = {0x7E, 0x7D, 3, 4};
  const Bytes rest = NaiveLine(Whole(ind));
  std::atomic<int> lengthBytes{0};
  device_ = std::make_unique<TestDevice>(Path("s"), [&](DeviceEnd& end, int connection) {
    const auto hello = end.Next();
    if (!hello) return;
    Bytes line = NaiveLine(Whole(DeviceEnd::Hello(hello->tag)));
    Append(line, rest);
    lengthBytes = static_cast<int>(line.size());
    if (connection < static_cast<int>(line.size()))
      line.resize(static_cast<std::size_t>(connection));
    end.SendBytes(line);
    if (connection >= lengthBytes) end.Linger();
  });
  StartAt("unix:" + Path("s"));
  ASSERT_TRUE(record_.WaitForPackets(1));
  EXPECT_EQ(device_->Connections(), lengthBytes + 1);
  EXPECT_EQ(Packets(), (std::vector<Packet>{{0x2001, 0, 1, ind.payload, 0, 0, 0}}));
}

TEST_F(LinkLoss, AReplacedDeviceIsFoundAndItsNameTold) {
  Connect([](DeviceEnd& end, int) {
    if (end.Greet()) AnswerAll(end);
  });
  device_.reset();
  ASSERT_TRUE(record_.WaitForState("disconnected: cannot connect to \"unix:" + Path("s") +
                                   "\": No such file or directory"));
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) {
    const auto hello = end.Next();
    if (!hello) return;
    NaiveFrame answer = DeviceEnd::Hello(hello->tag);
    answer.payload[32] = 'B';
    end.Send(answer);
    AnswerAll(end);
  });
  ASSERT_TRUE(record_.WaitForState("connected"));
  EXPECT_EQ(record_.With([&] { return record_.peer->agentName; }), "boBrd");
  EXPECT_EQ(Post(1, {}, 4), 0u);
  EXPECT_TRUE(record_.WaitForPackets(1));
}

double ProcessCpuSeconds() {
  timespec time;
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

TEST_F(LinkLoss, AnAbsentDeviceIsLookedForWithGrowingPausesAndToldOnce) {
  timing_.firstPause = Milliseconds(10);
  timing_.longestPause = Milliseconds(80);
  const auto attemptsBefore = GetLinkCounters().attempts;
  const double cpuBefore = ProcessCpuSeconds();
  const auto begin = std::chrono::steady_clock::now();
  StartAt("unix:" + Path("nobody"));
  // 10 + 20 + 40 + 80 + 80 ... ms: the eighth attempt comes after 390 ms at the earliest.
  ASSERT_TRUE(record_.Wait([&] { return !record_.states.empty(); }));
  while (GetLinkCounters().attempts - attemptsBefore < 8) ::usleep(5000);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, Milliseconds(390));
  EXPECT_LT(ProcessCpuSeconds() - cpuBefore, 0.3);
  EXPECT_THAT(States(),
              ElementsAre("connecting", "disconnected: cannot connect to \"unix:" + Path("nobody") +
                                            "\": No such file or directory"));
}

TEST_F(LinkLoss, ADeviceThatGreetsAndGoesAtOnceIsNotConnectedToInALoop) {
  timing_.firstPause = Milliseconds(10);
  timing_.longestPause = Milliseconds(160);
  const auto begin = std::chrono::steady_clock::now();
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) { end.Greet(); });
  StartAt("unix:" + Path("s"));
  // 10 + 20 + 40 + 80 + 160 ms between six connections.
  ASSERT_TRUE(record_.Wait(
      [&] { return std::count(record_.states.begin(), record_.states.end(), "connected") >= 6; }));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, Milliseconds(310));
}

TEST_F(LinkLoss, APostThatCannotBeWrittenInTimeDropsTheLinkAndAnswers3207) {
  timing_.writeLimit = Milliseconds(150);
  timing_.firstPause = timing_.longestPause = Milliseconds(60'000);  // the second finds no link
  Connect([](DeviceEnd& end, int) {
    if (end.Greet()) end.WaitForTheEnd();
  });
  // More than a socket's buffers take.
  EXPECT_EQ(Post(7, Bytes(10'000'000), 70), 3207u);
  EXPECT_EQ(Post(7, {}, 71), 3207u);
  EXPECT_TRUE(record_.Wait([&] { return record_.states.size() >= 3; }));
  EXPECT_EQ(record_.With([&] { return record_.states[2]; }),
            "disconnected: the device took no data for 0.15 s");
  EXPECT_EQ(record_.With([&] { return record_.failedPosts; }),
            (std::vector<std::string>{"70 7 3207", "71 7 3207"}));
}

TEST_F(LinkLoss, AHalfWrittenFrameIsNeverContinued) {
  timing_.writeLimit = Milliseconds(100);
  Bytes first;
  std::atomic<bool> mayRead{false};
  Connect([&](DeviceEnd& end, int connection) {
    if (!end.Greet()) return;
    if (connection != 0) return AnswerAll(end);
    while (!mayRead) ::usleep(1000);
    while (end.Next()) {
    }
    first = end.Received();
  });
  std::vector<std::thread> posters;
  std::atomic<int> refused{0};
  for (int i = 0; i < 4; ++i) {
    posters.emplace_back([&] {
      if (Post(7, Bytes(3'000'000, 0x55)) == 3207) ++refused;
    });
  }
  for (auto& poster : posters) poster.join();
  EXPECT_EQ(refused, 4);
  mayRead = true;
  ComesBack();
  device_.reset();
  // Behind the last whole frame comes a piece of the next one and nothing else.
  NaiveDeframer deframer;
  deframer.Take(first);
  EXPECT_EQ(deframer.damaged, 0u);
  EXPECT_EQ(deframer.stray, 0u);
  std::uint32_t offset = 0;
  for (const Bytes& content : deframer.contents) {
    const NaiveFrame frame = NaiveParse(content);
    if (frame.kind != kRequest) continue;
    EXPECT_EQ(frame.offset, offset);
    offset += static_cast<std::uint32_t>(frame.payload.size());
  }
  EXPECT_GT(offset, 0u);
}

TEST_F(LinkLoss, TimeInWhichTheViewKeepsTheThreadDoesNotCount) {
  timing_.lostAfter = Milliseconds(1500);
  std::atomic<bool> blocked{false};
  record_.onReceive = [&] {
    if (blocked.exchange(true)) return;
    // Held until the clock that the keep-alive reads is well past a loss.
    const auto pastLoss = LinkClock::now() + 2 * timing_.lostAfter;
    while (LinkClock::now() < pastLoss) ::usleep(1000);
  };
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    AnswerAll(end);
  });
  Post(1, {}, 1);
  ASSERT_TRUE(record_.WaitForPackets(1));
  Post(1, {}, 2);
  ASSERT_TRUE(record_.WaitForPackets(2));
  EXPECT_THAT(States(), ElementsAre("connecting", "connected"));
}

// A probe is out, the view keeps the thread for longer than a loss takes, and nothing has come
// meanwhile: the device gets another probe before it is given up.
TEST_F(LinkLoss, SilenceWhileTheViewKeptTheThreadBehindAProbeIsNoLoss) {
  timing_.lostAfter = Milliseconds(1500);
  std::atomic<bool> blocked{false};
  record_.onNotice = [&] {
    if (blocked.exchange(true)) return;
    const auto pastLoss = LinkClock::now() + 2 * timing_.lostAfter;
    while (LinkClock::now() < pastLoss) ::usleep(1000);
  };
  std::atomic<bool> answered{false};
  Connect([&](DeviceEnd& end, int connection) {
    if (!end.Greet() || connection != 0 || !end.Next()) return;
    Bytes damaged(42, 'x');
    damaged.front() = damaged.back() = 0x7E;
    end.SendBytes(damaged);  // is told in a notice, and is no sign of life
    answered = end.Next().has_value();
    end.Linger();
  });
  while (!answered && device_->Connections() < 2) ::usleep(1000);
  EXPECT_TRUE(blocked);
  EXPECT_TRUE(answered);
  EXPECT_THAT(States(), ElementsAre("connecting", "connected"));
}

// --- The greeting.

TEST_F(LinkLoss, APeerThatSaysSomethingElseIsNotADevice) {
  timing_.greetingWait = Milliseconds(100);
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) {
    end.SendBytes({'l', 'o', 'g', 'i', 'n', ':'});
    end.Linger();
  });
  StartAt("unix:" + Path("s"));
  EXPECT_TRUE(
      record_.WaitForState("disconnected: not a device: what it said in 0.1 s is no greeting"));
  EXPECT_EQ(Post(1, {}), 3207u);
}

TEST_F(LinkLoss, APeerThatSaysNothingIsNotADevice) {
  timing_.greetingWait = Milliseconds(100);
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) { end.Linger(); });
  StartAt("unix:" + Path("s"));
  EXPECT_TRUE(
      record_.WaitForState("disconnected: not a device: it did not answer the greeting in 0.1 s"));
}

TEST_F(LinkLoss, APeerThatSendsBackWhatItIsSentIsNotADevice) {
  timing_.greetingWait = Milliseconds(100);
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) {
    while (const auto frame = end.Next()) end.SendBytes(NaiveLine(*frame));
  });
  StartAt("unix:" + Path("s"));
  EXPECT_TRUE(
      record_.WaitForState("disconnected: not a device: what it said in 0.1 s is no greeting"));
}

TEST_F(LinkLoss, AProtocolVersionThatWasNotOfferedIsNoGreeting) {
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) {
    const auto hello = end.Next();
    if (!hello) return;
    NaiveFrame answer = DeviceEnd::Hello(hello->tag);
    answer.payload[8] = 2;
    end.Send(answer);
    end.Linger();
  });
  StartAt("unix:" + Path("s"));
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: the device greeted with protocol version 2, which was not offered"));
}

TEST_F(LinkLoss, ARefusedGreetingIsToldWithItsReason) {
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) {
    const auto hello = end.Next();
    if (!hello) return;
    NaiveFrame answer = DeviceEnd::Hello(hello->tag);
    answer.result = 711;
    end.Send(answer);
    end.Linger();
  });
  StartAt("unix:" + Path("s"));
  EXPECT_TRUE(record_.WaitForState("disconnected: the device refused the greeting: token refused"));
}

TEST_F(LinkLoss, ADeviceThatClosesBeforeTheGreetingIsTold) {
  device_ = std::make_unique<TestDevice>(Path("s"), [](DeviceEnd& end, int) { end.Next(); });
  StartAt("unix:" + Path("s"));
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: the device closed the link before the greeting was answered"));
}

TEST_F(LinkLoss, TheAnswerToAnEarlierHelloIsNotTaken) {
  Connect([](DeviceEnd& end, int) {
    const auto hello = end.Next();
    if (!hello) return;
    NaiveFrame late = DeviceEnd::Hello(static_cast<std::uint16_t>(hello->tag + 7));
    late.payload[31] = 'X';
    end.SendBytes(NaiveLine(Whole(late)));
    NaiveFrame old;
    old.kind = kInd;
    old.sequence = 900;
    end.SendBytes(NaiveLine(old));
    end.Send(DeviceEnd::Hello(hello->tag));
    AnswerAll(end);
  });
  EXPECT_EQ(record_.With([&] { return record_.peer->agentName; }), "board");
  EXPECT_EQ(Post(1, {}, 2), 0u);
  ASSERT_TRUE(record_.WaitForPackets(1));
  EXPECT_EQ(Packets()[0].tag, 2);
}

// --- Losses are counted and told.

TEST_F(LinkLoss, GapsDamageAndDroppedIndicationsAreCountedAndTold) {
  timing_.noticeEvery = Milliseconds(1);
  const auto before = GetLinkCounters();
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    NaiveFrame ind;
    ind.kind = kInd;
    ind.word32 = 12;
    end.SkipSequence(5);
    Bytes line = {'o', 'o', 'p', 's', 0x7E};
    ind.sequence = end.NextSequence();
    end.SkipSequence(1);
    Append(line, NaiveLine(ind));
    end.SendBytes(line);
    end.Linger();
  });
  ASSERT_TRUE(record_.Wait([&] { return !record_.notices.empty(); }));
  EXPECT_EQ(record_.With([&] { return record_.notices.front(); }),
            "1 damaged frames from the device dropped, 5 frames from the device lost, "
            "12 indications dropped by the device");
  const auto after = GetLinkCounters();
  EXPECT_EQ(after.badFrames - before.badFrames, 1u);
  EXPECT_EQ(after.sequenceGaps - before.sequenceGaps, 5u);
  EXPECT_EQ(after.deviceDropped - before.deviceDropped, 12u);
  EXPECT_EQ(after.framesIn - before.framesIn, 2u);  // the greeting is one
}

TEST_F(LinkLoss, WhatTheDeviceSaysItLostIsTold) {
  timing_.noticeEvery = Milliseconds(1);
  Connect([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    while (const auto probe = end.Next()) {
      NaiveFrame answer;
      answer.kind = kKeepAlive;
      answer.tag = probe->tag;
      answer.payload = {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 5, 0, 0, 0};
      end.Send(answer);
    }
  });
  ASSERT_TRUE(record_.Wait([&] { return !record_.notices.empty(); }));
  EXPECT_EQ(record_.With([&] { return record_.notices; }),
            std::vector<std::string>{
                "5 indications dropped by the device, 1 damaged frames dropped by the device, "
                "2 frames to the device lost, 3 repeated frames dropped by the device, "
                "4 unfinished messages dropped by the device"});
}

TEST_F(LinkLoss, AnotherCatalogueIsAWarningAndNoRefusal) {
  UseShippedCatalogue();
  Connect([](DeviceEnd& end, int) {
    if (end.Greet()) AnswerAll(end);
  });
  EXPECT_TRUE(record_.With([&] { return record_.peer->fingerprintDiffers; }));
  ASSERT_TRUE(record_.Wait([&] { return !record_.notices.empty(); }));
  EXPECT_EQ(record_.With([&] { return record_.notices[0]; }),
            "the device works with another catalogue; commands that differ may fail");
  EXPECT_EQ(Post(1, {}, 2), 0u);
  EXPECT_TRUE(record_.WaitForPackets(1));
}

}  // namespace
}  // namespace linktest
