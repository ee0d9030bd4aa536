"""Following the server's output, beside `cat FILE | grep -F -c`."""

import subprocess
import time
from contextlib import contextmanager

from harness.processes import cpu_seconds, end
from programs import Orders
from rows import Row
from stream import MARKERS, write_day


class Follower:
    """The program, given the stream again and again. The end is told by a pairing code that shows: in the stream's last line."""

    def __init__(self, program):
        self._program = program

    def seconds(self, files, code):
        """From the order to the moment when the code shows, which the last of the files tells."""
        begin = self._program.orders.give(*files)
        return self._program.surface.wait_for(code) - begin

    def cpu(self):
        return cpu_seconds(self._program.pid)

    def rate(self, stream, code):
        """In MB/s."""
        return stream.size / 1e6 / self.seconds([stream.ending_with(code)], code)


class Grep:
    """The peer, in a shell that gets its orders in the same way."""

    def __init__(self, folder):
        folder.mkdir()
        self._orders = Orders(folder)
        script = folder / "grep"
        # LC_ALL=C would search bytes; the program has to see to UTF-8, and so does grep as users run it.
        script.write_text(self._orders.script(" | grep -F -c " + " ".join(f"-e '{marker}'" for marker in MARKERS)))
        self._process = subprocess.Popen(["/bin/sh", script], stdout=subprocess.PIPE, text=True, env={"LANG": "C.UTF-8", "PATH": "/usr/bin:/bin"})

    def rate(self, stream, code):
        begin = self._orders.give(stream.ending_with(code))
        assert int(self._process.stdout.readline()) > 1000
        return stream.size / 1e6 / (time.perf_counter() - begin)

    def close(self):
        end(self._process)
        self._orders.close()


class Stream:
    """One file, whose last line can be changed."""

    def __init__(self, path, megabytes):
        self.path = path
        self.size = write_day(self.path, megabytes)

    def ending_with(self, code):
        with open(self.path, "r+b") as stream:
            stream.seek(self.size)
            stream.write(f"pairing code: {code}\n".encode())
        return self.path


@contextmanager
def followers(scene):
    """Name → who follows, all at once."""
    programs = {name: scene.orvane() for name in ("tray", "window", "terminal")}
    with scene.using(*programs.values()):
        programs["terminal"].start_on_terminal(tty=False)
        for name in ("tray", "window"):
            programs[name].start_in_tray(scene.tray)
        scene.show_log(programs["window"])
        yield {name: Follower(program) for name, program in programs.items()}


def measure(scene):
    """The rows. Everyone follows the whole stream once in each round, one after the other."""
    stream = Stream(scene.folder / "stream", scene.choose(4, 64))
    short = Stream(scene.folder / "short-stream", scene.choose(1, 8))
    rows = {name: Row(f"follow the server's output, {name}", "MB/s", "cat | grep -F -c", more_is_better=True, goal=1.0,
                      fails_at=0.02, limit="memcpy") for name in ("tray", "terminal")}
    cost = Row("CPU a MB of the server's output, tray", "ms", fails_at=15, limit="memcpy")
    window = Row("the same with the log window open", "MB/s", "never opened", more_is_better=True, fails_at=0.0005)
    peer = Grep(scene.folder / "peer")
    with followers(scene) as everyone, scene.using(peer):
        for turn in range(scene.choose(2, 15) + 1):
            cpu = everyone["tray"].cpu()
            taken = {name: everyone[name].rate(stream, f"{name}-{turn}") for name in rows}
            cpu = (everyone["tray"].cpu() - cpu) * 1000 / (stream.size / 1e6)
            taken["grep"] = peer.rate(stream, f"grep-{turn}")
            with_window, without = (everyone[name].rate(short, f"{name}-short-{turn}") for name in ("window", "tray"))
            if turn == 0:
                continue  # Until then the logs are filling, and libraries are being loaded.
            copied = scene.limit("memcpy", stream.path)
            for name, row in rows.items():
                row.add(taken[name], taken["grep"], copied)
            cost.add(cpu, limit=1000 / copied)
            window.add(with_window, without)
    return [*rows.values(), cost, window]
