"""The terminal surface, on a pseudo-terminal or at the end of a pipe."""

import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import termios
import threading

from .waiting import wait_for


class Terminal:
    def __init__(self, program, *arguments, tty=True, **environment):
        self.data = b""
        self.tty = tty
        self._seen = 0
        environment = {"DISPLAY": None, "WAYLAND_DISPLAY": None, **environment}
        self._reader, theirs = pty.openpty() if tty else os.pipe()
        if tty:
            fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 120, 0, 0))
        self.process = subprocess.Popen([str(program.path), *arguments], cwd=program.folder / "here",
                                        env=program.environment(**environment), stdout=theirs, stderr=theirs,
                                        stdin=theirs if tty else subprocess.PIPE,
                                        preexec_fn=_take_terminal if tty else None)
        os.close(theirs)
        program.process = self.process
        self.pid = self.process.pid
        self._hung_up = threading.Event()
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        while not self._hung_up.is_set():
            if not select.select([self._reader], [], [], 0.05)[0]:
                continue
            try:
                piece = os.read(self._reader, 65536)
            except OSError:
                return
            if not piece:
                return
            self._take(piece)

    def _take(self, piece):
        self.data += piece

    def mode(self):
        """The terminal's local modes, as in termios(3)."""
        return termios.tcgetattr(self._reader)[3]

    def hang_up(self):
        """Closes the terminal's window, or the reading end of the pipe."""
        if self._hung_up.is_set():
            return
        self._hung_up.set()
        self._thread.join()
        os.close(self._reader)

    @property
    def text(self):
        """Everything printed so far, without the terminal's own line ends."""
        return self.data.decode(errors="replace").replace("\r\n", "\n")

    def send(self, line):
        """Types a line."""
        data = line.encode() + b"\n"
        if self.tty:
            os.write(self._reader, data)
        else:
            self.process.stdin.write(data)
            self.process.stdin.flush()

    def press(self, key):
        os.write(self._reader, key)

    def end_input(self):
        """Closes the input, or presses Control-D."""
        if self.tty:
            self.press(b"\x04")
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
        self.hang_up()
        if not self.tty:
            try:
                self.process.stdin.close()
            except BrokenPipeError:
                pass


def _take_terminal():
    """In the child: makes its standard input the terminal of a session of its own, as a login does."""
    os.setsid()
    fcntl.ioctl(0, termios.TIOCSCTTY, 0)


def started(program, **details):
    """For a fixture: the program on a terminal or a pipe, its menu shown."""
    terminal = Terminal(program, *details.pop("arguments", ()), **details)
    terminal.program = program
    terminal.launch = program.server.next_launch()
    terminal.expect("Quit Orvane")
    yield terminal
    terminal.close()
