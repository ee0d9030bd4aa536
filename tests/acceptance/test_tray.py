"""The icon in the tray, and the window for a desktop without one."""

import shutil
from collections import Counter

import pytest
from gi.repository import Gio, GLib

from harness.installation import REPOSITORY, allowed_mib
from harness.processes import Answers, resident_mib
from harness.program import SCREENSHOTS
from harness.screen import ScreenReader, wait_for_window
from harness.lines import device_block, device_line, phone_block, session_line
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


def close_popped_up(desktop):
    """And waits for it: a key that no screen reader has answered for by the end is leaked by Qt."""
    with desktop.changing():
        desktop.press_keys("Escape")


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
        close_popped_up(desktop)


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
        desktop.settle()  # It may not have been painted yet, which is a change of the screen, too.
        assert "Orvane" not in desktop.visible_windows()
        with desktop.changing():
            desktop.click(x, y)
        with ScreenReader() as reader:
            desktop.press_keys("Up", "Up")
            reader.expect("Restart Server")
            desktop.press_keys("Return")
        program.server.next_launch()


def yellow(colours):
    """How many pixels have the colour of the sign for a problem."""
    return sum(count for (red, green, blue), count in colours.items() if red > 230 and 150 < green < 210 and blue < 60)


def test_a_problem_demands_the_panels_attention_and_waiting_and_connected_do_not(themed, tray):
    themed.start(tray=tray, XDG_CURRENT_DESKTOP="KDE")
    launch = themed.server.next_launch()
    read = themed.item().read
    for line, status in (("phone=waiting", "Active"), ("pairing: REJECTED", "NeedsAttention"), ("phone=yes", "Active"),
                         ("pairing: too many wrong codes", "NeedsAttention"), ("phone=waiting", "Active")):
        launch.say(line + "\n")
        wait_equal(lambda: read("Status"), status)
        demanded = status == "NeedsAttention"
        assert bool(read("AttentionIconPixmap")) == demanded
        wait_equal(lambda: read("IconName"), "audio.orvane.Orvane-symbolic" if line == "phone=waiting" else "")
        _, pixels = themed.item().pixels("AttentionIconPixmap" if demanded else "IconPixmap")
        assert bool(yellow(Counter(pixel[1:] for pixel in pixels if pixel[0] > 200))) == demanded
        assert demanded == (themed.item().tooltip()[0] == "⚠")


def test_a_server_that_stops_demands_attention_until_it_is_back(running):
    running.launch.exit(1)
    wait_equal(lambda: running.item().read("Status"), "NeedsAttention")
    running.server.next_launch()
    wait_equal(lambda: running.item().read("Status"), "Active")


def test_a_problem_is_seen_in_an_older_tray(make_program, desktop):
    with desktop.older_tray():
        program = make_program()
        program.start()
        launch = program.server.next_launch()
        wait_for(desktop.docked_icon, "an icon in the tray")

        def icon():
            x, y = desktop.docked_icon()  # Anew: it finds its place while it is taken in.
            return desktop.colours(x - 12, y - 12, 24, 24)

        assert not yellow(icon())
        launch.say("pairing: REJECTED\n")
        wait_for(lambda: yellow(icon()) > 5, "the sign for a problem")
        desktop.screenshot(SCREENSHOTS / "tray-problem.png")
        launch.say("phone=waiting\n")
        wait_for(lambda: not yellow(icon()), "the plain icon")


def test_a_problem_is_seen_in_the_window(window, trayless, desktop):
    assert not yellow(desktop.colours())
    trayless.launch.say("pairing: REJECTED\n")
    wait_for(lambda: yellow(desktop.colours()) > 20, "the sign for a problem")
    desktop.screenshot(SCREENSHOTS / "window-problem.png")
    trayless.launch.say("phone=yes\n")
    wait_for(lambda: not yellow(desktop.colours()), "the plain icon")


@pytest.fixture
def themed(program):
    """With the symbolic icon installed."""
    icon = program.home / ".local/share/icons/hicolor/scalable/apps/audio.orvane.Orvane-symbolic.svg"
    icon.parent.mkdir(parents=True)
    shutil.copy(REPOSITORY / "resources/menubar.svg", icon)
    return program


@pytest.mark.parametrize("desktop_name", ["XFCE", "ubuntu:GNOME", "KDE"])
def test_the_themes_symbolic_icon_is_named_where_the_panel_colours_it(themed, tray, desktop_name):
    themed.start(tray=tray, XDG_CURRENT_DESKTOP=desktop_name)
    launch = themed.server.next_launch()
    wait_equal(lambda: themed.item().read("IconName"), "audio.orvane.Orvane-symbolic")
    launch.say("phone=yes\n")
    wait_equal(lambda: themed.item().read("IconName"), "")
    assert themed.item().is_green()
    launch.say("phone=waiting\n")
    wait_equal(lambda: themed.item().read("IconName"), "audio.orvane.Orvane-symbolic")


@pytest.mark.parametrize("desktop_name", [None, "LXQt", "MATE", "sway"])
def test_elsewhere_the_icon_is_drawn_to_be_seen_on_any_panel(themed, tray, desktop_name):
    themed.start(tray=tray, XDG_CURRENT_DESKTOP=desktop_name)
    themed.server.next_launch()
    assert themed.item().read("IconName") == ""
    assert len(themed.item().read("IconPixmap")) > 5


def test_the_panel_is_asked_to_open_the_menu_itself(running):
    assert running.item().read("ItemIsMenu") is True


def test_a_panel_that_says_it_is_there_and_shows_nothing_is_no_tray(make_program, make_tray, desktop):
    program = make_program()
    program.tray = make_tray(looks=False)
    program.start(tray=program.tray)
    program.server.next_launch()
    wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window")
    program.item().read("IconName")
    wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the window to go")


def test_a_panel_that_goes_without_a_word_is_missed(make_program, make_tray, desktop):
    program = make_program()
    program.tray = make_tray()
    program.tray.name_host()
    program.start(tray=program.tray)
    program.server.next_launch()
    program.menu().row("Pairing code")
    program.tray.lose_host()
    wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window")
    program.item().read("IconName")
    wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the window to go")


def test_an_older_tray_that_comes_late_and_restarts_gets_the_icon_and_the_window_stands_in(make_program, desktop):
    program = make_program()
    program.start()
    program.server.next_launch()
    wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window")
    for _ in range(2):
        with desktop.older_tray():
            wait_for(desktop.docked_icon, "an icon in the tray")
            wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the window to go")
        wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window to come back")


def activate(program, method="Activate"):
    item = program.item()
    item.connection.call_sync(item.service, "/StatusNotifierItem", "org.kde.StatusNotifierItem", method,
                              GLib.Variant("(ii)", (300, 300)), None, Gio.DBusCallFlags.NONE, 10000, None)


@pytest.mark.parametrize("method", ["Activate", "SecondaryActivate", "ContextMenu"])
def test_a_click_that_the_panel_hands_on_pops_the_menu_up_on_x11(running, desktop, method):
    running.menu().row("Bluetooth: choose")
    with ScreenReader() as reader:
        with desktop.changing():
            activate(running, method)
        assert desktop.popped_up()[:2] == (0, 0), "where the pointer is, whatever the panel says"
        desktop.press_keys("Up", "Up")
        reader.expect("Restart Server")
        close_popped_up(desktop)


def send_clicks(program, count):
    """Sends so many at once, as no hand could, and waits for no answer; each click is somewhere else."""
    item = program.item()
    for click in range(count):
        item.connection.call(item.service, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate",
                             GLib.Variant("(ii)", (100 + click % 500, 300)), None, Gio.DBusCallFlags.NONE, 60000, None, None)


@pytest.mark.parametrize("wayland", [False, True])
def test_a_thousand_clicks_at_once_pop_one_menu_up_and_hold_nothing_up(program, tray, desktop, wayland):
    program.start(tray=tray, WAYLAND_DISPLAY="wayland-nowhere" if wayland else None)
    program.server.next_launch()
    menu = program.menu()
    with desktop.changing():
        activate(program)  # What the first click loads is not counted.
    answers = Answers(program)
    idle = max(answers.ask(menu)[1] for _ in range(20))
    before = resident_mib(program.pid)
    taken = []
    for _ in range(3):
        send_clicks(program, 1000)
        taken += [answers.ask(menu)[1] for _ in range(10)]  # The first one waits behind all the clicks.
    grown = resident_mib(program.pid) - before
    print(f"1000 clicks: worst answer {1000 * max(taken):.0f} ms (idle {1000 * idle:.0f} ms), memory +{grown:.1f} MiB")
    assert max(taken) < max(0.2, 3 * idle)
    assert grown < allowed_mib(8)
    if not wayland:
        with ScreenReader() as reader:
            desktop.press_keys("Up", "Up")
            reader.expect("Restart Server")
            close_popped_up(desktop)


def test_a_plain_click_shows_and_hides_the_window_on_wayland(program, tray, desktop):
    program.start(tray=tray, WAYLAND_DISPLAY="wayland-nowhere")
    program.server.next_launch()
    activate(program)
    wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window")
    activate(program)
    wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the window to go")
    activate(program)
    desktop.close_window("Orvane")
    wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the window to be closed")
    program.menu().row("Quit Orvane")
