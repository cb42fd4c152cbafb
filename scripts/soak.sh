#!/usr/bin/env bash
# Lets threads, reconfigurations, rollovers, loggers and child processes loose on the library together
# and looks for lost messages and growth: scripts/soak.sh [seconds [preset]]
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-60}
preset=${2:-release}
[[ $seconds =~ ^[0-9]+$ ]] || fail "usage: soak.sh [seconds [preset]]"

configure_and_build "$preset" Soak_test
say "Running for $seconds seconds"
SOAK_SECONDS=$seconds "$(build_directory "$preset")/tests/bin/Soak_test"
