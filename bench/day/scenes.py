"""The day as a table: what is done for how long, at what tempo, and on what subjects. The order is
that of the day; how each activity is done stands in activities.py."""
import dataclasses

IDLE, LOCKED = "idle", "locked"  # activities in which nobody works


@dataclasses.dataclass(frozen=True)
class Scene:
    name: str
    activity: str       # a function of activities.py
    minutes: float      # of the whole day
    tempo: tuple        # how long a state stays on the screen, seconds from and to
    subjects: tuple = ()
    at_least_s: float = 0.0  # however short the day is made


DAY = (
    Scene("messages in the morning", "chat", 15, (6, 11), ("bicycle", "guilin")),
    Scene("reading on the web", "browse", 45, (7, 16), ("harbour", "music", "garden")),
    Scene("writing in English", "write", 50, (6, 12), ("bread", "music")),
    Scene("compiling", "compile", 30, (6, 12)),
    Scene("following a log", "follow_log", 15, (8, 12)),
    Scene("coffee", IDLE, 15, (0, 0)),
    Scene("writing in Chinese", "write", 30, (6, 12), ("health", "cooking")),
    Scene("calculating", "calculate", 40, (6, 12)),
    Scene("lunch behind the lock", LOCKED, 45, (0, 0)),
    Scene("reading a PDF", "read_pdf", 35, (7, 16), ("network", "harbour", "bread")),
    Scene("reading Chinese on the web", "browse", 30, (7, 16), ("housing", "guilin")),
    Scene("looking at pictures", "look_at_pictures", 10, (6, 9)),
    Scene("back and forth", "switch", 20, (6, 10)),
    Scene("a video", "watch", 20, (8, 8)),
    # Long enough for the engines to go, which they do after a minute without work.
    Scene("a meeting elsewhere", IDLE, 40, (0, 0), at_least_s=100),
    Scene("writing again", "write", 25, (6, 12), ("garden",)),
    Scene("compiling again", "compile", 15, (6, 12)),
)

SHORTEST_S = 14.0  # a scene shows something at least once


def seconds_of(scene, compression):
    return max(scene.minutes * 60 / compression, scene.at_least_s, SHORTEST_S)
