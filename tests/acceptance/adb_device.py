"""A phone as adb sees it: a small adb device daemon on a TCP port of 127.0.0.1.

It speaks adb's transport protocol (24-byte messages CNXN, AUTH, OPEN, OKAY, WRTE, CLSE) as far as the commands
need it that Orvane runs: `shell getprop ro.product.model` and the `reverse` services. The phone's user is the
test: `authorize()` accepts the computer, `forget_tunnels()` loses the tunnels, `unplug()` goes away.
"""

import os
import socket
import struct
import threading

HEADER = struct.Struct("<6I")
VERSION = 0x01000001
MAX_PAYLOAD = 256 * 1024
AUTH_TOKEN, AUTH_SIGNATURE, AUTH_PUBLIC_KEY = 1, 2, 3


def command(name):
    return int.from_bytes(name.encode(), "little")


CNXN, AUTH, OPEN, OKAY, WRTE, CLSE = map(command, ("CNXN", "AUTH", "OPEN", "OKAY", "WRTE", "CLSE"))


def sized(text):
    """A text as adb's services send it: four hexadecimal digits of length, then the text."""
    data = text.encode()
    return f"{len(data):04x}".encode() + data


class Stream:
    """One service that the computer has opened: its answer, sent piece by piece as the computer takes it."""

    def __init__(self, computer_id, answer):
        self.computer_id = computer_id
        self.pieces = [answer[at:at + MAX_PAYLOAD] for at in range(0, len(answer), MAX_PAYLOAD)]


class AdbDevice:
    def __init__(self, model="Pixel 7", authorized=True):
        self.model = model
        self.tunnels = {}  # the phone's side: the computer's side
        self.services = []  # every service asked for, in order
        self.authorized = authorized
        self._lock = threading.RLock()
        self._connection = None
        self._waiting = None  # a connection that waits for the user to accept the computer
        self._listener = None
        self.plug_in()

    @property
    def address(self):
        return f"127.0.0.1:{self.port}"

    def plug_in(self):
        port = getattr(self, "port", 0)
        self._listener = socket.create_server(("127.0.0.1", port))
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, args=(self._listener,), daemon=True).start()

    def unplug(self):
        """The phone loses its tunnels, as one does that is no longer attached."""
        with self._lock:
            for end in (self._listener, self._connection):
                if end:
                    try:
                        end.shutdown(socket.SHUT_RDWR)
                    except OSError:
                        pass
                    end.close()
            self._listener = self._connection = self._waiting = None
            self.tunnels.clear()

    def authorize(self):
        with self._lock:
            self.authorized = True
            if self._waiting:
                self._send_banner(self._waiting)
                self._waiting = None

    def forget_tunnels(self):
        with self._lock:
            self.tunnels.clear()

    # The wire.

    def _accept(self, listener):
        while True:
            try:
                connection, _ = listener.accept()
            except OSError:
                return
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            with self._lock:
                self._connection = connection
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        streams = {}
        try:
            while True:
                name, first, second, length, _, _ = HEADER.unpack(self._receive(connection, HEADER.size))
                payload = self._receive(connection, length)
                with self._lock:
                    self._handle(connection, streams, name, first, second, payload)
        except (OSError, EOFError):
            connection.close()

    @staticmethod
    def _receive(connection, length):
        data = b""
        while len(data) < length:
            piece = connection.recv(length - len(data))
            if not piece:
                raise EOFError
            data += piece
        return data

    @staticmethod
    def _send(connection, name, first, second, payload=b""):
        header = HEADER.pack(name, first, second, len(payload), sum(payload) & 0xFFFFFFFF, name ^ 0xFFFFFFFF)
        connection.sendall(header + payload)

    def _send_banner(self, connection):
        banner = f"device::ro.product.name=test;ro.product.model={self.model};ro.product.device=test;features="
        self._send(connection, CNXN, VERSION, MAX_PAYLOAD, banner.encode())

    def _handle(self, connection, streams, name, first, second, payload):
        if name == CNXN:
            if self.authorized:
                self._send_banner(connection)
            else:
                self._send(connection, AUTH, AUTH_TOKEN, 0, os.urandom(20))
        elif name == AUTH and first == AUTH_SIGNATURE:
            # No key is known here: the computer is asked again until it shows its public key to the user.
            self._send(connection, AUTH, AUTH_TOKEN, 0, os.urandom(20))
        elif name == AUTH and first == AUTH_PUBLIC_KEY:
            if self.authorized:
                self._send_banner(connection)
            else:
                self._waiting = connection
        elif name == OPEN:
            self._open(connection, streams, first, payload.rstrip(b"\0").decode())
        elif name == OKAY:
            self._go_on(connection, streams, second)
        elif name == CLSE:
            streams.pop(second, None)

    def _open(self, connection, streams, computer_id, service):
        self.services.append(service)
        answer = self._answer(service)
        if answer is None:
            self._send(connection, CLSE, 0, computer_id)
            return
        stream_id = max(streams, default=0) + 1
        streams[stream_id] = Stream(computer_id, answer)
        self._send(connection, OKAY, stream_id, computer_id)
        self._go_on(connection, streams, stream_id)

    def _go_on(self, connection, streams, stream_id):
        """Sends the next piece; one is under way at a time, the computer's OKAY asks for the next."""
        stream = streams.get(stream_id)
        if not stream:
            return
        if stream.pieces:
            self._send(connection, WRTE, stream_id, stream.computer_id, stream.pieces.pop(0))
        else:
            del streams[stream_id]
            self._send(connection, CLSE, stream_id, stream.computer_id)

    # The services.

    def _answer(self, service):
        if service == "shell:getprop ro.product.model":
            return (self.model + "\n").encode()
        if service == "reverse:list-forward":
            listing = "".join(f"(reverse) {phone} {computer}\n" for phone, computer in self.tunnels.items())
            return sized(listing)
        if service.startswith("reverse:forward:"):
            phone, computer = service.removeprefix("reverse:forward:").split(";")
            self.tunnels[phone] = computer
            return b"OKAY"
        if service.startswith("reverse:killforward:"):
            phone = service.removeprefix("reverse:killforward:")
            known = self.tunnels.pop(phone, None)
            return b"OKAY" if known else b"FAIL" + sized(f"listener '{phone}' not found")
        return None
