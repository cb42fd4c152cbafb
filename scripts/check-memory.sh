#!/usr/bin/env bash
# Runs tests of the release build under valgrind's memcheck, each in a process of its own:
#
#   scripts/check-memory.sh [program...]    default: programs that together reach all modules
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v valgrind >/dev/null || fail "valgrind is missing; run scripts/install-deps.sh"
# Left out: programs that kill processes, programs with many threads and time limits, and single tests that
# fork. valgrind reports memory of the parent's other threads as lost in a child.
programs=("$@")
((${#programs[@]} > 0)) || programs=(
  WyErrLogMessage_test WyErrLogMessageLookup_test WyError_test
  WyLogOutput_test WyLoggerComponents_test WyLoggerTrace_test
  WyTraceConfigFile_test WyTraceRecord_test
)

configure_and_build release "${programs[@]}" test_plugins wytestcomponent
build=$(build_directory release)

# tests_of PROGRAM: "<program> <Suite.test>" for each of its tests.
tests_of() {
  "$build/tests/bin/$1" --gtest_list_tests |
    awk -v program="$1" '/^[^ ]+\.$/ { suite = $1 } /^ / && !/Fork/ { print program, suite $1 }'
}

# check PROGRAM TEST: runs the test; prints its output if the test fails or valgrind reports an error.
check() {
  local root=$build output
  [[ $1 == WyLoggerComponents_test ]] && root=$build/tests/plugins
  output=$(ORVA_WA_ROOT=$PWD/$root valgrind --quiet --error-exitcode=1 --leak-check=full \
    --errors-for-leak-kinds=definite,indirect --suppressions=tests/valgrind_suppressions.txt \
    "$build/tests/bin/$1" --gtest_filter="$2" 2>&1) ||
    { printf '%s %s\n%s\n' "$1" "$2" "$output"; return 1; }
}
export -f check
export build

say "Running under valgrind: ${programs[*]}"
for program in "${programs[@]}"; do tests_of "$program"; done |
  xargs -P "$(nproc)" -L 1 bash -c 'check "$@"' check || fail "a test failed, or valgrind reported an error"
