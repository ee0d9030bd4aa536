"""What the program holds, and how soon its menu answers."""

import time

from harness.installation import allowed_mib
from harness.processes import Answers, descriptors, resident_mib, thread_names

MAX_ANSWER = 0.2  # Seconds.
ROUND = 60  # Seconds; the least that was held in one is compared with the least in another.
# What the least may grow by. A minute may have seen nothing of what comes and goes: a sound server, say, takes three descriptors.
# (Resident memory, since the proportional one halves with each child that is being made.)
GROWTH = {"descriptors": 6, "threads": 1, "MiB": allowed_mib(15)}


class Watch:
    def __init__(self):
        self.slowest = 0.0
        self.held = {}
        self._pid = None
        self._rounds = 0

    def look(self, world):
        if world.program.pid != self._pid:
            self._pid = world.program.pid
            self._answers = Answers(world.program)
            self._first = self._least = None
            self._rounds = 0
            self._begin = time.monotonic()
        self._ask(world.menu)
        self._count()

    def _ask(self, menu):
        """The time that everybody involved waited for a processor is not counted."""
        _, took = self._answers.ask(menu)
        self.slowest = max(self.slowest, took)
        assert took < MAX_ANSWER, f"the menu took {1000 * took:.0f} ms to answer"

    def _count(self):
        self.held = {"descriptors": len(descriptors(self._pid)), "threads": len(thread_names(self._pid)), "MiB": resident_mib(self._pid)}
        self._least = {name: min(value, (self._least or self.held)[name]) for name, value in self.held.items()}
        if time.monotonic() < self._begin + ROUND:
            return
        grown = {name: (self._first[name], value) for name, value in self._least.items()
                 if self._first and value > self._first[name] + GROWTH[name]}
        assert not grown, f"grown from what the least was at first: {grown}"
        # In the first round all is made that is made once; the second tells what there has to be.
        self._rounds += 1
        if self._first is None and self._rounds >= 2:
            self._first = self._least
        self._least = None
        self._begin = time.monotonic()
