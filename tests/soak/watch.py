"""What the program holds, and how soon its menu answers."""

import time

from harness.installation import allowed_mib
from harness.processes import Answers, descriptors, resident_mib, thread_names

MAX_ANSWER = 0.2  # Seconds.
RESERVE = 16  # Descriptors that the program puts by for windows, and goes without while there is one.
# Short rounds find in two minutes what each restart of the server leaves behind; a link, a sound server, an open log may last for one, and
# what is made once takes memory. Long ones find what grows slowly.
SHORT = 15, {"descriptors": 8, "threads": 3, "MiB": allowed_mib(30)}
LONG = 60, {"descriptors": 6, "threads": 1, "MiB": allowed_mib(15)}


def holdings(pid):
    """Without what comes and goes by design: the reserve, and the threads of Qt's pool. (Resident memory, since the proportional one
    halves with each child that is being made.)"""
    files = list(descriptors(pid).values())
    threads = [name for name in thread_names(pid) if name != "Thread (pooled)"]
    return {"descriptors": len(files) - min(files.count("/dev/null"), RESERVE), "threads": len(threads), "MiB": resident_mib(pid)}


class Rounds:
    """The least that was held in one round is compared with the least in another, since much comes and goes."""

    def __init__(self, seconds, growth):
        """`growth`: by how much the least may grow."""
        self._seconds = seconds
        self._growth = growth
        self._first = self._least = None
        self._rounds = 0
        self._begin = time.monotonic()

    def add(self, held):
        self._least = {name: min(value, (self._least or held)[name]) for name, value in held.items()}
        if time.monotonic() < self._begin + self._seconds:
            return
        grown = {name: (self._first[name], value) for name, value in self._least.items()
                 if self._first and value > self._first[name] + self._growth[name]}
        assert not grown, f"grown from what the least was at first, in rounds of {self._seconds} s: {grown}"
        # In the first round all is made that is made once; the second tells what there has to be.
        self._rounds += 1
        if self._rounds == 2:
            self._first = self._least
        self._least = None
        self._begin = time.monotonic()


class Watch:
    def __init__(self):
        self.slowest = 0.0
        self.held = {}
        self._pid = None

    def look(self, world):
        if world.program.pid != self._pid:
            self._pid = world.program.pid
            self._answers = Answers(world.program)
            self._rounds = [Rounds(*SHORT), Rounds(*LONG)]
        self._ask(world.menu)
        self.held = holdings(self._pid)
        for rounds in self._rounds:
            rounds.add(self.held)

    def _ask(self, menu):
        """The time that everybody involved waited for a processor is not counted."""
        _, took = self._answers.ask(menu)
        self.slowest = max(self.slowest, took)
        assert took < MAX_ANSWER, f"the menu took {1000 * took:.0f} ms to answer"
