"""What the processes hold while they live: memory, descriptors, threads, children; sampled, and how
it grows."""
import dataclasses
import itertools
import os
import statistics
import threading
import time

from looker import Looker
from processes import BRIDGE, RECORDER, ROLES, RUNTIME, children_by_parent, numbers_in

PERIOD_S = 2.0
WARM_UP_S = 180.0
# Two samples are compared that are further apart than noise and, mostly, on one side of a step; a
# batch is full after some 100 s.
APART_S = (20.0, 120.0)
EQUAL_WORK = 2
FEWEST_PAIRS = 10
_KIBIBYTE, _MEGABYTE = 1024, 1e6


@dataclasses.dataclass
class Held:
    resident: float = 0.0      # MB
    proportional: float = 0.0  # MB
    descriptors: int = 0
    threads: int = 0
    processes: int = 0

    def add(self, process):
        memory = numbers_in(f"/proc/{process}/smaps_rollup")
        self.resident += memory["Rss"] * _KIBIBYTE / _MEGABYTE
        self.proportional += memory["Pss"] * _KIBIBYTE / _MEGABYTE
        self.descriptors += len(os.listdir(f"/proc/{process}/fd"))
        self.threads += len(os.listdir(f"/proc/{process}/task"))
        self.processes += 1


@dataclasses.dataclass
class Sample:
    at: float    # time.monotonic()
    age: dict    # by role: seconds since the role's youngest process was first seen
    life: dict   # by role: number of that process
    held: dict   # by role
    open_pictures: int
    shown: int   # how often the window was shown; it keeps the pictures of each search's hits
    unread: int  # pictures that wait for the reader; each holds a descriptor on both sides


class Watch(Looker):
    def __init__(self, program, find_bridge, open_pictures, unread):
        super().__init__("watch", PERIOD_S)
        self._program, self._find_bridge = program, find_bridge
        self._open_pictures, self._unread = open_pictures, unread
        self._first_seen = {}  # by process
        self._lock = threading.Lock()
        self.samples = []

    def look(self):
        now = time.monotonic()
        processes = {RECORDER: [self._program.process], BRIDGE: self._find_bridge(),
                     RUNTIME: [process for process, _ in self._program.runtime()]}
        sample = Sample(now, {}, {}, {}, self._open_pictures(), self._program.shown, self._unread())
        for role in ROLES:
            held = Held()
            for process in processes[role]:
                try:
                    held.add(process)
                except (OSError, KeyError):  # ended meanwhile
                    continue
                age = now - self._first_seen.setdefault(process, now)
                if age <= sample.age.get(role, age):
                    sample.life[role], sample.age[role] = process, age
            sample.held[role] = held
        with self._lock:
            self.samples.append(sample)
        return sample


def bridges():
    """The bridge's processes below the session bus, which starts it."""
    return [process for family in children_by_parent().values() for process, name in family
            if name == "yestermark-desktop-bridge" and _is_ours(process)]


def _is_ours(process):
    try:
        with open(f"/proc/{process}/environ", "rb") as file:
            return f"DISPLAY={os.environ['DISPLAY']}\0".encode() in file.read()
    except OSError:
        return False


def slope(points):
    """How much y grows with x (per second) at equal z, over [(life, x, y, z)]: the median over pairs of
    points of one life, which few steps or peaks do not move. None for too few pairs."""
    lives = {}
    for life, *point in points:
        lives.setdefault(life, []).append(point)
    gains = [(later[1] - point[1]) / (later[0] - point[0])
             for life in lives.values() for point, later in itertools.combinations(life, 2)
             if APART_S[0] <= later[0] - point[0] <= APART_S[1] and
             abs(later[2] - point[2]) <= EQUAL_WORK]
    return statistics.median(gains) if len(gains) >= FEWEST_PAIRS else None


def growth(samples, role, field, warm_up=WARM_UP_S):
    """A second, at equal amounts of what is being worked on, and the longest life in seconds."""
    def work(sample):
        if field == "descriptors":
            return sample.unread
        return sample.open_pictures if role == RECORDER else 0

    # What the window takes when it is shown is a step, and no slope: a constant for each time.
    points = [((sample.life[role], sample.shown), sample.at, getattr(sample.held[role], field),
               work(sample))
              for sample in samples if role in sample.life and sample.age[role] > warm_up]
    longest = max((sample.age[role] for sample in samples if role in sample.age), default=0.0)
    return slope(points), longest
