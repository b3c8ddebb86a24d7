"""The program's wall clock: runs at a rate of its own and jumps; see movedclock.c."""
import datetime
import mmap
import os
import struct
import time

_MOVES = 1024
_MOVE = struct.Struct("=qqq")
_NEWEST = struct.Struct("=q")
_SECOND = 1_000_000_000


class MovedClock:
    def __init__(self, file, library, start, rate):
        self.rate = rate
        self._path, self._library, self._newest = file, library, -1
        size = _NEWEST.size + _MOVES * _MOVE.size
        descriptor = os.open(file, os.O_RDWR | os.O_CREAT, 0o600)
        os.ftruncate(descriptor, size)
        self._memory = mmap.mmap(descriptor, size)
        os.close(descriptor)
        self.set(start)

    def environment(self):
        """With it a program sees this clock."""
        return {**os.environ, "SOAK_CLOCK": str(self._path), "LD_PRELOAD": str(self._library)}

    def set(self, moment):
        """From now on it shows that local time (datetime) and runs on from there."""
        self._newest += 1
        self._move = (time.monotonic_ns(), int(moment.timestamp() * _SECOND), self.rate)
        place = _NEWEST.size + self._newest % _MOVES * _MOVE.size
        self._memory[place:place + _MOVE.size] = _MOVE.pack(*self._move)
        self._memory[:_NEWEST.size] = _NEWEST.pack(self._newest)

    def now(self):
        """Seconds since the epoch."""
        at, wall, rate = self._move
        return (wall + (time.monotonic_ns() - at) * rate) / _SECOND

    def moment(self):
        return datetime.datetime.fromtimestamp(self.now())
