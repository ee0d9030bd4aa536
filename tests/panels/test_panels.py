"""What a person meets in a real panel: the icon, the menu by either button, what comes later, names, choices, the end."""

import pytest

import sight
from harness.expected import BREW
from harness.lines import device_block, device_line, phone_block, session_line
from harness.server import put_telling_server, wait_for_beginning, was_asked
from harness.waiting import stays, wait_equal, wait_for

NAME = "R&D _spare __init__ 100% <b>"
UNDERSCORES = [1, 2, 2]


def connect(program, *sessions):
    program.launch.say(phone_block(*sessions) + "phone=yes\n")


@pytest.fixture
def green(panel, running):
    """The program, connected, once its icon stands still."""
    connect(running, session_line(1, "Kitchen"))
    panel.move(*panel.nowhere)
    wait_for(lambda: ("Orvane" not in panel.window_titles()) == panel.shows_icon and panel.green_icon(), "the green icon", 60)
    panel.settle(30)
    return running


def test_the_icon_is_there_in_one_size_and_stands_out(panel, green, picture):
    box = wait_for(panel.green_icon, "the green icon, which a panel may draw anew")
    picture("icon-connected")
    green.launch.say("phone=waiting\n")
    wait_for(lambda: panel.green_icon() is None, "the waiting icon")
    shown = panel.settle()
    picture("icon-waiting")
    assert sight.contrast(shown, box) >= 3
    assert box[3] - box[1] >= 12
    now = sight.shape_around(shown, box)
    assert abs((now[3] - now[1]) - (box[3] - box[1])) <= 3, "a waiting icon has a rim at most, and is else as large"


def test_the_program_comes_first_and_a_window_stands_in_while_the_panel_restarts(panel, green, picture):
    if not panel.restarts:
        pytest.skip("there is nothing that could restart")
    panel.stop_panel()
    wait_for(lambda: "Orvane" in panel.window_titles(), "the window", 30)
    picture("without-panel")
    panel.start_panel()
    wait_for(lambda: "Orvane" not in panel.window_titles(), "the window to go", 60)
    wait_for(panel.green_icon, "the icon in the new panel", 60)
    panel.settle(30)
    picture("icon-after-restart")


@pytest.mark.parametrize("button", [1, 3])
def test_the_menu_shows_the_phones_that_came_later_to_the_third_level(panel, running, picture, button):
    if button not in panel.buttons:
        pytest.skip("this panel opens the menu by the other button")
    running.launch.say("phone=yes\n" + device_block(device_line("loop", "Loopback", 8)))
    panel.open_menu(button)
    panel.dismiss()
    connect(running, session_line(1, "Kitchen"), session_line(2, "Desk", 3))
    panel.open_menu(button)
    panel.find("2 phones connected")
    panel.choose("Phones: 2 connected")
    panel.choose("Kitchen")
    panel.find("Dropouts 0 · packets 1000")
    picture(f"details-button-{button}")
    panel.choose("5–6")
    wait_equal(lambda: read(running.settings("channels")), b"1=2\n")


def test_a_click_that_the_panel_reports_shows_and_hides_a_window_where_no_menu_can_be_placed(panel, green, picture):
    if panel.knows_places or not panel.shows_icon:
        pytest.skip("the menu pops up, or is there all the time")
    ground = panel.settle()
    panel.report_click()
    wait_for(lambda: panel.focused_title() == "Orvane", "the window in front")
    shown = panel.settle()
    picture("clicked")
    left, top, right, bottom = sight.changed_area(ground, shown)
    assert right - left < 600 and bottom - top < 600, "the window fills the screen"
    panel.report_click()
    wait_for(lambda: "Orvane" not in panel.window_titles(), "the window to go")


def test_reports_under_an_open_menu_leave_it_alone(panel, green, picture):
    panel.open_menu()
    panel.choose("Phones: 1 connected")
    panel.choose("Kitchen")
    panel.find("Address")
    shown = panel.settle()
    for packets in range(5):
        connect(green, session_line(1, "Kitchen", packets=1000 + packets))

    def stands():
        """A figure may change in place."""
        area = sight.changed_area(shown, panel.picture())
        return area is None or area[3] - area[1] < 40

    # Bluetooth looks around every three seconds, too.
    assert stays(stands, 3.5)
    picture("after-five-reports")
    panel.dismiss()


def test_names_are_read_as_they_are(panel, running, picture):
    running.launch.say(device_block(device_line("a", NAME, 2)))
    connect(running, session_line(1, NAME))
    panel.open_menu(panel.buttons[-1])  # For a plain click some let the program show its own.
    line = panel.find(f"Audio device: {NAME}")
    picture("names")
    assert "&" in line.text and "<b>" in line.text, line.text
    assert sight.underscores(panel.picture(), line.box) == UNDERSCORES
    panel.dismiss()


def test_show_log_brings_the_window_to_the_front(panel, green, picture):
    for _ in range(2):  # The window is new at first, and behind another one later.
        with panel.window_in_front():
            panel.open_menu()
            panel.choose("Show Log")
            wait_for(lambda: "Orvane Server Log" in panel.focused_title(), "the log window in front")
            picture("log")


def test_its_windows_belong_to_the_display_that_the_panel_stands_for(panel, green):
    if not hasattr(panel, "shell"):
        pytest.skip("there is no other display")
    panel.open_menu()
    panel.choose("Show Log")
    wait_for(lambda: "Orvane Server Log" in panel.focused_title(), "the log window in front")
    assert {window["shell"] for window in panel.windows()} == {panel.shell}


def test_the_pairing_code_is_copied_from_behind_another_window(panel, green, picture):
    panel.copy("before")
    green.launch.say("pairing code: 31415\n")
    with panel.window_in_front():
        panel.open_menu()
        panel.choose("Pairing code: 31415")
        if panel.asks_before_copying:
            wait_for(lambda: panel.focused_title() == "Orvane", "the question in front")
            panel.settle()
            picture("copy")
            panel.press("Return")
        wait_equal(panel.copied, "31415")


def test_the_command_of_a_question_is_copied(panel, green):
    panel.copy("before")
    green.launch.say("devices: 0\n")
    panel.open_menu()
    panel.choose("No audio device")
    wait_for(lambda: panel.focused_title() == "Orvane", "the question in front")
    panel.settle()
    panel.press("Down", "Return")
    wait_equal(panel.copied, BREW)


def test_quit_ends_the_program_and_the_icon_goes(panel, green):
    panel.open_menu()
    panel.choose("Quit Orvane")
    assert green.process.wait(10) == 0
    wait_for(lambda: panel.green_icon() is None, "the icon to go")


def read(path):
    return path.read_bytes() if path.exists() else None


def test_when_the_desktop_ends_the_server_is_told(panel, green):
    """Afterwards there is no desktop for another test."""
    if not panel.end_desktop:
        pytest.skip("programs outlive this panel's desktop, or end in another test")
    put_telling_server(green)
    panel.open_menu()
    panel.choose("Restart Server")
    wait_for_beginning(green)
    panel.end_desktop()
    green.process.wait(10)
    assert was_asked(green)
