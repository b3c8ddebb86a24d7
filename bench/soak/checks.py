"""The invariants of what is stored: the checker's findings, and each picture against its row's
time."""
import contextlib
import json
import pathlib
import shutil
import sqlite3
import subprocess
import tempfile

FASTEST_S, SLOWEST_S = -1.0, 12.0  # from the moment a state is drawn to its row, on a busy machine


def verify(build, clock, *options):
    """[(kind, subject, detail)] of all disagreements, and the counts of the store."""
    answer = subprocess.run([build / "bin/yestermarkctl", "--json", "verify", *options],
                            env=clock.environment(), capture_output=True, text=True, check=False)
    if not answer.stdout:
        return [("no answer", str(answer.returncode), answer.stderr.strip())], {}
    report = json.loads(answer.stdout)
    found = [(finding["kind"], finding["subject"], finding["detail"])
             for finding in report["disagreements"]]
    return found, {name: report[name] for name in ("videos", "rows", "vectors")}


def times_of_vectors(cache):
    """{frame: seconds since the epoch}; of a copy, as the program keeps its file locked."""
    with tempfile.TemporaryDirectory() as folder:
        for file in (cache / "vector_database").glob("vectors.db*"):
            shutil.copy(file, folder)
        return _times_in(pathlib.Path(folder) / "vectors.db")


def _times_in(path):
    with contextlib.closing(sqlite3.connect(path)) as file:
        for number, in file.execute("SELECT number FROM collections WHERE name = 'screenshots'"):
            return {f"{video}#{index}": moment for video, index, moment in file.execute(
                f"SELECT videoName, frameIndexOfVideo, realTime FROM rows_{number}")}
    return {}


def _numbers_in_video(path, strip):
    """The states that its frames show, in order; None where the strip cannot be read."""
    width = strip.width
    pixels = subprocess.run(
        ["ffmpeg", "-v", "error", "-i", path, "-vf",
         f"crop={width}:2:{strip.left}:{strip.top + strip.height // 2}", "-vsync", "0", "-f",
         "rawvideo", "-pix_fmt", "gray", "-"], capture_output=True, check=False).stdout
    size = width * 2
    return [strip.number_in(pixels[start:start + width])
            for start in range(0, len(pixels) - size + 1, size)]


def lag_of(moment, shown, number, rate):
    """Seconds of the run from the end of the state's showing to the row, negative where it is from
    the row to its beginning; 0 while it stood there."""
    begun = shown[number]
    ended = shown[number + 1][0] if number + 1 < len(shown) else moment
    spans = [(since, max(since, ended)) for since in begun]
    lags = [min(0.0, moment - since) + max(0.0, moment - until) for since, until in spans]
    return min(lags, key=abs) / rate


class PictureCheck:
    """Whether each row's picture shows what stood on the screen at the row's time."""

    def __init__(self, cache, screen, rate, is_behind_gap):
        self._cache, self._screen, self._rate = cache, screen, rate
        self._is_behind_gap = is_behind_gap
        self._done = set()
        self.compared = self.unreadable = 0
        self.lags = []  # seconds
        self.wrong = []  # (row, number of the state that its picture shows, seconds)

    def look(self, rows):
        """At the videos that have been finished since the last look."""
        by_video = {}
        for row in rows:
            by_video.setdefault(row.video, []).append(row)
        for path in sorted(self._cache.glob("screenshots/*/*/*.mp4")):
            if path.name not in self._done and not path.with_name(f"{path.name}_001.png").exists():
                self._done.add(path.name)
                self._compare(_numbers_in_video(path, self._screen.strip),
                              by_video.get(path.name, []))

    def _compare(self, numbers, rows):
        for row in rows:
            number = numbers[row.index - 1] if row.index <= len(numbers) else None
            if self._is_behind_gap(row):
                continue
            if number is None or number >= len(self._screen.shown):
                self.unreadable += 1
                continue
            self.compared += 1
            lag = lag_of(row.time, self._screen.shown, number, self._rate)
            self.lags.append(lag)
            if not FASTEST_S <= lag <= SLOWEST_S:
                self.wrong.append((row, number, lag))
