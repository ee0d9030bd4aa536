"""What one status report of the server costs."""

import time

from bus import BusCounter
from programs import cpu_seconds, settled
from rows import Row
from stream import phone_block

COUNTERS = "counters change, menu closed"
WHILE_OPEN = "counters change, menu open"
DROPOUT = "counters and one row change, menu closed"


class Reports:
    """The program in a panel that reads what it is told has changed, as real ones do."""

    def __init__(self, scene, program):
        self.program = program
        self.menu = program.menu()
        self._block = scene.folder / "block"
        self._counter = BusCounter(scene.desktop, program.item().owner())
        self._second = 0

    def cost(self, phones, count, with_dropout=False):
        """Of a report about so many phones, the mean of `count`: (CPU in ms, signals on the bus, bytes on the bus, the report's own)."""
        self._give(phones)
        self._rest()
        cpu, (signals, sent) = cpu_seconds(self.program.pid), self._counter.counted()
        for turn in range(count):
            self._give(phones, 0 if with_dropout and turn % 2 == 0 else None)
            time.sleep(0.015)
            self.menu.rows()
        self._rest()
        now_signals, now_sent = self._counter.counted()
        return ((cpu_seconds(self.program.pid) - cpu) * 1000 / count, (now_signals - signals) / count, (now_sent - sent) / count,
                self._block.stat().st_size)

    def opening(self, phones):
        """The bytes that it takes to bring a menu up to date which is opened after a report."""
        self._give(phones)
        self._rest()
        before = self._counter.counted()[1]
        self.menu.open()
        self._rest()
        sent = self._counter.counted()[1] - before
        self.menu.close()
        return sent

    def _give(self, phones, dropout=None):
        self._second += 1
        self._block.write_text(phone_block(self._second, phones, dropout))
        self.program.orders.give(self._block)

    def _rest(self):
        settled(self.program.pid)
        self.menu.rows()
        settled(self.program.pid)

    def close(self):
        self._counter.close()


def rows_for(phones):
    name = f"a report of {phones} {'phone' if phones == 1 else 'phones'}"
    limit = "the report's own"
    return {what: (Row(f"{name}, {what}: CPU", "ms", fails_at=3 * (5 + phones)),
                   Row(f"{name}, {what}: signals on the bus", "", fails_at=20),
                   Row(f"{name}, {what}: sent on the bus", "bytes", limit=limit, fails_at=20_000 if phones == 1 else 400_000))
            for what in (COUNTERS, DROPOUT, WHILE_OPEN)} | {
        "opening": (Row(f"{name}, then the menu is opened: sent on the bus", "bytes", limit=limit),)}


def measure_one(scene, reports, phones):
    rows = rows_for(phones)
    for turn in range(scene.choose(1, 3)):
        for what in (COUNTERS, DROPOUT, WHILE_OPEN):
            if what == WHILE_OPEN:
                reports.menu.open()
            cpu, signals, sent, own = reports.cost(phones, scene.choose(10, 40), with_dropout=what == DROPOUT)
            if what == WHILE_OPEN:
                reports.menu.close()
            for row, value in zip(rows[what], (cpu, signals, sent)):
                row.add(value, limit=own if row.limit else None)
        rows["opening"][0].add(reports.opening(phones), limit=own)
    return [row for group in rows.values() for row in group]


def measure(scene):
    program = scene.orvane()
    with scene.using(program):
        program.start_in_tray(scene.tray)
        reports = Reports(scene, program)
        with scene.using(reports):
            return [row for phones in scene.choose((8,), (1, 8, 64)) for row in measure_one(scene, reports, phones)]
