"""What people read and find, the same on every system: the acceptance tests and the journeys (journeys.py) expect it."""

from dataclasses import dataclass

from .lines import device_line, session_line

WAITING = "○ Waiting for phone…"
PAGE = "existential.audio/blackhole"
BREW = "brew install --cask blackhole-16ch"


@dataclass(frozen=True)
class Row:
    """A row that is shown. AppKit enables rows by itself: whatever runs a command or leads on. A row that runs a command but is
    `dimmed` is disabled elsewhere only."""

    title: str
    enabled: bool = True
    checked: bool = False
    key: str = ""  # To be pressed with the system's own modifier for commands.
    dimmed: bool = False

    def as_appkit_shows_it(self):
        return Row(self.title, self.enabled or self.dimmed, self.checked, self.key)

    def as_others_show_it(self):
        return Row(self.title, self.enabled, self.checked, self.key)


LINE = Row("—")


def idle(title):
    """Neither runs a command nor leads on."""
    return Row(title, enabled=False)


def dimmed(title, checked=False):
    return Row(title, enabled=False, checked=checked, dimmed=True)


AT_START = [
    idle(WAITING),
    LINE,
    Row("Pairing code: …"),
    Row("New Pairing Code…"),
    LINE,
    dimmed("USB: checking…"),
    Row("Bluetooth: choose a phone…"),
    LINE,
    idle("Phones: none"),
    Row("Keep phones in sync", checked=True),
    LINE,
    idle("Audio device: …"),
    LINE,
    Row("Show Log", key="L"),
    Row("Restart Server", key="R"),
    LINE,
    Row("Quit Orvane", key="Q"),
]

NO_BLUETOOTH_PHONE = [
    Row("Off", checked=True),
    LINE,
    idle("No phone is offering Orvane"),
    idle("Open Orvane on the phone and choose Bluetooth"),
]


@dataclass(frozen=True)
class Question:
    text: str
    further: str
    buttons: tuple


COPY_CODE = Question(
    "Pairing code: 12 34_&",
    "On this desktop Orvane can copy only from a window of its own.",
    ("Copy", "Cancel"))

NEW_CODE = Question(
    "Generate a new pairing code?",
    "The current code stops working. You will need to enter the new code on your phone.",
    ("Generate", "Cancel"))

MISSING_DEVICE = Question(
    "Orvane needs a virtual audio device",
    "Orvane delivers the phone's microphone through a loopback audio device, which lets any Mac app select it as an "
    "input. Orvane does not install one — BlackHole is free, open source, and the standard choice.\n\n"
    f"Install it with Homebrew:\n    {BREW}\n\n"
    f"Or download the installer from {PAGE}.\n\n"
    "Pick the 16-channel version: each phone occupies one stereo pair, so 16 channels means up to 8 phones at once. "
    "Orvane finds it automatically once installed — no restart needed.",
    ("Open Download Page", "Copy Homebrew Command", "Cancel"))

MISSING_ADB = Question(
    "Android platform-tools not found",
    "USB streaming needs Google's adb tool to open a tunnel to your phone.\n\n"
    "Install it with Homebrew:\n    brew install --cask android-platform-tools\n\n"
    "Then, on the phone, enable Developer Options and USB debugging, and accept the prompt when you plug it in. "
    "Orvane does the rest automatically.\n\n"
    "Prefer not to enable Developer Options? Use Wi-Fi instead — it needs no setup at all.",
    ("OK",))

# What the server says of a phone on the third and fourth of eight channels, and what its submenu tells then.
LOOPBACK = device_line("uid", "Loopback", 8)
KITCHEN = session_line(7, "Kitchen", 3, 3, 183204, 42, 40, 3, "11.54", "4.25", "Voice", "192.0.2.7", "48k s16 mono")
KITCHEN_DETAILS = [
    idle("Send to channels"),
    Row("1–2"),
    Row("3–4", checked=True),
    Row("5–6"),
    Row("7–8"),
    LINE,
    idle("Buffer 42 ms (target 40 ms)"),
    idle("Profile: Voice · 48K S16 MONO"),
    idle("Network delay 4.2 ms"),
    idle("Round trip 11.5 ms"),
    idle("Dropouts 3 · packets 183204"),
    idle("Address 192.0.2.7"),
]
