"""The machine has no system logger: this takes its place."""

import os
import socket
import threading


class SystemLog:
    def __init__(self):
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        if os.path.lexists("/dev/log"):
            os.unlink("/dev/log")
        self._socket.bind("/dev/log")
        self._lines = []
        self._begin = 0
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        while True:
            self._lines.append(self._socket.recv(65536).decode(errors="replace"))

    def begin(self):
        """`lines` is about what comes from now on."""
        self._begin = len(self._lines)

    def lines(self):
        return self._lines[self._begin:]

    def count(self, text):
        return sum(text in line for line in self.lines())
