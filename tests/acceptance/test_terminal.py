"""The terminal surface, on a pseudo-terminal and at the ends of pipes."""

import os
import re
import signal
import subprocess
import termios

import pytest

from harness.emulator import Emulator
from harness.processes import cpu_seconds, stat_fields
from harness.lines import device_block, device_line, phone_block, session_line
from harness.terminal import Terminal
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


def started(program, **details):
    terminal = Terminal(program, *details.pop("arguments", ()), **details)
    terminal.program = program
    terminal.launch = program.server.next_launch()
    terminal.expect("Quit Orvane")
    yield terminal
    terminal.close()


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


@pytest.fixture
def typed(make_program):
    yield from started(make_program(), TERM="xterm")


def test_after_being_stopped_it_prompts_again_and_edits_lines(typed):
    typed.process.send_signal(signal.SIGSTOP)
    wait_for(lambda: stat_fields(typed.pid)[0] == "T", "the program to be stopped")
    mode = termios.tcgetattr(typed._reader)
    mode[3] |= termios.ICANON | termios.ECHO  # As the shell puts it back.
    termios.tcsetattr(typed._reader, termios.TCSANOW, mode)
    typed.mark()
    typed.process.send_signal(signal.SIGCONT)
    typed.expect("orvane> ")
    wait_for(lambda: not typed.mode() & termios.ICANON, "lines to be edited here again")


def test_where_no_shell_could_bring_it_back_it_goes_on(typed):
    """As in a window of its own: there the kernel does not carry out what Ctrl-Z asks for."""
    for line in ("menu 9", "close"):
        typed.mark()
        typed.press(b"\x1a")
        typed.expect("orvane> ")
        wait_for(lambda: not typed.mode() & termios.ICANON, "lines to be edited again")
        typed.send(line)
        typed.expect("Row 9 leads to no other rows." if line == "menu 9" else "The menu is not open.")


@pytest.mark.parametrize("number", [signal.SIGQUIT, signal.SIGABRT, signal.SIGTERM])
def test_however_it_ends_the_terminal_echoes_again(typed, number):
    assert not typed.mode() & termios.ECHO
    typed.process.send_signal(number)
    assert typed.process.wait(10) == (-number if number == signal.SIGABRT else 0)
    assert typed.mode() & termios.ECHO and typed.mode() & termios.ICANON


def test_escape_then_enter_enters_the_line(typed):
    typed.mark()
    typed.press(b"nonsense\x1b\n")
    typed.expect("nonsense\n")


@pytest.fixture
def seen(make_program):
    """The program in a terminal's window, started from a shell."""
    for emulator in started_from(make_program(), "sh"):
        emulator.expect_last("orvane>")
        yield emulator


def started_from(program, shell, ampersand=""):
    emulator = Emulator(program, shell)
    try:
        emulator.type(f"'{program.path}'{ampersand}")
        emulator.press("Enter")
        emulator.launch = program.server.next_launch()
        for shown in ("○ Waiting for phone…", "Bluetooth: choose a phone…", "Quit Orvane"):  # After these no row changes by itself.
            emulator.expect(shown)
        yield emulator
    finally:
        emulator.close()
    emulator.launch.wait_until_gone()


def wait_for_shell(emulator):
    wait_for(lambda: emulator.lines[-1].endswith(("$", "#")), "the shell")


def test_a_line_is_edited_with_the_usual_keys(seen):
    seen.type("eu 9x")
    seen.press("Home")
    seen.type("m")
    seen.press("Right", "Right", "BSpace", "BSpace")
    seen.type("en")
    seen.press("Right", "End", "BSpace")
    seen.expect_last("orvane> men 9")
    seen.press("Left", "Left", "u")
    seen.expect_last("orvane> menu 9")
    assert seen.cursor[0] == len("orvane> menu")
    seen.press("Enter")
    seen.expect_last("orvane> menu 9", "Row 9 leads to no other rows.", "orvane>")


def test_earlier_lines_come_back(seen):
    for line in ("menu 9", "close"):
        seen.type(line)
        seen.press("Enter")
    seen.expect_last("The menu is not open.", "orvane>")
    seen.press("Up")
    seen.expect_last("orvane> close")
    seen.press("Up")
    seen.expect_last("orvane> menu 9")
    seen.press("Down", "Down")
    seen.expect_last("orvane>")


def test_commands_and_rows_are_completed(seen):
    seen.type("res")
    seen.press("Tab")
    seen.expect_last("orvane> restart")
    seen.press("C-u")
    seen.type("menu ")
    seen.press("Tab")
    seen.expect_last("orvane> menu 7/")
    seen.press("Enter")
    seen.expect_last("    7/4   Open Orvane on the phone and choose Bluetooth", "orvane>")
    seen.type("1")
    seen.press("Tab")
    seen.expect_last("10", "15", "16", "18", "orvane> 1")
    seen.press("C-u")
    seen.type("4")
    seen.press("Enter")
    seen.expect("2)  Cancel")
    seen.type("ca")
    seen.press("Tab")
    seen.expect_last("answer> cancel")
    seen.press("Enter")
    seen.expect_last("orvane>")


def test_output_stands_above_the_line_that_is_being_typed(seen):
    seen.type("half a l" + "o" * 150 + "ng line")  # Two rows of the screen.
    seen.launch.say("pairing code: 1\n")
    wait_for(lambda: " 3)  Pairing code: 1   (click to copy)" in seen.lines[-3:], "the news above the line")
    assert seen.lines[-2].startswith("orvane> half a loo") and seen.lines[-1].endswith("ong line")
    assert sum(line.startswith("orvane>") for line in seen.lines) == 1


def test_after_a_resize_there_is_one_clean_prompt(seen):
    line = "half a line that is somewhat longer than a narrow window"
    seen.type(line)

    def stands_under(news):
        """Whatever the rows: where one ends with a space, that is not to be seen."""
        return "".join(seen.lines).replace(" ", "").endswith(f"{news} (click to copy) orvane> {line}".replace(" ", ""))

    for columns in (40, 110, 30, 100):
        seen.resize(columns)
        seen.launch.say(f"pairing code: {columns}\n")
        wait_for(lambda: stands_under(f"Pairing code: {columns}"), f"the line at {columns} columns")
    seen.expect_last(" 3)  Pairing code: 100   (click to copy)", f"orvane> {line}")
    assert sum(line.startswith("orvane>") for line in seen.lines) == 1


def test_it_can_be_stopped_and_brought_back(seen):
    seen.type("half a")
    seen.expect_last("orvane> half a")  # What has not been read yet, the terminal throws away when it stops a program.
    seen.press("C-z")
    wait_for_shell(seen)
    seen.type("echo $((6 * 7)) again")
    seen.press("Enter")
    seen.expect("42 again")
    assert any(line.endswith("echo $((6 * 7)) again") for line in seen.lines), "what is typed at the shell is not shown"
    seen.type("fg")
    seen.press("Enter")
    seen.expect_last("orvane> half a")
    seen.type(" row")
    seen.press("Enter")
    seen.expect_last("orvane> half a row", "There is no row “half a row”. Type “menu” for the rows, “help” for the commands.", "orvane>")
    seen.type("quit")
    seen.press("Enter")
    wait_for_shell(seen)
    seen.type("echo typed $((6 * 7))")
    seen.press("Enter")
    wait_for(lambda: "typed 42" in seen.lines and "echo typed $((6 * 7))" in "\n".join(seen.lines), "what is typed, and its answer")


@pytest.mark.parametrize("shell", ["sh", "bash --norc --noprofile"])  # Which tells nobody running that it is in the foreground again.
def test_in_the_background_the_line_is_the_shells(make_program, shell):
    for seen in started_from(make_program(), shell):
        seen.expect_last("orvane>")
        seen.press("C-z")
        wait_for_shell(seen)
        seen.type("bg")
        seen.press("Enter")
        seen.type("echo half")
        wait_for(lambda: seen.lines[-1].endswith("echo half"), "what is typed at the shell")
        seen.launch.say("pairing code: 5\n")
        seen.expect("Pairing code: 5")
        assert stays(lambda: "orvane>" not in seen.lines[-1], 0.3)
        assert any("echo half 3)  Pairing code: 5" in line for line in seen.lines), "the shell's line was wiped"
        seen.type(" a line")
        seen.press("Enter")
        wait_for(lambda: "half a line" in seen.lines, "the shell's answer")
        seen.type("fg")
        seen.press("Enter")
        seen.expect_last("orvane>")
        seen.type("menu 9")
        seen.press("Enter")
        seen.expect_last("orvane> menu 9", "Row 9 leads to no other rows.", "orvane>")


def test_started_in_the_background_it_prompts_when_it_comes_forward(make_program):
    for seen in started_from(make_program(), "bash --norc --noprofile", " &"):
        seen.type("fg")
        seen.press("Enter")
        seen.expect_last("orvane>")
        seen.type("menu 9")
        seen.expect_last("orvane> menu 9")


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


