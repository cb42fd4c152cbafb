#!/usr/bin/env python3
"""Reads back what the output to the journal has sent: journal_test.py journald|socket PROGRAM

The records go to a private systemd-journald, which journalctl reads, or to a socket in its place that
takes the protocol. Either is below a /run/systemd of its own, in a mount namespace that ends with the
test. Exit code 77: the system allows no such namespace, or has no systemd-journald.
"""

import json
import os
import shutil
import socket
import struct
import subprocess
import sys
import time
from pathlib import Path

JOURNALD = "/lib/systemd/systemd-journald"
SOCKET = Path("/run/systemd/journal/socket")
SKIPPED = 77


def enter_namespace():
    """Starts this script again where mounting is allowed and concerns nobody else."""
    options = ["-m"] if os.geteuid() == 0 else ["-rm"]
    if not shutil.which("unshare") or subprocess.run(["unshare", *options, "true"]).returncode != 0:
        sys.exit(SKIPPED)
    os.environ["WYERRLOG_IN_NAMESPACE"] = "1"
    os.execvp("unshare", ["unshare", *options, sys.executable, *sys.argv])


def mount_folders():
    for folder in ("/run/systemd", "/run/log"):
        if not os.path.isdir(folder):
            sys.exit(SKIPPED)
        if subprocess.run(["mount", "-t", "tmpfs", "tmpfs", folder]).returncode != 0:
            sys.exit(SKIPPED)
    os.makedirs("/run/log/journal")
    os.makedirs(SOCKET.parent)
    Path("/run/systemd/journald.conf.d").mkdir()
    Path("/run/systemd/journald.conf.d/test.conf").write_text(
        "[Journal]\nStorage=volatile\nReadKMsg=no\nAudit=no\nForwardToWall=no\n")


class Journald:
    def __init__(self):
        if not os.path.exists(JOURNALD):
            sys.exit(SKIPPED)
        self.process = subprocess.Popen([JOURNALD], stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + 20
        while not SOCKET.exists():
            if self.process.poll() is not None or time.monotonic() > deadline:
                sys.exit(SKIPPED)
            time.sleep(0.05)

    def records(self, count):
        """The records of this test, once the journal has them."""
        found = []
        deadline = time.monotonic() + 20
        while len(found) < count and time.monotonic() < deadline:
            lines = subprocess.run(
                ["journalctl", "-o", "json", "-a", "-D", "/run/log/journal", "_COMM=journal_records"],
                capture_output=True, text=True).stdout.splitlines()
            found = [json.loads(line) for line in lines if line.startswith("{")]
        return found

    def end(self):
        self.process.terminate()
        self.process.wait()
        SOCKET.unlink(missing_ok=True)


class Receiver:
    def __init__(self):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(str(SOCKET))
        self.socket.settimeout(20)

    @staticmethod
    def parse(data):
        """The fields of one record: NAME=value, or NAME, a length of 64 bits and any bytes."""
        fields = {}
        while data:
            line, data = data.split(b"\n", 1)
            name, equals, value = line.partition(b"=")
            if not equals:
                length = struct.unpack("<Q", data[:8])[0]
                value, data = data[8:8 + length], data[8 + length + 1:]
            fields[name.decode()] = value.decode()
        return fields

    def records(self, count):
        found = []
        for _ in range(count):
            data, handles, _, _ = socket.recv_fds(self.socket, 1 << 20, 1)
            for handle in handles:  # a record that no datagram can hold is in a file
                data = os.pread(handle, os.fstat(handle).st_size, 0)
            found.append(self.parse(data))
        return found

    def end(self):
        SOCKET.unlink()


def check(records):
    def fields(record):
        names = ("PRIORITY", "SYSLOG_IDENTIFIER", "CODE_FILE", "WYERRLOG_KEY", "WYERRLOG_COMPONENT")
        return [record.get(name) for name in names]

    error, warning, audit, long = records
    assert fields(error) == ["3", "agent", "journal_records.cpp", "wy-log-00000", "wy-log"], error
    assert error["MESSAGE"] == (
        "x\nPRIORITY=0\nMESSAGE=forged\n[1/1][t][a.cpp:1][ERROR][k-1] y"), error
    assert int(error["CODE_LINE"]) > 30, error
    assert fields(warning)[0] == "4" and warning["MESSAGE"] == "w", warning
    assert fields(audit)[0] == "5" and fields(audit)[2:] == [None] * 3, audit
    assert audit["MESSAGE"] == "deny rule=2", audit
    assert long["MESSAGE"] == "x" * 1000000 + "y", len(long["MESSAGE"])


def main():
    if "WYERRLOG_IN_NAMESPACE" not in os.environ:
        enter_namespace()
    mount_folders()
    server = Journald() if sys.argv[1] == "journald" else Receiver()
    program = subprocess.Popen([sys.argv[2]], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    logged = program.stdout.readline()
    assert logged == b"logged\n" or program.wait() == 0, f"exit code {program.wait()}"
    check(server.records(4))
    server.end()
    program.stdin.close()
    assert program.wait() == 0, f"exit code {program.wait()}"


main()
