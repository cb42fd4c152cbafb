#!/usr/bin/env bash
# wylogctl beside wc, grep, mawk, jq and lnav on the same file, in multiples of the processor time of
# `wc -l`; programs that are not installed are left out. Prints Markdown, and fails when a limit is passed.
#
#   run.sh [build folder] [megabytes]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "${1:-$here/../../build/release}" && pwd)
megabytes=${2:-1000}
wylogctl=$build/bin/wylogctl
[[ -x $wylogctl ]] || { echo "$wylogctl: not built" >&2; exit 2; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
"$here/generate.py" error.log "$megabytes"
for i in 0 1 2 3 4 5 6 7 8 9; do
  "$here/generate.py" "part$i.log" "$((megabytes / 10))"
done
export TZ=UTC HOME=$folder XDG_CONFIG_HOME=$folder TIMEFORMAT='%U %S %R'

# The least processor time of three runs, in milliseconds, and the largest memory in KB.
measure() {
  local best=999999999 user system seconds kilobytes
  memory=0
  for _ in 1 2 3; do
    read -r user system seconds kilobytes < <(
      { /usr/bin/time -f '%U %S %e %M' "$@" >/dev/null; } 2>&1 | tail -1)
    local now
    now=$(awk -v u="$user" -v s="$system" 'BEGIN { printf "%d", (u + s) * 1000 }')
    ((now < best)) && best=$now
    ((kilobytes > memory)) && memory=$kilobytes
  done
  milliseconds=$best
}

failed=0
row() {  # <what> <limit or -> <command>...
  local what=$1 limit=$2
  shift 2
  measure "$@"
  local ratio
  ratio=$(awk -v a="$milliseconds" -v b="$base" 'BEGIN { printf "%.1f", a / b }')
  printf '| %s | %s | %s | %s MiB |\n' "$what" "$ratio" "$limit" "$((memory / 1024))"
  if [[ $limit != - ]] && awk -v r="$ratio" -v l="$limit" 'BEGIN { exit r <= l }'; then failed=1; fi
}

measure wc -l error.log
base=$milliseconds
echo "\`wc -l\` of ${megabytes} MB: ${base} ms"
echo
echo '| work | times `wc -l` | limit | memory |'
echo '|---|---:|---:|---:|'
row 'filter to raw: `log --severity ERROR`' 4 "$wylogctl" log -q --severity ERROR error.log
row '`log --grep user77`' - "$wylogctl" log -q --grep user77 error.log
row '`stats --by key`' 5 "$wylogctl" stats -q --by key error.log
row '`verify`' 8 "$wylogctl" verify -q error.log
row '`log -o json`' 12 "$wylogctl" log -q -o json error.log
row 'merge of 10 files' 12 "$wylogctl" log -q part?.log
# With /dev/null as its output, grep ends at the first match.
row '`grep -cE user77`' - sh -c 'grep -cE user77 error.log | cat'
if command -v mawk >/dev/null; then
  row '`mawk`, counts by severity' - \
    mawk -F'[][]+' '{ n[$5]++ } END { for (k in n) print k, n[k] }' error.log
fi
if command -v jq >/dev/null; then
  head -c $((megabytes * 100000)) error.log >tenth.log
  row '`jq`, filters the JSON of a tenth' - sh -c "'$wylogctl' log -q -o json tenth.log | jq -c 'select(.severity==\"ERROR\")'"
fi
if command -v lnav >/dev/null; then
  lnav -i "$here/../../shipping/lnav/wyerrlog.json" >/dev/null
  head -c $((megabytes * 100000)) error.log >tenth.log
  row '`lnav`, counts by severity in a tenth' - lnav -n -c ';SELECT log_level, count(*) FROM wyerrlog_error GROUP BY log_level' tenth.log
fi
echo
"$here/generate.py" columns.log "$megabytes" columns
for file in error.log columns.log; do
  for options in '-n 100' '-n 100 -o json' '--since 2026-11-18T16:00 --until 2026-11-18T16:01' \
    '-o json --since 2026-11-18T16:00 --until 2026-11-18T16:01'; do
    # shellcheck disable=SC2086
    measure "$wylogctl" log -q $options $file
    echo "\`log $options $file\`: ${milliseconds} ms (limit 20), $((memory / 1024)) MiB"
    ((milliseconds <= 20)) || failed=1
  done
done
# Memory, without that of the program itself: 16 MiB for the longest record, and 1 MiB for each file.
{ head -n 1 error.log | tr -d '\n'; head -c 20000000 /dev/zero | tr '\0' x; echo; head -n 1 error.log; } >long.log
head -n 1 error.log >short.log
for i in 0 1 2 3 4 5 6 7 8 9; do cp long.log "long$i.log"; done
memory_row() {  # <what> <limit> <files and options>...
  local what=$1 limit=$2 without
  shift 2
  measure "$wylogctl" log -q short.log
  without=$memory
  measure "$wylogctl" log -q "$@"
  echo "\`log $what\`: $(((memory - without) / 1024)) MiB (limit $limit), with the program $((memory / 1024)) MiB"
  ((memory - without <= limit * 1024)) || failed=1
}
for options in '-n 2' '-o json' '-o csv'; do
  # shellcheck disable=SC2086
  memory_row "$options, a record of 20 MB" 17 $options long.log
done
memory_row '10 files with such records' 26 long?.log
exit $failed
