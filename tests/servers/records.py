"""What clients were answered, and what the logs of the agent contain: read, and compared."""

import re
from collections import Counter

TEXT = r'"(?:[^"\\]|\\.)*"'
AUDIT = re.compile(
    r'time=\d{4}-\d\d-\d\dT[\d:]{8}\.\d{3}(?:Z|[+-][\d:]{5}) pid=\d+ tid=\d+ request="([\w@+/-]+)" '
    rf'event="(?:allow|deny|unauthenticated|invalid)" user={TEXT} client={TEXT} method={TEXT} '
    rf'resource={TEXT} rule=\d+(?: status=\d{{3}})?')
MESSAGE = re.compile(r"\[\d+/\d+\]\[[\w :]+\]\[\w+\.\w+:\d+\]\[(?:INFO|WARNING|ERROR)\]\[([\w-]+)\] (.+)")
REFUSAL = re.compile(r"\S+ \(([\w@+/-]+)\) .+")
TRACE = re.compile(r"\[([\w@+/-]+)\]\[[^\[\]]+\]\[(?:allow|deny|unauthenticated)\]")
TRACE_HEADS = {"[TransactionID][Resource][Result]", "[=============][========][======]"}
MEGABYTE = 1 << 20
REFUSALS = {"login-00001", "isauth-00008"}  # no login; no rule


def answered(files):
    """Returns {request id: status} of the responses in the output of `ab -v 2`."""
    responses = {}
    for path in files:
        for block in path.read_bytes().split(b"LOG: header received:\n")[1:]:
            head = re.match(rb"HTTP/1\.[01] (\d{3}) (?:.*\r?\n)*?X-Request-Id: (\S+)\r?\n", block)
            if head is None:
                continue  # cut short, or refused by the server itself (503 while it restarts)
            identifier = head[2].decode()
            assert identifier not in responses, f"two responses have the id {identifier}"
            responses[identifier] = int(head[1])
    return responses


def lines_of(folder, name):
    for path in sorted(folder.glob(f"{name}*.log")):
        text = path.read_bytes().decode()
        assert text == "" or text.endswith("\n"), f"{path} ends within a line"
        yield from ((path, line) for line in text.splitlines())


def audit_ids(folder):
    ids = []
    for path, line in lines_of(folder, "audit"):
        match = AUDIT.fullmatch(line)
        assert match, f"{path}: not a whole record: {line!r}"
        ids.append(match[1])
    return Counter(ids)


def refusal_ids(folder):
    ids = []
    for path, line in lines_of(folder, "error"):
        match = MESSAGE.fullmatch(line)
        assert match, f"{path}: not a whole message: {line!r}"
        assert match[1] in REFUSALS or match[1] in ("isauth-00014", "isauth-00015"), line
        if match[1] in REFUSALS:
            ids.append(REFUSAL.fullmatch(match[2])[1])
    return Counter(ids)


def trace_ids(folder):
    ids = []
    for path, line in lines_of(folder, "trace"):
        if line in TRACE_HEADS:
            continue
        match = TRACE.fullmatch(line)
        assert match, f"{path}: not a whole record: {line!r}"
        ids.append(match[1])
    return Counter(ids)


def check_once(what, ids, expected):
    """Each id occurs once; each that is expected occurs. Records of requests without answer may be there."""
    twice = [name for name, count in ids.items() if count > 1]
    missing = [name for name in expected if name not in ids]
    assert not twice, f"{what}: {len(twice)} requests have several records, {twice[:3]}"
    assert not missing, f"{what}: {len(missing)} requests have no record, {missing[:3]}"


def check_sizes(folder):
    """Returns the number of files. There are backups; each is full, and none is larger than the limit."""
    files = list(folder.glob("*.log"))
    backups = [path for path in files if "_" in path.name]
    for path in files:
        assert path.stat().st_size <= MEGABYTE, f"{path} has {path.stat().st_size} bytes"
    for path in backups:
        # Two processes that both roll over would leave small ones. The limit is reached a sixteenth early.
        assert path.stat().st_size > 0.92 * MEGABYTE, f"{path} has {path.stat().st_size} bytes"
    assert backups, f"{folder}: nothing was rolled over"
    return len(files)


def check(folder, responses, kills):
    """Checks the logs of one tenant, after as many kills of its workers; returns what it found, for people."""
    audit, refusals, traces = audit_ids(folder), refusal_ids(folder), trace_ids(folder)
    check_once("audit log", audit, responses)
    check_once("error log", refusals, [name for name, status in responses.items() if status in (401, 403)])
    check_once("trace", traces, [])
    unknown = [name for name in (*refusals, *traces) if name not in audit]
    # A worker may be killed between a request's trace and its audit record. The client got no answer then.
    assert len(unknown) <= kills, f"requests with messages or traces that are not audited: {unknown[:kills + 3]}"
    return (f"{len(responses)} answered, {len(audit)} audited, {len(refusals)} refusals, "
            f"{len(traces)} traced, {check_sizes(folder)} files")
