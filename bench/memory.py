"""What the program keeps in memory when it has nothing to do, and after a busy hour."""

import os
import re
import sys
import time
from contextlib import contextmanager
from pathlib import Path

from alone import copies_of, files_of
from harness.program import QUIET_ADB
from programs import BARE, BareTerminal, settled
from rows import Row
from startup import start
from stream import write_hour

CALM = 3  # Seconds after a flood until what it took has been given back.


def megabytes(pid):
    """(its share of what it has mapped, what it alone has)."""
    told = dict(re.findall(r"^(\w+): +(\d+) kB$", Path(f"/proc/{pid}/smaps_rollup").read_text(), re.MULTILINE))
    return int(told["Pss"]) / 1000, (int(told["Private_Clean"]) + int(told["Private_Dirty"])) / 1000


def resting(scene, program, begin):
    begin()
    time.sleep(scene.choose(2, 10))
    return megabytes(program.pid)


def of_peer(scene, name, peer):
    with scene.using(peer):
        return resting(scene, peer, lambda: start(scene, peer, name))


def on_terminal(scene):
    """Of a bare program, and of ours."""
    bare, ours = BareTerminal(), scene.orvane(adb=QUIET_ADB)
    with scene.using(bare):
        least = resting(scene, bare, bare.start)
    with scene.using(ours):
        return least, resting(scene, ours, lambda: ours.start_on_terminal(tty=False))


def around_an_hour(scene, hour):
    """At rest, and after a busy hour."""
    ours = scene.orvane(adb=QUIET_ADB)
    with scene.using(ours):
        before = resting(scene, ours, lambda: ours.start_in_tray(scene.tray))
        ours.orders.give(hour)
        ours.orders.wait_until_printed()
        settled(ours.pid)
        time.sleep(CALM)
        return before, megabytes(ours.pid)


@contextmanager
def alone(scene):
    """Nothing that runs beside makes the pages cheaper that a program has in common with others of its kind."""
    if scene.quick or os.geteuid() != 0:
        print("note: PSS is less than it should be if other programs with Qt are running", file=sys.stderr)
        yield
        return
    ours = scene.orvane(adb=QUIET_ADB)
    programs = {ours: lambda: ours.start_in_tray(scene.tray), **{peer: peer.start for peer in scene.peers().values()}}
    files = set()
    for program, start in programs.items():
        with scene.using(program):
            start()
            time.sleep(1)
            files |= files_of(program.pid)
    with copies_of(files - scene.files(), scene.folder / "copies"):
        yield


def measure(scene):
    with alone(scene):
        return measure_alone(scene)


def measure_alone(scene):
    names = [name for name in scene.peer_commands() if name != BARE]
    pss = Row("memory at rest, its share (PSS)", "MB", goal=20.5, fails_at=40, limit=BARE)
    private = Row("memory at rest, its own (private)", "MB", goal=17.5, fails_at=36, limit=BARE)
    beside = {name: Row("memory at rest, PSS", "MB", name, goal=1.0, limit=BARE) for name in names}
    terminal_pss = Row("memory at rest on a terminal, PSS", "MB", fails_at=30, limit=BareTerminal.NAME)
    busy = [Row(f"memory after an hour of a busy server, {which}", "MB", "before it", fails_at=4, limit=BARE)
            for which in ("PSS", "its own (private)")]
    hour = scene.folder / "hour"
    write_hour(hour)
    for turn in range(scene.choose(1, 3)):
        theirs = {name: of_peer(scene, name, peer) for name, peer in scene.peers().items()}
        before, after = around_an_hour(scene, hour)
        on_bare_terminal, on_ours = on_terminal(scene)
        for row, *values in zip(busy, after, before, theirs[BARE]):
            row.add(*values)
        pss.add(before[0], limit=theirs[BARE][0])
        private.add(before[1], limit=theirs[BARE][1])
        for name, row in beside.items():
            row.add(before[0], theirs[name][0], theirs[BARE][0])
        terminal_pss.add(on_ours[0], limit=on_bare_terminal[0])
    return [pss, private, *beside.values(), terminal_pss, *busy]
