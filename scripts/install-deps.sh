#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests and the demo need, those that are missing; does
# nothing when all are there. With --ci also what .ci/run needs, with --dev the tools for developers as well,
# with --bench also what the comparison with other loggers needs.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packages=(
  g++ binutils cmake ninja-build    # the compiler with its sanitizers, nm, and the build
  libgtest-dev libgmock-dev         # the tests
  libbenchmark-dev                  # the benchmarks
  strace valgrind                   # tests that watch the system calls, and count instructions
  openjdk-17-jdk-headless           # the Java binding
  dpkg-dev file                     # the packages
  abigail-tools                     # the comparison with the recorded interface
  doxygen python3                   # the API reference; the check of the pages
  libcpp-httplib-dev pkgconf curl   # the demo's web server, how to link it, a client to call it
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

# What bench/compare compares this library with, and what runs it and draws its chart.
comparison_packages=(
  libspdlog-dev liblog4cplus-dev liblog4cxx-dev libboost-log-dev libgoogle-glog-dev
  gnuplot-nox
)

for option in "$@"; do
  case "$option" in
    --ci) packages+=("${ci_packages[@]}") ;;
    --dev) packages+=("${developer_packages[@]}") ;;
    --bench) packages+=("${comparison_packages[@]}") ;;
    *) fail "usage: install-deps.sh [--ci] [--dev] [--bench]" ;;
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
  command -v sudo >/dev/null || fail "neither root nor sudo; install these packages first"
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
