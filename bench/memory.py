"""What the program keeps in memory when it has nothing to do, and after a busy hour."""

import os
import re
import sys
import time
from pathlib import Path

from harness.program import QUIET_ADB
from programs import settled
from rows import Row
from stream import write_hour


def megabytes(pid):
    """(its share of what it has mapped, what it alone has)."""
    told = dict(re.findall(r"^(\w+): +(\d+) kB$", Path(f"/proc/{pid}/smaps_rollup").read_text(), re.MULTILINE))
    return int(told["Pss"]) / 1000, (int(told["Private_Clean"]) + int(told["Private_Dirty"])) / 1000


def programs_with_qt(but):
    found = []
    for entry in os.listdir("/proc"):
        try:
            if entry.isdigit() and int(entry) != but and "Qt" in (maps := Path(f"/proc/{entry}/maps").read_text()) and "libQt" in maps:
                found.append(int(entry))
        except OSError:
            pass
    return found


def resting(program, start, seconds):
    start()
    time.sleep(seconds)
    others = programs_with_qt(program.pid)
    if others:
        print(f"note: {len(others)} other programs with Qt are running, which makes shared pages look cheaper", file=sys.stderr)
    return megabytes(program.pid)


def measure(scene):
    seconds = scene.choose(2, 10)
    names = [name for name in scene.peer_commands() if not name.startswith("bare")]
    pss = Row("memory at rest, its share (PSS)", "MB", goal=20.5, fails_at=40, limit="bare Qt tray")
    private = Row("memory at rest, its own (private)", "MB", goal=17.5, fails_at=36, limit="bare Qt tray")
    beside = {name: Row("memory at rest, PSS", "MB", name, goal=1.0) for name in names}
    terminal_pss = Row("memory at rest on a terminal, PSS", "MB", fails_at=30)
    busy = Row("memory after an hour of a busy server, PSS", "MB", "before it", fails_at=4)
    hour = scene.folder / "hour"
    write_hour(hour)
    theirs = {}
    for name, peer in scene.peers().items():
        with scene.using(peer):
            theirs[name] = resting(peer, peer.start, seconds)
    for turn in range(scene.choose(1, 2)):
        ours = scene.orvane(adb=QUIET_ADB)
        with scene.using(ours):
            share, own = resting(ours, lambda: ours.start_in_tray(scene.tray), seconds)
            ours.orders.give(hour)
            ours.orders.wait_until_printed()
            settled(ours.pid)
            busy.add(megabytes(ours.pid)[0], share)
        pss.add(share, limit=theirs["bare Qt tray"][0])
        private.add(own, limit=theirs["bare Qt tray"][1])
        for name, row in beside.items():
            row.add(share, theirs[name][0])
        on_terminal = scene.orvane(adb=QUIET_ADB)
        with scene.using(on_terminal):
            terminal_pss.add(resting(on_terminal, lambda: on_terminal.start_on_terminal(tty=False), seconds)[0])
    return [pss, private, *beside.values(), terminal_pss, busy]
