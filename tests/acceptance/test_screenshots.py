"""Pictures of everything that the program shows, in light and in dark, for people to look at: see docs/testing.md."""

import pytest

from harness.program import SCREENSHOTS
from harness.screen import log_window, wait_for_dialog, wait_for_no_dialog, wait_for_window
from harness.lines import device_block, device_line, phone_block, session_line
from harness.sound import SoundServer
from harness.waiting import wait_for

# A KDE session's colours are the ones that Qt follows without any desktop's own plugin.
COLOURS = {
    "light": {"Window": ("239,240,241", "35,38,41"), "View": ("255,255,255", "35,38,41"),
              "Button": ("252,252,252", "35,38,41"), "Selection": ("61,174,233", "255,255,255")},
    "dark": {"Window": ("42,46,50", "252,252,252"), "View": ("27,30,32", "252,252,252"),
             "Button": ("49,54,59", "252,252,252"), "Selection": ("61,174,233", "252,252,252")},
}
LOG = """orvaned: listening on 127.0.0.1:5555
orvaned: Kitchen has connected
orvaned: R&D _spare has connected
"""


def put_colours(program, scheme):
    text = "".join(f"[Colors:{group}]\nBackgroundNormal={back}\nForegroundNormal={front}\n"
                   for group, (back, front) in COLOURS[scheme].items())
    (program.home / ".config").mkdir()
    (program.home / ".config/kdeglobals").write_text(text)


@pytest.fixture(params=["light", "dark"])
def shown(request, make_program, desktop):
    """The program in a window, as on a desktop without a tray, with two phones and a device that is too quiet."""
    sound = SoundServer(("loop", 16))
    sound.set_output("loop", 50)
    program = make_program(adb=None)
    program.scheme = request.param
    put_colours(program, request.param)
    program.start(PULSE_SERVER=sound.address, XDG_CURRENT_DESKTOP="KDE", KDE_FULL_SESSION="true",
                  KDE_SESSION_VERSION="5")
    program.server.next_launch().say(
        LOG + "pairing code: 418 207\n" +
        device_block(device_line("loop", "BlackHole 16ch"), device_line("two", "BlackHole 2ch", 2, False)) +
        phone_block(session_line(1, "Kitchen", 1, 0, 183204), session_line(2, "R&D _spare", 3, 1, 9120, xruns=2)) +
        "phone=yes\n")
    program.window = wait_for_window(program.pid, lambda window: window.title == "Orvane", "the window")
    wait_for(lambda: "USB: Android tools not installed…" in program.window.buttons, "all rows")
    yield program
    sound.close()


def test_pictures(shown, desktop):
    def take(name):
        path = SCREENSHOTS / f"{name}-{shown.scheme}.png"
        desktop.screenshot(path)
        assert path.stat().st_size > 5000

    def press(start):
        shown.window.press(next(name for name in shown.window.buttons if name.startswith(start)))

    def take_dialog(name, start, answer):
        dialog = wait_for_dialog(shown.pid, start)
        take(name)
        with desktop.changing():
            dialog.press(answer)
        wait_for_no_dialog(shown.pid)

    assert any(name.startswith("⚠ BlackHole") for name in shown.window.buttons)
    desktop.settle()
    take("menu")

    with desktop.changing():
        press("Phones: 2 connected")
    take("phones")
    with desktop.changing():
        desktop.press_keys("Down", "Down", "Right")
    take("phone-details")
    with desktop.changing():
        desktop.press_keys("Escape", "Escape")

    with desktop.changing():
        press("Audio device: ")
    take("devices")
    with desktop.changing():
        desktop.press_keys("Up", "Return")
    take_dialog("dialog-device", "Orvane needs", "Cancel")

    with desktop.changing():
        press("New Pairing Code…")
    take_dialog("dialog-pairing", "Generate", "Cancel")

    with desktop.changing():
        press("USB: Android tools")
    take_dialog("dialog-usb", "Android", "OK")

    with desktop.changing():
        press("Show Log")
    log_window(shown.pid)
    take("log")
