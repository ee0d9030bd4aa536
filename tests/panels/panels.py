"""Real panels, each in a session of its own: how they are started, and how what they show is found, read and clicked."""

import json
import os
import pwd
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

from gi.repository import Atspi, GLib

from harness.desktop import Desktop
from harness.processes import alive, end
from harness.waiting import wait_for

GREEN = (0x34, 0xC7, 0x59)


class Panel:
    """A desktop with one panel. Pointing and pictures are X11's."""

    name = ""
    desktop_name = ""
    programs = ()  # Started in this order; the last is the panel.
    settings = {}  # Files below the home folder.
    environment_of = {}
    program_environment = {}  # Of Orvane itself.
    reads_underscores = True  # GTK's accessibility leaves every underscore out of a name, whatever is shown.
    submenus_by_action = False  # Where places on the screen are not known.

    def __init__(self):
        self.desktop = Desktop(manager=None)
        self.home = self.desktop.folder / "panel-home"
        self.home.mkdir()
        for path, text in self.settings.items():
            (self.home / path).parent.mkdir(parents=True, exist_ok=True)
            (self.home / path).write_text(text)
        self._processes = []
        self.mark = f"orvane-panels-{os.getpid()}"

    def environment(self):
        run = self.desktop.folder / "panel-run"
        run.mkdir(mode=0o700, exist_ok=True)
        return {**self.desktop.environment(), "HOME": str(self.home), "XDG_RUNTIME_DIR": str(run),
                "XDG_CURRENT_DESKTOP": self.desktop_name, "DESKTOP_SESSION": self.name, "PATH": "/usr/bin:/bin",
                "LANG": "C.UTF-8", "XDG_CONFIG_DIRS": "/etc/xdg:/usr/share", 
                "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "ORVANE_PANELS": self.mark, **self.environment_of}

    def spawn(self, *command):
        log = open(self.desktop.folder / f"{Path(command[0]).name}.log", "ab")
        process = subprocess.Popen(command, env=self.environment(), stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                   cwd=self.home, start_new_session=True)
        self._processes.append(process)
        return process

    def start(self):
        self.listen()
        for command in self.programs[:-1]:
            self.spawn(*command)
            time.sleep(1)  # They say to nobody when they are ready.
        self.start_panel()

    def start_panel(self):
        self.panel = self.spawn(*self.programs[-1])

    def stop_panel(self):
        end(self.panel, signal.SIGKILL)
        for pid in self._marked():  # Wrappers that it leaves behind.
            if pid not in [process.pid for process in self._processes]:
                if any(name in self._command(pid) for name in ("wrapper", "applet", self.programs[-1][0])):
                    os.kill(pid, signal.SIGKILL)

    def _command(self, pid):
        try:
            return Path(f"/proc/{pid}/cmdline").read_bytes().decode(errors="replace")
        except OSError:
            return ""

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
                os.kill(pid, signal.SIGKILL)
        self.desktop.close()

    def screenshot(self, path):
        self.desktop.screenshot(path)

    def pixels(self):
        """(width, height, bytes of red, green and blue)"""
        data = subprocess.run(["import", "-window", "root", "-depth", "8", "ppm:-"], check=True, capture_output=True,
                              timeout=30, env={**os.environ, **self.desktop.environment()}).stdout
        return read_ppm(data)

    def click(self, x, y, button=1):
        self.desktop._xdotool("mousemove", str(x), str(y))
        time.sleep(0.3)  # Panels look at a pointer that comes to rest.
        self.desktop._xdotool("click", str(button))

    def point(self, x, y):
        self.desktop._xdotool("mousemove", str(x - 2), str(y))
        self.desktop._xdotool("mousemove", str(x), str(y))

    def press(self, *keys):
        self.desktop.press_keys(*keys)

    def green_icon(self):
        """(left, top, right, bottom) of the green icon on the screen; None while there is none."""
        return box_of(self.pixels(), lambda colour: all(abs(a - b) < 24 for a, b in zip(colour, GREEN)))

    def focused_title(self):
        return self.desktop._xdotool("getactivewindow", "getwindowname").strip()

    # The menu, as the panel tells a screen reader of it.

    def listen(self):
        """Panels made with GTK keep their menus out of the tree: one is met only by the row that is selected in it."""
        Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)  # What was read before tells nothing of what is shown now.
        self._selected = None
        self._listener = Atspi.EventListener.new(self._hear)
        for event in ("object:state-changed:selected", "object:state-changed:focused"):
            self._listener.register(event)

    def _hear(self, event):
        try:
            if event.detail1 and event.source.get_role() in ROW_ROLES:
                self._selected = event.source
        except GLib.Error:
            pass  # It has gone.

    def open_menus(self):
        """Every menu that is popped up, the outermost first."""
        while GLib.MainContext.default().iteration(False):
            pass
        try:
            top = self._selected and outermost(self._selected)
            return [menu for menu in tree(top) if is_open_menu(menu)] if top else []
        except GLib.Error:
            self._selected = None
            return []

    def rows(self):
        """Names of the rows of all popped up menus, separators left out."""
        return [name_of(row) for menu in self.open_menus() for row in rows_of(menu)]

    def row(self, start):
        def find():
            return next((row for menu in self.open_menus() for row in rows_of(menu) if name_of(row).startswith(start)), None)

        return wait_for(find, f"a row {start!r} among {self.rows()}")

    def enter(self, start):
        """Opens the submenu of that row."""
        before = len(self.rows())
        row = self.row(start)
        if self.submenus_by_action:
            Atspi.Action.do_action(row, 0)
        else:
            place = row.get_extents(Atspi.CoordType.SCREEN)
            self.point(place.x + 30, place.y + place.height // 2)
            time.sleep(0.5)
            if len(self.rows()) <= before:
                self.click(place.x + 30, place.y + place.height // 2)
        wait_for(lambda: len(self.rows()) > before, f"the submenu of {start!r}")

    def choose(self, start):
        row = self.row(start)
        if self.submenus_by_action:
            Atspi.Action.do_action(row, 0)
        else:
            place = row.get_extents(Atspi.CoordType.SCREEN)
            self.point(place.x + 30, place.y + place.height // 2)
            self.click(place.x + 30, place.y + place.height // 2)

    def dismiss(self):
        for _ in range(4):
            if not self.open_menus():
                return
            self.press("Escape")
            time.sleep(0.3)
        wait_for(lambda: not self.open_menus(), "the menu to close")


ROW_ROLES = (Atspi.Role.MENU_ITEM, Atspi.Role.CHECK_MENU_ITEM, Atspi.Role.MENU, Atspi.Role.RADIO_MENU_ITEM)


def outermost(row):
    """The menu at the top, that row's or one above it."""
    top = row
    while (parent := top.get_parent()) is not None and parent.get_role() in (*ROW_ROLES, Atspi.Role.POPUP_MENU):
        top = parent
    top.clear_cache()
    return top


def tree(accessible, depth=0):
    yield accessible
    if depth > 14:
        return
    for index in range(accessible.get_child_count()):
        child = accessible.get_child_at_index(index)
        if child is not None:
            yield from tree(child, depth + 1)


def is_open_menu(accessible):
    if accessible.get_role() not in (Atspi.Role.MENU, Atspi.Role.POPUP_MENU, Atspi.Role.WINDOW):
        return False
    rows = rows_of(accessible)
    return bool(rows) and any(row.get_state_set().contains(Atspi.StateType.SHOWING) for row in rows)


def rows_of(menu):
    rows = [menu.get_child_at_index(index) for index in range(menu.get_child_count())]
    return [row for row in rows if row is not None and row.get_role() in ROW_ROLES and name_of(row)]


def name_of(row):
    return row.get_name() or ""


def read_ppm(data):
    header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
    return int(header[1]), int(header[2]), data[header.end():]


def box_of(picture, matches):
    width, height, data = picture
    places = [at // 3 for at in range(0, width * height * 3, 3)
              if data[at + 1] > 150 and data[at] < 110 and matches(data[at:at + 3])]
    if len(places) < 12:
        return None
    columns = [place % width for place in places]
    lines = [place // width for place in places]
    return min(columns), min(lines), max(columns), max(lines)


def luminance(colour):
    parts = [value / 255 for value in colour]
    linear = [part / 12.92 if part <= 0.03928 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(picture, box):
    """The best contrast of any pixel inside the box with the colour that surrounds it."""
    width, _, data = picture
    left, top, right, bottom = box

    def colour(x, y):
        at = (y * width + x) * 3
        return tuple(data[at:at + 3])

    ground = luminance(colour(left - 3, (top + bottom) // 2))
    best = 1
    for x in range(left, right + 1):
        for y in range(top, bottom + 1):
            shape = luminance(colour(x, y))
            best = max(best, (max(ground, shape) + 0.05) / (min(ground, shape) + 0.05))
    return best


class Xfce(Panel):
    name = "xfce"
    reads_underscores = False
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
    reads_underscores = False
    desktop_name = "MATE"
    programs = (["marco", "--no-composite"], ["mate-panel"])


class Tint2(Panel):
    name = "tint2"
    desktop_name = ""
    programs = (["openbox", "--sm-disable"], ["tint2"])


PANELS = {panel.name: panel for panel in (Xfce, Lxqt, Mate, Tint2)}
