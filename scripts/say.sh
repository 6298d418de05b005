# Sourced by the scripts: messages go to standard error, standard output belongs to the program.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

say() {
  printf '%s: %s\n' "$(basename "$0" .sh)" "$*" >&2
}

# Runs a command with its output kept in a file; shows the file only when the command fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if ! "$@" </dev/null >"$log" 2>&1; then
    say "failed: $*"
    tail -n 60 "$log" >&2
    return 1
  fi
}
