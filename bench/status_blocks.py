"""What one status report of the server costs."""

import itertools
import time

from harness.processes import cpu_seconds
from harness.waiting import wait_for

from bus import BusCounter
from programs import settled
from rows import Row
from stream import phone_block

COUNTERS = "counters change, menu closed"
ONE_ROW = "counters and one row change, menu closed"
WHILE_OPEN = "counters change, menu open"


class Reports:
    """The program in a panel that reads what it is told has changed, as real ones do."""

    def __init__(self, scene, program):
        self.program = program
        self.menu = program.menu()
        self._block = scene.folder / f"report-{program.pid}"
        self._counter = BusCounter(scene.desktop, program.item().owner())

    def give(self, text):
        self._block.write_text(text)
        self.program.orders.give(self._block)
        self.program.orders.wait_until_printed()

    def cost(self, texts, count):
        """Of one of the next `count` reports, the mean: (CPU in ms, signals on the bus, bytes on the bus, the report's own bytes)."""
        self.rest()
        cpu, (signals, sent) = cpu_seconds(self.program.pid), self._counter.counted()
        for text in itertools.islice(texts, count):
            self.give(text)
            time.sleep(0.01)
            self.menu.rows()
        self.rest()
        now_signals, now_sent = self._counter.counted()
        return ((cpu_seconds(self.program.pid) - cpu) * 1000 / count, (now_signals - signals) / count, (now_sent - sent) / count,
                self._block.stat().st_size)

    def opening(self):
        """The bytes that it takes to bring a menu up to date that is opened now."""
        self.rest()
        before = self._counter.counted()[1]
        self.menu.open()
        self.rest()
        sent = self._counter.counted()[1] - before
        self.menu.close()
        return sent

    def rest(self):
        settled(self.program.pid)
        self.menu.rows()
        settled(self.program.pid)

    def close(self):
        self._counter.close()


class PhoneReports:
    """Reports of so many phones, without end. All counters change with each, and if wanted what the row of one phone says."""

    def __init__(self, reports, phones):
        self._seconds = itertools.count()
        self._phones = phones
        reports.give(next(self.texts()))
        wait_for(lambda: reports.menu.find(f"Phones: {phones} connected"), "the phones")

    def texts(self, row_changes=False):
        for second in self._seconds:
            yield phone_block(second, self._phones, 0 if row_changes and second % 2 else None)


def rows_for(phones):
    name = f"a report of {phones} {'phone' if phones == 1 else 'phones'}"
    limit = "the report's own"
    return {what: (Row(f"{name}, {what}: CPU", "ms", limit="a hop", fails_at=2 + phones),
                   Row(f"{name}, {what}: signals on the bus", "", fails_at=20),
                   Row(f"{name}, {what}: sent on the bus", "bytes", limit=limit, fails_at=10_000 * (1 + phones)))
            for what in (COUNTERS, ONE_ROW, WHILE_OPEN)} | {
        "opening": (Row(f"{name}, then the menu is opened: sent on the bus", "bytes", limit=limit),)}


def measure_one(scene, reports, phones):
    rows = rows_for(phones)
    source = PhoneReports(reports, phones)
    hop = scene.limit("hop", 20000) / 1000
    for turn in range(scene.choose(1, 3)):
        for what in (COUNTERS, ONE_ROW, WHILE_OPEN):
            if what == WHILE_OPEN:
                reports.menu.open()
            *taken, own = reports.cost(source.texts(row_changes=what == ONE_ROW), scene.choose(10, 40))
            if what == WHILE_OPEN:
                reports.menu.close()
            for row, value, limit in zip(rows[what], taken, (hop, None, own)):
                row.add(value, limit=limit)
        reports.give(next(source.texts()))
        rows["opening"][0].add(reports.opening(), limit=own)
    return [row for group in rows.values() for row in group]


def measure(scene):
    with scene.running(lambda program: Reports(scene, program)) as reports:
        return [row for phones in scene.choose((8,), (1, 8, 64)) for row in measure_one(scene, reports, phones)]
