"""The server's TCP port as phones reach it: takes connections, keeps what they send, says what the test wants."""

import queue
import socket
import threading

from harness.waiting import wait_for

PATIENCE = 60


class AudioServer:
    def __init__(self):
        self._listener = socket.socket()
        self._listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self._listener.bind(("127.0.0.1", 5555))
        self._listener.listen(10)
        self._connections = queue.Queue()
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            self._connections.put(Connection(connection))

    def next_connection(self):
        return self._connections.get(timeout=PATIENCE)

    def __enter__(self):
        return self

    def __exit__(self, *details):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()


class Connection:
    def __init__(self, connection):
        self._socket = connection
        self.received = b""
        self.ended = False
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        pieces = []
        while True:
            try:
                piece = self._socket.recv(65536)
            except OSError:
                piece = b""
            if not piece:
                self.ended = True
                return
            pieces.append(piece)
            self.received = b"".join(pieces)

    def wait_received(self, count):
        wait_for(lambda: len(self.received) >= count, f"{count} bytes; {len(self.received)} came", PATIENCE)

    def wait_ended(self):
        wait_for(lambda: self.ended, "the end of the audio connection", PATIENCE)

    def send(self, data):
        self._socket.sendall(data)

    def keep_sending(self):
        """Sends and sends, as long as it is taken."""
        def run():
            try:
                while True:
                    self._socket.sendall(bytes(2000))
            except OSError:
                pass

        threading.Thread(target=run, daemon=True).start()

    def close(self):
        self._socket.shutdown(socket.SHUT_RDWR)
        self._socket.close()
