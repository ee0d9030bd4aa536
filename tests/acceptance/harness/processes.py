"""Processes as /proc shows them. Whatever loses its parent here becomes a child of the tests."""

import contextlib
import ctypes
import os
import re
import signal
import subprocess
import time
from pathlib import Path

from .waiting import wait_for

PR_SET_CHILD_SUBREAPER = 36


def adopt_orphans():
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def hand_down_default_signals():
    """Programs inherit which signals are ignored (as under nohup, or in a script's background) and blocked: the ones under test must not. A
    signal that is caught here, to no effect, is ignored here and at its default in a child."""
    for number in set(signal.Signals) - {signal.SIGKILL, signal.SIGSTOP}:
        if signal.getsignal(number) == signal.SIG_IGN:
            signal.signal(number, lambda *_: None)
    signal.pthread_sigmask(signal.SIG_SETMASK, [])


def end_orderly_by_signals():
    """Whoever ends a run by SIGTERM or SIGHUP (timeout, a runner of jobs, a terminal that goes) gets it tidied up as by Ctrl-C: once, since
    some of them send the signal to the run and then to its whole group, and the tidying is not to be interrupted."""
    numbers = (signal.SIGTERM, signal.SIGHUP)

    def interrupt(*_):
        for number in numbers:
            signal.signal(number, lambda *_: None)
        raise KeyboardInterrupt

    for number in numbers:
        if signal.getsignal(number) == signal.SIG_DFL:
            signal.signal(number, interrupt)


def prepare_run():
    """What whoever starts programs under test does first."""
    adopt_orphans()
    hand_down_default_signals()
    end_orderly_by_signals()


def reap(pid):
    """Takes the exit status of an adopted orphan; the children that subprocess started are left to it."""
    try:
        os.waitpid(pid, os.WNOHANG)
    except ChildProcessError:
        pass


def stat_fields(pid):
    try:
        return Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    except (FileNotFoundError, ProcessLookupError):
        return None


def alive(pid):
    """A zombie is not alive."""
    fields = stat_fields(pid)
    return fields is not None and fields[0] not in "ZX"


def family():
    """Every process's children, zombies among them."""
    found = {}
    for entry in os.listdir("/proc"):
        fields = stat_fields(entry) if entry.isdigit() else None
        if fields:
            found.setdefault(int(fields[1]), []).append(int(entry))
    return found


def children(pid):
    return family().get(pid, [])


def descendants(pid):
    everyone = family()
    found = []
    waiting = [pid]
    while waiting:
        more = everyone.get(waiting.pop(), [])
        found += more
        waiting += more
    return found


def zombies_of(pid):
    return [child for child in children(pid) if (stat_fields(child) or "?")[0] == "Z"]


def descriptors(pid):
    """Descriptor → what it leads to."""
    found = {}
    for name in os.listdir(f"/proc/{pid}/fd"):
        try:
            found[int(name)] = os.readlink(f"/proc/{pid}/fd/{name}")
        except FileNotFoundError:
            pass
    return found


def maps(pid):
    """What a process has mapped, as /proc lists it."""
    return Path(f"/proc/{pid}/maps").read_text()


def thread_names(pid):
    names = []
    for thread in os.listdir(f"/proc/{pid}/task"):
        try:
            names.append(Path(f"/proc/{pid}/task/{thread}/comm").read_text().strip())
        except (FileNotFoundError, ProcessLookupError):
            pass
    return names


def resident_mib(pid):
    return status_mib(pid, "VmRSS")


def own_mib(pid):
    """Resident memory that comes from no file, as the heap. Pages that a child being made shares for a moment count as ever."""
    return status_mib(pid, "RssAnon")


def status_mib(pid, name):
    found = re.search(rf"^{name}:\s+(\d+)", Path(f"/proc/{pid}/status").read_text(), re.MULTILINE)
    return int(found[1]) / 1024 if found else 0


def cpu_seconds(pid):
    """The processor time of a process, its ended threads included and its children not, to the nanosecond."""
    return time.clock_gettime((~pid << 3) | 2)


class Answers:
    """How soon the menu answers. Program, bus and asker may stand in line for a processor meanwhile: no fault of their own."""

    def __init__(self, program):
        self._threads = set().union(*map(answering_threads, (program.pid, "self", program.desktop.bus_pid)))

    def ask(self, menu):
        """The seconds that this menu's answer took: in all, and without those in line."""
        return self.time(menu.revision)

    def time(self, action):
        """The seconds that this took, which asks the menu: in all, and without those in line."""
        waited = seconds_waited(self._threads)
        begin = time.monotonic()
        action()
        took = time.monotonic() - begin
        return took, max(0, took - (seconds_waited(self._threads) - waited))  # They may stand in line side by side.


def answering_threads(pid):
    """Of a program's threads those that answer: the first one, and Qt's for D-Bus."""
    found = {Path(f"/proc/{pid}/task/{os.getpid() if pid == 'self' else pid}")}
    for _ in range(5):  # Where threads come and go, a listing may pass one over.
        for task in Path(f"/proc/{pid}/task").iterdir():
            with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                if (task / "comm").read_text() == "QDBusConnection\n":
                    found.add(task)
    return found


def seconds_waited(threads):
    """How long they stood in line for a processor."""
    return sum(int((task / "schedstat").read_text().split()[1]) for task in threads) / 1e9


def command_line(pid):
    try:
        return Path(f"/proc/{pid}/cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace").strip()
    except (FileNotFoundError, ProcessLookupError):
        return ""


def end(process, number=signal.SIGTERM):
    """Ends a subprocess.Popen and returns its status."""
    if process.poll() is None:
        process.send_signal(number)
        try:
            process.wait(5)
        except Exception:
            process.kill()
    return process.wait()


@contextlib.contextmanager
def stranger(command):
    """A process of another user, for root to run; ends with the block."""
    number = 54321
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True,
                               user=number, group=number, extra_groups=[])
    try:
        yield process
    finally:
        process.kill()
        process.communicate()


def end_orphans(keep=()):
    """Kills every descendant of the tests but those in `keep`, and returns their command lines."""
    killed = []
    for pid in descendants(os.getpid()):
        if pid in keep or not alive(pid):
            reap(pid)
            continue
        killed.append(f"{pid}: {command_line(pid)}")
        os.kill(pid, signal.SIGKILL)

        def gone():
            reap(pid)
            return not alive(pid)

        wait_for(gone, f"the end of {pid}")
    return killed
