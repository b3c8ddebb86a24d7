"""How each activity of the day is done: real programs, real keys. An activity is made with the stage
and the scene before the recording, when it lays its papers ready, and played later."""
import itertools
import threading
import time

import papers
from chatserver import ChatServer
from desk import hands, press, type_text

_CHINESE_DELAY_MS = 180  # a character, as an input method gives them
_LONGEST_VIDEO_STATES = 30
_WINDOW = (60, 30, 1800, 1000)


class Activity:
    def __init__(self, stage, scene, seconds, folder):
        self.stage, self.scene, self.folder = stage, scene, folder
        self.subjects = [stage.subjects[name] for name in scene.subjects]
        # The most states that the time can hold.
        self.most_states = int(seconds / max(5.0, scene.tempo[0])) + 2
        folder.mkdir(parents=True)
        self.prepare()

    def words(self, count):
        return [self.stage.words.next() for _ in range(count)]

    def prepare(self):
        pass

    def play(self):
        raise NotImplementedError


class Chat(Activity):
    def prepare(self):
        self.server = ChatServer()
        settings = {"gui_slist_skip": 1, "gui_join_dialog": 0, "irc_nick1": "jonas",
                    "irc_nick2": "jonas_", "irc_user_name": "jonas", "irc_real_name": "jonas",
                    "irc_who_join": 0, "identd": 0, "input_balloon_hilight": 0,
                    "input_balloon_priv": 0}
        (self.folder / "hexchat.conf").write_text(
            "".join(f"{key} = {value}\n" for key, value in settings.items()))

    def play(self):
        stage, desk = self.stage, self.stage.desk
        desk.open("chat", ["hexchat", f"--cfgdir={self.folder}", self.server.address],
                  (180, 60, 1400, 900), warns_root=True)
        self.server.wait_for_guest()
        time.sleep(1.5)
        hands("mousemove", 800, 935, "click", 1)  # the line for one's own words
        for subject in itertools.cycle(self.subjects):
            for sentence in stage.chance.sample(subject.sentences, 2):
                self.server.say(stage.chance.choice(["ana", "wei"]), sentence)
                time.sleep(1.2)
            word = stage.words.next()
            self.server.say("ana", f"{subject.detail(stage.chance)} {word}")
            type_text(stage.chance.choice(["good, thank you", "I will see to it this afternoon",
                                           "好的，谢谢", "who else is coming?"]), 70)
            press("Return")
            stage.look_at(word, subject.name)
            if not stage.has_time():
                return


class Browse(Activity):
    def prepare(self):
        picture = self.folder / "picture.png"
        papers.picture(picture, "of the day", self.stage.chance)
        count = -(-self.most_states // len(self.subjects)) + 1
        self.pages = []
        for subject in self.subjects:
            page, words = self.folder / f"{subject.name}.html", self.words(count)
            papers.page(page, subject, words, self.stage.chance, picture)
            self.pages.append((page, subject, words))

    def play(self):
        stage = self.stage
        environment = {"WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS": "1"}  # root has none
        for number, (page, subject, words) in enumerate(self.pages):
            if number == 0 and "browser" not in stage.desk.windows:
                stage.desk.open("browser", ["epiphany", page], _WINDOW, environment)
            else:
                stage.desk.show("browser")
                press("ctrl+l")
                type_text(f"file://{page}", 20)
                press("Return")
            time.sleep(2.5)
            hands("mousemove", 250, 500, "click", 1)
            is_last = number == len(self.pages) - 1
            share = max(1, int(0.6 * self.most_states / len(self.pages)))
            for word in words if is_last else words[:share]:
                stage.look_at(word, subject.name)
                if not stage.has_time():
                    return
                press("Page_Down")
                time.sleep(0.6)


class Write(Activity):
    def prepare(self):
        for subject in self.subjects:
            text = subject.heading + "\n\n" + "\n".join(
                subject.paragraph(self.stage.chance, 1) for _ in range(24)) + "\n"
            (self.folder / f"{subject.name}.txt").write_text(text, encoding="utf-8")

    def play(self):
        stage = self.stage
        for number, subject in enumerate(self.subjects):
            name = f"editor {subject.name} {self.scene.name}"
            stage.desk.open(name, ["mousepad", self.folder / f"{subject.name}.txt"],
                            (200, 80, 1500, 920))
            press("ctrl+End")
            is_last = number == len(self.subjects) - 1
            for _ in itertools.count() if is_last else range(max(1, self.most_states // 8)):
                word = stage.words.next()
                sentence = stage.chance.choice(subject.sentences)
                delay = _CHINESE_DELAY_MS if subject.is_chinese else 60
                type_text(f"{sentence} {word} {subject.detail(stage.chance)}", delay)
                press("Return")
                stage.look_at(word, subject.name)
                if not stage.has_time():
                    return
            press("ctrl+s")


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


class Calculate(Activity):
    def prepare(self):
        self.table = self.folder / "cargo.csv"
        papers.table(self.table, 60 * self.most_states, self.stage.chance)

    def play(self):
        stage, chance = self.stage, self.stage.chance
        stage.desk.open("table", ["gnumeric", self.table], _WINDOW)
        time.sleep(2)
        while True:
            word = stage.words.next()
            for text in (word, str(chance.randint(10, 9999)), f"={chance.randint(2, 9)}*D3"):
                type_text(text, 70)
                press("Tab")
            stage.look_at(word)
            if not stage.has_time():
                return
            press("Page_Down", "Home")
            time.sleep(0.5)


class ReadPdf(Activity):
    def prepare(self):
        self.leaves = list(zip(itertools.chain.from_iterable(
            itertools.repeat(subject, 2) for subject in itertools.cycle(self.subjects)),
            self.words(self.most_states)))
        papers.pdf(self.folder / "report.pdf", self.leaves, self.stage.chance)

    def play(self):
        self.stage.desk.open("pdf", ["xpdf", "-z", "width", self.folder / "report.pdf"],
                             (500, 30, 1300, 1000))
        time.sleep(1)
        for subject, word in self.leaves:
            self.stage.look_at(word, subject.name)
            if not self.stage.has_time():
                return
            press("n")  # the next page
            time.sleep(0.5)


class LookAtPictures(Activity):
    def prepare(self):
        self.titles = self.words(min(self.most_states, 40))
        for number, word in enumerate(self.titles):
            papers.picture(self.folder / f"{number:03}.png", word, self.stage.chance)

    def play(self):
        self.stage.desk.open("pictures", ["gpicview", self.folder / "000.png"], (300, 60, 1340, 940))
        time.sleep(1)
        for word in itertools.cycle(self.titles):
            self.stage.look_at(word)
            if not self.stage.has_time():
                return
            press("Right")
            time.sleep(0.5)


class Switch(Activity):
    """Windows that lie open come to the front, one after the other. There are no markers: what
    they show has been seen before."""

    def play(self):
        for name in itertools.cycle(list(self.stage.desk.windows)):
            self.stage.desk.show(name)
            self.stage.look()
            if not self.stage.has_time():
                return


class Watch(Activity):
    def prepare(self):
        self.captions = self.words(min(self.most_states, _LONGEST_VIDEO_STATES))
        papers.video(self.folder / "video.mp4", self.captions)

    def play(self):
        stage = self.stage
        stage.desk.open("video", ["mpv", "--no-config", "--vo=x11", "--ao=null", "--osd-level=0",
                                  "--no-terminal", "--loop", self.folder / "video.mp4"],
                        (320, 180, 1280, 720))
        time.sleep(papers.FIRST_CAPTION_S)
        for word in self.captions:
            stage.look_at(word)
            if not stage.has_time():
                break
        stage.rest()
        stage.desk.close("video")


class Lock(Terminal):
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


class Rest(Activity):
    def play(self):
        self.stage.rest()


BY_NAME = {
    "browse": Browse, "calculate": Calculate, "chat": Chat, "compile": Compile,
    "follow_log": FollowLog, "idle": Rest, "locked": Lock, "look_at_pictures": LookAtPictures,
    "read_pdf": ReadPdf, "switch": Switch, "watch": Watch, "write": Write,
}
