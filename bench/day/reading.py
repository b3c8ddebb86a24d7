"""Activities of one who looks at what is there: pages, a PDF, pictures, a video, windows."""
import itertools
import time

import papers
from activity import Activity
from desk import hands, press, type_text

_LONGEST_VIDEO_STATES = 30


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
            if number > 0:
                stage.turn_to_something_new()
            if number == 0 and "browser" not in stage.desk.windows:
                stage.desk.open("browser", ["epiphany", page], environment=environment)
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
        self.stage.desk.open("pictures", ["gpicview", self.folder / "000.png"],
                             (300, 60, 1340, 940))
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
