"""What is read and written in the day: subjects of subjects/*.txt, made as long as wanted."""
import pathlib

_FOLDER = pathlib.Path(__file__).parent / "subjects"
_NAMES = "Ana Petrov|Jonas Lind|Wei Zhang|Maria Costa|Tomas Berg|Ruth Okafor|Ivan Novak".split("|")
_PLACES = ("Hollow Lane|the east quay|Market Street|the old mill|Station Road|"
           "the north gate").split("|")
_VERBS = "noted|counted|asked for|sent back|wrote down|compared".split("|")
_THINGS = "boxes|pages|receipts|samples|letters|drawings|tickets".split("|")
_NAMES_ZH = "王芳|李明|赵丽|陈刚|刘洋|孙悦".split("|")
_PLACES_ZH = "东门|老街|车站旁边|三楼办公室|河边|图书馆".split("|")
_THINGS_ZH = "文件|照片|收据|样品|信件|票".split("|")


class Subject:
    """A text of ten sentences or so, and the question that somebody would find it by."""

    def __init__(self, path):
        self.name = path.stem
        lines = path.read_text(encoding="utf-8").splitlines()
        self.query, self.heading = lines[0].removeprefix("? "), lines[1]
        self.sentences = [line for line in lines[2:] if line]
        self.is_chinese = not self.heading.isascii()

    def detail(self, chance):
        """A sentence that stands nowhere else, as real pages have new lines everywhere."""
        if self.is_chinese:
            return (f"{chance.randint(1, 12)}月{chance.randint(1, 28)}日，{chance.choice(_NAMES_ZH)}在"
                    f"{chance.choice(_PLACES_ZH)}整理了{chance.randint(3, 980)}份"
                    f"{chance.choice(_THINGS_ZH)}。")
        return (f"On the {chance.randint(2, 28)}th {chance.choice(_NAMES)} {chance.choice(_VERBS)} "
                f"{chance.randint(3, 980)} {chance.choice(_THINGS)} near {chance.choice(_PLACES)} "
                f"{chance.randint(2, 99)}.")

    def paragraph(self, chance, sentences=3):
        """Sentences of the subject with a new one among them."""
        chosen = chance.sample(self.sentences, min(sentences, len(self.sentences)))
        chosen.insert(chance.randint(0, len(chosen)), self.detail(chance))
        return ("" if self.is_chinese else " ").join(chosen)


def subjects():
    """{name: Subject}"""
    return {path.stem: Subject(path) for path in sorted(_FOLDER.glob("*.txt"))}
