"""The small file system below the program's cache folder, filled and freed."""
import contextlib
import os


class SmallDisk:
    def __init__(self, folder):
        """scripts/soak has mounted it there, if it could."""
        self._folder, self.exists = folder, os.path.ismount(folder)

    @contextlib.contextmanager
    def full(self):
        ballast = self._folder / "ballast"
        try:
            with open(ballast, "wb") as file:
                self._fill(file.fileno())
            yield
        finally:
            ballast.unlink()

    @staticmethod
    def _fill(file):
        """To the last block; others write meanwhile."""
        size = 0
        for step in (64 << 20, 1 << 20, 4 << 10):
            with contextlib.suppress(OSError):
                while True:
                    os.posix_fallocate(file, size, step)
                    size += step
