#!/usr/bin/env bash
# Records the exported symbols and the layout of the public types, after an intended change. Writes the
# files in */abi/, with which the tests compare the libraries.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

configure_and_build release record_abi
