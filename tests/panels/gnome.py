"""GNOME Shell without a screen, with its AppIndicator extension. Its own scripting moves the pointer and tells of windows."""

import json
from contextlib import contextmanager

import numpy
from gi.repository import Gio, GLib
from PIL import Image

from harness.processes import end
from harness.waiting import wait_for
from panels import Panel
from wayland import Account, WaylandDesktop

CLIPBOARD = "imports.gi.St.Clipboard.get_default()"
KIND = "imports.gi.St.ClipboardType.CLIPBOARD"
DEVICES = """
const Clutter = imports.gi.Clutter;
const seat = Clutter.get_default_backend().get_default_seat();
global.hands = global.hands || {pointer: seat.create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE),
                                keyboard: seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE)};
const now = () => Clutter.get_current_event_time() * 1000;
"""
KEYS = {"Escape": 0xFF1B, "Down": 0xFF54, "Return": 0xFF0D}
WINDOWS = """global.get_window_actors().map(actor => actor.meta_window)
    .map(window => ({title: window.title, focus: window.has_focus(), kind: window.window_type}))"""


EXTENSION = "ubuntu-appindicators@ubuntu.com"


class Gnome(Panel):
    name = "gnome"
    desktop_name = "GNOME"
    knows_places = False
    asks_before_copying = True
    buttons = (1,)  # The other one opens the same menu.
    variables = {"LIBGL_ALWAYS_SOFTWARE": "1", "GSETTINGS_BACKEND": "keyfile", "XDG_SESSION_TYPE": "wayland"}
    extensions = [EXTENSION]

    def make_desktop(self):
        self.account = Account()
        self.runs = False
        return WaylandDesktop(self.account)

    def environment(self):
        # What it asks of the system bus is to find nobody there.
        values = {**super().environment(), "DBUS_SYSTEM_BUS_ADDRESS": self.desktop.environment()["DBUS_SESSION_BUS_ADDRESS"]}
        return {**values, "WAYLAND_DISPLAY": "gnome"} if self.runs else values

    def program_environment(self):
        return {**super().program_environment(), "WAYLAND_DISPLAY": f"{self.desktop.run}/gnome", "DISPLAY": None}

    def spawn(self, *command):
        return super().spawn(*self.account.prefix, *command)

    def start(self):
        keyfile = self.home / ".config/glib-2.0/settings/keyfile"
        keyfile.parent.mkdir(parents=True)
        keyfile.write_text(f"[org/gnome/shell]\nenabled-extensions={self.extensions}\nwelcome-dialog-last-shown-version='999'\n"
                           "[org/gnome/desktop/notifications]\nshow-banners=false\n"
                           "[org/gnome/desktop/interface]\nenable-animations=false\n"
                           "[org/gnome/desktop/background]\npicture-uri=''\nprimary-color='#6b7f8f'\n")
        self.account.give(self.home)
        self._bus = self.desktop.connect()
        self.spawn("gnome-shell", "--headless", "--virtual-monitor", "1440x1200", "--unsafe-mode", "--wayland-display", "gnome",
                   "--no-x11")
        wait_for(lambda: self.evaluate("Main.layoutManager._startingUp === false"), "the Shell", 60)
        self.evaluate("Main.overview.hide()")
        self.runs = True

    def stop_panel(self):
        """The Shell itself is the session and does not restart in it."""
        self.evaluate(f"Main.extensionManager.disableExtension('{EXTENSION}')")

    def start_panel(self):
        self.evaluate(f"Main.extensionManager.enableExtension('{EXTENSION}')")

    def _call(self, path, interface, method, arguments):
        try:
            return self._bus.call_sync("org.gnome.Shell", path, interface, method, arguments, None, Gio.DBusCallFlags.NO_AUTO_START,
                                       10000, None).unpack()
        except GLib.Error:
            return None

    def evaluate(self, script):
        reply = self._call("/org/gnome/Shell", "org.gnome.Shell", "Eval", GLib.Variant("(s)", (script,)))
        return json.loads(reply[1]) if reply and reply[0] and reply[1] else None

    def picture(self):
        path = self.desktop.run / "picture.png"
        self._call("/org/gnome/Shell/Screenshot", "org.gnome.Shell.Screenshot", "Screenshot",
                   GLib.Variant("(bbs)", (False, False, str(path))))
        return numpy.asarray(Image.open(path).convert("RGB"))

    def move(self, x, y):
        self.evaluate(f"{DEVICES} global.hands.pointer.notify_absolute_motion(now(), {x}, {y}); 1")

    def press_button(self, button):
        code = {1: "Clutter.BUTTON_PRIMARY", 3: "Clutter.BUTTON_SECONDARY"}[button]
        for state in ("PRESSED", "RELEASED"):
            self.evaluate(f"{DEVICES} global.hands.pointer.notify_button(now(), {code}, Clutter.ButtonState.{state}); 1")

    def press(self, *keys):
        for key in keys:
            for state in ("PRESSED", "RELEASED"):
                self.evaluate(f"{DEVICES} global.hands.keyboard.notify_keyval(now(), {KEYS[key]}, Clutter.KeyState.{state}); 1")

    def window_titles(self):
        return [window["title"] for window in self.evaluate(WINDOWS) or []]

    def focused_title(self):
        return next((window["title"] or "" for window in self.evaluate(WINDOWS) or [] if window["focus"]), "")

    def copied(self):
        self.evaluate(f"delete global.copied; {CLIPBOARD}.get_text({KIND}, (clipboard, text) => {{ global.copied = text; }}); 1")
        return wait_for(lambda: self.evaluate("[global.copied]"), "the clipboard's text")[0]

    def copy(self, text):
        self.evaluate(f"{CLIPBOARD}.set_text({KIND}, {json.dumps(text)}); 1")

    def activate(self, title):
        self.evaluate(f"global.get_window_actors().find(actor => actor.meta_window.title === '{title}').meta_window.activate(0)")
        wait_for(lambda: self.focused_title() == title, f"{title!r} in front", 20)

    @contextmanager
    def window_in_front(self):
        other = self.spawn("foot", "--title=Other", "sleep", "600")
        wait_for(lambda: "Other" in self.window_titles(), "the other window", 20)
        self.activate("Other")
        try:
            yield
        finally:
            end(other)


class GnomeAlone(Gnome):
    """As it comes, without the extension: the window stands in for the icon."""

    name = "gnome-alone"
    extensions = []
    restarts = False
    shows_icon = False
    asks_before_copying = False

    def start(self):
        super().start()
        self.move(*self.nowhere)
        self.empty = self.settle()

    def open_menu(self, button=1):
        self.ground = self.empty
        wait_for(lambda: "Orvane" in self.window_titles(), "the window", 20)
        self.activate("Orvane")
        return self.settle()

    def dismiss(self):
        pass
