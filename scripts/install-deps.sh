#!/bin/bash
# Installs the Debian packages that the named groups lack: install-deps.sh GROUP...
#   run      build the programs and run them
#   check    the tests and their peers
#   bench    the benches
#   package  the Debian package
#   picture  the picture of the README
#   full     clang, for the sanitizers, libFuzzer and the lints
#
# dpkg is asked first. When nothing is missing neither apt nor the network is touched, so every run
# but the first works offline. Peers whose packages would bring a service onto the machine are
# unpacked under build/peers instead of being installed.
set -u
. "$(dirname "$0")/say.sh"

declare -A packages=(
  [run]="g++ cmake ninja-build qtbase5-dev libsqlite3-dev nlohmann-json3-dev libasio-dev
         libdeflate-dev libpugixml-dev libreadline-dev"
  [check]="libgtest-dev libgmock-dev python3 python3-jsonschema binutils util-linux strace tshark
           qttools5-dev-tools openssh-client iproute2 busybox mandoc"
  [bench]="libbenchmark-dev libprotobuf-dev protobuf-compiler python3"
  [package]="dpkg-dev file"
  [picture]="xvfb xterm x11-apps imagemagick xdotool fonts-dejavu-core"
  [full]="clang libclang-rt-dev llvm clang-format clang-tidy"
)
# Peers that are only unpacked, and the libraries that these need.
declare -A peers=([check]="openssh-server iaxmodem bluez-test-tools")
declare -A peer_libraries=([check]="libaudit1 libcom-err2 libcrypt1 libgssapi-krb5-2 libkrb5-3
  libpam0g libselinux1 libssl3 libsystemd0 libwrap0 zlib1g")

# Prints those of its arguments that are not installed.
missing_of() {
  local installed
  installed=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null |
    awk '$2 == "installed" { print $1 }' | sort -u)
  comm -23 <(printf '%s\n' "$@" | sort -u) <(printf '%s\n' "$installed")
}

# Root's right for one command, or the line to type and the end.
as_root() {
  if [ "$(id -u)" = 0 ]; then
    env DEBIAN_FRONTEND=noninteractive "$@"
  elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
    sudo -n env DEBIAN_FRONTEND=noninteractive "$@"
  else
    say "packages are missing and this user may not install them; as root, run:"
    printf '  apt-get update && apt-get install -y --no-install-recommends %s\n' \
      "${missing[*]}" >&2
    exit 1
  fi
}

install_missing() {
  say "installing: ${missing[*]}"
  local lock="DPkg::Lock::Timeout=300"
  as_root apt-get -o $lock -qq update >&2 || say "apt-get update failed, trying what is known"
  if printf '%s\n' "${missing[@]}" | grep -qx tshark; then
    # The one package of the list that has a question: whether others than root may capture.
    as_root debconf-set-selections >&2 \
      <<<'wireshark-common wireshark-common/install-setuid boolean false'
  fi
  as_root apt-get -o $lock -qq install -y --no-install-recommends "${missing[@]}" \
    </dev/null >&2 || { say "apt-get could not install them"; exit 1; }
}

# Fetches a package and unpacks it under build/peers/PACKAGE: nothing of it is configured or started.
unpack_peer() {
  local package=$1 folder="$PWD/build/peers/$1"
  [ -e "$folder/.complete" ] && return 0
  say "unpacking $package under build/peers"
  rm -rf "$folder" && mkdir -p "$folder/deb" || return 1
  chmod 0777 "$folder/deb" # apt fetches as a user of its own
  (cd "$folder/deb" && apt-get -qq download "$package" >&2) &&
    dpkg-deb -x "$folder/deb/$package"_*.deb "$folder" && rm -rf "$folder/deb" &&
    touch "$folder/.complete"
}

[ $# -gt 0 ] || { say "usage: install-deps.sh GROUP..."; exit 2; }
wanted=()
unpacked=()
for group in "$@"; do
  [ -n "${packages[$group]:-}" ] || { say "no such group: $group"; exit 2; }
  wanted+=(${packages[$group]} ${peer_libraries[$group]:-})
  unpacked+=(${peers[$group]:-})
done

mapfile -t missing < <(missing_of "${wanted[@]}")
[ ${#missing[@]} = 0 ] || install_missing
for package in "${unpacked[@]}"; do
  unpack_peer "$package" || say "no $package: the tests that need it are skipped"
done
exit 0
