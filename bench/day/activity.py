"""What all activities of the day have in common. Each is made with the stage and the scene before
the recording, when it lays its papers ready, and played later."""


class Activity:
    def __init__(self, stage, scene, seconds, folder):
        self.stage, self.scene, self.folder = stage, scene, folder
        self.subjects = [stage.subjects[name] for name in scene.subjects]
        # The most states that the time can hold.
        self.most_states = int(seconds / max(5.0, scene.tempo[0])) + 2
        folder.mkdir(parents=True)
        self.prepare()

    def words(self, count):
        return [self.stage.words.next() for _ in range(count)]

    def prepare(self):
        pass

    def play(self):
        raise NotImplementedError
