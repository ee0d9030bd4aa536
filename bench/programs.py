"""The programs that are measured, in the acceptance tests' surroundings."""

import os
import shutil
import subprocess
import threading
import time

from harness.folders import temporary_folder
from harness.installation import BUILD
from harness.processes import cpu_seconds, end, stat_fields
from harness.program import Program
from harness.terminal import Terminal
from harness.waiting import wait_for

# A server, or who stands in a peer's place: prints the files that it is told, and tells of it.
OBEDIENT_SERVER = """#!/bin/sh
exec 3<'{orders}' 4>'{done}'
while read -r files <&3; do cat $files{then}; echo >&4; done
"""

BARE = "bare Qt tray"  # The least that a program with Qt's widgets can be, as the table calls it.


class Orders:
    """A queue of the files that a shell is to print."""

    def __init__(self, folder):
        # Open both ways, so that neither side ever waits for the other, nor sees an end.
        self._orders, self._done = (self._queue(folder / name) for name in ("orders", "done"))
        self._folder = folder
        self._given = 0

    @staticmethod
    def _queue(path):
        os.mkfifo(path)
        return os.open(path, os.O_RDWR | os.O_CLOEXEC)

    def script(self, then=""):
        return OBEDIENT_SERVER.format(orders=self._folder / "orders", done=self._folder / "done", then=then)

    def give(self, *files):
        """Has them printed, one after the other; returns the time of the order."""
        self._given += 1
        begin = time.perf_counter()
        os.write(self._orders, (" ".join(map(str, files)) + "\n").encode())
        return begin

    def wait_until_printed(self):
        while self._given > 0:
            self._given -= len(os.read(self._done, 4096))

    def close(self):
        os.close(self._orders)
        os.close(self._done)


class Surface:
    """What the program shows, and when it did."""

    def __init__(self):
        self._shown = threading.Condition()
        self._last = ("", 0)

    def show(self, text):
        with self._shown:
            self._last = (text, time.perf_counter())
            self._shown.notify_all()

    def wait_for(self, text, timeout=60):
        """When it was shown. What came before it is forgotten."""
        with self._shown:
            assert self._shown.wait_for(lambda: text in self._last[0], timeout), f"waited in vain for {text!r}"
            return self._last[1]


class TimedTerminal(Terminal):
    def __init__(self, *arguments, **details):
        self.surface = Surface()
        self._tail = ""
        super().__init__(*arguments, **details)

    def _take(self, piece):
        self._tail = (self._tail + piece.decode(errors="replace"))[-200000:]
        self.surface.show(self._tail)


class Orvane(Program):
    """The built program with a server that prints files, on a panel or a terminal; with a Bluetooth machine or without one."""

    leaves_by_menu = True

    def __init__(self, scene, adb):
        super().__init__(scene.desktop, scripted=False, adb=adb)
        self._scene = scene
        self.terminal = None
        self.orders = Orders(self.folder)
        self.put_script("bin/orvaned", self.orders.script())

    def environment(self, **changes):
        # As on a desktop without a screen reader, which costs memory and messages.
        return super().environment(**{"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": None, "PULSE_SERVER": self._scene.sound.address, **changes})

    def start_in_tray(self, tray, **environment):
        tray.forget_items()
        self.start(tray=tray, **environment)
        self._item = tray.wait_for_item()
        self.surface = Surface()
        self._listen(tray)
        return self

    def item(self):
        return self._item

    def _listen(self, tray):
        """Reads the menu as a panel does, and follows what is told of it."""
        self.menu().rows()
        surface, owner = self.surface, self._item.owner()

        class Ear:
            @staticmethod
            def append(told):
                if told[0] == owner:
                    surface.show(str(told[2]))

        tray._ears.append(Ear)

    def start_on_terminal(self, **environment):
        self.terminal = TimedTerminal(self, "--terminal", **environment)
        self.surface = self.terminal.surface
        return self

    def close(self):
        super().close()
        self.orders.close()
        if self.terminal:
            self.terminal.hang_up()


class Peer:
    """Another program with an icon in the tray, in a folder of its own."""

    def __init__(self, scene, command):
        self.folder = temporary_folder("orvane-peer-")
        self._scene = scene
        self._command = str(command)
        self.leaves_by_menu = command != "copyq"  # Which asks whether one is sure.
        self.process = None

    def start(self):
        environment = {"HOME": str(self.folder), "PATH": "/usr/bin:/bin", "LANG": "C.UTF-8", "XDG_RUNTIME_DIR": str(self.folder),
                       "PULSE_SERVER": self._scene.sound.address, **self._scene.desktop.environment()}
        self.process = quietly([self._command], env=environment, cwd=self.folder)
        return self

    @property
    def pid(self):
        return self.process.pid

    def close(self):
        if self.process:
            end(self.process)
        shutil.rmtree(self.folder, ignore_errors=True)


class BareTerminal:
    """The least that a program with Qt and without a screen can be."""

    NAME = "bare Qt without a screen"

    def start(self):
        """Until it says something."""
        self._process = subprocess.Popen([tool("bare_terminal")], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        assert self._process.stdout.readline()
        return self

    @property
    def pid(self):
        return self._process.pid

    def close(self):
        end(self._process)
        self._process.stdout.close()


def quietly(command, **details):
    return subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL, **details)


def tool(name):
    """One of the programs that are built beside the benchmarks."""
    return BUILD / "bench" / name


def settled(pid):
    """Waits until a process has nothing more to do."""
    def rests():
        before = cpu_seconds(pid)
        for _ in range(10):
            time.sleep(0.01)
            if any(stat_fields(f"{pid}/task/{thread}")[0] == "R" for thread in os.listdir(f"/proc/{pid}/task")):
                return False
        return cpu_seconds(pid) - before < 0.002

    wait_for(rests, "the program to rest")
