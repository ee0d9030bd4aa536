"""The line that is typed at a terminal: how it is edited and shown, and whose it is when the program is stopped, goes to the background or ends."""

import signal
import termios

import pytest

from harness.emulator import Emulator
from harness.processes import maps, stat_fields
from harness.terminal import started
from harness.waiting import stays, wait_for


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


def test_the_library_for_lines_is_loaded_on_a_terminal_only(typed, program, tray):
    assert "libedit" in maps(typed.pid)
    program.start(tray=tray)
    program.menu()
    assert "libedit" not in maps(program.pid)


def test_without_that_library_the_terminal_edits_lines_itself(make_program):
    program = make_program()
    for name in ("libedit.so.2", "libedit.so.0"):
        (program.folder / name).write_text("not a library")
    for typed in started(program, TERM="xterm", LD_LIBRARY_PATH=str(program.folder)):
        assert typed.mode() & termios.ICANON and typed.mode() & termios.ECHO
        typed.send("menu 9")
        typed.expect("Row 9 leads to no other rows.")
        assert "\x1b" not in typed.text and "orvane> " not in typed.text


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
        wait_for(lambda: seen.lines[-1].endswith("bg"), "what is typed at the shell")
        seen.press("Enter")
        wait_for_shell(seen)
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
