"""Small wrong changes of a C++ source, such as a slip of the hand would make, each behind a switch of
switch.h, so that all of them are compiled at once."""

import bisect
import re
from typing import NamedTuple

WRONG = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "+": "-", "-": "+",
         "*": "/", "/": "*", "%": "*", "&": "|", "|": "&"}
NAMES = {"<": "Lt", "<=": "Le", ">": "Gt", ">=": "Ge", "==": "Eq", "!=": "Ne", "+": "Plus",
         "-": "Minus", "*": "Times", "/": "Over", "%": "Modulo", "&": "And", "|": "Or"}

# The layout of the sources tells an operator (" < ") from a template's bracket ("<").
OPERATOR = re.compile(r" (<=|>=|==|!=|<|>|\+|-|\*|/|%|&|\|)(?=[ \n])")
LOGIC = re.compile(r" (&&|\|\|)(?=[ \n])")
NUMBER = re.compile(r"(?<![\w.\"'])\d+(?![\w.'])")
NEGATION = re.compile(r"!(?=[\w(])")
JUMP = re.compile(r"\b(?:break|continue|return);")
RESULT = re.compile(r"\breturn (?!true;|false;|\{\};)(?=[^;\s])")
DECLARATION = re.compile(r"(?:const )?(?:auto|[\w:]+(?:<.*>)?) [*&]?\w+ = ")
STATEMENT = re.compile(r"^[ \t]+(?=[\w.:>\[\]*()+-]+(?:\(| [+|-]?= |\+\+|;))", re.M)
NO_STATEMENT = re.compile(r"(?:return|throw|using|delete|case|static|const|auto|Q_ASSERT|else|if|for"
                          r"|while|do|default|break|continue|goto)\b")
# What the compiler needs to know takes no switch.
CONSTANT_LINE = re.compile(r"\bconstexpr\b|\bstatic_assert|^\s*case |^template|^\s*#|^(?:static )?const ")
BEHIND_CONJUNCTION = (" && ", " &&\n", " || ", " ||\n", " ? ", " ?\n", " : ", " :\n", " = ", "return ")
BEHIND_DISJUNCTION = BEHIND_CONJUNCTION[2:]


class Mutation(NamedTuple):
    line: int  # from 0
    start: int
    end: int  # of what is enclosed or replaced
    what: str
    before: str  # "@" stands for the number
    after: str
    replaces: bool

    @property
    def rank(self):
        """The order of insertions at one place: what encloses more comes first."""
        if self.start == self.end:
            return -1 if self.before.startswith(" ") else 1
        return 2


def masked(text):
    """The text with blanks in place of comments, literals and directives, of the same length."""
    pattern = re.compile(
        r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\''
        r"|^[ \t]*#(?:[^\n\\]|\\.|\\\n)*", re.S | re.M)
    return pattern.sub(lambda found: re.sub(r"[^\n]", "\x01", found.group()), text)


def end_of_operand(code, start, stops=()):
    """Where what begins at START ends: at one of STOPS, a comma, a semicolon or a closing bracket."""
    depth = 0
    for place in range(start, len(code)):
        if code[place] in ")]}" and depth == 0:
            return place
        depth += (code[place] in "([{") - (code[place] in ")]}")
        if depth == 0 and (code[place] in ",;" or code.startswith(tuple(stops), place)):
            return place
    return None


def begin_of_operand(code, end, stops):
    depth = 0
    for place in range(end, 0, -1):
        if code[place - 1] in "([{" and depth == 0:
            return place
        depth += (code[place - 1] in ")]}") - (code[place - 1] in "([{")
        if depth == 0 and (code[place - 1] in ",;" or code[:place].endswith(tuple(stops))):
            return place
    return None


def words_of(text):
    return " ".join(text.split())


class Finder:
    def __init__(self, text):
        self.text, self.code = text, masked(text)
        self.lines = text.split("\n")
        self.starts = [0]
        for line in self.lines:
            self.starts.append(self.starts[-1] + len(line) + 1)
        self.found = []

    def add(self, start, end, what, before, after="", replaces=False):
        line = bisect.bisect_right(self.starts, start) - 1
        if not CONSTANT_LINE.search(self.lines[line]):
            self.found.append(Mutation(line, start, end, what, before, after, replaces))

    def all(self):
        self.operators()
        self.operands()
        self.values()
        self.conditions()
        self.statements()
        return sorted(self.found, key=lambda mutation: (mutation.start, -mutation.end))

    def operators(self):
        for match in OPERATOR.finditer(self.code):
            sign = match.group(1)
            self.add(match.end(), match.end(), f"{sign} becomes {WRONG[sign]}",
                     f" Mutation::{NAMES[sign]}{{@}} {sign}")
        for match in NEGATION.finditer(self.code):
            self.add(match.start(), match.end(), "! removed", "Mutation::Not{@} % ", replaces=True)

    def operands(self):
        """Both operands of && and ||, removed one at a time."""
        for match in LOGIC.finditer(self.code):
            isAnd = match.group(1) == "&&"
            stops = BEHIND_CONJUNCTION if isAnd else BEHIND_DISJUNCTION
            guard = "(Mutation::at(@) || (" if isAnd else "(!Mutation::at(@) && ("
            for begin, end in ((match.end(), end_of_operand(self.code, match.end(), stops)),
                               (begin_of_operand(self.code, match.start(), stops), match.start())):
                if begin is None or end is None:
                    continue
                operand = self.code[begin:end]
                begin += len(operand) - len(operand.lstrip())
                self.add(begin, end, f"removed {words_of(self.text[begin:end])}", guard, "))")

    def values(self):
        for match in re.finditer(r"\b(?:true|false)\b", self.code):
            isTrue = match.group() == "true"
            self.add(*match.span(), "false" if isTrue else "true",
                     "(!Mutation::at(@))" if isTrue else "Mutation::at(@)", replaces=True)
        for match in NUMBER.finditer(self.code):
            number = int(match.group(), 10)
            self.add(*match.span(), f"{number + 1} for {number}",
                     f"(Mutation::at(@) ? {number + 1} : {match.group()})", replaces=True)
        for match in RESULT.finditer(self.code):
            self.add(match.start(), match.start(), "return {}", "if (Mutation::at(@)) { return {}; } ")

    def conditions(self):
        for match in re.finditer(r"\bif \(", self.code):
            end = end_of_operand(self.code, match.end())
            condition = self.code[match.end():end] if end else ";"
            if (";" in condition and "{" not in condition) or DECLARATION.match(condition):
                continue
            self.add(match.end(), end, "never true", "!Mutation::at(@) && (", ")")

    def statements(self):
        for match in JUMP.finditer(self.code):
            self.add(match.start(), match.start(), f"removed {match.group()}",
                     "if (!Mutation::at(@)) ")
        blank = self.code.replace("\x01", " ")
        for match in STATEMENT.finditer(blank):
            begin = match.end()
            isFirst = blank[: match.start()].rstrip()[-1:] in ";{}"
            end = end_of_operand(self.code.replace(",", " "), begin)
            if (isFirst and not NO_STATEMENT.match(blank, begin) and end
                    and self.code[end] == ";"):
                self.add(begin, end + 1, f"removed {words_of(self.text[begin:end])[:100]}",
                         "if (!Mutation::at(@)) { ", " }")


def mutations_of(text):
    return Finder(text).all()


def switched(text, numbered, header):
    """The text with the switches of these (number, mutation) pairs, and its lines as they were."""
    insertions = []
    for number, mutation in numbered:
        before = mutation.before.replace("@", str(number))
        if mutation.replaces:
            insertions.append((mutation.start, 5, 0, before, mutation.end))
        else:
            insertions.append((mutation.start, mutation.rank, -mutation.end, before, None))
            if mutation.after:
                insertions.append((mutation.end, 0, -mutation.start, mutation.after, None))
    made, last = [f'#include "{header}"\n#line 1\n'], 0
    for place, _, _, inserted, goes_on in sorted(insertions, key=lambda insertion: insertion[:3]):
        made += [text[last:place], inserted]
        last = goes_on or place
    return "".join(made) + text[last:]
