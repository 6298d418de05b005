#!/bin/bash
# Builds the benches optimised and runs each on one processor: loopback is several times slower
# across processors than within one, which would hide what is measured.
set -eu
. "$(dirname "$0")/say.sh"

scripts/install-deps.sh run bench
say "building the benches"
quietly build/log/configure-bench.log cmake --preset bench
cmake --build --preset bench </dev/null >&2
found=0
for bench in build/bench/bin/*_bench; do
  [ -x "$bench" ] || continue
  found=1
  say "$(basename "$bench")"
  taskset -c 0 "$bench" --benchmark_counters_tabular=true
done
[ $found = 1 ] || { say "no benches"; exit 1; }
