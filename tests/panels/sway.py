"""The bar of a Wayland compositor without a screen: waybar in sway, Orvane as a client of Wayland or by way of XWayland."""

import io
import json
import socket
import struct
import subprocess
import time
from contextlib import contextmanager

import numpy
from PIL import Image

from harness.processes import end
from harness.waiting import wait_for
from panels import Panel
from wayland import Account, WaylandDesktop

CONFIG = """
output HEADLESS-1 resolution 1440x900 position 0 0
output * bg #6b7f8f solid_color
focus_follows_mouse no
xwayland {xwayland}
exec sh -c 'echo "$WAYLAND_DISPLAY $DISPLAY" >{started}'
"""
BAR = '{"layer": "top", "position": "top", "height": 32, "modules-right": ["tray"], "tray": {"icon-size": 22, "spacing": 8}}'


class Hands:
    """Pointer and keyboard, through a VNC server (RFC 6143)."""

    KEYS = {"Escape": 0xFF1B, "Down": 0xFF54, "Return": 0xFF0D}

    def __init__(self, path):
        self._socket = wait_for(lambda: self._connect(path), "the VNC server", 20)
        self._at = (0, 0)

    @staticmethod
    def _connect(path):
        connection = socket.socket(socket.AF_UNIX)
        connection.settimeout(10)
        try:
            connection.connect(str(path))
        except OSError:
            return None
        connection.recv(12)
        connection.sendall(b"RFB 003.008\n")
        connection.recv(64)  # The ways to prove oneself; 1 is none.
        connection.sendall(b"\x01")
        connection.recv(4)
        connection.sendall(b"\x01")  # Others may watch, too.
        connection.recv(1024)
        return connection

    def _send(self, *parts):
        self._socket.sendall(struct.pack(*parts))

    def move(self, x, y, buttons=0):
        self._at = (x, y)
        self._send(">BBHH", 5, buttons, x, y)

    def click(self, button):
        self.move(*self._at, 1 << (button - 1))
        time.sleep(0.05)
        self.move(*self._at)

    def press(self, key):
        for down in (1, 0):
            self._send(">BBxxI", 4, down, self.KEYS[key])

    def close(self):
        self._socket.close()


class Sway(Panel):
    name = "sway"
    desktop_name = "sway"
    programs = (["waybar"],)
    settings = {".config/waybar/config": BAR}
    variables = {"WLR_BACKENDS": "headless", "WLR_RENDERER": "pixman", "WLR_LIBINPUT_NO_DEVICES": "1", "LIBSEAT_BACKEND": "noop",
                 "GDK_BACKEND": "wayland"}
    knows_places = False
    asks_before_copying = True
    xwayland = "disable"
    shell = "xdg_shell"  # What sway calls a client of its own.

    def make_desktop(self):
        self.account = Account()
        self.wayland = self.display = None
        return WaylandDesktop(self.account)

    def environment(self):
        values = {**super().environment(), "SWAYSOCK": str(self.desktop.run / "sway.sock")}
        return {**values, "WAYLAND_DISPLAY": self.wayland} if self.wayland else values

    def program_environment(self):
        return {**super().program_environment(), "WAYLAND_DISPLAY": f"{self.desktop.run}/{self.wayland}", "DISPLAY": self.display}

    def spawn(self, *command):
        return super().spawn(*self.account.prefix, *command)

    def start(self):
        started = self.desktop.run / "started"
        (self.home / "sway.conf").write_text(CONFIG.format(xwayland=self.xwayland, started=started))
        self.account.give(self.home)
        self.compositor = self.spawn("sway", "-c", str(self.home / "sway.conf"))
        words = wait_for(lambda: started.exists() and started.read_text().split(), "sway", 30)
        self.wayland, self.display = (*words, None)[:2]
        self.spawn("wayvnc", "--unix-socket", str(self.desktop.run / "vnc"))
        self.hands = Hands(self.desktop.run / "vnc")
        self.start_panel()

    def close(self):
        if hasattr(self, "hands"):
            self.hands.close()
        super().close()

    def end_desktop(self):
        self.compositor.kill()

    def _tell(self, *command):
        return subprocess.run([*self.account.prefix, *command], env=self.environment(), check=True, capture_output=True, timeout=20).stdout

    def picture(self):
        return numpy.asarray(Image.open(io.BytesIO(self._tell("grim", "-t", "ppm", "-"))).convert("RGB"))

    def move(self, x, y):
        self.hands.move(x, y)

    def press_button(self, button):
        self.hands.click(button)

    def press(self, *keys):
        for key in keys:
            self.hands.press(key)

    def turn_away(self):
        """The bar has no keyboard."""
        self.click(*self.nowhere)

    def windows(self):
        waiting = [json.loads(self._tell("swaymsg", "--raw", "-t", "get_tree"))]
        while waiting:
            node = waiting.pop()
            waiting += node["nodes"] + node["floating_nodes"]
            if node.get("pid"):
                yield node

    def window_titles(self):
        return [window["name"] for window in self.windows()]

    def focused_title(self):
        return next((window["name"] or "" for window in self.windows() if window["focused"]), "")

    def copied(self):
        try:
            return self._tell("wl-paste", "--no-newline").decode()
        except subprocess.CalledProcessError:  # Nothing is, between two texts.
            return None

    def copy(self, text):
        self.spawn("wl-copy", "--foreground", text)
        wait_for(lambda: self.copied() == text, "the clipboard to be set")

    @contextmanager
    def window_in_front(self):
        other = self.spawn("foot", "--title=Other", "sleep", "600")
        wait_for(lambda: self.focused_title() == "Other", "the other window", 20)
        try:
            yield
        finally:
            end(other)


class SwayXwayland(Sway):
    """Orvane takes X11 where both answer."""

    name = "sway-xwayland"
    xwayland = "enable"
    shell = "xwayland"

    def start(self):
        super().start()
        if self.account.prefix:  # Only who owns the session may show anything, else.
            subprocess.run([*self.account.prefix, "xhost", "+si:localuser:root"], check=True, capture_output=True, timeout=20,
                           env={**self.environment(), "DISPLAY": self.display})
