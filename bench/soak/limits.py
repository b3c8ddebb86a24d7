"""A control group of memory for the program and all that it starts: version 2 of the kernel's
interface, or version 1 where that is in use."""
import contextlib
import os
import pathlib

_ROOT = pathlib.Path("/sys/fs/cgroup")
_NO_LIMIT = {"memory.max": "max", "memory.limit_in_bytes": "-1"}


def _places():
    """(parent folder, file of the limit, file of what is used)"""
    if (_ROOT / "cgroup.controllers").exists():
        own = pathlib.Path("/proc/self/cgroup").read_text().strip().rpartition("::")[2]
        for folder in (_ROOT / own.lstrip("/"), _ROOT):
            yield folder, "memory.max", "memory.current"
    yield _ROOT / "memory", "memory.limit_in_bytes", "memory.usage_in_bytes"


class MemoryGroup:
    def __init__(self, folder, limit, used):
        self._folder, self._limit, self._used = folder, folder / limit, folder / used
        self.kind = "cgroup v2" if limit == "memory.max" else "cgroup v1"

    def enter(self):
        """The calling process joins."""
        (self._folder / "cgroup.procs").write_text(str(os.getpid()))

    def _used_now(self):
        return int(self._used.read_text())

    @contextlib.contextmanager
    def limited(self):
        """Yields a function that takes so many bytes of what is in use away, as far as the kernel
        can without ending anybody, or by ending somebody."""
        try:
            yield self._take
        finally:
            self._limit.write_text(_NO_LIMIT[self._limit.name])

    def _take(self, count):
        try:
            self._limit.write_text(str(self._used_now() - count))
        except OSError:  # version 1 does not go below what cannot be written elsewhere
            with contextlib.suppress(OSError):
                self._limit.write_text(str(self._used_now()))

    def remove(self):
        with contextlib.suppress(OSError):  # somebody is still in it
            self._folder.rmdir()


def memory_group():
    """None where this user cannot make one."""
    for parent, limit, used in _places():
        folder = parent / f"yestermark-soak-{os.getpid()}"
        try:
            folder.mkdir()
        except OSError:
            continue
        if (folder / limit).exists():
            return MemoryGroup(folder, limit, used)
        folder.rmdir()
    return None
