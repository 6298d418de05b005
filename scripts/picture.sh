#!/bin/bash
# Takes the picture of the README: a session typed into an xterm on a display of its own.
# picture.sh [FILE]      default: docs/session.png
#
# Wants the programs of `make build`, and the packages of install-deps.sh picture.
set -eu
. "$(dirname "$0")/say.sh"

out=${1:-docs/session.png}
lines=(
  'mem_info'
  'nv_raed 7'
  'nv_write 7,x'
  'AT+CGMI'
  'ind_start 1,400,2'
)
unfinished='ind_start '

folder=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$folder"' EXIT
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 1024x900x24 -nolisten tcp 3>"$folder/display" 2>/dev/null &
export DISPLAY=":$(head -n 1 "$folder/display")"

export KIV_CONFIG_DIR="$folder/config" KIV_DATA_DIR="$folder/data" COLORTERM=truecolor INPUTRC=/dev/null
xterm -fa 'DejaVu Sans Mono' -fs 10 -geometry 104x50 -bg '#10151a' -fg '#d8dee4' -xrm 'XTerm*termName: xterm-256color' \
  -e build/gcc/bin/kiv &
terminal=$!

window=
until window=$(xdotool search --pid "$terminal" 2>/dev/null | tail -n 1) && [ -n "$window" ]; do
  kill -0 "$terminal"
done
# The picture stands still: nothing has been drawn between two looks.
still() {
  local before= now
  while now=$(xwd -silent -id "$window" 2>/dev/null | sha256sum) && [ "$now" != "$before" ]; do
    before=$now
    sleep 1
  done
}
# Without a window manager keys go to the window below the pointer.
keys() { xdotool "$@" 2>/dev/null; }
xdotool mousemove 300 500
still
for line in "${lines[@]}"; do
  keys type --delay 20 "$line"
  keys key Return
  still
done
keys type --delay 20 "$unfinished"
keys key Tab
still
import -window "$window" -strip "$out"
say "wrote $out"
