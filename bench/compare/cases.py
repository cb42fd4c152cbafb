"""The cases of the comparison, and the form of the records of each."""

LIBRARY = "wyerrlog"
PEERS = ["spdlog", "log4cplus", "log4cxx", "boostlog", "glog"]

# ---- Cases --------------------------------------------------------------------------------------

# Kinds of files, as FileKind in Contestant.h.
PLAIN, LIMITED_APPEND, LIMITED_BACKUP = 1, 3, 4


class Case:
    """One row of a table: the kind of record, the kind of file and the number of threads.

    The goal of this library is a number of bare writes, or a text if the case writes nothing.
    """

    def __init__(self, title, name, goal, contestants, kind=PLAIN, threads=1):
        self.title, self.name, self.goal, self.kind, self.threads = (
            title, name, goal, kind, threads)
        self.contestants = contestants

    def writes(self):
        return self.name in RECORD


MESSAGES = [
    Case("message, by WyLog", "statement", 1.25, [LIBRARY]),
    Case("message, translated", "translated", 1.30, ["cached", LIBRARY, *PEERS]),
    Case("message, printf-style", "printf", 1.22, [LIBRARY]),
    Case("audit record", "audit", 1.17, [LIBRARY]),
    Case("trace, bracketed", "trace0", 1.50, [LIBRARY]),
    Case("trace, fixed width", "trace1", 1.50, [LIBRARY]),
    Case("trace, delimited", "trace2", 1.50, [LIBRARY]),
    Case("trace, XML", "trace3", 1.50, [LIBRARY]),
    Case("message, limited file (mode 3)", "statement", 1.40, [LIBRARY], LIMITED_APPEND),
    Case("same, by the classes", "translated", 1.40, [LIBRARY, *PEERS], LIMITED_APPEND),
    Case("message, limited file (mode 4)", "translated", 1.40, [LIBRARY], LIMITED_BACKUP),
]
THREADS = [
    Case(f"{title}, {threads} threads", name, goal, contestants, kind, threads)
    for title, name, goal, kind, contestants in (
        ("message, translated", "translated", 1.25, PLAIN, ["cached", LIBRARY, *PEERS]),
        ("trace, bracketed", "trace0", 1.50, PLAIN, [LIBRARY]),
        ("message, limited file (mode 3)", "translated", 1.40, LIMITED_APPEND, [LIBRARY]))
    for threads in (2, 4, 8)
]
# In nanoseconds of processor time per call. The peers log with a severity that is switched off.
NOTHING = [
    Case(f"{title}, {threads} thread{'s' * (threads > 1)}", name, goal, contestants, PLAIN, threads)
    for title, name, goal, contestants in (
        ("not traced, tracing off", "tracing-off", "2 ns", [LIBRARY, *PEERS]),
        ("not traced, tracing on for others", "tracing-of-others", "2 ns", [LIBRARY]),
        ("traced, filtered by the first field", "filtered", "a tenth of a written one", [LIBRARY]))
    for threads in (1, 2, 4)
]
TABLES = [("One thread", MESSAGES), ("Several threads, one file", THREADS),
          ("Nothing written", NOTHING)]

# ---- The files that they must have written ------------------------------------------------------

ARGUMENTS = (rb"(?:alice01|berta02|carol03|david04|emily05|frank06|gerda07|henry08)",
             rb"(?:write|fetch|erase)", rb"/(?:reports/2026/q\d|accounts/\d{6})")
TEXT = rb"User %s may not %s %s\." % ARGUMENTS
DATE = rb"\w{3} \w{3} \d\d \d{4} \d\d:\d\d:\d\d"
ID = rb"(?:0x)?[0-9a-f]+"
MESSAGE = (rb"\[%s/%s\]\[%s\]\[\w+\.cpp:\d+\]\[(?:WARN|WARNING|warning)\] ?"
           rb"\[agent-00001\] %s\n" % (ID, ID, DATE, TEXT))
MESSAGE_OF_GLOG = (rb"W\d{8} \d\d:\d\d:\d\d\.\d{6} +\d+ Glog\.cpp:\d+\] \[\d+\]"
                   rb"\[agent-00001\] %s\n" % TEXT)
VALUES = [rb"\d\d/\d\d/\d{4}", rb"\d\d:\d\d:\d\d\.\d{3}", rb"\d+", rb"\d+", rb"AgentHost\.h",
          rb"TraceRefusal", TEXT]
NAMES = [b"Date", b"PreciseTime", b"Pid", b"Tid", b"SrcFile", b"Function", b"Message"]
RECORD = {
    "translated": MESSAGE,
    "statement": MESSAGE,
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
# At the top of a file: the header lines of this library's trace, or those of glog.
HEADER_LINES = rb"(?:.*Date.*Message.*\n.*===.*===.*\n|Log file created.*\n(?:.*\n){3})?"


def pattern_of(contestant, case):
    """Returns the pattern of one record; None if the case writes nothing."""
    own = {"bare": rb"x+\n", "glog": MESSAGE_OF_GLOG}
    return own.get(contestant, RECORD[case.name]) if case.writes() else None
