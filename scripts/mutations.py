"""Small wrong changes of a C++ source, each such as a slip of the hand would make."""

import re
from typing import NamedTuple


class Mutation(NamedTuple):
    line: int  # from 0
    start: int
    end: int
    text: str

    def told(self, lines):
        """The line before and after the change."""
        line = lines[self.line]
        return line.strip(), (line[: self.start] + self.text + line[self.end:]).strip()


# The layout of the sources tells an operator (" < ") from a template's bracket ("<").
OPERATORS = {
    " < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == ",
    " && ": " || ", " || ": " && ", " + ": " - ", " - ": " + ", " * ": " / ", " / ": " * ",
    " % ": " * ", " += ": " -= ", " -= ": " += ", " & ": " | ", " | ": " & ",
}
WORDS = {"true": "false", "false": "true", "break;": ";", "continue;": ";"}
OPERATOR = re.compile("|".join(re.escape(word) for word in OPERATORS))
WORD = re.compile(r"\b(?:true\b|false\b|break;|continue;)")
NUMBER = re.compile(r"(?<![\w.\"'])\d+(?![\w.'])")
NEGATION = re.compile(r"!(?=[\w(])")
STATEMENT = re.compile(r"^\s+(?:[\w.:>\[\]*()-]+\(.*\)|[\w.>\[\]*-]+ [+|-]?= .*|\+\+[\w.>-]+);$")
NO_STATEMENT = re.compile(r"^\s+(?:return|throw|using|delete|case|static|const|auto|Q_ASSERT)\b")


def masked(text):
    """The text with blanks in place of comments, literals and directives, of the same length."""
    pattern = re.compile(
        r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\''
        r"|^[ \t]*#(?:[^\n\\]|\\.|\\\n)*", re.S | re.M)
    return pattern.sub(lambda found: re.sub(r"[^\n]", "\x01", found.group()), text)


def mutations_of(text):
    found = []
    for number, line in enumerate(masked(text).split("\n")):
        for match in OPERATOR.finditer(line):
            found.append(Mutation(number, *match.span(), OPERATORS[match.group()]))
        for match in WORD.finditer(line):
            found.append(Mutation(number, *match.span(), WORDS[match.group()]))
        for match in NEGATION.finditer(line):
            found.append(Mutation(number, *match.span(), ""))
        for match in NUMBER.finditer(line):
            found.append(Mutation(number, *match.span(), str(int(match.group(), 10) + 1)))
        if STATEMENT.match(line) and not NO_STATEMENT.match(line):
            indent = len(line) - len(line.lstrip())
            found.append(Mutation(number, indent, len(line), ";"))
    return found


def mutated(text, mutation):
    lines = text.split("\n")
    line = lines[mutation.line]
    lines[mutation.line] = line[: mutation.start] + mutation.text + line[mutation.end:]
    return "\n".join(lines)
