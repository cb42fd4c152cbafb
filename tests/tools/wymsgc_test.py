#!/usr/bin/env python3
"""The message compiler from outside. wymsgc_findings.txt has its diagnostics, one case each; with --write
that file gets what the program reports now."""

import json
import os
import random
import re
import resource
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
FINDINGS = HERE / "wymsgc_findings.txt"
WYMSGC = os.environ["WYMSGC"]

DEFINITION = """\
component 12 Session_Store
bundle sessionstore
about Keeps the sessions of users
cpp SessionStore
java com.example.SessionStoreMessages
sub 1 Cleanup: Removes sessions that have ended

message 1 Opened info
  args file:string sessions:int
  text Session store {file} opened with {sessions} sessions.
message 3 WriteFailed error
  args file:string reason:string
  text Session store {file} can't be written: {reason}.
  advice Check free space and permissions of {file}.
message 4 retired Closed
message 5 Counted info
  args name:string count:ulong
  printf %s: %lu
"""
GERMAN = """\
sessionstore-00001 = Sitzungsspeicher {0} mit {1} Sitzungen geöffnet.
sessionstore-00003 = Sitzungsspeicher {0} ist nicht beschreibbar: {1}.
"""
BASE = {"s.wymsg": DEFINITION, "sessionstore_de.properties": GERMAN}


def wymsgc(*arguments):
    done = subprocess.run([WYMSGC, *map(str, arguments)], capture_output=True, text=True)
    return done.returncode, done.stdout + done.stderr


class Folder(unittest.TestCase):
    """Each test in a folder of its own, with the definition, the translation and their lock file."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        os.chdir(self.folder)
        self.restore()
        self.assertEqual(self.lock(), (0, ""))
        self.locked = Path("Session_Store.lock").read_text()

    def lock(self, *arguments):
        return wymsgc("lock", "--update", "s.wymsg", "--catalog", "sessionstore_de.properties", *arguments)

    def restore(self):
        for name, text in BASE.items():
            Path(name).write_text(text)

    def edit(self, name, old, new):
        text = Path(name).read_bytes()
        self.assertIn(old.encode(), text)
        Path(name).write_bytes(text.replace(old.encode(), new, 1))

    def compile(self, *arguments):
        return wymsgc("compile", "s.wymsg", "--out", "out", *arguments)


def unescape(text):
    """What stands behind the arrow of a case: \\n, \\t and \\xNN are bytes."""
    return re.sub(rb"\\(x..|n|t)", lambda m: {b"n": b"\n", b"t": b"\t"}.get(m[1]) or
                  bytes.fromhex(m[1][1:].decode()), text.encode())


class Findings(Folder):
    """Cases "== FILE: OLD => NEW [| OPTION...]": what the check reports for that change of the files."""

    def case(self, title):
        change, _, options = title.partition(" | ")
        name, old, new = re.fullmatch(r"(\S+): (.*?) => (.*)", change).groups()
        self.restore()
        Path("Session_Store.lock").write_text(self.locked)
        if old == "(rename)":
            os.rename(name, new)
        else:
            self.edit(name, old, unescape(new) * (500 if "longer" in options else 1))
        catalogs = sorted(Path().glob("*.properties")) if "alone" not in options else []
        try:
            _, output = wymsgc("check", "s.wymsg", *catalogs, *re.findall(r"--\S+", options))
        finally:
            if old == "(rename)":
                os.remove(new)
        return re.sub(r"(.{200}).{80,}", r"\1...", output)

    def test_are_reported_exactly(self):
        cases = re.split(r"^== (.*)\n", FINDINGS.read_text(), flags=re.M)[1:]
        written = []
        for title, expected in zip(cases[::2], cases[1::2]):
            output = self.case(title)
            written.append(f"== {title}\n{output}")
            if "--write" not in sys.argv:
                with self.subTest(title):
                    self.assertEqual(output, expected)
        if "--write" in sys.argv:
            FINDINGS.write_text("".join(written))
        reported = set(re.findall(r"(?:error|warning)\[(M\d+)\]", FINDINGS.read_text()))
        documented = set(re.findall(r"^\| (M\d+) \|", (ROOT / "docs/messages.md").read_text(), re.M))
        elsewhere = {"M310", "M501", "M502", "M503", "M504", "M407"}
        self.assertEqual(reported | elsewhere, documented)


class Commands(Folder):
    def test_have_exit_codes(self):
        german = "sessionstore_de.properties"
        self.assertEqual(wymsgc("check", "s.wymsg", german), (0, ""))
        self.edit(german, "Sitzungsspeicher", b"{9}")
        self.assertEqual(wymsgc("check", "s.wymsg", german)[0], 1)
        Path(german).write_text(GERMAN.splitlines()[0])
        self.assertEqual(wymsgc("check", "s.wymsg", german)[0], 0)
        self.assertEqual(wymsgc("check", "s.wymsg", german, "--allow", "M301"), (0, ""))
        for option in ("--werror", "--require=de"):
            self.assertEqual(wymsgc("check", "s.wymsg", german, option)[0], 1)
        for arguments in ((), ("chek",), ("check",), ("check", "nothing.wymsg"), ("compile", "s.wymsg"),
                          ("check", "s.wymsg", "nothing.properties"), ("check", "--installed", "."),
                          ("check", "s.wymsg", "--allow", "M214"),
                          ("compile", "s.wymsg", "--out", "/proc/x")):
            self.assertEqual(wymsgc(*arguments)[0], 2, arguments)
        self.assertEqual(wymsgc("--help")[0], 0)

    def test_findings_are_json_on_request(self):
        self.edit("sessionstore_de.properties", "{1} Sitzungen", b"{2}")
        code, output = wymsgc("check", "s.wymsg", "sessionstore_de.properties", "--format", "json")
        finding = json.loads(output)[0]
        self.assertEqual(code, 1)
        self.assertEqual((finding["code"], finding["line"], finding["column"], finding["length"]),
                         ("M214", 1, 47, 3))

    def test_lock_records_an_intended_change_and_keeps_outdated_translations(self):
        self.edit("s.wymsg", "Counted info", b"Counted warning")
        self.edit("s.wymsg", "Session store {file} opened", b"The session store {file} opened")
        self.assertEqual(self.compile()[0], 1)
        self.assertFalse(Path("out").exists())
        self.assertIn("recorded: severity of `Counted` was `info`", self.lock()[1])
        check = ("check", "s.wymsg", "sessionstore_de.properties")
        self.assertIn("M302", wymsgc(*check)[1])
        self.lock()
        self.assertIn("M302", wymsgc(*check)[1])
        self.assertEqual(self.lock("--reviewed", "de"), (0, ""))
        self.assertEqual(wymsgc(*check), (0, ""))
        Path("Session_Store.lock").write_text("messages\n")
        self.assertIn("Session_Store.lock:1:1: error[M407]", wymsgc(*check)[1])

    def test_installed_catalogs_are_checked_against_the_manifest(self):
        self.assertEqual(self.compile(), (0, ""))
        shutil.copy("sessionstore_de.properties", "out")
        self.assertEqual(wymsgc("check", "--installed", "out"), (0, ""))
        self.edit("s.wymsg", "opened with", b"is open with")
        self.compile()
        self.assertIn("[M302]", wymsgc("check", "--installed", "out")[1])
        self.edit("s.wymsg", "is open with", b"opened with")
        self.compile()
        self.edit("out/sessionstore_de.properties", "{1} Sitzungen", b"{2}")
        self.edit("out/sessionstore.properties", "opened", b"open")
        Path("out/other_de.properties").touch()
        Path("out/x.messages.json").write_text('{"format": 2}')
        output = wymsgc("check", "--installed", "out")[1]
        self.assertEqual(sorted(re.findall(r"out/(\S+?):.*\[(M\d+)\]", output)),
                         [("other_de.properties", "M210"), ("sessionstore.properties", "M310"),
                          ("sessionstore_de.properties", "M214"), ("x.messages.json", "M501")])

    def test_import_makes_a_definition_of_hand_written_files(self):
        Path("S.h").write_text("""namespace SessionStore {
enum ComponentId : unsigned int { Component = WyComponentId(12), Cleanup = WyComponentId(12, 1),
  Gone = WyComponentId(12, 2) };
enum Message : unsigned int {
  Opened = WyMessageId(Component, WySeverity::Information, 1),  // {0} file, {1} sessions
  WriteFailed = WyMessageId(Component,
      WySeverity::Error, 3),  // file, reason
  Counted = WyMessageId(Component, WySeverity::Information, 5), // name, count
  Odd = WyMessageId(Component, WySeverity::Warning, 6),
  Lost = WyMessageId(Component, WySeverity::Warning, 7),
};
}""")
        Path("S.cpp").write_text("""const char* Keys[] = {"sessionstore-00001", nullptr,
  "sessionstore-" /* joined */ "00003", nullptr, "%s: %lu", "odd", "sessionstore-00007"};
constexpr WyErrSubComponentInfo Subs[] = {{"Cleanup", "Cleanup", "Removes sessions that have ended"}};
CWyStore() : CWyErrLogComponent(SessionStore::Component, "sessionstore", "Session_Store", "Keeps {}") {}
""")
        Path("sessionstore.properties").write_text("""sessionstore-00001 = Session store {0} opened with {1} sessions.
sessionstore-00003 = Session store {0} can''t be written: {1}.
odd = '{'{0}
""")
        code, output = wymsgc("import", "S.h", "S.cpp", "sessionstore.properties", "--out", "new.wymsg")
        self.assertEqual((code, re.findall(r"M50\d", output)), (1, ["M502", "M503", "M504"]))
        expected = DEFINITION[DEFINITION.index("message 1"):].replace("sessions:int", "sessions:string")
        expected = re.sub("  advice.*\n|message 4.*\n", "", expected) + """\
message 6 Odd warning
  args argument0:string
  text {{{argument0}
message 7 Lost warning
  text
"""
        self.assertEqual(Path("new.wymsg").read_text().replace("\n\n", "\n").split("ended\n")[1], expected)


class Outputs(Folder):
    PIECES = ["'", "''", "{{", "}}", "{a}", "{b}", " x ", "\\", "ü", "#", "=", ":", "*/", "\\u", '"', "??/",
              "<b>&", "|", "//", "€", "😀"]

    def random_definition(self, count):
        rng = random.Random(20261123)
        texts = ["x" + "".join(rng.choices(self.PIECES, k=rng.randint(1, 9))) for _ in range(count)]
        head = DEFINITION.split("message 1")[0]
        entries = [f"message {n} M{n} info\n args a:string b:string\n text {text}\n"
                   for n, text in enumerate(texts, 1)]
        Path("s.wymsg").write_text(head + "".join(entries))
        return texts

    def compile_without_lock(self):
        os.remove("Session_Store.lock")
        self.assertEqual(self.compile("--allow", "M305", "--allow", "M306"), (0, ""))

    def files(self):
        return {path: (path.read_bytes(), path.stat().st_mtime_ns)
                for path in Path("out").rglob("*") if path.is_file()}

    def cxx(self, *arguments):
        command = [os.environ["CXX"], "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow",
                   "-Wconversion", "-Werror", "-fsyntax-only", "-fPIC", f"-I{ROOT}",
                   f"-I{ROOT}/platform", "-Iout", *arguments]
        return subprocess.run(command, capture_output=True, text=True).stderr

    def test_are_the_same_from_run_to_run_and_written_when_they_change(self):
        self.compile()
        before = self.files()
        self.compile()
        self.assertEqual(self.files(), before)
        self.edit("s.wymsg", "free space", b"space")
        self.compile()
        changed = {path.name for path, state in self.files().items() if state != before[path]}
        self.assertEqual(changed, {"Session_Store.messages.json", "Session_Store.messages.md"})

    def test_java_formats_texts_as_they_are_defined(self):
        texts = self.random_definition(500)
        self.compile_without_lock()
        self.assertEqual(self.cxx("out/SessionStore.cpp"), "")
        if "JAVA" not in os.environ:
            self.skipTest("no Java")
        rendered = self.java("out/sessionstore.properties")
        plain = [re.sub(r"\{\{|\}\}|\{a\}|\{b\}",
                        lambda m: {"{a}": "<0>", "{b}": "<1>"}.get(m[0], m[0][0]), text) for text in texts]
        self.assertEqual(list(rendered.values()), [text.rstrip(" ") for text in plain])
        self.javac()

    def java(self, *files):
        done = subprocess.run([os.environ["JAVA"], str(HERE / "Rendered.java"), *map(str, files)],
                              capture_output=True, text=True, check=True)
        return dict(line.split("\t", 1) for line in done.stdout.split("\n")[:-1])

    def javac(self):
        subprocess.run([os.environ["JAVAC"], "-Xlint:all", "-Werror", "-d", "classes", "-cp", os.environ["JAR"],
                        "out/com/example/SessionStoreMessages.java"], check=True)

    @unittest.skipUnless("JAVA" in os.environ, "no Java")
    def test_java_formats_every_bundle_of_the_repository(self):
        catalogs = sorted(Path(os.environ["MESSAGES"]).glob("*.properties"))
        self.assertGreaterEqual(len(catalogs), 6)
        rendered = self.java(*catalogs)
        self.assertGreaterEqual(len(rendered), 20)
        for key, text in rendered.items():
            self.assertNotRegex(text, r"[{}']", key)

    @unittest.skipUnless(shutil.which("msgfmt"), "no msgfmt")
    def test_msgfmt_agrees_about_placeholders(self):
        rng = random.Random(20261123)
        head = DEFINITION.split("message 1")[0]
        os.remove("Session_Store.lock")
        pieces = ["{0}", "{1}", "{2}", "{0,number}", "{x}", "{", "''", "'{'", " y ", "ü"]
        verdicts = set()
        for _ in range(150):
            text = "z" + "".join(rng.choices(pieces, weights=[9, 9, 1, 1, 1, 1, 2, 2, 5, 5], k=rng.randint(1, 6)))
            english = "".join(rng.choice([["a"], ["a", "b"]]))
            arguments = " ".join(f"{name}:string" for name in english)
            source = " ".join("{%s}" % name for name in english)
            Path("s.wymsg").write_text(f"{head}message 1 M info\n args {arguments}\n text {source} x\n")
            Path("sessionstore_de.properties").write_text(f"sessionstore-00001 = {text}\n")
            pattern = source.replace("{a}", "{0}").replace("{b}", "{1}")
            Path("de.po").write_text('msgid ""\nmsgstr "Content-Type: text/plain; charset=UTF-8\\n"\n\n'
                                     f'#, java-format\nmsgid "{pattern} x"\nmsgstr "{text}"\n')
            msgfmt = subprocess.run(["msgfmt", "-c", "--check-format", "-o", "/dev/null", "de.po"],
                                    capture_output=True).returncode
            own = wymsgc("check", "s.wymsg", "sessionstore_de.properties")[0]
            self.assertEqual(own, msgfmt, f"{pattern!r} in German: {text!r}")
            verdicts.add(own)
        self.assertEqual(verdicts, {0, 1})

    def test_calls_that_do_not_fit_do_not_compile(self):
        self.compile()
        fitting = ('WyLog(SessionStore::Opened, "a", 1u);', 'WyLog(*theLogger(), SessionStore::Opened, "a", 1);',
                   'WyLogPrintf(SessionStore::Counted, "a", 1ul);',
                   "const unsigned int u = SessionStore::Opened; (void)u;",
                   "switch (0u) { case SessionStore::Opened: break; default: break; }",
                   'WyLog(SessionStore::Opened.At(WY_HERE), "a", 1);')
        refused = {'WyLog(SessionStore::Opened, "a");': "too few arguments for this message",
                   'WyLog(SessionStore::Opened, "a", 1, 2);': "too many arguments for this message",
                   'WyLog(SessionStore::Opened, 1, "a");': "an argument is of another kind",
                   'WyLog(SessionStore::Counted, "a", 1);': "log it with WyLogPrintf",
                   'WyLogPrintf(SessionStore::Opened, "a", 1);': "log it with WyLog",
                   'WyLogPrintf(SessionStore::Counted, "a", 1);': "an argument is of another kind"}
        for call, message in [(" ".join(fitting), None), *refused.items()]:
            Path("call.cpp").write_text("#include <wyerrlog/WyLog.h>\n#include \"SessionStoreMessages.h\"\n"
                                        f"void f();\nvoid f() {{ {call} }}\n")
            errors = self.cxx("call.cpp")
            self.assertRegex(errors, message) if message else self.assertEqual(errors, "")

    def test_ten_thousand_messages_take_less_than_a_second(self):
        self.random_definition(10000)
        os.remove("Session_Store.lock")
        begin = resource.getrusage(resource.RUSAGE_CHILDREN)
        self.assertEqual(self.compile("--allow", "M305", "--allow", "M306"), (0, ""))
        end = resource.getrusage(resource.RUSAGE_CHILDREN)
        seconds = end.ru_utime + end.ru_stime - begin.ru_utime - begin.ru_stime
        print(f"10,000 messages: {seconds:.2f} s of the processor")
        self.assertLess(seconds, float(os.environ.get("SLOWER", "1")))


if __name__ == "__main__":
    unittest.main(argv=[argument for argument in sys.argv if argument != "--write"])
