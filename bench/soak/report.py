"""The table at the end, and the verdict."""
import dataclasses
import json

import logs
import watch
from expected import EXPECTED
from processes import BRIDGE, RECORDER, ROLES, RUNTIME

# What a life may gain, MB: the program's caches of application names and icons, the allocator's.
GROWTH_MB = {RECORDER: 25.0, BRIDGE: 3.0, RUNTIME: 40.0}
GROWTH_OF_COUNTS = 6  # descriptors, threads
SHORTEST_JUDGED_S = 240  # a shorter life tells nothing: pages and engines are still being loaded
UNREADABLE_SHARE = 0.02


def _line(name, *values):
    print(f"{name:<44}" + "".join(f"{value:>12}" for value in values))


def _growth(soak, warm_up):
    if not any(RUNTIME in sample.life for sample in soak.watch.samples):
        soak.skip("what the runtime holds: only root can see it")
    _line("", *ROLES)
    held = {role: [sample.held[role] for sample in soak.watch.samples if role in sample.life
                   and sample.age[role] > warm_up] for role in ROLES}
    for name, field in (("PSS, highest, MB", "proportional"), ("RSS, highest, MB", "resident"),
                        ("descriptors, most", "descriptors"), ("threads, most", "threads"),
                        ("processes, most", "processes")):
        _line(name, *(f"{max((getattr(one, field) for one in held[role]), default=0):.0f}"
                      for role in ROLES))
    for name, field in (("PSS, MB gained an hour", "proportional"),
                        ("RSS, MB gained an hour", "resident"),
                        ("descriptors gained an hour", "descriptors"),
                        ("threads gained an hour", "threads")):
        values = []
        for role in ROLES:
            gain, longest = watch.growth(soak.watch.samples, role, field, warm_up)
            if gain is None or longest < SHORTEST_JUDGED_S:
                values.append("-")
                continue
            values.append(f"{gain * 3600:+.1f}")
            most = GROWTH_MB[role] if field == "proportional" else GROWTH_OF_COUNTS
            if field != "resident" and gain * longest > most:
                soak.violated(f"{role}: {name}, {gain * longest:.1f} in a life of {longest:.0f} s")
        _line(name, *values)


def _logs(soak):
    lines = logs.read(sorted((soak.world / "logs").glob("*.log")))
    lines += logs.read(sorted(soak.cache.glob("log/*")))
    expected = [expression for expression, causes in EXPECTED
                if not causes or set(causes) & set(soak.counts)]
    for message, times in logs.unexpected(lines, expected).most_common():
        soak.violated(f"on the log, {times} times: {message}")
    for name, line in logs.with_content(lines, soak.screen.secrets)[:5]:
        soak.violated(f"content on the log {name}, in a line of {len(line)} characters")
    _line("lines on the logs, warnings among them", len(lines), len(logs.warnings(lines)))


def _pictures(soak):
    check = soak.pictures
    _line("pictures compared with their rows' times", check.compared)
    _line("pictures whose strip cannot be read", check.unreadable)
    if check.lags:
        _line("row after its state had gone, s, at most", f"{max(check.lags):.1f}")
    if check.unreadable > max(3, UNREADABLE_SHARE * (check.compared + check.unreadable)):
        soak.violated(f"{check.unreadable} pictures show no state")


def _keep_samples(soak):
    """For a closer look."""
    (soak.world / "samples.json").write_text(json.dumps(
        [dataclasses.asdict(sample) for sample in soak.watch.samples]))


def tell(soak, options):
    """Prints everything; whether nothing was violated."""
    _keep_samples(soak)
    warm_up = min(watch.WARM_UP_S, options.minutes * 3)
    print(f"\nsoak of {options.minutes:g} minutes, seed {options.seed}: "
          f"{options.minutes * soak.clock.rate / 60:.0f} hours of the program's clock, and jumps")
    _line("states shown", len(soak.screen.shown))
    _line("frames stored, erased on purpose", soak.ledger.stored, soak.ledger.erased)
    _line("batches of 100 that became full", soak.ledger.full_videos())
    _line("starts of the program", soak.program.lives)
    for name, times in sorted(soak.counts.items()):
        _line(f"  {name.replace('_', ' ')}", times)
    for name in ("videos", "rows", "vectors"):
        _line(f"{name} at the end", soak.store.get(name, "-"))
    for kind, times in soak.explained.items():
        _line(f"explained by an event: {kind}", times)
    _growth(soak, warm_up)
    _logs(soak)
    _pictures(soak)
    if soak.group:
        _line("limit of memory by", soak.group.kind)
    for what, why in soak.skipped.items():
        print(f"skipped: {what} ({why})")
    print(f"{len(soak.violations)} violations")
    for violation in soak.violations:
        print(f"  {violation}")
    return not soak.violations
