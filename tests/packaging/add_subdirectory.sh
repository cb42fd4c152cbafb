#!/usr/bin/env bash
# add_subdirectory.sh SCRATCH: the source tree can be a part of another project.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

with_add_subdirectory "$1"
