#!/usr/bin/env bash
# Installs the packages that are missing, builds, and runs all tests:
# ./test.sh [release|debug|asan|tsan]
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

preset=${1:-release}
case "$preset" in
  release | debug | asan | tsan) ;;
  *) fail "usage: test.sh [release|debug|asan|tsan]" ;;
esac

scripts/install-deps.sh
configure_and_build "$preset"
run_tests "$preset"
