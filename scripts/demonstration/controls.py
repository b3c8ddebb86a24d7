#!/usr/bin/python3
"""controls.py click NAME: finds a control of the window in front by the name that it tells a screen
reader and clicks it with the mouse. controls.py press NAME: presses it as a screen reader does, for
desktops without a mouse. controls.py find NAME: waits until it is shown. As a module: the same for
scripts that drive the window.

The program tells its controls only where QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 is set or a screen
reader runs. Runs on the distribution's Python, which its bindings of the bus belong to."""
import subprocess
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  the version comes first

APPLICATION = "tavel-ai-yestermark"
PATIENCE_S = 20


def _children(node):
    return [child for child in map(node.get_child_at_index, range(node.get_child_count())) if child]


def _is_shown(node):
    return node.get_state_set().contains(Atspi.StateType.SHOWING)


def _shown_below(node):
    for child in _children(node):
        if _is_shown(child):
            yield child
            yield from _shown_below(child)


def _look_for(names, beside):
    """The shown control of one of the names, the newest window first; where BESIDE is given, the first
    one behind that. None if there is none."""
    for application in _children(Atspi.get_desktop(0)):
        if application.get_name() != APPLICATION:
            continue
        for window in reversed(_children(application)):
            is_behind = beside is None
            for node in [window, *_shown_below(window)]:
                if is_behind and node.get_name() in names and _is_shown(node):
                    return node
                is_behind = is_behind or node.get_name() == beside
    return None


def _shown(name, beside=None):
    """What is called NAME at this moment, with the program's prefix or without; None if nothing."""
    try:
        return _look_for((f"{APPLICATION}_{name}", name), beside)
    except GLib.Error:
        return None  # the tree changed under the walk


def first_shown(*names, beside=None):
    """The first of the controls, windows or texts of these names that is shown, and its name. Ends
    the script if none comes."""
    deadline = time.monotonic() + PATIENCE_S
    while time.monotonic() < deadline:
        for name in names:
            if found := _shown(name, beside):
                return found, name
        time.sleep(0.1)
    sys.exit(f"not shown: {', '.join(names)}")


def find(name, beside=None):
    """The control, window or text of that name, once it is shown; that behind BESIDE."""
    return first_shown(name, beside=beside)[0]


def is_shown(name):
    """Whether such a control is shown at this moment."""
    return bool(_shown(name))


def box(name, beside=None):
    """(left, top, width, height) of a control on the screen, in pixels, once it stands still."""
    before = None
    while True:
        extents = Atspi.Component.get_extents(find(name, beside), Atspi.CoordType.SCREEN)
        now = (extents.x, extents.y, extents.width, extents.height)
        if now == before:
            return now
        before = now
        time.sleep(0.15)


def hands(*arguments):
    """Real input by xdotool."""
    subprocess.run(["xdotool", *map(str, arguments)], check=True)


def point_at(x, y):
    """Moves the pointer there, with a step on the way, as a hand does."""
    hands("mousemove", x - 3, y, "sleep", "0.05", "mousemove", x, y)


def click(name, beside=None):
    left, top, width, height = box(name, beside)
    point_at(left + width // 2, top + height // 2)
    hands("click", 1)


def press(name):
    """By the accessibility bus alone."""
    control = find(name)
    actions = [Atspi.Action.get_action_name(control, number)
               for number in range(Atspi.Action.get_n_actions(control))]
    if "Press" not in actions or not Atspi.Action.do_action(control, actions.index("Press")):
        sys.exit(f"cannot be pressed: {name}")


if __name__ == "__main__":
    commands = {"click": click, "press": press, "find": find}
    if len(sys.argv) != 3 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    commands[sys.argv[1]](sys.argv[2])
