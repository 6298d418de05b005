// A session that is cut behind each of its first 2,048 bytes, in five ways: what had come whole is
// handed over and nothing else, the user gets a clear reason, no processor time is burnt, and the
// link comes back by itself.
#include <gmock/gmock.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>

#include "tests/platform/devlink/device_child.h"
#include "tests/platform/devlink/link_fixture.h"
#include "tests/platform/devlink/sample_session.h"
#include "tests/support/sanitized.h"
#include "tests/support/sweep.h"
#include "tests/support/sweep_report.h"

namespace linktest {
namespace {

using devlink::LinkClock;
using devlink::Milliseconds;
using testing::HasSubstr;

enum class Way { kClosed, kReset, kSilent, kKilled, kHalfFrame };
constexpr const char* kWayNames[] = {"closed", "reset", "silent", "killed", "half_frame"};

void PrintTo(Way way, std::ostream* out) { *out << kWayNames[static_cast<int>(way)]; }

constexpr std::size_t kCuts = 2048;
constexpr int kShards = 8;  // so that they run side by side
constexpr int kWhole = -1;

double ProcessCpuSeconds() {
  timespec time;
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

void AnswerAll(DeviceEnd& end) {
  while (const auto request = end.NextMessage()) {
    NaiveFrame answer;
    answer.id = request->id;
    answer.tag = request->tag;
    end.Send(answer);
  }
}

class LinkCut : public LinkTest, public testing::WithParamInterface<std::tuple<Way, int>> {
 protected:
  LinkCut() {
    timing_.firstPause = timing_.longestPause = Milliseconds(5);
    timing_.greetingWait = timing_.lostAfter = Silence();
    timing_.probeAfter = Milliseconds(15);
    timing_.noticeEvery = Milliseconds(0);
  }
  Way TheWay() const { return std::get<0>(GetParam()); }
  // After which a device is given up: short where that is what ends each session.
  Milliseconds Silence() const {
    if (TheWay() == Way::kSilent) return Milliseconds(kivtest::kSanitized ? 200 : 60);
    return Milliseconds(TheWay() == Way::kHalfFrame ? 1500 : 60'000);
  }
  std::string SilenceText() const { return devlink::SecondsText(Silence()); }

  void PlayCut(DeviceEnd& end, std::size_t cut) {
    const SampleSession session(1);  // a new client's first hello
    if (!end.WaitForData() ||
        !end.SendBytes(
            Bytes(session.line.begin(), session.line.begin() + static_cast<long>(cut)))) {
      return;
    }
    sentInTime_ = LinkClock::now() - begun_.load() < Silence() / 2;
    if (TheWay() == Way::kReset) return;  // the hello was never read
    if (TheWay() == Way::kClosed) {
      end.Next();
      return;
    }
    if (TheWay() == Way::kHalfFrame) {
      const auto rest = session.line.begin() + static_cast<long>(session.FrameEnd(cut));
      end.SendBytes(Bytes(rest, session.line.end()));
      end.SkipSequence(session.nextSequence);
      if (cut >= session.greetingBytes) return AnswerAllBehindTheHello(end);
    }
    while (end.Next()) {
    }
  }
  static void AnswerAllBehindTheHello(DeviceEnd& end) {
    if (end.Next()) AnswerAll(end);
  }

  // Starts a new client against a device whose first connection is cut there.
  void StartCut(std::size_t cut) {
    record_.Clear();
    if (TheWay() == Way::kKilled) {
      std::ofstream(Path("armed")) << "1";
      SetEndpoint(ChildEndpoint("cut " + std::to_string(cut) + " " + Path("armed")));
    }
    armed_ = static_cast<int>(cut);
    sentInTime_ = TheWay() == Way::kKilled;  // which a program of its own does
    begun_ = LinkClock::now();
    Start();
  }

  // The reason for which the first session of a cut was given up. A machine under load may keep
  // device or link waiting for longer than the silence is, which gives another reason: then it is
  // tried again.
  std::string ReasonOfCut(std::size_t cut) {
    constexpr int kTries = 100;
    for (int i = 1;; ++i) {
      StartCut(cut);
      std::string reason = FirstReason();
      const bool inTime = sentInTime_ && LinkClock::now() - begun_.load() < 3 * Silence();
      if (inTime || i == kTries) return reason;
      Stop();
    }
  }

  std::string FirstReason() {
    std::string reason;
    const auto lost = [&] {
      for (const std::string& state : record_.states) {
        if (state.rfind("disconnected: ", 0) != 0) continue;
        reason = state.substr(14);
        return true;
      }
      return false;
    };
    EXPECT_TRUE(record_.Wait(lost));
    return reason;
  }

  // A machine under load may make a session of these short times fail: it is tried until it stands.
  void ComesBack() {
    const auto answered = [&] {
      return std::any_of(record_.packets.begin(), record_.packets.end(),
                         [](const Packet& packet) { return packet.tag == 80; });
    };
    for (int i = 0; i < 1000; ++i) {
      const bool posted = Post(8, {}, 80) == 0;
      if (record_.Wait(answered, Milliseconds(posted ? 200 : 1))) return;
    }
    ADD_FAILURE() << "the link did not come back";
  }

  void ExpectReason(const std::string& reason, std::size_t cut,
                    const SampleSession& session) const {
    const bool greeted = cut >= session.greetingBytes;
    if (TheWay() == Way::kKilled) {
      EXPECT_THAT(reason, HasSubstr("was killed by signal 9"));
      EXPECT_EQ(reason.find("before the greeting") == std::string::npos, greeted) << reason;
    } else if (TheWay() == Way::kClosed || TheWay() == Way::kReset) {
      EXPECT_EQ(reason, greeted ? "the device closed the link"
                                : "the device closed the link before the greeting was answered");
    } else if (greeted) {
      EXPECT_EQ(reason, "the device has not answered for " + SilenceText());
    } else {
      EXPECT_EQ(reason, cut == 0 && TheWay() == Way::kSilent
                            ? "not a device: it did not answer the greeting in " + SilenceText()
                            : "not a device: what it said in " + SilenceText() + " is no greeting");
    }
  }

  // Everything that came whole, once and in order; of a frame that broke off nothing.
  void ExpectPackets(std::size_t cut, const SampleSession& session) {
    std::vector<std::uint32_t> expectedIds, cameIds;
    std::vector<Bytes> expectedBodies, cameBodies;
    for (const SampleSession::Message& message : session.messages) {
      const bool came =
          TheWay() == Way::kHalfFrame ? !LostIn(message, cut, session) : message.endBytes <= cut;
      if (cut < session.greetingBytes || !came) continue;
      expectedIds.push_back(message.id);
      expectedBodies.push_back(message.body);
    }
    for (const Packet& packet : Packets()) {
      if (packet.tag == 80) continue;
      cameIds.push_back(packet.cmdId);
      cameBodies.push_back(packet.body);
    }
    EXPECT_EQ(cameIds, expectedIds);
    EXPECT_EQ(cameBodies, expectedBodies);
  }
  static bool LostIn(const SampleSession::Message& message, std::size_t cut,
                     const SampleSession& session) {
    return message.beginBytes < session.FrameEnd(cut) && message.endBytes > cut &&
           session.FrameEnd(cut) != cut;
  }

  void TryCut(std::size_t cut) {
    SCOPED_TRACE("cut behind byte " + std::to_string(cut));
    const SampleSession session(1);
    const std::size_t asked = cut;
    // The flag that begins the next frame ends the one before it too: nothing is lost.
    if (TheWay() == Way::kHalfFrame && session.FrameEnd(cut) == cut + 1) ++cut;
    const bool goesOn = TheWay() == Way::kHalfFrame && cut >= session.greetingBytes;
    if (goesOn) {
      StartCut(asked);
    } else {
      ExpectReason(ReasonOfCut(asked), cut, session);
    }
    ComesBack();
    ExpectPackets(cut, session);
    if (goesOn && session.FrameEnd(cut) != cut) {
      EXPECT_TRUE(record_.Wait([&] { return !record_.notices.empty(); })) << "a loss was not told";
    }
    Stop();
  }

  std::atomic<int> armed_{kWhole};
  std::atomic<LinkClock::time_point> begun_{};
  std::atomic<bool> sentInTime_{false};
};

TEST_P(LinkCut, IsToldCostsNothingAndComesBack) {
  const std::string name = kWayNames[static_cast<int>(TheWay())];
  const int shard = std::get<1>(GetParam());
  const kivtest::SweepReport report("session cut, " + name + ", part " + std::to_string(shard));
  const auto count = std::min<std::int64_t>(kivtest::SweepCount(kCuts), kCuts);
  const std::size_t step = kCuts / static_cast<std::size_t>(count);
  device_ = std::make_unique<TestDevice>(Path("s"), [&](DeviceEnd& end, int) {
    const int cut = armed_.exchange(kWhole);
    if (cut != kWhole) return PlayCut(end, static_cast<std::size_t>(cut));
    if (end.Greet()) AnswerAll(end);
  });
  SetEndpoint("unix:" + Path("s"));
  const double cpuBefore = ProcessCpuSeconds();
  const auto begin = std::chrono::steady_clock::now();
  std::int64_t tried = 0;
  for (std::size_t cut = static_cast<std::size_t>(shard) * step; cut <= kCuts && !HasFailure();
       cut += step * kShards) {
    TryCut(cut);
    ++tried;
  }
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  const double cpu = ProcessCpuSeconds() - cpuBefore;
  char found[96];
  std::snprintf(found, sizeof found, "all told, all came back, %.2f ms of processor time a cut",
                1000 * cpu / static_cast<double>(tried));
  report.Write(tried, HasFailure() ? "FAILED" : found);
  // Whoever turns in a circle while waiting takes all of it.
  EXPECT_LT(cpu, 0.7 * time.count());
}

INSTANTIATE_TEST_SUITE_P(EachByte, LinkCut,
                         testing::Combine(testing::Values(Way::kClosed, Way::kReset, Way::kSilent,
                                                          Way::kKilled, Way::kHalfFrame),
                                          testing::Range(0, kShards)),
                         [](const testing::TestParamInfo<std::tuple<Way, int>>& info) {
                           return kWayNames[static_cast<int>(std::get<0>(info.param))] +
                                  std::string("_") + std::to_string(std::get<1>(info.param));
                         });

}  // namespace
}  // namespace linktest
