"""What the program does while it has nothing to do: its two timers, and with a phone on USB what they run."""

import time
from pathlib import Path

from harness.processes import cpu_seconds
from rows import Row
from scripted_adb import DEVICES, ScriptedAdb

PROBE, SWEEP = 2, 3  # Seconds from one look for a phone on USB, and on Bluetooth, to the next.
DAY = 86400


def wake_ups(pid):
    """How often each thread has waited for something, by its number."""
    found = {}
    for task in Path(f"/proc/{pid}/task").iterdir():
        status = (task / "status").read_text()
        found[task.name] = int(status.split("\nvoluntary_ctxt_switches:")[1].split()[0])
    return found


class Watch:
    """What a process has done since this was made."""

    def __init__(self, pid):
        self._pid = pid
        self._wake_ups = wake_ups(pid)
        self._cpu = cpu_seconds(pid)

    def end(self):
        self.cpu = cpu_seconds(self._pid) - self._cpu
        now = wake_ups(self._pid)
        self.all_threads = sum(count - self._wake_ups.get(task, 0) for task, count in now.items())
        self.main_thread = now[str(self._pid)] - self._wake_ups[str(self._pid)]


def with_a_phone(scene):
    program = scene.orvane()
    program.adb = ScriptedAdb(program.folder / "adb", program.folder / "share/orvane/adb")
    program.adb.plug_in()
    return program


def measure(scene):
    seconds = scene.choose(6, 12)  # Both timers' periods go into it.
    places = ("no adb", "no adb, on a terminal")
    main = [Row(f"wake-ups in 10 s, {place}: the main thread", "", goal=9, fails_at=40, limit="the timers") for place in places]
    threads = [Row(f"wake-ups in 10 s, {place}: all threads", "", fails_at=100, limit="the timers") for place in places]
    with_phone = Row("wake-ups in 10 s, a phone on USB: all threads", "", fails_at=400, limit="the timers")
    days = [Row(f"CPU a day of idle, {place}", "s", fails_at=100, limit="a hop for each turn of a timer") for place in places]
    day_with_phone = Row("CPU a day of idle, a phone on USB", "s", fails_at=1000, limit="those hops, and bare spawns")
    probe = Row("CPU a probe of adb (three commands)", "ms", fails_at=20, limit="three bare spawns")
    idle, on_terminal, probing = scene.orvane(), scene.orvane(), with_a_phone(scene)
    with scene.using(idle, on_terminal, probing):
        idle.start_in_tray(scene.tray)
        on_terminal.start_on_terminal(tty=False)
        probing.start_in_tray(scene.tray)
        time.sleep(scene.choose(2, 5))
        for turn in range(scene.choose(1, 3)):
            before = len(probing.adb.commands)
            rests, probes = [Watch(program.pid) for program in (idle, on_terminal)], Watch(probing.pid)
            time.sleep(seconds)
            for watch in (*rests, probes):
                watch.end()
            count = seconds / PROBE
            commands = (len(probing.adb.commands) - before) / count
            bare = scene.limit("spawn", 50, probing.folder / "share/orvane/adb", DEVICES) * commands
            hops = scene.limit("hop", 20000) / 1e6 * (DAY / PROBE + DAY / SWEEP)
            turns = 10 / PROBE + 10 / SWEEP
            for at, watch in enumerate(rests):
                main[at].add(watch.main_thread * 10 / seconds, limit=turns)
                threads[at].add(watch.all_threads * 10 / seconds, limit=turns)
                days[at].add(watch.cpu * DAY / seconds, limit=hops)
            with_phone.add(probes.all_threads * 10 / seconds, limit=turns)
            day_with_phone.add(probes.cpu * DAY / seconds, limit=hops + bare / 1000 * DAY / PROBE)
            probe.add((probes.cpu - rests[0].cpu) * 1000 / count, limit=bare)
    return [*main, *threads, with_phone, *days, day_with_phone, probe]
