"""shipping_test.py CONFIGURATION SHIPPING_LOAD WYLOGCTL [RECORDS]: ships the records of a real program while the
daemons are killed and started again. Prints what got lost, what is there twice, and how long it took.
"""
import html.parser
import itertools
import json
import shutil
import subprocess
import sys
import time

import daemons

# The instances of each configuration, with their files.
CONFIGURATIONS = {
    "columns": {"client": ["inputs", "parse", "store"]},
    "direct": {"client": ["inputs", "parse", "store"]},
    "syslog-ng": {"client": None},
    "relp-disk": {"central": ["central", "store"], "client": ["inputs", "parse", "forward"]},
    "relp": {"central": ["central", "store"], "client": ["inputs", "parse", "forward"]},
}


class Run:
    def __init__(self, configuration):
        self.run = daemons.UNPACKED / "run" / configuration
        shutil.rmtree(self.run, ignore_errors=True)
        (self.run / "logs").mkdir(parents=True)
        daemons.certificates(self.run, {"store": "localhost", "wyerrlog_shipper": "wyerrlog_shipper",
                                        "client": "client.example", "central": "central.example"})
        self.store = daemons.Store(self.run, daemons.environment(self.run))
        self.env = daemons.environment(
            self.run, WYERRLOG_STORE=self.store.shipper,
            WYERRLOG_STORE_QUEUE="Direct" if configuration == "relp" else "Disk", WYERRLOG_CENTRAL="localhost",
            WYERRLOG_STORE_HOST="localhost", WYERRLOG_STORE_PORT=self.store.port,
            WYERRLOG_CENTRAL_PORT=daemons.free_port(), WYERRLOG_CENTRAL_NAME="central.example",
            WYERRLOG_CLIENT_NAMES="client.example")
        self.victims = [self.store]

    def add(self, name, files):
        if files is None:
            daemon = daemons.syslog_ng(name, self.run, self.env)
        else:
            daemon = daemons.rsyslog(name, self.run, [f"wyerrlog-{file}.conf" for file in files], self.env)
        if files and "inputs" in files:
            daemon.before = [daemons.SHIPPING / "rsyslog/wyerrlog-rewind", "start", self.run / name]
        self.victims.append(daemon)
        daemon.start()

    def stop(self):
        for daemon in reversed(self.victims):
            daemon.stop()

    def kill(self, daemons, seconds):
        """Kills them at the same time, and starts them after some time. Then breaks the connections to the
        store, which can be made anew at once."""
        for daemon in daemons:
            daemon.process.kill()
        time.sleep(seconds)
        for daemon in daemons:
            daemon.process.wait()
            daemon.start()
        self.store.wait()
        self.store.sql("select pg_terminate_backend(pid) from pg_stat_activity where usename = 'wyerrlog_shipper'")

    def kill_in_turn(self, load, seconds):
        """Kills the servers in turn while the program runs, and once, in the middle, all daemons at once."""
        middle = time.monotonic() + seconds / 2
        for server in itertools.cycle(daemon for daemon in self.victims if daemon.name != "client"):
            time.sleep(2)
            if load.poll() is not None:
                break
            at_once = middle is not None and time.monotonic() > middle
            self.kill(self.victims if at_once else [server], 1)
            middle = None if at_once else middle


RATE = 2000  # records a second

# A record's number in its text; each line of the program has one.
NUMBERS = "select substring(text from 'n=([0-9]+);')::int as n from wyerrlog.records"


def count(run, what):
    return int(run.store.sql(f"select {what} from ({NUMBERS}) as shipped"))


def is_complete(run, records):
    """Counts the rows first: the numbers take as much processor time as the daemons."""
    rows = int(run.store.sql("select count(*) from wyerrlog.records"))
    return rows >= records and count(run, "count(distinct n)") >= records


def is_whole(run, wylogctl):
    """The store has all sealed records, and they are those of the log."""
    run.store.psql("-f", daemons.SHIPPING / "postgresql/queries.sql")
    logs = run.run / "logs"
    verify = subprocess.run([wylogctl, "seal", "verify", "--key", f"@{logs}/audit.key", "--anchors", "-", logs / "audit.log"],
                            input=run.store.sql("select anchor from wyerrlog.anchors") + "\n", text=True)
    return verify.returncode == 0 and run.store.sql("select * from wyerrlog.sequence_gaps") == ""


def measure(run, shipping_load, records):
    accepted = run.run / "accepted"
    with open(accepted, "w") as out:
        load = subprocess.Popen([shipping_load, str(run.run / "logs"), str(records), str(records / RATE)],
                                stdout=out, env=run.env)
    run.kill_in_turn(load, records / RATE)
    if load.wait() != 0:
        raise RuntimeError("shipping_load failed")
    ended = time.monotonic()
    numbers = {int(line) for line in accepted.read_text().split()}
    try:
        daemons.wait_until(lambda: is_complete(run, len(numbers)), 300, "complete store")
    except RuntimeError:
        pass  # the row shows what is missing
    seconds = time.monotonic() - ended
    time.sleep(4)  # a record that is sent twice comes now
    lost = len(numbers) - count(run, "count(distinct n)")
    twice = count(run, "count(n) - count(distinct n)")
    return len(numbers), lost, twice, seconds


# Lines that a log may contain, and what the store makes of them: the columns that are not null.
ERROR = "[1/2][Mon Nov 16 2026 17:16:13]"
SEAL = "~7~X2vOUrk9NPPGeiBenqVDsg"
AT = {"pid": 1, "tid": 2, "time": "2026-11-16T17:16:13+00:00"}
HEAD = '"time":"2026-11-16T17:16:13.000Z","pid":1,"tid":2,"event":"login"'
LINES = {
    "error": [
        (ERROR + "[a.cpp:41][ERROR][login-00001] [x]", dict(AT, severity="ERROR", key="login-00001", place="a.cpp:41")),
        (ERROR + "[Servlet][INFO] a\n\nb\n[c]", dict(AT, severity="INFO", place="Servlet")),
        ("[1/2][Mon Feb 31 2026 25:00:00][a.cpp:1][ERROR] no such time",
         {"pid": 1, "tid": 2, "severity": "ERROR", "place": "a.cpp:1"}),
        (ERROR + "[a.cpp:1][ERROR][k-1] a zero \0 byte and 'quotes' \\", None),
        (ERROR + "[a.cpp:1][ERROR][k-1] no UTF-8: \udcff\udcfe", None),
        (ERROR + "[a.cpp:1][ERROR][<img src=x>] </td><script>alert(1)</script>", None),
    ],
    "trace": [
        ('{"Date":"11/16/2026","PreciseTime":"17:16:13.000","Pid":1,"Tid":2,"TransactionID":"r1","User":"bob","Line":true}',
         dict(AT, request="r1", username="bob", fields={"Line": True, "Pid": 1, "Tid": 2, "User": "bob", "Date": "11/16/2026",
                                                        "PreciseTime": "17:16:13.000", "TransactionID": "r1"})),
        ('{"User":"zero \\u0000 and \\ud800"}', {"username": "zero \ufffd and \ufffd", "fields": {"User": "zero \ufffd and \ufffd"}}),
        ("{not JSON", {}),
    ],
    "audit": [
        ("{" + HEAD + ',"request":"r2","fields":{"user":"eve","n":12345678901234567890123}}',
         dict(AT, event="login", request="r2", username="eve", fields={"user": "eve", "n": 12345678901234567890123})),
        ("{" + HEAD + ',"fields":{"user":"al"}}\t' + SEAL,
         dict(AT, event="login", username="al", fields={"user": "al"}, sequence=7, tag=SEAL[3:])),
        ("forged\t" + SEAL.replace("X2", "AA"), {"sequence": 7, "tag": SEAL.replace("X2", "AA")[3:]}),
        ('time=2026-11-16T17:16:13.000Z pid=1 tid=2 request="r3" event="login" user="a \\" b" pid=9 n=1.5 b=true',
         dict(AT, event="login", request="r3", username='a " b', fields={"user": 'a " b', "pid": 9, "n": 1.5, "b": True})),
        ('[Mon Nov 16 2026 17:16:13] deny user="eve" rule=2',
         {"time": AT["time"], "username": "eve", "fields": {"user": "eve", "rule": 2}}),
        ("{" + HEAD + ',"fields":{"user":"' + "u" * 5000 + '"}}', None),
        ("long " + "x" * 3000000, {}),
    ],
}


# The views, and what they have to say about LINES.
ANSWERS = {
    "select count(*) from wyerrlog.requests where request in ('r1', 'r2', 'r3')": "3",
    "select username from wyerrlog.denials where text like '[Mon%'": "eve",
    "select sum(messages) from wyerrlog.messages_per_hour where key = 'k-1'": "2",
    "select first_missing || '-' || last_missing from wyerrlog.sequence_gaps": "1-6",
    "select array_length(tags, 1) from wyerrlog.anchor_conflicts": "2",
    "select count(*) from wyerrlog.lag": "3",
}


def check_answers(store):
    store.psql("-f", daemons.SHIPPING / "postgresql/queries.sql")
    found = {query: store.sql(query) for query in ANSWERS}
    if found != ANSWERS:
        raise RuntimeError(f"the views have {found}")


class Page(html.parser.HTMLParser):
    """What a browser would make of a page: its elements, its attributes, and its texts."""

    def __init__(self, page):
        super().__init__()
        self.elements, self.attributes, self.text = set(), set(), ""
        self.feed(page)

    def handle_starttag(self, tag, attributes):
        self.elements.add(tag)
        self.attributes.update(name for name, _ in attributes)

    def handle_data(self, data):
        self.text += data


def check_report(store, wylogctl):
    """The page of LINES has their counts and texts, and no text of a log becomes an element of it."""
    rows = store.sql("select wyerrlog.report('2026-11-16', '2026-11-17')")
    made = subprocess.run([wylogctl, "report"], input=rows, text=True, capture_output=True)
    page = Page(made.stdout)
    foreign = page.elements & {"script", "img", "link", "iframe", "object", "base"}
    loading = {name for name in page.attributes if name.startswith("on") or name in ("src", "href", "style")}
    texts = ["3requests", "1refusal", "4errors", "0warnings", "<img src=x>", "</td><script>alert(1)</script>"]
    missing = [text for text in texts if text not in page.text]
    if made.returncode or foreign or loading or missing:
        raise RuntimeError(f"the page has {foreign} {loading} and lacks {missing}: {made.stderr}")


def is_shipped(run, wylogctl):
    """What ship check says, by the notes of rsyslog and by the store, of a host whose logs are all in the store."""
    lag = run.store.sql("select row_to_json(l) from wyerrlog.lag l")
    host = json.loads(lag.splitlines()[0])["host"]
    done = subprocess.run([wylogctl, "ship", "check", "--config", run.run / "client.conf", "--tz", "utc", "--outage", "1s",
                           "--store", "-", "--host", host, "-o", "json"],
                          input=lag, text=True, capture_output=True, env=run.env)
    rows = [json.loads(line) for line in done.stdout.splitlines()]
    if done.returncode == 0 and len(rows) == 3 and not any(row["not_shipped"] for row in rows):
        return True
    print(done.stdout, done.stderr)
    return False


def check_columns(run, wylogctl):
    """Ships LINES, each log twice under two names, as after a rollover: there is one row for each."""
    lines = [(kind, *line) for kind in LINES for line in LINES[kind]]
    for kind, records in LINES.items():
        log = run.run / "logs" / f"{kind}.log"
        log.write_text("".join(text + "\n" for text, _ in records), errors="surrogateescape")
        shutil.copy(log, log.with_name(f"{kind}_20261116_171613.log"))
    daemons.wait_until(lambda: int(run.store.sql("select count(*) from wyerrlog.records")) >= len(lines), 60, "rows")
    time.sleep(3)
    rows = [json.loads(row) for row in run.store.sql(
        "select to_jsonb(r) - '{day,id,received,host,program,file,position}'::text[] from wyerrlog.records r").splitlines()]
    found = {(row.pop("kind"), row.pop("text")): {name: value for name, value in row.items() if value is not None}
             for row in rows}
    wrong = [f"{text[:80]!r}: {found.get((kind, text))} instead of {columns}" for kind, text, columns in lines
             if columns is not None and found.get((kind, text)) != columns]
    if wrong or len(rows) != len(lines):
        raise RuntimeError("\n".join([f"{len(rows)} rows for {len(lines)} records", *wrong]))
    check_answers(run.store)
    check_report(run.store, wylogctl)
    daemons.wait_until(lambda: is_shipped(run, wylogctl), 30, "host that ship check finds to be shipped")
    print(f"columns: {len(rows)} records")
    return 0


def main():
    configuration, shipping_load, wylogctl, *records = sys.argv[1:]
    daemons.become_ordinary_user()
    run = Run(configuration)
    try:
        for name, files in CONFIGURATIONS[configuration].items():
            run.add(name, files)
        if configuration == "columns":
            return check_columns(run, wylogctl)
        accepted, lost, twice, seconds = measure(run, shipping_load, int(records[0]) if records else 40000)
        whole = is_whole(run, wylogctl)
    finally:
        run.stop()
    print(f"{configuration}: accepted {accepted}, lost {lost}, twice {twice}, "
          f"complete {seconds:.0f} s after the last record")
    return lost != 0 or twice != 0 or not whole


sys.exit(main())
