"""The program on a computer with Bluetooth: fixtures for the tests that import them, and what its menu says."""

from functools import partial

import pytest

from .bluetooth import BluetoothMachine, frame
from .waiting import wait_equal

PIXEL = "AA:00:00:00:00:01"
LOOKING = "Bluetooth: looking for Pixel…"
STREAMING = "Bluetooth: streaming from Pixel"


@pytest.fixture
def machine():
    machine = BluetoothMachine()
    yield machine
    machine.close()


def start_on(machine, program, tray=None, chosen=PIXEL, with_bluez=True, wait_for_server=True):
    """Starts the program on the machine, with a phone of the last run or none."""
    if chosen:
        program.choose_phone(chosen)
    if with_bluez:
        machine.bluez.appear()
    program.start(tray=tray, **machine.environment())
    if wait_for_server:
        program.launch = program.server.next_launch()
    return program


@pytest.fixture
def start(program, tray, machine):
    return partial(start_on, machine, program, tray)


@pytest.fixture
def live(start, machine):
    """The program with Pixel attached: (program, the phone's link, the server's connection)."""
    phone = machine.phone()
    program = start()
    link = phone.link()
    link.send(frame("A"))
    connection = machine.server.accept()
    wait_equal(lambda: row(program), STREAMING)
    return program, link, connection


def row(program):
    return program.menu().row("Bluetooth").title


def choices(program):
    """The rows of the Bluetooth submenu."""
    menu = program.menu()
    return menu.rows(menu.row("Bluetooth").id)
