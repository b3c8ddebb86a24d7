"""What the processes wrote to their logs: warnings that nothing explains, and content, which must
never stand there."""
import bisect
import collections
import re

_WARNING = re.compile(r"\[(warning|error|critical)\]")
_NUMBERS = re.compile(r"\d+")


def read(paths):
    return [(path.name, line) for path in paths
            for line in path.read_text(errors="replace").splitlines()]


def message_of(line):
    """Without time and thread."""
    return line.rpartition("] ")[2]


def warnings(lines):
    return [(name, line) for name, line in lines if _WARNING.search(line)]


def _is_cut(line, ordered):
    """Whether that very line, with its time, stands on another log too, and longer there."""
    behind = bisect.bisect_right(ordered, line)
    return behind < len(ordered) and ordered[behind].startswith(line)


def unexpected(lines, expected):
    """{message, numbers taken out: how often} of warnings that match none of the expressions. A line
    that a full disk cut short counts where it stands whole."""
    found = collections.Counter()
    ordered = sorted(line for _, line in lines)
    for _, line in warnings(lines):
        if _is_cut(line, ordered):
            continue
        message = message_of(line)
        if not any(expression.search(message) for expression in expected):
            found[_NUMBERS.sub("N", message)] += 1
    return found


def with_content(lines, secrets):
    """Lines in which anything stands that the screen has shown."""
    pattern = re.compile("|".join(map(re.escape, sorted(secrets))))
    return [(name, line) for name, line in lines if pattern.search(line)]
