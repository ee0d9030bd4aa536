"""Fixtures: a desktop for all tests, and a tray and a program of its own for each."""

import os
import sys
from pathlib import Path

import gi
import pytest

gi.require_version("Atspi", "2.0")
sys.path.insert(0, str(Path(__file__).parent))
pytest.register_assert_rewrite("harness")

from harness.desktop import Desktop  # noqa: E402
from harness.faults import Faults  # noqa: E402
from harness.installation import BUILD  # noqa: E402
from harness.processes import alive, command_line, descendants, end_orphans, prepare_run, reap  # noqa: E402
from harness.program import Program  # noqa: E402
from harness.tray import Tray  # noqa: E402
from harness.waiting import wait_equal, wait_for  # noqa: E402

prepare_run()


def pytest_sessionstart(session):
    if not (BUILD / "orvane").exists():
        pytest.exit(f"{BUILD}/orvane is not there: build it first, or set ORVANE_BUILD", 1)


@pytest.fixture(scope="session")
def desktop():
    desktop = Desktop()
    yield desktop
    desktop.close()
    end_orphans()


@pytest.fixture
def make_tray(desktop):
    trays = []

    def make(**details):
        trays.append(Tray(desktop, **details))
        return trays[-1]

    yield make
    for tray in trays:
        tray.close()


@pytest.fixture
def tray(make_tray):
    return make_tray()


@pytest.fixture
def make_program(desktop):
    """Makes programs and sees that nothing of them is left running afterwards."""
    before = set(descendants(os.getpid()))
    programs = []

    def make(**details):
        programs.append(Program(desktop, **details))
        return programs[-1]

    yield make
    for program in programs:
        program.close()
    try:
        wait_for(lambda: not strangers(before), "every process of the test to end", 5)
    finally:
        left = end_orphans(keep=set(descendants(os.getpid())) - set(strangers(before)))
    assert not left, f"left running: {left}"


def strangers(before):
    """Processes that came during the test, other than the desktop's services and clipboard owners."""
    services = ("at-spi", "xclip", "dbus-daemon", "dconf")
    found = []
    for pid in set(descendants(os.getpid())) - before:
        reap(pid)
        if alive(pid) and not any(name in command_line(pid) for name in services):
            found.append(pid)
    return found


@pytest.fixture
def program(make_program, tray):
    """The program with its scripted server, not started yet."""
    program = make_program()
    program.tray = tray
    return program


@pytest.fixture
def running(program, tray):
    """The program on a tray, its server launched. Leaves no file behind that was on its way."""
    program.start(tray=tray)
    program.launch = program.server.next_launch()
    yield program
    wait_equal(program.passing_files, [])


@pytest.fixture
def faulty(program, tray):
    """The same in a system that can be made a worse one."""
    program.faults = Faults(program)
    program.start(tray=tray, **program.faults.environment)
    program.launch = program.server.next_launch()
    yield program
    program.faults.close()
    wait_equal(program.passing_files, [])
