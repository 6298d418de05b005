// What holds over every kind of endpoint: the same device, the same script, the same outcome,
// whether its bytes go through pipes, a socket, a TCP port or a serial line.
#include <gmock/gmock.h>
#include <time.h>
#include <unistd.h>

#include <thread>

#include "tests/platform/devlink/device_child.h"
#include "tests/platform/devlink/link_fixture.h"

namespace linktest {
namespace {

using devlink::GetLinkCounters;
using devlink::Milliseconds;
using testing::ElementsAre;

// A kind of endpoint. In the texts PATH stands for the device's path, ENDPOINT for the link's text.
struct Kind {
  const char* name;
  std::unique_ptr<DeviceDoor> (*door)(const std::string& path);
  const char* endpoint;  // null: the door's own
  const char* closed;    // what is told of a device that closed its end
  const char* absent;    // null: where no device is, something else can be tried (a child starts)
};

// So that a list of tests shows a word and no addresses.
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

const Kind kKinds[] = {
    {"exec", [](const std::string& path) { return MakeUnixDoor(path); }, "bridge",
     "\"PROGRAM\" ended with status 0", nullptr},
    {"unix", [](const std::string& path) { return MakeUnixDoor(path); }, nullptr,
     "the device closed the link", "cannot connect to \"ENDPOINT\": No such file or directory"},
    {"tcp", [](const std::string&) { return MakeTcpDoor(); }, nullptr, "the device closed the link",
     "cannot connect to \"ENDPOINT\": Connection refused"},
    {"serial", [](const std::string& path) { return MakePtyDoor(path, "?baud=4000000"); }, nullptr,
     "\"PATH\" was unplugged or hung up", "cannot open \"ENDPOINT\": No such file or directory"},
};

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  const std::size_t at = text.find(what);
  return at == text.npos ? text : text.replace(at, what.size(), with);
}

void AnswerAll(DeviceEnd& end) {
  Bytes body;
  while (const auto request = end.NextMessage()) {
    Append(body, request->payload);
    if (request->flags != 0) continue;
    NaiveFrame answer;
    answer.id = request->id;
    answer.tag = request->tag;
    answer.payload = std::move(body);
    end.SendMessage(answer);
    body.clear();
  }
}

class TransportContract : public LinkTest, public testing::WithParamInterface<Kind> {
 protected:
  void MakeDevice(TestDevice::Script script) {
    device_ = std::make_unique<TestDevice>(GetParam().door(Path("device")), std::move(script));
    endpoint_ = device_->Endpoint();
    if (GetParam().endpoint != nullptr) {
      endpoint_ = ChildEndpoint("bridge '" + Path("device") + "'");
    }
  }
  void ConnectTo(TestDevice::Script script) {
    MakeDevice(std::move(script));
    StartAt(endpoint_);
    ASSERT_TRUE(record_.WaitForState("connected")) << testing::PrintToString(States());
  }
  std::string Text(const char* text) const {
    const std::string program = endpoint_.substr(0, endpoint_.find("' --as-device"));
    std::string told = Replaced(text, "PATH", Path("device"));
    told = Replaced(told, "PROGRAM", program.substr(std::min<std::size_t>(program.size(), 6)));
    return "disconnected: " + Replaced(told, "ENDPOINT", endpoint_);
  }
  // Waits for the second connection, and shows that it works.
  void ComesBack() {
    ASSERT_TRUE(record_.Wait([&] {
      return std::count(record_.states.begin(), record_.states.end(), "connected") >= 2 &&
             record_.states.back() == "connected";
    })) << testing::PrintToString(States());
    EXPECT_EQ(Post(8, {}, 80), 0u);
    EXPECT_TRUE(
        record_.Wait([&] { return !record_.packets.empty() && record_.packets.back().tag == 80; }));
  }
  void StopsWithin(Milliseconds limit) {
    const auto begin = std::chrono::steady_clock::now();
    client_->StopConnect(256, 1, 8191);
    client_->Shutdown(200, 1);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, limit);
    const auto calls = record_.With([&] { return record_.calls; });
    device_.reset();
    EXPECT_EQ(record_.With([&] { return record_.calls; }), calls);
  }

  std::string endpoint_;
};

double ProcessCpuSeconds() {
  timespec time;
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

TEST_P(TransportContract, EveryByteValueGoesBothWaysUnchangedInMessagesOfManyLengths) {
  ConnectTo([](DeviceEnd& end, int) {
    if (end.Greet()) AnswerAll(end);
  });
  Bytes all(256);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<std::uint8_t>(i);
  std::vector<Bytes> bodies = {{}, {0x7E}, {0x7D}, all};
  for (const std::size_t size : {1u, 4095u, 4096u, 65'500u, 65'501u, 300'000u}) {
    bodies.push_back(Noise(size));
  }
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    ASSERT_EQ(Post(5, bodies[i], static_cast<std::uint16_t>(i)), 0u);
    ASSERT_TRUE(record_.WaitForPackets(i + 1));
    EXPECT_TRUE(Packets()[i].body == bodies[i]) << bodies[i].size();
  }
}

TEST_P(TransportContract, ADeviceThatClosesIsToldAndTheLinkComesBack) {
  ConnectTo([](DeviceEnd& end, int connection) {
    if (!end.Greet()) return;
    if (connection == 0) {
      end.NextMessage();
      return;
    }
    AnswerAll(end);
  });
  EXPECT_EQ(Post(1, {}), 0u);
  ComesBack();
  const auto states = States();
  ASSERT_GE(states.size(), 4u);
  EXPECT_EQ(states[2], Text(GetParam().closed));
}

TEST_P(TransportContract, ASilentDeviceIsGivenUpAndTheLinkComesBack) {
  timing_.probeAfter = Milliseconds(50);
  timing_.lostAfter = Milliseconds(1500);
  ConnectTo([](DeviceEnd& end, int connection) {
    if (!end.Greet()) return;
    if (connection == 0) {
      while (end.Next()) {
      }
      return;
    }
    AnswerAll(end);
  });
  ComesBack();
  EXPECT_EQ(States()[2], "disconnected: the device has not answered for 1.5 s");
}

// Connection n is cut behind n bytes of the greeting and what follows.
TEST_P(TransportContract, ACutAtAnyPlaceOfTheDevicesBytesGivesNoWrongPacket) {
  timing_.firstPause = timing_.longestPause = Milliseconds(1);
  NaiveFrame ind;
  ind.kind = kInd;
  ind.id = 0x2001;
  ind.sequence = 1;
  ind.payload = {0x7E, 0x7D, 3, 4};
  const Bytes rest = NaiveLine(Whole(ind));
  std::atomic<int> greeted{0};
  MakeDevice([&](DeviceEnd& end, int) {
    const auto hello = end.Next();
    if (!hello) return;
    Bytes line = NaiveLine(Whole(DeviceEnd::Hello(hello->tag)));
    Append(line, rest);
    const auto cut = static_cast<std::size_t>(greeted++) * 7;
    const bool whole = cut >= line.size();
    if (!whole) line.resize(cut);
    end.SendBytes(line);
    if (whole) end.Linger();
  });
  StartAt(endpoint_);
  ASSERT_TRUE(record_.WaitForPackets(1)) << testing::PrintToString(States());
  EXPECT_EQ(Packets(), (std::vector<Packet>{{0x2001, 0, 1, ind.payload, 0, 0, 0}}));
  device_.reset();  // before what its script borrows
}

TEST_P(TransportContract, AnAbsentDeviceIsToldOnceAndCostsNoProcessorTime) {
  if (GetParam().absent == nullptr) return;
  timing_.firstPause = Milliseconds(10);
  timing_.longestPause = Milliseconds(80);
  MakeDevice([](DeviceEnd&, int) {});
  device_.reset();
  const auto attemptsBefore = GetLinkCounters().attempts;
  const double cpuBefore = ProcessCpuSeconds();
  const auto begin = std::chrono::steady_clock::now();
  StartAt(endpoint_);
  while (GetLinkCounters().attempts - attemptsBefore < 8) ::usleep(5000);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, Milliseconds(390));
  EXPECT_LT(ProcessCpuSeconds() - cpuBefore, 0.3);
  EXPECT_THAT(States(), ElementsAre("connecting", Text(GetParam().absent)));
}

TEST_P(TransportContract, APostThatCannotBeWrittenInTimeDropsTheLinkAndAnswers3207) {
  timing_.writeLimit = Milliseconds(150);
  ConnectTo([](DeviceEnd& end, int connection) {
    if (!end.Greet()) return;
    if (connection == 0) return end.WaitForTheEnd();
    AnswerAll(end);
  });
  EXPECT_EQ(Post(7, Bytes(10'000'000), 70), 3207u);
  ASSERT_TRUE(record_.Wait([&] { return record_.states.size() >= 3; }));
  EXPECT_EQ(States()[2], "disconnected: the device took no data for 0.15 s");
}

TEST_P(TransportContract, AStopDuringAFloodIsQuickAndNothingComesAfterIt) {
  record_.keepBodies = false;
  ConnectTo([](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    for (bool goes = true; goes;) {
      NaiveFrame ind;
      ind.kind = kInd;
      ind.payload = Bytes(20);
      goes = end.Send(ind);
    }
  });
  ASSERT_TRUE(record_.WaitForPackets(1000));
  StopsWithin(Milliseconds(10'000));
}

TEST_P(TransportContract, AStopWakesAPostThatWaits) {
  ConnectTo([](DeviceEnd& end, int) {
    if (end.Greet()) end.WaitForTheEnd();
  });
  std::atomic<std::uint32_t> status{0};
  std::thread poster([&] { status = Post(7, Bytes(30'000'000), 70); });
  ASSERT_TRUE(record_.Wait([&] {
    return std::find(record_.taps.begin(), record_.taps.end(), "> 2 7 70") != record_.taps.end();
  }));
  StopsWithin(Milliseconds(10'000));
  poster.join();
  EXPECT_EQ(status, 3207u);
}

TEST_P(TransportContract, StartsAndStopsManyTimes) {
  ConnectTo([](DeviceEnd& end, int) {
    if (end.Greet()) AnswerAll(end);
  });
  for (std::uint16_t i = 1; i <= 10; ++i) {
    EXPECT_EQ(Post(1, {}, i), 0u);
    ASSERT_TRUE(record_.WaitForPackets(i));
    client_->StopConnect(256, 1, 8191);
    client_->Shutdown(200, 1);
    EXPECT_EQ(Post(1, {}, i), 3207u);
    Start();
    ASSERT_TRUE(record_.WaitForState("connected"));
  }
}

INSTANTIATE_TEST_SUITE_P(Over, TransportContract, testing::ValuesIn(kKinds),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace linktest
