// tcp: endpoints: names, addresses that refuse or say nothing, giving up, and the token.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "platform/devlink/token.h"
#include "tests/platform/devlink/link_fixture.h"
#include "tests/platform/devlink/name_service_fake.h"
#include "tests/support/tree_paths.h"

namespace linktest {
namespace {

using devlink::Milliseconds;
using testing::StartsWith;

constexpr Milliseconds kStopLimit{10'000};

// A port that takes no connection and refuses none: the queue of its listener is full.
class SilentPort {
 public:
  explicit SilentPort(const char* address, std::uint16_t port = 0) {
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    ::inet_pton(AF_INET, address, &name.sin_addr);
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    socklen_t lengthBytes = sizeof(name);
    EXPECT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&name), lengthBytes), 0);
    EXPECT_EQ(::listen(listener_, 0), 0);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&name), &lengthBytes);
    port_ = ntohs(name.sin_port);
    filler_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::connect(filler_, reinterpret_cast<sockaddr*>(&name), lengthBytes), 0);
  }
  ~SilentPort() {
    ::close(filler_);
    ::close(listener_);
  }
  std::string Port() const { return std::to_string(port_); }

 private:
  int listener_;
  int filler_;
  std::uint16_t port_ = 0;
};

class TcpLink : public LinkTest {
 protected:
  void MakeDevice(TestDevice::Script script = [](DeviceEnd& end, int) {
    if (end.Greet()) end.Linger();
  }) {
    device_ = std::make_unique<TestDevice>(MakeTcpDoor(), std::move(script));
  }
  std::uint16_t Port() const {
    const std::string endpoint = device_->Endpoint();
    return static_cast<std::uint16_t>(std::stoi(endpoint.substr(endpoint.rfind(':') + 1)));
  }
  std::string WithHost(const std::string& host) const {
    return "tcp:" + host + ":" + std::to_string(Port());
  }
  void StopsAtOnce() {
    const auto begin = std::chrono::steady_clock::now();
    client_->StopConnect(256, 1, 8191);
    client_->Shutdown(200, 1);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kStopLimit);
  }
  std::string TokenFile(const std::string& content, mode_t mode = 0600) {
    std::ofstream(Path("token"), std::ios::binary) << content;
    EXPECT_EQ(::chmod(Path("token").c_str(), mode), 0);
    return Path("token");
  }
};

// --- Names.

TEST_F(TcpLink, ANameThatIsNotKnownIsTold) {
  const NameService nobody(EAI_NONAME);
  StartAt("tcp:board.invalid:5555");
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: cannot find the host \"board.invalid\": Name or service not known"));
}

TEST_F(TcpLink, ANameServiceThatIsAwayIsTold) {
  const NameService away(EAI_AGAIN);
  StartAt("tcp:board.invalid:5555");
  EXPECT_TRUE(
      record_.WaitForState("disconnected: cannot find the host \"board.invalid\": "
                           "Temporary failure in name resolution"));
}

TEST_F(TcpLink, ANameServiceThatDoesNotAnswerIsToldInTime) {
  NameService service{std::vector<std::string>{}};
  service.Hang();
  timing_.connectWait = Milliseconds(100);
  StartAt("tcp:board.invalid:5555");
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: cannot find the host \"board.invalid\": the name service did not answer in "
      "0.1 s"));
}

TEST_F(TcpLink, AStopWhileANameIsLookedUpIsQuickAndTheLateAnswerDoesNoHarm) {
  MakeDevice();
  for (int i = 0; i < 5; ++i) {
    NameService service({"127.0.0.1"});
    service.Hang();
    timing_.connectWait = Milliseconds(60'000);
    StartAt(WithHost("board"));
    service.WaitForALookup();
    StopsAtOnce();
    if (i % 2 == 0) Stop();  // the answer finds no link any more
  }
  EXPECT_EQ(device_->Connections(), 0);
  const NameService service({"127.0.0.1"});
  StartAt(WithHost("board"));
  EXPECT_TRUE(record_.WaitForState("connected"));
}

TEST_F(TcpLink, TheSystemsOwnNameServiceKnowsThisMachine) {
  MakeDevice();
  StartAt(WithHost("localhost"));
  EXPECT_TRUE(record_.WaitForState("connected")) << testing::PrintToString(States());
}

// --- Addresses.

TEST_F(TcpLink, AnAddressThatRefusesIsFollowedByTheNext) {
  MakeDevice();
  const NameService service({"127.0.0.2", "::1", "127.0.0.3", "127.0.0.1"});
  StartAt(WithHost("board"));
  EXPECT_TRUE(record_.WaitForState("connected"));
  EXPECT_EQ(States().size(), 2u);
}

TEST_F(TcpLink, WhenNoAddressAnswersTheLastReasonIsTold) {
  MakeDevice();
  const NameService service({"127.0.0.2", "127.0.0.3"});
  const std::string endpoint = WithHost("board");
  StartAt(endpoint);
  EXPECT_TRUE(record_.WaitForState("disconnected: cannot connect to \"" + endpoint +
                                   "\": Connection refused"));
}

TEST_F(TcpLink, APortThatSaysNothingIsToldInTime) {
  const SilentPort silent("127.0.0.1");
  timing_.connectWait = Milliseconds(150);
  const auto begin = std::chrono::steady_clock::now();
  StartAt("tcp:127.0.0.1:" + silent.Port());
  EXPECT_TRUE(record_.WaitForState("disconnected: cannot connect to \"tcp:127.0.0.1:" +
                                   silent.Port() + "\": no answer in 0.15 s"));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, Milliseconds(150));
}

TEST_F(TcpLink, AnAddressThatSaysNothingLeavesTimeForTheNext) {
  MakeDevice();
  const SilentPort silent("127.0.0.2", Port());
  timing_.connectWait = Milliseconds(6000);
  const NameService service({"127.0.0.2", "127.0.0.1"});
  StartAt(WithHost("board"));
  EXPECT_TRUE(record_.WaitForState("connected"));
  EXPECT_EQ(States().size(), 2u);
}

TEST_F(TcpLink, AStopWhileItConnectsIsQuick) {
  const SilentPort silent("127.0.0.1");
  timing_.connectWait = Milliseconds(60'000);
  for (int i = 0; i < 5; ++i) {
    const auto attempts = devlink::GetLinkCounters().attempts;
    StartAt("tcp:127.0.0.1:" + silent.Port());
    while (devlink::GetLinkCounters().attempts == attempts) ::usleep(1000);
    StopsAtOnce();
  }
}

TEST_F(TcpLink, AnIPv6AddressInBracketsIsTaken) {
  const int probe = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 name = {};
  name.sin6_family = AF_INET6;
  name.sin6_addr = in6addr_loopback;
  const bool there = ::bind(probe, reinterpret_cast<sockaddr*>(&name), sizeof(name)) == 0;
  socklen_t lengthBytes = sizeof(name);
  ::getsockname(probe, reinterpret_cast<sockaddr*>(&name), &lengthBytes);
  const std::string endpoint = "tcp:[::1]:" + std::to_string(ntohs(name.sin6_port));
  StartAt(endpoint);
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: cannot connect to \"" + endpoint +
      "\": " + (there ? "Connection refused" : "Cannot assign requested address")));
  ::close(probe);
}

// --- The socket.

TEST_F(TcpLink, TheSocketSendsAtOnceAndNoChildInheritsIt) {
  MakeDevice();
  StartAt(device_->Endpoint());
  ASSERT_TRUE(record_.WaitForState("connected"));
  int found = 0;
  for (int fd = 3; fd < 256; ++fd) {
    sockaddr_in peer = {};
    socklen_t lengthBytes = sizeof(peer);
    if (::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &lengthBytes) != 0 ||
        peer.sin_family != AF_INET || ntohs(peer.sin_port) != Port()) {
      continue;
    }
    ++found;
    int atOnce = 0;
    lengthBytes = sizeof(atOnce);
    EXPECT_EQ(::getsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &atOnce, &lengthBytes), 0);
    EXPECT_NE(atOnce, 0);
    EXPECT_EQ(::fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  }
  EXPECT_EQ(found, 1);
}

TEST_F(TcpLink, AConnectionThatIsResetIsToldAndComesBack) {
  MakeDevice([](DeviceEnd& end, int connection) {
    if (!end.Greet()) return;
    if (connection == 0) return;  // with the host's last bytes unread: a reset
    end.Linger();
  });
  StartAt(device_->Endpoint());
  EXPECT_TRUE(record_.Wait([&] { return record_.states.size() >= 4; }));
  EXPECT_EQ(States()[2], "disconnected: the device closed the link");
  EXPECT_EQ(States()[3], "connected");
}

// --- The token.

// The bytes of the worked example on the wire page.
Bytes TokenOfThePage() {
  std::ifstream page(std::string(kivtest::SourceDir()) + "/docs/wire-format.md");
  std::string hex;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (inside && line == "```") break;
    if (inside) hex += " " + line;
    if (line == "```token") inside = true;
  }
  return FromHex(hex);
}

TEST_F(TcpLink, TheTokenStandsBeforeTheGreetingAsOnTheWirePage) {
  Bytes received;
  MakeDevice([&](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    received = end.Received();
    end.Linger();
  });
  StartAt(device_->Endpoint() + "?token-file=" + TokenFile("correct-horse-battery\n"));
  ASSERT_TRUE(record_.WaitForState("connected"));
  Stop();
  device_.reset();
  const Bytes token = TokenOfThePage();
  ASSERT_EQ(token.size(), 30u);
  ASSERT_GT(received.size(), token.size());
  EXPECT_TRUE(std::equal(token.begin(), token.end(), received.begin()));
  EXPECT_EQ(received[token.size()], 0x7E);
}

TEST_F(TcpLink, WithoutATokenFileTheGreetingIsTheFirst) {
  Bytes received;
  MakeDevice([&](DeviceEnd& end, int) {
    if (end.Greet()) received = end.Received();
    end.Linger();
  });
  StartAt(device_->Endpoint());
  ASSERT_TRUE(record_.WaitForState("connected"));
  device_.reset();
  ASSERT_FALSE(received.empty());
  EXPECT_EQ(received[0], 0x7E);
}

TEST_F(TcpLink, ADeviceThatClosesAtOnceMayWantAToken) {
  MakeDevice([](DeviceEnd& end, int) { end.Next(); });
  StartAt(device_->Endpoint());
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: the device closed the link before the greeting was answered (it may want a "
      "token: ?token-file=FILE)"));
  Stop();
  StartAt(device_->Endpoint() + "?token-file=" + TokenFile("wrong-wrong-wrong"));
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: the device closed the link before the greeting was answered (is it the right "
      "token?)"));
}

TEST_F(TcpLink, ATokenFileThatIsMendedIsReadAtTheNextAttempt) {
  MakeDevice();
  const std::string file = TokenFile("correct-horse-battery\n", 0640);
  StartAt(device_->Endpoint() + "?token-file=" + file);
  ASSERT_TRUE(record_.WaitForState("disconnected: the token file \"" + file +
                                   "\" is open to other users: give it mode 0600"));
  EXPECT_EQ(device_->Connections(), 0);
  EXPECT_EQ(::chmod(file.c_str(), 0400), 0);
  EXPECT_TRUE(record_.WaitForState("connected"));
}

TEST_F(TcpLink, ATokenFileOfAnotherUserIsRefusedAlsoForRoot) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  const std::string file = TokenFile("correct-horse-battery\n", 0600);
  ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
  std::string problem;
  EXPECT_EQ(devlink::ReadTokenFile(file, problem), "");
  EXPECT_EQ(problem, "the token file \"" + file + "\" belongs to another user");
}

TEST_F(TcpLink, ATokenFileThatHasNoneIsToldAndNothingIsSent) {
  MakeDevice();
  const std::string file = Path("token");
  const auto told = [&] {
    std::string problem;
    EXPECT_EQ(devlink::ReadTokenFile(file, problem), "");
    return problem;
  };
  EXPECT_EQ(told(), "cannot read the token file \"" + file + "\": No such file or directory");
  const std::string none = "the first line of the token file \"" + file +
                           "\" is no token: 16 to 64 visible ASCII characters without blank and ~";
  const std::string contents[] = {"",
                                  "\n",
                                  "fifteen-letters",
                                  "fifteen-letters\r\nand-more-of-them",
                                  std::string(65, 'x'),
                                  std::string(100'000, 'x'),
                                  "sixteen letters-",
                                  "sixteen~letters-",
                                  "sixteen\tletters-",
                                  std::string("sixteen\0letters-", 16),
                                  "sixteen-letter-\xC3\xA9",
                                  "sixteen-letters\r\r\n"};
  for (const std::string& content : contents) {
    TokenFile(content);
    EXPECT_EQ(told(), none) << content.substr(0, 80);
  }
  for (const mode_t mode : {0601, 0602, 0604, 0610, 0620, 0640, 0777}) {
    TokenFile("correct-horse-battery", mode);
    EXPECT_THAT(told(), testing::HasSubstr("is open to other users")) << mode;
  }
  for (const mode_t mode : {04600, 02600, 01600, 04400, 07600, 0700, 0500}) {
    TokenFile("correct-horse-battery", mode);
    EXPECT_EQ(told(), "the token file \"" + file +
                          "\" has a mode other than 0600 and 0400: give it mode 0600")
        << mode;
  }
  ::unlink(file.c_str());
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(told(), "the token file \"" + file + "\" is no regular file");
  StartAt(device_->Endpoint() + "?token-file=" + file);
  EXPECT_TRUE(
      record_.WaitForState("disconnected: the token file \"" + file + "\" is no regular file"));
  EXPECT_EQ(device_->Connections(), 0);
}

TEST_F(TcpLink, TheFirstLineOfATokenFileIsTheTokenWhateverEndsIt) {
  const std::string longest(64, '!');
  const struct {
    std::string content, token;
  } rows[] = {
      {"sixteen-letters-", "sixteen-letters-"},
      {"sixteen-letters-\n", "sixteen-letters-"},
      {"sixteen-letters-\r\n", "sixteen-letters-"},
      {"sixteen-letters-\nand more\n", "sixteen-letters-"},
      {longest, longest},
      {longest + "\r\n", longest},
      {longest + "\n" + longest, longest},
  };
  for (const auto& row : rows) {
    std::string problem;
    EXPECT_EQ(devlink::ReadTokenFile(TokenFile(row.content), problem), row.token) << problem;
    EXPECT_EQ(problem, "");
  }
}

}  // namespace
}  // namespace linktest
