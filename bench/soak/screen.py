"""The screen: three windows of two applications whose content changes all the time, and below them
a strip that bears the number of the state in black and white cells, so that each stored picture
tells when it was taken."""
import contextlib
import dataclasses
import os
import random
import subprocess
import threading
import time

from desk import Desk, hands, press

PERIOD_S = 0.9  # a little less than the shortest capture interval
BITS = 20
_CHECK_BITS = 4
_CELLS_OF_BIT = 3
_WORK = (40, 20, 1800, 900)
_STRIP = (40, 985, 1500, 60)
_BORDER = 2
_UNDER_WAY = 4  # states, in the time from a picture to its row
_ROWS = 40
_COLOURS = ("97;44", "30;107", "92;40", "30;106")


@dataclasses.dataclass
class Strip:
    """Where on the screen the cells stand."""
    left: int
    top: int
    cell_width: int
    height: int

    def number_in(self, row):
        """Of a line of grey pixels over the strip's width; None where the check bits say no."""
        bits = [row[int((place + 0.5) * _CELLS_OF_BIT * self.cell_width)] > 128
                for place in range(BITS + _CHECK_BITS)]
        value = sum(bit << place for place, bit in enumerate(bits))
        number = value & ((1 << BITS) - 1)
        return number if value >> BITS == _check(number) else None

    @property
    def width(self):
        return (BITS + _CHECK_BITS) * _CELLS_OF_BIT * self.cell_width


def _check(number):
    return (number * 7 + number // 16 * 3 + number // 256 * 5 + 9) % (1 << _CHECK_BITS)


def cells_of(number):
    """Whether each cell of the strip is white, from the left."""
    value = number | _check(number) << BITS
    return [bool(value >> place & 1) for place in range(BITS + _CHECK_BITS)
            for _ in range(_CELLS_OF_BIT)]


def _drawn(number):
    return "".join(f"\x1b[{'107' if is_white else '40'}m " for is_white in cells_of(number))


def _corner(window):
    answer = subprocess.run(["xwininfo", "-id", window], check=True, capture_output=True,
                            text=True).stdout
    facts = dict(line.split(":", 1) for line in answer.splitlines() if line.count(":") == 1)
    return [int(facts[f"  Absolute upper-left {axis}"]) for axis in "XY"]


def _cell_size(window):
    answer = subprocess.run(["xprop", "-id", window, "WM_NORMAL_HINTS"], check=True,
                            capture_output=True, text=True).stdout
    line = next(line for line in answer.splitlines() if "resize increment" in line)
    width, height = line.rpartition(":")[2].split(" by ")
    return int(width), int(height)


class _Terminal:
    """An xterm that shows what is written to its pipe."""

    def __init__(self, desk, name, folder, size, box):
        pipe = folder / name
        os.mkfifo(pipe)
        desk.open(name, ["xterm", "-fa", "DejaVu Sans Mono", "-fs", size, "-b", _BORDER, "+sb",
                         "-e", "sh", "-c", f"stty -echo; exec cat {pipe}"], box)
        self.window = desk.windows[name]
        self._pipe = open(pipe, "w", encoding="utf-8")

    def show(self, text):
        self._pipe.write(text)
        self._pipe.flush()


class Screen:
    """Owns a thread, which alone touches the windows unless still() holds it."""

    def __init__(self, folder, log, chance, lines, words, now):
        folder.mkdir(parents=True)
        self._desk, self._now = Desk(log), now
        self._chance = random.Random(chance.random())
        self._lines, self._words = lines, words
        self._turn = threading.RLock()
        self._ended = threading.Event()
        self.shown = []  # of each state, by its number: the moments since which it is shown
        self.secrets = set(lines)
        self._open(folder)
        self._thread = threading.Thread(target=self._run, name="screen", daemon=True)

    def _open(self, folder):
        self._book = folder / "book.txt"
        self._book.write_text("\n\n".join(self._chance.choice(self._lines) for _ in range(1500)))
        self._terminals = {name: _Terminal(self._desk, name, folder, 11, _WORK)
                           for name in ("first", "second")}
        self._open_editor()
        strip = _Terminal(self._desk, "strip", folder, 14, _STRIP)
        strip.show("\x1b[?25l\x1b[2J")
        self._strip_terminal = strip
        (left, top), (width, height) = _corner(strip.window), _cell_size(strip.window)
        self.strip = Strip(left + _BORDER, top + _BORDER, width, height)
        self._fronts = ("first", "second", "editor")
        self._front = "first"

    def _open_editor(self):
        self._desk.open("editor", ["mousepad", self._book], _WORK)

    def open_editor_again(self):
        """It ends with the session bus."""
        with self._turn:
            self._desk.close("editor")
            self._open_editor()

    def start(self):
        self._thread.start()

    def clock_has_moved(self):
        """What is shown is shown since then as well, and so are the states before it, of which a
        picture may be under way."""
        for state in self.shown[-_UNDER_WAY:]:
            state.append(self._now())

    def end(self):
        self._ended.set()
        self._thread.join()
        self._desk.clear()

    @contextlib.contextmanager
    def still(self):
        """Nothing changes meanwhile, and no key is pressed."""
        with self._turn:
            try:
                yield
            finally:
                with contextlib.suppress(subprocess.CalledProcessError):
                    self._raise(self._front)

    def _run(self):
        due = time.monotonic()
        while not self._ended.wait(max(0.0, due - time.monotonic())):
            due = time.monotonic() + PERIOD_S
            with self._turn:
                try:
                    self._change()
                except subprocess.CalledProcessError:
                    self._front = "first"  # a window that went; the next state follows

    def _change(self):
        if self._chance.random() < 0.03 or not self.shown:
            self._raise(self._chance.choice(self._fronts))
        self._raise(self._front)  # a key goes to the window in front
        number = len(self.shown)
        self.shown.append([self._now()])
        if self._front == "editor":
            press("ctrl+Home" if self._chance.random() < 0.02 else "Next")
        else:
            self._terminals[self._front].show(self._page())
        self._strip_terminal.show(f"\x1b[H{_drawn(number)}\x1b[0m")

    def _raise(self, name):
        hands("windowactivate", "--sync", self._desk.windows[name])
        self._front = name

    def _page(self):
        chance = self._chance
        word = self._words.next()
        self.secrets.add(word)
        page = [f"\x1b[{chance.choice(_COLOURS)}m\x1b[2J"]
        for row in range(2, _ROWS, chance.choice((2, 3, 4))):
            column = chance.choice((1, 9, 33, 61))
            page.append(f"\x1b[{row};{column}H{chance.choice(self._lines)}")
        page.append(f"\x1b[1;{chance.choice((1, 20, 40))}Hnow {word}")
        return "".join(page)
