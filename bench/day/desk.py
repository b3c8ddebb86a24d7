"""The desk: programs with their windows, and real input by xdotool."""
import os
import subprocess
import time

PATIENCE_S = 60
KEY_DELAY_MS = 45
WIDE = (60, 30, 1800, 1000)  # left, top, width, height; most of the screen


def hands(*arguments):
    subprocess.run(["xdotool", *map(str, arguments)], check=True, stdout=subprocess.DEVNULL)


def type_text(text, delay_ms=KEY_DELAY_MS):
    """As a person types, Chinese too: xdotool gives a key to each character."""
    hands("type", "--delay", delay_ms, text)


def press(*keys):
    hands("key", "--delay", 30, *keys)


def _active_window():
    answer = subprocess.run(["xdotool", "getactivewindow"], capture_output=True, text=True,
                            check=False)
    return answer.stdout.strip()


def _next_window(before, program):
    deadline = time.monotonic() + PATIENCE_S
    while (window := _active_window()) in ("", before):
        if time.monotonic() > deadline:
            raise RuntimeError(f"no window of {program}")
        time.sleep(0.1)
    return window


def _end(program):
    program.terminate()
    try:
        program.wait(timeout=5)
    except subprocess.TimeoutExpired:
        program.kill()
        program.wait()


class Desk:
    """Owns the programs that it starts. One thread."""

    def __init__(self, log):
        self._log = log
        self._programs = {}  # both by the name that the scenes give them
        self.windows = {}

    def open(self, name, command, box=WIDE, environment=None, warns_root=False):
        """Starts a program and waits for its window, which gets the box (x, y, width, height). One
        that warns root first is told that it was heard."""
        before = _active_window()
        self._programs[name] = subprocess.Popen(
            list(map(str, command)), env={**os.environ, **(environment or {})}, stdout=self._log,
            stderr=self._log)
        window = _next_window(before, command[0])
        if warns_root and os.geteuid() == 0:
            time.sleep(0.5)
            press("Return")
            window = _next_window(window, command[0])
        self.windows[name] = window
        x, y, width, height = box
        hands("windowsize", window, width, height, "windowmove", window, x, y)
        time.sleep(0.5)

    def show(self, name):
        """In front of the others."""
        hands("windowactivate", "--sync", self.windows[name])

    def close(self, name):
        del self.windows[name]
        _end(self._programs.pop(name))

    def clear(self):
        for program in self._programs.values():
            _end(program)
