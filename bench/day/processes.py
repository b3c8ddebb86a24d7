"""What recorder, bridge and runtime take of the machine, sampled from /proc."""
import collections
import dataclasses
import math
import os
import pathlib
import threading
import time

PERIOD_S = 1.0
_TICK_S = 1.0 / os.sysconf("SC_CLK_TCK")
_MEGABYTE = 1e6
_KIBIBYTE = 1024
RECORDER, BRIDGE, RUNTIME = ROLES = ("recorder", "bridge", "runtime")
RUNTIME_PROGRAMS = ("yestermark-ai-runtime", "yestermark-ai-engines")


@dataclasses.dataclass
class Use:
    """Totals since the start (CPU, wake-ups, bytes) and what is held now (memory)."""
    cpu_s: float = 0.0
    wakeups: int = 0
    written: int = 0    # bytes handed to the file system, less those that were removed unwritten
    resident: float = 0.0      # MB
    proportional: float = 0.0  # MB


@dataclasses.dataclass
class Sample:
    at: float  # time.monotonic()
    use: dict  # by role
    open_pictures: int


def _stat(process):
    """(parent, own CPU seconds, CPU seconds of children that were waited for)"""
    fields = pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()
    own, waited = int(fields[11]) + int(fields[12]), int(fields[13]) + int(fields[14])
    return int(fields[1]), own * _TICK_S, waited * _TICK_S


def own_cpu_s(process):
    """Seconds of its threads, without its children; also of one that has ended and was not waited
    for."""
    return _stat(process)[1]


def numbers_in(path):
    """{name: first number} of the lines "name: number"."""
    lines = (line.split(":") for line in pathlib.Path(path).read_text().splitlines())
    return {words[0]: int(words[1].split()[0]) for words in lines
            if len(words) == 2 and words[1].split() and words[1].split()[0].isdigit()}


def _wakeups(process):
    """{thread: voluntary context switches}; each is one sleep, hence one wake-up."""
    found = {}
    for task in os.listdir(f"/proc/{process}/task"):
        try:
            status = numbers_in(f"/proc/{process}/task/{task}/status")
            found[task] = status["voluntary_ctxt_switches"]
        except OSError:
            pass  # the thread has just ended
    return found


class _Process:
    def __init__(self, role):
        self.role = role
        self.parent = 0
        self.own_s = self.waited_s = 0.0
        self.wakeups = {}  # by thread, of ended ones too
        self.written = 0
        self.resident = self.proportional = 0.0
        self.gone_at = None  # number of the look that did not find it any more

    def look(self, number):
        self.parent, self.own_s, self.waited_s = _stat(number)
        self.wakeups.update(_wakeups(number))
        bytes_done = numbers_in(f"/proc/{number}/io")
        self.written = bytes_done["write_bytes"] - bytes_done["cancelled_write_bytes"]
        memory = numbers_in(f"/proc/{number}/smaps_rollup")
        self.resident = memory["Rss"] * _KIBIBYTE / _MEGABYTE
        self.proportional = memory["Pss"] * _KIBIBYTE / _MEGABYTE

    def leave(self, look):
        self.gone_at = look
        self.resident = self.proportional = 0.0


def children_by_parent():
    """{parent: [(process, name), ...]} of the whole machine."""
    children = collections.defaultdict(list)
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            text = pathlib.Path(f"/proc/{entry}/stat").read_text()
            name = os.path.basename(os.readlink(f"/proc/{entry}/exe"))
        except OSError:
            continue
        children[int(text.rpartition(")")[2].split()[1])].append((int(entry), name))
    return children


class Meter:
    """Samples on a thread of its own from start() to stop(); marks may be set meanwhile."""

    def __init__(self, recorder, bridge, count_open_pictures):
        self._recorder = recorder
        self._known = {recorder: _Process(RECORDER), bridge: _Process(BRIDGE)}
        self._count_open_pictures = count_open_pictures
        self._lock = threading.Lock()
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._run, name="meter", daemon=True)
        self.samples = []
        self.marks = []  # (Sample, name, kind): from then on until the next mark

    def start(self):
        self._thread.start()

    def stop(self):
        self._ended.set()
        self._thread.join()

    def mark(self, name, kind):
        self.marks.append((self.sample(), name, kind))

    def sample(self):
        with self._lock:
            self._find_runtime()
            for number, process in self._known.items():
                if process.gone_at is None:
                    try:
                        process.look(number)
                    except (OSError, KeyError):  # ended, or not yet waited for
                        process.leave(len(self.samples))
            self.samples.append(Sample(time.monotonic(), self._totals(),
                                       self._count_open_pictures()))
            return self.samples[-1]

    def _run(self):
        while not self._ended.wait(PERIOD_S):
            self.sample()

    def _find_runtime(self):
        children = children_by_parent()
        looked_at = [self._recorder]
        while looked_at:
            for number, name in children[looked_at.pop()]:
                if name in RUNTIME_PROGRAMS:
                    looked_at.append(number)
                    if number not in self._known or self._known[number].gone_at:
                        self._known[number] = _Process(RUNTIME)

    def _totals(self):
        use = {role: Use() for role in ROLES}
        for process in self._known.values():
            total = use[process.role]
            total.cpu_s += process.own_s + process.waited_s
            total.wakeups += sum(process.wakeups.values())
            total.written += process.written
            total.resident += process.resident
            total.proportional += process.proportional
            parent = self._known.get(process.parent)
            if process.gone_at and parent and (parent.gone_at or math.inf) > process.gone_at:
                # Its parent has waited for it: not twice.
                use[parent.role].cpu_s -= process.own_s + process.waited_s
        return use
