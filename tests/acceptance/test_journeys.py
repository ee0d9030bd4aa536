"""The journeys that the program is taken on everywhere, here through a panel and a screen reader."""

import pytest

from harness.bluetooth import BluetoothMachine, frame
from harness.expected import Row
from harness.journeys import BLUETOOTH_JOURNEYS, JOURNEYS, STAND_IN, STAND_IN_JOURNEYS
from harness.ports import answers, free_port
from harness.screen import wait_for_dialog, wait_for_no_dialog, windows
from harness.waiting import wait_for


class Hand:
    def __init__(self, program, desktop, machine=None, port=None):
        self.program = program
        self.desktop = desktop
        self.machine = machine
        self.port = port  # Of the stand-in server, when there is no scripted one.
        self.menu = program.menu()
        self.launch = program.server and program.server.next_launch()

    @staticmethod
    def shown(row):
        return row.as_others_show_it()

    def _row(self, path):
        row = self.menu.row(path[0])
        for title in path[1:]:
            row = next(below for below in row.open() if below.title.startswith(title))
        return row

    def rows(self, *path):
        rows = self.menu.rows() if not path else self._row(path).open()
        return [Row(row.title, row.enabled, row.checked, self._key(row)) for row in rows]

    @staticmethod
    def _key(row):
        assert all(key[:-1] == ["Control"] for key in row.shortcut), row.shortcut
        return row.shortcut[0][-1] if row.shortcut else ""

    def open(self):
        self.menu.open()

    def close(self):
        self.menu.close()

    def choose(self, *path):
        self._row(path).click()

    def icon(self):
        item = self.program.item()
        return item.is_green(), item.tooltip()

    def say(self, text):
        self.launch.say(text)

    def next_server(self):
        before, self.launch = self.launch, self.program.server.next_launch()
        assert not before.alive

    def server_stays(self):
        return not self.program.server.launched_again(within=0.3) and self.launch.alive

    def make_server_stubborn(self):
        self.launch.ignore()

    def question(self):
        self.dialog = wait_for_dialog(self.program.pid, "")
        return self.dialog.texts[0], self.dialog.texts[1], tuple(self.dialog.buttons)

    def answer(self, button):
        self.dialog.press(button)
        wait_for_no_dialog(self.program.pid)

    def log(self):
        shown = [window for window in windows(self.program.pid) if window.title == "Orvane Server Log"]
        return shown[0].text() if shown else None

    def setting(self, name):
        path = self.program.settings(name)
        return path.read_bytes() if path.exists() else None

    def clipboard(self):
        return self.desktop.clipboard()

    def copy(self, text):
        self.desktop.set_clipboard(text)

    def attach(self):
        self.link = self.machine.phones[0].link()
        self.link.send(frame("A"))
        self.connection = self.machine.server.accept()

    def hang_up(self):
        self.link.close()

    def end(self):
        status = self.program.process.wait(10)
        gone = (lambda: not self.launch.alive) if self.launch else (lambda: not answers(self.port))
        wait_for(gone, "the server's end")
        return status


@pytest.fixture
def machine():
    machine = BluetoothMachine()
    yield machine
    machine.close()


@pytest.mark.parametrize("journey", JOURNEYS, ids=lambda journey: journey.__name__)
def test_a_journey(program, tray, desktop, journey):
    journey(Hand(program.start(tray=tray), desktop))


@pytest.mark.parametrize("journey", BLUETOOTH_JOURNEYS, ids=lambda journey: journey.__name__)
def test_a_journey_with_a_bluetooth_phone(program, tray, desktop, machine, journey):
    machine.phone()
    machine.bluez.appear()
    journey(Hand(program.start(tray=tray, **machine.environment()), desktop, machine))


@pytest.mark.parametrize("journey", STAND_IN_JOURNEYS, ids=lambda journey: journey.__name__)
def test_a_journey_with_the_stand_in_server(make_program, tray, desktop, journey):
    program = make_program(scripted=False)
    program.put_simulator()
    port = free_port()
    journey(Hand(program.start(tray=tray, ORVANED_PORT=str(port), **STAND_IN), desktop, port=port))
