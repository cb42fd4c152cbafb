#!/usr/bin/env bash
# Builds the access agent (examples/access_agent), lets many clients call it at once, and shows and checks
# its logs: ./demo.sh [release|debug|asan|tsan]
# All files are written below build/.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

preset=${1:-release}
case "$preset" in
  release | debug | asan | tsan) ;;
  *) fail "usage: demo.sh [release|debug|asan|tsan]" ;;
esac
build=$(build_directory "$preset")
samples=examples/access_agent/demo
work=build/demo
clients=8
alice=alice:lookingglass bob=bob:hammer carol=carol:blackboard

# --- The agent -------------------------------------------------------------------------------------

agent=''  # process id of the agent while it runs

# run_agent LANGUAGE OPTION...: replaces the shell with the agent.
run_agent() {
  local language=$1
  shift
  exec env ORVA_WA_ROOT="$build" LC_ALL="$language" \
    TSAN_OPTIONS="suppressions=$samples/tsan.supp" "$build/bin/access_agent" \
    --root "$work/site" --messages "$build/messages" --log "$log" "$@"
}

# start_agent NAME LANGUAGE [OPTION...]: starts the agent on a free port, with its logs in the folder NAME.
# Sets `log` (the folder) and `url`.
start_agent() {
  log=$work/$1
  local language=$2
  shift 2
  mkdir -p "$log"
  rm -f "$log/stdout"
  run_agent "$language" --policy "$samples/policy.conf" "$@" >"$log/stdout" &
  agent=$!
  wait_until "the agent listens" grep -q '^listening on ' "$log/stdout"
  url=$(sed -n 's/^listening on //p' "$log/stdout")
}

stop_agent() {
  kill -TERM "$agent"
  wait "$agent" || fail "the agent ended with exit code $?"
  agent=''
}

leave_nothing_running() {
  mkdir -p "$work" && touch "$work/enough"
  [[ -z $agent ]] || kill -TERM "$agent" 2>/dev/null || true
  wait
}
trap leave_nothing_running EXIT
trap 'exit 130' INT TERM

# wait_until WHAT COMMAND...: repeats the command until it succeeds, for at most 30 seconds.
wait_until() {
  local what=$1 deadline=$((SECONDS + 30))
  shift
  until "$@" 2>/dev/null; do
    ((SECONDS < deadline)) || fail "timed out waiting until $what"
    kill -0 "$agent" 2>/dev/null || fail "the agent has ended: $(cat "$log/error.log")"
    sleep 0.02
  done
}

# --- Its clients -----------------------------------------------------------------------------------

# get [OPTION...] URL...: calls the agent; prints the status of each response on a line of its own.
get() {
  curl --disable --noproxy '*' --silent --show-error --output /dev/null --write-out '%{http_code}\n' \
    "$@"
}

# one_client I N: client number I sends N requests of each kind, one kind after another. Clients begin with
# different kinds.
one_client() {
  local kind
  for kind in {1..6}; do
    case $((($1 + kind) % 6)) in
      0) get "$url/public/?[1-$2]" ;;                                # permitted without a login
      1) get --user "$alice" "$url/reports/q3.html?[1-$2]" ;;        # alice is permitted
      2) get --user "$bob" "$url/reports/missing.html?[1-$2]" ;;     # permitted, but missing
      3) get --user "$carol" "$url/reports/q3.html?[1-$2]" ;;        # carol is not permitted
      4) get --user bob:guess "$url/reports/q3.html?[1-$2]" ;;       # a wrong password
      5) get "$url/public/%0Aforged%20by%20%22mallory%22?[1-$2]" ;;  # tries to forge a line
    esac
  done
}

# many_clients NAME COMMAND...: runs the command for each of the `clients` clients at once, with the
# client's number as its first argument, and collects their output in the file $work/NAME.
many_clients() {
  local name=$1 command=$2 i
  local -a pids=()
  shift 2
  for ((i = 1; i <= clients; i++)); do
    "$command" "$i" "$@" >"$work/$name.$i" &
    pids+=($!)
  done
  for i in "${pids[@]}"; do wait "$i" || fail "a client could not reach the agent"; done
  cat "$work/$name".[0-9]* >"$work/$name"
}

until_enough() { while [[ ! -e $work/enough ]]; do one_client "$1" 5; done; }

# --- Contents of the logs --------------------------------------------------------------------------

lines() { wc -l <"$1"; }
count() { LC_ALL=C grep -acE -- "$1" "$2" || true; }
at_least() { (($(lines "$2") >= $1)); }

# show N FILE: prints the first N lines, cut to a screen's width.
show() { awk -v n="$1" -v w=160 \
  'NR > n { exit } { print "  " (length($0) > w ? substr($0, 1, w) "..." : $0) }' "$2"; }

date_re='\[[A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{2} [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\]'
error_re='^\[[0-9]+/[0-9]+\]'$date_re'\[[A-Za-z]+\.cpp:[0-9]+\]\[(INFO|WARNING|ERROR)\]'
error_re+='\[(login|isauth)-[0-9]{5}\] [^[:cntrl:]]+\.$'
text_re='"([^"\\]|\\.)+"' # in an audit record
audit_re='^time=[0-9-]{10}T[0-9:]{8}\.[0-9]{3}(Z|[+-][0-9:]{5}) pid=[0-9]+ tid=[0-9]+ request="[0-9-]+"'
audit_re+=' event="(allow|deny|unauthenticated|invalid)"'" user=$text_re client=$text_re"
audit_re+=" method=$text_re resource=$text_re"' rule=[0-9]+ status=[0-9]{3}$'
refusal_re='\]\[(login-0000[1-4]|isauth-000(07|08|09|10|11|12))\] '

# all_whole REGEX FILE: fails unless every line of the file is a whole record.
all_whole() {
  local torn
  torn=$(LC_ALL=C grep -avE -- "$1" "$2" | head -n 3) || true
  [[ -z $torn ]] || fail "split or unexpected lines in $2: $torn"
}

# agree WHAT N WHAT N: prints the two numbers; fails unless they are equal.
agree() {
  printf '  %-42s %6d   %-36s %6d\n' "$@"
  (($2 == $4)) || fail "the numbers differ"
}

# --- Many clients at once --------------------------------------------------------------------------

show_many_clients() {
  say "$clients clients at once: allowed, denied, wrong password, missing page, a forged log line"
  start_agent many C.UTF-8
  many_clients responses one_client 10
  stop_agent

  echo "error.log begins:"
  show 9 "$log/error.log"
  echo "audit.log begins:"
  show 6 "$log/audit.log"

  say "Counting: every request has one audit record, every refusal and failure one error message"
  local responses=$work/responses status
  agree "requests sent and answered" "$(lines "$responses")" "audit records" "$(lines "$log/audit.log")"
  for status in $(sort -u "$responses"); do
    agree "  responses with status $status" "$(count "^$status\$" "$responses")" \
      "audit records with that status" "$(count " status=$status\$" "$log/audit.log")"
  done
  agree "refused or failed" "$(count '^[^2]' "$responses")" \
    "error messages of refusals" "$(count "$refusal_re" "$log/error.log")"
  all_whole "$audit_re" "$log/audit.log"
  all_whole "$error_re" "$log/error.log"
  echo "  No line is split."
}

# --- Rollover --------------------------------------------------------------------------------------

# Requests with long records, so that a log reaches a megabyte soon.
one_verbose_client() {
  local long_name
  printf -v long_name '%07000d' 0
  get "$url/public/$long_name?[1-$2]"
}

show_rollover() {
  say "Logs rolled over by size, while $clients clients call: --log-size 1"
  start_agent rollover C.UTF-8 --log-size 1
  many_clients responses one_verbose_client 60
  stop_agent
  cat "$log"/audit*.log >"$work/audit.all"
  ls -sh1 "$log"/audit*.log | sed 's/^/  /'
  agree "requests sent and answered" "$(lines "$work/responses")" \
    "audit records in all files" "$(lines "$work/audit.all")"
  all_whole "$audit_re" "$work/audit.all"
  [[ -z $(find "$log" -name '*.log' -size +1024k) ]] || fail "a log is larger than a megabyte"

  echo "The same again, keeping three backups of each log: --log-size 1 --log-backups 3"
  start_agent rollover C.UTF-8 --log-size 1 --log-backups 3
  many_clients responses one_verbose_client 60
  stop_agent
  ls -sh1 "$log"/*.log | sed 's/^/  /'
  local name
  for name in audit error; do
    (($(find "$log" -name "${name}_*.log" | wc -l) == 3)) || fail "not three backups"
  done
}

# --- Sealed audit log ------------------------------------------------------------------------------

wylogctl() { "$build/bin/wylogctl" "$@"; }

show_sealed_audit() {
  say "A sealed audit log: wylogctl seal create, the agent with --seal, wylogctl seal verify"
  wylogctl seal create --quiet --keys "$work/keys" | sed 's/^verification key: //' >"$work/audit.key"
  start_agent sealed C.UTF-8 --seal "$work/keys" --log-size 1
  many_clients responses one_verbose_client 60
  get --user "$carol" "$url/reports/q3.html" >/dev/null
  stop_agent
  tail -n 1 "$log/audit.log" | show 1 -
  wylogctl seal verify --key "@$work/audit.key" --state "$work/keys" "$log/audit.log" | sed 's/^/  /'
  (($(find "$log" -name 'audit*.log' | wc -l) > 1)) || fail "the sealed log was not rolled over"

  echo "One character is altered in a copy, status=403 to status=203:"
  cp -r "$log" "$work/altered"
  sed -i 's/status=403/status=203/' "$work/altered/audit.log"
  local result=0
  wylogctl seal verify --key "@$work/audit.key" "$work/altered/audit.log" >"$work/verified" || result=$?
  show 3 "$work/verified"
  ((result == 1)) && grep -q ' changed ' "$work/verified" || fail "the change was not found"
}

# --- Tenants ---------------------------------------------------------------------------------------

# one_tenants_client I N: N requests to each host, as one_client does. The page names the tenant.
one_tenants_client() {
  local turn
  for turn in {1..5}; do
    case $((($1 + turn) % 5)) in
      0) get --header 'Host: red.example' "$url/public/red/[1-$2]" ;;
      1) get --header 'Host: Blue.Example:8080' "$url/public/blue/[1-$2]" ;;
      2) get --header 'Host: green.example' "$url/public/others/[1-$2]" ;;   # not a tenant
      3) get --header 'Host: ../red.example' "$url/public/others/[1-$2]" ;;  # tries to choose a folder
      4) get --header 'Host:' "$url/public/others/[1-$2]" ;;                 # no host
    esac
  done
}

# has_its_own_requests FOLDER TENANT PAGES N: checks that the logs in the folder contain the N requests for
# these pages, and no others. Each page was missing, and each request was traced twice.
has_its_own_requests() {
  local page="/public/$3/[0-9]+"
  agree "requests to /public/$3/" "$4" "audit records there" "$(lines "$1/audit.log")"
  (($(count " resource=\"$page\" " "$1/audit.log") == $4)) || fail "unexpected audit records in $1"
  (($(count '\[isauth-00011\] ' "$1/error.log") == $4 &&
    $(count "\[isauth-00011\] .*$page" "$1/error.log") == $4)) || fail "unexpected messages in $1"
  (($(count "^\[$2\]\[$page\]" "$1/trace.log") == 2 * $4 &&
    $(lines "$1/trace.log") == 2 * $4 + 2)) || fail "unexpected trace records in $1"
  all_whole "$audit_re" "$1/audit.log"
}

show_tenants() {
  say "Tenants, by the host in the requests of $clients clients: --tenant red.example --tenant blue.example"
  printf 'components IsAuthorized\ndata Tenant Resource Result Message\n' >"$work/trace.conf"
  start_agent tenants C.UTF-8 --tenant red.example --tenant blue.example \
    --trace --trace-config "$work/trace.conf"
  many_clients responses one_tenants_client 10
  stop_agent
  (cd "$log" && find . -name '*.log' | sort | xargs wc -l | sed 's/^/  /')
  echo "trace.log of red.example:"
  show 6 "$log/red.example/trace.log"
  has_its_own_requests "$log/red.example" red.example red $((clients * 10))
  has_its_own_requests "$log/blue.example" blue.example blue $((clients * 10))
  has_its_own_requests "$log" - others $((clients * 30))
  [[ $(find "$log" -mindepth 1 -type d | sort) == "$log/blue.example"$'\n'"$log/red.example" ]] ||
    fail "folders of other tenants"
}

# --- In two languages ------------------------------------------------------------------------------

# one_of_each LANGUAGE: logs one message of each kind in a folder of that name, and writes the messages
# without their prologs to the file `messages` there.
one_of_each() {
  start_agent "$1" "$1"
  get --user "$alice" "$url/reports/missing.html" >"$work/responses"
  get --user "$bob" --request DELETE "$url/drafts/plan.html" >>"$work/responses"
  get --user bob:guess "$url/reports/" >>"$work/responses"
  get --user eve:guess "$url/reports/" >>"$work/responses"
  get "$url/reports/" >>"$work/responses"
  stop_agent
  ! run_agent_once "$1" --policy "$work/broken.conf" || fail "a broken policy was accepted"
  sed -nE 's/^.*(\[(INFO|WARNING|ERROR)\]\[)/\1/p' "$log/error.log" |
    grep -vE 'isauth-0000[1-4]\]' >"$log/messages"
}
run_agent_once() { (run_agent "$@" 2>"$log/stderr"); }

show_languages() {
  say "The same messages in English and in German (LC_ALL=de_DE.UTF-8)"
  printf 'user dora\n' >"$work/broken.conf"
  one_of_each en_US.UTF-8
  local english=$log/messages
  one_of_each de_DE.UTF-8
  show 20 "$english"
  echo
  show 20 "$log/messages"
  diff <(grep -oE '^\S+' "$english") <(grep -oE '^\S+' "$log/messages") ||
    fail "severities or keys of the messages differ"
  [[ $(sort "$english" "$log/messages" | uniq -d) == '' ]] || fail "a message is not translated"
}

# --- Tracing ---------------------------------------------------------------------------------------

traced_requests() {
  get --user "$alice" "$url/reports/q3.html"
  get --user "$carol" "$url/reports/q3.html"
  get --user bob:guess "$url/reports/q3.html"
}

show_layouts() {
  local -A names=([0]=Brackets [1]=FixedWidth [2]=Delimited [3]=Xml [json]=Json)
  local -A heads=([0]=6 [1]=6 [2]=6 [3]=13 [json]=4)
  local layout records expected=''
  for layout in 0 1 2 3 json; do
    say "The same requests traced in layout $layout, ${names[$layout]}"
    start_agent "layout$layout" C.UTF-8 --trace --trace-config "$samples/trace.conf" \
      --trace-layout "$layout" --trace-delimiter ' | '
    traced_requests >"$work/responses"
    stop_agent
    show "${heads[$layout]}" "$log/trace.log"
    case "$layout" in
      3) records=$(count '^<TraceMessage>$' "$log/trace.log") ;;
      json) records=$(lines "$log/trace.log") ;;
      *) records=$(($(lines "$log/trace.log") - 2)) ;;
    esac
    ((records == ${expected:=$records} && records > 0)) || fail "$records records, not $expected"
  done
}

show_filter() {
  say "The same requests, traced through a filter: User: ==carol"
  { cat "$samples/trace.conf" && echo 'User: ==carol'; } >"$work/trace.conf"
  start_agent filter C.UTF-8 --trace --trace-config "$work/trace.conf"
  traced_requests >"$work/responses"
  stop_agent
  show 20 "$log/trace.log"
  local records=$(($(lines "$log/trace.log") - 2))
  ((records > 0 && records == $(count '\[carol\]' "$log/trace.log"))) || fail "other records were kept"
}

# switch_tracing SIGNAL KEY: sends the agent a signal, and waits for the message that reports the change.
switch_tracing() {
  local before
  before=$(count "$2" "$log/error.log")
  kill "-$1" "$agent"
  wait_until "tracing has changed" eval "((\$(count '$2' '$log/error.log') > $before))"
}
tracing_on() { switch_tracing USR1 isauth-00014; }
tracing_off() { switch_tracing USR2 isauth-00015; }

# serve_more FILE: waits until a log has fifty more lines.
serve_more() { wait_until "$1 grows" at_least $(($(lines "$1") + 50)) "$1"; }

show_switching() {
  say "Tracing turned on and off by signals while $clients clients call"
  cp "$samples/trace.conf" "$work/trace.conf"
  start_agent switching C.UTF-8 --trace-config "$work/trace.conf"
  many_clients responses until_enough &
  local load=$! untraced
  serve_more "$log/audit.log"
  [[ ! -e $log/trace.log ]] || fail "traced before it was turned on"
  echo "  off: no trace file yet, $(lines "$log/audit.log") requests served"

  tracing_on
  serve_more "$log/trace.log"
  tracing_off
  untraced=$(lines "$log/trace.log")
  echo "  on:  SIGUSR1 ... SIGUSR2, $untraced trace lines"
  serve_more "$log/audit.log"
  (($(lines "$log/trace.log") == untraced)) || fail "traced after it was turned off"
  echo "  off: $(lines "$log/audit.log") requests served, no further trace lines"

  printf 'components IsAuthorized\ndata User Action Resource Result\n' >"$work/trace.conf"
  tracing_on
  serve_more "$log/trace.log"
  echo "  on:  SIGUSR1 with another configuration, $(lines "$log/trace.log") trace lines"

  touch "$work/enough"
  wait "$load"
  stop_agent
  echo "The last lines of trace.log:"
  tail -n 3 "$log/trace.log" | show 3 -
  agree "requests sent and answered" "$(lines "$work/responses")" \
    "audit records" "$(lines "$log/audit.log")"
  all_whole "$audit_re" "$log/audit.log"
  all_whole '^(\[[^][]*\]){4}$|^(\[[^][]*\]){10}$' "$log/trace.log"
  echo "  Every trace line is complete and follows one of the two configurations."
}

# --- Java ------------------------------------------------------------------------------------------

# java_agent REQUEST...: runs the agent in Java on the requests, with its logs in the folder $log.
java_agent() {
  printf '%s\n' "$@" | env ORVA_WA_ROOT="$build" LC_ALL=C.UTF-8 java \
    -classpath "$build/lib/java_agent.jar:$build/lib/wyerrlog.jar" \
    -Dwyerrlog.library="$build/lib/libwyerrlog.so" \
    -Djava.util.logging.config.file=examples/java_agent/logging.properties \
    agent.JavaAgent "$samples/policy.conf" "$build/messages" "$log" "$samples/trace.conf"
}

show_java() {
  say "An agent in Java at the same time: same policy, catalogs, trace configuration and log files"
  case "$preset" in
    asan | tsan)
      echo "  Left out: a Java virtual machine cannot load libraries that are built with a sanitizer."
      return
      ;;
  esac
  start_agent java C.UTF-8 --trace --trace-config "$samples/trace.conf"
  get --user "$carol" "$url/reports/q3.html" >"$work/responses"
  java_agent 'carol GET /reports/q3.html' 'alice GET /reports/q3.html' >"$work/decisions"
  get --user "$carol" "$url/reports/q3.html" >>"$work/responses"
  stop_agent
  echo "error.log:"
  show 9 "$log/error.log"
  echo "trace.log, the records of Java:"
  grep -E '\[(decide|findRule)\]' "$log/trace.log" | show 9 -

  local not_permitted='\[WARNING\]\[isauth-00007\] '
  agree "refused in C++" "$(count "\.cpp:[0-9]+\]$not_permitted" "$log/error.log")" \
    "by status" "$(count '^403$' "$work/responses")"
  agree "refused in Java" "$(count "\.java\]$not_permitted" "$log/error.log")" \
    "by decision" "$(count '^deny ' "$work/decisions")"
  sed -nE "s/^.*$not_permitted//p" "$log/error.log" | sed -E 's/ \([0-9-]+\)//' | sort -u >"$work/texts"
  (($(lines "$work/texts") == 1)) ||
    fail "the messages of the two agents differ"
  (($(count '\[(decide|findRule)\]' "$log/trace.log") == 6)) || fail "trace records of Java are missing"
}

# --- wylogctl --------------------------------------------------------------------------------------

# ctl ARGUMENT...: prints the command and its first lines, runs it in the folder of the logs.
ctl() {
  echo "\$ wylogctl $*"
  local root=$PWD
  (cd "$log" && env ORVA_WA_ROOT="$root/$build" "$root/$build/bin/wylogctl" "$@" 2>&1) >"$work/ctl" ||
    fail "wylogctl $1 ends with $?: $(tail -n 3 "$work/ctl")"
  show 24 "$work/ctl"
  echo
}

show_wylogctl() {
  say "The logs of a busy agent, read with wylogctl"
  mkdir -p "$work/wylogctl"
  sed 's/^data: /&Date, /' "$samples/trace.conf" >"$work/wylogctl/trace.conf"
  start_agent wylogctl C.UTF-8 --log-size 1 --trace --trace-config "$work/wylogctl/trace.conf"
  many_clients responses one_verbose_client 40
  get "$url/public/request-4711" >"$work/response"
  many_clients responses one_verbose_client 40
  stop_agent
  (($(find "$log" -name 'audit_*.log' | wc -l) > 1)) || fail "no backups"

  ctl config explain --load trace.conf
  local id
  id=$(cat "$log"/audit*.log | sed -nE 's/^.* request="([0-9-]+)".*request-4711.*$/\1/p')
  ctl log -q -o table --request "$id" error.log audit.log trace.log
  (($(count "$id" "$work/ctl") >= 4)) || fail "the request is not in all three logs"
  ctl stats -q --by key error.log
  ctl verify error.log audit.log trace.log
}

# --- All parts -------------------------------------------------------------------------------------

scripts/install-deps.sh
configure_and_build "$preset" access_agent java_agent wylogctl
rm -rf "$work"
mkdir -p "$work"
cp -r "$samples/site" "$work/site"

show_many_clients
show_rollover
show_sealed_audit
show_tenants
show_languages
show_layouts
show_filter
show_switching
show_java
show_wylogctl
say "All checks passed. The logs are in $work, the sources of the agents in examples/"
