#!/usr/bin/env bash
# seal_command.sh WYLOGCTL: the seal commands, as an administrator calls them, with their exit codes.
set -euo pipefail
wylogctl=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# expect CODE TEXT COMMAND...: the command ends with the code, and prints the text.
expect() {
  local code=$1 text=$2 got=0 out
  shift 2
  out=$("$@" 2>&1 </dev/null) || got=$?
  [[ $got == "$code" ]] || fail "$*: exit code $got, not $code: $out"
  [[ $out == *"$text"* ]] || fail "$*: printed $out"
}
seal() { "$wylogctl" seal "$@"; }

seal create --keys keys --signed -o json >created
key=$(sed -n 's/.*"key":"\([^"]*\)".*/\1/p' created)
public=$(sed -n 's/.*"public":"\([^"]*\)".*/\1/p' created)
echo "$key" >audit.key
expect 2 'never replaced' seal create --keys keys
seq 100000 130000 | seal append --keys keys --max-size 1 --permissions 0640 audit.log
seq 10 | seal append --keys keys audit.log
(($(ls audit*.log | wc -l) == 2)) || fail "not rolled over: $(ls)"
[[ $(stat -c %a audit.log) == 640 ]] || fail "permissions: $(stat -c %a audit.log)"

expect 0 'intact: 2 files' seal verify --key @audit.key --state keys audit.log
expect 0 'signed through' seal verify --key "$public" audit.log
expect 0 '"signed":true' seal status --keys keys -o json
anchor=$(seal status --keys keys | sed -n 's/^anchor: *//p')
expect 0 intact seal verify --key "$key" --anchor "$anchor" audit.log

sed -n 's/.*\t~\([0-9]*\)~\(.*\)/\1:\2/p' audit.log >anchors
expect 0 intact seal verify --key "$key" --anchors anchors audit.log
sed '3s/:..../:AAAA/' anchors >forged
expect 1 'differs' seal verify --key "$key" --anchors forged audit.log
sed '3s/:.*//' anchors >broken
expect 2 'broken:3' seal verify --key "$key" --anchors broken audit.log

sed -i '2s/^./x/' audit.log
expect 1 'audit.log:2: changed' seal verify --key "$key" audit.log
expect 1 '"finding":"changed"' seal verify --key "$key" -o json audit.log
head -n 5 audit.log >cut && mv cut audit.log
expect 1 'end-missing' seal verify --key "$key" --state keys audit.log

# Another key from the second file on, and a log whose first files the retention has deleted.
long=$(head -c 1048576 /dev/zero | tr '\0' x)
first=$(seal create --keys two -q | sed 's/.*: *//')
if seal append --keys two two.log 2>errors <<<"${long}x"; then fail "a text of more than 1 MiB"; fi
grep -q 'Message too long' errors || fail "printed $(<errors)"
seal append --keys two two.log <<<"$long"
second=$(seal renew --keys two -q | sed 's/.*: *//')
seal append --keys two two.log <<<"with the new key"
expect 0 'intact: 2 files' seal verify --key "$first" --key "$second" --state two two.log
expect 1 'no-key 2: the key was renewed' seal verify --key "$first" --state two two.log
expect 1 'no-key 1' seal verify --key "$second" two.log
expect 1 'missing-file 1' seal verify --key "$second" --alone two.log
mkdir two_20991231_235959.log
expect 2 'unreadable' seal verify --key "$first" --key "$second" two.log
rmdir two_20991231_235959.log
seq 100000 170000 | seal append --keys two --max-size 1 --backups 1 two.log
expect 0 'retired 1..' seal verify --key "$first" --key "$second" --state two two.log

expect 2 'wyseal-key-1-' seal verify --key nonsense audit.log
expect 2 'No such file' seal verify --key "$key" nowhere.log
expect 2 '--key KEY is missing' seal verify audit.log
expect 2 'SEQ:TAG' seal verify --key "$key" --anchor 7 audit.log
expect 2 'there is none' seal status --keys nowhere
expect 2 'not an octal mode' seal append --keys keys --permissions 99 audit.log
echo plain >plain.log
expect 2 'not sealed' seal append --keys "$(seal create --keys new >&2 2>/dev/null; echo new)" plain.log
