"""Where everything is measured: a desktop without a screen, a panel's tray, and what is needed now and then."""

import os
import shutil
import subprocess
import time
from contextlib import ExitStack, contextmanager

from harness.bluetooth import BluetoothMachine
from harness.desktop import Desktop
from alone import files_of
from harness.folders import temporary_folder
from harness.processes import children
from harness.sound import SoundServer
from harness.tray import Tray
from harness.waiting import wait_for
from programs import BARE, Orvane, Peer, tool

PEERS = ("qlipper", "pasystray", "copyq")


class PunctualTray(Tray):
    """Notes when an icon was registered last."""

    registered = 0

    def _called(self, connection, sender, path, interface, method, *rest):
        if method == "RegisterStatusNotifierItem":
            self.registered = time.perf_counter()
        super()._called(connection, sender, path, interface, method, *rest)


class Scene:
    def __init__(self, quick):
        self.quick = quick
        self.rounds = self.choose(2, 5)
        self.folder = temporary_folder("orvane-bench-")
        self.desktop = Desktop(accessible=False)
        self.tray = PunctualTray(self.desktop)
        self.sound = SoundServer(("loopback", 16))

    def choose(self, quickly, fully):
        return quickly if self.quick else fully

    def orvane(self, adb=None):
        """The program; without adb it is measured without what starting another program costs."""
        return Orvane(self, adb=adb)

    def peer_commands(self):
        installed = [] if self.quick else [name for name in PEERS if shutil.which(name)]
        return {BARE: tool("bare_tray"), **{name: name for name in installed}}

    def peers(self):
        """Name → another program with an icon in the tray."""
        return {name: Peer(self, command) for name, command in self.peer_commands().items()}

    @staticmethod
    @contextmanager
    def using(*things):
        """Closes them afterwards, the last first."""
        with ExitStack() as stack:
            for thing in things:
                stack.callback(thing.close)
            yield

    @contextmanager
    def bluetooth(self):
        machine = BluetoothMachine()
        with self.using(machine):
            yield machine

    @contextmanager
    def running(self, wrap):
        """The program in the tray, with something around it that may want to be closed."""
        program = self.orvane()
        with self.using(program):
            wrapped = wrap(program.start_in_tray(self.tray))
            with self.using(*[wrapped] if hasattr(wrapped, "close") else []):
                yield wrapped

    def show_log(self, program):
        program.menu().row("Show Log").click()
        wait_for(lambda: "Orvane Server Log" in self.desktop.visible_windows(), "the log window")

    @staticmethod
    def limit(what, *arguments):
        return float(subprocess.run([tool("limits"), what, *map(str, arguments)], check=True, capture_output=True).stdout)

    def files(self):
        """What the scene itself has mapped of the system's files: on a desktop, too, programs have these in common."""
        found = files_of(os.getpid())
        for pid in children(os.getpid()):
            found |= files_of(pid)
        return found

    def close(self):
        self.sound.close()
        self.tray.close()
        self.desktop.close()
        shutil.rmtree(self.folder, ignore_errors=True)
