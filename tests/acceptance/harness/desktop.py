"""A desktop without a screen: Xvfb, a window manager, a D-Bus session with accessibility, and a clipboard reader."""

import os
import re
import shutil
import subprocess
from collections import Counter
from contextlib import contextmanager
from pathlib import Path

from gi.repository import Gio, GLib

from .folders import temporary_folder
from .processes import end
from .waiting import wait_for
from .xvfb import start_xvfb


class Desktop:
    """One for all tests of a process, since AT-SPI talks to one session bus only."""

    def __init__(self, manager=("openbox", "--sm-disable"), accessible=True):
        self.folder = temporary_folder("orvane-desktop-")
        self._accessible = accessible
        self._manager = None
        self._xvfb, self.display = start_xvfb()
        self._start_bus()
        self._start_window_manager(manager)

    def _start_window_manager(self, manager):
        self._xdotool("mousemove", "0", "0")  # Away from every window.
        subprocess.run(["display", "-window", "root", "xc:#6b7f8f"], stderr=subprocess.DEVNULL,
                       env={**os.environ, **self.environment()})
        if not manager:
            return
        self._manager = subprocess.Popen(manager, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                         env={**os.environ, **self.environment(), "HOME": str(self.folder)})

    def _start_bus(self):
        self._bus = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address=unix:dir={self.folder}"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
            env={**os.environ, "DISPLAY": self.display, "HOME": str(self.folder),
                 "XDG_RUNTIME_DIR": str(self.folder)})
        self.bus_address = self._bus.stdout.readline().strip()
        # AT-SPI of this very process finds the bus through its environment.
        os.environ.update(DISPLAY=self.display, DBUS_SESSION_BUS_ADDRESS=self.bus_address)
        self.connection = self.connect()
        if self._accessible:
            self._turn_accessibility_on()

    def _turn_accessibility_on(self):
        self.connection.call_sync(
            "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
            GLib.Variant("(ssv)", ("org.a11y.Status", "IsEnabled", GLib.Variant("b", True))),
            None, Gio.DBusCallFlags.NONE, 20000, None)

    def connect(self):
        return self.connect_to(self.bus_address)

    @staticmethod
    def connect_to(address):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        connection = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        connection.set_exit_on_close(False)
        return connection

    @property
    def bus_pid(self):
        return self._bus.pid

    def environment(self):
        return {"DISPLAY": self.display, "DBUS_SESSION_BUS_ADDRESS": self.bus_address}

    def clipboard(self):
        """What another program gets when it pastes."""
        result = subprocess.run(["xclip", "-selection", "clipboard", "-out"], capture_output=True, timeout=10,
                                env={**os.environ, **self.environment()})
        return result.stdout.decode() if result.returncode == 0 else None

    def set_clipboard(self, text):
        # xclip stays behind to serve the text, so it must not hold any pipe of ours.
        subprocess.run(["xclip", "-selection", "clipboard", "-in"], input=text.encode(), check=True, timeout=10,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       env={**os.environ, **self.environment()})
        wait_for(lambda: self.clipboard() == text, "the clipboard to be set")

    def _xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], text=True, capture_output=True, timeout=20,
                              env={**os.environ, **self.environment()}).stdout

    def visible_windows(self):
        """Titles of the windows on the screen."""
        found = self._xdotool("search", "--onlyvisible", "--name", ".").split()
        return [self._xdotool("getwindowname", window).rstrip("\n") for window in found]

    def close_window(self, title):
        """As by its close button: a request, which the program may answer as it likes."""
        window = wait_for(lambda: self._xdotool("search", "--onlyvisible", "--name", f"^{title}$").split(), title)[0]
        self._xdotool("windowactivate", "--sync", window, "key", "--clearmodifiers", "alt+F4")

    def activate_window(self, title):
        window = wait_for(lambda: self._xdotool("search", "--onlyvisible", "--name", f"^{title}$").split(), title)[0]
        self._xdotool("windowactivate", "--sync", window)

    def active_window(self):
        """Title of the window that has the keyboard."""
        return self._xdotool("getactivewindow", "getwindowname").rstrip("\n")

    @contextmanager
    def window_in_front(self):
        """Another program's window, which has the keyboard and covers everything."""
        process = subprocess.Popen(["display", "-title", "Other", "-geometry", "1400x850+0+0", "xc:white"],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   env={**os.environ, **self.environment()})
        try:
            self.activate_window("Other")
            wait_for(lambda: self.active_window() == "Other", "the other window in front")
            yield
        finally:
            end(process)

    @contextmanager
    def older_tray(self):
        """A tray that icons are docked in, as panels had them before StatusNotifier."""
        settings = self.folder / "tint2rc"
        settings.write_text("panel_items = S\npanel_position = top right horizontal\npanel_size = 10% 26\n")
        process = subprocess.Popen(["tint2", "-c", settings], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   env={**os.environ, **self.environment()})
        try:
            wait_for(lambda: '"tint2"' in self._window_tree(), "the tray")
            yield
        finally:
            end(process)

    def _window_tree(self):
        return subprocess.run(["xwininfo", "-root", "-tree"], text=True, capture_output=True,
                              env={**os.environ, **self.environment()}).stdout

    def _place_of(self, window):
        """(x, y, width, height) of the window whose name and class match; None while there is none."""
        found = re.search(rf'{window} +(\d+)x(\d+)\S+ +\+(\d+)\+(\d+)$', self._window_tree(), re.MULTILINE)
        if not found:
            return None
        width, height, x, y = map(int, found.groups())
        return x, y, width, height

    def docked_icon(self):
        """The middle of the icon in the tray; None until it stands still there."""
        def places():
            return self._place_of(r'"tint2": \("tint2" "Tint2"\)'), self._place_of(r'\("orvane" "Orvane"\)')

        tray, icon = places()
        if not tray or not icon:
            return None
        x, y = icon[0] + icon[2] // 2, icon[1] + icon[3] // 2
        taken_in = tray[0] <= x < tray[0] + tray[2] and tray[1] <= y < tray[1] + tray[3]
        return (x, y) if taken_in and places() == (tray, icon) else None

    def click(self, x, y):
        self._xdotool("mousemove", str(x), str(y), "click", "1")
        self._xdotool("mousemove", "0", "0")

    def type(self, text):
        self._xdotool("type", "--delay", "2", text)

    def press_keys(self, *keys):
        self._xdotool("key", *keys)

    def picture(self):
        """The pixels of the whole screen."""
        return subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], check=True, timeout=30,
                              capture_output=True, env={**os.environ, **self.environment()}).stdout

    def rows(self, x, y, width, height):
        """The colours of that part of the screen, row by row: [[(red, green, blue), …], …]."""
        pixels = subprocess.run(["import", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}", "-depth", "8", "rgb:-"],
                                check=True, timeout=30, capture_output=True, env={**os.environ, **self.environment()}).stdout
        colours = list(zip(pixels[0::3], pixels[1::3], pixels[2::3]))
        return [colours[at:at + width] for at in range(0, len(colours), width)]

    def colours(self, x=0, y=0, width=1440, height=900):
        """How often each colour occurs in that part of the screen: (red, green, blue) → count."""
        return Counter(colour for row in self.rows(x, y, width, height) for colour in row)

    def popped_up(self):
        """Place and size of the menu that has popped up last: (x, y, width, height)."""
        return self._place_of(r'\("orvane" "Orvane"\)')

    @contextmanager
    def changing(self):
        """What is done inside changes the picture on the screen: waits for that, and until it stands still again."""
        before = self.picture()
        yield
        wait_for(lambda: self.picture() != before, "the screen to change")
        self.settle()

    def settle(self):
        """Waits until the picture on the screen stands still."""
        last = [b""]

        def still():
            earlier, last[0] = last[0], self.picture()
            return earlier == last[0]

        wait_for(still, "the screen to stand still")

    def screenshot(self, path):
        path = Path(path)
        path.parent.mkdir(parents=True, exist_ok=True)
        new = path.with_name(f".{os.getpid()}-{path.name}")  # Another run may be taking the same one.
        subprocess.run(["import", "-window", "root", str(new)], check=True, timeout=30,
                       env={**os.environ, **self.environment()})
        new.rename(path)

    def close(self):
        if self._manager:
            end(self._manager)
        end(self._bus)
        end(self._xvfb)
        shutil.rmtree(self.folder, ignore_errors=True)
