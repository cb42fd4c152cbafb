#!/usr/bin/env bash
# Other programs as a second opinion: what wylogctl prints is read by jq, Miller and Python, and its counts
# are those of grep, and of lnav with the format file that is shipped. Programs that are not installed
# are left out.
#
#   peers.sh <wylogctl> <lnav format file>
set -euo pipefail
wylogctl=$1 format=$2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
export TZ=UTC HOME=$folder XDG_CONFIG_HOME=$folder

severities=(INFO WARNING ERROR)
for ((i = 0; i < 3000; ++i)); do
  printf '[7/%d][Mon Nov 16 2026 %02d:%02d:%02d][a,"b".cpp:%d][%s][login-%05d] User "u%d", said: \\x\tü\n' \
    $((i % 8)) $((i / 600)) $((i / 10 % 60)) $((i % 60)) "$i" "${severities[i % 3]}" $((i % 7)) "$i"
  ((i % 50)) || printf 'a second line, "quoted"\n'
done >error.log

expect() {  # <what> <expected> <actual>
  [[ $2 == "$3" ]] || { echo "$1: expected $2, but it is $3"; exit 1; }
}
log() { "$wylogctl" log -q "$@" error.log; }

expect "records" 3000 "$(log -o json | wc -l)"
expect "grep -c" "$(grep -cE 'User "u1[0-9]*7"' error.log)" "$(log --grep 'User "u1[0-9]*7"' -o json | wc -l)"
expect "warnings" "$(grep -c '\[WARNING\]' error.log)" "$("$wylogctl" stats -q --by severity -o csv error.log |
  sed -n 's/^WARNING,//p')"

if command -v jq >/dev/null; then
  expect "jq, texts with a second line" 60 "$(log -o json | jq -r 'select(.text | contains("\n")) | .v' | wc -l)"
  expect "jq, types" '["array","number","string"]' \
    "$(log -o json | jq -c '[(.flags|type), (.line|type), (.time|type)]' | sort -u)"
fi
if command -v mlr >/dev/null; then
  expect "Miller, CSV" 3000 "$(log -o csv | mlr --icsv --ojson filter '$severity != ""' | grep -c '"severity"')"
fi
if command -v python3 >/dev/null; then
  expect "Python, CSV and JSON" "3000 True" "$(log -o csv >out.csv; log -o json >out.json; python3 -c '
import csv, json
rows = list(csv.DictReader(open("out.csv", encoding="utf-8", newline="")))
objects = [json.loads(line) for line in open("out.json", encoding="utf-8")]
same = all(row["text"] == each["text"] and row["src"] == each["src"] for row, each in zip(rows, objects))
print(len(rows), same)')"
fi
if command -v lnav >/dev/null; then
  lnav -i "$format" >/dev/null
  counts=$(lnav -n -c ';SELECT log_level, count(*) AS n FROM wyerrlog_error GROUP BY log_level' \
    -c ':write-csv-to -' error.log | grep -v log_level | sort | tr '\n' ' ')
  expect "lnav" "error,1000 info,1000 warning,1000 " "$counts"

  # The samples of each format are recognised as that format.
  python3 -c '
import json, sys
for name, each in json.load(open(sys.argv[1])).items():
    if name[0] != "$": open(name + ".log", "w").writelines(s["line"] + "\n" for s in each["sample"] * 3)' "$format"
  for sample in wyerrlog_*.log; do
    expect "lnav, $sample" "${sample%.log}" "$(lnav -n -c ';SELECT DISTINCT log_format FROM all_logs' \
      -c ':write-csv-to -' "$sample" | grep -v log_format)"
  done
fi
