#!/usr/bin/env bash
# Tests the configurations of shipping/ with the real daemons:
#
#   scripts/check-shipping.sh [CTest's options]
#
# Nothing is installed: the packages of the daemons are unpacked below build/shipping (rsyslog and syslog-ng
# exclude each other when installed), and private instances run there, on the loopback interface. Root
# becomes the user "nobody" for them, because PostgreSQL refuses root. Remove build/shipping to get the
# packages again.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# unpack FOLDER PACKAGE...: the packages, and those that they need and that the system does not have.
unpack() {
  local folder=build/shipping/$1 needed
  shift
  [[ ! -e $folder/complete ]] || return 0
  say "Unpacking $*"
  rm -rf "$folder"
  mkdir -p "$folder/packages"
  mapfile -t needed < <(apt-get install --print-uris -qq -o Debug::NoLocking=1 --no-install-recommends "$@" \
    2>/dev/null | sed "s/.*' \([^_]*\)_.*/\1/")
  (cd "$folder/packages" && apt-get -qq download "$@" "${needed[@]}" 2>/dev/null) ||
    fail "apt-get download failed: $*"
  for package in "$folder"/packages/*.deb; do dpkg -x "$package" "$folder"; done
  rm -r "$folder/packages"
  touch "$folder/complete"
}

scripts/install-deps.sh
as_root=()
[[ $EUID -eq 0 ]] || as_root=(sudo)
if [[ -z $(LC_ALL=C apt-cache policy rsyslog | sed -n 's/^ *Candidate: \([^(].*\)/\1/p') ]]; then
  say "Reading the lists of packages"
  "${as_root[@]}" apt-get -qq update
fi
unpack rsyslog rsyslog rsyslog-pgsql rsyslog-relp rsyslog-openssl
unpack syslog-ng syslog-ng-core syslog-ng-mod-sql libdbd-pgsql
# libdbi searches its drivers in a folder whose name is in the library: now below the working directory.
sed -i "s|/usr/lib/x86_64-linux-gnu/dbd|$(printf './%.0s' {1..13})dbd|" \
  build/shipping/syslog-ng/usr/lib/x86_64-linux-gnu/libdbi.so.1.1.0
unpack postgresql postgresql-15 postgresql-client-15
unpack openssl openssl

configure_and_build release shipping_load wylogctl
mkdir -p build/shipping/run
if [[ $EUID -eq 0 ]]; then
  chown nobody build/shipping/run
  setpriv --reuid=nobody --regid=nogroup --clear-groups test -w build/shipping/run ||
    fail "the user nobody cannot reach $PWD/build/shipping/run: check the folders' permissions"
fi
say "Running the tests of the shipped configurations"
ctest --preset release --parallel 2 --label-regex '^shipping$' --verbose "$@" |
  sed -n 's/^[0-9]*: \(.*\)/\1/p; /tests passed/,$p'
