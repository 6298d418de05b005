// How long somebody waits for the first prompt: kiv is started on a pseudo-terminal with a
// catalogue of 100,000 commands, and the time ends when the prompt is there to be typed at.
#include <benchmark/benchmark.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>

#include "bench/bench_rows.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kPrompt[] = "kiv> ";
constexpr std::size_t kStarts = 20;
constexpr int kDeadlineMs = 60'000;

// A configuration of its own, so that the settings are those of a first run.
class ScratchHome {
 public:
  ScratchHome() {
    std::string pattern = std::filesystem::temp_directory_path() / "kiv-XXXXXX";
    bench_rows::Require(::mkdtemp(pattern.data()) != nullptr, "a folder");
    path_ = pattern;
  }
  ~ScratchHome() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

[[noreturn]] void RunKiv(const std::string& home) {
  ::setenv("TERM", "xterm-256color", 1);
  ::setenv("INPUTRC", "/dev/null", 1);
  ::setenv("KIV_CONFIG_DIR", (home + "/config").c_str(), 1);
  ::setenv("KIV_DATA_DIR", (home + "/data").c_str(), 1);
  const std::string link = "unix:" + home + "/nobody";
  ::execl(KIV_PROGRAM, "kiv", "--color", "never", "--link", link.c_str(), "--catalogue",
          KIV_LARGE_CATALOGUE, static_cast<char*>(nullptr));
  _exit(127);
}

double SecondsToPrompt(const std::string& home) {
  const auto begin = Clock::now();
  int master = -1;
  const pid_t child = ::forkpty(&master, nullptr, nullptr, nullptr);
  if (child == 0) RunKiv(home);
  bench_rows::Require(child > 0, "a pseudo-terminal");
  std::string shown;
  while (shown.find(kPrompt) == std::string::npos) {
    pollfd waits = {master, POLLIN, 0};
    bench_rows::Require(::poll(&waits, 1, kDeadlineMs) > 0, "a prompt");
    char bytes[4096];
    const ssize_t count = ::read(master, bytes, sizeof bytes);
    bench_rows::Require(count > 0, "the console lives");
    shown.append(bytes, static_cast<std::size_t>(count));
  }
  const std::chrono::duration<double> passed = Clock::now() - begin;
  ::kill(child, SIGTERM);
  ::close(master);
  ::waitpid(child, nullptr, 0);
  return passed.count();
}

// The slowest of some starts.
void FirstPrompt(benchmark::State& state) {
  const ScratchHome home;
  for (auto _ : state) {
    double slowest = 0;
    for (std::size_t i = 0; i < kStarts; ++i) {
      slowest = std::max(slowest, SecondsToPrompt(home.Path()));
    }
    state.SetIterationTime(slowest);
  }
}

const bool kRegistered = [] {
  bench_rows::Register("first_prompt", bench_shapes::Shape::kLarge, bench_rows::kOurs, FirstPrompt)
      ->UseManualTime()
      ->Iterations(1);
  return true;
}();

}  // namespace
