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
    def __init__(self, menu, id, properties):
        self.id = id
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

    def __repr__(self):
        return f"<{self.title!r}{'' if self.enabled else ' disabled'}{' ✓' if self.checked else ''}>"

    def click(self):
        self._menu.event(self.id, "clicked")

    def open(self):
        """Opens the submenu as a panel does, and returns its rows. A row that is disabled or has nothing below it opens nothing."""
        wait_for(lambda: self._menu.is_enabled(self.id), f"{self!r} to be enabled")
        assert self.has_submenu and self._menu.rows(self.id), f"{self} has nothing to open"
        self._menu.show(self.id)
        return self._menu.rows(self.id)

    def close(self):
        self._menu.hide(self.id)


class MenuView:
    """What a panel remembers of a menu. It asks for rows only when it is told that they have changed, so many levels at a time (-1: all),
    and whether a row leads on is decided when its id is first seen."""

    def __init__(self, item, ear, catch_up, levels=-1):
        self.connection = item.connection
        self.service = item.service
        self.path = item.menu_path()
        self._owner = item.owner()
        self._ear = ear
        self._catch_up = catch_up
        self._levels = levels
        self._properties = {}
        self._children = {}
        self.call("AboutToShow", "(i)", 0)  # Some do when they attach an icon, with nobody looking.
        self._fetch(0)

    def call(self, method, signature, *arguments):
        reply = self.connection.call_sync(self.service, self.path, INTERFACE, method,
                                          GLib.Variant(signature, arguments), None,
                                          Gio.DBusCallFlags.NONE, 20000, None)
        return reply.unpack()

    def layout(self, parent=0):
        """Revision and root row, as (id, properties, rows)."""
        return self.call("GetLayout", "(iias)", parent, self._levels, [])

    def _fetch(self, parent):
        try:
            self._remember(self.layout(parent)[1], self._levels)
        except GLib.Error:
            pass  # Gone meanwhile, which the next signal tells.

    def _remember(self, layout, levels):
        id, properties, children = layout
        if id in self._properties:
            for name in ("children-display",):
                properties.pop(name, None)
                if name in self._properties[id]:
                    properties[name] = self._properties[id][name]
        self._properties[id] = properties
        if levels != 0:
            self._children[id] = [child[0] for child in children]
        for child in children:
            self._remember(child, levels - 1)

    def update(self):
        self._catch_up()
        while self._ear:
            sender, signal, arguments = self._ear.popleft()
            if sender != self._owner:
                continue
            if signal == "LayoutUpdated":
                self._fetch(arguments[1])
            elif signal == "ItemsPropertiesUpdated":
                for id, properties in arguments[0]:
                    properties.pop("children-display", None)
                    self._properties.get(id, {}).update(properties)

    def is_enabled(self, id):
        self.update()
        return self._properties[id].get("enabled", True)

    def rows(self, parent):
        self.update()
        return [(id, self._properties[id]) for id in self._children.get(parent, [])]


class TrayMenu:
    """The menu as a panel shows it. Panels with `silent` manners never say that they open or close anything."""

    def __init__(self, view, silent=False):
        self._view = view
        self._silent = silent

    def revision(self):
        return self._view.layout()[0]

    def all_rows(self, parent=0):
        """Hidden ones among them."""
        return [Row(self, id, properties) for id, properties in self._view.rows(parent)]

    def rows(self, parent=0):
        """The rows that a panel shows: hidden ones left out."""
        return [row for row in self.all_rows(parent) if row.visible]

    def is_enabled(self, id):
        return self._view.is_enabled(id)

    def titles(self, parent=0):
        return [row.title for row in self.rows(parent)]

    def about_to_show(self, id=0):
        return self._view.call("AboutToShow", "(i)", id)[0]

    def event(self, id, name):
        self._view.call("Event", "(isvu)", id, name, GLib.Variant("s", ""), 0)

    def event_without_reply(self, id, name):
        """Does not wait, and does not mind when the program has gone."""
        self._view.connection.call(self._view.service, self._view.path, INTERFACE, "Event",
                                   GLib.Variant("(isvu)", (id, name, GLib.Variant("s", ""), 0)), None,
                                   Gio.DBusCallFlags.NONE, 20000, None, None)

    def show(self, id):
        if self._silent:
            self._view.call("AboutToShowGroup", "(ai)", [id])
        else:
            self.about_to_show(id)
            self.event(id, "opened")

    def hide(self, id):
        if not self._silent:
            self.event(id, "closed")

    def open(self):
        self.show(0)
        return self.rows()

    def close(self):
        self.hide(0)

    def find(self, start):
        """The row whose title begins so; None when there is none."""
        return next((row for row in self.rows() if row.title.startswith(start)), None)

    def row(self, start):
        """Waits for that row."""
        return wait_for(lambda: self.find(start), f"a row {start!r}")

    @property
    def status(self):
        return self.rows()[0].title
