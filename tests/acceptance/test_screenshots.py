"""Pictures of everything that the program shows, in light and in dark, for people to look at: see docs/testing.md."""

from collections import Counter

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


def contrast(one, other):
    """As WCAG 2 reckons it: https://www.w3.org/TR/WCAG21/#dfn-contrast-ratio"""
    def luminance(colour):
        channels = [value / 255 for value in colour]
        red, green, blue = (c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4 for c in channels)
        return 0.2126 * red + 0.7152 * green + 0.0722 * blue

    darker, lighter = sorted((luminance(one), luminance(other)))
    return (lighter + 0.05) / (darker + 0.05)


def check_contrast(desktop):
    """Of the menu with a phone's details, from its pixels: its border, and every line of text in it."""
    x, y, width, height = desktop.popped_up()
    ground = desktop.colours(x, y, width, height).most_common(1)[0][0]
    for place in ((x, y + height // 2, 1, 1), (x + width // 2, y + height - 1, 1, 1)):
        assert contrast(ground, next(iter(desktop.colours(*place)))) >= 3, f"the border at {place}"
    rows = desktop.rows(x + 4, y + 4, width - 8, height - 8)
    lines = []
    for row in rows:
        strongest = max(contrast(ground, colour) for colour in row)
        # Nothing, or the row that is selected: its colours are the desktop's choice.
        if set(row) == {ground} or Counter(row).most_common(1)[0][0] != ground:
            lines.append([])
        elif lines and lines[-1]:
            lines[-1].append(strongest)
        else:
            lines.append([strongest])
    texts = [line for line in lines if len(line) > 4]  # Thinner ones are separators.
    assert len(texts) >= 10
    faintest = min(max(line) for line in texts)
    assert faintest >= 4.5, f"the faintest of {len(texts)} lines has {faintest:.2f}"


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
    check_contrast(desktop)
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
