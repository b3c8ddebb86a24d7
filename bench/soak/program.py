"""The program under load, from one start to the next: its processes, its log, its ends."""
import os
import signal
import subprocess
import time

from processes import RUNTIME_PROGRAMS, children_by_parent
from recorder import wait_for_bridge

SCHEMA = "com.tavel.yestermark"
PATIENCE_S = 90  # the open batch is made a video at the end


def setting(key, value):
    subprocess.run(["gsettings", "set", SCHEMA, key, str(value)], check=True)


def setting_now(key):
    return subprocess.run(["gsettings", "get", SCHEMA, key], check=True, capture_output=True,
                          text=True).stdout.strip()


class Program:
    def __init__(self, build, logs, clock, group):
        self._path, self._logs = build / "bin/tavel-ai-yestermark", logs
        self._environment = {**clock.environment(), "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        self._group = group
        self.lives = self.shown = 0

    def start(self):
        self.lives += 1
        with open(self.log, "ab") as log:
            self._process = subprocess.Popen(
                [self._path, "--hidden"], env=self._environment, stdout=log, stderr=log,
                preexec_fn=self._group.enter if self._group else None)
        self.process = self._process.pid

    def show(self):
        """What a second start does: the window of the first comes up."""
        self.shown += 1
        subprocess.run([self._path], env=self._environment, check=True, timeout=PATIENCE_S,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    @property
    def log(self):
        return self._logs / f"program-{self.lives:02}.log"

    @staticmethod
    def bridge():
        return wait_for_bridge()

    def runtime(self):
        """[(process, name)] of the AI runtime and its engines."""
        children = children_by_parent()
        found, parents = [], [self.process]
        while parents:
            for number, name in children[parents.pop()]:
                if name in RUNTIME_PROGRAMS:
                    found.append((number, name))
                    parents.append(number)
        return found

    def ended(self):
        """Its exit status as of subprocess, or None."""
        return self._process.poll()

    def end(self):
        """In order; its exit status."""
        self._process.send_signal(signal.SIGTERM)
        try:
            return self._process.wait(PATIENCE_S)
        except subprocess.TimeoutExpired:
            self.kill()
            return None

    def kill(self):
        self._process.kill()
        self._process.wait()


def kill(process):
    """kill -9, and waits until it is gone."""
    try:
        os.kill(process, signal.SIGKILL)
        deadline = time.monotonic() + 10
        while time.monotonic() < deadline:
            os.kill(process, 0)
            time.sleep(0.02)
    except ProcessLookupError:
        pass
