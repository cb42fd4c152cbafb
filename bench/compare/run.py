#!/usr/bin/env python3
"""Compares the contestants with each other, in turns.

Every contestant writes the same records to a file on disk, each in a process of its own, one after
another, and that for several rounds; what counts is the median of the rounds, as a multiple of the
bare write of lines of the same length in the same rounds. What was written is checked each time.

Prints tables in Markdown; with --chart also draws them (needs gnuplot).
"""

import argparse
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = "wyerrlog"
PEERS = ["spdlog", "log4cplus", "log4cxx", "boostlog", "glog"]
WARM_UP = 3000

# ---- What is compared ---------------------------------------------------------------------------

PLAIN, LIMITED_APPEND, LIMITED_BACKUP = 1, 3, 4


class Case:
    """One row of a table: what each contestant logs, where to, on how many threads."""

    def __init__(self, title, name, contestants, kind=PLAIN, threads=1):
        self.title, self.name, self.kind, self.threads = title, name, kind, threads
        self.contestants = contestants


MESSAGES = [
    Case("message, translated", "translated", ["cached", LIBRARY, *PEERS]),
    Case("message, printf-style", "printf", [LIBRARY]),
    Case("audit record", "audit", [LIBRARY]),
    Case("trace, bracketed", "trace0", [LIBRARY]),
    Case("trace, fixed width", "trace1", [LIBRARY]),
    Case("trace, delimited", "trace2", [LIBRARY]),
    Case("trace, XML", "trace3", [LIBRARY]),
    Case("message, limited file (mode 3)", "translated", [LIBRARY, *PEERS], LIMITED_APPEND),
    Case("message, limited file (mode 4)", "translated", [LIBRARY], LIMITED_BACKUP),
]
THREADS = [
    Case(f"{title}, {threads} threads", name, contestants, kind, threads)
    for title, name, kind, contestants in (
        ("message", "translated", PLAIN, ["cached", LIBRARY, *PEERS]),
        ("trace, bracketed", "trace0", PLAIN, [LIBRARY]),
        ("message, limited file (mode 3)", "translated", LIMITED_APPEND, [LIBRARY]))
    for threads in (2, 4, 8)
]
# Calls that write nothing: nanoseconds of a processor per call.
NOTHING = [
    Case(f"{title}, {threads} thread{'s' * (threads > 1)}", name, [LIBRARY, *PEERS], PLAIN, threads)
    for title, name in (("not traced, tracing off", "tracing-off"),
                        ("not traced, tracing on for others", "tracing-of-others"),
                        ("traced, filtered by the first field", "filtered"))
    for threads in (1, 2, 4)
]

# ---- What they must have written ----------------------------------------------------------------

ARGUMENTS = (rb"(?:alice01|berta02|carol03|david04|emily05|frank06|gerda07|henry08)",
             rb"(?:write|fetch|erase)", rb"/(?:reports/2026/q\d|accounts/\d{6})")
TEXT = rb"User %s may not %s %s\." % ARGUMENTS
DATE = rb"\w{3} \w{3} \d\d \d{4} \d\d:\d\d:\d\d"
MESSAGE = (rb"\[(?:0x)?[0-9a-f]+/(?:0x)?[0-9a-f]+\]\[%s\]\[\w+\.cpp:\d+\]\[(?:WARN|WARNING|warning)\] ?"
           rb"\[agent-00001\] %s\n" % (DATE, TEXT))
MESSAGE_OF_GLOG = rb"W\d{8} \d\d:\d\d:\d\d\.\d{6} +\d+ Glog\.cpp:\d+\] \[\d+\]\[agent-00001\] %s\n" % TEXT
VALUES = [rb"\d\d/\d\d/\d{4}", rb"\d\d:\d\d:\d\d\.\d{3}", rb"\d+", rb"\d+", rb"AgentHost\.h",
          rb"TraceRefusal", TEXT]
NAMES = [b"Date", b"PreciseTime", b"Pid", b"Tid", b"SrcFile", b"Function", b"Message"]
RECORD = {
    "translated": MESSAGE,
    "printf": MESSAGE,
    "audit": rb'\[%s\] decision=deny client="192\.0\.2\.117" user="%s" action="%s" resource="%s" '
             rb"rule=41\n" % (DATE, *ARGUMENTS),
    "trace0": b"".join(rb"\[%s\]" % value for value in VALUES) + b"\n",
    "trace1": rb" +".join(VALUES) + b" +\n",
    "trace2": b";".join(VALUES) + b"\n",
    "trace3": rb"<TraceMessage>\n" + b"".join(
        rb"\t<%s>%s</%s>\n" % (name, value, name) for name, value in zip(NAMES, VALUES)) +
        rb"</TraceMessage>\n",
}
TITLE_LINES = rb"(?:.*Date.*Message.*\n.*===.*===.*\n|Log file created.*\n(?:.*\n){3})?"


def check(contestant, case, path, count):
    """Ends the run unless the file holds that many complete records; answers the bytes of one."""
    content = path.read_bytes() if path.exists() else b""
    content = content[re.match(TITLE_LINES, content).end():]
    if case in RECORD:
        own = {"bare": rb"x+\n", "glog": MESSAGE_OF_GLOG}
        pattern = own.get(contestant, RECORD[case])
        lengths = [len(record) for record in re.findall(pattern, content)]
    else:
        count, lengths = 0, []
    if len(lengths) != count or sum(lengths) != len(content):
        sys.exit(f"{contestant}, {case}: {len(lengths)} complete records of {sum(lengths)} bytes "
                 f"where {count} were logged in {len(content)} bytes, the first of them:\n"
                 f"{content[:300]!r}")
    return round(statistics.median(lengths)) if lengths else 0


# ---- Runs ---------------------------------------------------------------------------------------


class Runner:
    def __init__(self, programs, directory, records):
        self.programs, self.directory, self.records = programs, directory, records

    def has(self, contestant):
        return (self.programs / f"compare_{contestant}").exists()

    def run(self, contestant, case, records, bare_bytes=0):
        """Nanoseconds per record and bytes per record; None when it has no such case."""
        path = self.directory / "records.log"
        name = str(bare_bytes) if contestant == "bare" else case.name
        share = records // case.threads
        command = [self.programs / f"compare_{contestant}", name, str(case.kind), path, str(share),
                   str(case.threads), str(WARM_UP)]
        result = subprocess.run(command, stdout=subprocess.PIPE, text=True)
        try:
            if result.returncode == 2:
                return None
            if result.returncode != 0:
                sys.exit(f"{command} failed")
            size = check(contestant, case.name, path, (share + WARM_UP) * case.threads)
            return float(result.stdout), size
        finally:
            for file in self.directory.iterdir():
                file.unlink()

    def measure(self, case, rounds):
        """{contestant: [nanoseconds per record, one a round]}, and the bytes of a record."""
        writes = case.name in RECORD
        records = self.records if writes else 50 * self.records
        processors = min(case.threads, os.cpu_count())
        contestants = [each for each in case.contestants if self.has(each)]
        # The first runs tell who has the case, and how long a line is.
        sizes = {each: self.run(each, case, 1000 * case.threads) for each in contestants}
        sizes = {each: first[1] for each, first in sizes.items() if first is not None}
        names = (["bare"] if writes else []) + list(sizes)
        times = {each: [] for each in names}
        for _ in range(rounds):
            for each in names:
                nanoseconds, _ = self.run(each, case, records, sizes[LIBRARY])
                times[each].append(nanoseconds * (1 if writes else processors))
        return times, sizes[LIBRARY]


# ---- Results ------------------------------------------------------------------------------------


def spread(times):
    """Half the interquartile range."""
    if len(times) < 2:
        return 0
    low, _, high = statistics.quantiles(times, n=4, method="inclusive")
    return (high - low) / 2


def cell(times, bare):
    """Nanoseconds, their spread, and how many bare writes that is."""
    digits = 0 if bare else 1
    median = statistics.median(times)
    text = f"{median:.{digits}f} ± {spread(times):.{digits}f}"
    return f"{text} (**{median / bare:.2f}**)" if bare else text


def print_table(title, cases, runner, rounds):
    """Prints the table as it is measured; answers [(case, contestant, ratio)]."""
    columns = [each for each in ["bare", "cached", LIBRARY, *PEERS]
               if any(each in case.contestants or each == "bare" and case.name in RECORD
                      for case in cases)]
    print(f"\n### {title}\n")
    print(f"| case | {' | '.join(columns)} |")
    print("|---" * (len(columns) + 1) + "|")
    results = []
    for case in cases:
        times, size = runner.measure(case, rounds)
        bare = statistics.median(times["bare"]) if "bare" in times else None
        row = f"{case.title}, {size} bytes" if size else case.title
        cells = [cell(times[each], bare) if each in times else "" for each in columns]
        print(f"| {row} | {' | '.join(cells)} |", flush=True)
        if bare:
            results += [(case, each, statistics.median(times[each]) / bare) for each in times]
    return results


def draw(path, results):
    """Bars: how many bare writes a record takes, by case and contestant."""
    rows, height, previous = [], 0.0, None
    for case, contestant, ratio in results:
        if contestant == "bare":
            continue
        height += 1 if case is previous else 1.6
        previous = case
        colour = "0x1f77b4" if contestant == LIBRARY else "0xb0b7bf"
        rows.append(f'"{case.title}: {contestant}" {height:.1f} {ratio:.3f} {colour}')
    rows = "\n".join(rows)
    script = f"""
set terminal svg size 900,{60 + 20 * height:.0f} font "sans-serif,12" background "white"
set output "{path}"
set style fill solid 0.9 noborder
set yrange [{height + 1:.1f}:0] noreverse
set xrange [0:*]
set xtics out nomirror
set ytics out nomirror
set grid xtics
set border 3
set xlabel "time per record, in bare writes of as many bytes"
set arrow from 1, graph 0 to 1, graph 1 nohead lc rgb "#444444" dt 2
unset key
$bars << END
{rows}
END
plot $bars using (0):2:(0):3:($2-0.4):($2+0.4):4:ytic(1) with boxxyerror lc rgb variable, \\
     $bars using 3:2:(sprintf("%.2f", $3)) with labels left offset 0.7
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release",
                        help="build directory (default: build/release)")
    parser.add_argument("--records", type=int, default=200_000, help="per run (default: 200000)")
    parser.add_argument("--rounds", type=int, default=9, help="default: 9")
    parser.add_argument("--only", default="", help="regular expression: cases by their titles")
    parser.add_argument("--chart", type=pathlib.Path, help="SVG file to draw")
    arguments = parser.parse_args()

    directory = pathlib.Path(tempfile.mkdtemp(prefix="compare-", dir=arguments.build))
    try:
        runner = Runner(arguments.build / "bench/bin", directory, arguments.records)
        missing = [each for each in PEERS if not runner.has(each)]
        if missing:
            print(f"Not built, and left out: {', '.join(missing)}.")
        results = []
        for title, cases in (("One thread", MESSAGES), ("Several threads, one file", THREADS),
                             ("Nothing written", NOTHING)):
            chosen = [case for case in cases if re.search(arguments.only, case.title)]
            if chosen:
                results += print_table(title, chosen, runner, arguments.rounds)
        if arguments.chart and results:
            draw(arguments.chart, results)
    finally:
        shutil.rmtree(directory)


if __name__ == "__main__":
    main()
