"""What a program says on the session bus, counted by a monitor of the bus."""

import threading

from gi.repository import Gio, GLib


class BusCounter:
    """Counts the signals that one program sends, and the bytes of all its messages."""

    def __init__(self, desktop, sender):
        self._sender = sender
        self._lock = threading.Lock()
        self._signals = 0
        self._bytes = 0
        self._context = GLib.MainContext()
        self._connection = desktop.connect()
        self._connection.add_filter(self._see)
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                                   GLib.Variant("(asu)", ([f"sender='{sender}'"], 0)), None, Gio.DBusCallFlags.NONE, 5000, None)

    def _see(self, connection, message, incoming):
        if not incoming or message.get_sender() != self._sender:
            return message
        with self._lock:
            self._signals += message.get_message_type() == Gio.DBusMessageType.SIGNAL
            self._bytes += len(message.to_blob(Gio.DBusCapabilityFlags.NONE))
        return None  # A monitor must answer nothing.

    def counted(self):
        """(signals, bytes of all messages) so far."""
        with self._lock:
            return self._signals, self._bytes

    def close(self):
        self._connection.close_sync(None)
