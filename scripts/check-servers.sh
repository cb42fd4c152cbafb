#!/usr/bin/env bash
# Runs the agents of examples/ in real web servers, and checks that no record is lost, doubled or split:
#
#   scripts/check-servers.sh [--requests N] [--reloads N] [--servers NAME,...]
#
# The servers are those of Debian's packages, unpacked below build/servers and not installed. They listen on
# the loopback interface alone and are ended by their ids. tests/servers/check.py has the checks; it prints
# what it found for each server: apache-prefork, apache-worker, apache-event, nginx.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

servers=build/servers
packages=(
  apache2-bin apache2-utils apache2-dev libapr1 libapr1-dev libaprutil1 libaprutil1-dev
  nginx nginx-dev
)

# What the servers need that this machine does not have.
dependencies() {
  apt-get --simulate install --no-install-recommends apache2-bin apache2-utils nginx |
    awk '/^Inst/ { print $2 }'
}

download() { (cd "$servers/packages" && apt-get -q download "$@") >"$servers/log" 2>&1; }

# Creates the headers that a module is compiled with; "--with-compat" lets the packaged server load it.
configure_nginx() {
  (cd "$servers/tree/usr/share/nginx/src" &&
    sh ./configure --with-compat --with-threads --with-pcre-jit --without-http_gzip_module)
}

unpack_servers() {
  [[ ! -e $servers/tree/unpacked ]] || return 0
  say "Unpacking the servers below $servers"
  rm -rf "$servers/tree"
  mkdir -p "$servers/packages" "$servers/tree"
  local needed
  mapfile -t needed < <(printf '%s\n' "${packages[@]}" $(dependencies) | sort -u)
  if ! download "${needed[@]}"; then
    apt-get -q update >"$servers/log" 2>&1 || { cat "$servers/log"; fail "apt-get update failed"; }
    download "${needed[@]}" || { cat "$servers/log"; fail "the servers cannot be downloaded"; }
  fi
  local package
  for package in "$servers"/packages/*.deb; do dpkg -x "$package" "$servers/tree"; done
  configure_nginx >"$servers/log" 2>&1 || { cat "$servers/log"; fail "nginx cannot be configured"; }
  touch "$servers/tree/unpacked"
}

scripts/install-deps.sh --servers
unpack_servers
for preset in release asan; do
  configure_and_build "$preset" mod_access_agent ngx_http_access_agent_module
done

say "Checking the agents in the servers"
python3 tests/servers/check.py "$(build_directory release)" --asan "$(build_directory asan)" "$@"
