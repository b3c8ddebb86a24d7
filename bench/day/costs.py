"""From samples to costs: what each part of the run took, and what the whole day would take.

The day's scenes are shortened by leaving out their later parts, never by faster hands. What a scene
costs in a second of the run is therefore taken for what it costs in each second of the day. Reading
that goes on when a still scene begins, and the last video at the end, are costs of the work before
them: they are spread over the working scenes in proportion."""
import dataclasses

from processes import ROLES

STARTING, WORK, SETTLING, CLOSING = "starting", "work", "settling", "closing"
IDLE, LOCKED = "idle", "locked"
_STILL = (IDLE, LOCKED)


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
        return sum(60 * self._minutes[part.name] for part in of_kind(self._parts, *kinds))

    @property
    def seconds(self):
        return self._seconds((WORK, *_STILL))

    @property
    def working_seconds(self):
        return self._seconds((WORK,))

    def _of_scenes(self, field, kinds, roles):
        return sum(rate([part], field, roles) * 60 * self._minutes[part.name]
                   for part in of_kind(self._parts, *kinds))

    def working(self, field, roles=ROLES):
        """Of the day's working scenes, with their share of settling and closing."""
        measured = total(of_kind(self._parts, WORK), field, roles)
        later = total(of_kind(self._parts, SETTLING), field, roles)
        if field == "cpu_s" and "recorder" in roles:
            later += self._closing_cpu_s
        share = later / measured if measured else 0.0
        return self._of_scenes(field, (WORK,), roles) * (1 + share)

    def whole(self, field, roles=ROLES):
        return self.working(field, roles) + self._of_scenes(field, _STILL, roles)
