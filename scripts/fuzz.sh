#!/bin/bash
# Runs the fuzz targets with libFuzzer, side by side: fuzz.sh SECONDS [TARGET...]
# KIV_FUZZ_PRESET names another build that has them (asan).
#
# Each starts from its kept corpus, fuzz/corpus/NAME. New inputs go to build/fuzz/found/NAME and a
# crash to build/fuzz/crash/NAME-*; minimise a crash and keep it in the corpus with its fix.
set -u
. "$(dirname "$0")/say.sh"

seconds=$1
shift
preset=${KIV_FUZZ_PRESET:-fuzz}
say "building the fuzz targets"
quietly "build/log/configure-$preset.log" cmake --preset "$preset" || exit 1
cmake --build --preset "$preset" --target kiv_fuzz_targets </dev/null >&2 || exit 1

names=("$@")
if [ ${#names[@]} = 0 ]; then
  for source in fuzz/*_fuzz.cpp; do
    [ -e "$source" ] && names+=("$(basename "$source" _fuzz.cpp)")
  done
fi
[ ${#names[@]} -gt 0 ] || { say "no fuzz targets"; exit 1; }
mkdir -p build/fuzz/crash build/log

run_one() {
  local name=$1 seconds=$2 log=build/log/fuzz-$1.log
  local options=()
  mkdir -p "build/fuzz/found/$name"
  [ -e "fuzz/corpus/$name.dict" ] && options+=("-dict=fuzz/corpus/$name.dict")
  if timeout --kill-after=10 $((seconds + 120)) "build/$preset/bin/${name}_fuzz" \
    -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="build/fuzz/crash/$name-" "${options[@]}" \
    "build/fuzz/found/$name" "fuzz/corpus/$name" </dev/null >"$log" 2>&1; then
    printf '  %-24s ok, %s runs\n' "$name" \
      "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" >&2
  else
    printf '  %-24s FAILED, see %s\n' "$name" "$log" >&2
    tail -n 40 "$log" >&2
    return 1
  fi
}
export -f run_one
export preset

say "${#names[@]} targets, $seconds s each"
printf '%s\n' "${names[@]}" | xargs -P "$(nproc)" -I{} bash -c 'run_one "$1" "$2"' _ {} "$seconds"
