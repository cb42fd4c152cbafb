#!/usr/bin/env bash
# add_subdirectory.sh SCRATCH: the source tree can be a part of another project, copied or fetched.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

with_add_subdirectory "$1"
with_fetch_content "$1"
