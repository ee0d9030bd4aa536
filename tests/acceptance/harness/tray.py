"""A panel's tray: the StatusNotifierWatcher, a host, and the items that programs register with it.

https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/
"""

import collections
import threading

from gi.repository import Gio, GLib

from .menu import MenuView
from .waiting import wait_for

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
WATCHER_XML = f"""
<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


class Tray:
    """Serves from a thread of its own, so that a test may block in a call to the program meanwhile."""

    def __init__(self, desktop, with_host=True, looks=True):
        self._desktop = desktop
        self._connection = desktop.connect()
        self._items = []
        self.menu_signals = []  # (name, arguments) of what the program says of its menu
        self._ears = []  # The same, for each view of a menu: (sender, name, arguments)
        self._views = {}
        self._host = with_host
        self._looks = looks
        self._context = GLib.MainContext()
        self._closing = False
        ready = threading.Event()
        self._thread = threading.Thread(target=self._serve, args=(ready,), daemon=True)
        self._thread.start()
        ready.wait()
        self._request_name(self._connection, WATCHER)

    def _serve(self, ready):
        self._context.push_thread_default()
        interface = Gio.DBusNodeInfo.new_for_xml(WATCHER_XML).interfaces[0]
        self._connection.register_object("/StatusNotifierWatcher", interface, self._called, self._get, None)
        self._connection.signal_subscribe(None, "com.canonical.dbusmenu", None, None, None,
                                          Gio.DBusSignalFlags.NONE, self._menu_changed)
        ready.set()
        while not self._closing:
            self._context.iteration(True)

    def _menu_changed(self, connection, sender, path, interface, signal, parameters):
        self.menu_signals.append((signal, parameters.unpack()))
        for ear in self._ears:
            ear.append((sender, signal, parameters.unpack()))

    def catch_up(self):
        """Waits until everything that has arrived so far has been heard."""
        heard = threading.Event()
        source = GLib.Idle(priority=GLib.PRIORITY_DEFAULT)
        source.set_callback(lambda _: heard.set())
        source.attach(self._context)
        heard.wait()

    def view(self, item, levels=-1):
        """What the panel remembers of that item's menu; made when it is first asked for, as when an icon is attached."""
        key = item.service, levels
        if key not in self._views:
            ear = collections.deque()
            self._ears.append(ear)
            self._views[key] = MenuView(item, ear, self.catch_up, levels)
        return self._views[key]

    @staticmethod
    def _request_name(connection, name):
        reply = connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            GLib.Variant("(su)", (name, 4)), None, Gio.DBusCallFlags.NONE, 5000, None)
        assert reply.unpack()[0] == 1, f"another {name} is running"

    def _called(self, connection, sender, path, interface, method, parameters, invocation):
        if method == "RegisterStatusNotifierItem":
            service = parameters.unpack()[0]
            if service.startswith("/"):
                service = sender + service
            self._items.append(service)
            self._look_at(service)
            self._signal("StatusNotifierItemRegistered", GLib.Variant("(s)", (service,)))
        invocation.return_value(None)

    def _look_at(self, service):
        """A host reads all about an icon at once."""
        if self._host and self._looks:
            self._connection.call(service.split("/")[0], "/StatusNotifierItem", "org.freedesktop.DBus.Properties",
                                  "GetAll", GLib.Variant("(s)", (ITEM,)), None, Gio.DBusCallFlags.NONE, 10000, None, None)

    def _get(self, connection, sender, path, interface, name):
        return {"RegisteredStatusNotifierItems": GLib.Variant("as", self._items),
                "IsStatusNotifierHostRegistered": GLib.Variant("b", self._host),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    def _signal(self, name, parameters=None):
        self._connection.emit_signal(None, "/StatusNotifierWatcher", WATCHER, name, parameters)

    def add_host(self):
        self._host = True
        for service in self._items:
            self._look_at(service)
        self._signal("StatusNotifierHostRegistered")

    def name_host(self):
        """Gives the host a connection and a name of its own, as where it is another program than the watcher."""
        self._host_connection = self._desktop.connect()
        self._request_name(self._host_connection, "org.kde.StatusNotifierHost-1")

    def lose_host(self):
        """The host crashes, and the watcher does not care."""
        self._looks = False
        self._host_connection.close_sync(None)

    def forget_items(self):
        """As a panel does when the program has gone."""
        self._items.clear()

    def item_names(self):
        return list(self._items)

    def wait_for_item(self):
        return TrayItem(self._connection, wait_for(self.item_names, "an icon in the tray")[-1])

    def close(self):
        """Goes from the bus, as a panel that has crashed."""
        if self._closing:
            return
        self._closing = True
        self._context.wakeup()
        self._thread.join()
        if not self._connection.is_closed():  # The bus may have gone before.
            self._connection.close_sync(None)


class TrayItem:
    def __init__(self, connection, service):
        self.connection = connection
        self.service, _, path = service.partition("/")
        self.path = "/" + (path or "StatusNotifierItem")

    def owner(self):
        """The unique name behind the item's."""
        return self.connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner",
            GLib.Variant("(s)", (self.service,)), None, Gio.DBusCallFlags.NONE, 5000, None).unpack()[0]

    def read(self, name):
        reply = self.connection.call_sync(
            self.service, self.path, "org.freedesktop.DBus.Properties", "Get",
            GLib.Variant("(ss)", (ITEM, name)), None, Gio.DBusCallFlags.NONE, 10000, None)
        return reply.unpack()[0]

    def tooltip(self):
        """What the panel shows while the pointer rests on the icon."""
        return self.read("ToolTip")[2]

    def pixels(self, name="IconPixmap"):
        """The largest icon handed over, as (width, [(alpha, red, green, blue), …])."""
        width, _, data = max(self.read(name), key=lambda pixmap: pixmap[0])
        data = bytes(data)
        return width, [tuple(data[at:at + 4]) for at in range(0, len(data), 4)]

    def is_green(self):
        _, pixels = self.pixels()
        opaque = [pixel for pixel in pixels if pixel[0] > 200]
        return bool(opaque) and all(green > red + 40 and green > blue + 40 for _, red, green, blue in opaque)

    def menu_path(self):
        return self.read("Menu")
