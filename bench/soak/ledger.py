"""What was stored, row by row, as somebody notes it who looks every second: what has once been
there may go only where something was erased."""
import contextlib
import dataclasses
import sqlite3
import threading
import time

from looker import Looker

PERIOD_S = 1.0
FRAMES_OF_VIDEO = 100
_ROWS = ("SELECT video_name, frame_index_of_video, real_time, frame_index_of_day, ocr_text"
         " FROM screenshots")


@dataclasses.dataclass(frozen=True)
class Row:
    video: str
    index: int
    time: int
    number_of_day: int


class Ledger(Looker):
    def __init__(self, cache):
        super().__init__("ledger", PERIOD_S)
        self._months = cache / "traditional_database"
        self._lock = threading.Lock()
        self._erased = []  # functions of a Row
        self._present = {}  # Row: text
        self._seen = set()
        self._full_and_gone = set()  # videos
        self.stored = self.erased = 0  # of the whole run

    def look(self):
        """{Row: text} of now."""
        present = {}
        for month in sorted(self._months.glob("*.db")):
            try:
                with contextlib.closing(sqlite3.connect(f"file:{month}?mode=ro", uri=True)) as file:
                    present |= {Row(*row[:4]): row[4] for row in file.execute(_ROWS)}
            except sqlite3.OperationalError:
                return self._present  # not made yet, or being written
        with self._lock:
            self._present = present
            self.stored += len(present.keys() - self._seen)
            self._seen |= present.keys()
        return present

    def full_videos(self):
        """How many of the whole run reached their last frame."""
        with self._lock:
            return len({row.video for row in self._seen if row.index == FRAMES_OF_VIDEO} |
                       self._full_and_gone)

    def unread(self):
        return sum(1 for text in self.look().values() if not text)

    def wait_for_rows(self, count, patience):
        """Whether so many more come in time (seconds)."""
        self.look()
        enough, deadline = self.stored + count, time.monotonic() + patience
        while self.stored < enough:
            if time.monotonic() > deadline:
                return False
            time.sleep(0.3)
            self.look()
        return True

    def allow_loss(self, of):
        """Rows for which the function is true may be gone from now on."""
        self._erased.append(of)

    def lost(self):
        """Rows that are gone and were never erased; told once."""
        present = self.look()
        with self._lock:
            gone = self._seen - present.keys()
            self._seen -= gone
            self._full_and_gone |= {row.video for row in gone if row.index == FRAMES_OF_VIDEO}
        lost = [row for row in gone if not any(of(row) for of in self._erased)]
        self.erased += len(gone) - len(lost)
        return sorted(lost, key=lambda row: row.time)
