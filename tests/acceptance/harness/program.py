"""The built program, installed in a folder of its own for one test."""

import os
import shutil
import signal
import subprocess
from pathlib import Path

from .folders import temporary_folder
from .menu import TrayMenu
from .processes import children, command_line, end
from .screen import log_window
from .server import ScriptedServer

REPOSITORY = Path(__file__).resolve().parents[3]
BUILD = Path(os.environ.get("ORVANE_BUILD", REPOSITORY / "build"))
SCREENSHOTS = Path(os.environ.get("ORVANE_SCREENSHOTS", BUILD / "screenshots"))

# An adb that sees no phone: the USB row keeps its first title.
QUIET_ADB = "#!/bin/sh\necho 'List of devices attached'\n"


class Program:
    def __init__(self, desktop, scripted=True, adb=QUIET_ADB):
        self.desktop = desktop
        self.folder = temporary_folder("orvane-")
        self.home = self.folder / "home of a user"
        for folder in ("bin", "share/orvane", self.home, "run", "here"):
            (self.folder / folder).mkdir(parents=True, exist_ok=True)
        (self.folder / "run").chmod(0o700)
        self.path = self.folder / "bin" / "orvane"
        self._place(BUILD / "orvane", self.path)
        for name in ("menubar.png", "menubar@2x.png", "menubar@8x.png"):
            shutil.copy(REPOSITORY / "resources" / name, self.folder / "share/orvane")
        if adb:
            self.put_adb(adb)
        self.server = ScriptedServer(self.folder, self.describe) if scripted else None
        self.output_path = self.folder / "output"
        self.process = None
        self.tray = None

    @staticmethod
    def _place(source, target):
        try:
            os.link(source, target)
        except OSError:
            shutil.copy(source, target)

    def put_simulator(self):
        self._place(BUILD / "orvaned", self.folder / "bin" / "orvaned")

    def put_adb(self, text):
        path = self.folder / "share/orvane/adb"
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
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.folder}/no-system-bus",
            "PULSE_SERVER": f"unix:{self.folder}/no-sound-server",
            **self.desktop.environment(),
            **changes,
        }
        return {name: value for name, value in values.items() if value is not None}

    def start(self, *arguments, tray=None, **environment):
        """Starts it; with a tray, waits for its icon there."""
        with open(self.output_path, "wb") as output:
            self.process = subprocess.Popen([str(self.path), *arguments], env=self.environment(**environment),
                                            cwd=self.folder / "here", stdin=subprocess.DEVNULL,
                                            stdout=output, stderr=subprocess.STDOUT)
        self.tray = tray
        return self

    def run(self, *arguments, timeout=20, **environment):
        """Runs it to its end, as another program of the same user would."""
        return subprocess.run([str(self.path), *arguments], env=self.environment(**environment), text=True,
                              cwd=self.folder / "here", stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=timeout)

    @property
    def pid(self):
        return self.process.pid

    def servers(self):
        """Pids of its server processes: its children that are no adb, and that run a program of their own by now."""
        own = command_line(self.pid)
        commands = {pid: command_line(pid) for pid in children(self.pid)}
        return [pid for pid, command in commands.items() if command not in ("", own) and "/adb" not in command]

    @property
    def output(self):
        return self.output_path.read_text(errors="replace")

    @property
    def alive(self):
        return self.process.poll() is None

    def describe(self):
        """For the message of a test that has failed."""
        if not self.process:
            return "the program was not started"
        said = self.output if self.output_path.exists() else ""
        return f"the program {'runs' if self.alive else f'ended with {self.process.returncode}'} and said {said!r}"

    def item(self):
        self._item = self.tray.wait_for_item()
        return self._item

    def menu(self, levels=-1, **manners):
        return TrayMenu(self.tray.view(self.item(), levels), **manners)

    def show_log(self):
        """The log window, opened by the menu."""
        self.menu().row("Show Log").click()
        return log_window(self.pid)

    def settings(self, name):
        return self.home / "Library/Application Support/Orvane" / name

    def quit(self, timeout=10):
        """An orderly end; returns the exit status."""
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(timeout)

    def close(self):
        if self.process:
            end(self.process, signal.SIGTERM)
        if self.server:
            self.server.close()
        shutil.rmtree(self.folder, ignore_errors=True)
