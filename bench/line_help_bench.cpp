// Completion and help while a line is typed, over 20,000 commands: the slowest of a hundred keys is
// what a person notices, so percentiles are counted, not means.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench/bench_rows.h"
#include "hosts/bench/command_index.h"
#include "hosts/bench/line_guide.h"
#include "platform/text/qc_string.h"

namespace {

constexpr std::size_t kCommands = 20000;
constexpr std::size_t kRows = 100;  // as many as a screen shows

// Of this thread alone: a percentile of wall time tells of what else the machine does.
double ProcessorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

const std::vector<CmdInfo>& Commands() {
  static const std::vector<CmdInfo> commands = [] {
    std::vector<CmdInfo> all;
    const QCString path = QCString::FromUtf8(KIV_LARGE_CATALOGUE);
    bench_rows::Require(hostbench::ReadCommands(path, all) == 0, "the catalogue is read");
    bench_rows::Require(all.size() >= kCommands, "it has enough commands");
    all.resize(kCommands);
    return all;
  }();
  return commands;
}

std::shared_ptr<const hostbench::CommandIndex> Index() {
  static const auto index = std::make_shared<const hostbench::CommandIndex>(Commands());
  return index;
}

// Words as they are typed: beginnings, middles, letters with gaps, slips, and what is not there.
std::vector<std::wstring> Words() {
  std::vector<std::wstring> words = {L"zz", L"q", L"memory of", L"xyzzy_plugh"};
  for (std::size_t i = 0; i < 1020; ++i) {
    const std::wstring name = Commands()[i * 7919 % kCommands].GetName();
    switch (i % 5) {
      case 0:
        words.push_back(name.substr(0, 1 + i % 9));
        break;
      case 1:
        words.push_back(name.substr(name.size() / 2));
        break;
      case 2:
        words.push_back({name[0], name[name.size() / 3], name[name.size() / 2]});
        break;
      case 3:
        words.push_back(name);
        std::swap(words.back()[2], words.back()[3]);
        break;
      default:
        words.push_back(Commands()[i].GetDescription().str().substr(0, 5));
        break;
    }
  }
  return words;
}

// Times each call by itself and reports the 99th percentile as the time of an iteration.
template <typename Call>
void Percentile(benchmark::State& state, Call call) {
  const std::vector<std::wstring> words = Words();
  for (auto _ : state) {
    std::vector<double> seconds;
    for (const std::wstring& word : words) {
      const double start = ProcessorSeconds();
      call(word);
      seconds.push_back(ProcessorSeconds() - start);
    }
    const auto rank = seconds.begin() + static_cast<std::ptrdiff_t>(seconds.size() * 99 / 100);
    std::nth_element(seconds.begin(), rank, seconds.end());
    state.SetIterationTime(*rank);
  }
}

void Complete(benchmark::State& state) {
  Percentile(state, [](const std::wstring& word) {
    benchmark::DoNotOptimize(Index()->Complete(word, kRows));
  });
}

void Nearest(benchmark::State& state) {
  Percentile(state,
             [](const std::wstring& word) { benchmark::DoNotOptimize(Index()->Nearest(word, 5)); });
}

void Find(benchmark::State& state) {
  Percentile(state, [](const std::wstring& word) {
    benchmark::DoNotOptimize(Index()->Find(word, kRows));
  });
}

// A key in the parameters of a command, each time another command.
void Help(benchmark::State& state) {
  hostbench::LineGuide guide(QCString::FromUtf8(KIV_LARGE_CATALOGUE), Index());
  std::size_t next = 0;
  Percentile(state, [&](const std::wstring&) {
    const std::wstring line =
        std::wstring(Commands()[next++ * 7919 % kCommands].GetName()) + L" {1,";
    benchmark::DoNotOptimize(guide.At(line, line.size(), kRows));
  });
}

// From the catalogue's commands to an index that can be asked.
void Build(benchmark::State& state) {
  Commands();
  for (auto _ : state) {
    const hostbench::CommandIndex index(Commands());
    benchmark::DoNotOptimize(&index);
  }
}

const bool kRegistered = [] {
  const auto add = [](const char* name, auto function) {
    return benchmark::RegisterBenchmark(name, function)->Unit(benchmark::kMicrosecond);
  };
  add("complete/large/ours", Complete)->UseManualTime()->Iterations(3);
  add("nearest/large/ours", Nearest)->UseManualTime()->Iterations(3);
  add("find/large/ours", Find)->UseManualTime()->Iterations(3);
  add("field_help/large/ours", Help)->UseManualTime()->Iterations(3);
  add("index_build/large/ours", Build);
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
