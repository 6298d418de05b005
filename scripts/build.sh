#!/bin/bash
# Builds with gcc: build.sh GROUP TARGET...   (GROUP of install-deps.sh; all output to stderr)
set -eu
. "$(dirname "$0")/say.sh"

group=$1
shift
if [ "$group" = run ]; then
  scripts/install-deps.sh run
  tests=AUTO
else
  scripts/install-deps.sh run "$group"
  tests=ON
fi
say "configuring build/gcc"
quietly build/log/configure-gcc.log cmake --preset gcc -DKIV_TESTS=$tests -DKIV_TIMEOUT_SCALE=1
say "building $*"
cmake --build --preset gcc --target "$@" </dev/null >&2
