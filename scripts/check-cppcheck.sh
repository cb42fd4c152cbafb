#!/usr/bin/env bash
# Runs cppcheck on all sources except the tests. .cppcheck-suppressions lists the accepted findings.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v cppcheck >/dev/null || fail "cppcheck is missing; run scripts/install-deps.sh --dev"

say "Running cppcheck"
# Style checks are off. cppcheck supports C++20 only in part, and reports code that it cannot parse.
source_files '*.cpp' | grep -v '^tests/' | cppcheck --file-list=- --quiet -j "$(nproc)" \
  --enable=warning,performance,portability --language=c++ --std=c++20 -I . -I platform \
  --inline-suppr --suppressions-list=.cppcheck-suppressions --error-exitcode=1
