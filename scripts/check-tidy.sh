#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy: scripts/check-tidy.sh [file...]
# Without files it checks all sources except tests and benchmarks.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v clang-tidy >/dev/null || fail "clang-tidy is missing; run scripts/install-deps.sh --dev"
build=$(build_directory release)
cmake --preset release --log-level=WARNING >/dev/null

# The sources include what the message compiler writes.
mapfile -t messages < <(cmake --build --preset release --target help | sed -n 's/^\([^/]*_compile_messages\): .*/\1/p')
configure_and_build release "${messages[@]}"

# clang-tidy refuses the options that clang does not have.
database=$(mktemp -d)
trap 'rm -rf "$database"' EXIT
sed -E 's/ (-mtls-dialect=gnu2|-fno-gnu-unique)//g' "$build/compile_commands.json" >"$database/compile_commands.json"

# All sources in the compilation database. Tests and benchmarks are left out, because the macros of
# GoogleTest and Google Benchmark expand to code that fails the checks.
files=("$@")
((${#files[@]} > 0)) || mapfile -t files < <(
  sed -n "s|.*\"file\": \"$PWD/\(.*\)\".*|\1|p" "$build/compile_commands.json" |
    grep -Ev '^(tests|java/tests|bench|build)/' | sort -u)

say "Running clang-tidy on ${#files[@]} files"
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 1 -d '\n' \
  clang-tidy --quiet --warnings-as-errors='*' -p "$database" 2> >(grep -v 'warnings generated' >&2)
