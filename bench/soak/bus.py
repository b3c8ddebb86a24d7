"""A session bus at one address, which can be ended and started again."""
import os
import subprocess
import time

PATIENCE_S = 10


class SessionBus:
    def __init__(self, log):
        self._log = log
        self._path = os.path.join(os.environ["XDG_RUNTIME_DIR"], "soak-bus")
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self._path}"
        self.start()

    def start(self):
        self._process = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--nopidfile",
             f"--address={os.environ['DBUS_SESSION_BUS_ADDRESS']}"],
            stdout=self._log, stderr=self._log)
        deadline = time.monotonic() + PATIENCE_S
        while not os.path.exists(self._path):
            if time.monotonic() > deadline:
                raise RuntimeError("the session bus does not start")
            time.sleep(0.05)

    def end(self):
        self._process.terminate()
        self._process.wait()
        if os.path.exists(self._path):
            os.unlink(self._path)
