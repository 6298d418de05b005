#!/bin/bash
# Builds and tests: check.sh short|full|torture
#   short    one gcc build, all tests, sweeps at a tenth, libFuzzer briefly where clang is installed
#   full     also what clang's optimiser warns of, the address and undefined-behaviour sanitizers on
#            everything, the thread sanitizer on what has threads, a minute of libFuzzer for each
#            target; the sweeps whole
#   torture  the gcc build's tests with ten times the repetitions, and a table of what the sweeps
#            tried and found
#
# A stage that fails does not stop the others; the exit status is 1. The gcc build's tests come last,
# so that ctest's own summary is the last thing printed; their last one, check.stages, fails when a
# stage did and shows what that stage said, since of a long log only the end is read. When gcc's
# tests are themselves among what failed, it runs once more by itself behind them and shows all.
#
# Tests that failed beside others run a second time, alone, and what they say then holds
# (second_run); the row of the stage names them.
set -u
. "$(dirname "$0")/say.sh"

sweep=${1:-short}
case $sweep in
  short | full | torture) ;;
  *) say "usage: check.sh short|full|torture"; exit 2 ;;
esac

jobs=$(nproc)
rows=()
failed=()
stages=build/log/stages
rm -rf "$stages"
mkdir -p "$stages"

# A full run may take 55 minutes. What is begun by the first of these ends in time for the gcc tests;
# tests are cut off by the second, so that these have ten minutes left, and they by the third.
startLimitSeconds=2280
stagesEndSeconds=2670
endSeconds=3270

# stage NAME COMMAND...: runs the command and notes the seconds it took and how it ended. A stage
# whose time has come too late is not run and has failed. The command may set `remark` and `essence`:
# what its row says behind "ok", and what check.stages is to show of it.
stage() {
  local name=$1 start=$SECONDS result=ok log=$stages/${#rows[@]}.log remark="" essence=""
  shift
  say "== $name"
  if [ $SECONDS -gt $startLimitSeconds ]; then
    result="NO TIME LEFT"
  else
    # Not a pipe: a process that a test left behind could keep one open for ever.
    "$@" </dev/null > >(tee "$log" >&2) 2>&1 || result=FAILED
  fi
  note "$name" $((SECONDS - start)) "$result" && return
  if [ -z "$essence" ]; then
    # For the last lines of the log, unless something holds it open.
    for ((look = 0; look < 100; look++)); do
      kill -0 $! 2>/dev/null || break
      sleep 0.1
    done
    essence=$(grep -E '(: error:|: warning:|FAILED|ERROR: )' "$log" 2>/dev/null | tail -n 12)
    [ -n "$essence" ] || essence=$(tail -n 5 "$log" 2>/dev/null)
  fi
  printf '%s\n' "${rows[-1]}" "$essence" >"$stages/${#failed[@]}.failed"
  return 1
}

# note NAME SECONDS RESULT: the row of a stage; false when it failed.
note() {
  [ "$3" = ok ] || remark=""
  rows+=("$(printf '%-34s %5d s  %s' "$1" "$2" "$3$remark")")
  [ "$3" = ok ] && return
  failed+=("$1")
  return 1
}

table() {
  say "stages:"
  printf '  %s\n' "${rows[@]}" >&2
  if [ ${#failed[@]} != 0 ]; then
    say "FAILED:"
    printf '  %s\n' "${failed[@]}" >&2
  fi
}

# build PRESET [OPTION...]: configures and builds everything of a preset.
build() {
  configure "$@" && cmake --build --preset "$1"
}

configure() {
  local preset=$1
  shift
  quietly "build/log/configure-$preset.log" cmake --preset "$preset" -DKIV_TESTS=ON "$@"
}

build_threaded() {
  configure tsan $pch && cmake --build --preset tsan --target kiv_threaded_tests
}

# build_products PRESET [OPTION...]: libraries and programs alone, as they are shipped.
build_products() {
  configure "$@" -DKIV_TESTS=OFF && cmake --build --preset "$1"
}

# tests PRESET SWEEP [OPTION...]: runs its tests; one that finds no test at all has failed. Sets
# `remark` or `essence`.
tests() {
  local log=build/log/tests-$1.log reports=build/log/reports-$1 status
  rm -rf "$reports" "${log%.log}-first.log"
  mkdir -p "$reports"
  run_ctest "$@" -j "$jobs" --output-log "$log"
  status=$?
  [ $status = 0 ] && return
  cat "$reports"/* 2>/dev/null
  # What ctest ends with when tests failed; else it did not come to its end.
  if [ $status = 8 ]; then
    second_run "$1" "$2" && return
    essence=$(scripts/failed_tests.py show "$log" "$reports")
  else
    essence="ctest ended with $status (124: cut off)"
  fi
  return 1
}

# A test that fails among others and passes alone was put out of step by a busy machine, most likely;
# whoever reads its name in the table mends it. This must not make a fault go away that comes and
# goes by itself, which is how faults of memory and of threads come. So nothing runs a second time
# when a sanitizer had a report, when a signal ended a test or a program that it ran, or when more than
# a few failed. check.stages is left out: what it says stays as it is.
second_run() {
  local log=build/log/tests-$1.log names patterns
  names=$(scripts/failed_tests.py again "$log" "build/log/reports-$1") || return
  mapfile -t names < <(grep -vx 'check\.stages' <<<"$names")
  [ ${#names[@]} -gt 0 ] || return
  cp "$log" "${log%.log}-first.log"
  say "== a second time, alone: ${names[*]}"
  patterns=$(printf '%s\n' "${names[@]}" | sed 's/[][().*+?^$|\\]/\\&/g' | paste -sd '|')
  run_ctest "$1" "$2" -j 1 --output-log "$log" -R "^($patterns)\$" || return
  remark=", a second time alone: ${names[*]}"
}

# run_ctest PRESET SWEEP [OPTION...]: sanitizers write their reports into files, since the standard
# error of a program that a test runs is often not shown.
run_ctest() {
  local left=$((testsEndSeconds - SECONDS)) report=log_path=$PWD/build/log/reports-$1/report
  [ $left -gt $limitSeconds ] && left=$limitSeconds
  [ $left -gt 0 ] || { say "no time left"; return 1; }
  ASAN_OPTIONS=$ASAN_OPTIONS:$report UBSAN_OPTIONS=$UBSAN_OPTIONS:$report \
    TSAN_OPTIONS=$TSAN_OPTIONS:$report KIV_SWEEP=$2 \
    timeout --foreground --kill-after=10 "$left" ctest --preset "$1" --no-tests=error "${@:3}"
}

fuzz_all() {
  KIV_FUZZ_PRESET=$1 scripts/fuzz.sh "$2"
}

# sweep_table: the rows that the sweeps left (tests/support/sweep_report.h), parts of one sweep summed.
sweep_table() {
  say "what was tried, how often, how long, and what was found:"
  cat "$KIV_REPORT_DIR"/*.row | sed 's/, part [0-9]*\t/\t/' | sort | awk -F '\t' '
    function show() { if (what != "") printf "  %-40s %10d %9.1f s  %s\n", what, tried, seconds, found }
    $1 != what { show(); what = $1; tried = seconds = 0; found = $4 }
    { tried += $2; seconds += $3 }
    $4 ~ /FAILED/ { found = $4 }
    END { show() }' >&2
}

sanitizer_options() {
  export ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1
  export UBSAN_OPTIONS=print_stacktrace=1
  export TSAN_OPTIONS=second_deadlock_stack=1:suppressions=$PWD/tests/support/tsan.supp
}

# The last part of every sweep, and the status of the whole.
gcc_tests() {
  local start=$SECONDS remark="" essence="" result=ok
  say "== gcc tests (sweep: $sweep)"
  tests gcc "$sweep" </dev/null || result=FAILED
  if [ $result = ok ]; then
    [ ${#failed[@]} = 0 ] && return
  else
    # Alone among those that failed, check.stages has just shown all there is to show.
    [ "$(scripts/failed_tests.py names build/log/tests-gcc.log)" = check.stages ] && return 1
    note "gcc tests" $((SECONDS - start)) FAILED
    printf '%s\n' "${rows[-1]}" "$essence" >"$stages/${#failed[@]}.failed"
  fi
  run_ctest gcc "$sweep" -R '^check\.stages$' </dev/null
  return 1
}

limitSeconds=900
testsEndSeconds=$stagesEndSeconds
pch=-DKIV_TEST_PCH=ON
others='-E ^check\.stages$'
sanitizer_options
case $sweep in
  full) stage "packages" scripts/install-deps.sh run check full || { table; exit 1; } ;;
  *) stage "packages" scripts/install-deps.sh run check || { table; exit 1; } ;;
esac

scale=1
[ $sweep = torture ] && scale=10 limitSeconds=7200 startLimitSeconds=7200 endSeconds=14400
stage "gcc build" build gcc -DKIV_TIMEOUT_SCALE=$scale || { table; exit 1; }

if [ $sweep = full ]; then
  stage "clang build" build_products clang
  stage "address, undefined: build" build asan $pch && stage "address, undefined: tests" tests asan short $others
  threaded='^(service|link|channels|cts|settings|platform_devlink|live|svckiv)$'
  stage "thread: build" build_threaded && stage "thread: tests" tests tsan short -L "$threaded"
  # On a machine that was slow so far the look is shorter, and its row says so.
  fuzzSeconds=60
  [ $SECONDS -gt $startLimitSeconds ] && fuzzSeconds=25 startLimitSeconds=2390
  stage "libFuzzer, $fuzzSeconds s a target" fuzz_all asan $fuzzSeconds
elif [ $sweep = short ] && command -v clang++ >/dev/null; then
  stage "libFuzzer, 5 s a target" fuzz_all fuzz 5
fi

table
export KIV_REPORT_DIR=$PWD/build/log/sweeps
rm -rf "$KIV_REPORT_DIR"
mkdir -p "$KIV_REPORT_DIR"
testsEndSeconds=$endSeconds
export KIV_STAGES=1
gcc_tests
status=$?
[ $sweep = torture ] && sweep_table
exit $status
