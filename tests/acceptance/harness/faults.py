"""What goes wrong outside, made on purpose."""

import functools
import os
import signal
import socket
import subprocess
import time
from collections import Counter
from contextlib import contextmanager
from pathlib import Path

from .folders import temporary_folder
from .installation import allowed_mib
from .lines import device_block, device_line, phone_block, session_line
from .machine import needs
from .processes import descriptors, end, own_mib, thread_names, zombies_of
from .waiting import wait_for

HERE = Path(__file__).parent
FULL = os.environ.get("ORVANE_FAULTS") == "FULL"
WAITING = "○ Waiting for phone…"
PROMPT = 3.0  # Seconds within which what does not depend on the fault must happen, also on a busy machine.


def times(few, many):
    """How often: many times with ORVANE_FAULTS=FULL."""
    return many if FULL else few


def timed(action):
    begin = time.monotonic()
    action()
    return time.monotonic() - begin


PHONE_REPORT = device_block(device_line("uid", "Loopback", 16)) + phone_block(session_line(7, "Kitchen"))


def show_phone(program):
    program.launch.say(PHONE_REPORT)
    program.menu().row("Phones: 1")


def channel_rows(program):
    menu = program.menu()
    menu.open()
    return menu.row("Phones: ").open()[0].open()[1:9]


def channels(program):
    """What the file says; None while there is none."""
    path = program.settings("channels")
    return path.read_bytes() if path.exists() else None


class Holdings:
    """What a program holds of the system at a moment: later, at rest, it may not hold more, nor any zombie."""

    # MiB of its own, however often the fault came. In all these tests, whose heap is 3 MiB, it differs by 0.3; whatever is left behind of a
    # hundred restarts or choices takes more as soon as it is 10 KiB each.
    MORE_MEMORY = allowed_mib(1)

    def __init__(self, program):
        self._program = program
        wait_for(lambda: thread_names(program.pid).count("orvane") == 1, "the last thread begun to bear its name")
        self.before = self.now()

    def now(self):
        pid = self._program.pid
        # Qt's pool keeps its threads for half a minute.
        threads = Counter(name for name in thread_names(pid) if name != "Thread (pooled)")
        return len(descriptors(pid)), threads, zombies_of(pid), own_mib(pid)

    def wait_until_as_before(self):
        def is_as_before():
            (files, threads, zombies, memory), (files_before, threads_before, _, memory_before) = self.now(), self.before
            return (files <= files_before and threads <= threads_before and zombies == [] and
                    memory <= memory_before + self.MORE_MEMORY)

        wait_for(is_as_before, f"{self.before} and not {self.now()}")


@functools.cache
def library():
    path = temporary_folder("orvane-faults-") / "faults.so"
    subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-o", path, HERE / "faults.c", "-ldl"], check=True)
    return path


class Faults:
    """Makes the system of one program a worse one, by a preloaded library (faults.c)."""

    def __init__(self, program):
        self._folder = program.folder / "faults"
        self._folder.mkdir()
        self.environment = {"LD_PRELOAD": str(library()), "ORVANE_TEST_FAULTS": str(self._folder),
                            "ORVANE_TEST_SETTINGS": str(program.home)}
        self._log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._log.bind(str(self._folder / "log"))
        self._log.setblocking(False)
        self._lines = []

    def put(self, name, text=""):
        new = self._folder / "new"
        new.write_text(text)
        new.rename(self._folder / name)

    def remove(self, name):
        (self._folder / name).unlink()

    @contextmanager
    def present(self, name, text=""):
        self.put(name, text)
        yield
        self.remove(name)

    def logged(self):
        """What the program has told the system's log so far."""
        try:
            while True:
                self._lines.append(self._log.recv(65536).decode())
        except BlockingIOError:
            return "\n".join(self._lines)

    def close(self):
        self._log.close()


@contextmanager
def silent_socket(path):
    """Accepts as far as the kernel does, and never says a word."""
    listener = socket.socket(socket.AF_UNIX)
    listener.bind(str(path))
    listener.listen(100)
    yield f"unix:path={path}"
    listener.close()


@contextmanager
def small_disk(folder, size):
    folder.mkdir(parents=True, exist_ok=True)
    mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "none", folder], capture_output=True)
    needs(mounted.returncode == 0, "the right to mount (in a container: --privileged)")
    try:
        yield
    finally:
        subprocess.run(["umount", "-l", folder], check=True)


class SessionBus:
    """A session bus of its own at an address that stays the same, as that of a user's session does."""

    def __init__(self, desktop, folder):
        self._desktop = desktop
        self.bus_address = f"unix:path={folder}/session-bus"
        self._folder = folder
        self.start()

    def start(self):
        (self._folder / "session-bus").unlink(missing_ok=True)
        self._process = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address={self.bus_address}"],
                                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        assert self._process.stdout.readline()

    def connect(self):
        return self._desktop.connect_to(self.bus_address)

    @contextmanager
    def hung(self):
        self._process.send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            self._process.send_signal(signal.SIGCONT)

    def die(self):
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()

    def close(self):
        end(self._process)
        self._process.stdout.close()
