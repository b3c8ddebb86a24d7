"""What the activities work with: the desk, papers that lie ready, marker words, and the clock of
the scene. Notes every state that was shown."""
import dataclasses
import time

import costs

SHORTEST_STATE_S = 5.0


@dataclasses.dataclass
class State:
    scene: str
    word: str
    subject: str      # "" for none
    begun_at: float   # time.time() at the end of the state before it
    shown_at: float   # when the marker stood on the screen
    hidden_at: float = 0.0

    @property
    def seconds(self):
        return self.hidden_at - self.shown_at


class Stage:
    def __init__(self, desk, words, chance, subjects, expect, mark):
        self.desk, self.words, self.chance, self.subjects = desk, words, chance, subjects
        self.states = []
        self._expect = expect  # called with each marker word once it stands on the screen
        self._mark = mark  # called with a scene's name and costs.BEGINNING or costs.WORK
        self._is_beginning = False
        self._scene = None
        self._ends_at = self._last_end = 0.0

    def begin(self, scene, seconds):
        self._scene = scene
        self._last_end = time.time()
        self._ends_at = time.monotonic() + seconds

    def turn_to_something_new(self):
        """A window, a page or a subject that has not been there: the scene begins, until the next
        look has ended."""
        self._is_beginning = True
        self._mark(self._scene.name, costs.BEGINNING)

    def has_time(self):
        return time.monotonic() < self._ends_at

    def rest(self):
        """Nothing is done until the scene's end."""
        time.sleep(max(0.0, self._ends_at - time.monotonic()))

    def look(self):
        """Looks at what is shown, for as long as the scene's tempo says."""
        time.sleep(self.chance.uniform(*self._scene.tempo))
        if self._is_beginning:
            self._is_beginning = False
            self._mark(self._scene.name, costs.WORK)

    def look_at(self, word, subject=""):
        """The same, at a state in which that marker has just come onto the screen."""
        state = State(self._scene.name, word, subject, self._last_end, time.time())
        self.states.append(state)
        self._expect(word)
        self.look()
        state.hidden_at = self._last_end = time.time()
