"""The terminal surface, on a pseudo-terminal or at the end of a pipe."""

import fcntl
import os
import pty
import re
import struct
import subprocess
import termios
import threading

from .waiting import wait_for


class Terminal:
    def __init__(self, program, *arguments, tty=True, **environment):
        self.data = b""
        no_display = {"DISPLAY": None, "WAYLAND_DISPLAY": None}
        self._seen = 0
        if tty:
            self._master, slave = pty.openpty()
            fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 120, 0, 0))
            ends = {"stdin": slave, "stdout": slave, "stderr": slave, "start_new_session": True}
        else:
            self._reader, slave = os.pipe()
            ends = {"stdin": subprocess.PIPE, "stdout": slave, "stderr": slave}
        self.tty = tty
        self.process = subprocess.Popen([str(program.path), *arguments], cwd=program.folder / "here",
                                        env=program.environment(**{**no_display, **environment}), **ends)
        os.close(slave)
        program.process = self.process
        self.pid = self.process.pid
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        descriptor = self._master if self.tty else self._reader
        while True:
            try:
                piece = os.read(descriptor, 65536)
            except OSError:
                return
            if not piece:
                return
            self.data += piece

    @property
    def text(self):
        """Everything printed so far, without the terminal's own line ends."""
        return self.data.decode(errors="replace").replace("\r\n", "\n")

    def send(self, line):
        """Types a line."""
        data = line.encode() + b"\n"
        if self.tty:
            os.write(self._master, data)
        else:
            self.process.stdin.write(data)
            self.process.stdin.flush()

    def end_input(self):
        """Closes the input, or presses Control-D."""
        if self.tty:
            os.write(self._master, b"\x04")
        else:
            self.process.stdin.close()

    def mark(self):
        """What `expect` finds from now on comes after this."""
        self._seen = len(self.data)

    @property
    def new_text(self):
        return self.data[self._seen:].decode(errors="replace").replace("\r\n", "\n")

    def expect(self, text):
        wait_for(lambda: text in self.new_text, f"{text!r} on the terminal; it shows {self.new_text[-2000:]!r}")

    def control_characters(self):
        """The control characters printed, except for line ends and tabs."""
        return set(re.findall(r"[\x00-\x08\x0b-\x1f\x7f\x80-\x9f\u202a-\u202e\u2066-\u2069]",
                              self.text.replace("\r", "")))

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        if self.tty:
            os.close(self._master)
        elif self.process.stdin:
            try:
                self.process.stdin.close()
            except BrokenPipeError:
                pass
