#!/usr/bin/env python3
"""Writes a log as the library does, with times that go on: generate.py FILE MEGABYTES [error|columns]

The lines have several keys, severities, threads and lengths, in a fixed series, so that two runs write
the same bytes.
"""
import sys
import time

KEYS = [
    ("INFO", "login-00001", "10.0.0.{n} asked for /reports/q{n}.html without logging in."),
    ("INFO", "isauth-00001", "Access agent started on 127.0.0.1:{n}; it guards build/demo/site."),
    ("WARNING", "login-00004", "Login of user{n} from 10.0.0.{n} refused: wrong password."),
    ("WARNING", "isauth-00007", "user{n} may not GET /reports/q{n}.html: rule 2 does not name them."),
    ("INFO", "sessionstore-00001", "The session store at /var/lib/sessions/{n} is open."),
    ("ERROR", "sessionstore-00003", "The session of user{n} cannot be written: no space left."),
]
START = 1_795_000_000
PER_SECOND = 100


def error_line(index, day, clock):
    severity, key, text = KEYS[(index * 7 + index // 11) % len(KEYS)]
    n = index * 31 % 997
    return (f"[27413/{2000867072 + index % 8 * 8192}][{day} {clock}][AccessAgent.cpp:{n}]"
            f"[{severity}][{key}] {text.format(n=n)}\n")


def columns_line(index, date, clock):
    n = index * 31 % 997
    return f"{date:<16}  {clock:<8}  {'user' + str(n):<32}  {'Request ' + str(index) + ' done':<64}\n"


def lines(kind):
    index = 0
    while True:
        now = time.gmtime(START + index // PER_SECOND)
        clock = time.strftime("%H:%M:%S", now)
        if kind == "error":
            day = time.strftime("%a %b %d %Y", now)
            block = [error_line(index + i, day, clock) for i in range(PER_SECOND)]
        else:
            date = time.strftime("%m/%d/%Y", now)
            block = [columns_line(index + i, date, clock) for i in range(PER_SECOND)]
        index += PER_SECOND
        yield "".join(block)


def main():
    path, size = sys.argv[1], int(sys.argv[2]) * 1_000_000
    kind = sys.argv[3] if len(sys.argv) > 3 else "error"
    with open(path, "w", encoding="ascii") as out:
        if kind == "columns":
            names = [("Date", 16), ("Time", 8), ("User", 32), ("Message", 64)]
            size -= out.write("  ".join(f"{name:<{width}}" for name, width in names) + "\n")
            size -= out.write("  ".join("=" * width for _, width in names) + "\n")
        for block in lines(kind):
            size -= out.write(block)
            if size <= 0:
                return


main()
