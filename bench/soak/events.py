"""What happens to the program while it records. Each event is a function of the Soak, which it
tells what must not be; it leaves the program recording. ENDINGS end its process one way or
another."""
import datetime
import json
import re
import time

from program import kill, setting, setting_now

FULL_BATCH_S = 180
MEMORY_STEP = 16 << 20
BACK_S = 7200
PICTURE_S = 2.0  # a picture that was under way may still come so long after a change
SEARCH_WORD = re.compile(r"[a-z]{7,12}")


def _no_rows(soak, since, until, allowed, what):
    """No more rows than allowed from since to until, times of the program's clock."""
    margin = PICTURE_S * soak.clock.rate
    rows = [row for row in soak.ledger.look() if since + margin < row.time < until]
    if len(rows) > allowed:
        soak.violated(f"{len(rows)} frames {what}")


def full_batch(soak):
    """Nothing but work, until a batch is full and the next has begun."""
    if not soak.is_short:
        before, deadline = soak.ledger.full_videos(), time.monotonic() + FULL_BATCH_S
        while soak.ledger.full_videos() == before and time.monotonic() < deadline:
            soak.work(1)


def pause(soak):
    setting("recording-memory", "false")
    begun = soak.clock.now()
    soak.work(soak.chance.uniform(4, 8))
    ended = soak.clock.now()
    setting("recording-memory", "true")
    _no_rows(soak, begun, ended, 1, "while it was paused")  # the interval may have run out before


def lock(soak):
    with soak.locker.locked():
        begun = soak.clock.now()
        soak.work(soak.chance.uniform(4, 8))
        ended = soak.clock.now()
    _no_rows(soak, begun, ended, 0, "while the screen was locked")


def _turn_to(soak, day):
    moment = datetime.datetime.combine(day, datetime.time(soak.chance.randint(5, 18),
                                                          soak.chance.randint(0, 59)))
    soak.set_clock(moment)
    if not soak.ledger.wait_for_rows(2, soak.patience):
        soak.violated(f"no frames on {day}")
        return
    rows = sorted((row for row in soak.ledger.look() if row.time >= moment.timestamp()),
                  key=lambda row: row.time)
    if rows and rows[0].number_of_day != 1:
        soak.violated(f"the first frame of {day} has the number {rows[0].number_of_day}")


def day_turn(soak):
    _turn_to(soak, soak.clock.moment().date() + datetime.timedelta(days=1))


def month_turn(soak):
    _turn_to(soak, (soak.clock.moment().date().replace(day=1) +
                    datetime.timedelta(days=32)).replace(day=1))


def clock_set_back(soak):
    """The program stops by itself and opens its window; it goes on when asked, once the clock is
    right again."""
    right = soak.clock.moment()
    soak.set_clock(right - datetime.timedelta(seconds=BACK_S))
    begun = time.monotonic()
    while setting_now("recording-memory") == "true":
        if time.monotonic() - begun > soak.patience:
            soak.violated("it recorded with the clock set back")
            break
        time.sleep(0.3)
    soak.clock_was_back(right.timestamp() - BACK_S, soak.clock.now())
    soak.set_clock(right + datetime.timedelta(seconds=(time.monotonic() - begun + 5) *
                                              soak.clock.rate))
    soak.in_the_window("adjust", shown_first=True)  # others' windows may lie above it by now
    setting("recording-memory", "true")


def _word_shown(soak):
    """A word that was read, with a row that it stands on; None before anything was."""
    rows = [(row, text) for row, text in soak.ledger.look().items() if SEARCH_WORD.search(text)]
    if not rows:
        return None, None
    row, text = soak.chance.choice(rows)
    return row, soak.chance.choice(SEARCH_WORD.findall(text))


def search_for_text(soak):
    row, word = _word_shown(soak)
    if not row:
        return
    hits = soak.history.search(word)
    if f"{row.video}#{row.index}" not in [hit["frame"] for hit in hits]:
        if row in soak.ledger.look():  # else it was erased meanwhile
            soak.violated(f"a word of {row.video}#{row.index} does not find it")


def search_by_meaning(soak):
    hits = soak.history.search(soak.chance.choice(soak.questions), "--meaning", "--limit", "20")
    json.dumps(hits)


def search_in_the_window(soak):
    _, word = _word_shown(soak)
    if word and soak.in_the_window("search", word, shown_first=True) == "nothing":
        soak.violated("the window does not find a word that was read")


def erase_everything(soak):
    soak.look_at_pictures()
    begun = soak.clock.now()
    if soak.in_the_window("erase", shown_first=True) is None:
        return
    deadline = time.monotonic() + soak.patience
    while any(row.time < begun for row in soak.ledger.look()):
        if time.monotonic() > deadline:
            soak.violated("frames are left after everything was erased")
            return
        time.sleep(0.5)
    ended = soak.clock.now()
    soak.ledger.allow_loss(lambda row: row.time <= ended)
    soak.ledger.lost()


def lower_the_ceiling(soak):
    """The oldest of two days grows by a file of 2 GB, which has no blocks; it alone goes."""
    days = sorted(soak.cache.glob("screenshots/*/*"), key=lambda folder: folder.name)
    if len(days) < 2:
        day_turn(soak)
        days = sorted(soak.cache.glob("screenshots/*/*"), key=lambda folder: folder.name)
    oldest = days[0]
    soak.ledger.allow_loss(lambda row: row.video.startswith(oldest.name))
    with open(oldest / f"{oldest.name}_00-00-00.mp4", "wb") as file:
        file.truncate(2 << 30)
    setting("max-storage-size-gb", 1)
    deadline = time.monotonic() + soak.patience
    while oldest.exists() and any(oldest.iterdir()):
        if time.monotonic() > deadline:
            soak.violated(f"{oldest.name} stays above the ceiling")
            break
        time.sleep(0.3)
    for day in days[1:]:
        if not day.exists():
            soak.violated(f"{day.name} went, which was below the ceiling")
    setting("max-storage-size-gb", soak.chance.choice((5, 10, 15)))


def change_the_ceiling(soak):
    """To what the settings page offers: nothing goes."""
    setting("max-storage-size-gb", soak.chance.choice((5, 10, 15)))


def kill_the_bridge(soak):
    kill(soak.program.bridge())


def kill_the_runtime(soak):
    for process, name in soak.program.runtime():
        if name == "yestermark-ai-runtime":
            kill(process)


def kill_the_engines(soak):
    for process, name in soak.program.runtime():
        if name != "yestermark-ai-runtime":
            kill(process)


def fill_the_disk(soak):
    if not soak.disk.exists:
        soak.skip("a full disk: no small file system could be mounted for the run")
        return
    begun = soak.clock.now()
    with soak.disk.full():
        soak.work(soak.chance.uniform(6, 20))
    soak.disk_was_full(begun - PICTURE_S * soak.clock.rate,
                       soak.clock.now() + PICTURE_S * soak.clock.rate)


# With how many rounds pass from one to the next: batches are to become full, stores to grow.
EVENTS = {pause: 1, lock: 1, full_batch: 1, search_for_text: 1, search_by_meaning: 1,
          search_in_the_window: 1, change_the_ceiling: 1, kill_the_bridge: 1, kill_the_runtime: 1,
          kill_the_engines: 1, fill_the_disk: 2, clock_set_back: 2, day_turn: 2, month_turn: 3,
          lower_the_ceiling: 3, erase_everything: 4}


def kill_the_program(soak):
    soak.program.kill()


def exhaust_the_memory(soak):
    """Less and less is left, until the kernel ends something."""
    if not soak.group:
        soak.skip("a limit of memory: no control group could be made")
        kill_the_program(soak)
        return
    with soak.group.limited() as take:
        deadline = time.monotonic() + 30
        while soak.program.ended() is None and time.monotonic() < deadline:
            take(MEMORY_STEP)
            time.sleep(0.5)
    status = soak.program.ended()
    if status is None:
        soak.told("the program lived through the limit")
        soak.end_in_order()
    elif status != -9:
        soak.violated(f"the program ended with {status} when memory was short")


def restart_the_bus(soak):
    """A session bus ends with its session: the bridge goes, the program is ended by the session."""
    bridge = soak.program.bridge()
    soak.bus.end()
    deadline = time.monotonic() + 20
    while soak.is_alive(bridge):
        if time.monotonic() > deadline:
            soak.violated("the bridge outlives its session bus")
            kill(bridge)
        time.sleep(0.2)
    soak.work(soak.chance.uniform(3, 8))
    if soak.program.ended() is not None:
        soak.violated(f"the program ended with {soak.program.ended()} with the session bus")
    soak.locker.end()
    soak.end_in_order()
    soak.bus.start()
    soak.start_locker()
    soak.screen.open_editor_again()


def end_in_order(soak):
    soak.end_in_order()


ENDINGS = {kill_the_program: 1, exhaust_the_memory: 1, restart_the_bus: 1, end_in_order: 1}
