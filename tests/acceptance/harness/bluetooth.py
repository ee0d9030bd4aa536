"""Bluetooth without a radio: BlueZ on a system bus of the test's own, and phones behind UNIX sockets.

The program's own Bluetooth sockets are turned to these by a preloaded library (bluetooth_sockets.c).
"""

import shutil
import socket
import struct
import subprocess
import threading
from contextlib import suppress
from pathlib import Path

from gi.repository import Gio, GLib

from .folders import temporary_folder
from .processes import end

HERE = Path(__file__).parent
ADAPTER = "/org/bluez/hci0"
SERVICE_UUID = bytes.fromhex("4F7276616E65 0001 8000 00805F9B34FB")

MANAGER_XML = """<node><interface name="org.freedesktop.DBus.ObjectManager">
  <method name="GetManagedObjects"><arg type="a{oa{sa{sv}}}" direction="out"/></method>
  <signal name="InterfacesAdded"><arg type="o"/><arg type="a{sa{sv}}"/></signal>
  <signal name="InterfacesRemoved"><arg type="o"/><arg type="as"/></signal>
</interface></node>"""
DEVICE_XML = """<node><interface name="org.bluez.Device1"><method name="Disconnect"/></interface></node>"""
BUS_CONFIG = """<busconfig><type>session</type><listen>unix:path={folder}/bus</listen><servicedir>{folder}/services</servicedir>
<auth>EXTERNAL</auth><policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>"""
ACTIVATION = "[D-BUS Service]\nName=org.bluez\nExec=/bin/touch {folder}/bluez-was-started\n"


def variant(value):
    if isinstance(value, bool):
        return GLib.Variant("b", value)
    if isinstance(value, int):
        return GLib.Variant("u", value)
    if isinstance(value, list):
        return GLib.Variant("as", value)
    return GLib.Variant("s", value)


class Bluez:
    """BlueZ as far as the program looks at it: adapters and devices by object path. Serves from a thread of its own."""

    def __init__(self, bus_address):
        self._context = GLib.MainContext()
        self._closing = False
        self._objects = {}
        self._registered = {}
        self.calls = []
        self.silent = False
        self._connection = Gio.DBusConnection.new_for_address_sync(
            bus_address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._connection.set_exit_on_close(False)
        ready = threading.Event()
        self._thread = threading.Thread(target=self._serve, args=(ready,), daemon=True)
        self._thread.start()
        ready.wait()
        self.put(ADAPTER, "org.bluez.Adapter1", Address="00:11:22:33:44:55", Powered=True)

    def appear(self):
        """Takes the name: from now on the program sees BlueZ."""
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                                   GLib.Variant("(su)", ("org.bluez", 4)), None, Gio.DBusCallFlags.NONE, 5000, None)
        return self

    def _serve(self, ready):
        self._context.push_thread_default()
        self._connection.register_object("/", Gio.DBusNodeInfo.new_for_xml(MANAGER_XML).interfaces[0], self._called, None, None)
        ready.set()
        while not self._closing:
            self._context.iteration(True)

    def _called(self, connection, sender, path, interface, method, parameters, invocation):
        self.calls.append((method, path))
        if method != "GetManagedObjects":
            invocation.return_value(None)
        elif not self.silent:
            invocation.return_value(GLib.Variant("(a{oa{sa{sv}}})", (self._described(),)))

    def _described(self):
        return {path: {interface: {name: variant(value) for name, value in properties.items()}}
                for path, (interface, properties) in sorted(self._objects.items())}

    def put(self, path, interface, **properties):
        """Adds an object, or changes properties of one."""
        known = path in self._objects
        values = self._objects.setdefault(path, (interface, {}))[1]
        values.update(properties)
        changed = {name: variant(value) for name, value in properties.items()}
        if known:
            self._emit(path, "org.freedesktop.DBus.Properties", "PropertiesChanged", GLib.Variant("(sa{sv}as)", (interface, changed, [])))
            return
        if interface == "org.bluez.Device1" and path not in self._registered:
            self._in_thread(lambda: self._register(path))
        self._emit("/", "org.freedesktop.DBus.ObjectManager", "InterfacesAdded",
                   GLib.Variant("(oa{sa{sv}})", (path, {interface: changed})))

    def _register(self, path):
        interface = Gio.DBusNodeInfo.new_for_xml(DEVICE_XML).interfaces[0]
        self._registered[path] = self._connection.register_object(path, interface, self._called, None, None)

    def _in_thread(self, work):
        done = threading.Event()
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, lambda: (work(), done.set()) and False)
        self._context.wakeup()
        assert done.wait(10)

    def remove(self, path):
        interface, _ = self._objects.pop(path)
        self._emit("/", "org.freedesktop.DBus.ObjectManager", "InterfacesRemoved", GLib.Variant("(oas)", (path, [interface])))

    def _emit(self, path, interface, signal, parameters):
        self._connection.emit_signal(None, path, interface, signal, parameters)

    def add_phone(self, address, name, adapter=ADAPTER, **properties):
        path = f"{adapter}/dev_{address.replace(':', '_')}"
        self.put(path, "org.bluez.Device1", **{"Address": address, "AddressType": "public", "Alias": name, "Name": name, "Paired": True,
                                               "Bonded": True, "Connected": True, "Class": 0x5A020C, **properties})
        return path

    def close(self):
        self._closing = True
        self._context.wakeup()
        self._thread.join()
        if not self._connection.is_closed():  # The bus may have gone before.
            self._connection.close_sync(None)


def element(kind, content):
    return bytes([kind << 3 | 6]) + struct.pack(">H", len(content)) + content


def sequence(*elements):
    return element(6, b"".join(elements))


def number16(value):
    return b"\x09" + struct.pack(">H", value)


def service_record(channel, uuid=SERVICE_UUID, name="Orvane", handle=0x10001):
    """As the phone's app publishes it."""
    parts = [number16(0), b"\x0a" + struct.pack(">I", handle)] if handle is not None else []
    if uuid:
        parts += [number16(1), sequence(b"\x1c" + uuid)]
    parts += [number16(4), sequence(sequence(b"\x19\x01\x00"), sequence(b"\x19\x00\x03", bytes([8, channel])))]
    if name:
        parts += [number16(0x100), element(4, name.encode())]
    return sequence(*parts)


def frame(kind, payload=b""):
    return kind.encode() + struct.pack(">I", len(payload)) + payload


class Link:
    """The phone's end of one RFCOMM connection."""

    def __init__(self, connection, adapter):
        self.socket = connection
        self.adapter = adapter
        self.socket.settimeout(20)
        self.received = bytearray()

    def send(self, data):
        self.socket.sendall(data)

    def frames(self):
        """What has come as whole frames so far, taken off."""
        found = []
        while len(self.received) >= 5:
            size = struct.unpack(">I", self.received[1:5])[0]
            if len(self.received) < 5 + size:
                break
            found.append((chr(self.received[0]), bytes(self.received[5:5 + size])))
            del self.received[:5 + size]
        return found

    def read(self, size):
        """The payloads of data frames, until there are so many bytes or no more come."""
        data = bytearray()
        while len(data) < size:
            for kind, payload in self.frames():
                assert kind == "d", kind
                data += payload
            if len(data) >= size:
                break
            try:
                piece = self.socket.recv(65536)
            except TimeoutError:
                break
            if not piece:
                break
            self.received += piece
        return bytes(data)

    def expect(self, kind):
        """Reads until one frame has come; returns its payload."""
        while not (found := self.frames()):
            piece = self.socket.recv(65536)
            assert piece, "the link has ended"
            self.received += piece
        assert found[0][0] == kind, found
        return found[0][1]

    def is_closed(self):
        self.socket.settimeout(0.01)
        try:
            return self.socket.recv(65536) == b""
        except TimeoutError:
            return False
        except OSError:
            return True
        finally:
            self.socket.settimeout(20)

    def close(self):
        self.socket.close()


class Phone:
    """Answers service queries with its records, each in a thread of its own, and accepts RFCOMM links on its channels."""

    def __init__(self, folder, address, channels=(7,), records=None):
        self.folder = folder
        self.address = address
        self.records = [service_record(channel, handle=0x10001 + at) for at, channel in enumerate(channels)] if records is None else records
        self.queries = []  # The adapter that each came from.
        self.trailing = b""  # Behind each answer's continuation.
        self.piece = 65535  # Bytes of the records in one answer, at most; the program has to ask on for the others.
        self.before_answer = lambda adapter: None  # Called before each answer: may hold it up.
        self._sdp = self._listen(f"sdp-{address}", socket.SOCK_SEQPACKET)
        self._channels = {channel: self._listen(f"rfcomm-{address}-{channel}", socket.SOCK_STREAM) for channel in channels}
        self._closing = False
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def _listen(self, name, kind):
        listener = socket.socket(socket.AF_UNIX, kind)
        listener.bind(str(self.folder / name))
        listener.listen(8)
        return listener

    @staticmethod
    def _adapter(peer):
        return Path(peer).name.split("-")[1]

    def _serve(self):
        self._sdp.settimeout(0.2)
        while not self._closing:
            try:
                connection, peer = self._sdp.accept()
            except TimeoutError:
                continue
            except OSError:
                return
            adapter = self._adapter(peer)
            self.queries.append(adapter)
            connection.settimeout(2)
            threading.Thread(target=self._answer, args=(connection, adapter), daemon=True).start()

    def _answer(self, connection, adapter):
        with connection, suppress(OSError):
            while request := connection.recv(4096):
                self.before_answer(adapter)
                lists = sequence(*self.records)
                begin = int.from_bytes(request[20:], "big")  # The continuation is where the last answer ended.
                end = begin + self.piece
                piece = lists[begin:end]
                continuation = struct.pack(">BH", 2, end) if end < len(lists) else b"\0"
                body = struct.pack(">H", len(piece)) + piece + continuation + self.trailing
                connection.send(b"\x07" + request[1:3] + struct.pack(">H", len(body)) + body)

    def link(self, channel=7, timeout=20, buffer=4096):
        """The next link that the program opens."""
        listener = self._channels[channel]
        listener.settimeout(timeout)
        connection, peer = listener.accept()
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, buffer)
        return Link(connection, self._adapter(peer))

    def is_called_within(self, seconds, channel=7):
        """True when another link is opened: for what must not happen."""
        try:
            self.link(channel, seconds).close()
        except TimeoutError:
            return False
        return True

    def close(self):
        self._closing = True
        for listener in [self._sdp, *self._channels.values()]:
            listener.close()
        self._thread.join()


class Server:
    """What the relay connects to, in the place of the real server's port."""

    def __init__(self, backlog=8):
        self._listener = socket.create_server(("127.0.0.1", 0), backlog=backlog)
        self.port = self._listener.getsockname()[1]

    def accept(self, timeout=20):
        self._listener.settimeout(timeout)
        connection, _ = self._listener.accept()
        connection.settimeout(20)
        return connection

    def fill(self):
        """Connections that nobody accepts, until the next one is not answered any more."""
        self._listener.listen(0)
        filling = []
        while True:
            filling.append(socket.socket())
            filling[-1].settimeout(0.2)
            try:
                filling[-1].connect(("127.0.0.1", self.port))
            except TimeoutError:
                return filling

    def close(self):
        self._listener.close()


class SystemLog:
    """The system's log as a daemon keeps it: what follows the name in each datagram."""

    def __init__(self, path):
        self.lines = []
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(str(path))
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        while packet := self._socket.recv(65536).decode():
            self.lines.append(packet.split("]: ", 1)[1])

    def close(self):
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as ender:
            ender.sendto(b"", self._socket.getsockname())
        self._thread.join()
        self._socket.close()


class BluetoothMachine:
    """A system bus with BlueZ, phones and a server's port."""

    def __init__(self):
        self.folder = temporary_folder("orvane-bt-")
        self.library = self.folder / "bluetooth_sockets.so"
        subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-o", self.library, HERE / "bluetooth_sockets.c", "-ldl"], check=True)
        (self.folder / "services").mkdir()
        (self.folder / "services/org.bluez.service").write_text(ACTIVATION.format(folder=self.folder))
        (self.folder / "bus.conf").write_text(BUS_CONFIG.format(folder=self.folder))
        self.bus_address = f"unix:path={self.folder}/bus"
        self._bus = subprocess.Popen(["dbus-daemon", "--nofork", "--print-address=1", f"--config-file={self.folder}/bus.conf"],
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        assert self._bus.stdout.readline(), "the system bus did not start"
        self.bluez = Bluez(self.bus_address)
        self.system_log = SystemLog(self.folder / "log")
        self.server = Server()
        self.phones = []

    def phone(self, address="AA:00:00:00:00:01", name="Pixel", channels=(7,), records=None, **properties):
        phone = Phone(self.folder, address, channels, records)
        self.phones.append(phone)
        phone.path = self.bluez.add_phone(address, name, **properties)
        return phone

    def worse(self, what, is_so=True):
        """A worse system: see bluetooth_sockets.c."""
        path = self.folder / what
        if is_so:
            path.touch()
        else:
            path.unlink()

    def log(self):
        """The lines of the system's log."""
        return list(self.system_log.lines)

    @property
    def bluez_was_started(self):
        return (self.folder / "bluez-was-started").exists()

    def environment(self):
        return {"DBUS_SYSTEM_BUS_ADDRESS": self.bus_address, "LD_PRELOAD": str(self.library),
                "ORVANE_TEST_BLUETOOTH": str(self.folder), "ORVANE_TEST_PORT": str(self.server.port)}

    def close(self):
        for phone in self.phones:
            phone.close()
        self.server.close()
        self.system_log.close()
        self.bluez.close()
        end(self._bus)
        shutil.rmtree(self.folder, ignore_errors=True)
