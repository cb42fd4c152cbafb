#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each for a while, one on each processor:
#
#   scripts/fuzz.sh [seconds [target...]]       60 seconds, and all of them
#
# What they find is left in build/fuzz/fuzz/, inputs worth keeping in build/fuzz/corpus/. The program
# build/fuzz/fuzz/<target>_fuzz runs one input again.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-60}
targets=("${@:2}")
[[ $seconds =~ ^[1-9][0-9]*$ ]] || fail "usage: fuzz.sh [seconds [target...]]"
command -v clang++ >/dev/null || fail "clang is missing; run scripts/install-deps.sh --ci"
((${#targets[@]} > 0)) || targets=($(ls tests/fuzz/corpus))

build=$(build_directory fuzz)
configure_and_build fuzz fuzzers

# fuzz TARGET: runs it, with what it says kept in a file; shows that when it has found something.
fuzz() {
  local name=$1 log=$build/fuzz/$1.log
  mkdir -p "$build/corpus/$name"
  "$build/fuzz/${name}_fuzz" -max_total_time="$seconds" -max_len=10000 -timeout=20 \
    -artifact_prefix="$build/fuzz/$name-" -print_final_stats=1 \
    "$build/corpus/$name" "tests/fuzz/corpus/$name" >"$log" 2>&1 || { cat "$log"; return 1; }
  printf '%s: %s inputs\n' "$name" "$(sed -n 's/.*number_of_executed_units: *//p' "$log")"
}
export -f fuzz
export build seconds

say "Fuzzing ${targets[*]}, each for $seconds seconds"
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'fuzz {}' ||
  fail "a fuzz target failed; its input is in $build/fuzz/"
