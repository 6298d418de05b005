// Serial ports: settings, rates, who may have them, what is told of one that cannot be opened, and
// slow lines.
#include "platform/devlink/serial_line.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <asio/io_context.hpp>
#include <cerrno>
#include <fstream>
#include <random>

#include "platform/devlink/serial_transport_posix.h"
#include "tests/platform/devlink/line_settings.h"
#include "tests/platform/devlink/link_fixture.h"
#include "tests/support/sweep.h"
#include "tests/support/unprivileged.h"

namespace linktest {
namespace {

using devlink::Milliseconds;
using devlink::OpenSerialLine;
using devlink::ParseEndpoint;
using devlink::UniqueFd;

// A pair of pseudo-terminals.
class Pair {
 public:
  Pair() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
    char name[64] = "";
    EXPECT_EQ(::grantpt(master_.Get()) + ::unlockpt(master_.Get()), 0);
    EXPECT_EQ(::ptsname_r(master_.Get(), name, sizeof(name)), 0);
    path_ = name;
  }
  int Master() const { return master_.Get(); }
  const std::string& Path() const { return path_; }
  UniqueFd Open(const std::string& options = "") {
    problem = "";
    return OpenSerialLine(ParseEndpoint("serial:" + path_ + options), problem);
  }
  LineSettings Settings() const { return SettingsOf(master_.Get()); }

  std::string problem;

 private:
  UniqueFd master_;
  std::string path_;
};

TEST(SerialLine, IsRawWithEightBitsAndLeavesTheModemLinesAlone) {
  Pair pair;
  const UniqueFd line = pair.Open();
  ASSERT_TRUE(line.Valid()) << pair.problem;
  const LineSettings settings = pair.Settings();
  EXPECT_TRUE(settings.eightBits);
  EXPECT_FALSE(settings.parity);
  EXPECT_FALSE(settings.twoStopBits);
  EXPECT_TRUE(settings.reads);
  EXPECT_TRUE(settings.ignoresCarrier);
  EXPECT_FALSE(settings.hangsUpAtClose);
  EXPECT_FALSE(settings.handshakeLines);
  EXPECT_EQ(settings.processing, 0u);
  EXPECT_EQ(settings.outputBaud, 115'200u);
}

TEST(SerialLine, HandshakeLinesAreAnOption) {
  for (const bool wanted : {true, false}) {
    Pair pair;
    const UniqueFd line = pair.Open(wanted ? "?flow=rtscts" : "?flow=none");
    ASSERT_TRUE(line.Valid()) << pair.problem;
    EXPECT_EQ(pair.Settings().handshakeLines, wanted);
  }
}

void DoesTheRate(std::uint32_t baud) {
  Pair pair;
  const UniqueFd line = pair.Open("?baud=" + std::to_string(baud));
  ASSERT_TRUE(line.Valid()) << pair.problem;
  EXPECT_EQ(pair.Settings().inputBaud, baud);
  EXPECT_EQ(pair.Settings().outputBaud, baud);
}

TEST(SerialLine, DoesEveryRateThatHasAName) {
  for (const std::uint32_t baud :
       {50u,        75u,        110u,       134u,       150u,       200u,
        300u,       600u,       1200u,      1800u,      2400u,      4800u,
        9600u,      19'200u,    38'400u,    57'600u,    115'200u,   230'400u,
        460'800u,   500'000u,   576'000u,   921'600u,   1'000'000u, 1'152'000u,
        1'500'000u, 2'000'000u, 2'500'000u, 3'000'000u, 3'500'000u, 4'000'000u}) {
    DoesTheRate(baud);
  }
}

TEST(SerialLine, DoesRatesThatHaveNone) {
  for (const std::uint32_t baud : {1u, 45u, 12'345u, 31'250u, 76'800u, 250'000u, 1'234'567u,
                                   7'372'800u, 12'000'000u, 4'294'967'295u}) {
    DoesTheRate(baud);
  }
  std::mt19937 random(20);
  const auto count = kivtest::SweepCount(20'000);
  for (std::int64_t i = 0; i < count; ++i) DoesTheRate(1 + random() % 20'000'000);
}

TEST(SerialLine, WhatCameBeforeItWasOpenedIsForgotten) {
  Pair pair;
  const UniqueFd earlier(::open(pair.Path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  ASSERT_EQ(::write(pair.Master(), "login: \n", 8), 8);
  pollfd arrived = {earlier.Get(), POLLIN, 0};
  ASSERT_EQ(::poll(&arrived, 1, 20'000), 1);
  const UniqueFd line = pair.Open();
  ASSERT_TRUE(line.Valid()) << pair.problem;
  char byte;
  EXPECT_EQ(::read(line.Get(), &byte, 1), -1);
  EXPECT_EQ(errno, EAGAIN);
}

// --- Who may have it.

TEST(SerialLine, BelongsToOneAtATime) {
  Pair pair;
  UniqueFd line = pair.Open();
  ASSERT_TRUE(line.Valid()) << pair.problem;
  EXPECT_FALSE(pair.Open().Valid());
  EXPECT_EQ(pair.problem, "cannot open \"serial:" + pair.Path() + "\": another program uses it");
  EXPECT_EQ(pair.Settings().outputBaud, 115'200u);  // and it was left as it is
  line.Reset();
  EXPECT_TRUE(pair.Open().Valid()) << pair.problem;
}

TEST(SerialLine, IsClosedToProgramsThatAskForNoLockToo) {
  Pair pair;
  ASSERT_EQ(::chmod(pair.Path().c_str(), 0666), 0);
  const UniqueFd line = pair.Open();
  ASSERT_TRUE(line.Valid()) << pair.problem;
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&] {
    const bool closed = ::open(pair.Path().c_str(), O_RDWR | O_NOCTTY) == -1 && errno == EBUSY;
    return closed && !pair.Open().Valid() &&
           pair.problem == "cannot open \"serial:" + pair.Path() + "\": another program uses it";
  }));
}

TEST(SerialLine, IsFreeBehindItsEndWhoeverElseHasItOpen) {
  Pair pair;
  ASSERT_EQ(::chmod(pair.Path().c_str(), 0666), 0);
  const UniqueFd somebody(::open(pair.Path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&] {
    asio::io_context io;
    const auto endpoint = ParseEndpoint("serial:" + pair.Path());
    for (int i = 0; i < 2; ++i) {
      const auto transport = devlink::OpenSerialTransport(io, endpoint, pair.problem);
      if (transport == nullptr) return false;
      transport->End([] { return false; });
    }
    return ::open(pair.Path().c_str(), O_RDWR | O_NOCTTY) >= 0;
  }));
}

TEST(SerialLine, AUserWhoMayNotOpenItReadsWhoMay) {
  Pair pair;
  ASSERT_EQ(::chmod(pair.Path().c_str(), ::geteuid() == 0 ? 0600 : 0), 0);
  struct stat info;
  ASSERT_EQ(::stat(pair.Path().c_str(), &info), 0);
  const group* const owner = ::getgrgid(info.st_gid);
  const std::string name = owner != nullptr ? owner->gr_name : std::to_string(info.st_gid);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&] {
    return !pair.Open().Valid() && pair.problem == "cannot open \"serial:" + pair.Path() +
                                                       "\": Permission denied (it belongs to the "
                                                       "group " +
                                                       name + ")";
  }));
}

TEST(SerialLine, APathThatIsNoPortIsTold) {
  const kivtest::TempDir directory;
  std::ofstream(directory.File("file")) << "text";
  ASSERT_EQ(::mkfifo(directory.File("pipe").c_str(), 0600), 0);
  const struct {
    std::string path, problem;
  } rows[] = {
      {directory.File("nothing"), "No such file or directory"},
      {directory.File("file"), "it is no serial port"},
      {directory.File("pipe"), "it is no serial port"},
      {directory.path(), "Is a directory"},
      {"/dev/null", "it is no serial port"},
  };
  for (const auto& row : rows) {
    std::string problem;
    EXPECT_FALSE(OpenSerialLine(ParseEndpoint("serial:" + row.path), problem).Valid());
    EXPECT_EQ(problem, "cannot open \"serial:" + row.path + "\": " + row.problem);
  }
  std::ifstream file(directory.File("file"));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "text");
}

// --- A line under the link.

double ProcessCpuSeconds() {
  timespec time;
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

class SerialLink : public LinkTest {
 protected:
  void MakeDevice(const std::string& options, TestDevice::Script script) {
    device_ = std::make_unique<TestDevice>(MakePtyDoor(Path("tty"), options), std::move(script));
  }
  void ConnectTo(const std::string& options, TestDevice::Script script) {
    MakeDevice(options, std::move(script));
    StartAt(device_->Endpoint());
    ASSERT_TRUE(record_.WaitForState("connected")) << testing::PrintToString(States());
  }
};

void AnswerAll(DeviceEnd& end, int) {
  if (!end.Greet()) return;
  while (const auto request = end.NextMessage()) {
    NaiveFrame answer;
    answer.id = request->id;
    answer.tag = request->tag;
    if (request->flags == 0) end.Send(answer);
  }
}

TEST_F(SerialLink, AnUnpluggedPortIsOpenedAgainWhenItIsBackAndCostsNoProcessorTime) {
  timing_.firstPause = Milliseconds(10);
  timing_.longestPause = Milliseconds(80);
  ConnectTo("?baud=250000", AnswerAll);
  device_.reset();
  ASSERT_TRUE(record_.WaitForState("disconnected: cannot open \"serial:" + Path("tty") +
                                   "?baud=250000\": No such file or directory"));
  EXPECT_EQ(States()[2], "disconnected: \"" + Path("tty") + "\" was unplugged or hung up");
  const auto attempts = devlink::GetLinkCounters().attempts;
  const double cpuBefore = ProcessCpuSeconds();
  const auto begin = std::chrono::steady_clock::now();
  while (devlink::GetLinkCounters().attempts - attempts < 6) ::usleep(5000);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, Milliseconds(300));
  EXPECT_LT(ProcessCpuSeconds() - cpuBefore, 0.2);
  MakeDevice("?baud=250000", AnswerAll);
  ASSERT_TRUE(record_.WaitForState("connected"));
  EXPECT_EQ(Post(1, {1}, 4), 0u);
  EXPECT_TRUE(record_.WaitForPackets(1));
}

// A port that is there, can be opened, and hangs up at once.
TEST_F(SerialLink, APortThatHangsUpAgainAndAgainIsNotOpenedInALoop) {
  timing_.firstPause = Milliseconds(10);
  timing_.longestPause = Milliseconds(80);
  const double cpuBefore = ProcessCpuSeconds();
  const auto begin = std::chrono::steady_clock::now();
  MakeDevice("", [](DeviceEnd&, int) {});
  StartAt(device_->Endpoint());
  // 10 + 20 + 40 + 80 + 80 ... ms between ten openings.
  while (device_->Connections() < 10) ::usleep(5000);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, Milliseconds(10 + 20 + 40 + 6 * 80));
  EXPECT_LT(ProcessCpuSeconds() - cpuBefore, 0.3);
}

TEST_F(SerialLink, APortThatSomebodyElseHasIsToldAndTakenWhenItIsFree) {
  timing_.longestPause = Milliseconds(20);
  MakeDevice("", AnswerAll);
  std::string problem;
  UniqueFd other = OpenSerialLine(ParseEndpoint(device_->Endpoint()), problem);
  ASSERT_TRUE(other.Valid()) << problem;
  StartAt(device_->Endpoint());
  ASSERT_TRUE(record_.WaitForState("disconnected: cannot open \"" + device_->Endpoint() +
                                   "\": another program uses it"));
  // One that closes its end of a pair of pseudo-terminals hangs up the other: the next pair is
  // ours.
  other.Reset();
  EXPECT_TRUE(record_.WaitForState("connected"));
}

TEST_F(SerialLink, ASlowLineGetsShortFrames) {
  std::vector<NaiveFrame> seen;
  ConnectTo("?baud=9600", [&](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    while (const auto frame = end.NextMessage()) {
      seen.push_back(*frame);
      NaiveFrame answer;
      answer.tag = frame->tag;
      if (frame->flags == 0) end.Send(answer);
    }
  });
  const Bytes body = Noise(2000);
  EXPECT_EQ(Post(3, body, 1), 0u);
  ASSERT_TRUE(record_.WaitForPackets(1));
  Stop();
  device_.reset();
  Bytes joined;
  for (const NaiveFrame& frame : seen) {
    EXPECT_LE(frame.payload.size(), 480u);
    EXPECT_EQ(frame.length, 2000u);
    Append(joined, frame.payload);
  }
  EXPECT_EQ(seen.size(), 5u);
  EXPECT_TRUE(joined == body);
}

TEST_F(SerialLink, TimeThatTheBytesNeedOnTheLineIsNoDelay) {
  timing_.writeLimit = Milliseconds(50);
  // At 300 baud the nine seconds of a frame's bytes come on top of the limit.
  std::atomic<int> connections{0};
  ConnectTo("?baud=300", [&](DeviceEnd& end, int) {
    ++connections;
    if (!end.Greet()) return;
    const auto readAgain = std::chrono::steady_clock::now() + Milliseconds(250);
    while (std::chrono::steady_clock::now() < readAgain) ::usleep(1000);
    end.Linger();
  });
  EXPECT_EQ(Post(3, Bytes(50'000), 1), 0u);
  EXPECT_EQ(connections, 1);
  device_.reset();
}

// Longer than the device may be silent: keep-alives go between the frames.
TEST_F(SerialLink, ALongMessageOnASlowLineDoesNotCostTheLink) {
  timing_.probeAfter = Milliseconds(50);
  timing_.lostAfter = Milliseconds(1500);
  Bytes joined;
  ConnectTo("?baud=40000", [&](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    while (const auto frame = end.NextMessage()) {
      Append(joined, frame->payload);
      ::usleep(16'000);  // the time that its bytes need on such a line, and less
      NaiveFrame answer;
      answer.tag = frame->tag;
      if (frame->flags == 0) end.Send(answer);
    }
  });
  const Bytes body = Noise(600'000);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Post(3, body, 1), 0u);
  ASSERT_TRUE(record_.WaitForPackets(1));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 3 * timing_.lostAfter);
  EXPECT_EQ(States().size(), 2u);
  Stop();
  device_.reset();
  EXPECT_TRUE(joined == body);
}

}  // namespace
}  // namespace linktest
