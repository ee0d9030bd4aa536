"""The icon in the tray, and the window for a desktop without one."""

import shutil

import pytest

from harness.program import REPOSITORY
from harness.screen import ScreenReader, wait_for_window
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


@pytest.fixture
def window(trayless):
    """The window that stands in for the tray; its rows are read with `names`."""
    return wait_for_window(trayless.pid, lambda window: window.title == "Orvane", "the window")


def test_without_a_tray_a_window_offers_the_menu(trayless, window):
    trayless.launch.say("pairing code: 12 & _3\n" + phone_block(session_line(1, "R&D _x")) +
                        device_block(device_line("a", "Loop & back", 2)) + "phone=yes\n")
    wait_for(lambda: "Phones: 1 connected" in window.buttons, "the phone in the window")
    assert "● 1 phone connected" in window.texts
    assert [box.get_name() for box in window.parts("check box")] == ["Keep phones in sync"]
    assert window.buttons == [
        "Pairing code: 12 & _3   (click to copy)",
        "New Pairing Code…",
        "USB: checking…",
        "Bluetooth: choose a phone…",
        "Phones: 1 connected",
        "Audio device: Loop & back",
        "Show Log",
        "Restart Server",
        "Quit Orvane",
    ]


@pytest.mark.parametrize("name, shown", [
    ("R&D _x && __", "R&D _x && __"),
    ("tab\there", "tab\N{SYMBOL FOR HORIZONTAL TABULATION}here"),
    ("🎤 Zoë שלום", "🎤 Zoë שלום"),
    ("<b>bold</b> &amp;", "<b>bold</b> &amp;"),
    ("\x1b[31mred\a", "\N{SYMBOL FOR ESCAPE}[31mred\N{SYMBOL FOR BELL}"),
])
def test_a_name_acts_as_nothing_but_text_in_the_window_and_its_menus(trayless, window, desktop, name, shown):
    trayless.launch.say(phone_block(session_line(1, name)) + device_block(device_line("a", name, 2)))
    wait_for(lambda: f"Audio device: {shown}" in window.buttons, f"{shown!r} in {window.buttons}")
    with ScreenReader() as reader:
        with desktop.changing():
            window.press("Phones: 1 connected")
        desktop.press_keys("Down")
        reader.expect(f"{shown}   →   ch 1–2")
        desktop.press_keys("Escape")


def test_what_comes_while_a_menu_of_the_window_is_open_is_shown_afterwards(trayless, window, desktop):
    trayless.launch.say(phone_block(session_line(1, "Kitchen")))
    wait_for(lambda: "Phones: 1 connected" in window.buttons, "the phone")
    with desktop.changing():
        window.press("Phones: 1 connected")
    trayless.launch.say(phone_block(session_line(2, "Desk"), session_line(3, "Hall")) + "pairing code: seen\n")
    wait_for(lambda: "Pairing code: seen   (click to copy)" in window.buttons, "the code")
    assert "Phones: 1 connected" in window.buttons
    with ScreenReader() as reader:
        desktop.press_keys("Down")
        reader.expect("Kitchen   →   ch 1–2")
        desktop.press_keys("Escape")
    wait_for(lambda: "Phones: 2 connected" in window.buttons, "the phones")


def test_the_window_has_the_key_equivalents(trayless, window, desktop):
    desktop.activate_window("Orvane")
    desktop.press_keys("ctrl+r")
    trayless.server.next_launch()
    desktop.press_keys("ctrl+q")
    assert trayless.process.wait(10) == 0


def test_closing_the_window_quits_and_ends_the_server(trayless, window, desktop):
    desktop.close_window("Orvane")
    assert trayless.process.wait(10) == 0
    trayless.launch.wait_until_gone()


def test_a_button_of_the_window_does_what_the_row_does(trayless, window):
    wait_for(lambda: "Restart Server" in window.buttons, "the row")
    window.press("Restart Server")
    trayless.server.next_launch()


def test_the_window_goes_when_a_tray_comes(trayless, window, desktop, make_tray):
    trayless.tray = make_tray()
    trayless.menu().row("Pairing code")
    wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the window to go")


def test_an_xembed_tray_gets_the_icon_and_pops_the_menu_up(make_program, desktop):
    with desktop.older_tray():
        program = make_program()
        program.start()
        program.server.next_launch()
        x, y = wait_for(desktop.docked_icon, "an icon in the tray")
        assert "Orvane" not in desktop.visible_windows()
        with desktop.changing():
            desktop.click(x, y)
        with ScreenReader() as reader:
            desktop.press_keys("Up", "Up")
            reader.expect("Restart Server")
            desktop.press_keys("Return")
        program.server.next_launch()


def test_the_themes_symbolic_icon_is_named_so_that_the_panel_can_colour_it(program, tray):
    icon = program.home / ".local/share/icons/hicolor/scalable/apps/audio.orvane.Orvane-symbolic.svg"
    icon.parent.mkdir(parents=True)
    shutil.copy(REPOSITORY / "resources/menubar.svg", icon)
    program.start(tray=tray)
    launch = program.server.next_launch()
    wait_equal(lambda: program.item().read("IconName"), "audio.orvane.Orvane-symbolic")
    launch.say("phone=yes\n")
    wait_equal(lambda: program.item().read("IconName"), "")
    assert program.item().is_green()
    launch.say("phone=waiting\n")
    wait_equal(lambda: program.item().read("IconName"), "audio.orvane.Orvane-symbolic")
