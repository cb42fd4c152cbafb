#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each for the given time, one on each processor:
#
#   scripts/fuzz.sh [seconds [target...]]    default: 60 seconds, all targets
#
# Inputs that fail are stored in build/fuzz/fuzz/, inputs that reach new code in build/fuzz/corpus/. To run
# an input again, pass its file to build/fuzz/fuzz/<target>_fuzz.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-60}
targets=("${@:2}")
[[ $seconds =~ ^[1-9][0-9]*$ ]] || fail "usage: fuzz.sh [seconds [target...]]"
command -v clang++ >/dev/null || fail "clang is missing; run scripts/install-deps.sh --ci"
((${#targets[@]} > 0)) || targets=($(ls tests/fuzz/corpus))

build=$(build_directory fuzz)
configure_and_build fuzz fuzzers

# fuzz TARGET: runs the target with its output in a file, and prints the file if an input fails.
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
