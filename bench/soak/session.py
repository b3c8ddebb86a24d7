#!/usr/bin/python3
"""session.py BUILD WORLD [--minutes N] [--seed N]: the soak, on the virtual desktop that it runs
in, with the release build in BUILD. Ends with 1 where anything was violated. Called by
scripts/soak."""
import argparse
import pathlib
import random
import shutil
import sys

sys.path.append(str(pathlib.Path(__file__).parents[1] / "day"))

import report  # noqa: E402  the path comes first
from events import ENDINGS, EVENTS, end_in_order  # noqa: E402
from program import setting  # noqa: E402
from soak import Bag, Soak  # noqa: E402

LONG_LIFE = 0.4     # share of the time in which the program is neither killed nor ended
SPELL_MINUTES = 5.0
AT_THE_END = 0.1    # share of the time that looking at everything takes


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("world", type=pathlib.Path)
    parser.add_argument("--minutes", type=float, default=60.0)
    parser.add_argument("--seed", type=int, default=random.randrange(1_000_000))
    return parser.parse_args()


def lengths_of_lives(seconds, chance):
    """One is long; the others share the rest, unequally."""
    others = max(len(ENDINGS) - 1, round(seconds / 60 * (1 - LONG_LIFE) / SPELL_MINUTES))
    weights = [chance.uniform(0.5, 1.5) for _ in range(others)]
    lengths = [seconds * (1 - LONG_LIFE) * weight / sum(weights) for weight in weights]
    lengths.insert(chance.randrange(len(lengths) + 1), seconds * LONG_LIFE)
    return lengths


def run(soak, options):
    seconds = options.minutes * 60 * (1 - AT_THE_END)
    gap = (2.0, 6.0 + options.minutes / 3)
    bag, endings = Bag(EVENTS, soak.chance), Bag(ENDINGS, soak.chance)
    setting("screenshot-interval", 1)
    setting("enabled", "true")
    setting("recording-memory", "true")
    soak.screen.start()
    soak.ledger.start()
    soak.watch.start()
    ends_at = soak.begun
    for length in lengths_of_lives(seconds, soak.chance):
        ends_at += length
        soak.spell(ends_at, gap, bag, endings.next())
    soak.start()
    soak.expect_life("the last start")
    soak.quiet()
    soak.happen(end_in_order)
    soak.screen.end()
    soak.verify("--deep")
    soak.look_at_pictures()
    soak.watch.end()
    soak.ledger.end()


def main():
    options = arguments()
    print(f"seed {options.seed}", file=sys.stderr, flush=True)
    with open(options.world / "desk.log", "ab") as log:
        soak = Soak(options, log)
        try:
            run(soak, options)
        finally:
            soak.screen.end()
            soak.program.end()
            soak.locker.end()
            soak.bus.end()
            if soak.group:
                soak.group.remove()
    if not report.tell(soak, options):
        shutil.copytree(soak.cache, options.world / "store", dirs_exist_ok=True)
        sys.exit(1)


main()
