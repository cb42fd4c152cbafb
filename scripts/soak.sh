#!/usr/bin/env bash
# Runs the soak test: scripts/soak.sh [seconds [preset]]    default: 60 seconds, release
# Threads log while outputs are reconfigured and rolled over, and while loggers and child processes are
# created and end. The test checks for lost messages and growing resources.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-60}
preset=${2:-release}
[[ $seconds =~ ^[0-9]+$ ]] || fail "usage: soak.sh [seconds [preset]]"

configure_and_build "$preset" Soak_test
say "Running for $seconds seconds"
SOAK_SECONDS=$seconds "$(build_directory "$preset")/tests/bin/Soak_test"
