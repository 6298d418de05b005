// A catalogue of 100,000 commands until a console can use it: opened, checked, listed, indexed by
// name. The limit is SQLite stepping the same rows of the same file and doing nothing with them.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/bench_rows.h"
#include "bench/bench_shapes.h"
#include "command/cmd_ctrl.h"
#include "svckiv/morvi_cmd_list.h"

namespace {

constexpr std::size_t kCommands = 100000;

std::size_t HeapBytes() {
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

// A controller with its list of commands, as the application object makes it.
class Controller {
 public:
  Controller() {
    context_.switches = &switches_;
    controller_ = std::make_unique<CmdCtrl>(
        CmdCtrlParts{.context = context_,
                     .channels = {},
                     .cataloguePath = QCString::FromUtf8(bench_shapes::LargeCataloguePath())});
    controller_->Initial();
  }
  SvcKivSpace::MorviCmdList& List() const { return *controller_->GetMorviCmdList(); }

 private:
  SvcKivClass::LiveSwitches switches_;
  SvcKivClass::ServiceContext context_;
  std::unique_ptr<CmdCtrl> controller_;
};

// Opened anew each time: nobody else holds the catalogue, so the registry has forgotten it.
void UsableOurs(benchmark::State& state) {
  std::size_t heapBytes = 0;
  for (auto _ : state) {
    const std::size_t before = HeapBytes();
    const Controller controller;
    state.PauseTiming();
    heapBytes = HeapBytes() - before;
    bench_rows::Require(controller.List().Commands().GetCount() >= kCommands / 2,
                        "it has its commands");
    state.ResumeTiming();
  }
  state.counters["bytes"] = static_cast<double>(heapBytes);
}

// Every column that a list of commands needs, read once.
void UsableLimit(benchmark::State& state) {
  const std::string path = bench_shapes::LargeCataloguePath();
  for (auto _ : state) {
    sqlite3* file = nullptr;
    sqlite3_stmt* rows = nullptr;
    bench_rows::Require(
        sqlite3_open_v2(path.c_str(), &file, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) ==
                SQLITE_OK &&
            sqlite3_prepare_v2(file,
                               "SELECT position, id, name, text, in_group, flags FROM command", -1,
                               &rows, nullptr) == SQLITE_OK,
        "SQLite opens it");
    std::size_t count = 0;
    std::int64_t sum = 0;
    while (sqlite3_step(rows) == SQLITE_ROW) {
      ++count;
      for (const int column : {0, 1, 5}) sum += sqlite3_column_int64(rows, column);
      for (const int column : {2, 3, 4}) {
        benchmark::DoNotOptimize(sqlite3_column_text(rows, column));
        sum += sqlite3_column_bytes(rows, column);
      }
    }
    benchmark::DoNotOptimize(sum);
    bench_rows::Require(count == kCommands, "SQLite steps all rows");
    sqlite3_finalize(rows);
    sqlite3_close(file);
  }
}

// Names in no order that a cache could guess.
void FindOurs(benchmark::State& state) {
  const Controller controller;
  const SvcKivSpace::MorviCmdList& commands = controller.List();
  std::vector<std::wstring> names;
  const std::size_t count = commands.Commands().GetCount();
  for (std::size_t i = 0; i < 1024; ++i) {
    names.emplace_back(commands.Commands()[i * 7919 % count].GetName());
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(commands.Find(names[next++ % names.size()]));
  }
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("catalogue_usable/large/ours", UsableOurs)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("catalogue_usable/large/limit", UsableLimit)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("catalogue_find/large/ours", FindOurs);
  return true;
}();

}  // namespace
