#!/usr/bin/env bash
# Checks that every tracked C++ file is formatted by .clang-format; changes nothing.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if ! command -v clang-format >/dev/null; then
  say "clang-format is not installed; formatting not checked"
  exit 0
fi

say "Checking the formatting"
git ls-files -z -- '*.h' '*.cpp' | xargs -0 -r clang-format --dry-run -Werror
