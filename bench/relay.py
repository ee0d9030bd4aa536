"""The relay of the running program, beside socat in the same place: a phone behind a UNIX socket, a server on this machine."""

import socket
import subprocess
from contextlib import contextmanager

from harness.bluetooth import frame
from harness.processes import end
from programs import quietly, tool
from rows import Row

PROGRAMS = ("tray", "terminal")
SIZES = (640, 2048, 16384)
DIRECTIONS = {"up": "phone → server", "down": "server → phone"}
TRIPS = {  # What is told of many, and what it should be. The fastest have stood in line nowhere, not even on a busy machine.
    "10th percentile": {"fails_at": 3},
    "median": {"goal": 1.2},
    "99th percentile": {"goal": 1.0},
}


class Relays:
    """The ends of every relay, in the hands of the load generator."""

    def __init__(self):
        self._ways = []
        self._ends = []
        self._generator = None

    def add(self, name, kind, phone, server, pid):
        server.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for end_ in (phone, server):
            end_.setblocking(True)
        self._ends += [phone, server]
        self._ways.append(f"{name}:{kind}:{phone.fileno()}:{server.fileno()}:{pid}")

    def begin(self):
        self._generator = subprocess.Popen([tool("relay_load"), *self._ways], pass_fds=[end_.fileno() for end_ in self._ends], text=True,
                                           stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        return self

    def order(self, *words):
        """Name → the numbers that the generator tells of it."""
        print(*words, file=self._generator.stdin, flush=True)
        told = {}
        while line := self._generator.stdout.readline().split():
            told[line[0]] = [float(word) for word in line[1:]]
        assert told, "the load generator has failed"
        return told

    def close(self):
        if self._generator:
            end(self._generator)
        for end_ in self._ends:
            end_.close()


def attach(relays, name, program, machine, start):
    """Starts the program with its phone, which streams."""
    phone = machine.phone()
    program.choose_phone(phone.address)
    machine.bluez.appear()
    start(**machine.environment(), ORVANE_TEST_SWIFT="1")
    link = phone.link()
    link.send(frame("A"))
    relays.add(name, "framed", link.socket, machine.server.accept(), program.pid)


def attach_plain(relays, name, scene, machine, command):
    """A relay that frames nothing, between sockets of the same kinds; `command` is given the path and the port to connect."""
    path = scene.folder / f"phone-{name}"
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(str(path))
        listener.listen()
        process = quietly(command(path, machine.server.port))
        phone, _ = listener.accept()
    path.unlink()
    relays.add(name, "plain", phone, machine.server.accept(), process.pid)
    return process


@contextmanager
def relays_of(scene):
    with scene.bluetooth() as first, scene.bluetooth() as second:
        tray, terminal, relays = scene.orvane(), scene.orvane(), Relays()
        with scene.using(tray, terminal, relays):
            attach(relays, "tray", tray, first, lambda **environment: tray.start_in_tray(scene.tray, **environment))
            attach(relays, "terminal", terminal, second, lambda **environment: terminal.start_on_terminal(tty=False, **environment))
            others = [attach_plain(relays, "socat", scene, second, lambda path, port: ["socat", f"UNIX-CONNECT:{path}", f"TCP:127.0.0.1:{port},nodelay"]),
                      attach_plain(relays, "bare", scene, second, lambda path, port: [tool("bare_relay"), path, str(port)])]
            direct = socket.create_connection(("127.0.0.1", second.server.port))
            direct.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            relays.add("direct", "plain", direct, second.server.accept(), 0)
            try:
                relays.begin().order("trips", 640, 500)  # Until everything has been used once.
                yield relays
            finally:
                for other in others:
                    end(other)


class RoundTrips:
    def __init__(self):
        self._rows = {(name, which): Row(f"round trip of 640 bytes, {what}, {name}", "µs", "socat", limit=("bare relay", "direct"), **bounds)
                      for which, (what, bounds) in enumerate(TRIPS.items()) for name in PROGRAMS}
        self.rows = list(self._rows.values())

    def measure(self, scene, relays):
        told = relays.order("trips", 640, scene.choose(1000, 3000))
        for (name, which), row in self._rows.items():
            row.add(told[name][which], told["socat"][which], (told["bare"][which], told["direct"][which]))


class Throughput:
    def __init__(self, order, size, copies):
        self._order, self._size, self._copies = order, size, copies
        what = f"{DIRECTIONS[order]}, {size:,} bytes"
        goal = 1.0 if size == 16384 else 0.8 if size == 640 else None
        self._rates = {name: Row(f"{what}, {name}", "MB/s", "socat", more_is_better=True, goal=goal, limit="direct") for name in PROGRAMS}
        self._costs = {name: Row(f"CPU a MB {what}, {name}", "ms", "socat", fails_at=25, limit="two copies") for name in PROGRAMS}
        self.rows = [*self._rates.values(), *self._costs.values()]

    def measure(self, scene, relays):
        for turn in range(scene.choose(1, 3)):  # Many, for the chance that there is in each.
            told = relays.order(self._order, self._size, scene.choose(4, 6) << 20)
            for name in PROGRAMS:
                self._rates[name].add(told[name][0], told["socat"][0], told["direct"][0])
                self._costs[name].add(told[name][1], told["socat"][1], self._copies)


class Beat:
    def __init__(self):
        self._rows = {name: Row(f"CPU at 100 frames a second each way, {name}", "ms a second", "socat", fails_at=15, limit="200 hops")
                      for name in PROGRAMS}
        self.rows = list(self._rows.values())

    def measure(self, scene, relays):
        told = relays.order("pace", 640, 100, 1)
        hops = 200 * scene.limit("hop", 20000) / 1000
        for name, row in self._rows.items():
            row.add(told[name][0], told["socat"][0], hops)


def two_copies(scene):
    """What they cost in ms a MB: a relay's bytes come from the kernel and go there again."""
    piece = scene.folder / "piece"
    piece.write_bytes(bytes(64 << 20))
    return 2 * 1000 / scene.limit("memcpy", piece)


def measure(scene):
    """Programs alike differ by as much as a tenth, for as long as they live: each round has new ones."""
    copies = two_copies(scene)
    subjects = [RoundTrips(), *(Throughput(order, size, copies) for order in DIRECTIONS for size in SIZES), Beat()]
    for turn in range(scene.choose(2, 9)):
        with relays_of(scene) as relays:
            for subject in subjects:
                subject.measure(scene, relays)
    return [row for subject in subjects for row in subject.rows]
