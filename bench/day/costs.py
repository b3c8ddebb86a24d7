"""From samples to costs: what each part of the run took, and what the whole day would take.

The day's scenes are shortened by leaving out their later parts, never by faster hands. Their
beginnings (windows that open, a subject's first text) come as often in the run as in the whole day:
they are taken as they are. What a scene costs in a second of the run after them is taken for what
it costs in each further second of the day. Reading that goes on when a still scene begins, and the
last video at the end, are costs of the work before them: they are spread over the working scenes in
proportion."""
import dataclasses

from processes import ROLES

STARTING, SETTLING, CLOSING = "starting", "settling", "closing"
BEGINNING, WORK = "beginning", "work"
WORKING = (BEGINNING, WORK)
IDLE, LOCKED = "idle", "locked"
_STILL = (IDLE, LOCKED)
_LEAST_WORK_S = 5.0  # after its beginnings, for a scene's rate to be taken of that


@dataclasses.dataclass
class Part:
    """A stretch of the run between two marks."""
    name: str
    kind: str
    seconds: float
    cpu_s: dict    # by role
    wakeups: dict  # by role
    written: dict  # by role


def _differences(field, begin, end):
    return {role: getattr(end.use[role], field) - getattr(begin.use[role], field) for role in ROLES}


def parts_of(meter):
    """All but the last mark's: closing is measured by the program's end."""
    parts = []
    for (begin, name, kind), (end, _, _) in zip(meter.marks, meter.marks[1:]):
        parts.append(Part(name, kind, end.at - begin.at, _differences("cpu_s", begin, end),
                          _differences("wakeups", begin, end),
                          _differences("written", begin, end)))
    return parts


def of_kind(parts, *kinds):
    return [part for part in parts if part.kind in kinds]


def total(parts, field, roles=ROLES):
    return sum(getattr(part, field)[role] for part in parts for role in roles)


def seconds(parts):
    return sum(part.seconds for part in parts)


def rate(parts, field, roles=ROLES):
    """A second; 0 for no parts."""
    return total(parts, field, roles) / seconds(parts) if parts else 0.0


class WholeDay:
    """The day that the run is a short form of."""

    def __init__(self, scenes, parts, closing_cpu_s):
        self._minutes = {scene.name: scene.minutes for scene in scenes}
        self._parts = parts
        self._closing_cpu_s = closing_cpu_s

    def _seconds(self, kinds):
        return sum(60 * self._minutes[name] for name in self._names(kinds))

    def _names(self, kinds):
        return {part.name for part in of_kind(self._parts, *kinds)}

    @property
    def seconds(self):
        return self._seconds((*WORKING, *_STILL))

    @property
    def working_seconds(self):
        return self._seconds(WORKING)

    def _still(self, field, roles):
        return sum(rate([part], field, roles) * 60 * self._minutes[part.name]
                   for part in of_kind(self._parts, *_STILL))

    def _of_scene(self, name, field, roles):
        parts = [part for part in of_kind(self._parts, *WORKING) if part.name == name]
        beginnings, later = of_kind(parts, BEGINNING), of_kind(parts, WORK)
        if seconds(later) < _LEAST_WORK_S:
            later = parts
        remaining = max(0.0, 60 * self._minutes[name] - seconds(beginnings))
        return total(beginnings, field, roles) + rate(later, field, roles) * remaining

    def working(self, field, roles=ROLES):
        """Of the day's working scenes, with their share of settling and closing."""
        measured = total(of_kind(self._parts, *WORKING), field, roles)
        later = total(of_kind(self._parts, SETTLING), field, roles)
        if field == "cpu_s" and "recorder" in roles:
            later += self._closing_cpu_s
        share = later / measured if measured else 0.0
        return (1 + share) * sum(self._of_scene(name, field, roles)
                                 for name in self._names(WORKING))

    def whole(self, field, roles=ROLES):
        return self.working(field, roles) + self._still(field, roles)
