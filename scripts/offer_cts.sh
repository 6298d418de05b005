#!/bin/bash
# Gives a new user the shipped test configurations: copies them into the per-user data directory, where
# the log of their runs may be written, and configures the copy. Who has configured a folder keeps it.
# offer_cts.sh [FOLDER]: where the shipped ones are.
set -eu
. "$(dirname "$0")/say.sh"

shipped=${1:-build/gcc/share/kiv/cts}
home=${HOME:-$(getent passwd "$(id -u)" | cut -d: -f6)}
data=${KIV_DATA_DIR:-${XDG_DATA_HOME:-$home/.local/share}/kiv}
case $data in /*) ;; *) data=$PWD/$data ;; esac
ini=$data/C/Kestrax/kit_kiv_plc_cts.ini

# Whether section "config" has a path.
configured() {
  awk '{ line = tolower($0); sub(/^[ \t]+/, "", line) }
       line ~ /^\[/ { inside = line ~ /^\[config\]/ }
       inside && line ~ /^path[ \t]*=[ \t]*[^ \t\r]/ { found = 1 }
       END { exit !found }' "$ini"
}

# The file without the empty path that would hold; the rest stays as it was.
without_path() {
  awk '{ line = tolower($0); sub(/^[ \t]+/, "", line) }
       line ~ /^\[/ { inside = line ~ /^\[config\]/ }
       !(inside && line ~ /^path[ \t]*=/)' "$ini"
}

if [ -e "$ini" ] && configured; then exit 0; fi
mkdir -p "$data/cts/pbin" "$(dirname "$ini")"
cp "$shipped"/*.pcfg "$data/cts/"
cp "$shipped"/pbin/* "$data/cts/pbin/"
kept=$(mktemp "$ini.XXXXXX")
trap 'rm -f "$kept"' EXIT
{
  if [ -e "$ini" ]; then without_path; fi
  printf '[config]\npath=%s\n' "$data/cts"
} >"$kept"
chmod 600 "$kept"
mv "$kept" "$ini"
say "test configurations are in $data/cts: try cts cts_echo 0"
