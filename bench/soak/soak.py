"""The run: what the events work with, its work, its quiet points, and what was violated when."""
import collections
import datetime
import os
import pathlib
import random
import subprocess
import sys
import time

import checks
import events
from bus import SessionBus
from disk import SmallDisk
from ledger import Ledger
from limits import memory_group
from locker import Locker
from movedclock import MovedClock
from program import Program
from screen import Screen
from storedhistory import StoredHistory
from texts import subjects
from watch import Watch, bridges
from words import Words

# An hour of the run is 20 of the program's clock.
RATE = 20
SHORT_MINUTES = 10
_START = datetime.datetime(2026, 1, 29, 14, 0)  # a day and a month turn by themselves in 20 hours
_WINDOW_TASK = pathlib.Path(__file__).with_name("windowtask.py")
_WINDOW_PATIENCE_S = 120
_READ_PATIENCE_S = 120
_STILL_S = 8  # no answer for so long: what is left never gets one


class Soak:
    patience = 45.0  # seconds; on a busy machine too

    def __init__(self, options, log):
        self.build, self.world, self.log = options.build, options.world, log
        self.chance = random.Random(options.seed)
        self.cache = pathlib.Path.home() / ".cache/tavel-ai-yestermark"
        self.begun = time.monotonic()
        self.violations, self.skipped, self.explained = [], {}, collections.Counter()
        self.counts, self.store = collections.Counter(), {}
        self._disk_full, self._gapped, self._clock_back = [], {}, []
        self.known = set()
        self.is_short = options.minutes < SHORT_MINUTES
        logs = self.world / "logs"
        logs.mkdir()
        self.clock = MovedClock(self.world / "clock", self.world / "movedclock.so", _START,
                                RATE)
        self.bus = SessionBus(open(logs / "bus.log", "ab"))
        self.disk, self.group = SmallDisk(pathlib.Path.home() / ".cache"), memory_group()
        self.start_locker()
        sentences = [sentence for subject in subjects().values() if not subject.is_chinese
                     for sentence in subject.sentences]
        self.questions = [subject.query for subject in subjects().values()]
        self.screen = Screen(self.world / "screen", log, self.chance, sentences,
                             Words(self.chance), self.clock.now)
        self.program = Program(self.build, logs, self.clock, self.group)
        self.history = StoredHistory(pathlib.Path.home(), self.build, self.clock.environment())
        self.ledger = Ledger(self.cache)
        self.pictures = checks.PictureCheck(self.cache, self.screen, RATE, self.is_behind_gap)
        self.watch = Watch(self.program, bridges, self.history.open_pictures,
                           self.ledger.unread)

    # What is told

    def stamp(self):
        return f"{time.monotonic() - self.begun:7.1f} s, {self.clock.moment():%Y-%m-%d %H:%M}"

    def set_clock(self, moment):
        self.clock.set(moment)
        self.screen.clock_has_moved()

    def told(self, text):
        print(f"{self.stamp()}  {text}", file=sys.stderr, flush=True)

    def violated(self, text):
        self.told(f"VIOLATED: {text}")
        self.violations.append(f"{self.stamp()}: {text}")

    def skip(self, reason):
        what, _, why = reason.partition(": ")
        self.skipped[what] = why

    # The program

    def start_locker(self):
        self.locker = Locker(self.log)

    def start(self):
        self.program.start()
        self.program.bridge()

    def end_in_order(self):
        status = self.program.end()
        if status != 0:
            self.violated(f"the program ended with {status} when asked to")

    @staticmethod
    def is_alive(process):
        return pathlib.Path(f"/proc/{process}").exists()

    def in_the_window(self, *task, shown_first=False):
        """What the task printed, or None where it failed; the screen stands still meanwhile."""
        with self.screen.still():
            try:
                if shown_first:
                    self.program.show()
                answer = subprocess.run([_WINDOW_TASK, *task], capture_output=True, text=True,
                                        check=True, timeout=_WINDOW_PATIENCE_S).stdout.strip()
                if task[0] != "minimize":
                    subprocess.run([_WINDOW_TASK, "minimize"], capture_output=True, text=True,
                                   check=True, timeout=_WINDOW_PATIENCE_S)
                return answer
            except (subprocess.CalledProcessError, subprocess.TimeoutExpired) as error:
                self._picture(f"window-{len(self.violations)}.png")
                self.violated(f"the window could not be used: {task[0]}, "
                              f"{str(error.stderr)[-200:]}")
                for way_out in ("leave", "minimize"):
                    subprocess.run([_WINDOW_TASK, way_out], capture_output=True, check=False,
                                   timeout=_WINDOW_PATIENCE_S)
                return None

    def _picture(self, name):
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-video_size", "1920x1080",
                        "-i", os.environ["DISPLAY"], "-frames:v", "1", self.world / name],
                       check=False)

    # What is done

    def work(self, seconds):
        time.sleep(seconds)

    def happen(self, event):
        self.told(event.__name__)
        self.counts[event.__name__] += 1
        try:
            event(self)
        except (RuntimeError, OSError, subprocess.SubprocessError) as error:
            self.violated(f"{event.__name__}: {error!r}")

    def expect_life(self, after):
        """It is there and stores frames."""
        if self.program.ended() is not None:
            self.violated(f"the program is gone ({self.program.ended()}) after {after}")
            self.start()
        if not self.ledger.wait_for_rows(2, self.patience):
            self.violated(f"no frames come after {after}")

    def quiet(self, *options):
        """The screen stands still, what was recorded is read; then all is looked at."""
        with self.screen.still():
            deadline = time.monotonic() + _READ_PATIENCE_S
            before, since = self.ledger.unread(), time.monotonic()
            while before and time.monotonic() < deadline and time.monotonic() - since < _STILL_S:
                time.sleep(1)
                now = self.ledger.unread()
                if now != before:
                    before, since = now, time.monotonic()
            self.watch.look()
            self.look_at_pictures()
            self.verify(*options)

    def look_at_pictures(self):
        known = len(self.pictures.wrong)
        self.pictures.look(self.ledger.look())
        for row, number, lag in self.pictures.wrong[known:]:
            self.violated(f"{row} shows state {number}, {lag:.1f} s off")

    def verify(self, *options):
        found, counts = checks.verify(self.build, self.clock, *options)
        for kind, subject, detail in found:
            if (kind, subject) in self.known:
                continue
            self.known.add((kind, subject))
            if self._is_explained(kind, subject):
                self.explained[kind] += 1
            else:
                self.violated(f"{kind}: {subject} {detail}")
        self.store = counts
        for row in self.ledger.lost():
            self.violated(f"a row was lost: {row}")
        self.told(f"looked at: {counts}, {len(found)} disagreements")

    def _is_explained(self, kind, subject):
        """Of a full disk: the picture could not be written, and stands in memory alone until its
        video is made; or the row could not, and the vector could. Of a clock that was set back: the
        frame was being taken at that moment."""
        if kind == "row without frame":
            return any(f"{row.video}#{row.index}" == subject and self.is_behind_gap(row)
                       for row in self.ledger.look())
        if kind == "vector without row":
            moment = checks.times_of_vectors(self.cache).get(subject, 0)
            return any(begun <= moment <= ended for begun, ended in self._disk_full)
        if kind == "video that runs backwards":
            return any(row.video == subject and begun <= row.time <= ended
                       for row in self.ledger.look() for begun, ended in self._clock_back)
        return False

    def disk_was_full(self, begun, ended):
        """Between these times of the program's clock."""
        self._disk_full.append((begun, ended))
        rows = sorted(self.ledger.look(), key=lambda row: row.time)
        open_before = [row.video for row in rows if row.time < begun][-1:]
        for video in open_before + [row.video for row in rows if row.time >= begun]:
            self._gapped.setdefault(video, begun)

    def clock_was_back(self, begun, ended):
        self._clock_back.append((begun, ended))

    def is_behind_gap(self, row):
        """Whether safety copies before that frame's may be missing: made into a video after a kill,
        the others close up."""
        return row.time >= self._gapped.get(row.video, row.time + 1)

    def spell(self, ends_at, gap, bag, ending):
        """One life of the program: work with events, a quiet point, its end."""
        self.start()
        self.expect_life("the start")
        while True:
            self.work(self.chance.uniform(*gap))
            event = bag.next()
            self.happen(event)
            self.expect_life(event.__name__)
            if time.monotonic() > ends_at:
                break
        self.quiet()
        self.happen(ending)
        killed = ending is not events.end_in_order
        self.verify(*(["--running"] if killed else []))


class Bag:
    """Gives things in random order, round after round; {thing: it is in every so manieth}."""

    def __init__(self, things, chance):
        self._things, self._chance, self._left, self._round = things, chance, [], 0

    def next(self):
        if not self._left:
            self._left = [thing for thing, every in self._things.items()
                          if self._round % every == 0]
            self._chance.shuffle(self._left)
            self._round += 1
        return self._left.pop()
