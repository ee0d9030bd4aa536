"""The icon in the tray, and the window for a desktop without one."""

import pytest

from harness.screen import wait_for_window
from harness.server import device_block, device_line, phone_block, session_line
from harness.waiting import wait_equal, wait_for

WAITING = "○ Waiting for phone…"


@pytest.fixture
def trayless(make_program):
    """The program on a desktop that has no tray, its server launched."""
    program = make_program()
    program.start()
    program.launch = program.server.next_launch()
    return program


def test_a_tray_that_starts_after_the_program_gets_the_icon(trayless, make_tray):
    trayless.tray = make_tray()
    wait_equal(lambda: trayless.menu().status, WAITING)


def test_a_tray_whose_host_comes_late_gets_the_icon(make_program, make_tray):
    program = make_program()
    program.tray = make_tray(with_host=False)
    program.start(tray=program.tray)
    program.server.next_launch().say("pairing code: 1\n")
    program.tray.add_host()
    program.menu().row("Pairing code: 1")


def test_a_tray_that_restarts_gets_icon_and_menu_again(running, make_tray):
    running.menu().row("Pairing code")
    for _ in range(3):
        running.tray.close()
        running.tray = make_tray()
        running.launch.say("phone=yes\n")
        wait_equal(lambda: running.menu().status, "● 0 phones connected")
        wait_for(running.item().is_green, "the green icon")
        running.launch.say("phone=waiting\n")
        wait_equal(lambda: running.menu().status, WAITING)


def test_a_tray_that_dies_with_its_menu_open_does_not_hold_back_what_comes(running, make_tray):
    menu = running.menu()
    menu.open()
    running.tray.close()
    running.launch.say(phone_block(session_line(1, "Kitchen")))
    running.tray = make_tray()
    running.menu().row("Phones: 1 connected")


def test_there_is_one_icon(running):
    running.menu().row("Bluetooth: choose")
    assert len(running.tray.item_names()) == 1


def test_without_a_tray_a_window_offers_the_menu(trayless):
    trayless.launch.say("pairing code: 12 & _3\n" + phone_block(session_line(1, "R&D _x")) +
               device_block(device_line("a", "Loop & back", 2)) + "phone=yes\n")
    window = wait_for_window(trayless.pid, lambda window: window.title == "Orvane", "the window")
    wait_for(lambda: any("12 & _3" in name for name in all_names(window)), "the pairing code in the window")
    names = all_names(window)
    for name in ("● 1 phone connected", "New Pairing Code…", "Show Log", "Restart Server", "Quit Orvane",
                 "Audio device: Loop & back", "Phones: 1 connected", "Keep phones in sync"):
        assert any(name in shown.replace("&&", "&") for shown in names), f"{name} in {names}"


def test_closing_the_window_quits_and_ends_the_server(trayless, desktop):
    wait_for_window(trayless.pid, lambda window: window.title == "Orvane", "the window")
    desktop.close_window("Orvane")
    assert trayless.process.wait(10) == 0
    trayless.launch.wait_until_gone()


def test_a_button_of_the_window_does_what_the_row_does(trayless):
    window = wait_for_window(trayless.pid, lambda window: window.title == "Orvane", "the window")
    wait_for(lambda: "Restart Server" in window.buttons, "the row")
    window.press("Restart Server")
    trayless.server.next_launch()


def test_the_window_goes_when_a_tray_comes(trayless, desktop, make_tray):
    wait_for_window(trayless.pid, lambda window: window.title == "Orvane", "the window")
    trayless.tray = make_tray()
    trayless.menu().row("Pairing code")
    wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the window to go")


def all_names(window):
    return [part.get_name() for part in window.parts("label", "push button", "button", "check box", "menu item",
                                                     "check menu item", "toggle button") if part.get_name()]
