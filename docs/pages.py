#!/usr/bin/env python3
"""Compares the pages with the programs that they show: pages.py BUILD [--write]

Runs the programs of docs/examples from the build folder. A mark in a page names the origin of the block
of code, or of the table, that follows it:

    <!-- file: examples/x.cpp -->            the whole file
    <!-- file: examples/x.cpp#name -->       its lines between "// [name]" and "// [/name]" (or "#")
    <!-- output: run/name -->                a file that the run of that name has written
    <!-- output: run/name 3 -->              its first three lines
    <!-- table: run --> ... <!-- end -->     the standard output of the run

Reports every block that differs from its origin; process and thread ids, dates and times may differ.
With --write the blocks are replaced instead. Links between the pages are checked too.
"""

import os
import re
import shutil
import subprocess
import sys
import textwrap
from pathlib import Path

DOCS = Path(__file__).resolve().parent
PAGES = [DOCS.parent / "README.md", *sorted(DOCS.glob("*.md"))]
OF_PROGRAMS = {"README.md", "guide.md", "components.md"}  # their code must come from files

TRACE_CONF = str(DOCS / "examples/trace.conf")
LAYOUT_CONF = str(DOCS / "examples/layouts.conf")

# {name of the run: (program and arguments, environment)}. {build} is the build folder, {messages} the
# folder of the component's catalogs.
RUNS = {
    "first_message": (["first_message"], {}),
    "session_store": (["session_store", "./error.log", "{messages}"], {}),
    "session_store_de": (["session_store", "./error.log", "{messages}"], {"LC_ALL": "de_DE.UTF-8"}),
    "messages": (["messages", "{messages}"], {}),
    "audit": (["audit"], {}),
    "audit_file": (["audit_file"], {}),
    "services": (["services"], {}),
    "loss": (["loss"], {}),
    "shared": (["shared"], {}),
    "server": (["server", TRACE_CONF], {}),
    "trace": (["trace", TRACE_CONF, "0"], {}),
    **{f"layout{n}": (["trace", LAYOUT_CONF, str(n)], {}) for n in range(4)},
    "layout_json": (["trace", LAYOUT_CONF, "1246973774"], {}),
    "named_loggers": (["named_loggers"], {}),
    "callbacks": (["callbacks"], {}),
    "error_chain": (["error_chain", "{messages}"], {}),
    "processes": (["processes"], {}),
    "requests": (["requests"], {}),
    "from_c": (["from_c", "{messages}", TRACE_CONF], {}),
    "one_call": (["one_call", TRACE_CONF], {}),
    "raw_classes": (["raw_classes", TRACE_CONF, "{messages}"], {}),
    "fields": (["reference_tables", "fields"], {}),
    "components": (["reference_tables", "components", "{build}/bin"], {}),
}
JAVA = ["java", "-classpath", "{build}/docs/examples/guide.jar:{build}/lib/wyerrlog.jar",
        "-Djava.library.path={build}/lib"]
PYTHON_RUNS = {"from_python": (["python3", "{build}/docs/examples/from_python.py",
                                "{build}/lib/libwyerrlog.so.1"], {})}
LOGGING = f"-Djava.util.logging.config.file={DOCS}/examples/logging.properties"
JAVA_RUNS = {
    "java": ([*JAVA, "Guide", "{messages}", TRACE_CONF], {}),
    "java_typed": ([*JAVA, "Typed", "{messages}", TRACE_CONF], {}),
    "java_unchanged": ([*JAVA, LOGGING, "Unchanged"], {}),
}

VARYING = [
    (r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}(Z|[+-]\d\d:\d\d)", "zoned time"),
    (r"\bpid(=|\":)\d+([ ,\"]+)tid(=|\":)\d+", "pid tid"),
    (r"\[\d+/\d+\]", "[pid/tid]"),
    (r"\[(Sun|Mon|Tue|Wed|Thu|Fri|Sat) [A-Z][a-z]{2} \d\d \d{4} \d\d:\d\d:\d\d\]", "[date]"),
    (r"\d\d/\d\d/\d{4}", "date"),
    (r"\d\d:\d\d:\d\d\.\d{3}", "precise time"),
    (r"\d\d:\d\d:\d\d", "time"),
]


def run_examples(build, folder):
    """Runs each program in a folder of its own; returns the names of the runs."""
    examples = build / "docs/examples"
    places = {"build": build, "messages": examples / "session_store/messages"}
    runs = dict(RUNS)
    if (examples / "guide.jar").exists():
        runs.update(JAVA_RUNS)
    shutil.rmtree(folder, ignore_errors=True)
    if (examples / "from_python.py").exists():
        runs.update(PYTHON_RUNS)
    for name, (command, variables) in runs.items():
        command = [part.format(**places) for part in command]
        if name in RUNS:
            command[0] = str(examples / "bin" / command[0])
        (folder / name).mkdir(parents=True)
        environment = {**os.environ, "LC_ALL": "C.UTF-8", **variables,
                       "ORVA_WA_ROOT": str(examples / "session_store")}
        with open(folder / name / "stdout", "w") as stdout:
            subprocess.run(command, cwd=folder / name, env=environment, stdout=stdout, check=True,
                           input=b"alice\nbob\n")
    return set(runs)


def source_text(page, reference):
    path, _, region = reference.partition("#")
    text = (page.parent / path).read_text()
    if region:
        match = re.search(rf"^ *(?://|#) \[{region}\]\n(.*?)^ *(?://|#) \[/{region}\]$", text, re.S | re.M)
        return textwrap.dedent(match[1])
    return re.sub(r"^ *// \[/?[\w-]+\]\n", "", text, flags=re.M)


def without_varying(text):
    for pattern, word in VARYING:
        text = re.sub(pattern, word, text)
    return text


class Page:
    def __init__(self, path, outputs, runs):
        self.path, self.outputs, self.runs = path, outputs, runs
        self.text = path.read_text()
        self.seen = set()
        self.faults = []

    def expected(self, kind, reference, shown):
        """Returns the block that belongs to a mark; `shown` if that differs only in ids and times."""
        if kind == "file":
            return source_text(self.path, reference)
        name, _, count = reference.partition(" ")
        if kind == "table":
            name += "/stdout"
        if name.split("/")[0] not in self.runs:
            return shown  # the run needs Java, or a build without sanitizers
        lines = (self.outputs / name).read_text().splitlines(keepends=True)
        text = "".join(lines[: int(count)] if count else lines)
        text = re.sub(r" +$", "", text, flags=re.M)  # editors remove them from pages
        return shown if without_varying(text) == without_varying(shown) else text

    def update(self):
        def replace(match):
            head, kind, reference, start, shown, end = match.groups()
            self.seen.add(reference)
            text = self.expected(kind, reference, shown)
            if text != shown:
                self.faults.append(f"the block of {reference} differs from its origin (try --write)")
            return head + start + text + end

        text = re.sub(r"^(<!-- (file|output): (.+?) -->\n)(```\w*\n)(.*?)(^```$)", replace, self.text,
                      flags=re.S | re.M)
        text = re.sub(r"^(<!-- (table): (.+?) -->\n)(\n)((?:\|.*\n)*)(\n<!-- end -->$)", replace, text,
                      flags=re.M)
        return text

    def check_marks(self):
        marks = re.findall(r"^<!-- (?:file|output|table): (.+?) -->$", self.text, re.M)
        for reference in marks:
            if reference not in self.seen:
                self.faults.append(f"no block follows the mark of {reference}")

    def check_code(self):
        if self.path.name not in OF_PROGRAMS:
            return
        for match in re.finditer(r"^(.*)\n```(c|cpp|java|python|cmake)$", self.text, re.M):
            if not match[1].startswith("<!-- file: "):
                self.faults.append(f"code without a mark that names its file: {match[0]!r}")

    def check_paths(self):
        """Reports log paths without a folder: such a file is not rolled over, but by Wy...ToFile or WyFile."""
        for block in re.findall(r"^```(?:cpp|java|properties)\n(.*?)^```$", self.text, re.S | re.M):
            block = re.sub(r"(ToFile\(|WyFile\.at\(|std::perror\()\"", "(./\"", block)
            for path in re.findall(r"(?<!/)\"(\w+\.log)\"|file *= *(\w+\.log)", block):
                self.faults.append(f"path without a folder: {''.join(path)}")
        for path in re.findall(r"^ORVA_WA_ROOT=.* (\w+\.log)\b", self.text, re.M):
            self.faults.append(f"path without a folder: {path}")

    def check_links(self):
        for target in re.findall(r"\]\(([^)\s]+)\)", self.text):
            if "://" in target:
                continue
            name, _, heading = target.partition("#")
            path = (self.path.parent / name).resolve() if name else self.path
            if not path.exists():
                self.faults.append(f"link to {target}: no such file")
            elif heading and heading not in headings(path):
                self.faults.append(f"link to {target}: no such heading")


def headings(path):
    titles = re.findall(r"^#+ (.*)$", path.read_text(), re.M)
    return {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}


def main():
    build = Path(sys.argv[1]).resolve()
    write = sys.argv[2:] == ["--write"]
    outputs = build / "docs/examples/run"
    runs = run_examples(build, outputs)
    failed = False
    for path in PAGES:
        page = Page(path, outputs, runs)
        text = page.update()
        if write:
            path.write_text(text)
            page.faults.clear()
        page.check_marks()
        page.check_code()
        page.check_paths()
        page.check_links()
        for fault in page.faults:
            print(f"{path.relative_to(DOCS.parent)}: {fault}")
            failed = True
    sys.exit(failed)


if __name__ == "__main__":
    main()
