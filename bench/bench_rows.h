// How a bench names what it measures. The name is ROW/SHAPE/WHO; bench/ratio_table.py puts the rows
// of all benches beside each other by it.
//
// Threads: main's.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/bench_shapes.h"

namespace bench_rows {

// Whoever is measured in a row.
inline constexpr const char kOurs[] = "ours";
inline constexpr const char kLimit[] = "limit";
inline constexpr const char kPeer[] = "peer";

// Ends the program: figures of code that does something else are worth nothing.
inline void Require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "not the same work: %s\n", what.c_str());
  std::exit(3);
}

template <typename Function>
benchmark::internal::Benchmark* Register(const std::string& row, bench_shapes::Shape shape,
                                         const std::string& who, Function function) {
  const std::string name = row + "/" + bench_shapes::SampleOf(shape).name + "/" + who;
  return benchmark::RegisterBenchmark(name.c_str(), function);
}

}  // namespace bench_rows
