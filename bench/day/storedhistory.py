"""What has been stored so far: rows as they come, files, and what a search finds. Reads only."""
import json
import pathlib
import sqlite3
import subprocess
import threading
import time

PERIOD_S = 0.5


class StoredHistory:
    def __init__(self, home, build, environment=None):
        """environment is that of yestermarkctl; None for this process's own."""
        self._environment = environment
        self._cache = pathlib.Path(home) / ".cache/tavel-ai-yestermark"
        self._command = pathlib.Path(build) / "bin/yestermarkctl"

    def open_pictures(self):
        """Frames of the open batch or on their way into a video: they have a safety copy."""
        return sum(1 for _ in self._cache.glob("screenshots/*/*/*.png"))

    def sizes(self):
        """Bytes that the files take of the disk, by kind; the matrix of the vectors has holes."""
        def size(folder):
            return sum(path.stat().st_blocks * 512 for path in (self._cache / folder).rglob("*")
                       if path.is_file())
        return {folder: size(folder)
                for folder in ("screenshots", "traditional_database", "vector_database", "log")}

    def rows(self):
        """[(identity, time, text)] of all frames, oldest first."""
        found = []
        for path in sorted(self._cache.glob("traditional_database/*.db")):
            try:
                with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as database:
                    found += [((path.name, row), moment, text) for row, moment, text in
                              database.execute("SELECT id, real_time, ocr_text FROM screenshots"
                                               " ORDER BY id")]
                database.close()
            except sqlite3.OperationalError:
                continue  # not made yet, or being written
        return found

    def search(self, text, *options):
        """Frames as yestermarkctl tells them, best or newest first."""
        answer = subprocess.run([self._command, "--json", "search", *options, "--", text],
                                env=self._environment, capture_output=True, text=True,
                                check=False)
        if answer.returncode not in (0, 1):
            raise RuntimeError(f"yestermarkctl: {answer.stderr}")
        return json.loads(answer.stdout or "[]")


class ArrivalWatch:
    """Notes when a marker can first be found, on a thread of its own."""

    def __init__(self, history):
        self._history = history
        self._pending = {}  # word: nothing; in the order of their showing
        self._read = set()
        self._lock = threading.Lock()
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._run, name="arrivals", daemon=True)
        self.unread = 0
        self.arrivals = {}  # word: (time.time() when found, time of its frame)

    def expect(self, word):
        with self._lock:
            self._pending[word] = None

    def start(self):
        self._thread.start()

    def stop(self):
        self._ended.set()
        self._thread.join()

    def _run(self):
        while not self._ended.wait(PERIOD_S):
            self._look()

    def _look(self):
        rows = self._history.rows()
        now = time.time()
        self.unread = sum(1 for _, _, text in rows if not text)
        with self._lock:
            for identity, moment, text in rows:
                if not text or identity in self._read:
                    continue
                self._read.add(identity)
                small = text.lower()
                for word in [word for word in self._pending if word in small]:
                    self.arrivals[word] = (now, moment)
                    del self._pending[word]
