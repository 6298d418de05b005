// The whole agent in a process of its own while one of its allocations fails, for every one from
// the start over a line on a channel to the host's leaving: it says what it could not do, the next
// line works, and nothing is left, neither memory nor processes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "device/core/hello.h"
#include "device/core/result_codes.h"
#include "device/linux/options.h"
#include "device/linux/program.h"
#include "tests/device/failing_calls.h"
#include "tests/device/line_recorder.h"
#include "tests/support/sweep_report.h"
#include "tests/support/temp_dir.h"

namespace kivtest {
namespace {

constexpr int kPatienceMs = 60000;
constexpr int kMany = 500;

// How the agent's process ends, in the bits of its exit status.
enum Ending { kStatus = 1, kLeaks = 2, kHappened = 4, kReturned = 8 };

Bytes BytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }
std::string TextOf(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

std::string Number(uint32_t value, int widthBytes) {
  std::string bytes;
  for (int i = 0; i < widthBytes; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

// A controller at a Unix socket: confirms a reset and knows nothing else.
class Controller {
 public:
  explicit Controller(const std::string& path) {
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener_, 4), 0);
  }
  ~Controller() {
    Forget();
    close(listener_);
  }
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;

  // What to poll; the agent's connection once it came.
  int File() const { return peer_ >= 0 ? peer_ : listener_; }
  bool IsConnected() const { return peer_ >= 0; }
  void Serve() {
    if (peer_ < 0) {
      peer_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      return;
    }
    char bytes[256];
    const ssize_t n = recv(peer_, bytes, sizeof bytes, MSG_DONTWAIT);
    if (n <= 0) return Forget();
    got_.append(bytes, static_cast<size_t>(n));
    const std::string reset("\x01\x03\x0C\x00", 4);
    const std::string done("\x04\x0E\x04\x01\x03\x0C\x00", 7);
    for (size_t at = got_.find(reset); at != std::string::npos; at = got_.find(reset)) {
      got_.erase(0, at + reset.size());
      EXPECT_EQ(send(peer_, done.data(), done.size(), MSG_NOSIGNAL),
                static_cast<ssize_t>(done.size()));
    }
  }
  void Forget() {
    if (peer_ >= 0) close(peer_);
    peer_ = -1;
    got_.clear();
  }

 private:
  int listener_ = -1;
  int peer_ = -1;
  std::string got_;
};

// The agent over standard input and output in a child process, and the host's side of it.
class Agent {
 public:
  // Its `nth` allocation fails. `controller` may be null.
  Agent(int nth, std::vector<std::string> arguments, Controller* controller)
      : host_(KIV_SIDE_AGENT), controller_(controller) {
    int pair[2];
    int errors[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    EXPECT_EQ(pipe2(errors, O_CLOEXEC), 0);
    pid_ = fork();
    if (pid_ == 0) Run(nth, arguments, pair[1], errors[1]);
    close(pair[1]);
    close(errors[1]);
    line_ = pair[0];
    errors_ = errors[0];
    kiv_hello hello{};
    hello.protocol_version = 1;
    Bytes body(KIV_HELLO_MAX_BYTES);
    body.resize(kiv_hello_write(&hello, KIV_SIDE_HOST, body.data()));
    Send(KIV_HELLO, 0, 0, body);
  }
  ~Agent() {
    if (pid_ > 0) End();
    close(line_);
    close(errors_);
  }
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  void Send(int kind, uint32_t id, uint16_t tag, const Bytes& body) {
    const Bytes frames = EncodeMessage(HeadOf(kind, id, tag, sequence_++), body);
    (void)send(line_, frames.data(), frames.size(), MSG_NOSIGNAL);
  }
  // Until the condition holds or the agent has gone; false after a long time.
  bool Wait(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!condition() && !gone_) {
      if (std::chrono::steady_clock::now() > end) return false;
      pollfd entries[] = {{line_, POLLIN, 0},
                          {controller_ != nullptr ? controller_->File() : -1, POLLIN, 0}};
      if (poll(entries, 2, 1000) <= 0) continue;
      if (entries[1].revents != 0) controller_->Serve();
      if (entries[0].revents != 0) Read();
    }
    return true;
  }
  bool Gone() const { return gone_; }
  bool Greeted() const { return !host_.messages.empty(); }
  const std::vector<Recorded>& Messages() const { return host_.messages; }
  // Closes the host's direction and answers the exit status; what it said is in Said().
  int End() {
    shutdown(line_, SHUT_WR);
    EXPECT_TRUE(Wait([] { return false; })) << "the agent does not end";
    if (!gone_) kill(pid_, SIGKILL);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) continue;
    pid_ = 0;
    char bytes[4096];
    for (ssize_t n = read(errors_, bytes, sizeof bytes); n > 0;
         n = read(errors_, bytes, sizeof bytes)) {
      said_.append(bytes, static_cast<size_t>(n));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  const std::string& Said() const { return said_; }

 private:
  [[noreturn]] static void Run(int nth, std::vector<std::string>& arguments, int line, int errors) {
    static kiv_options options;
    dup2(line, STDIN_FILENO);
    dup2(line, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    arguments.insert(arguments.begin(), {"kivagent", "--stdio"});
    std::vector<char*> words;
    for (std::string& word : arguments) words.push_back(word.data());
    words.push_back(nullptr);
    const int before = LiveAllocations();
    int ending = kReturned;
    {
      const FailingCall failing(FailingCall::Kind::kAllocation, nth);
      const int count = static_cast<int>(arguments.size());
      if (kiv_options_read(&options, count, words.data()) != KIV_WISH_RUN) _exit(100);
      if (kiv_program_run(&options) != 0) ending |= kStatus;
      if (failing.Happened()) ending |= kHappened;
    }
    if (LiveAllocations() != before) ending |= kLeaks;
    _exit(ending);
  }
  void Read() {
    Bytes bytes(65536);
    const ssize_t n = recv(line_, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
    bytes.resize(n > 0 ? static_cast<size_t>(n) : 0);
    gone_ = n <= 0;
    host_.Feed(bytes);
  }

  LineRecorder host_;
  Controller* controller_;
  pid_t pid_ = -1;
  int line_ = -1;
  int errors_ = -1;
  uint32_t sequence_ = 0;
  bool gone_ = false;
  std::string said_;
};

// A line of one channel and what its answer is when nothing fails.
struct Channel {
  const char* name;
  int kind;
  uint32_t id;
  std::vector<std::string> bodies;  // a line may come in pieces
  uint32_t answerId;
  std::string answer;
  // Whether the answers, one a message, are all there.
  std::function<bool(const std::vector<std::string>&)> isWhole;
};

std::string WithLength(const std::string& text) {
  return Number(static_cast<uint32_t>(text.size()), 4) + text;
}
std::string TestPacket(std::string name, const std::string& parameters) {
  name.resize(72, '\0');
  return name + WithLength(parameters);
}

std::string Joined(const std::vector<std::string>& answers) {
  std::string all;
  for (const std::string& answer : answers) all += answer;
  return all;
}
bool EndsWith(const std::vector<std::string>& answers, const std::string& end) {
  const std::string all = Joined(answers);
  return all.size() >= end.size() && all.compare(all.size() - end.size(), end.size(), end) == 0;
}

std::vector<Channel> Channels() {
  const auto line = [](const char* end) {
    return [=](const std::vector<std::string>& answers) { return EndsWith(answers, end); };
  };
  const auto mark = [](const std::vector<std::string>& answers) {
    return !answers.empty() && answers.back().empty();
  };
  const auto result = [](const std::vector<std::string>& answers) {
    return !answers.empty() && answers.back().rfind("result: ", 0) == 0;
  };
  return {
      {"AT", KIV_REQUEST, 0x500D, {WithLength("AT\r\n")}, 0xA011, "AT\r\r\nOK\r\n", line("OK\r\n")},
      {"shell", KIV_REQUEST, 0x500E, {WithLength("echo hello")}, 0xA012, "hello\n", mark},
      {"shell in pieces",
       KIV_REQUEST,
       0x500E,
       {WithLength("echo " + std::string(395, 'a')), WithLength(std::string(400, 'b')),
        WithLength("c")},
       0xA012,
       std::string(395, 'a') + std::string(400, 'b') + "c\n",
       mark},
      {"raw shell", KIV_RAW, 0, {"echo hello\r\n"}, 0xA012, "hello\n", mark},
      {"HCI",
       KIV_SDT,
       0x7E0C,
       {std::string("\x10\0\x14\0\0\0", 6) + "01 03 0c 00"},
       0x7E0C,
       "04 0e 04 01 03 0c 00\n",
       line("\n")},
      {"test case",
       KIV_REQUEST,
       0x500C,
       {TestPacket("cts_memory", Number(64, 4) + Number(1, 4))},
       0xA010,
       "pass 1 of 1, pattern 0x00: 64 bytes good"
       "pass 1 of 1, pattern 0xff: 64 bytes good"
       "pass 1 of 1, pattern 0x55: 64 bytes good"
       "pass 1 of 1, pattern 0xaa: 64 bytes good"
       "pass 1 of 1, pattern address: 64 bytes good"
       "result: pass",
       result},
  };
}

// A dead one may stay until whoever inherited it takes notice.
bool IsAlive(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string stat(std::istreambuf_iterator<char>(file), {});
  const size_t name = stat.rfind(") ");
  return name != std::string::npos && stat[name + 2] != 'Z' && stat[name + 2] != 'X';
}

class WithoutMemory : public testing::Test {
 protected:
  std::vector<std::string> Arguments() const {
    return {"--shell",           "full", "--hci", "unix:" + folder_.File("hci"), "--data",
            folder_.File("data")};
  }
  // What became of a line: its pieces that were taken and refused, and the answers.
  struct Outcome {
    size_t taken = 0;
    size_t refused = 0;
    std::vector<std::string> answers;

    bool IsGood(const Channel& channel) const {
      return refused == 0 && Joined(answers) == channel.answer;
    }
    // Refused, or an answer says that it was not to be.
    bool IsTold() const {
      const std::string all = Joined(answers);
      const auto says = [&](const char* text) { return all.find(text) != std::string::npos; };
      if (refused > 0) return taken == 0 ? all.empty() : says("a part of the line was refused");
      return says("memory") || says("no process");
    }
  };
  // Sends the line and waits for its end.
  static Outcome Line(Agent& agent, const Channel& channel) {
    size_t seen = agent.Messages().size();
    Outcome outcome;
    if (channel.kind != KIV_REQUEST) outcome.taken = channel.bodies.size();
    for (const std::string& body : channel.bodies) {
      agent.Send(channel.kind, channel.id, 7, BytesOf(body));
    }
    EXPECT_TRUE(agent.Wait([&] {
      for (; seen < agent.Messages().size(); ++seen) {
        const Recorded& message = agent.Messages()[seen];
        if (message.head.kind == KIV_IND) {
          if (message.head.id == channel.answerId) outcome.answers.push_back(TextOf(message.body));
        } else if (channel.kind != KIV_REQUEST) {
          outcome.taken = 0;  // a text or frame comes back only when it is refused
          outcome.refused = 1;
        } else {
          ++(message.head.result == 0 ? outcome.taken : outcome.refused);
        }
      }
      const bool isConfirmed = outcome.taken + outcome.refused == channel.bodies.size();
      return isConfirmed && (outcome.taken == 0 || channel.isWhole(outcome.answers));
    })) << "no end of the line: "
        << Joined(outcome.answers);
    return outcome;
  }
  // What the agent says when its process is over.
  static void CheckEnd(Agent& agent, bool early, int* ending) {
    *ending = agent.End();
    EXPECT_EQ(*ending & kReturned, +kReturned) << *ending << " " << agent.Said();
    EXPECT_EQ(*ending & kLeaks, 0) << agent.Said();
    EXPECT_TRUE(!early || agent.Said().find("memory") != std::string::npos) << agent.Said();
  }

  TempDir folder_;
};

TEST_F(WithoutMemory, ALineIsToldAndTheNextOneWorksWhicheverAllocationFails) {
  for (const Channel& channel : Channels()) {
    SweepReport report(std::string("agent without memory, ") + channel.name);
    int nth = 1;
    for (int ending = kHappened; (ending & kHappened) != 0 && !HasFailure(); ++nth) {
      SCOPED_TRACE(std::string(channel.name) + ", allocation " + std::to_string(nth));
      ASSERT_LT(nth, kMany);
      unlink(folder_.File("hci").c_str());
      Controller controller(folder_.File("hci"));
      Agent agent(nth, Arguments(), &controller);
      ASSERT_TRUE(agent.Wait([&] { return agent.Greeted() && controller.IsConnected(); }));
      int told = 0;
      for (int i = 0; i < 3 && !agent.Gone() && !HasFailure(); ++i) {
        const Outcome outcome = Line(agent, channel);
        if (agent.Gone() || outcome.IsGood(channel)) continue;
        EXPECT_TRUE(outcome.IsTold()) << outcome.refused << " " << Joined(outcome.answers);
        EXPECT_EQ(++told, 1) << "one failure costs one line";
      }
      CheckEnd(agent, agent.Gone(), &ending);
    }
    report.Write(nth - 2, HasFailure() ? "FAILED" : "all told, next line good, nothing left");
  }
}

TEST_F(WithoutMemory, ACommandIsEndedWithAllThatItStartedWhicheverAllocationFails) {
  // One process stays in the foreground, one left its session; both go with the host.
  const Channel line = {"shell",
                        KIV_REQUEST,
                        0x500E,
                        {WithLength("setsid sleep 1000 & echo $!; sleep 1000")},
                        0xA012,
                        "",
                        [](const std::vector<std::string>& answers) {
                          return EndsWith(answers, "\n") ||
                                 (!answers.empty() && answers.back().empty());
                        }};
  int nth = 1;
  for (int ending = kHappened; (ending & kHappened) != 0 && !HasFailure(); ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    ASSERT_LT(nth, kMany);
    Agent agent(nth, {"--shell", "full", "--data", folder_.File("data")}, nullptr);
    ASSERT_TRUE(agent.Wait([&] { return agent.Greeted(); }));
    pid_t left = 0;
    if (!agent.Gone()) {
      const Outcome outcome = Line(agent, line);
      if (!outcome.answers.empty()) left = std::atoi(outcome.answers.front().c_str());
    }
    CheckEnd(agent, agent.Gone(), &ending);
    if (left <= 0) continue;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (IsAlive(left) && std::chrono::steady_clock::now() < end) poll(nullptr, 0, 1);
    EXPECT_FALSE(IsAlive(left)) << "process " << left << " is left";
    kill(left, SIGKILL);
  }
}

}  // namespace
}  // namespace kivtest
