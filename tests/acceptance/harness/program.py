"""The built program on a desktop, installed in a folder of its own for one test."""

import os
import shutil
import signal
import subprocess
from pathlib import Path

from .folders import temporary_folder
from .installation import BUILD, Installation
from .menu import TrayMenu
from .processes import children, command_line, end
from .screen import log_window
from .server import ScriptedServer

SCREENSHOTS = Path(os.environ.get("ORVANE_SCREENSHOTS", BUILD / "screenshots"))

# An adb that sees no phone: the USB row keeps its first title.
QUIET_ADB = "#!/bin/sh\necho 'List of devices attached'\n"


class Program(Installation):
    def __init__(self, desktop, scripted=True, adb=QUIET_ADB):
        super().__init__(temporary_folder("orvane-"), BUILD / "orvane")
        self.desktop = desktop
        if adb:
            self.put_adb(adb)
        self.server = ScriptedServer(self.folder, self.describe) if scripted else None
        self.output_path = self.folder / "output"
        self.process = None
        self.tray = None

    def put_simulator(self):
        self.put(BUILD / "orvaned", self.folder / "bin/orvaned")

    def put_adb(self, text):
        self.put_script("share/orvane/adb", text)

    def environment(self, **changes):
        """That of a user of the desktop, without a Bluetooth service; a change to None removes a variable."""
        return super().environment(**{
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.folder}/no-system-bus",
            **self.desktop.environment(),
            **changes,
        })

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
        """Pids of its server processes: its children that are no adb (nor a sanitizer's), and that run a program of their own by now."""
        own = command_line(self.pid)
        commands = {pid: command_line(pid) for pid in children(self.pid)}
        return [pid for pid, command in commands.items()
                if command not in ("", own) and "/adb" not in command and "llvm-symbolizer" not in command]

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

    def choose_phone(self, address):
        """As the last run has left it."""
        settings = self.home / ".config/Orvane/Orvane.conf"
        settings.parent.mkdir(parents=True)
        settings.write_text(f"[General]\nbtDevice={address}\n")

    def settings(self, name):
        return self.home / "Library/Application Support/Orvane" / name

    def passing_files(self):
        """New settings on their way to their places: of those nothing lies about."""
        return [str(path) for path in self.home.rglob(".*.new*") if path.is_file()]

    def quit(self, timeout=10):
        """An orderly end; returns the exit status."""
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(timeout)

    def close(self):
        if self.process:
            end(self.process, signal.SIGTERM)
        if self.server:
            self.server.close()
        said = self.output if self.output_path.exists() else ""
        shutil.rmtree(self.folder, ignore_errors=True)
        assert "Sanitizer:" not in said, said
