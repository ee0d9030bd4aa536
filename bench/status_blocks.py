"""What one status report of the server costs."""

import itertools
import statistics
import time
from dataclasses import dataclass

from harness.processes import cpu_seconds
from harness.waiting import wait_for

from bus import BusCounter
from programs import settled
from rows import Row
from stream import phone_block


@dataclass(frozen=True)
class Case:
    """What changes with each report, and whether the menu is open meanwhile."""
    what: str
    row_changes: bool = False
    busy: int | None = None  # So many phones have other counters; all of them without it.
    menu_open: bool = False


CASES = (Case("counters change, menu closed"),
         Case("counters and one row change, menu closed", row_changes=True),
         Case("counters change, menu open", menu_open=True),
         Case("counters and one row change, menu open", row_changes=True, menu_open=True))
ONE_OF_MANY = Case("one phone's counters and its row change, menu closed", row_changes=True, busy=1)


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

    def answer(self):
        """How long a panel waits for the rows of a menu that is being opened, in ms."""
        begin = time.perf_counter()
        self.menu.about_to_show()
        self.menu.rows()
        return (time.perf_counter() - begin) * 1000

    def rest(self):
        settled(self.program.pid)
        self.menu.rows()
        settled(self.program.pid)

    def close(self):
        self._counter.close()


class PhoneReports:
    """Reports of so many phones, without end."""

    def __init__(self, reports, phones):
        self._seconds = itertools.count()
        self._phones = phones
        reports.give(next(self.texts()))
        wait_for(lambda: reports.menu.find(f"Phones: {phones} connected"), "the phones")

    def texts(self, row_changes=False, busy=None):
        """Counters change with each, of all phones or of so many, and if wanted what the row of one phone says."""
        for second in self._seconds:
            yield phone_block(second, self._phones, 0 if row_changes and second % 2 else None, busy)


def rows_for(name, case, phones):
    """Processor time, signals, bytes. Nothing is to be told while no row changes, nor while the menu is open, which waits until it closes;
    one message that is late does not make it fail."""
    tells = case.row_changes and not case.menu_open
    goal, most_signals, most_bytes = (None, 3, 1_000 * (1 + (case.busy or phones))) if tells else (0, 0.5, 500)
    name = f"{name}, {case.what}"
    return (Row(f"{name}: CPU", "ms", limit="a hop", fails_at=2 + phones),
            Row(f"{name}: signals on the bus", "", goal=goal, fails_at=most_signals),
            Row(f"{name}: sent on the bus", "bytes", limit="the report's own", goal=goal, fails_at=most_bytes))


def cost_of(case, reports, source, count):
    texts = source.texts(case.row_changes, case.busy)
    if case.menu_open:
        reports.menu.open()
    reports.give(next(texts))  # From here on only that changes which is to.
    cost = reports.cost(texts, count)
    if case.menu_open:
        reports.menu.close()
    return cost


def measure_opening(reports, source, row):
    first, text = (next(source.texts()) for _ in range(2))
    reports.give(first)
    reports.opening()  # From here on only counters change, all of them.
    reports.give(text)
    row.add(reports.opening(), limit=len(text.encode()))


def measure_one(scene, reports, phones):
    crowd = f"{phones} {'phone' if phones == 1 else 'phones'}"
    name = f"a report of {crowd}"
    rows = {case: rows_for(name, case, phones) for case in (*CASES, *([ONE_OF_MANY] if phones > 1 else []))}
    opening = Row(f"{name}, then the menu is opened: sent on the bus", "bytes", limit="the report's own", fails_at=1_000 * (1 + phones))
    answer = Row(f"a menu of {crowd}, asked for and read", "ms", fails_at=200)
    source = PhoneReports(reports, phones)
    hop = scene.limit("hop", 20000) / 1000
    for turn in range(scene.choose(1, 3)):
        for case, (cpu, signals, sent) in rows.items():
            taken, told, size, own = cost_of(case, reports, source, scene.choose(10, 40))
            cpu.add(taken, limit=hop)
            signals.add(told)
            sent.add(size, limit=own)
        measure_opening(reports, source, opening)
        reports.rest()
        answer.add(statistics.median(reports.answer() for _ in range(20)))
    return [*(row for group in rows.values() for row in group), opening, answer]


def measure(scene):
    with scene.running(lambda program: Reports(scene, program)) as reports:
        return [row for phones in scene.choose((8,), (1, 8, 64)) for row in measure_one(scene, reports, phones)]
