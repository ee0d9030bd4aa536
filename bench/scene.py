"""Where everything is measured: a desktop without a screen, a panel's tray, and what is needed now and then."""

import shutil
import subprocess
from contextlib import ExitStack, contextmanager

from harness.bluetooth import BluetoothMachine
from harness.desktop import Desktop
from harness.folders import temporary_folder
from harness.tray import Tray
from programs import Orvane, tool


class Scene:
    def __init__(self, quick):
        self.quick = quick
        self.rounds = self.choose(3, 7)
        self.folder = temporary_folder("orvane-bench-")
        self.desktop = Desktop(accessible=False)
        self.tray = Tray(self.desktop)

    def choose(self, quickly, fully):
        return quickly if self.quick else fully

    def orvane(self, **details):
        return Orvane(self.desktop, **details)

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

    @staticmethod
    def limit(what, *arguments):
        return float(subprocess.run([tool("limits"), what, *map(str, arguments)], check=True, capture_output=True).stdout)

    def close(self):
        self.tray.close()
        self.desktop.close()
        shutil.rmtree(self.folder, ignore_errors=True)
