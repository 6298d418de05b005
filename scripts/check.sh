#!/bin/bash
# Builds and tests: check.sh short|full|torture
#   short    one gcc build, all tests, sweeps at a tenth, libFuzzer briefly where clang is installed
#   full     also clang, the address and undefined-behaviour sanitizers on everything, the thread
#            sanitizer on what has threads, a minute of libFuzzer for each target; the sweeps whole
#   torture  the gcc build's tests with ten times the repetitions, and a table of what the sweeps
#            tried and found
#
# A stage that fails does not stop the others; the exit status is 1. The gcc build's tests come last,
# so that ctest's own summary is the last thing printed; their last one, check.stages, fails when a
# stage did and shows what that stage said, since of a long log only the end is read.
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

# The gcc tests, which come last, must still fit into the 55 minutes that a full run may take.
startLimitSeconds=2520

# stage NAME COMMAND...: runs the command and notes the seconds it took and how it ended. A stage
# whose time has come too late is not run and has failed.
stage() {
  local name=$1 start=$SECONDS result=ok log=$stages/${#rows[@]}.log
  shift
  say "== $name"
  if [ $SECONDS -gt $startLimitSeconds ]; then
    result="NO TIME LEFT"
  else
    # Not a pipe: a process that a test left behind could keep one open for ever.
    "$@" </dev/null > >(tee "$log" >&2) 2>&1 || result=FAILED
  fi
  rows+=("$(printf '%-34s %5d s  %s' "$name" $((SECONDS - start)) "$result")")
  [ "$result" = ok ] && return
  failed+=("$name")
  sleep 1 # for the last lines of the log
  {
    printf '%s\n' "${rows[-1]}"
    grep -E '^[[:space:]]+[0-9]+ - .* \(|(: error:|: warning:|FAILED)' "$log" 2>/dev/null | tail -n 12
  } >"$stages/${#failed[@]}.failed"
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

# tests PRESET SWEEP [OPTION...]: runs its tests; one that finds no test at all has failed.
tests() {
  local preset=$1
  KIV_SWEEP=$2 timeout --foreground --kill-after=10 "$limitSeconds" \
    ctest --preset "$preset" -j "$jobs" --no-tests=error "${@:3}"
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

limitSeconds=900
pch=-DKIV_TEST_PCH=ON
others='-E ^check\.stages$'
sanitizer_options
case $sweep in
  full) stage "packages" scripts/install-deps.sh run check full || { table; exit 1; } ;;
  *) stage "packages" scripts/install-deps.sh run check || { table; exit 1; } ;;
esac

scale=1
[ $sweep = torture ] && scale=10 limitSeconds=7200 startLimitSeconds=7200
stage "gcc build" build gcc -DKIV_TIMEOUT_SCALE=$scale || { table; exit 1; }

if [ $sweep = full ]; then
  stage "clang build" build clang $pch && stage "clang tests" tests clang short $others
  stage "address, undefined: build" build asan $pch && stage "address, undefined: tests" tests asan short $others
  threaded='^(service|link|channels|cts|settings|platform_devlink|live|svckiv)$'
  stage "thread: build" build_threaded && stage "thread: tests" tests tsan short -L "$threaded"
  stage "libFuzzer, 60 s a target" fuzz_all asan 60
elif [ $sweep = short ] && command -v clang++ >/dev/null; then
  stage "libFuzzer, 5 s a target" fuzz_all fuzz 5
fi

table
export KIV_REPORT_DIR=$PWD/build/log/sweeps
rm -rf "$KIV_REPORT_DIR"
mkdir -p "$KIV_REPORT_DIR"
say "== gcc tests (sweep: $sweep)"
KIV_STAGES=1 tests gcc "$sweep" </dev/null
status=$?
[ $sweep = torture ] && sweep_table
[ ${#failed[@]} = 0 ] && [ $status = 0 ]
