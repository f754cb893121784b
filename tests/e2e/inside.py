"""Runs inside the simulated gateway and does what the tests ask for.

gateway.py copies this file into the sandbox and talks to it through standard
input and output, one JSON object per line each way. It starts and ends daemons,
runs commands, and reads the trace to which chip and tools write each step, so that
a daemon can be killed after a given number of steps.
"""

import json
import os
import select
import socket
import subprocess
import sys
import threading
import time

RUN = "/run/gateway"
TOOLS = set(os.listdir("/gateway/tools")) | {"sh", "grep", "cut", "gawk", "busybox"}
children = {}  # name: Popen


class Trace:
    """Drains the pipe that chip and tools write to, and counts the lines."""

    def __init__(self, path):
        os.mkfifo(path, 0o600)
        # Open for writing too, so that the pipe never ends.
        self.pipe = os.open(path, os.O_RDWR)
        self.copy = open(RUN + "/trace.log", "ab", buffering=0)
        self.lines = 0
        self.victim = None  # name of the daemon to kill
        self.after = 0      # when this many lines have come in all
        self.lock = threading.Lock()
        threading.Thread(target=self.drain, daemon=True).start()

    def drain(self):
        while True:
            data = os.read(self.pipe, 65536)
            self.copy.write(data)
            with self.lock:
                self.lines += data.count(b"\n")
                if self.victim is not None and self.lines >= self.after:
                    children[self.victim].kill()
                    self.victim = None

    def arm(self, victim, steps):
        with self.lock:
            self.victim = victim
            self.after = self.lines + steps

    def disarm(self):
        with self.lock:
            fired = self.victim is None
            self.victim = None
            return fired


def wait_ready(process, notifications, timeout):
    """Waits for READY=1. False: the daemon ended or did not become ready."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        readable, _, _ = select.select([notifications], [], [], 0.05)
        if readable and b"READY=1" in notifications.recv(4096):
            return True
        if process.poll() is not None:
            return False
    return False


def spawn(name, argv, env=None, ready=0, kill_after=0):
    """Starts a daemon; with `ready` waits that many seconds for its readiness."""
    environment = dict(os.environ, **(env or {}))
    notifications = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    if ready:
        path = RUN + "/notify"
        if os.path.exists(path):
            os.unlink(path)
        notifications.bind(path)
        environment["NOTIFY_SOCKET"] = path
    with open(f"{RUN}/{name}.log", "ab") as log:
        process = subprocess.Popen(argv, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                   env=environment)
    children[name] = process
    if kill_after:
        trace.arm(name, kill_after)
    with notifications:
        return {"ready": wait_ready(process, notifications, ready) if ready else None,
                "status": process.poll()}


def end(name, number, timeout):
    """Sends a signal, unless it is 0, and waits. The status is None if it does not end."""
    process = children[name]
    if number and process.poll() is None:
        process.send_signal(number)
    try:
        return {"status": process.wait(timeout)}
    except subprocess.TimeoutExpired:
        return {"status": None}


def run(argv, env=None, timeout=60):
    done = subprocess.run(argv, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          errors="replace", timeout=timeout, env=dict(os.environ, **(env or {})))
    return {"status": done.returncode, "out": done.stdout, "err": done.stderr}


def processes():
    """The command lines of everything that runs in the sandbox, as lists of words."""
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/cmdline", "rb") as line:
                words = line.read().decode(errors="replace").rstrip("\0").split("\0")
        except OSError:
            continue  # it has ended in the meantime
        found.append(words)
    return {"processes": found}


def tools_ended(timeout):
    """Waits until no tool of a killed daemon is running any more."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        running = [os.path.basename(words[0]) for words in processes()["processes"]]
        if not TOOLS.intersection(running):
            return {"ended": True}
        time.sleep(0.002)
    return {"ended": False}


def descriptors(name):
    """How many descriptors a daemon has open."""
    return {"count": len(os.listdir(f"/proc/{children[name].pid}/fd"))}


def stop():
    for process in children.values():
        if process.poll() is None:
            process.kill()
            process.wait()


trace = Trace(RUN + "/trace")
OPERATIONS = {
    "spawn": spawn, "end": end, "run": run, "processes": processes, "tools_ended": tools_ended,
    "descriptors": descriptors,
    "lines": lambda: {"lines": trace.lines},
    "arm": lambda victim, steps: trace.arm(victim, steps) or {},
    "disarm": lambda: {"fired": trace.disarm()},
}
print(json.dumps({}), flush=True)
for request in sys.stdin:
    request = json.loads(request)
    try:
        answer = OPERATIONS[request.pop("operation")](**request)
    except Exception as error:  # the test learns of it and goes on
        answer = {"error": repr(error)}
    print(json.dumps(answer), flush=True)
stop()
