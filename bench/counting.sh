# shellcheck shell=bash
# Exact counts of what one record of this library costs: system calls, allocations, user instructions. A
# script sources this file after scripts/common.sh, sets `bin` to the folder of the benchmarks' programs and
# `files` to an empty folder. No count depends on the machine's load or on the time.

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
