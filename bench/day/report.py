"""The day's report: every figure beside its goal, and how it came about."""
import collections
import dataclasses
import os
import statistics

import costs
from costs import BEGINNING, IDLE, LOCKED, SETTLING, WORK, WORKING
from figures import Figures
from processes import RECORDER, ROLES, RUNTIME
from stage import SHORTEST_STATE_S

MEGABYTE = 1e6
FIRST_HITS = 5
FRAME_SLACK_S = 2  # the recorder looks at the clock after it has taken the picture


@dataclasses.dataclass
class Day:
    """What was seen of the run."""
    scenes: list
    compression: float
    stage: object
    meter: object
    watch: object
    history: object
    closing_cpu_s: float  # of the recorder, from being asked to end on
    taken: int
    told: int
    secrets: list      # words that stood on the locked screen
    failed: list       # names of scenes that broke off


def _tell_run(day, parts):
    run_s, day_s = costs.seconds(parts), sum(60 * scene.minutes for scene in day.scenes)
    print(f"a day of {day_s / 3600:.2f} h in {run_s / 60:.1f} min, its scenes shortened by"
          f" {day.compression:.1f}")
    kinds = collections.Counter()
    for part in parts:
        kinds[part.kind] += part.seconds
    for scene in day.scenes:
        kind = scene.activity if scene.activity in (IDLE, LOCKED) else WORK
        kinds[f"day {kind}"] += 60 * scene.minutes
    for name in day.failed:
        print(f"    BROKE OFF: {name}; its costs are those of its beginning")
    print(f"    beginnings: {kinds[BEGINNING]:.0f} s of the run; as long in the day")
    for kind in (WORK, IDLE, LOCKED):
        print(f"    {kind}: {100 * kinds[f'day {kind}'] / day_s:.0f} % of the day,"
              f" {kinds[kind]:.0f} s of the run")
    print(f"    waiting until all was read: {kinds[SETTLING]:.0f} s of the run")
    print(f"    load of the machine in the last 5 minutes: {os.getloadavg()[1]:.1f} on"
          f" {os.cpu_count()} cores\n")


def _tell_parts(parts):
    print(f"{'part of the run':<28}{'kind':<10}{'s':>6}  CPU, % of one core: all"
          + "".join(f"{role:>10}" for role in ROLES) + f"{'wake-ups/s':>12}")
    for part in parts:
        shares = "".join(f"{100 * costs.rate([part], 'cpu_s', (role,)):>10.2f}" for role in ROLES)
        print(f"{part.name:<28}{part.kind:<10}{part.seconds:>6.0f}"
              f"{100 * costs.rate([part], 'cpu_s'):>24.2f}{shares}"
              f"{costs.rate([part], 'wakeups'):>12.1f}")
    print()


def _tell_cpu(figures, parts, whole):
    work = costs.of_kind(parts, *WORKING)
    figures.tell("CPU, average of the whole day, one core",
                 100 * whole.whole("cpu_s") / whole.seconds, "%", at_most=5)
    for role in ROLES:
        figures.tell(f"    {role}", 100 * whole.whole("cpu_s", (role,)) / whole.seconds, "%")
    figures.tell("    of the run's work, beginnings and all", 100 * costs.rate(work, "cpu_s"), "%")
    figures.tell("CPU an hour of work, reading and closing included",
                 whole.working("cpu_s") / max(1.0, whole.working_seconds) * 3600, "s")
    for role in ROLES:
        figures.tell(f"    {role}", whole.working("cpu_s", (role,))
                     / max(1.0, whole.working_seconds) * 3600, "s")
    for kind, name in ((IDLE, "still"), (LOCKED, "locked")):
        still = costs.of_kind(parts, kind)
        if still:
            figures.tell(f"CPU while {name}, one core", 100 * costs.rate(still, "cpu_s"), "%",
                         at_most=0.2 if kind == IDLE else None)
            for role in ROLES:
                figures.tell(f"    {role}", 100 * costs.rate(still, "cpu_s", (role,)), "%")
            figures.tell(f"wake-ups while {name}", costs.rate(still, "wakeups"), "a second")
    for role in ROLES:
        figures.tell(f"wake-ups at work, {role}", costs.rate(work, "wakeups", (role,)), "a second")
    figures.tell("wake-ups, average of the whole day", whole.whole("wakeups") / whole.seconds,
                 "a second")


def _tell_memory(figures, day):
    samples = day.meter.samples
    figures.tell("open batch, most pictures", max(sample.open_pictures for sample in samples), "")
    for role in ROLES:
        for field, name in (("resident", "RSS"), ("proportional", "PSS")):
            values = [getattr(sample.use[role], field) for sample in samples]
            goal = {RECORDER: 300, RUNTIME: 550}.get(role) if field == "resident" else None
            figures.tell(f"{role} {name}, highest", max(values), "MB", at_most=goal)
            figures.tell(f"{role} {name}, average", statistics.mean(values), "MB")
    idle = _end_of_longest_idle(day.meter)
    if idle:
        for field, name, goal in (("resident", "RSS", 40), ("proportional", "PSS", None)):
            figures.tell(f"runtime {name} when idle", getattr(idle.use[RUNTIME], field), "MB",
                         at_most=goal)


def _end_of_longest_idle(meter):
    """The sample there, if the idleness was long enough for the engines to go."""
    spans = [(end.at - begin.at, end) for (begin, _, kind), (end, _, _) in
             zip(meter.marks, meter.marks[1:]) if kind == IDLE]
    longest = max(spans, key=lambda span: span[0], default=(0, None))
    return longest[1] if longest[0] > 70 else None


def _tell_bytes(figures, day, parts, sizes):
    hours = costs.seconds(costs.of_kind(parts, *WORKING)) / 3600
    stored = sum(size for folder, size in sizes.items() if folder != "log") / MEGABYTE
    figures.tell("stored an hour of work", stored / hours, "MB", at_most=30)
    for folder, size in sizes.items():
        figures.tell(f"    {folder}", size / MEGABYTE / hours, "MB")
    for role in ROLES:
        written = day.meter.samples[-1].use[role].written / MEGABYTE
        figures.tell(f"written an hour of work before closing, {role}", written / hours, "MB")


def _tell_frames(figures, day, rows):
    figures.tell("changes told by the bridge", day.told, "")
    figures.tell("pictures taken", day.taken, "")
    figures.tell("frames kept", len(rows), "")
    figures.tell("pictures dropped: nothing new, or no known program", day.taken - len(rows), "")


def _was_kept(state, rows):
    """Whether a frame was kept while the word stood there. Frames bear whole seconds: one of the
    second in which the word came or went may be of before or after."""
    return any(state.shown_at <= moment <= state.hidden_at - 1 for _, moment, _ in rows)


def _tell_markers(figures, day, rows):
    states = [state for state in day.stage.states if state.seconds >= SHORTEST_STATE_S]
    hits = {state.word: day.history.search(state.word) for state in states}
    found = sum(bool(frames) for frames in hits.values())
    figures.tell(f"screen states found by their word ({found} of {len(states)})",
                 100 * found / max(1, len(states)), "%", at_least=98)
    kept = [state for state in states if hits[state.word] or _was_kept(state, rows)]
    read = sum(bool(hits[state.word]) for state in kept)
    figures.tell(f"    of those with a frame of their own ({read} of {len(kept)})",
                 100 * read / max(1, len(kept)), "%")
    for reason, some in (("no frame was kept", [each for each in states if each not in kept]),
                         ("not read", kept)):
        lost = collections.Counter(state.scene for state in some if not hits[state.word])
        if lost:
            print(f"    not found, {reason}: "
                  + ", ".join(f"{scene} {count}" for scene, count in lost.items()))
    seen = sum(bool(day.history.search(word)) for word in day.secrets)
    figures.tell("words of the locked screen that were found", seen, "", at_most=0)
    arrived = _arrivals(day, states)
    again = sum(state.word in day.watch.arrivals for state in states) - len(arrived)
    figures.tell("states found only since they were shown again later", again, "")
    if arrived:
        waits = [max(0.0, found_at - state.shown_at) for state, found_at, _ in arrived]
        figures.tell("from the screen to searchable, median", statistics.median(waits), "s",
                     at_most=10)
        figures.tell("from the screen to searchable, longest", max(waits), "s", at_most=60)
        figures.tell("from the stored frame to searchable, median",
                     statistics.median(max(0.0, found_at - frame)
                                       for _, found_at, frame in arrived), "s")
    found_at = {state.word: moment for state, moment, _ in arrived}
    return [{**dataclasses.asdict(state), "found": bool(hits[state.word]),
             "kept": state in kept,
             "searchable_s": found_at[state.word] - state.shown_at
             if state.word in found_at else None} for state in states]


def _arrivals(day, states):
    """[(state, when it could be found, time of its frame)] of those kept while they were shown."""
    return [(state, *day.watch.arrivals[state.word]) for state in states
            if state.word in day.watch.arrivals
            and day.watch.arrivals[state.word][1] <= state.hidden_at + FRAME_SLACK_S]


def _tell_meanings(figures, day):
    """Of each subject that was shown: whether the hits of its question show it. A question shares
    hardly a word with the subject's text."""
    spans = collections.defaultdict(list)
    for state in day.stage.states:
        if state.subject:
            spans[state.subject].append((state.begun_at, state.hidden_at + 1))
    told, first, among, right = [], 0, 0, 0
    for name, times in spans.items():
        frames = day.history.search(day.stage.subjects[name].query, "--meaning", "--limit",
                                    str(FIRST_HITS))
        shows = [any(begin <= frame["epoch"] <= end for begin, end in times) for frame in frames]
        first, among, right = first + any(shows[:1]), among + any(shows), right + sum(shows)
        told.append({"subject": name, "states": len(times), "hits": shows})
    if spans:
        figures.tell("subjects whose question is answered by the first hit",
                     100 * first / len(spans), "%")
        figures.tell(f"subjects whose question is answered within {FIRST_HITS} hits",
                     100 * among / len(spans), "%")
        figures.tell(f"hits within the first {FIRST_HITS} that show the subject",
                     100 * right / max(1, sum(len(each["hits"]) for each in told)), "%")
    return told


def make(day):
    """Prints the report; the same for other programs to read."""
    parts = costs.parts_of(day.meter)
    whole = costs.WholeDay(day.scenes, parts, day.closing_cpu_s)
    figures = Figures()
    _tell_run(day, parts)
    _tell_parts(parts)
    _tell_cpu(figures, parts, whole)
    figures.tell("CPU of closing, the last video included", day.closing_cpu_s, "s")
    _tell_memory(figures, day)
    _tell_bytes(figures, day, parts, day.history.sizes())
    rows = day.history.rows()
    _tell_frames(figures, day, rows)
    states = _tell_markers(figures, day, rows)
    subjects = _tell_meanings(figures, day)
    return {"compression": day.compression, "load": os.getloadavg()[1], "figures": figures.all,
            "parts": [dataclasses.asdict(part) for part in parts], "states": states,
            "subjects": subjects,
            "brokeOff": day.failed}
