"""The built program as it is installed, in a folder of its own, with the home of a user beside it."""

import functools
import os
import shutil
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[3]
BUILD = Path(os.environ.get("ORVANE_BUILD", REPOSITORY / "build"))
# What is told to the sanitizers of a build with them.
SANITIZERS = {name: value for name, value in os.environ.items() if name in ("ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS")}


@functools.cache
def sanitizer():
    """What the program has been built with: "address", "thread", or None."""
    program = (BUILD / "orvane").read_bytes()
    return "address" if b"__asan_init" in program else "thread" if b"__tsan_init" in program else None


def allowed_mib(limit):
    """A limit of memory in MiB. A sanitizer has its own on top: shadows of all that was ever touched, and for a while what has been freed."""
    return limit + (512 if sanitizer() else 0)


class Installation:
    def __init__(self, folder, program):
        self.folder = folder
        self.home = folder / "home of a user"
        for name in ("bin", "share/orvane", self.home, "run", "here"):
            (folder / name).mkdir(parents=True, exist_ok=True)
        (folder / "run").chmod(0o700)
        self.path = folder / "bin/orvane"
        self.put(program, self.path)
        for name in ("menubar.png", "menubar@2x.png", "menubar@8x.png"):
            shutil.copy(REPOSITORY / "resources" / name, folder / "share/orvane")

    @staticmethod
    def put(source, target):
        try:
            os.link(source, target)
        except OSError:  # On another disk.
            shutil.copy(source, target)

    def put_script(self, name, text):
        path = self.folder / name
        path.write_text(text)
        path.chmod(0o755)

    def environment(self, **changes):
        """That of a user with a home folder and nothing else; a change to None removes a variable."""
        values = {
            "HOME": str(self.home),
            "PATH": f"{self.folder}/path:/usr/bin:/bin",
            "LANG": "C.UTF-8",
            "XDG_RUNTIME_DIR": str(self.folder / "run"),
            "XDG_CONFIG_HOME": str(self.home / ".config"),
            "XDG_DATA_HOME": str(self.home / ".local/share"),
            "XDG_CACHE_HOME": str(self.home / ".cache"),
            "PULSE_SERVER": f"unix:{self.folder}/no-sound-server",
            **SANITIZERS,
            **changes,
        }
        return {name: value for name, value in values.items() if value is not None}
