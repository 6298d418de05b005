// Lines on their way to a terminal, and a key that is typed meanwhile: queue, display and line
// editor in a process of their own on a pseudo-terminal, as in the console; this process is the
// terminal. 50,000 lines a second come in; the key is there when the line under edit shows it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_rows.h"
#include "hosts/terminal/display.h"
#include "hosts/terminal/editing_screen.h"
#include "hosts/terminal/event_pump.h"
#include "hosts/terminal/line_editor.h"
#include "hosts/terminal/stop_requests.h"
#include "hosts/terminal/view_queue.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::size_t kLines = 50'000;
constexpr std::size_t kLinesEach = 50;  // what comes at once
constexpr auto kEach = 1ms;
constexpr auto kBetweenKeys = 10ms;
constexpr std::size_t kKeysInLine = 30;
constexpr char kLast[] = "the last line";

// As an indication of three fields; each is three lines.
kiv::ViewEvent Indication(std::size_t number) {
  kiv::ViewEvent event;
  event.shown = kiv::ShownKind::kIndication;
  event.text = ".sequence       = " + std::to_string(number) +
               " \n.uptime_seconds = 123456 \n.state          = running \n";
  event.arrivedAt = std::chrono::system_clock::now();
  return event;
}

// The producer: a pace, or as fast as the queue takes them.
void Produce(kiv::ViewQueue& queue, bool isPaced) {
  auto next = Clock::now() + 200ms;  // the first prompt is there
  std::this_thread::sleep_until(next);
  for (std::size_t line = 0; line < kLines;) {
    for (std::size_t end = line + kLinesEach; line < end; line += 3) {
      queue.PushWaiting(Indication(line));
    }
    next += kEach;
    if (isPaced) std::this_thread::sleep_until(next);
  }
  kiv::ViewEvent last;
  last.text = kLast;
  queue.PushWaiting(std::move(last));
}

// The console's side; ends when its terminal is gone.
[[noreturn]] void RunConsole(bool isPaced) {
  setenv("TERM", "xterm-256color", 1);
  setenv("INPUTRC", "/dev/null", 1);
  os::ConsoleEvents events;
  kiv::StopRequests stops(events);
  kiv::EditingScreen screen(stops, kiv::MakeLineEditor(), true);
  events.WatchTerminal();
  kiv::Display display(screen);
  display.SetColours(kiv::ColourDepth::kTrue, {256, true, true, true});
  kiv::ViewQueue queue([&events] { events.Wake(); });
  kiv::EventPump pump(queue, stops, display, screen, true);
  std::thread producer([&queue, isPaced] { Produce(queue, isPaced); });
  kiv::LineSource::Line line;
  while (!screen.HasInputEnded() && !screen.IsOutputGone() && !stops.IsAny()) {
    display.ShowPrompt();
    os::ConsoleEvents::Ready ready;
    pump.Wait(std::nullopt, true, &ready);
    if (!ready.input) continue;
    if (screen.HasTyped()) display.ShowPrompt();
    screen.NextLine(line);
  }
  _exit(0);
}

// The terminal's side.
class Terminal {
 public:
  explicit Terminal(bool isPaced) {
    winsize size = {40, 120, 0, 0};
    child_ = ::forkpty(&master_, nullptr, nullptr, &size);
    if (child_ == 0) RunConsole(isPaced);
    bench_rows::Require(child_ > 0, "a pseudo-terminal");
  }
  ~Terminal() {
    ::close(master_);
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }

  // Reads until everything was shown, typing meanwhile.
  void Run() {
    Clock::time_point begin{};
    while (lines_ < kLines) {
      Read();
      if (lines_ == 0) begin = Clock::now();
      if (lines_ > 0) Type();
    }
    seconds_ = std::chrono::duration<double>(Clock::now() - begin).count();
  }
  double Seconds() const { return seconds_; }
  const std::vector<double>& Echoes() const { return echoes_; }

 private:
  void Read() {
    pollfd waits = {master_, POLLIN, 0};
    if (::poll(&waits, 1, 1) <= 0) return;
    char bytes[65536];
    const ssize_t count = ::read(master_, bytes, sizeof bytes);
    bench_rows::Require(count > 0, "the console lives");
    const std::string_view read(bytes, static_cast<std::size_t>(count));
    lines_ += static_cast<std::size_t>(std::count(read.begin(), read.end(), '\n'));
    if (typed_.empty() || isEchoed_) return;
    tail_ += read;
    if (tail_.find("kiv> " + typed_) != std::string::npos || tail_.ends_with(typed_.back())) {
      isEchoed_ = true;
      echoes_.push_back(std::chrono::duration<double>(Clock::now() - typedAt_).count());
    } else if (tail_.size() > 256) {
      tail_.erase(0, tail_.size() - 256);
    }
  }

  void Type() {
    const auto now = Clock::now();
    if (!isEchoed_ || now - typedAt_ < kBetweenKeys) return;
    isEchoed_ = false;
    typedAt_ = now;
    tail_.clear();
    const bool isFull = typed_.size() == kKeysInLine;
    if (isFull) typed_.clear();
    typed_ += static_cast<char>('A' + typed_.size() % 26);
    // Ctrl-U drops the line.
    const std::string keys = (isFull ? "\x15" : "") + std::string(1, typed_.back());
    bench_rows::Require(::write(master_, keys.data(), keys.size()) > 0, "keys are taken");
  }

  pid_t child_ = -1;
  int master_ = -1;
  std::size_t lines_ = 0;
  double seconds_ = 0;
  std::string typed_;
  std::string tail_;
  bool isEchoed_ = true;
  Clock::time_point typedAt_{};
  std::vector<double> echoes_;
};

double PercentileOf(std::vector<double> values, std::size_t percent) {
  if (values.empty()) return 0;
  const auto rank =
      values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) * percent / 100);
  std::nth_element(values.begin(), rank, values.end());
  return *rank;
}

// The time is that of a key: the 99th percentile while the lines come.
void Echo(benchmark::State& state) {
  for (auto _ : state) {
    Terminal terminal(true);
    terminal.Run();
    state.SetIterationTime(PercentileOf(terminal.Echoes(), 99));
    state.counters["lines_a_second"] = kLines / terminal.Seconds();
    state.counters["echo_p50_ms"] = PercentileOf(terminal.Echoes(), 50) * 1000;
    state.counters["echo_max_ms"] = PercentileOf(terminal.Echoes(), 100) * 1000;
    state.counters["keys"] = static_cast<double>(terminal.Echoes().size());
  }
}

// The time is that of a line, where nobody waits for a pace.
void Line(benchmark::State& state) {
  for (auto _ : state) {
    Terminal terminal(false);
    terminal.Run();
    state.SetIterationTime(terminal.Seconds() / kLines);
    state.counters["lines_a_second"] = kLines / terminal.Seconds();
    state.counters["echo_p99_ms"] = PercentileOf(terminal.Echoes(), 99) * 1000;
  }
}

const bool kRegistered = [] {
  const auto add = [](const char* name, auto function) {
    benchmark::RegisterBenchmark(name, function)
        ->Unit(benchmark::kMicrosecond)
        ->UseManualTime()
        ->Iterations(3);
  };
  add("key_echo/large/ours", Echo);
  add("shown_line/large/ours", Line);
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
