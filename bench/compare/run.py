#!/usr/bin/env python3
"""Compares the contestants with each other.

In each of several rounds every contestant writes the same records to a file on disk, one contestant
after another, each in a process of its own. The result is the median of the rounds, as a multiple of
the bare write of lines of the same length in the same rounds. Every file is checked.

Prints tables in Markdown. With --publish they replace those of docs/performance.md, and the chart
docs/performance.svg is drawn. Build the target bench_compare first.
"""

import argparse
import os
import pathlib
import platform
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import report
from cases import HEADER_LINES, LIBRARY, MESSAGES, PEERS, TABLES, pattern_of

ROOT = pathlib.Path(__file__).resolve().parents[2]
WARM_UP = 3000  # records of each thread that are not timed


def check(contestant, case, path, count):
    """Ends the run unless the file has `count` complete records; returns the bytes of one."""
    content = path.read_bytes() if path.exists() else b""
    content = content[re.match(HEADER_LINES, content).end():]
    pattern = pattern_of(contestant, case)
    lengths = [len(record) for record in re.findall(pattern, content)] if pattern else []
    if len(lengths) != (count if pattern else 0) or sum(lengths) != len(content):
        sys.exit(f"{contestant}, {case.name}: {len(lengths)} complete records of {sum(lengths)} "
                 f"bytes where {count} were logged in {len(content)} bytes, the first of them:\n"
                 f"{content[:300]!r}")
    return round(statistics.median(lengths)) if lengths else 0


class Runner:
    def __init__(self, programs, directory, records):
        self.programs, self.directory, self.records = programs, directory, records

    def has(self, contestant):
        return (self.programs / f"compare_{contestant}").exists()

    def run(self, contestant, case, records, bare_bytes=0):
        """Returns nanoseconds and bytes per record; None if the contestant lacks the case."""
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
            size = check(contestant, case, path, (share + WARM_UP) * case.threads)
            return float(result.stdout), size
        finally:
            for file in self.directory.iterdir():
                file.unlink()

    def measure(self, case, rounds):
        """Returns {contestant: [nanoseconds per record in each round]}, and the bytes of a record."""
        writes = case.writes()
        records = self.records if writes else 50 * self.records
        processors = min(case.threads, os.cpu_count())
        contestants = [each for each in case.contestants if self.has(each)]
        # Short runs find the contestants that support the case, and the length of a line.
        sizes = {each: self.run(each, case, 1000 * case.threads) for each in contestants}
        sizes = {each: first[1] for each, first in sizes.items() if first is not None}
        names = (["bare"] if writes else []) + list(sizes)
        times = {each: [] for each in names}
        for _ in range(rounds):
            for each in names:
                nanoseconds, _ = self.run(each, case, records, sizes[LIBRARY])
                times[each].append(nanoseconds * (1 if writes else processors))
        return times, sizes[LIBRARY]

    def instructions(self, contestant, case):
        """Returns the user instructions of a record: the difference of two runs, per record."""
        counts = []
        for records in (1000, 2000):
            result = subprocess.run(
                ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
                 self.programs / f"compare_{contestant}",
                 "128" if contestant == "bare" else case.name, str(case.kind),
                 self.directory / "records.log", str(records), "1", "100"],
                env={"LC_ALL": "C", "PATH": os.environ["PATH"]},
                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True)
            counts.append(int(re.search(r"Collected : (\d+)", result.stderr)[1]))
            for file in self.directory.iterdir():
                file.unlink()
        return round((counts[1] - counts[0]) / 1000)

    def cold_starts(self, count):
        """Returns the milliseconds that theLogger() takes, in each of `count` new processes."""
        environment = {key: value for key, value in os.environ.items() if key != "ORVA_WA_ROOT"}
        results = [subprocess.run([self.programs / "bench_parts", "cold"], env=environment,
                                  stdout=subprocess.PIPE, text=True, check=True)
                   for _ in range(count)]
        return [int(result.stdout) / 1e6 for result in results]


def describe_machine(directory, arguments):
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    file_system = subprocess.run(["df", "--output=fstype", directory], stdout=subprocess.PIPE,
                                 text=True, check=True).stdout.split()[-1]
    return (f"{os.cpu_count()} processors ({model[1] if model else platform.machine()}), Linux "
            f"{platform.release().split('-')[0]}, {file_system}; medians of {arguments.rounds} rounds of "
            f"{arguments.records:,} records. A cell holds nanoseconds per record, half the "
            "interquartile range, and in bold the ratio to the bare write.")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release",
                        help="build directory (default: build/release)")
    parser.add_argument("--records", type=int, default=200_000, help="per run (default: 200000)")
    parser.add_argument("--rounds", type=int, default=9, help="default: 9")
    parser.add_argument("--only", default="", help="regular expression: cases by their titles")
    parser.add_argument("--publish", action="store_true", help="write docs/performance.md and .svg")
    return parser.parse_args()


def compare(runner, arguments, say):
    """Measures the chosen cases; returns the ratios for the chart."""
    ratios = []
    for title, cases in TABLES:
        chosen = [case for case in cases if re.search(arguments.only, case.title)]
        table = report.Table(say, title, chosen) if chosen else None
        for case in chosen:
            ratios += table.add(case, *runner.measure(case, arguments.rounds))
    if re.search(arguments.only, "instructions") and shutil.which("valgrind"):
        names = ["bare", "cached", LIBRARY, *PEERS]
        report.say_instructions(say, {each: runner.instructions(each, MESSAGES[0])
                                      for each in names if runner.has(each)})
    if re.search(arguments.only, "cold start") and (runner.programs / "bench_parts").exists():
        report.say_cold_starts(say, runner.cold_starts(50))
    report.say_budget(say, ROOT / "bench/budget.txt")
    return ratios


def main():
    arguments = parse_arguments()
    lines = []

    def say(line):
        print(line, flush=True)
        lines.append(line)

    directory = pathlib.Path(tempfile.mkdtemp(prefix="compare-", dir=arguments.build))
    try:
        runner = Runner(arguments.build / "bench/bin", directory, arguments.records)
        say(describe_machine(directory, arguments))
        missing = [each for each in PEERS if not runner.has(each)]
        if missing:
            say(f"Not built, and left out: {', '.join(missing)}.")
        ratios = compare(runner, arguments, say)
    finally:
        shutil.rmtree(directory)
    if arguments.publish:
        report.replace_results(ROOT / "docs/performance.md", "\n".join(lines))
        report.draw(ROOT / "docs/performance.svg", ratios)


if __name__ == "__main__":
    main()
