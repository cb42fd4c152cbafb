#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy on the sources that are named, or on all but tests and
# benchmarks: scripts/check-tidy.sh [file...]
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v clang-tidy >/dev/null || fail "clang-tidy is missing; run scripts/install-deps.sh --dev"
build=$(build_directory release)
cmake --preset release --log-level=WARNING >/dev/null

# Those that the build compiles. What the macros and loops of GoogleTest and Google Benchmark come to is
# nothing that the checks like.
files=("$@")
((${#files[@]} > 0)) || mapfile -t files < <(
  sed -n "s|.*\"file\": \"$PWD/\(.*\)\".*|\1|p" "$build/compile_commands.json" |
    grep -Ev '^(tests|bench|build)/' | sort -u)

say "Running clang-tidy on ${#files[@]} files"
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 1 -d '\n' \
  clang-tidy --quiet --warnings-as-errors='*' -p "$build" 2> >(grep -v 'warnings generated' >&2)
