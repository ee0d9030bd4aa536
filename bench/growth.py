"""How costs grow with what there is: phones, devices, lines, the log, service records."""

import itertools
import math
import time
from contextlib import ExitStack

from harness.bluetooth import service_record
from harness.lines import device_block, device_line
from harness.processes import cpu_seconds
from harness.waiting import wait_for

from ingestion import Follower
from status_blocks import PhoneReports, Reports
from stream import write_lines

STEEPEST = 1.1  # A straight line, and what noise adds to a fit.
AT_THE_END = 3  # Points, where what grows outweighs what does not.


class Curve:
    """Costs against a number of things, and the slope between their logarithms: 1 where twice as many cost twice as much."""

    def __init__(self, things, cost):
        self.things = things
        self.cost = cost
        self.points = []

    def add(self, count, cost):
        self.points.append((count, cost))

    def fit(self, last=None):
        """(slope, intercept) of the logarithms, by least squares; of so many of the last points only."""
        xs, ys = ([math.log(point[which]) for point in self.points[-last if last else None:]] for which in (0, 1))
        x, y = sum(xs) / len(xs), sum(ys) / len(ys)
        slope = sum((a - x) * (b - y) for a, b in zip(xs, ys)) / sum((a - x) ** 2 for a in xs)
        return slope, y - slope * x

    def facts(self):
        slope, intercept = self.fit()
        return {"things": self.things, "cost": self.cost, "points": self.points, "slope": slope, "intercept": intercept,
                "slope at the end": self.fit(AT_THE_END)[0]}

    def describe(self):
        costs = ", ".join(f"{count:,}: {cost:.3g}" for count, cost in self.points)
        return f"{self.cost} against {self.things}: slope {self.fit()[0]:.2f}, at the end {self.fit(AT_THE_END)[0]:.2f} ({costs})"

    def failure(self):
        steepest = max(self.fit()[0], self.fit(AT_THE_END)[0])
        return f"{self.describe()}: it must not be above {STEEPEST}" if steepest > STEEPEST else None


def of_phones(scene):
    curve = Curve("phones", "a report, CPU in ms")
    with reporting(scene) as reports:
        for phones in (1, 2, 4, 8, 16, 32, 64):
            curve.add(phones, reports.cost(PhoneReports(reports, phones).texts(row_changes=True), 40)[0])
    return curve


def of_devices(scene):
    curve = Curve("devices", "a list of them, CPU in ms")
    with reporting(scene) as reports:
        for devices in (1, 2, 4, 8, 16, 32, 64):
            curve.add(devices, reports.cost(device_lists(devices), 40)[0])
    return curve


def device_lists(count):
    for turn in itertools.count():
        yield device_block(*(device_line(f"device-{at}-{turn % 2}", f"Loopback {at}", active=False) for at in range(count)))


def reporting(scene):
    return scene.running(lambda program: Reports(scene, program))


def of_lines(scene):
    curve = Curve("lines", "following them, ms")
    lines, ending = scene.folder / "lines", scene.folder / "ending"
    with scene.running(Follower) as follower:
        for power in range(3, 8):
            write_lines(lines, 10 ** min(power, 6))
            copies = 10 ** max(power - 6, 0)
            taken = []
            for turn in range(3 if copies == 1 else 1):
                code = f"lines-{power}-{turn}"
                ending.write_text(f"pairing code: {code}\n")
                taken.append(follower.seconds([lines] * copies + [ending], code))
            curve.add(10 ** power, min(taken) * 1000)
    return curve


def of_log(scene, window):
    """Each length in a program of its own, since a log does not become shorter."""
    curve = Curve("characters in the log", f"a line more, log window {'open' if window else 'closed'}, CPU in ms")
    for length in (1_000, 10_000, 50_000, 100_000, 200_000):
        with reporting(scene) as reports:
            reports.give(("x" * 99 + "\n") * (length // 100))
            if window:
                scene.show_log(reports.program)
            reports.rest()
            curve.add(length, reports.cost((f"[dbg] line {turn}\n" for turn in itertools.count()), 40)[0])
    return curve


def of_records(scene):
    """Phones whose records are all of other services are asked again and again, each by a program on a machine of its own."""
    curve = Curve("service records of the phone", "a query, CPU in ms")
    with ExitStack() as stack:
        asked = {count: asking(scene, stack, count) for count in (1, 2, 4, 8, 16, 32, 64)}
        before = {count: (len(phone.queries), cpu_seconds(program.pid)) for count, (phone, program) in asked.items()}
        time.sleep(24)
        for count, (phone, program) in asked.items():
            queries, cpu = before[count]
            curve.add(count, (cpu_seconds(program.pid) - cpu) * 1000 / (len(phone.queries) - queries))
    return curve


def asking(scene, stack, count):
    machine, program = stack.enter_context(scene.bluetooth()), scene.orvane()
    stack.enter_context(scene.using(program))
    phone = machine.phone(records=foreign_records(count))
    machine.bluez.appear()
    program.choose_phone(phone.address)
    program.start_in_tray(scene.tray, **machine.environment())
    wait_for(lambda: phone.queries, "the first query")
    return phone, program


def foreign_records(count):
    return [service_record(1, uuid=bytes(16), name=f"Service {at}", handle=0x10001 + at) for at in range(count)]


def measure(scene):
    return [of_phones(scene), of_devices(scene), of_lines(scene), of_log(scene, window=False), of_log(scene, window=True), of_records(scene)]
