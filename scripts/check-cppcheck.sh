#!/usr/bin/env bash
# Runs cppcheck on everything but the tests; what .cppcheck-suppressions names is let pass.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v cppcheck >/dev/null || fail "cppcheck is missing; run scripts/install-deps.sh --dev"

say "Running cppcheck"
# The style of the code is not its business. Its C++20 is incomplete, but it says when it gives up.
source_files '*.cpp' | grep -v '^tests/' | cppcheck --file-list=- --quiet -j "$(nproc)" \
  --enable=warning,performance,portability --language=c++ --std=c++20 -I . -I platform \
  --inline-suppr --suppressions-list=.cppcheck-suppressions --error-exitcode=1
