// LineTiming: how long the lines of this run took, from the line's end to the last byte of its
// answer on the terminal, in steps:
//
//   posted      from the typed line to the request at the link
//   first byte  to the read that brought the confirmation, or its first part
//   decoded     to the module having made its text of it
//   shown       to the text being written
//   total       from typed to shown
//
// The last kKept lines are kept; the quantiles are of all lines since the start, in memory that
// does not grow (latency_histogram.h). A line that posts nothing is not counted.
//
// Threads: the main thread. The times are given, nothing here looks at a clock. Errors: none.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>

#include "hosts/bench/latency_histogram.h"
#include "hosts/terminal/line_runner.h"

namespace kiv {

class LineTiming {
 public:
  static constexpr std::size_t kKept = 1000;

  void Add(const FinishedLine& line);
  // The last `lines` with their steps, the latest last, and the quantiles. Empty before the first.
  std::string Text(std::size_t lines) const;

 private:
  using Duration = std::chrono::nanoseconds;
  enum Step : std::size_t { kPosted, kFirstByte, kDecoded, kShown, kTotal, kStepCount };
  // Unset: the line had no such moment.
  using Steps = std::array<std::optional<Duration>, kStepCount>;
  struct Kept {
    std::string line;  // fit for showing, cut
    Steps steps;
  };

  static Steps StepsOf(const FinishedLine& line);

  std::deque<Kept> kept_;
  std::array<hostbench::LatencyHistogram, kStepCount> all_;
};

// "123 ns", "45.6 us", "7.89 ms", "12.3 s": three digits, the unit behind them.
std::string DurationText(std::chrono::nanoseconds duration);

}  // namespace kiv
