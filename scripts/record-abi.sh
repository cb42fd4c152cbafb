#!/usr/bin/env bash
# Records what the libraries export, and how their public types are laid out, after an intended change:
# the files in */abi/, which the tests compare with.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

configure_and_build release record_abi
