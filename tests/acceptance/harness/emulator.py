"""A terminal's window as a person sees it: tmux, which keeps a screen, tells what stands on it, and changes its size."""

import os
import subprocess

from .waiting import wait_for


class Emulator:
    def __init__(self, program, command, columns=100, rows=40, **environment):
        self._program = program
        self._environment = program.environment(**{"DISPLAY": None, "WAYLAND_DISPLAY": None, "TMUX": None, **environment})
        self._socket = str(program.folder / "tmux")
        self._tmux("-f", "/dev/null", "new-session", "-d", "-x", str(columns), "-y", str(rows), command)

    def _tmux(self, *arguments):
        return subprocess.run(["tmux", "-S", self._socket, *arguments], env=self._environment, check=True, timeout=20,
                              cwd=self._program.folder / "here", capture_output=True, text=True).stdout

    def type(self, text):
        self._tmux("send-keys", "-l", text)

    def press(self, *keys):
        """Keys by tmux's names: Enter, Up, Home, Tab, C-z, …"""
        self._tmux("send-keys", *keys)

    def resize(self, columns, rows=40):
        """Until the program can know of it: tmux turns its screen at once, and tells a little later."""
        self._tmux("resize-window", "-x", str(columns), "-y", str(rows))
        terminal = os.open(self._tmux("display-message", "-p", "#{pane_tty}").strip(), os.O_RDONLY | os.O_NOCTTY)
        try:
            wait_for(lambda: os.get_terminal_size(terminal) == (columns, rows), "the terminal's new size")
        finally:
            os.close(terminal)

    @property
    def lines(self):
        """What stands on the screen, without the empty lines below it."""
        return [line.rstrip() for line in self._tmux("capture-pane", "-p").rstrip("\n").split("\n")]

    @property
    def cursor(self):
        """Column and row, from 0."""
        return tuple(map(int, self._tmux("display-message", "-p", "#{cursor_x} #{cursor_y}").split()))

    def expect_last(self, *lines):
        """Waits until the screen ends in these lines."""
        wait_for(lambda: self.lines[-len(lines):] == list(lines), f"{lines} at the end of {self.lines}")

    def expect(self, text):
        wait_for(lambda: text in "\n".join(self.lines), f"{text!r} on the screen")

    def close(self):
        subprocess.run(["tmux", "-S", self._socket, "kill-server"], capture_output=True, timeout=20)
