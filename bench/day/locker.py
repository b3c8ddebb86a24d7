"""Locks and unlocks the screen, as far as the bridge can tell."""
import contextlib
import pathlib
import subprocess
import time


class Locker:
    def __init__(self, log):
        self._process = subprocess.Popen(
            [pathlib.Path(__file__).with_name("screensaver.py")], stdin=subprocess.PIPE, stderr=log,
            text=True)

    @contextlib.contextmanager
    def locked(self):
        self._tell("lock")
        time.sleep(0.5)
        try:
            yield
        finally:
            self._tell("unlock")

    def _tell(self, word):
        self._process.stdin.write(f"{word}\n")
        self._process.stdin.flush()

    def end(self):
        self._process.stdin.close()
        self._process.wait()
