"""The built program on the terminal surface, with a server and an adb of the tests' beside it."""

import re
import signal
import subprocess

from harness.installation import BUILD, Installation
from harness.processes import cpu_seconds
from harness.terminal import Terminal
from harness.waiting import wait_for
from scripted_adb import ScriptedAdb

PATIENCE = 60

# The tests listen on the server's port themselves.
SERVER = "#!/bin/sh\nexec sleep 1000000\n"
USB_ROW, BLUETOOTH_ROW, LOG_ROW = "6", "7", "Show Log"


def stripped_copy(folder):
    """The program without debug information, for the machine's small memory; made once."""
    copy = folder / "orvane"
    if not copy.exists():
        subprocess.run(["strip", "-o", copy, BUILD / "orvane"], check=True)
    return copy


class Program(Installation):
    def __init__(self, folder):
        super().__init__(folder, stripped_copy(folder.parent))
        self.put_script("bin/orvaned", SERVER)
        self.adb = ScriptedAdb(folder / "adb", folder / "share/orvane/adb")
        self.terminal = None

    def choose_beforehand(self, address):
        """As the last run of the program may have left it."""
        self._settings().parent.mkdir(parents=True)
        self._settings().write_text(f"[General]\nbtDevice={address}\n")

    def chosen(self):
        settings = self._settings()
        found = re.search(r"^btDevice=(.*)$", settings.read_text(), re.MULTILINE) if settings.exists() else None
        return found and found[1]

    def _settings(self):
        return self.home / ".config/Orvane/Orvane.conf"

    def start(self):
        self.terminal = Terminal(self, "--terminal", tty=False)
        self.rows()

    def stop(self):
        self.terminal.process.send_signal(signal.SIGTERM)
        self.terminal.process.wait(PATIENCE)

    def close(self):
        if self.terminal:
            self.terminal.close()

    def rows(self):
        """Number → text of every row that the menu shows now."""
        self.terminal.mark()
        self.terminal.send("menu")
        wait_for(lambda: "Quit Orvane" in self.terminal.new_text, "the menu", PATIENCE)
        return dict(re.findall(r"^ *(\d+(?:/\d+)*)\)? +(.*?) *>?$", self.terminal.new_text, re.MULTILINE))

    def choices(self):
        """The rows of the Bluetooth submenu, in order."""
        return [text for number, text in self.rows().items() if number.startswith(f"{BLUETOOTH_ROW}/")]

    def choose(self, title):
        """Clicks a row of the Bluetooth submenu."""
        for number, text in self.rows().items():
            if number.startswith(f"{BLUETOOTH_ROW}/") and text.endswith(f"] {title}"):
                return self.terminal.send(number)
        raise AssertionError(f"{title!r} is not in the menu")

    def wait_choices(self, *expected):
        wait_for(lambda: self.choices() == list(expected), f"the choices {expected}; they are {self.choices()}", PATIENCE)

    def wait_bluetooth(self, title):
        self._wait_row(BLUETOOTH_ROW, f"Bluetooth: {title}")

    def wait_usb(self, title):
        self._wait_row(USB_ROW, f"USB: {title}")

    def _wait_row(self, number, title):
        wait_for(lambda: self.rows().get(number) == title, f"{title!r}; the rows are {self.rows()}", PATIENCE)

    def log(self):
        self.terminal.mark()
        self.terminal.send("log")
        self.terminal.send("menu")
        wait_for(lambda: "Quit Orvane" in self.terminal.new_text, "the log", PATIENCE)
        return self.terminal.new_text

    def cpu_seconds(self):
        return cpu_seconds(self.terminal.pid)
