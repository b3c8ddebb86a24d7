"""Warnings that events explain: (expression, names of the events; empty for any run)."""
import re

_WARNINGS = (
    # No Secret Service on the virtual desktop.
    ("^SafeBox failed to create, running without safebox$", ()),
    # Before the first frame, and after everything was erased.
    ('screenshots" not exist !$', ()),
    ("^screenshots directory does not exist", ()),
    ("^No (month|date) folders found", ()),
    ("^No data to delete$", ()),
    # Days without frames, between those that have some.
    ("^Invalid input parameters: date or appItemList is empty$", ()),
    # A hit in a batch that is on its way into its video.
    ("QML Image: Failed to get image from provider: image://videoimageprovider/(text|image)search",
     ("search_in_the_window",)),
    # The screen is faster than the reader on a busy machine, which bounds what waits.
    ("^AI runtime: too many pictures wait; one is answered without lines$", ()),
    # A window of another program that has just gone.
    (r"^qt\.qpa\.xcb: QXcbConnection: XCB error: 3 \(BadWindow\)", ()),
    # A search for everything that is there.
    ("^request 0 result, will actually return all available data$", ()),
    # The first frames of a life, until the runtime is up.
    ("^Warning: text recognition session is not initialized$", ()),
    ("^(Warning: )?Image embedding session is not initialized", ()),
    ("^EmbeddingDatabase empty embedding data, will not save to database", ()),
    ("^Reached EOF before reading all (meta|image )data", ("kill_the_bridge", "restart_the_bus")),
    ("^Failed to load image metadata", ("kill_the_bridge", "restart_the_bus")),
    ("^setContentChangeThreshold error", ("kill_the_bridge", "restart_the_bus")),
    ("^AI runtime: the process ended; it is started again",
     ("kill_the_runtime", "exhaust_the_memory")),
    ("^No text detected in image", ("kill_the_runtime", "exhaust_the_memory")),
    ("^Warning: Time travel detected$", ("clock_set_back",)),
    ("^back in time detected$", ("clock_set_back",)),
    # The axis asks for a frame whose row could not be stored, or that was just erased; the full
    # disk cuts lines of the log short.
    ("QML Image: Failed to get",
     ("fill_the_disk", "erase_everything", "lower_the_ceiling")),
)
EXPECTED = [(re.compile(expression), causes) for expression, causes in _WARNINGS]
