#!/usr/bin/env python3
"""Compares logging in Java with the C++ call of the same record: run.py [BUILD] [--publish]

Runs each contestant in several virtual machines, in turns. In each machine, rounds of Java take turns with
rounds of C++ on the same thread, so that the ratio does not depend on what else the computer does. Prints a
table for docs/performance.md; --publish writes it into that page.
"""

import argparse
import os
import re
import shutil
import statistics
import subprocess
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs/performance.md"
MARKS = ("<!-- java: begin -->\n", "<!-- java: end -->")

# (contestant, case, title, goal as a ratio to the C++ call)
RUNS = [
    ("Typed", "message", "translated message, `WyLog.message`", "1.30"),
    ("Native", "message", "translated message, `WyLogger.LogMsg`", ""),
    ("Trace", "trace", "trace record of seven fields, `WyTrace`", "1.50"),
    ("NativeTrace", "trace", "trace record of seven fields, `WyLogger.TraceMsg`", ""),
    ("JulBridge", "message", "`java.util.logging`, `WyLogHandler`", "2 native messages"),
    ("SystemBridge", "message", "`System.Logger`, `WyLoggerFinder`", ""),
    ("JulFile", "message", "`java.util.logging`, `FileHandler`", ""),
    ("Log4j2", "message", "Log4j 2, file appender, immediate flush", ""),
    ("Logback", "message", "Logback, file appender, immediate flush", ""),
    ("Untraced", "untraced", "not traced, tracing off", "3 ns"),
    ("Untraced", "untraced-on", "not traced, tracing on for others", "3 ns"),
]


def run_once(settings, contestant, case, rounds, records):
    """Returns a row (Java, C++, elapsed Java, elapsed C++) for each round of one virtual machine."""
    folder = tempfile.mkdtemp(dir=settings["root"])
    command = [settings["java"], "-Xlog:disable", "-cp", settings["classpath"],
               f"-Dwyerrlog.library={settings['library']}", f"-Dbench.host={settings['host']}",
               f"-Dbench.messages={settings['messages']}"]
    if contestant == "SystemBridge":
        command.append(f"-Dwyerrlog.log.file={folder}/system.log")
    command += ["bench.JavaBench", contestant, case, str(rounds), str(records), folder]
    environment = {**os.environ, "ORVA_WA_ROOT": settings["root"], "LC_ALL": "C"}
    try:
        output = subprocess.run(command, env=environment, check=True, capture_output=True, text=True).stdout
        written = sum(path.stat().st_size for path in Path(folder).glob("*.log"))
        if not case.startswith("untraced") and written < 100 * records * rounds:
            raise SystemExit(f"{contestant}: only {written} bytes have been logged")
    finally:
        shutil.rmtree(folder)
    return [[float(word) for word in line.split()] for line in output.splitlines()]


def measure(settings, options):
    rows = {run: [] for run in RUNS}
    for _ in range(options.forks):
        for run in RUNS:
            contestant, case = run[:2]
            if contestant in ("Log4j2", "Logback") and contestant not in settings["peers"]:
                continue
            records = options.records * (200 if case.startswith("untraced") else 1)
            rows[run] += run_once(settings, contestant, case, options.rounds, records)
    return rows


def table(rows, options):
    lines = [f"Medians of {options.forks} virtual machines with {options.rounds} rounds of {options.records:,} "
             "records; nanoseconds of the thread's processor time per record, half the interquartile range, and "
             "in bold the median of the ratios to the C++ call of the same round.", "",
             "| call | goal | Java | C++, same thread | ratio |", "|---|---|--:|--:|--:|"]
    for (_, case, title, goal), values in rows.items():
        if not values:
            continue
        digits = 1 if case.startswith("untraced") else 0
        cells = []
        for column in (0, 1):
            quarters = statistics.quantiles([row[column] for row in values], n=4)
            cells.append(f"{quarters[1]:.{digits}f} ± {(quarters[2] - quarters[0]) / 2:.{digits}f}")
        ratio = statistics.median(row[0] / row[1] for row in values)
        cells.append("" if case.startswith("untraced") else f"**{ratio:.2f}**")
        lines.append(f"| {title} | {goal} | " + " | ".join(cells) + " |")
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("build", nargs="?", default=ROOT / "build/release", type=Path)
    parser.add_argument("--forks", type=int, default=5)
    parser.add_argument("--rounds", type=int, default=11)
    parser.add_argument("--records", type=int, default=10_000)
    parser.add_argument("--publish", action="store_true", help="write the table into docs/performance.md")
    options = parser.parse_args()
    text = (options.build / "bench/java/settings").read_text()
    settings = dict(line.split("=", 1) for line in text.splitlines())
    result = table(measure(settings, options), options)
    print(result, end="")
    if options.publish:
        page = PAGE.read_text()
        begin, end = map(re.escape, MARKS)
        page = re.sub(f"{begin}.*?{end}", lambda _: MARKS[0] + result + MARKS[1], page, flags=re.S)
        PAGE.write_text(page)


if __name__ == "__main__":
    main()
