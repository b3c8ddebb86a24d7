"""How each activity of the day is done: real programs, real keys."""
from activity import Activity
from reading import Browse, LookAtPictures, ReadPdf, Switch, Watch
from terminal import Compile, FollowLog, Lock
from writing import Calculate, Chat, Write


class Rest(Activity):
    def play(self):
        self.stage.rest()


BY_NAME = {
    "browse": Browse, "calculate": Calculate, "chat": Chat, "compile": Compile,
    "follow_log": FollowLog, "idle": Rest, "locked": Lock, "look_at_pictures": LookAtPictures,
    "read_pdf": ReadPdf, "switch": Switch, "watch": Watch, "write": Write,
}
