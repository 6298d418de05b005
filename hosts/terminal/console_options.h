// ConsoleOptions: the command line of `kiv`, read and checked.
//
// Threads: the main thread, before anything else is started.
#pragma once

#include <QStringList>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/terminal/colour_choice.h"
#include "platform/base/bench_setup.h"

namespace kiv {

// What a process ends with. Scripts rely on the numbers.
enum ExitStatus : int {
  kDone = 0,
  kCommandFailed = 1,
  kWrongUsage = 2,
  kNoAnswer = 3,
  kNotConnected = 4,
  kInterrupted = 130,
};

// What the command line says; unset fields are looked up elsewhere.
struct ConsoleOptions {
  bench::Setup setup;
  std::vector<std::string> lines;       // -c, in order
  std::optional<std::string> file;      // -f
  std::optional<std::uint32_t> waitMs;  // unset: what the settings say
  std::uint32_t settleMs = 300;         // silence that ends an answer without an end mark
  bool verbose = false;                 // show what a batch's loads are confirmed with
  bool verify = false;                  // compare what was loaded
  bool debug = false;
  ColourChoice colour = ColourChoice::kAuto;

  bool HasScript() const { return !lines.empty() || file.has_value(); }
};

// Reads the arguments (the program's name first). When the process is to end at once, for --help,
// --version or wrong usage, answers the status and fills `output`, which belongs on standard output
// for status 0 and on standard error for any other.
std::optional<int> ReadOptions(const QStringList& arguments, ConsoleOptions& options,
                               std::string& output);

}  // namespace kiv
