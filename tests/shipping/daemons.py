"""Private instances of the daemons of a shipping test, below one folder, on the loopback interface.

Each daemon is a child process that is stopped by its id, also if the test fails. It ends with the test.
"""
import os
import pwd
import socket
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
UNPACKED = ROOT / "build/shipping"
SHIPPING = ROOT / "shipping"


def environment(run, **more):
    """The environment of all programs: the unpacked libraries, and the variables of the configurations."""
    values = dict(os.environ, LC_ALL="C.UTF-8", WYERRLOG_LOGS=run / "logs", WYERRLOG_ZONE="UTC",
                  WYERRLOG_CONFIGURATION=SHIPPING, WYERRLOG_TLS=run / "tls", **more)
    return {name: str(value) for name, value in values.items()}


def become_ordinary_user():
    """Leaves the test as skipped without the unpacked daemons, and gives up root's rights."""
    if not (UNPACKED / "openssl/complete").exists():
        print("run scripts/check-shipping.sh")
        sys.exit(77)
    if os.geteuid() == 0:
        nobody = pwd.getpwnam("nobody")
        os.setgroups([])
        os.setgid(nobody.pw_gid)
        os.setuid(nobody.pw_uid)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_until(condition, seconds, what):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError(f"after {seconds} s: no {what}")
        time.sleep(0.5)


class Daemon:
    def __init__(self, name, run, command, env, libraries):
        self.name, self.run = name, run
        self.command = ["setpriv", "--pdeathsig", "KILL", *(str(word) for word in command)]
        self.env = dict(env, LD_LIBRARY_PATH=":".join(map(str, libraries)))
        self.process = None
        self.before = []  # a command that precedes each start

    def start(self):
        if self.before:
            subprocess.run(self.before, check=True, stdout=subprocess.DEVNULL)
        with open(self.run / f"{self.name}.out", "ab") as out:
            self.process = subprocess.Popen(self.command, env=self.env, stdout=out, stderr=out,
                                            stdin=subprocess.DEVNULL, cwd=self.run)

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(20)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()


class Store(Daemon):
    """PostgreSQL with the schema, and TLS with a certificate of the client."""

    def __init__(self, run, env):
        self.programs = UNPACKED / "postgresql/usr/lib/postgresql/15/bin"
        self.port, data = free_port(), run / "data"
        command = [self.programs / "postgres", "-D", data, "-p", self.port, "-k", run,
                   "-c", "listen_addresses=localhost", "-c", "fsync=off", "-c", "jit=off", "-c", "ssl=on",
                   "-c", f"ssl_cert_file={run}/tls/store.pem", "-c", f"ssl_key_file={run}/tls/store.key",
                   "-c", f"ssl_ca_file={run}/tls/ca.pem"]
        super().__init__("store", run, command, env, [UNPACKED / "postgresql/usr/lib/x86_64-linux-gnu"])
        self.shipper = (f"postgresql://wyerrlog_shipper@localhost:{self.port}/wyerrlog?sslmode=verify-full"
                        f"&sslrootcert={run}/tls/ca.pem&sslcert={run}/tls/wyerrlog_shipper.pem"
                        f"&sslkey={run}/tls/wyerrlog_shipper.key")
        subprocess.run([self.programs / "initdb", "-D", data, "-U", "owner", "-A", "trust", "-E", "UTF8"],
                       env=self.env, check=True, stdout=subprocess.DEVNULL)
        (data / "pg_hba.conf").write_text("local all owner trust\n"
                                          "hostssl wyerrlog wyerrlog_shipper all cert\n")
        self.start()
        self.wait("postgres")
        self.sql("create database wyerrlog", "postgres")
        self.psql("-f", SHIPPING / "postgresql/schema.sql")

    def psql(self, *words, database="wyerrlog"):
        command = [self.programs / "psql", "-XqAt", "-v", "ON_ERROR_STOP=1", "-h", self.run, "-p", self.port,
                   "-U", "owner", "-d", database, *words]
        done = subprocess.run([str(word) for word in command], env=self.env, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if done.returncode:
            raise RuntimeError(done.stderr)
        return done.stdout.strip()

    def sql(self, statement, database="wyerrlog"):
        return self.psql("-c", statement, database=database)

    def wait(self, database="wyerrlog"):
        """A killed server's processes end in their own time, and a new one starts only then."""
        def is_ready():
            if self.process.poll() is not None:
                self.start()
            try:
                return self.sql("select 1", database) == "1"
            except RuntimeError:
                return False
        wait_until(is_ready, 60, "store")


def rsyslog(name, run, files, env):
    """An instance of rsyslog with some of the shipped files, after the settings of its own."""
    (run / name).mkdir(exist_ok=True)
    configuration = run / f"{name}.conf"
    includes = "".join(f'include(file="{SHIPPING}/rsyslog/{file}")\n' for file in files)
    configuration.write_text(
        f'global(workDirectory="{run / name}" localHostname="{name}.example")\n'
        f'action(type="omfile" file="{run / name}.log")\n' + includes)
    libraries = UNPACKED / "rsyslog/usr/lib/x86_64-linux-gnu"
    command = [UNPACKED / "rsyslog/usr/sbin/rsyslogd", "-n", "-iNONE", "-f", configuration, "-M", libraries / "rsyslog"]
    daemon = Daemon(name, run, command, env, [libraries])
    check = subprocess.run([*daemon.command, "-N1"], env=daemon.env, text=True, capture_output=True)
    if check.returncode or "error" in check.stderr:
        raise RuntimeError(check.stderr)
    return daemon


def syslog_ng(name, run, env):
    """An instance of syslog-ng with the shipped file."""
    spool = run / name
    spool.mkdir()
    configuration = run / f"{name}.conf"
    configuration.write_text(f'@version: 3.38\n@include "{SHIPPING}/syslog-ng/wyerrlog.conf"\n')
    root = UNPACKED / "syslog-ng"
    command = [root / "usr/sbin/syslog-ng", "-F", "-f", configuration, "-p", spool / "pid", "-R", spool / "persist",
               "-c", spool / "control", "--module-path", root / "usr/lib/syslog-ng/3.38"]
    env = dict(env, PGSSLMODE="verify-full", PGSSLROOTCERT=f"{run}/tls/ca.pem",
               PGSSLCERT=f"{run}/tls/wyerrlog_shipper.pem", PGSSLKEY=f"{run}/tls/wyerrlog_shipper.key",
               WYERRLOG_SPOOL=str(spool))
    (run / "dbd").symlink_to(root / "usr/lib/x86_64-linux-gnu/dbd")  # as check-shipping.sh has set it in libdbi
    libraries = root / "usr/lib/x86_64-linux-gnu"
    return Daemon(name, run, command, env, [libraries, libraries / "dbd", root / "usr/lib/syslog-ng"])


def certificates(run, names):
    """A certification authority and a certificate for each name, which is also its subject's name."""
    tls = run / "tls"
    tls.mkdir()
    openssl = UNPACKED / "openssl/usr/bin/openssl"

    def call(*words):
        subprocess.run([str(word) for word in (openssl, *words)], check=True, cwd=tls,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    new_key = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]
    call("req", "-x509", *new_key, "-keyout", "ca.key", "-out", "ca.pem", "-subj", "/CN=test", "-days", 2)
    for name, host in names.items():
        (tls / "extensions").write_text(f"subjectAltName=DNS:{host}\n")
        call("req", *new_key, "-keyout", f"{name}.key", "-out", "request", "-subj", f"/CN={host}")
        call("x509", "-req", "-in", "request", "-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial",
             "-out", f"{name}.pem", "-days", 2, "-extfile", "extensions")
        (tls / f"{name}.key").chmod(0o600)
