"""Drives the built program with everything at once, and looks each second whether what must hold does.

    scripts/soak 60              for an hour, from a seed that is printed
    scripts/soak 2 12345         for two minutes, from that seed
    ORVANE_BUILD=build/asan …    another build

A failure is printed with its seed and step, and then done again with fewer and fewer steps for a few minutes, as long as it still comes.
"""

import argparse
import collections
import contextlib
import os
import secrets
import sys
import time
import traceback
from itertools import islice
from pathlib import Path

import gi

gi.require_version("Atspi", "2.0")
HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent / "acceptance")]

from gi.repository import GLib  # noqa: E402
from harness.processes import end_orphans, prepare_run  # noqa: E402
from random_steps import random_steps  # noqa: E402
from watch import Watch  # noqa: E402
from world import World  # noqa: E402

FAULTS = (AssertionError, GLib.Error, OSError, StopIteration, IndexError)


class Failure(Exception):
    def __init__(self, at, step, fault):
        super().__init__(f"{type(fault).__name__}: {fault}")
        self.at = at
        self.kind = step[0], type(fault)


def run(steps, until=None, every=1.0, tell=lambda *_: None):
    """Does the steps, as long as there is time. Raises Failure."""
    world, watch, at, step, looked = World(), Watch(), 0, ("start", None), 0.0
    try:
        for at, step in enumerate(steps):
            if until and time.monotonic() > until:
                break
            world.do(step)
            if time.monotonic() > looked + every:
                world.check()
                watch.look(world)
                looked = time.monotonic()
            tell(at, step, watch)
        world.check()
        status = world.program.quit(20)
        assert status == 0 and "Sanitizer:" not in world.program.output, f"ended with {status}: {world.program.output}"
    except FAULTS as fault:
        traceback.print_exc()
        print(world.describe())
        raise Failure(at, step, fault) from fault
    finally:
        with contextlib.suppress(*FAULTS):
            world.close()
        end_orphans()


def fails(steps, kind):
    """In the same way: at such a step, with such a complaint."""
    try:
        with contextlib.redirect_stderr(open(os.devnull, "w")), contextlib.redirect_stdout(open(os.devnull, "w")):
            run(steps, every=0.0)
    except Failure as failure:
        return failure.kind == kind
    return False


def shrunk(steps, kind, minutes):
    """The shortest end of the steps that fails, then without whatever of it can be left out, as far as the time goes."""
    deadline = time.monotonic() + 60 * minutes
    length = 1
    while length < len(steps) and time.monotonic() < deadline and not fails(steps[-length:], kind):
        length *= 2
    steps = steps[-length:]
    piece = len(steps) // 2
    while piece and time.monotonic() < deadline:
        at = 0
        while at < len(steps) and time.monotonic() < deadline:
            fewer = steps[:at] + steps[at + piece:]
            if fewer and fails(fewer, kind):
                steps = fewer
            else:
                at += piece
        piece //= 2
    return steps


class Progress:
    """A line that is written over on a terminal, and one every half minute elsewhere."""

    def __init__(self, minutes):
        self._begin = time.monotonic()
        self._seconds = 60 * minutes
        self._told = 0.0
        self.kinds = collections.Counter()
        self.most = collections.Counter()

    def __call__(self, at, step, watch):
        self.kinds[step[0]] += 1
        for name, value in watch.held.items():
            self.most[name] = max(self.most[name], value)
        passed = time.monotonic() - self._begin
        if passed < self._told + (0.5 if sys.stdout.isatty() else 30):
            return
        self._told = passed
        bar = "#" * int(20 * min(1, passed / self._seconds))
        held = ", ".join(f"{name} {value:.0f}" for name, value in watch.held.items())
        print(f"[{bar:20}] {passed:4.0f} s, step {at}: {held}, slowest answer {1000 * watch.slowest:.0f} ms",
              end="\r" if sys.stdout.isatty() else "\n", flush=True)

    def summary(self):
        done = ", ".join(f"{kind} {count}" for kind, count in sorted(self.kinds.items()))
        print(f"\n{self.kinds.total()} steps in {time.monotonic() - self._begin:.0f} s: {done}")
        print("at most: " + ", ".join(f"{name} {value:.0f}" for name, value in self.most.items()))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("minutes", type=float)
    parser.add_argument("seed", type=int, nargs="?", default=secrets.randbelow(10**6))
    parser.add_argument("--shrink", type=float, default=5, metavar="MINUTES", help="for a failure, at most")
    options = parser.parse_args()
    prepare_run()
    print(f"seed {options.seed}", flush=True)
    progress = Progress(options.minutes)
    try:
        run(random_steps(options.seed), time.monotonic() + 60 * options.minutes, tell=progress)
    except Failure as failure:
        progress.summary()
        print(f"FAILED at step {failure.at} of seed {options.seed}: {failure}", flush=True)
        print("Shrinking…", flush=True)
        for step in shrunk(list(islice(random_steps(options.seed), failure.at + 1)), failure.kind, options.shrink):
            print(f"    {str(step)[:400]}")
        return 1
    progress.summary()
    print("Everything held.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
