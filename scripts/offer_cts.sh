#!/bin/bash
# Gives a new user the shipped test configurations: copies them into the per-user data directory, where
# the log of their runs may be written, and configures the copy. Who has configured a folder keeps it.
# offer_cts.sh [FOLDER]: where the shipped ones are.
set -eu
caller=$PWD
. "$(dirname "$0")/say.sh"

# As kiv takes them: a relative folder is the caller's, and a relative XDG_DATA_HOME does not count.
of_caller() { case $1 in /*) printf '%s' "$1" ;; *) printf '%s' "$caller/$1" ;; esac; }
shipped=build/gcc/share/kiv/cts
if [ $# -gt 0 ]; then shipped=$(of_caller "$1"); fi
home=${HOME:-$(getent passwd "$(id -u)" | cut -d: -f6)}
case ${XDG_DATA_HOME:-} in /*) shared=$XDG_DATA_HOME ;; *) shared=$home/.local/share ;; esac
data=$(of_caller "${KIV_DATA_DIR:-$shared/kiv}")
ini=$data/C/Kestrax/kit_kiv_plc_cts.ini

# The file as the module reads it (platform/os/ini_document.h): the first "path" of any section "config"
# holds, in any case; blanks around it and one pair of quotes do not count, nor a mark of UTF-8.
read_ini='
  function trimmed(text) { gsub(/^[ \t\r]+|[ \t\r]+$/, "", text); return text }
  function value(text) {
    text = trimmed(text)
    return length(text) > 1 && text ~ /^("[^\n]*"|\047[^\n]*\047)$/ ? substr(text, 2, length(text) - 2) : text
  }
  { line = $0
    if (substr(line, 1, 3) == "\357\273\277") line = substr(line, 4)
    line = trimmed(line)
    equals = index(line, "=")
    isPath = 0
    if (line ~ /^\[.*\]/) inside = tolower(trimmed(substr(line, 2, index(line, "]") - 2))) == "config"
    else isPath = inside && equals && line !~ /^;/ && tolower(trimmed(substr(line, 1, equals - 1))) == "path" }'

configured() {
  LC_ALL=C awk "$read_ini"' isPath { held = value(substr(line, equals + 1)); exit } END { exit held == "" }' "$ini"
}

# The file with the shipped ones in the place of the empty path, or behind all else; the rest stays.
with_path() {
  LC_ALL=C path=$data/cts awk "$read_ini"'
    isPath && !done { print "path=" ENVIRON["path"]; done = 1; next }
    { print }
    END { if (!done) print "[config]\npath=" ENVIRON["path"] }' "$1"
}

if [ -e "$ini" ] && configured; then exit 0; fi
mkdir -p "$data/cts/pbin" "$(dirname "$ini")"
cp "$shipped"/*.pcfg "$data/cts/"
cp "$shipped"/pbin/* "$data/cts/pbin/"
kept=$(mktemp "$ini.XXXXXX")
trap 'rm -f "$kept"' EXIT
if [ -e "$ini" ]; then with_path "$ini"; else with_path /dev/null; fi >"$kept"
chmod 600 "$kept"
mv "$kept" "$ini"
say "test configurations are in $data/cts: try cts cts_echo 0"
