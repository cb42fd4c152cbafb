#!/usr/bin/env bash
# Counts the costs of one record of this library: system calls, allocations and user instructions; and the
# memory of each further thread that traces. Fails if a count is above the one in bench/budget.txt.
#
#   bench/budget.sh [BUILD_DIRECTORY]            compare (default: build/release)
#   bench/budget.sh --update [BUILD_DIRECTORY]   write bench/budget.txt again
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
source bench/counting.sh

budget=bench/budget.txt
update=no
if [[ ${1:-} == --update ]]; then
  update=yes
  shift
fi
bin=$(realpath "${1:-$(build_directory release)}")/bench/bin
[[ -x $bin/compare_wyerrlog ]] || fail "not built: $bin/compare_wyerrlog"

files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT

# The library allocates the trace records of threads in blocks of thirty.
per_thread_bytes() {
  local few many
  few=$(count_peak_bytes trace0 1 1 30)
  many=$(count_peak_bytes trace0 1 1 90)
  printf '%d' $(((many - few) / 60))
}

# row NAME CASE FILE_KIND
row() {
  printf '%-22s %8.2f %8.2f %8.0f\n' "$1" "$(per_record count_calls "$2" "$3")" \
    "$(per_record count_allocations "$2" "$3")" "$(per_record count_instructions "$2" "$3")"
}

measure() {
  row statement statement 1
  row statement-mode-3 statement 3
  row translated translated 1
  row translated-mode-3 translated 3
  row translated-mode-4 translated 4
  row printf printf 1
  row audit audit 1
  row trace-bracketed trace0 1
  row trace-fixed-width trace1 1
  row trace-delimited trace2 1
  row trace-xml trace3 1
  row filtered filtered 1
  row tracing-off tracing-off 1
  row tracing-of-others tracing-of-others 1
  printf '%-22s %8d\n' thread-bytes "$(per_thread_bytes)"
}

# ---- Comparing ------------------------------------------------------------------------------------

# compare MEASURED: reports counts that have grown, and counts that are below the budget. Tolerances:
# instructions and bytes vary with the digits of process and thread ids, and with the functions that the C
# library selects for the processor; calls and allocations vary with the start and end of threads.
compare() {
  awk '
    function tolerance(column) { return column == 4 || $1 == "thread-bytes" ? 1.05 : 1 }
    function slack(column) { return column == 4 || $1 == "thread-bytes" ? 0 : 0.02 }
    /^#/ { next }
    NR == FNR { known[$1] = 1; for (i = 2; i <= NF; ++i) budget[$1, i] = $i; next }
    { print; measured[$1] = 1 }
    !($1 in known) { print "  not in the budget"; grown = 1; next }
    {
      for (i = 2; i <= NF; ++i) {
        if ($i > budget[$1, i] * tolerance(i) + slack(i)) { print "  GROWN from " budget[$1, i]; grown = 1 }
        if ($i * tolerance(i) < budget[$1, i]) print "  less than " budget[$1, i]
      }
    }
    END {
      for (name in known) if (!(name in measured)) { print name ": not measured"; grown = 1 }
      exit grown
    }' "$budget" "$1"
}

header='# Per record: system calls, allocations, user instructions. For each further thread that traces:
# bytes. Written by bench/budget.sh --update.'

measure >"$files/measured"
if [[ $update == yes ]]; then
  printf '%s\n' "$header" | cat - "$files/measured" | tee "$budget"
elif ! compare "$files/measured"; then
  fail "a record costs more than $budget allows"
fi
