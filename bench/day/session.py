#!/usr/bin/python3
"""session.py BUILD WORLD [--compress N | --minutes N] [--scenes NAME,...] [--json FILE]

Plays the day of scenes.py on the virtual desktop that it runs in, with the release build in BUILD
recording, and reports what that took. --compress makes every scene N times shorter (48 at first, a
day in ten minutes), --minutes says how long all of it shall take; the pace of the hands stays
that of a person either way. Called by scripts/bench-day."""
import argparse
import contextlib
import json
import pathlib
import random
import subprocess
import sys
import time

import activities
import costs
import report
from desk import Desk
from locker import Locker
from processes import Meter
from recorder import BusCount, Recorder
from scenes import DAY, IDLE, LOCKED, seconds_of
from stage import Stage
from storedhistory import ArrivalWatch, StoredHistory
from texts import subjects
from words import Words

SEED = 20240305
SETTLED_S = 7.0       # the runtime has been quiet for so long; frames are at least 5 s apart
SETTLE_PATIENCE_S = 240
SETTINGS = (
    # Else it fetches a list of advertisers, from the network.
    ("org.gnome.Epiphany.web:/org/gnome/epiphany/web/", "enable-adblock", "false"),
    ("org.gnome.Epiphany", "ask-for-default", "false"),
    ("org.xfce.mousepad.preferences.view", "word-wrap", "true"),
    # Else the editor of a later scene asks for the texts of one that was ended, and takes the first
    # keys for the answer.
    ("org.xfce.mousepad.preferences.file", "autosave-timer", "0"),
    ("org.xfce.mousepad.preferences.file", "session-restore", "never"),
)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("world", type=pathlib.Path)
    length = parser.add_mutually_exclusive_group()
    length.add_argument("--compress", type=float, default=48.0)
    length.add_argument("--minutes", type=float)
    parser.add_argument("--scenes", type=lambda text: text.split(","))
    parser.add_argument("--json", type=pathlib.Path)
    options = parser.parse_args()
    names = [scene.name for scene in DAY]
    if unknown := set(options.scenes or []) - set(names):
        parser.error(f"no scene {', '.join(unknown)}; there are: {', '.join(names)}")
    options.day = [scene for scene in DAY if not options.scenes or scene.name in options.scenes]
    if options.minutes:
        options.compress = sum(scene.minutes for scene in options.day) / options.minutes
    return options


def settle(meter, watch):
    """Waits until what was recorded has been read, so that a still screen's costs are its own."""
    deadline = time.monotonic() + SETTLE_PATIENCE_S
    quiet_since, before = time.monotonic(), None
    while time.monotonic() < deadline and time.monotonic() - quiet_since < SETTLED_S:
        now = meter.sample().use["runtime"].cpu_s
        if before is None or now - before > 0.02 or watch.unread:
            quiet_since = time.monotonic()
        before = now
        time.sleep(1)


def play(scene, activity, stage, meter, watch, locker, seconds):
    is_still = scene.activity in (IDLE, LOCKED)
    if is_still:
        meter.mark("settling", costs.SETTLING)
        settle(meter, watch)
    print(f"{time.strftime('%T')} {scene.name}, {seconds:.0f} s", file=sys.stderr, flush=True)
    with locker.locked() if scene.activity == LOCKED else contextlib.nullcontext():
        stage.begin(scene, seconds)
        if is_still:
            meter.mark(scene.name, scene.activity)
        else:
            stage.turn_to_something_new()
        try:
            activity.play()
        except RuntimeError as error:  # a program that does not come; the day goes on
            print(f"{scene.name}: {error}", file=sys.stderr, flush=True)
            return False
        return True


def run(options, log, desk):
    """Everything that was seen, as report.Day."""
    chance = random.Random(SEED)
    history = StoredHistory(pathlib.Path.home(), options.build)
    watch = ArrivalWatch(history)
    # The meter comes after the papers, whose making is not recorded.
    stage = Stage(desk, Words(chance), chance, subjects(), watch.expect,
                  lambda name, kind: meter.mark(name, kind))
    papers = options.world / "papers"
    lengths = [seconds_of(scene, options.compress) for scene in options.day]
    played = [activities.BY_NAME[scene.activity](stage, scene, seconds, papers / str(number))
              for number, (scene, seconds) in enumerate(zip(options.day, lengths))]

    locker = Locker(log)
    recorder = Recorder(options.build, log)
    count = BusCount(options.world / "bus.txt")
    meter = Meter(recorder.process, recorder.bridge, history.open_pictures)
    meter.mark("starting", costs.STARTING)
    meter.start()
    watch.start()
    time.sleep(5)
    failed = [scene.name for scene, activity, seconds in zip(options.day, played, lengths)
              if not play(scene, activity, stage, meter, watch, locker, seconds)]
    meter.mark("settling", costs.SETTLING)
    settle(meter, watch)
    meter.mark("closing", costs.CLOSING)
    meter.stop()
    watch.stop()
    closing_s = recorder.end()
    taken, told = count.end()
    locker.end()
    secrets = [activity.secret for activity in played if hasattr(activity, "secret")]
    return report.Day(options.day, options.compress, stage, meter, watch, history, closing_s, taken,
                      told, secrets, failed)


def main():
    options = arguments()
    for schema, key, value in SETTINGS:
        subprocess.run(["gsettings", "set", schema, key, value], check=True)
    subprocess.run(["xsetroot", "-solid", "#31506b"], check=True)
    with open(options.world / "session.log", "ab") as log:
        desk = Desk(log)
        try:
            day = run(options, log, desk)
        finally:
            desk.clear()
    document = report.make(day)
    if options.json:
        options.json.write_text(json.dumps(document, indent=1, ensure_ascii=False))
    if day.failed:
        sys.exit("parts of the day could not be played")


main()
