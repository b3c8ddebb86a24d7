#!/usr/bin/python3
"""windowtask.py search WORD | erase | leave | adjust | minimize: does that in the program's window,
which is shown, with real mouse and keys. Prints what a search found. A process of its own, as the
accessibility bus of a session that has ended leaves nothing usable behind in one that knew it."""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "scripts" / "demonstration"))

import controls  # noqa: E402  the path comes first
from controls import hands  # noqa: E402

QUESTION = "Are you sure you want to delete all data? After deletion, it cannot be restored."
NOTHING = "We couldn't find the results you were looking for"


def search(word):
    controls.click("TextField_search")
    if controls.is_shown("Button_clearSearch"):
        controls.click("Button_clearSearch")
    hands("type", "--delay", "40", word)
    controls.click("PageTab_textMatch")
    _, answer = controls.first_shown("ListItem_textHit0", NOTHING)
    print("nothing" if answer == NOTHING else "found")
    controls.click("PageTab_imageMatch")
    controls.first_shown("ListItem_imageHit0", NOTHING)
    controls.click("Button_clearSearch")
    hands("key", "Escape")


def erase():
    controls.click("Button_menu")
    controls.click("MenuItem_settings")
    controls.click("Button_deleteAllData")
    controls.click("Button_confirm", beside=QUESTION)  # the settings behind it have one, too
    hands("sleep", "1")
    leave()


def leave():
    """Closes what stands open above the window, so that the next task finds it as it is at first."""
    for _ in range(3):
        if controls.is_shown("Button_cancel"):
            controls.click("Button_cancel")
            hands("sleep", "0.5")


def adjust():
    """Of the two ways out that the dialog about the clock offers."""
    controls.click("Button_adjustTime")


def minimize():
    controls.click("Button_minimize")


tasks = {"search": search, "erase": erase, "leave": leave, "adjust": adjust, "minimize": minimize}
tasks[sys.argv[1]](*sys.argv[2:])
