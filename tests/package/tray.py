#!/usr/bin/env python3
"""tray.py: starts the installed program on a bare desktop with a panel, and reads its icon, its tooltip and its menu as the panel does."""
import os, subprocess, sys, tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "acceptance"))
from gi.repository import Gio  # noqa: E402
from harness.menu import TrayMenu  # noqa: E402
from harness.processes import end  # noqa: E402
from harness.tray import Tray  # noqa: E402
from harness.waiting import stays, wait_for  # noqa: E402
from harness.xvfb import start_xvfb  # noqa: E402


class Desktop:
    """A display and a session bus, and nothing more."""

    def __init__(self, folder):
        self._xvfb, self.display = start_xvfb()
        self._bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address=unix:dir={folder}"],
                                     stdout=subprocess.PIPE, text=True)
        self.address = self._bus.stdout.readline().strip()

    def connect(self):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        return Gio.DBusConnection.new_for_address_sync(self.address, flags, None, None)

    def environment(self):
        return {**os.environ, "DISPLAY": self.display, "DBUS_SESSION_BUS_ADDRESS": self.address}

    def close(self):
        end(self._bus)
        end(self._xvfb)


with tempfile.TemporaryDirectory() as folder:
    desktop = Desktop(folder)
    tray = Tray(desktop)
    program = subprocess.Popen(["/usr/bin/orvane"], env=desktop.environment(), stdin=subprocess.DEVNULL)
    try:
        item = tray.wait_for_item()
        assert item.read("IconName") or item.pixels()[0] >= 16, "the icon has no picture"
        print("tooltip:", item.tooltip())
        menu = TrayMenu(tray.view(item))
        wait_for(lambda: "Quit Orvane" in menu.titles(), "the menu")
        # With adb, which the package recommends, the row says nothing else until there is a phone.
        assert stays(lambda: "USB: Android tools not installed…" not in menu.titles(), 2), "adb is installed, and not found"
        print("menu:", " | ".join(menu.titles()))
        next(row for row in menu.rows() if row.title == "Quit Orvane").click()
        assert program.wait(20) == 0, f"it ended with status {program.returncode}"
    finally:
        end(program)
        tray.close()
        desktop.close()
