#!/usr/bin/env python3
"""Runs the agents in real web servers and checks what they promise; see scripts/check-servers.sh.

    check.py BUILD [--asan BUILD] [--requests N] [--reloads N] [--servers NAME,...]
"""

import argparse
import itertools
import os
import random
import shutil
import subprocess
import sys
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor, as_completed
from pathlib import Path

import records
from servers import PROJECT, ROOT, TENANT, Apache, Nginx, wait_until

RESTARTS = 10
ALICE = "Basic YWxpY2U6bG9va2luZ2dsYXNz"  # alice:lookingglass
SETTLED = 10  # restarts after which descriptors and mappings must not grow any more


# ---- Load ----------------------------------------------------------------------------------------


def start_load(server, requests, connections, path, *options):
    """Starts ab, which writes the head of each response to a file; returns both."""
    output = server.folder / f"ab.{time.monotonic_ns()}"
    command = [ROOT / "usr/bin/ab", "-q", "-r", "-s", "20", "-v", "2", "-n", str(requests),
               "-c", str(connections), *options, f"http://127.0.0.1:{server.port}{path}"]
    with open(output, "wb") as file:
        return subprocess.Popen(command, stdout=file, stderr=subprocess.STDOUT,
                                env=server.environment), output


def load(server, requests):
    """Requests over 20 connections: permitted ones to the main server and to a tenant, and refused ones.

    Returns the responses of the main server and of the tenant.
    """
    half, quarter = requests // 2, requests // 4
    loads = [start_load(server, half, 10, "/public/index.html"),
             start_load(server, requests - half - quarter, 5, "/reports/q3.html"),
             start_load(server, quarter, 5, "/public/news.html", "-k", "-H", f"Host: {TENANT}")]
    for process, output in loads:
        assert process.wait(300) == 0, f"ab failed: {output.read_text(errors='replace')[-300:]}"
    outputs = [output for _, output in loads]
    return records.answered(outputs[:2]), records.answered(outputs[2:])


class Disturbance(threading.Thread):
    """Restarts the server, kills its workers, and turns tracing on and off, while there is load."""

    def __init__(self, server):
        super().__init__()
        self.server, self.stopped = server, threading.Event()
        self.restarts = self.others = self.kills = self.switches = 0
        self.failure = None

    def run(self):
        try:
            next_kill = time.monotonic() + 1
            for step in itertools.count():
                if self.stopped.wait(0.2):
                    return
                if step % 2 == 0 and self.restarts < RESTARTS:
                    self.server.restart()
                    self.restarts += 1
                if step == 5:
                    self.server.restart_otherwise()
                    self.others += 1
                self.switches += self.server.get(f"/trace?{('on', 'off')[step % 2]}", "POST") in (200, 204)
                if time.monotonic() >= next_kill:
                    next_kill += 1
                    self.kill_worker()
        except BaseException as error:
            self.failure = error

    def kill_worker(self):
        workers = self.server.workers()
        if workers:
            os.kill(random.choice(workers), 9)
            self.kills += 1


def check_load(server, requests):
    """The promise: each request that the client saw answered has its records once and whole."""
    server.start()
    disturbance = Disturbance(server)
    began = time.monotonic()
    disturbance.start()
    main, tenant = load(server, requests)
    while disturbance.restarts < RESTARTS and not disturbance.failure:
        for answered, more in zip((main, tenant), load(server, requests // 5)):
            answered.update(more)
        requests += requests // 5
    seconds = time.monotonic() - began
    disturbance.stopped.set()
    disturbance.join(60)
    if disturbance.failure:
        raise disturbance.failure
    wait_until("the server answers", lambda: server.get("/public/index.html") == 200)
    status = server.stop()
    assert status == 0, f"the server ended with {status}: {server.errors()}"

    assert len(main) + len(tenant) > 0.9 * requests, f"only {len(main) + len(tenant)} answered"
    report = [records.check(logs, responses, disturbance.kills)
              for logs, responses in ((server.logs, main), (server.logs / TENANT, tenant))]
    print(f"{server.name}: {requests} requests in {seconds:.1f} s, {disturbance.restarts} graceful restarts, "
          f"{disturbance.others} {server.OTHER}, {disturbance.kills} workers killed, "
          f"{disturbance.switches} switches of tracing\n  main:   {report[0]}\n  tenant: {report[1]}")


# ---- Reloads -------------------------------------------------------------------------------------


def resources(pid):
    """The least numbers of descriptors and of mappings of a process: connections may be open for a while."""
    counts = []
    for _ in range(20):
        counts.append((len(os.listdir(f"/proc/{pid}/fd")),
                       len(Path(f"/proc/{pid}/maps").read_text().splitlines())))
        time.sleep(0.05)
    return min(counts)


def check_reloads(server, reloads):
    """Reloads leave no descriptor and no mapping, neither in the parent nor in new workers."""
    server.configure(trace="on", processes=1)
    server.start()

    def reload(count):
        for _ in range(count):
            server.restart()
            assert server.fetch("/public/index.html") == 200
        wait_until("old workers have ended", lambda: len(server.workers()) == 1)
        wait_until("the new worker has opened its logs", lambda: server.get("/public/index.html") == 200)
        return resources(server.pid), resources(server.workers()[0])

    before, after = reload(SETTLED), reload(reloads)
    server.stop()
    print(f"{server.name}: {reloads} reloads; descriptors and mappings of the parent {before[0]} -> "
          f"{after[0]}, of a worker {before[1]} -> {after[1]}")
    # A leak would add one for each reload. Threads that first allocate at different times make a few.
    slack = ((0, 0), (2, 6))
    for was, has, more in zip(before, after, slack):
        assert has[0] <= was[0] + more[0] and has[1] <= was[1] + more[1], "reloads left something"


# ---- Memory --------------------------------------------------------------------------------------

def valgrind(folder):
    """The command that checks a server, all its processes; without a fault it writes nothing."""
    suppressions = PROJECT / "tests/valgrind_suppressions.txt"
    return ("valgrind", "--quiet", f"--log-file={folder}/reports/%p", "--leak-check=full",
            "--show-leak-kinds=definite", "--keep-debuginfo=yes",
            f"--suppressions={suppressions}")


def address_sanitizer(folder):
    """The environment of a server whose modules are built with the address sanitizer."""
    library = subprocess.check_output(["g++", "-print-file-name=libasan.so"], text=True).strip()
    return {"LD_PRELOAD": library,
            "ASAN_OPTIONS": f"log_path={folder}/reports/asan:detect_leaks=0"}  # valgrind finds leaks


def run_briefly(server):
    server.start()
    for _ in range(2):
        server.get("/trace?on", "POST")
        for path, host in itertools.product(("/public/index.html", "/reports/q3.html", "/nothing"),
                                            ("localhost", TENANT)):
            assert server.fetch(path, Host=host) in (200, 401, 403)
        assert server.fetch("/reports/q3.html", Authorization=ALICE) == 200
        server.restart()
    status = server.stop()
    assert status == 0, f"the server ended with {status}: {server.errors()}"


def check_memory(server, checker):
    """A short run under a checker, which writes reports if it finds a fault."""
    folder = server.folder / "reports"
    folder.mkdir()
    folder.chmod(0o777)  # the workers write there too
    server.configure(processes=2)
    try:
        run_briefly(server)
    finally:
        reports = [path.read_text(errors="replace") for path in folder.iterdir()]
        assert not any(reports), "\n".join(reports)[:10000]
    print(f"{server.name}: {checker} finds nothing in {len(records.audit_ids(server.logs))} requests")


# ---- All -----------------------------------------------------------------------------------------


def check_messages(server):
    """Messages are in the administrator's language; tracing after a restart is as configured."""
    server.configure(trace="off")
    server.start()
    assert server.fetch("/nothing") == 403
    assert not (server.logs / "trace.log").exists(), "traced before it was turned on"
    server.configure(trace="on")
    server.restart()
    wait_until("traced", lambda: server.get("/public/news.html") == 200
               and "/public/news.html" in "".join(line for _, line in records.lines_of(server.logs, "trace")))
    server.stop()
    text = "".join(path.read_text() for path in server.logs.glob("error*.log"))
    assert "keine Regel gilt dafür" in text and "Ablaufverfolgung mit" in text, text
    print(f"{server.name}: German messages, tracing turned on by a graceful restart")


KINDS = {f"apache-{mpm}": (lambda *args, mpm=mpm, **options: Apache(mpm, *args, **options))
         for mpm in ("prefork", "worker", "event")}
KINDS["nginx"] = Nginx


class Run:
    """All checks of the chosen servers; two servers at a time, since most of the time is waiting."""

    def __init__(self, arguments):
        self.arguments, self.running = arguments, []
        self.folder = Path(tempfile.mkdtemp(prefix="wyerrlog-servers."))  # the servers' user must reach it
        self.folder.chmod(0o755)

    def new(self, kind, check, build=None, **options):
        server = KINDS[kind]((build or self.arguments.build).resolve(), self.folder / f"{kind}.{check}",
                             **options)
        self.running.append(server)
        return server

    def check(self, kind):
        check_messages(self.new(kind, "messages", language="de_DE.UTF-8"))
        check_load(self.new(kind, "load"), self.arguments.requests)
        check_reloads(self.new(kind, "reloads"), self.arguments.reloads)
        check_memory(self.new(kind, "valgrind", wrapper=valgrind(self.folder / f"{kind}.valgrind")),
                     "valgrind")
        if self.arguments.asan:
            check_memory(self.new(kind, "asan", self.arguments.asan,
                                  environment=address_sanitizer(self.folder / f"{kind}.asan")),
                         "the address sanitizer")

    def check_all(self):
        kinds = self.arguments.servers.split(",")
        with ThreadPoolExecutor(max_workers=2) as threads:
            results = [threads.submit(self.check, kind) for kind in kinds]
            try:
                for result in as_completed(results):
                    result.result()
            except BaseException:
                threads.shutdown(wait=False, cancel_futures=True)
                print(f"The servers' folders are left in {self.folder}", file=sys.stderr)
                raise
            finally:
                for server in self.running:
                    server.end()
        shutil.rmtree(self.folder)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=Path)
    parser.add_argument("--requests", type=int, default=50000)
    parser.add_argument("--reloads", type=int, default=100)
    parser.add_argument("--servers", default=",".join(KINDS))
    parser.add_argument("--asan", type=Path, help="the build folder of the preset asan")
    Run(parser.parse_args()).check_all()


if __name__ == "__main__":
    main()
