"""Something that looks again and again on a thread of its own, from start() to end()."""
import threading


class Looker:
    """Derived classes have look(), which any thread may call."""

    def __init__(self, name, period_s):
        self._period_s = period_s
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._run, name=name, daemon=True)

    def start(self):
        self._thread.start()

    def end(self):
        self._ended.set()
        self._thread.join()

    def _run(self):
        while not self._ended.wait(self._period_s):
            self.look()
