"""The invariants of what is stored: the checker's findings, and each picture against its row's time."""
import contextlib
import dataclasses
import json
import sqlite3
import subprocess

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
    """{frame: seconds since the epoch}"""
    path = cache / "vector_database/vectors.db"
    with contextlib.closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as file:
        for number, in file.execute("SELECT number FROM collections WHERE name = 'screenshots'"):
            return {f"{video}#{index}": moment for video, index, moment in file.execute(
                f"SELECT videoName, frameIndexOfVideo, realTime FROM rows_{number}")}
    return {}


@dataclasses.dataclass
class PictureCheck:
    compared: int = 0
    unreadable: int = 0
    wrong: list = dataclasses.field(default_factory=list)
    lags: list = dataclasses.field(default_factory=list)


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
    spans = [(since, max(since, ended)) for since in begun[-1:]] + [(since, since) for since in begun]
    lags = [min(0.0, moment - since) + max(0.0, moment - until) for since, until in spans]
    return min(lags, key=abs) / rate


def compare_pictures(cache, rows, screen, rate, is_behind_gap):
    """Whether each row's picture shows what stood on the screen at the row's time."""
    check, shown = PictureCheck(), screen.shown
    by_video = {}
    for row in rows:
        by_video.setdefault(row.video, []).append(row)
    for path in sorted(cache.glob("screenshots/*/*/*.mp4")):
        numbers = _numbers_in_video(path, screen.strip)
        for row in by_video.get(path.name, []):
            number = numbers[row.index - 1] if row.index <= len(numbers) else None
            if number is None or number >= len(shown):
                check.unreadable += 1
                continue
            check.compared += 1
            lag = lag_of(row.time, shown, number, rate)
            if not FASTEST_S <= lag <= SLOWEST_S and not is_behind_gap(row):
                check.wrong.append((row, number, lag))
            elif FASTEST_S <= lag <= SLOWEST_S:
                check.lags.append(lag)
    return check
