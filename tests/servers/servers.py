"""Private web servers on the loopback interface, from packages that are unpacked below build/servers.

A server runs in a folder of its own, and in a session of its own, so that it can be ended whole. Its parent
process starts as the caller; if that is root, its workers run as www-data.
"""

import http.client
import os
import pwd
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
ROOT = PROJECT / "build/servers/root"
DEMO = PROJECT / "examples/access_agent/demo"
TENANT = "red.example"
PAUSE = 0.02  # between two looks at a process that something is expected of


def wait_until(what, condition, seconds=30):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"timed out waiting until {what}")
        time.sleep(PAUSE)


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def children(pid):
    try:
        return [int(word) for word in Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]
    except OSError:
        return []


class Server:
    """One server: its folder with logs, its port, and the id of its parent process."""

    def __init__(self, name, build, folder, wrapper=(), environment=None, language="C.UTF-8"):
        self.name, self.build, self.folder, self.wrapper = name, Path(build), Path(folder), wrapper
        self.port, self.process, self.pid = free_port(), None, None
        self.environment = {"PATH": os.environ["PATH"], "LC_ALL": language, "ORVA_WA_ROOT": str(build),
                            "LD_LIBRARY_PATH": str(ROOT / "usr/lib/x86_64-linux-gnu"),
                            **(environment or {})}
        self.logs = self.folder / "logs"
        self.prepare()

    def prepare(self):
        for name in ("logs", "run"):
            (self.folder / name).mkdir(parents=True)
        shutil.copytree(self.build / "messages", self.folder / "messages")
        shutil.copytree(DEMO / "site", self.folder / "site")
        shutil.copy(DEMO / "policy.conf", self.folder)
        (self.folder / "trace.conf").write_text(
            "components: IsAuthorized/Send_Response\ndata: TransactionID, Resource, Result\n")
        if os.geteuid() == 0:
            user = pwd.getpwnam("www-data")
            os.chown(self.logs, user.pw_uid, user.pw_gid)
        self.configure()

    def configure(self, **settings):
        """Writes the configuration file; settings replace those in the template."""
        values = {"trace": "off", "size": 0, "processes": 4, "root": ROOT, "build": self.build,
                  "folder": self.folder, "port": self.port, "tenant": TENANT, **self.values(), **settings}
        (self.folder / "server.conf").write_text(self.template().format(**values))

    def start(self):
        with open(self.folder / "stderr", "ab") as stderr:
            self.process = subprocess.Popen([*self.wrapper, *self.command()], cwd=self.folder,
                                            env=self.environment, stdin=subprocess.DEVNULL,
                                            stdout=stderr, stderr=stderr, start_new_session=True)
        self.pid = self.process.pid
        wait_until(f"{self.name} listens", self.is_ready, 120)

    def is_ready(self):
        if self.process.poll() is not None:
            raise AssertionError(f"{self.name} ended with {self.process.returncode}: {self.errors()}")
        return self.get("/public/index.html")[0] == 200

    def stop(self):
        """Ends the server gracefully: a worker that hangs would keep it. Returns the exit code."""
        os.kill(self.pid, self.GRACEFUL_STOP)
        wait_until(f"{self.name} has ended", lambda: not self.session())
        return self.process.wait()

    def end(self):
        """Kills what is left of the session, also after a failure."""
        if self.process is not None and self.session():
            os.killpg(self.process.pid, signal.SIGKILL)

    def session(self):
        """The processes of the server's session that have not ended."""
        found = []
        self.process.poll()
        for folder in Path("/proc").glob("[0-9]*"):
            try:
                fields = (folder / "stat").read_text().rpartition(")")[2].split()
            except OSError:
                continue
            if int(fields[3]) == self.process.pid and fields[0] != "Z":
                found.append(int(folder.name))
        return found

    def workers(self):
        return children(self.pid)

    def get(self, path, method="GET", **headers):
        """Returns status and request id; status 0 if the server did not answer."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        try:
            connection.request(method, path, headers=headers)
            response = connection.getresponse()
            response.read()
            return response.status, response.getheader("X-Request-Id")
        except (OSError, http.client.HTTPException):
            return 0, None
        finally:
            connection.close()

    def errors(self):
        return "".join(path.read_text(errors="replace")[-2000:]
                       for path in (self.folder / "stderr", self.folder / "server.log") if path.exists())


class Apache(Server):
    GRACEFUL_STOP = signal.SIGWINCH

    def __init__(self, mpm, *args, module="mod_access_agent", **options):
        self.mpm, self.module = mpm, module
        super().__init__(f"apache-{mpm}", *args, **options)

    def template(self):
        return (PROJECT / "tests/servers/apache.conf").read_text()

    def values(self):
        user = "User www-data\nGroup www-data" if os.geteuid() == 0 else ""
        return {"mpm": self.mpm, "module": self.module, "user": user, "threads": 8}

    def command(self):
        return [ROOT / "usr/sbin/apache2", "-D", "FOREGROUND", "-f", self.folder / "server.conf"]

    def generations(self):
        return (self.folder / "server.log").read_bytes().count(b"resuming normal operations")

    def restart(self, how=signal.SIGUSR1):
        """Restarts gracefully, or at once; returns when the new generation has begun."""
        before = self.generations()
        os.kill(self.pid, how)
        wait_until(f"{self.name} has restarted", lambda: self.generations() > before)

    def reload(self):
        self.restart(signal.SIGHUP)
