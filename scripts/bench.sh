#!/bin/bash
# Builds the benches optimised, runs each on one processor and ends with the table of ratios.
# Loopback is several times slower across processors than within one, which would hide what is
# measured. Repetitions are mixed, so that a machine that is busy for a while is so for all sides.
#   bench.sh [REPETITIONS]
set -eu
. "$(dirname "$0")/say.sh"

repetitions=${1:-9}
scripts/install-deps.sh run bench
say "building the benches"
quietly build/log/configure-bench.log cmake --preset bench
cmake --build --preset bench </dev/null >&2
figures=build/bench/figures
rm -rf $figures && mkdir -p $figures
for bench in build/bench/bin/*_bench; do
  [ -x "$bench" ] || { say "no benches"; exit 1; }
  name=$(basename "$bench")
  say "$name"
  taskset -c "${KIV_BENCH_CPU:-0}" "$bench" --benchmark_repetitions="$repetitions" \
    --benchmark_enable_random_interleaving=true --benchmark_min_time=0.05 \
    --benchmark_out=$figures/"$name".json --benchmark_out_format=json >build/log/"$name".log
done
/usr/bin/python3 bench/ratio_table.py $figures/*.json
