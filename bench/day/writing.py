"""Activities of one who types: chat, texts in English and Chinese, a table."""
import itertools
import time

import papers
from activity import Activity
from chatserver import ChatServer
from desk import hands, press, type_text

_CHINESE_DELAY_MS = 180  # a character, as an input method gives them


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


class Write(Activity):
    def prepare(self):
        for subject in self.subjects:
            text = subject.heading + "\n\n" + "\n".join(
                subject.paragraph(self.stage.chance, 1) for _ in range(24)) + "\n"
            (self.folder / f"{subject.name}.txt").write_text(text, encoding="utf-8")

    def play(self):
        stage = self.stage
        for number, subject in enumerate(self.subjects):
            if number > 0:
                stage.turn_to_something_new()
            name = f"editor {subject.name} {self.scene.name}"
            stage.desk.open(name, ["mousepad", "--disable-server",
                                   self.folder / f"{subject.name}.txt"],
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


class Calculate(Activity):
    def prepare(self):
        self.table = self.folder / "cargo.csv"
        papers.table(self.table, 60 * self.most_states, self.stage.chance)

    def play(self):
        stage, chance = self.stage, self.stage.chance
        stage.desk.open("table", ["gnumeric", self.table])
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
