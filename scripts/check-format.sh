#!/usr/bin/env bash
# Checks that every C and C++ file is formatted as .clang-format requires. Changes no file.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v clang-format >/dev/null || fail "clang-format is missing; run scripts/install-deps.sh --ci"

say "Checking the formatting"
source_files '*.h' '*.c' '*.cpp' | xargs -d '\n' clang-format --dry-run -Werror
