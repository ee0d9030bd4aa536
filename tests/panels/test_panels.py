"""What a person meets in a real panel: the icon, the menu by either button, what comes later, names, choices, the end."""

import time

import pytest

from harness.lines import device_block, device_line, phone_block, session_line
from harness.waiting import stays, wait_equal, wait_for
from panels import contrast

NAME = "R&D _spare __init__ 100% <b>"


def connect(program, *sessions):
    program.launch.say(phone_block(*sessions) + "phone=yes\n")


def icon(panel):
    """The green icon's box, once it stands still."""
    last = [None]

    def still():
        earlier, last[0] = last[0], panel.green_icon()
        return last[0] is not None and earlier == last[0]

    wait_for(still, "the green icon", 60)
    return last[0]


def open_menu(panel, box, button=1):
    """Opens the menu and waits for its rows; a panel that is busy may miss a click."""
    for _ in range(3):
        panel.click((box[0] + box[2]) // 2, (box[1] + box[3]) // 2, button)
        time.sleep(1)
        panel.press("Down")
        try:
            return wait_for(lambda: "Quit Orvane" in panel.rows() and panel.rows(), "the menu", 5)
        except AssertionError:
            panel.dismiss()
    raise AssertionError(f"no menu; what is open: {panel.rows()}")


def test_the_icon_is_there_in_one_size_and_stands_out(panel, running, picture):
    running.launch.say("phone=yes\n")
    green = icon(panel)
    picture("icon-connected")
    running.launch.say("phone=waiting\n")
    wait_for(lambda: panel.green_icon() is None, "the waiting icon")
    time.sleep(0.5)
    picture("icon-waiting")
    assert contrast(panel.pixels(), green) >= 3
    assert green[3] - green[1] >= 12


def test_the_program_comes_first_and_the_panel_restarts(panel, running, picture):
    running.launch.say("phone=yes\n")
    icon(panel)
    panel.stop_panel()
    wait_for(lambda: panel.green_icon() is None, "the panel to go")
    panel.start_panel()
    icon(panel)
    picture("icon-after-restart")


@pytest.mark.parametrize("button", [1, 3])
def test_the_menu_shows_the_phones_that_came_later_to_the_third_level(panel, running, picture, button):
    running.launch.say("phone=yes\n" + device_block(device_line("loop", "Loopback", 8)))
    box = icon(panel)
    open_menu(panel, box, button)
    panel.dismiss()
    connect(running, session_line(1, "Kitchen"), session_line(2, NAME, 3))
    time.sleep(0.5)
    rows = open_menu(panel, box, button)
    assert rows[0] == "● 2 phones connected", rows
    assert "Phones: 2 connected" in rows
    panel.enter("Phones: 2 connected")
    panel.enter("Kitchen")
    panel.row("Send to channels")
    panel.row("Dropouts 0 · packets 1000")
    picture(f"details-button-{button}")
    panel.choose("3–4")
    wait_equal(lambda: read(running.settings("channels")), b"1=1\n")


def test_reports_under_an_open_menu_leave_it_alone(panel, running, picture):
    connect(running, session_line(1, "Kitchen"))
    box = icon(panel)
    open_menu(panel, box)
    panel.enter("Phones: 1 connected")
    panel.enter("Kitchen")
    before = len(panel.open_menus())
    for packets in range(5):
        connect(running, session_line(1, "Kitchen", packets=packets))
        time.sleep(0.3)
    # Bluetooth looks around every three seconds, too.
    assert stays(lambda: len(panel.open_menus()) == before, 3.5)
    picture("after-five-reports")
    panel.dismiss()


def test_names_are_read_as_they_are(panel, running, picture):
    running.launch.say(device_block(device_line("a", NAME, 2)))
    connect(running, session_line(1, NAME))
    box = icon(panel)
    rows = open_menu(panel, box)
    picture("names")
    panel.dismiss()
    expected = f"Audio device: {NAME}"
    assert (expected if panel.reads_underscores else expected.replace("_", "")) in rows, rows


def test_show_log_brings_the_window_to_the_front(panel, running, picture):
    running.launch.say("phone=yes\n")
    box = icon(panel)
    open_menu(panel, box)
    panel.choose("Show Log")
    wait_for(lambda: panel.focused_title() == "Server Log" or "Log" in panel.focused_title(), "the log window in front")
    picture("log")


def test_quit_ends_the_program_and_the_icon_goes(panel, running):
    running.launch.say("phone=yes\n")
    box = icon(panel)
    open_menu(panel, box)
    panel.choose("Quit Orvane")
    assert running.process.wait(10) == 0
    wait_for(lambda: panel.green_icon() is None, "the icon to go")


def read(path):
    return path.read_bytes() if path.exists() else None
