"""A panel's view of the menu: a client of com.canonical.dbusmenu.

https://github.com/AyatanaIndicators/libdbusmenu/blob/master/libdbusmenu-glib/dbus-menu.xml
"""

from gi.repository import Gio, GLib

from .waiting import wait_for

INTERFACE = "com.canonical.dbusmenu"


def shown(label):
    """The text that a panel shows for a label: `__` is an underscore, a single `_` marks the next letter."""
    text = ""
    at = 0
    while at < len(label):
        if label[at] == "_":
            at += 1
            if at == len(label):
                break
        text += label[at]
        at += 1
    return text


class Row:
    def __init__(self, menu, item):
        self.id, properties, children = item
        self._menu = menu
        self.properties = properties
        self.is_separator = properties.get("type") == "separator"
        self.title = "—" if self.is_separator else shown(properties.get("label", ""))
        self.enabled = properties.get("enabled", True)
        self.visible = properties.get("visible", True)
        self.shortcut = properties.get("shortcut", [])
        self.checkable = properties.get("toggle-type", "") != ""
        self.checked = properties.get("toggle-state", -1) == 1
        self.has_submenu = properties.get("children-display") == "submenu"
        self.rows = [Row(menu, child) for child in children]

    def __repr__(self):
        return f"<{self.title!r}{'' if self.enabled else ' disabled'}{' ✓' if self.checked else ''}>"

    def click(self):
        self._menu.event(self.id, "clicked")

    def open(self):
        """Opens the submenu as a panel does, which lets nobody into that of a disabled row, and returns its rows."""
        wait_for(lambda: self._menu.is_enabled(self.id), f"{self!r} to be enabled")
        self._menu.about_to_show(self.id)
        self._menu.event(self.id, "opened")
        return self._menu.rows(self.id)

    def close(self):
        self._menu.event(self.id, "closed")


class TrayMenu:
    def __init__(self, item):
        self._connection = item.connection
        self._service = item.service
        self._path = item.menu_path()

    def _call(self, method, signature, *arguments):
        reply = self._connection.call_sync(self._service, self._path, INTERFACE, method,
                                           GLib.Variant(signature, arguments), None,
                                           Gio.DBusCallFlags.NONE, 20000, None)
        return reply.unpack()

    def layout(self, parent=0):
        """Revision and root row."""
        revision, root = self._call("GetLayout", "(iias)", parent, -1, [])
        return revision, Row(self, root)

    def rows(self, parent=0):
        """The rows that a panel shows: hidden ones left out."""
        return [row for row in self.layout(parent)[1].rows if row.visible]

    def is_enabled(self, id):
        """False also for a row that has gone."""
        rows = [self.layout()[1]]
        for row in rows:
            rows += row.rows
        return any(row.id == id and row.enabled for row in rows)

    def titles(self, parent=0):
        return [row.title for row in self.rows(parent)]

    def about_to_show(self, id=0):
        return self._call("AboutToShow", "(i)", id)[0]

    def event(self, id, name):
        self._call("Event", "(isvu)", id, name, GLib.Variant("s", ""), 0)

    def event_without_reply(self, id, name):
        """Does not wait, and does not mind when the program has gone."""
        self._connection.call(self._service, self._path, INTERFACE, "Event",
                              GLib.Variant("(isvu)", (id, name, GLib.Variant("s", ""), 0)), None,
                              Gio.DBusCallFlags.NONE, 20000, None, None)

    def open(self):
        self.about_to_show(0)
        self.event(0, "opened")
        return self.rows()

    def close(self):
        self.event(0, "closed")

    def find(self, start):
        """The row whose title begins so; None when there is none."""
        return next((row for row in self.rows() if row.title.startswith(start)), None)

    def row(self, start):
        """Waits for that row."""
        return wait_for(lambda: self.find(start), f"a row {start!r}")

    @property
    def status(self):
        return self.rows()[0].title
