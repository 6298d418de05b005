#!/bin/bash
# Formatting, and clang-tidy over what the clang build compiles: lint.sh [--format]
set -eu
. "$(dirname "$0")/say.sh"

scripts/install-deps.sh run full
mapfile -t sources < <(find bench catalogues channels command cts device fuzz hosts include link \
  params platform service settings tests tools -name '*.cpp' -o -name '*.c' -o -name '*.h' | sort)
if [ "${1:-}" = --format ]; then
  clang-format -i "${sources[@]}"
  exit 0
fi
say "formatting of ${#sources[@]} files"
clang-format --dry-run -Werror "${sources[@]}"
quietly build/log/configure-clang.log cmake --preset clang -DKIV_TESTS=ON
cmake --build --preset clang --target kiv_share board_header </dev/null >&2
mapfile -t units < <(printf '%s\n' "${sources[@]}" | grep -E '\.(cpp|c)$' | grep -vE '^(tests|bench)/')
say "clang-tidy over ${#units[@]} files"
printf '%s\n' "${units[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/clang
