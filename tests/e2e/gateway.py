"""A simulated gateway for a test: chip, switch manager and database in a sandbox.

Every module of the end-to-end tests starts one or more of these, makes changes from
outside as other processes on a gateway would, and compares what chip and engine
hold with what it expects.
"""

import json
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import time
import tempfile
import unittest

import relay

TOP = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("SWMGR_BUILD", TOP / "build/release")).resolve()
PYTHON = "/usr/bin/python3"  # which the sandbox has too
SCHEMA = TOP / "data/schema.sql"
SAMPLE = TOP / "simulator/sample.sql"
NO_SANDBOX = 77  # exit status that says so, of the sandbox and of these tests

# Objects of the switch model are kept for the life of the process, listed or not.
KEPT = ("switchCreate", "switchPortCreate", "switchVlanCreate", "switchPortMappedListAppend",
        "switchLowerLvlSwitchListAppend")
SANITIZED = ("AddressSanitizer", "LeakSanitizer", "runtime error:")


def setting(name, default):
    """A number from the environment, shown so that a run can be repeated."""
    value = int(os.environ.get(name, default))
    print(f"{name}={value}", flush=True)
    return value


def progress(text):
    print(f"    {text}", flush=True)


class Gateway:
    """A running sandbox with chip and, once started, switch manager."""

    def __init__(self, config=SAMPLE, chip=True, inside=True):
        # A short path, since the addresses of Unix sockets must be short.
        self.logs_here = True  # by the switch manager itself, on standard error
        self.state = pathlib.Path(tempfile.mkdtemp(prefix="gateway-", dir="/tmp"))
        self.database = self.state / "switch.db"
        self.relay = str(self.state / "relay")
        self.sandbox = None
        self.seen = 0  # bytes of the log that were looked at
        try:
            if config is not None:
                self.sqlite3(f".read {SCHEMA}", f".read {config}")
            if inside:
                self.enter()
            if inside and chip:
                self.start_chip()
        except Exception:
            self.close()
            raise

    def enter(self, prefix=()):
        """Makes the sandbox; `prefix` is a command that runs it."""
        shutil.copy(TOP / "tests/e2e/inside.py", self.state / "inside.py")
        self.sandbox = subprocess.Popen(
            [*prefix, str(TOP / "simulator/sandbox"), "--build", str(BUILD), "--state",
             str(self.state), "--trace", "/run/gateway/trace", "--", PYTHON,
             "/run/gateway/inside.py"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if not self.sandbox.stdout.readline():
            raise RuntimeError(f"the sandbox ended with status {self.sandbox.wait()}")

    def inside(self, operation, **arguments):
        """Makes inside.py do something and returns its answer."""
        print(json.dumps({"operation": operation, **arguments}), file=self.sandbox.stdin,
              flush=True)
        answer = json.loads(self.sandbox.stdout.readline())
        if "error" in answer:
            raise RuntimeError(f"{operation}: {answer['error']}")
        return answer

    def close(self):
        """Ends everything. Fails the test if a sanitizer has found anything."""
        if self.sandbox is not None:
            self.sandbox.stdin.close()
            self.sandbox.wait(120)
            self.sandbox.stdout.close()
        logs = {log.name: log.read_text(errors="replace") for log in self.state.glob("*.log")}
        self.remove()
        for name, text in logs.items():
            for word in SANITIZED:
                if word in text:
                    begin = max(0, text.index(word) - 500)
                    raise AssertionError(f"{name}:\n{text[begin:begin + 8000]}")

    def remove(self):
        """The process that watched over a change on trial may still be ending."""
        for _ in range(100):
            try:
                return shutil.rmtree(self.state)
            except OSError:
                time.sleep(0.05)
        return shutil.rmtree(self.state)

    # --- daemons ------------------------------------------------------------

    def start_chip(self):
        self.inside("spawn", name="chip",
                    argv=["swchip", "--socket", "/run/gateway/bcm.sock",
                          "--trace=/run/gateway/trace"])
        for _ in range(2000):
            if (self.state / "bcm.sock").exists():
                return
            self.inside("end", name="chip", number=0, timeout=0.01)
        raise RuntimeError("the chip did not start")

    def start_log_daemon(self):
        """From then on the switch manager logs to this daemon."""
        self.inside("spawn", name="swlogd", argv=["swlogd"])
        while not (self.state / "relay/20.sock").exists():
            time.sleep(0.01)
        self.logs_here = False

    def start(self, env=None, kill_after=0, database="/run/gateway/switch.db", ready=300,
              options=()):
        """Starts the switch manager; false if it ends before it is ready."""
        (self.state / "leaks").write_text("".join(f"leak:{name}\n" for name in KEPT))
        env = dict(env or {}, LSAN_OPTIONS="suppressions=/run/gateway/leaks:print_suppressions=0")
        answer = self.inside("spawn", name="swmgrd", env=env, ready=ready, kill_after=kill_after,
                             argv=["swmgrd", "--database", database,
                                   *(["--foreground"] if self.logs_here else []), *options])
        return answer["ready"]

    def stop(self):
        """Stops the switch manager as an operator would. Returns its exit status."""
        return self.inside("end", name="swmgrd", number=15, timeout=60)["status"]

    def power_off(self):
        """Stops the switch manager and the log daemon. The engine forgets all it holds."""
        self.stop()
        self.inside("end", name="swlogd", number=15, timeout=60)
        environment = dict(os.environ, SWENGINE_STATE=str(self.state / "engine.state"))
        subprocess.run([BUILD / "bin/swengine", "reset"], env=environment, check=True)

    def alive(self):
        return self.inside("end", name="swmgrd", number=0, timeout=0)["status"] is None

    def kill(self):
        """Kills the switch manager, and waits for its last tool."""
        self.inside("end", name="swmgrd", number=9, timeout=60)
        self.inside("tools_ended", timeout=60)

    def log(self):
        """What the switch manager has logged since the last call."""
        with open(self.state / "swmgrd.log", "rb") as log:
            log.seek(self.seen)
            text = log.read()
        self.seen += len(text)
        return text.decode(errors="replace")

    def trace(self):
        """Every tool call and driver request so far."""
        return (self.state / "trace.log").read_text(errors="replace")

    # --- the database -------------------------------------------------------

    def sqlite3(self, *commands):
        """Makes the sqlite3 shell write, as any other process may."""
        done = subprocess.run(["sqlite3", "-bail", self.database, ".timeout 20000", *commands],
                              capture_output=True, text=True, stdin=subprocess.DEVNULL)
        if done.returncode != 0:
            raise RuntimeError(f"sqlite3: {done.stderr}")
        return done.stdout

    def write(self, sql, *values):
        """Writes with bound values, in a transaction. Returns the last row id."""
        connection = sqlite3.connect(self.database, timeout=20)
        try:
            with connection:
                return connection.execute(sql, values).lastrowid
        finally:
            connection.close()

    def rows(self, table):
        """The rows in the order of the table, as dictionaries, by row id."""
        connection = sqlite3.connect(self.database, timeout=20)
        connection.row_factory = sqlite3.Row
        try:
            found = connection.execute(f"SELECT rowid AS row_id, * FROM {table}").fetchall()
        finally:
            connection.close()
        rows = [dict(row) for row in found]
        return {row.pop("row_id"): row for row in rows}

    # --- requests -----------------------------------------------------------

    def ask(self, type_, data=b"", buffer=b"", timeout=60):
        return relay.exchange(self.relay, relay.frame(relay.REQUEST, type_, data, buffer), timeout)

    def event(self, table, row_id, op_code, old=None, timeout=60):
        """A database event; `old` is the previous row."""
        return self.ask(relay.DB_EVENT, relay.db_event(table, row_id, op_code),
                        relay.old_values(old) if old else b"", timeout)

    def answers(self):
        """Whether the service still carries out a well-formed request."""
        return self.swctl("command", 47, "--switch", "PSE", "--payload", "01000000") == 0

    def swctl(self, *arguments):
        """Runs the client from outside. Returns its exit status."""
        environment = dict(os.environ, RELAY_DIR=self.relay, SWMGR_DATABASE=str(self.database))
        done = subprocess.run([BUILD / "bin/swctl", *map(str, arguments)], env=environment,
                              capture_output=True, text=True, stdin=subprocess.DEVNULL,
                              errors="replace")
        self.said = done.stdout + done.stderr
        return done.returncode

    # --- the hardware -------------------------------------------------------

    def chip(self):
        shown = subprocess.run([BUILD / "bin/swchip", "--show", "--json", "--socket",
                                self.state / "bcm.sock"], capture_output=True, check=True)
        return json.loads(shown.stdout)

    def engine(self):
        environment = dict(os.environ, SWENGINE_STATE=str(self.state / "engine.state"))
        shown = subprocess.run([BUILD / "bin/swengine", "show", "--json"], env=environment,
                               capture_output=True, check=True)
        return json.loads(shown.stdout)

    def uptime_records(self):
        """The VLAN ids that have a record, with its text."""
        return {int(path.name.split(".")[1]): path.read_text()
                for path in (self.state / "var").glob("VLAN.*.Uptime")}


class GatewayTest(unittest.TestCase):
    """Tests with a gateway each, closed at the end."""

    longMessage = True

    def gateway(self, **options):
        gateway = Gateway(**options)
        self.addCleanup(gateway.close)
        return gateway

    def check_log(self, gateway, *texts):
        """Each text has been logged since the last call."""
        log = gateway.log()
        for text in texts:
            if text not in log:
                self.fail(f"not logged: {text!r}; the last that was: {log[-1500:]}")


class ServedTest(GatewayTest):
    """Tests with a gateway whose service and log daemon run, and what swctl answers."""

    def setUp(self):
        self.hardware = self.gateway()
        self.hardware.start_log_daemon()
        self.assertTrue(self.hardware.start())

    def swctl(self, status, *arguments):
        self.assertEqual(self.hardware.swctl(*arguments), status, self.hardware.said)
        return self.hardware.said


def main():
    """Runs the module's tests, or reports that no sandbox is possible here."""
    probe = subprocess.run([TOP / "simulator/sandbox", "--build", BUILD, "--", "true"],
                           stdin=subprocess.DEVNULL)
    if probe.returncode == NO_SANDBOX:
        sys.exit(NO_SANDBOX)
    print(f"programs of {BUILD}", flush=True)
    unittest.main(verbosity=2, failfast=False)
