"""Activities in a terminal, and the locked screen, which is one over all of the screen."""
import threading
import time

import papers
from activity import Activity
from desk import press, type_text

_REPAINT_S = 4  # what lay below the locked screen draws itself again, on a busy machine too


class Terminal(Activity):
    def open_terminal(self):
        if "terminal" in self.stage.desk.windows:
            self.stage.desk.show("terminal")
        else:
            self.stage.desk.open("terminal", [
                "xterm", "-bg", "#1d2430", "-fg", "#d8dee9", "-fa", "DejaVu Sans Mono", "-fs", "12",
                "-e", "bash", "--norc"], (40, 60, 1400, 860))
            self.run("PS1='$ '; clear")

    def run(self, command):
        type_text(command, 35)
        press("Return")


class Compile(Terminal):
    def prepare(self):
        self.projects = []
        for word in self.words(self.most_states):
            folder = self.folder / word
            papers.sources(folder, word, self.stage.chance)
            self.projects.append((folder, word))

    def play(self):
        stage = self.stage
        self.open_terminal()
        for folder, word in self.projects:
            self.run(f"cd {folder}; ls -l; nice make NAME={word}; touch done")
            while not (folder / "done").exists():
                time.sleep(0.2)
            stage.look_at(word)
            if not stage.has_time():
                return


class FollowLog(Terminal):
    """Two or three lines a second; the marker stands in each line of its time."""

    def play(self):
        stage = self.stage
        log = self.folder / "service.log"
        log.touch()
        self.open_terminal()
        self.run(f"clear; tail -f {log}")
        while True:
            word, ended = stage.words.next(), threading.Event()
            writer = threading.Thread(target=self.write_lines, args=(log, word, ended))
            writer.start()
            stage.look_at(word)
            ended.set()
            writer.join()
            if not stage.has_time():
                break
        press("ctrl+c")

    def write_lines(self, log, word, ended):
        chance = self.stage.chance
        with open(log, "a", encoding="utf-8") as file:
            while True:
                file.write(f"{time.strftime('%H:%M:%S')} worker[{chance.randint(100, 999)}] "
                           f"job={word} request /api/v{chance.randint(1, 3)}/item/"
                           f"{chance.randint(1000, 99999)} {chance.choice([200, 200, 304, 404])} "
                           f"{chance.randint(2, 900)} ms\n")
                file.flush()
                if ended.wait(0.4):
                    return


class Lock(Activity):
    """Pictures of a locked screen are not kept: its word must not be found."""

    def prepare(self):
        self.secret = self.stage.words.next()

    def play(self):
        self.stage.desk.open("lock", [
            "xterm", "-fullscreen", "-bg", "black", "-fg", "white", "-fs", "24", "-fa",
            "DejaVu Sans Mono", "-e", "sh", "-c",
            f"while :; do clear; date +%T; echo locked {self.secret}; sleep 1; done"],
            (0, 0, 1920, 1080))
        self.stage.rest()
        self.stage.desk.close("lock")
        time.sleep(_REPAINT_S)
