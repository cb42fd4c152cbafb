#!/usr/bin/env bash
# Counts the user instructions of a call that uses a feature of the front end and of the plain call, as a table
# in Markdown. Fails if a plain call takes an instruction more because the feature is in use elsewhere.
#
#   bench/features.sh [BUILD_DIRECTORY]             print the table (default: build/release)
#   bench/features.sh --publish [BUILD_DIRECTORY]   put it into docs/performance.md
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
source bench/counting.sh

page=docs/performance.md
publish=no
if [[ ${1:-} == --publish ]]; then
  publish=yes
  shift
fi
bin=$(realpath "${1:-$(build_directory release)}")/bench/bin
[[ -x $bin/compare_wyerrlog ]] || fail "not built: $bin/compare_wyerrlog"

files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT

# A column behind the title: the case with the feature, the plain one, the kind of file (bench/compare/cases.py).
rows='
output to a descriptor|message-descriptor|message|1
output to a descriptor, with a priority|message-priority|message|1
free text, `WyLogText`, for a message with a catalog|free-text|message|1
escaping three arguments, for `WyRaw`|message|message-raw|1
escaping four arguments|message-4|message-4-raw|1
arguments of own types: an optional text, an enumeration|message-own-types|message|1
rate limit, the line goes out|message-limited|message|1
rate limit by number, the line is left out|left-out-by-number|message|1
rate limit by time, the line is left out|left-out-by-time|message|1
typed audit record, for a printf-style one|audit-typed|audit-text|1
typed audit record in JSON|audit-typed-json|audit-text|1
request scope: an audit record, for a field of its own|audit-typed-in-scope|audit-typed-request|1
request scope: a trace record, for a field of its own|trace-in-scope|trace|1
trace record in JSON, for layout 0|trace-json|trace|1
file with permissions, `CWyAuditFileOutput`|audit-text-file|audit-text|1
the same, limited size|audit-text-file|audit-text|3
the same, rolled over by day, 90 days kept|audit-text-daily|audit-text|1
the same, shared by processes, limited size|audit-text-shared|audit-text|3
'
# Plain calls in a program that uses the feature elsewhere.
unused='
a message, with a callback for losses|message-loss-callback|message|1
a message in a request scope|message-in-scope|message|1
a printf-style audit record in a request scope|audit-text-in-scope|audit-text|1
'

declare -A counts
# count CASE KIND: sets `counted`, each case once.
count() {
  [[ -n ${counts[$1/$2]:-} ]] || counts[$1/$2]=$(printf '%.0f' "$(per_record count_instructions "$1" "$2")")
  counted=${counts[$1/$2]}
}

# print_rows ROWS [equal]: a row for each pair; with `equal` fails for a pair that differs. The tolerance is that
# of the digits of process and thread ids.
print_rows() {
  local title with without kind one
  while IFS='|' read -r title with without kind; do
    [[ -n $title ]] || continue
    count "$with" "$kind"
    one=$counted
    count "$without" "$kind"
    printf '| %s | %d | %d | %+d |\n' "$title" "$one" "$counted" "$((one - counted))"
    [[ -z ${2:-} ]] || ((one - counted <= counted / 200)) || fail "$title: $one instructions instead of $counted"
  done <<<"$1"
}

table() {
  printf '| feature | with | without | difference |\n|---|--:|--:|--:|\n'
  print_rows "$rows"
  printf '\n| plain call, while the feature is in use | with | without | difference |\n|---|--:|--:|--:|\n'
  print_rows "$unused" equal
}

table | tee "$files/table"
if [[ $publish == yes ]]; then
  sed -i -e "/^<!-- features: begin -->$/r $files/table" \
    -e '/^<!-- features: begin -->$/,/^<!-- features: end -->$/ { /^<!-- features/! d }' "$page"
fi
