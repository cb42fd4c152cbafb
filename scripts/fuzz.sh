#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each for a while: scripts/fuzz.sh [seconds]
# What they find is left in build/fuzz/fuzz/, inputs worth keeping in build/fuzz/corpus/.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-60}
[[ $seconds =~ ^[0-9]+$ ]] || fail "usage: fuzz.sh [seconds]"
command -v clang++ >/dev/null || fail "clang is missing; run scripts/install-deps.sh --dev"

build=$(build_directory fuzz)
say "Building the fuzz targets in $build"
cmake --preset release -B "$build" --log-level=WARNING \
  -DCMAKE_CXX_COMPILER=clang++ -DWYERRLOG_BUILD_FUZZERS=ON -DWYERRLOG_JNI=OFF
cmake --build "$build" --parallel "$(nproc)" --target fuzzers

for seeds in tests/fuzz/corpus/*/; do
  name=$(basename "$seeds")
  say "Fuzzing ${name}_fuzz for $seconds seconds"
  mkdir -p "$build/corpus/$name"
  "$build/fuzz/${name}_fuzz" -max_total_time="$seconds" -max_len=20000 -artifact_prefix="$build/fuzz/" \
    -print_final_stats=1 "$build/corpus/$name" "$seeds"
done
