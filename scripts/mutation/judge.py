"""judge.py CATALOGUE MINUTES JOBS PROGRAM...: runs test programs with one change on at a time.

For scripts/mutate, inside the world that the tests run in. The catalogue names source, line, change
and text for each number."""

import collections
import concurrent.futures
import json
import os
import random
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

LONGEST = 40  # seconds that a test function of use takes
ROWS_APART = 6  # from so many seconds on its rows are run one by one
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # a test waits for the disk


class World:
    """A home, a folder for temporary files and a bus for one run: several go on at once."""

    def __init__(self):
        self.root = tempfile.mkdtemp(prefix="yestermark-mutation-", dir=MEMORY)
        os.chmod(self.root, 0o711)  # some tests become an ordinary user
        self.environment = dict(os.environ)
        for name, folder, mode in (("HOME", "home", 0o700), ("XDG_RUNTIME_DIR", "run", 0o700),
                                   ("TMPDIR", "tmp", 0o1777)):
            path = os.path.join(self.root, folder)
            os.mkdir(path)
            os.chmod(path, mode)
            self.environment[name] = path

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.root, ignore_errors=True)


def end(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def fails(test, environment, processor_seconds, seconds):
    """Runs a (program, function) until its first failure; gives whether there was one, and the time."""
    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (processor_seconds, processor_seconds))

    begun = time.monotonic()
    with World() as world:
        process = subprocess.Popen(
            ["dbus-run-session", "--", *test], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            env={**world.environment, **environment}, cwd=world.root, start_new_session=True,
            text=True, errors="replace", preexec_fn=limit)
        isLate = threading.Event()
        timer = threading.Timer(seconds, lambda: (isLate.set(), end(process)))
        timer.start()
        failed = any(line.startswith("FAIL!") for line in process.stdout)
        if failed:
            end(process)
        process.wait()
        timer.cancel()
        end(process)  # what it left running
    return failed or isLate.is_set() or process.returncode != 0, time.monotonic() - begun


def listed(program, what):
    return subprocess.run([program, what], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, check=False).stdout.splitlines()


class Reach:
    """Which test functions, or rows of slow ones, pass which switches."""

    def __init__(self, programs):
        self.tests = collections.defaultdict(list)
        for program in programs:
            rows = collections.defaultdict(list)
            for line in listed(program, "-datatags"):
                words = line.split(" ", 2)
                if len(words) == 3:
                    rows[words[1]].append(words[2])
            for function in listed(program, "-functions"):
                self.look(program, function.rstrip("()"), rows)

    def look(self, program, function, rows):
        failed, seconds, reached = self.record(program, function)
        if reached and seconds > ROWS_APART and len(rows[function]) > 1:
            for row in rows[function]:
                self.take(program, f"{function}:{row}", *self.record(program, f"{function}:{row}"))
        else:
            self.take(program, function, failed, seconds, reached)

    def take(self, program, function, failed, seconds, reached):
        if failed or (reached and seconds > LONGEST):
            print(f"left out: {os.path.basename(program)} {function},",
                  "fails by itself" if failed else "takes too long", flush=True)
            return
        for number in reached:
            self.tests[number].append((seconds, program, function))

    @staticmethod
    def record(program, function):
        with tempfile.TemporaryDirectory() as folder:
            os.chmod(folder, 0o777)
            path = os.path.join(folder, "reached")
            failed, seconds = fails((program, function), {"MUTATIONS_REACHED": path}, 600, 300)
            if not os.path.exists(path):
                return failed, seconds, set()
            with open(path, encoding="ascii") as file:
                return failed, seconds, {int(line) for line in file}


class Judge:
    def __init__(self, catalogue, reach, seconds):
        self.catalogue, self.reach = catalogue, reach
        self.end = time.monotonic() + seconds
        self.lock = threading.Lock()
        self.counts = collections.defaultdict(collections.Counter)

    def judge(self, number):
        if time.monotonic() > self.end:
            return
        tests = sorted(self.reach.tests[number])
        noticed = any(fails((program, function), {"MUTATION": str(number)}, int(4 * seconds) + 5,
                            5 * seconds + 20)[0] for seconds, program, function in tests)
        source, line, what, text = self.catalogue[number]
        with self.lock:
            verdict = "noticed" if noticed else "survived" if tests else "not reached"
            self.counts[source][verdict] += 1
            if not noticed:
                print(f"{source}:{line}: {verdict}: {what}\n    {text}", flush=True)

    def all(self, jobs):
        numbers = list(self.catalogue)
        random.Random(1).shuffle(numbers)
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            list(pool.map(self.judge, numbers))
        for source, counts in sorted(self.counts.items()):
            print(f"{source}: " + ", ".join(f"{counts[verdict]} {verdict}" for verdict in
                                            ("noticed", "survived", "not reached")), flush=True)
        return all(set(counts) == {"noticed"} for counts in self.counts.values())


def main():
    catalogue_file, minutes, jobs, *programs = sys.argv[1:]
    with open(catalogue_file, encoding="utf-8") as file:
        catalogue = {int(number): told for number, told in json.load(file).items()}
    judge = Judge(catalogue, Reach(programs), 60 * float(minutes))
    sys.exit(0 if judge.all(int(jobs)) else 1)


if __name__ == "__main__":
    main()
