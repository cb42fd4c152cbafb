#!/usr/bin/env bash
# Counts the costs of one record of this library: system calls, allocations and user instructions; and the
# memory of each further thread that traces. Fails if a count is above the one in bench/budget.txt. No count
# depends on the machine's load or on the time.
#
#   bench/budget.sh [BUILD_DIRECTORY]            compare (default: build/release)
#   bench/budget.sh --update [BUILD_DIRECTORY]   write bench/budget.txt again
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"

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

# ---- Counting -------------------------------------------------------------------------------------
# Each function counts for a whole run: count_X CASE FILE_KIND RECORDS THREADS.

# run CASE FILE_KIND RECORDS THREADS [TOOL...]: runs the program under a tool, in an empty environment, with
# clocks that depend on the number of records alone.
run() {
  local arguments=("$1" "$2" "$files/log" "$3" "$4" 100)
  rm -f "$files"/log*
  env -i LC_ALL=C PATH="$PATH" LD_PRELOAD="$bin/libsteady_clock.so" "${@:5}" "$bin/compare_wyerrlog" "${arguments[@]}" \
    >/dev/null 2>"$files/errors" || fail "$1: $(<"$files/errors")"
}

count_calls() {
  run "$@" strace -f -c -U calls,name -o "$files/count"
  awk '$2 == "total" { print $1 }' "$files/count"
}

count_instructions() {
  run "$@" valgrind --tool=callgrind --callgrind-out-file="$files/count"
  awk '$1 == "totals:" { print $2 }' "$files/count"
}

count_allocations() {
  run "$@" env LD_PRELOAD="$bin/libsteady_clock.so:$bin/libcount_allocations.so"
  awk '{ print $1 }' "$files/errors"
}

count_peak_bytes() {
  run "$@" env LD_PRELOAD="$bin/libsteady_clock.so:$bin/libcount_allocations.so"
  awk '{ print $2 }' "$files/errors"
}

# per_record COUNTER CASE FILE_KIND: prints the count per record. It is the difference of two runs, so that
# the program's start and end are not included.
per_record() {
  local records=1000 few many
  few=$($1 "$2" "$3" "$records" 1)
  many=$($1 "$2" "$3" $((2 * records)) 1)
  awk -v few="$few" -v many="$many" -v records="$records" 'BEGIN {
    each = (many - few) / records
    print each < 0 ? 0 : each
  }'
}

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
