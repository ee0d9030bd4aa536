"""Real panels, each in a session of its own: how they are started, pointed at and looked at. X11 here, Wayland in its own files."""

import os
import signal
import subprocess
import time
from pathlib import Path

import numpy
from gi.repository import Gio, GLib
from PIL import Image, ImageGrab

import sight
from harness.desktop import Desktop
from harness.processes import alive, end
from harness.waiting import wait_for

MOTION = 0.25  # Seconds for which a picture has to stand still.


class Panel:
    """A desktop with one panel. Everything is read from the screen, as a person does; no wait is without an end."""

    name = ""
    desktop_name = ""  # XDG_CURRENT_DESKTOP
    programs = ()  # Started in this order; the last is the panel.
    settings = {}  # Files below the home folder.
    variables = {}  # Of the panel's session.
    dark_variables = {"GTK_THEME": "Adwaita:dark"}
    dark_settings = {}
    nowhere = (20, 700)  # A place of the screen with nothing on it.
    restarts = True  # Can go and come back under a running program.
    shows_icon = True
    knows_places = True  # A program can tell where on the screen it is.
    buttons = (1, 3)  # Those that open the menu.
    session_start = 60  # Seconds at most.
    end_desktop = None  # How to, where a program lives by the desktop itself.

    def __init__(self, dark=False):
        self.dark = dark
        self.desktop = self.make_desktop()
        self.folder = self.desktop.folder
        self.home = self.folder / "panel-home"
        self.home.mkdir()
        for path, text in {**self.settings, **(self.dark_settings if dark else {})}.items():
            (self.home / path).parent.mkdir(parents=True, exist_ok=True)
            (self.home / path).write_text(text)
        self._processes = []
        self.mark = f"orvane-panels-{os.getpid()}"

    def make_desktop(self):
        return Desktop(manager=None)

    def environment(self):
        run = self.folder / "panel-run"
        run.mkdir(mode=0o700, exist_ok=True)
        return {**self.desktop.environment(), "HOME": str(self.home), "XDG_RUNTIME_DIR": str(run),
                "XDG_CURRENT_DESKTOP": self.desktop_name, "DESKTOP_SESSION": self.name, "PATH": "/usr/bin:/bin",
                "LANG": "C.UTF-8", "XDG_CONFIG_DIRS": "/etc/xdg:/usr/share", "NO_AT_BRIDGE": "1",
                "ORVANE_PANELS": self.mark, **self.variables,
                **(self.dark_variables if self.dark else {})}

    def program_environment(self):
        """What Orvane itself is told."""
        return {"XDG_CURRENT_DESKTOP": self.desktop_name, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": None}

    def spawn(self, *command):
        log = open(self.folder / f"{Path(command[0]).name}.log", "ab")
        process = subprocess.Popen(command, env=self.environment(), stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                   cwd=self.home, start_new_session=True)
        self._processes.append(process)
        return process

    def start(self):
        for command in self.programs[:-1]:
            self.spawn(*command)
            time.sleep(1)  # They say to nobody when they are ready.
        self.start_panel()

    def start_panel(self):
        self.panel = self.spawn(*self.programs[-1])

    def stop_panel(self):
        """As by a crash, with the helpers that it would leave behind."""
        end(self.panel, signal.SIGKILL)
        own = [process.pid for process in self._processes]
        for pid in self._marked():
            if pid not in own and any(name in command_line(pid) for name in ("wrapper", "applet", self.programs[-1][0])):
                kill(pid)

    def _marked(self):
        """Every process that was started from here, by a variable in its environment."""
        found = []
        for entry in filter(str.isdigit, os.listdir("/proc")):
            try:
                if f"ORVANE_PANELS={self.mark}".encode() in Path(f"/proc/{entry}/environ").read_bytes():
                    found.append(int(entry))
            except OSError:
                pass
        return found

    def close(self):
        for process in reversed(self._processes):
            end(process)
        for pid in self._marked():
            if alive(pid) and pid != os.getpid():
                kill(pid)
        self.desktop.close()

    # The screen

    def picture(self):
        return numpy.asarray(ImageGrab.grab(xdisplay=self.desktop.display))

    def screenshot(self, path):
        path.parent.mkdir(parents=True, exist_ok=True)
        Image.fromarray(self.picture()).save(path)

    def green_icon(self):
        return sight.green_icon(self.picture())

    def settle(self, within=10):
        """The picture, once it stands still."""
        last = [self.picture()]

        def still():
            time.sleep(MOTION)
            earlier, last[0] = last[0], self.picture()
            return sight.changed_area(earlier, last[0]) is None

        wait_for(still, "the screen to stand still", within)
        return last[0]

    # The hand

    def move(self, x, y):
        self.desktop._xdotool("mousemove", str(x), str(y))

    def press_button(self, button):
        self.desktop._xdotool("click", str(button))

    def click(self, x, y, button=1):
        self.move(x - 2, y)
        self.move(x, y)
        time.sleep(0.3)  # Panels look at a pointer that comes to rest.
        self.press_button(button)

    def press(self, *keys):
        self.desktop.press_keys(*keys)

    # Windows

    def focused_title(self):
        return self.desktop.active_window()

    def window_in_front(self):
        return self.desktop.window_in_front()

    def window_titles(self):
        return self.desktop.visible_windows()

    # The clipboard, as other programs see it

    asks_before_copying = False  # Because the menu's rows are in no window of the program.

    def copied(self):
        return self.desktop.clipboard()

    def copy(self, text):
        self.desktop.set_clipboard(text)

    # The menu

    def report_click(self):
        """As a panel does that leaves it to the program what a click means."""
        bus = self.desktop.connect()
        names = bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames", None, None,
                              Gio.DBusCallFlags.NONE, 10000, None).unpack()[0]
        item = next(name for name in names if name.startswith("org.kde.StatusNotifierItem-"))
        bus.call_sync(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate", GLib.Variant("(ii)", (0, 0)), None,
                      Gio.DBusCallFlags.NONE, 10000, None)
        bus.close_sync(None)

    def open_menu(self, button=1):
        """A click on the icon; a panel that is busy may miss one."""
        self.move(*self.nowhere)  # Some draw the icon below the pointer in another colour.
        box = wait_for(self.green_icon, "the green icon", 30)
        self.ground = self.settle()
        for _ in range(3):
            self.click((box[0] + box[2]) // 2, (box[1] + box[3]) // 2, button)
            try:
                wait_for(self.menu_area, "the menu", 4)
                return self.settle()
            except AssertionError:
                self.turn_away()
        raise AssertionError(f"button {button} opens no menu")

    def menu_area(self):
        """Where the screen is not as before the menu was opened; None while that is too small for a menu."""
        now = self.picture()
        return sight.changed_area(self.ground, now) if sight.changed_pixels(self.ground, now) > 10_000 else None

    def lines(self):
        """Everything that can be read where the menu has opened."""
        picture = self.settle()
        area = sight.changed_area(self.ground, picture)
        return sight.read_lines(picture, area) if area else []

    def find(self, text):
        wanted = sight.letters(text)
        seen = []

        def look():
            seen[:] = self.lines()
            fits = [line for line in seen if wanted in sight.letters(line.text)]
            return min(fits, key=lambda line: len(sight.letters(line.text)), default=None)

        try:
            return wait_for(look, f"{text!r}")
        except AssertionError as error:
            raise AssertionError(f"{error}; to be read are {[line.text for line in seen]}") from None

    def choose(self, text):
        self.click(*self.find(text).middle)

    def turn_away(self):
        """Closes the innermost menu."""
        self.press("Escape")

    def dismiss(self):
        for _ in range(4):
            if not self.menu_area():
                return
            self.turn_away()
            time.sleep(0.4)
        wait_for(lambda: not self.menu_area(), "the menu to close", 5)


def kill(pid):
    try:
        os.kill(pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def command_line(pid):
    try:
        return Path(f"/proc/{pid}/cmdline").read_bytes().decode(errors="replace")
    except OSError:
        return ""


class Xfce(Panel):
    name = "xfce"
    desktop_name = "XFCE"
    programs = (["xfwm4", "--compositor=off"], ["xfsettingsd", "--no-daemon"], ["xfce4-panel", "--disable-wm-check"])


class Lxqt(Panel):
    name = "lxqt"
    desktop_name = "LXQt"
    programs = (["openbox", "--sm-disable"], ["lxqt-panel"])
    settings = {".config/lxqt/lxqt.conf": "[General]\ntheme=frost\nicon_theme=Adwaita\n",
                ".config/lxqt/panel.conf": "panels=panel1\n[panel1]\nplugins=spacer,statusnotifier\nposition=Bottom\npanelSize=32\n"
                                           "iconSize=22\nwidth=100\nwidth-percent=true\n[spacer]\ntype=spacer\nsize=400\n"
                                           "[statusnotifier]\ntype=statusnotifier\nalignment=Right\n"}


class Mate(Panel):
    name = "mate"
    desktop_name = "MATE"
    programs = (["marco", "--no-composite"], ["mate-panel"])
    variables = {"GSETTINGS_BACKEND": "keyfile"}
    settings = {".config/glib-2.0/settings/keyfile":
                "[org/mate/panel/general]\ntoplevel-id-list=['bottom']\nobject-id-list=['tray']\n"
                "[org/mate/panel/toplevels/bottom]\norientation='bottom'\nsize=28\nexpand=true\n"
                "[org/mate/panel/objects/tray]\nobject-type='applet'\ntoplevel-id='bottom'\nposition=20\npanel-right-stick=true\n"
                "applet-iid='NotificationAreaAppletFactory::NotificationArea'\n"}


class Tint2(Panel):
    name = "tint2"
    programs = (["openbox", "--sm-disable"], ["tint2"])


class Kde(Panel):
    name = "kde"
    desktop_name = "KDE"
    programs = (["kwin_x11", "--no-kactivities"], ["kded5"], ["plasmashell", "--no-respawn"])
    variables = {"KDE_FULL_SESSION": "true", "KDE_SESSION_VERSION": "5", "QT_QUICK_BACKEND": "software", "LIBGL_ALWAYS_SOFTWARE": "1",
                 "KWIN_COMPOSE": "N", "QT_XCB_GL_INTEGRATION": "none", "XDG_MENU_PREFIX": "plasma-"}
    dark_settings = {".config/plasmarc": "[Theme]\nname=breeze-dark\n"}
