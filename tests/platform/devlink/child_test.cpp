// exec: endpoints: how a child is found, started, heard and ended.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "platform/devlink/child_process_posix.h"
#include "tests/platform/devlink/device_child.h"
#include "tests/platform/devlink/link_fixture.h"
#include "tests/support/scoped_env.h"

namespace linktest {
namespace {

using devlink::Milliseconds;
using testing::ElementsAre;

// A killed grandchild is reaped by whoever the system makes its parent: gone, or ended and not
// reaped.
bool Runs(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string number, program, state;
  return stat >> number >> program >> state && state != "Z";
}

class Child : public LinkTest {
 protected:
  void StartRole(const std::string& role) { StartAt(ChildEndpoint(role)); }
  // A script that this directory has under the name.
  std::string Script(const std::string& name, const std::string& text) {
    const std::string path = Path(name);
    std::ofstream(path) << "#!/bin/sh\n" << text;
    ::chmod(path.c_str(), 0755);
    return path;
  }
  std::string Text(std::size_t packet) {
    const Bytes body = record_.With([&] { return record_.packets.at(packet).body; });
    return {body.begin(), body.end()};
  }
  // The process that a script wrote into `name`, once it has.
  pid_t PidIn(const std::string& name) {
    for (;;) {
      std::ifstream file(Path(name));
      if (pid_t pid = 0; file >> pid && file.get() == '\n') return pid;
      ::usleep(1000);
    }
  }
};

TEST_F(Child, AnswersOverItsPipes) {
  StartRole("echo");
  ASSERT_TRUE(record_.WaitForState("connected"));
  for (const std::size_t size : {0u, 6u, 1000u, 65'500u}) {
    const Bytes body = Noise(size);
    EXPECT_EQ(Post(5, body, 1), 0u);
    ASSERT_TRUE(record_.Wait(
        [&] { return !record_.packets.empty() && record_.packets.back().body == body; }));
  }
}

TEST_F(Child, GetsItsArgumentsAsTyped) {
  StartRole("arguments 'a b' \"c\\\"d\" e\\ f '' $HOME *");
  ASSERT_TRUE(record_.WaitForPackets(6));
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < 6; ++i) texts.push_back(Text(i));
  EXPECT_THAT(texts, ElementsAre("a b", "c\"d", "e f", "", "$HOME", "*"));
}

TEST_F(Child, LeadsASessionOfItsOwn) {
  StartRole("session");
  ASSERT_TRUE(record_.WaitForPackets(1));
  EXPECT_EQ(Text(0), "1");
}

TEST_F(Child, ItsStandardErrorBecomesNotices) {
  const std::string noisy = Script(
      "noisy", "printf 'first\\nsecond\\r\\n\\nwith \\033[31m colour\\nno end' >&2\nexit 2\n");
  StartAt("exec:'" + noisy + "'");
  ASSERT_TRUE(record_.Wait([&] { return record_.notices.size() >= 5; }));
  const auto notices = record_.With([&] { return record_.notices; });
  EXPECT_THAT(std::vector<std::string>(notices.begin(), notices.begin() + 5),
              ElementsAre("first", "second", "", "with \033[31m colour", "no end"));
}

TEST_F(Child, ALongLineOfItsStandardErrorComesInPieces) {
  const std::string noisy =
      Script("noisy", "head -c 10000 /dev/zero | tr '\\0' x >&2\nexec sleep 100\n");
  StartAt("exec:'" + noisy + "'");
  ASSERT_TRUE(record_.Wait([&] { return record_.notices.size() >= 2; }));
  EXPECT_EQ(record_.With([&] { return record_.notices; }),
            (std::vector<std::string>{std::string(4096, 'x'), std::string(4096, 'x')}));
}

TEST_F(Child, ItsExitStatusIsTold) {
  StartRole("broken");
  EXPECT_TRUE(record_.WaitForState("disconnected: \"" +
                                   std::filesystem::read_symlink("/proc/self/exe").string() +
                                   "\" ended with status 3 before the greeting was answered"));
  Stop();
  StartRole("fail");
  EXPECT_TRUE(record_.WaitForState("disconnected: \"" +
                                   std::filesystem::read_symlink("/proc/self/exe").string() +
                                   "\" ended with status 7"));
}

TEST_F(Child, ItsKillingIsToldAndAnotherOneIsStarted) {
  const std::string agent = Script(
      "agent", "echo $$ > '" + Path("pid") + "'\nexec " + ChildEndpoint("echo").substr(5) + "\n");
  StartAt("exec:'" + agent + "'");
  ASSERT_TRUE(record_.WaitForState("connected"));
  ::kill(PidIn("pid"), SIGKILL);
  ASSERT_TRUE(record_.Wait([&] { return record_.states.size() >= 4; }));
  EXPECT_THAT(record_.With([&] { return record_.states; }),
              ElementsAre("connecting", "connected",
                          "disconnected: \"" + agent + "\" was killed by signal 9", "connected"));
}

// A pipe whose other end is closed raises a signal that would end a host that does not expect it.
TEST_F(Child, APostToOneThatClosedItsInputAnswers3207AndTheHostLivesOn) {
  StartRole("shut");
  ASSERT_TRUE(record_.WaitForState("connected"));
  std::uint32_t status = 0;
  for (int i = 0; i < 20'000 && status == 0; ++i) {
    status = Post(1, {1}, 2);
    ::usleep(1000);
  }
  EXPECT_EQ(status, 3207u);
  ASSERT_TRUE(record_.Wait([&] { return record_.states.size() >= 3; }));
  EXPECT_THAT(States()[2], testing::HasSubstr("\" ended with status 0"));
}

TEST_F(Child, AMissingProgramIsTold) {
  StartAt("exec:no-such-program-here --stdio");
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: cannot start \"no-such-program-here\": there is no such program beside this "
      "one or in PATH"));
  Stop();
  StartAt("exec:/no/such/program");
  EXPECT_TRUE(record_.WaitForState(
      "disconnected: cannot start \"/no/such/program\": No such file or directory"));
}

TEST_F(Child, AnEndpointThatIsNoneIsToldOnceAndTheLinkCanBeStopped) {
  StartAt("exec:'kivagent");
  EXPECT_TRUE(record_.WaitForState("disconnected: link \"exec:'kivagent\": a ' is not closed"));
  EXPECT_EQ(Post(1, {}), 3207u);
  client_->StopConnect(256, 1, 8191);
  client_->Shutdown(200, 1);
  StartRole("echo");
  EXPECT_TRUE(record_.WaitForState("connected"));
}

TEST_F(Child, EndsByItselfWhenTheLinkStops) {
  const std::string agent =
      Script("agent", ChildEndpoint("echo").substr(5) + "\necho $? > '" + Path("status") + "'\n");
  StartAt("exec:'" + agent + "'");
  ASSERT_TRUE(record_.WaitForState("connected"));
  client_->StopConnect(256, 1, 8191);
  client_->Shutdown(20'000, 1);
  std::ifstream status(Path("status"));
  int value = -1;
  EXPECT_TRUE(status >> value);
  EXPECT_EQ(value, 0);
}

TEST_F(Child, IsKilledWhenItDoesNotEnd) {
  const std::string agent = Script(
      "agent", "echo $$ > '" + Path("pid") + "'\nexec " + ChildEndpoint("deaf").substr(5) + "\n");
  StartAt("exec:'" + agent + "'");
  ASSERT_TRUE(record_.WaitForState("connected"));
  const pid_t pid = PidIn("pid");
  const auto begin = std::chrono::steady_clock::now();
  client_->StopConnect(256, 1, 8191);
  client_->Shutdown(100, 1);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_EQ(::kill(pid, 0), -1);
  EXPECT_EQ(errno, ESRCH);
}

TEST_F(Child, LeavesNoProcessBehindWhenItIsLost) {
  timing_.probeAfter = Milliseconds(30);
  timing_.lostAfter = Milliseconds(90);
  timing_.childGrace = Milliseconds(30);
  timing_.firstPause = Milliseconds(60'000);
  timing_.longestPause = Milliseconds(60'000);
  const std::string agent =
      Script("agent", "echo $$ > '" + Path("pid") + "'\nsleep 1000 & echo $! > '" + Path("other") +
                          "'\nexec " + ChildEndpoint("deaf").substr(5) + "\n");
  StartAt("exec:'" + agent + "'");
  ASSERT_TRUE(record_.WaitForState("disconnected: the device has not answered for 0.09 s"));
  for (const char* name : {"pid", "other"}) {
    const pid_t pid = PidIn(name);
    while (Runs(pid)) ::usleep(1000);
  }
}

TEST(FindProgram, LooksBesideTheRunningProgramThenInPath) {
  const auto self = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(devlink::FindProgram(self.filename().string()), self.string());
  EXPECT_EQ(devlink::FindProgram("a/b"), "a/b");
  EXPECT_EQ(devlink::FindProgram("no-such-program-here"), "");
  const kivtest::ScopedEnv path("PATH", "/nowhere:/bin");
  EXPECT_EQ(devlink::FindProgram("sh"), "/bin/sh");
}

}  // namespace
}  // namespace linktest
