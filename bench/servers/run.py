#!/usr/bin/env python3
"""Compares what records cost the agents in web servers, after scripts/check-servers.sh has unpacked them.

    run.py BUILD [--rounds N] [--requests N]

Each round starts each server with each kind of record. It measures, after a warm-up, the requests per second of
ab over 20 connections that are kept alive, and the processor time of the server's processes. Prints tables,
with the ratios to the module without records.
"""

import argparse
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/servers"))
from servers import ROOT, Apache, Nginx  # noqa: E402

KINDS = {
    "no records": ("bench", "none", "off"),
    "server's error log": ("bench", "server", "off"),
    "spdlog": ("bench", "spdlog", "off"),
    "wyerrlog": ("agent", "", "off"),
    "wyerrlog, and a trace": ("agent", "", "on"),
}
SERVERS = {
    "Apache httpd, prefork": (lambda *args, **options: Apache("prefork", *args, **options), "bench_apache"),
    "Apache httpd, event": (lambda *args, **options: Apache("event", *args, **options), "bench_apache"),
    "nginx": (Nginx, "bench_nginx"),
}


def rate(server, requests):
    command = [ROOT / "usr/bin/ab", "-q", "-k", "-c", "20", "-n", str(requests),
               f"http://127.0.0.1:{server.port}/public/index.html"]
    output = subprocess.run(command, env=server.environment, capture_output=True, text=True, check=True)
    assert "Non-2xx" not in output.stdout, output.stdout
    return float(re.search(r"Requests per second: +([\d.]+)", output.stdout)[1])


def processor_time(server):
    """The seconds that the processes of a server have used."""
    ticks = 0
    for pid in server.session():
        fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        ticks += int(fields[11]) + int(fields[12])
    return ticks / os.sysconf("SC_CLK_TCK")


def measure(folder, build, server, kind, requests):
    new, bench_module = SERVERS[server]
    module, logging, trace = KINDS[kind]
    options = {"module": bench_module} if module == "bench" else {}
    environment = {"WYERRLOG_BENCH": logging, "WYERRLOG_BENCH_FILE": str(folder / "run/logs/spdlog.log")}
    running = new(build, folder / "run", environment=environment, **options)
    try:
        running.configure(trace=trace, processes=20 if "prefork" in server else 2, threads=10)
        running.start()
        rate(running, requests // 4)
        before = processor_time(running)
        rate_of_requests = rate(running, requests)
        return rate_of_requests, (processor_time(running) - before) / requests * 1e6
    finally:
        running.end()
        shutil.rmtree(folder / "run")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=Path)
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--requests", type=int, default=40000)
    arguments = parser.parse_args()
    folder = Path(tempfile.mkdtemp(prefix="wyerrlog-bench."))
    folder.chmod(0o755)
    results = {(server, kind): [] for server in SERVERS for kind in KINDS}
    for _ in range(arguments.rounds):
        for server, kind in results:
            results[server, kind].append(
                measure(folder, arguments.build.resolve(), server, kind, arguments.requests))
    shutil.rmtree(folder)

    # Other work on the machine only ever slows a round down, so the best one counts.
    print_table("Requests per second, the best round", results, lambda rounds: max(r[0] for r in rounds))
    print_table("Microseconds of processor time per request, the median round", results,
                lambda rounds: statistics.median(r[1] for r in rounds))


def print_table(title, results, chosen):
    print(f"{title}:\n\n| server | " + " | ".join(KINDS) + " |\n|---|" + "--:|" * len(KINDS))
    for server in SERVERS:
        bare = chosen(results[server, "no records"])
        cells = [f"{chosen(results[server, kind]):,.0f} (**{chosen(results[server, kind]) / bare:.2f}**)"
                 for kind in KINDS]
        print(f"| {server} | " + " | ".join(cells) + " |")
    print()


if __name__ == "__main__":
    main()
