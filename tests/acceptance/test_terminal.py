"""The terminal surface, on a pseudo-terminal and at the ends of pipes."""

import os
import re
import signal
import subprocess
import termios

import pytest

from harness.processes import cpu_seconds
from harness.lines import device_block, device_line, phone_block, session_line
from harness.terminal import started
from harness.waiting import stays, wait_equal, wait_for

AWKWARD = "R&D _x\ttab 🎤 שלום \u202egnol\x1b[31mred\a\b\x9b2J\u2067x"

ROWS_AT_START = """\
 1   ○ Waiting for phone…

 3)  Pairing code: …
 4)  New Pairing Code…

 6   USB: checking…
 7)  Bluetooth: choose a phone…  >
    7/1)  [x] Off

    7/3   No phone is offering Orvane
    7/4   Open Orvane on the phone and choose Bluetooth

 9   Phones: none
10)  [x] Keep phones in sync

12   Audio device: …

15)  Show Log  (l)
16)  Restart Server  (r)

18)  Quit Orvane  (q)
"""


@pytest.fixture(params=["tty", "pipe"])
def terminal(request, make_program):
    """The program on a machine without a display, its menu shown."""
    yield from started(make_program(), tty=request.param == "tty", TERM="xterm")


@pytest.fixture
def piped(make_program):
    yield from started(make_program(), tty=False)


def read(path):
    return path.read_bytes() if path.exists() else None


def test_without_a_display_the_rows_are_printed(terminal):
    terminal.expect("Bluetooth: choose a phone…")
    terminal.mark()
    terminal.send("menu")
    terminal.expect("Quit Orvane")
    assert ROWS_AT_START in terminal.new_text


def test_changes_are_followed_without_asking(terminal):
    terminal.launch.say("pairing code: 123\n" + phone_block(session_line(1, "Kitchen")) + "phone=yes\n")
    terminal.expect("Pairing code: 123   (click to copy)")
    terminal.expect("● 1 phone connected")
    terminal.expect("Kitchen   →   ch 1–2")


def test_only_what_has_changed_is_printed(terminal):
    terminal.launch.say("pairing code: 1\n")
    terminal.expect("Pairing code: 1 ")
    terminal.mark()
    terminal.launch.say("pairing code: 2\n")
    terminal.expect("Pairing code: 2 ")
    assert "Quit Orvane" not in terminal.new_text and "Waiting" not in terminal.new_text


@pytest.mark.parametrize("command", ["16", "choose 16", "restart", "RESTART", "choose Restart Server", "r"])
def test_a_row_is_chosen_by_number_by_title_or_by_key(piped, command):
    piped.send(command)
    piped.program.server.next_launch()
    assert not piped.launch.alive


def test_channels_are_chosen_by_their_path(terminal):
    terminal.launch.say(device_block(device_line("uid", "Loop")) + phone_block(session_line(7, "Kitchen")))
    terminal.expect("Kitchen")
    terminal.mark()
    terminal.send("menu 9/1")
    terminal.expect("Dropouts 0 · packets 1000")
    assert "[x] 1–2" in terminal.new_text and "[ ] 15–16" in terminal.new_text
    terminal.send("9/1/3")
    wait_equal(lambda: read(terminal.program.settings("channels")), b"7=1\n")


def test_what_cannot_be_chosen_is_refused(terminal):
    terminal.send("1")
    terminal.expect("cannot be chosen now")
    terminal.send("77")
    terminal.send("nonsense")
    terminal.expect("“menu”")
    assert terminal.launch.alive


def test_an_open_menu_is_not_replaced_until_it_is_closed(terminal):
    terminal.launch.say(phone_block(session_line(1, "Kitchen")))
    terminal.expect("Kitchen")
    terminal.send("open")
    terminal.launch.say(phone_block(session_line(2, "Desk")) + "pairing code: seen\n")
    terminal.expect("Pairing code: seen")
    terminal.mark()
    terminal.send("menu 9")
    terminal.expect("Kitchen")
    assert "Desk" not in terminal.new_text
    terminal.send("close")
    terminal.expect("Desk")


def test_the_log_is_printed_on_request(terminal):
    terminal.launch.say("a line of the server\n")
    terminal.launch.say("pairing code: 1\n")
    terminal.expect("Pairing code: 1")
    terminal.mark()
    terminal.send("log")
    terminal.expect("Orvane Server Log")
    terminal.expect("a line of the server\npairing code: 1\n")


def test_the_log_is_followed_until_a_key(terminal):
    terminal.send("log -f")
    terminal.expect("Orvane Server Log")
    terminal.mark()
    terminal.launch.say("what comes now\n")
    terminal.expect("what comes now")
    terminal.press(b"x") if terminal.tty else terminal.send("menu")
    terminal.expect("no longer followed")
    terminal.mark()
    terminal.launch.say("unseen\npairing code: 9\n")
    terminal.expect("Pairing code: 9")
    assert "unseen" not in terminal.new_text


def test_every_command_answers(terminal):
    for command, answer in (("restart", "→ Restart Server"), ("L", "Orvane Server Log"), ("open 7", "7/1)"), ("close", "The menu is closed."),
                            ("7/1", "→ Off"), ("7/99", "There is no row “7/99”")):
        terminal.mark()
        terminal.send(command)
        terminal.expect(answer)


def test_copying_prints_the_code(terminal):
    terminal.launch.say("pairing code: 123 456\n")
    terminal.expect("Pairing code: 123 456")
    terminal.mark()
    terminal.send("3")
    terminal.expect("\n123 456\n")


def test_a_dialog_is_a_question_with_its_texts_and_buttons(terminal):
    terminal.send("4")
    terminal.expect("Generate a new pairing code?\n\nThe current code stops working. You will need to enter the new "
                    "code on your phone.\n\n1)  Generate\n2)  Cancel\n")
    terminal.send("what")
    terminal.expect("Please answer")
    terminal.send("2")
    assert not terminal.program.server.launched_again(within=0.3) and terminal.launch.alive

    terminal.send("4")
    terminal.send("generate")
    terminal.program.server.next_launch()


def test_the_homebrew_command_and_the_page_are_printed(terminal):
    terminal.launch.say("devices: 0\n")
    terminal.expect("⚠ No audio device")
    for answer, shown in (("2", "brew install --cask blackhole-16ch"), ("1", "https://existential.audio/blackhole")):
        terminal.send("12")
        terminal.expect("3)  Cancel")
        terminal.mark()
        terminal.send(answer)
        terminal.expect(shown)


def test_the_menu_goes_on_while_a_question_waits(terminal):
    terminal.send("4")
    terminal.expect("2)  Cancel")
    terminal.launch.say("pairing code: meanwhile\n")
    terminal.expect("Pairing code: meanwhile")
    terminal.send("Cancel")


def test_names_from_outside_cannot_control_the_terminal(piped):
    piped.launch.say(f"pairing code: {AWKWARD}\n" + device_block(device_line("uid", AWKWARD)) +
                     phone_block(session_line(1, AWKWARD)) + AWKWARD + "\n")
    piped.expect("Phones: 1 connected")
    piped.send("menu 9/1")
    piped.expect("Address")
    piped.send("log")
    piped.expect("Orvane Server Log")
    piped.send("9/9/9")
    assert piped.control_characters() == set()
    assert piped.text.count("red") >= 5


@pytest.mark.parametrize("end", ["quit", "exit", "18", "the end of the input"])
def test_it_ends_and_takes_the_server_with_it(terminal, end):
    terminal.end_input() if end == "the end of the input" else terminal.send(end)
    assert terminal.process.wait(10) == 0
    terminal.launch.wait_until_gone()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_a_signal_ends_it_in_order(terminal, number):
    terminal.process.send_signal(number)
    assert terminal.process.wait(10) == 0
    terminal.launch.wait_until_gone()


@pytest.mark.parametrize("tty", [True, False])
@pytest.mark.parametrize("locale", ["C", "de_DE.ISO-8859-1", "C.UTF-8"])
def test_in_every_locale_text_is_the_same(make_program, tty, locale):
    for terminal in started(make_program(), tty=tty, TERM="xterm", LANG=locale, LC_ALL=locale):
        terminal.launch.say(phone_block(session_line(1, "Küche 🎤")))
        terminal.expect("Küche 🎤   →   ch 1–2")
        terminal.mark()
        terminal.send("menu Küche")
        terminal.expect("There is no row “Küche”.")
        assert "locale" not in terminal.text


def test_no_colour_is_ever_used(make_program):
    for terminal in started(make_program(), tty=True, TERM="xterm-256color", NO_COLOR="1"):
        terminal.send("menu")
        terminal.expect("Quit Orvane")
        assert not re.search(rb"\x1b\[[0-9;]*m", terminal.data)


def test_control_c_ends_it_in_order(make_program):
    for terminal in started(make_program(), tty=True, TERM="xterm"):
        terminal.press(b"\x03")
        assert terminal.process.wait(10) == 0
        terminal.launch.wait_until_gone()


def test_a_terminal_that_goes_away_ends_it(make_program):
    for terminal in started(make_program(), tty=True, TERM="xterm"):
        terminal.hang_up()
        terminal.process.wait(10)
        terminal.launch.wait_until_gone()


def test_the_terminal_is_left_as_it_was_found(make_program):
    for terminal in started(make_program(), tty=True, TERM="xterm"):
        wait_for(lambda: not terminal.mode() & termios.ICANON, "editing by the program")
        terminal.send("quit")
        terminal.process.wait(10)
        assert terminal.mode() & termios.ICANON and terminal.mode() & termios.ECHO


def test_a_plain_terminal_sees_no_control_sequences(make_program):
    for terminal in started(make_program(), tty=True, TERM="dumb"):
        terminal.send("menu")
        terminal.launch.say("pairing code: 1\n")
        terminal.expect("Pairing code: 1")
        assert terminal.control_characters() == set()


def test_the_option_asks_for_the_terminal_on_a_desktop_as_well(make_program, desktop):
    program = make_program()
    for terminal in started(program, arguments=("--terminal",), tty=False, **desktop.environment()):
        assert "Quit Orvane" in terminal.text
        assert "Orvane" not in desktop.visible_windows()


def test_a_display_that_cannot_be_reached_counts_as_none(make_program):
    for terminal in started(make_program(), tty=False, DISPLAY=":31999"):
        assert "Quit Orvane" in terminal.text


def test_the_server_does_not_read_the_terminal(piped):
    assert piped.launch.descriptors["0"] == "/dev/null"
    assert set(piped.launch.descriptors) == {"0", "1", "2"}


def test_a_reader_that_does_not_read_holds_up_nothing(make_program):
    """Nobody reads the pipe: the program goes on, and quits at once."""
    program = make_program()
    reader, writer = os.pipe()
    program.process = subprocess.Popen([str(program.path), "--terminal"], env=program.environment(), stdout=writer,
                                       cwd=program.folder / "here", stdin=subprocess.PIPE, stderr=subprocess.DEVNULL)
    os.close(writer)
    launch = program.server.next_launch()
    for code in range(2000):
        launch.say(f"pairing code: {code} {'x' * 200}\n")
    program.process.stdin.write(b"4\nGenerate\n")
    program.process.stdin.flush()
    program.server.next_launch()
    assert program.quit(5) == 0
    os.close(reader)


def test_idling_costs_next_to_nothing(terminal):
    before = cpu_seconds(terminal.pid)
    assert stays(lambda: terminal.process.poll() is None, 1.5)
    assert cpu_seconds(terminal.pid) - before < 0.1


def test_a_service_without_any_input_runs_on(make_program):
    program = make_program()
    program.process = subprocess.Popen([str(program.path), "--terminal"], env=program.environment(DISPLAY=None),
                                       cwd=program.folder / "here", stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    launch = program.server.next_launch()
    assert stays(lambda: program.process.poll() is None and launch.alive, 0.5)


def test_many_lines_at_once_are_all_carried_out_in_order(piped):
    piped.launch.say(device_block(device_line("uid", "Loop")) + phone_block(session_line(7, "Kitchen")))
    piped.expect("Kitchen")
    for pair in range(8):
        piped.send(f"9/1/{2 + pair}")
    piped.send("log")
    piped.expect("— 7 → channels 15–16 —")
    shown = [line for line in piped.text.splitlines() if "→ channels" in line]
    assert shown == [f"— 7 → channels {2 * pair + 1}–{2 * pair + 2} —" for pair in range(8)]


