"""The program under measurement with its bridge: started as a session does it, counted, ended."""
import os
import signal
import subprocess
import time

from processes import own_cpu_s

PATIENCE_S = 30
_BUS = ["gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path",
        "/org/freedesktop/DBus", "--method"]


def _bus_answer(method, *arguments):
    answer = subprocess.run([*_BUS, f"org.freedesktop.DBus.{method}", *arguments],
                            capture_output=True, text=True, check=False)
    return answer.stdout if answer.returncode == 0 else ""


def wait_for_bridge():
    """Its process, once it stands on the bus."""
    deadline = time.monotonic() + PATIENCE_S
    while time.monotonic() < deadline:
        if "true" in _bus_answer("NameHasOwner", "org.vesk.KWin"):
            number = _bus_answer("GetConnectionUnixProcessID", "org.vesk.KWin").split()
            if number:  # else it went in between
                return int(number[-1].strip("(),"))
        time.sleep(0.2)
    raise RuntimeError("no bridge came to the bus")


class Recorder:
    def __init__(self, build, log):
        subprocess.run(["gsettings", "set", "com.tavel.yestermark", "recording-memory", "true"],
                       check=True)
        self._process = subprocess.Popen([build / "bin/tavel-ai-yestermark", "--hidden"],
                                         stdout=log, stderr=log)
        self.process = self._process.pid
        self.bridge = wait_for_bridge()

    def end(self):
        """Asks it to end and waits; CPU seconds of its own that this took. What its children take
        for their ends is not in it."""
        before = own_cpu_s(self.process)
        self._process.send_signal(signal.SIGTERM)
        os.waitid(os.P_PID, self.process, os.WEXITED | os.WNOWAIT)  # its figures stay readable
        closing_s = own_cpu_s(self.process) - before
        if self._process.wait() != 0:
            raise RuntimeError(f"the recorder ended with {self._process.returncode}")
        return closing_s


class BusCount:
    """Counts the pictures that are asked for and the changes that are told, on the bus."""

    def __init__(self, target):
        self._target = target
        self._file = open(target, "wb")
        self._process = subprocess.Popen(
            ["dbus-monitor", "--session", "--profile", "member='screenshotFullscreen'",
             "member='screenContentChanged'"], stdout=self._file)

    def end(self):
        """(pictures taken, changes told)"""
        self._process.terminate()
        self._process.wait()
        self._file.close()
        lines = [line.split() for line in self._target.read_text().splitlines()]
        return (sum(line[0] == "mc" and line[-1] == "screenshotFullscreen" for line in lines),
                sum(line[0] == "sig" and line[-1] == "screenContentChanged" for line in lines))
