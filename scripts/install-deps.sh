#!/usr/bin/env bash
# Installs the missing ones of the Debian packages that the build, the tests and the demo need:
#
#   scripts/install-deps.sh [--ci] [--dev] [--bench] [--servers]
#
# --ci adds the packages of .ci/run, --dev those and the tools for developers, --bench the packages of the
# comparison with other loggers, --servers what scripts/check-servers.sh needs beside the servers.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packages=(
  g++ binutils cmake ninja-build    # the compiler with its sanitizers, nm, and the build
  libgtest-dev libgmock-dev         # the tests
  libbenchmark-dev                  # the benchmarks
  strace valgrind                   # tests that trace system calls and count instructions
  openjdk-17-jdk-headless           # the Java binding
  libslf4j-java                     # its test with SLF4J
  maven libmaven-compiler-plugin-java libmaven-jar-plugin-java  # a Maven project that uses it, without a network
  libmaven-resources-plugin-java libsurefire-java unzip
  dpkg-dev file                     # the packages
  abigail-tools                     # the comparison with the recorded interface
  doxygen python3                   # the API reference; the test of the pages
  gettext                           # msgfmt, which the tests compare the message compiler with
  libcli11-dev nlohmann-json3-dev zlib1g-dev  # the command-line programs
  libsodium-dev                     # the sealed audit log
  libsystemd-dev                    # the output to the journal
  lnav jq miller faketime           # the tests that read the output of wylogctl
  libcpp-httplib-dev pkgconf curl   # the demo: its web server, its link options, its client
)

ci_packages=(
  clang libclang-rt-14-dev          # the second compiler, its sanitizers and libFuzzer
  clang-format                      # the layout of the sources
)

developer_packages=(
  "${ci_packages[@]}"
  clang-tidy cppcheck               # static checks
  lintian                           # the check of the packages
  ccache                            # faster rebuilds
)

# The libraries that bench/compare and bench/java compare this one with, and gnuplot for a chart.
comparison_packages=(
  libspdlog-dev liblog4cplus-dev liblog4cxx-dev libboost-log-dev libgoogle-glog-dev
  liblog4j2-java liblogback-java
  gnuplot-nox
)

# The servers themselves are unpacked, not installed: scripts/check-servers.sh.
server_packages=(
  libpcre2-dev                      # the headers of nginx
  libspdlog-dev                     # the comparison of logging costs in a server
)

for option in "$@"; do
  case "$option" in
    --ci) packages+=("${ci_packages[@]}") ;;
    --dev) packages+=("${developer_packages[@]}") ;;
    --bench) packages+=("${comparison_packages[@]}") ;;
    --servers) packages+=("${server_packages[@]}") ;;
    *) fail "usage: install-deps.sh [--ci] [--dev] [--bench] [--servers]" ;;
  esac
done

is_installed() { [[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

say "Installing ${missing[*]}"
as_root=()
if [[ $EUID -ne 0 ]]; then
  command -v sudo >/dev/null || fail "installing needs root or sudo; install these packages first"
  as_root=(sudo)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Dpkg::Use-Pty=0 "$@" \
    >>"$log" 2>&1 </dev/null || { cat "$log"; fail "apt-get $1 failed"; }
}
apt update
apt install --no-install-recommends "${missing[@]}"
