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
ROOT = PROJECT / "build/servers/tree"
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
        self.port, self.process, self.pid, self.session_id = free_port(), None, None, None
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
        values = {"trace": "off", "size": 1, "processes": 4, "root": ROOT, "build": self.build,
                  "folder": self.folder, "port": self.port, "tenant": TENANT, **self.values(), **settings}
        (self.folder / "server.conf").write_text(self.template().format(**values))

    def launch(self):
        with open(self.folder / "stderr", "ab") as stderr:
            return subprocess.Popen([*self.wrapper, *self.command()], cwd=self.folder,
                                    env=self.environment, stdin=subprocess.DEVNULL,
                                    stdout=stderr, stderr=stderr, start_new_session=True)

    def start(self):
        self.process = self.launch()
        self.pid = self.session_id = self.process.pid
        self.wait_until_ready()

    def wait_until_ready(self):
        def is_ready():
            if self.has_ended():
                raise AssertionError(f"{self.name} has ended: {self.errors()}")
            return self.get("/public/index.html") == 200

        wait_until(f"{self.name} serves", is_ready, 120)

    def stop(self):
        """Ends the server gracefully: a worker that hangs would keep it. Returns the exit code."""
        os.kill(self.pid, self.GRACEFUL_STOP)
        wait_until(f"{self.name} has ended", self.has_ended)
        return self.process.wait()

    def end(self):
        """Kills what is left of the session, also after a failure."""
        if self.session_id is not None:
            for pid in self.session():
                os.kill(pid, signal.SIGKILL)

    def has_ended(self):
        # A listing of /proc may miss a process that is just being created.
        return not self.session() and (time.sleep(PAUSE) or not self.session())

    def session(self):
        """The processes of the server's session that have not ended."""
        found = []
        self.process.poll()
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                fields = Path(f"/proc/{name}/stat").read_text().rpartition(")")[2].split()
            except OSError:
                continue
            if int(fields[3]) == self.session_id and fields[0] != "Z":
                found.append(int(name))
        return found

    def workers(self):
        return children(self.pid)

    def get(self, path, method="GET", **headers):
        """Returns the status of a response; 0 if the server did not answer."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        try:
            connection.request(method, path, headers=headers)
            response = connection.getresponse()
            response.read()
            return response.status
        except (OSError, http.client.HTTPException):
            return 0
        finally:
            connection.close()

    def fetch(self, path, **headers):
        """The same, and tries again: a worker that ends may close connections that have sent nothing yet."""
        for _ in range(10):
            if status := self.get(path, **headers):
                return status
        return 0

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

    OTHER = "restart at once"

    def restart_otherwise(self):
        self.restart(signal.SIGHUP)


class Nginx(Server):
    GRACEFUL_STOP = signal.SIGQUIT
    OTHER = "upgrade of the binary"

    def __init__(self, *args, module="ngx_http_access_agent_module", **options):
        self.module = module
        super().__init__("nginx", *args, **options)

    def template(self):
        return (PROJECT / "tests/servers/nginx.conf").read_text()

    def values(self):
        return {"user": "user www-data;" if os.geteuid() == 0 else "", "module": self.module,
                "options": "shared permissions=0640 mode=appendRollBySize maxSizeMB=1"}

    def command(self):
        return [ROOT / "usr/sbin/nginx", "-p", self.folder, "-c", self.folder / "server.conf"]

    def start(self):
        """The server puts itself into the background, in a session of its own."""
        self.process = self.launch()
        assert self.process.wait(60) == 0, self.errors()
        wait_until("the server has written its id", self.id_in_file)
        self.pid = self.session_id = self.id_in_file()
        self.wait_until_ready()

    def id_in_file(self):
        try:  # an upgrade renames it at any moment
            return int((self.folder / "run/nginx.pid").read_text() or 0)
        except FileNotFoundError:
            return 0

    def restart(self):
        """Reloads the configuration; returns when new workers run."""
        before = self.workers()
        os.kill(self.pid, signal.SIGHUP)
        wait_until("new workers run", lambda: set(self.workers()) - set(before))

    def restart_otherwise(self):
        """Starts the binary anew, which takes over the sockets, and ends the old one gracefully."""
        old = self.pid
        os.kill(old, signal.SIGUSR2)
        wait_until("the new binary runs", lambda: self.id_in_file() not in (0, old))
        self.pid = self.id_in_file()
        wait_until("it has workers", self.workers)
        os.kill(old, signal.SIGQUIT)
        wait_until("the old binary has ended", lambda: old not in self.session())
