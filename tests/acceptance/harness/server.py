"""The test's side of the scripted server beside the program."""

import fcntl
import json
import os
import shutil
import signal
import socket
import sys
import termios
from pathlib import Path

from .processes import alive, reap, stat_fields
from .waiting import PATIENCE, wait_for

HERE = Path(__file__).parent


class ScriptedServer:
    """Installs the server in a program's folder and hands out each of its launches."""

    def __init__(self, folder, describe_program):
        self._describe_program = describe_program
        self.folder = folder / "told"
        self.folder.mkdir()
        self.path = folder / "bin" / "orvaned"
        shutil.copy(HERE / "scripted_orvaned.py", self.folder)
        self.install()
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(self.folder / "control"))
        self._listener.listen(100)

    def install(self):
        """Through a rename: a running server of that name does not stand in the way."""
        self.put((HERE / "scripted_orvaned.sh").read_text())

    def put(self, text, mode=0o755):
        """Puts another script in the server's place."""
        new = self.path.with_name("new")
        new.write_text(text)
        new.chmod(mode)
        new.rename(self.path)

    def next_launch(self, timeout=PATIENCE):
        self._listener.settimeout(timeout)
        try:
            connection, _ = self._listener.accept()
        except TimeoutError:
            raise AssertionError(f"no server was launched within {timeout:.0f} s; {self._describe_program()}") from None
        return Launch(connection, self.folder)

    def launched_again(self, within):
        """True when another launch comes within so many seconds: for what must not happen."""
        try:
            self.next_launch(within)
        except AssertionError:
            return False
        return True

    def close(self):
        self._listener.close()


def unread_bytes(pipe):
    return int.from_bytes(fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)), sys.byteorder)


class Launch:
    """One running server."""

    def __init__(self, connection, folder):
        connection.settimeout(60)
        self._connection = connection
        self._stream = connection.makefile("rwb")
        facts = json.loads(self._stream.readline())
        self.pid = facts["pid"]
        self.parent = facts["parent"]
        self.arguments = facts["arguments"]
        self.working_folder = facts["folder"]
        self.descriptors = facts["descriptors"]  # number → what it leads to
        self._folder = folder

    def noted(self, name):
        """What /proc said of the process when it began: its "environ" or its "status"."""
        return (self._folder / f"{name}.{self.pid}").read_bytes()

    def signal_sets(self):
        """The signals ignored and the signals blocked when it began."""
        lines = (line.split(":") for line in self.noted("status").decode().splitlines() if ":" in line)
        status = {line[0]: line[1] for line in lines}
        return int(status["SigIgn"], 16), int(status["SigBlk"], 16)

    def _do(self, what, **details):
        self._stream.write(json.dumps({"do": what, **details}).encode() + b"\n")
        self._stream.flush()
        return self._stream.readline()

    def say(self, text, error=False):
        """Prints the text (or bytes) in one write."""
        data = text if isinstance(text, bytes) else text.encode()
        assert self._do("write", hex=data.hex(), error=error), "the server has gone"

    def flood(self, piece, times):
        """Takes as long as the program takes to read it all."""
        data = piece if isinstance(piece, bytes) else piece.encode()
        self._connection.settimeout(600)
        assert self._do("flood", hex=data.hex(), times=times), "the server has gone"

    def wait_until_read(self):
        """Until the program has taken all that was said: what comes next is a read of its own."""
        with open(f"/proc/{self.pid}/fd/1", "wb", buffering=0) as pipe:
            wait_for(lambda: unread_bytes(pipe) == 0, "all to be read")

    def close_output(self):
        self._do("close")

    def ignore(self, signal_name="SIGTERM"):
        self._do("ignore", signal=signal_name)

    def exit(self, status):
        self._do("exit", status=status)

    def kill(self, number=signal.SIGKILL):
        os.kill(self.pid, number)

    @property
    def began(self):
        """When it became a process, by CLOCK_BOOTTIME."""
        return int(stat_fields(self.pid)[19]) / os.sysconf("SC_CLK_TCK")

    @property
    def alive(self):
        reap(self.pid)
        return alive(self.pid)

    def wait_until_gone(self, timeout=PATIENCE):
        wait_for(lambda: not self.alive, f"the end of server {self.pid}", timeout)


# A server that says how it was ended; its first words and its last are given as commands.
TELLING = """#!/bin/sh
trap '{last_words}; echo asked > "{folder}/ended"; exit 0' TERM
{first_words}
echo began > "{folder}/began"
while :; do sleep 0.02; done
"""


def put_telling_server(program, first_words=":", last_words=":"):
    program.server.put(TELLING.format(folder=program.folder, first_words=first_words, last_words=last_words))


def wait_for_beginning(program):
    wait_for((program.folder / "began").exists, "the server to begin")


def was_asked(program):
    return (program.folder / "ended").exists()
