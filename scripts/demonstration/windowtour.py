"""The window over a recorded history, as a script goes through it: started in a language and a look,
operated by real input, photographed."""
import contextlib
import os
import subprocess
import sys
import time

import controls

PICTURE_TRIES = 20


class WindowTour:
    def __init__(self, build, world, pictures, language="en_US", theme="light"):
        """Settles the desktop's look, and that nothing is recorded meanwhile."""
        self.program = build / "bin" / controls.APPLICATION
        self.cache = world / "home" / ".cache" / controls.APPLICATION
        self.log = open(world / "window.log", "ab")
        self.pictures, self.language, self.theme = pictures, language, theme
        pictures.mkdir(parents=True, exist_ok=True)
        for schema, key, value in (("org.vesk.style", "style-name", f"vesk-{theme}"),
                                   ("com.tavel.yestermark", "recording-memory", "false")):
            subprocess.run(["gsettings", "set", schema, key, value], check=True)

    @contextlib.contextmanager
    def window(self):
        environment = {**os.environ, "LC_ALL": f"{self.language}.UTF-8",
                       "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        with subprocess.Popen([self.program], env=environment, stdout=self.log,
                              stderr=self.log) as process:
            try:
                controls.find("Button_menu")
                yield
            finally:
                process.terminate()
                process.wait(timeout=30)
            if process.returncode != 0:
                sys.exit("the program did not end in order")

    def picture(self, name):
        """What stands on the screen, once two looks at it are alike."""
        target = self.pictures / f"{name}-{self.theme}-{self.language[:2]}.png"
        grab = ["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-video_size", "1920x1080", "-i",
                os.environ["DISPLAY"], "-frames:v", "1", str(target)]
        before = None
        for _ in range(PICTURE_TRIES):
            subprocess.run(grab, check=True)
            now = target.read_bytes()
            if now == before:
                return
            before = now
            time.sleep(0.3)
        sys.exit(f"the screen does not come to rest for {target.name}")
