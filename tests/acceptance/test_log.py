"""The log window, read through the accessibility bus."""

import threading
import time

import pytest

from harness.processes import cpu_seconds
from harness.program import SCREENSHOTS
from harness.screen import wait_for_dialog, windows
from harness.waiting import wait_equal, wait_for

AWKWARD = "R&D _x\t<b>bold</b> 🎤 שלום ‏ %s \x1b[31mred\x1b[0m\n"


def test_the_window_shows_the_whole_log_and_cannot_be_edited(running):
    running.launch.say("one\ntwo\n")
    running.menu().row("Pairing code")
    log = running.show_log()
    wait_equal(log.text, "one\ntwo\n")
    assert log.title == "Orvane Server Log"
    assert not log.is_editable()


def test_the_window_follows_the_log_also_while_it_is_closed(running, desktop):
    log = running.show_log()
    running.launch.say("seen\n")
    wait_equal(log.text, "seen\n")
    close_window(running, desktop)
    running.launch.say("unseen\n")
    log = running.show_log()
    wait_equal(log.text, "seen\nunseen\n")


def test_closing_the_window_does_not_end_the_program(running, desktop):
    running.show_log()
    close_window(running, desktop)
    assert running.alive and running.launch.alive


def test_text_from_outside_is_nothing_but_text(running):
    running.launch.say(AWKWARD)
    log = running.show_log()
    wait_for(lambda: "bold" in log.text(), "the text")
    assert log.text().replace("\N{SYMBOL FOR ESCAPE}", "\x1b") == AWKWARD


def test_the_window_is_scrolled_to_the_end(running):
    running.launch.say("".join(f"line {number}\n" for number in range(500)))
    log = running.show_log()
    wait_for(lambda: "line 499" in log.text(), "the text")

    def at_end():
        return any(value == most > 0 for value, most in log.scroll_positions())

    wait_for(at_end, "the scroll bar to be at its end")
    running.launch.say("line 500\n")
    wait_for(lambda: "line 500" in log.text() and at_end(), "the scroll bar to be at its end again")


def test_one_character_beyond_200000_leaves_exactly_the_last_160000(running):
    log = running.show_log()
    running.launch.flood("0123456789" * 2000, 10)
    wait_equal(lambda: len(log.text()), 200_000)
    running.launch.say("é")
    wait_equal(lambda: len(log.text()), 160_000)
    assert log.text() == ("0123456789" * 20_000 + "é")[-160_000:]


def test_the_menu_answers_while_a_line_without_an_end_grows_in_the_window(running):
    running.launch.flood("0123456789" * 1900, 10)
    log = running.show_log()
    wait_equal(lambda: len(log.text()), 190_000)
    menu = running.menu()
    slowest = 0
    for _ in range(20):
        running.launch.say("x")
        begin = time.monotonic()
        menu.status
        slowest = max(slowest, time.monotonic() - begin)
    wait_equal(lambda: len(log.text()), 190_020)
    spent = cpu_seconds(running.pid)
    running.launch.say("y")
    wait_equal(lambda: len(log.text()), 190_021)
    assert slowest < 0.2 or cpu_seconds(running.pid) - spent < 0.2, slowest


def test_the_log_can_be_searched_and_copied(running, desktop):
    running.launch.say("".join(f"line {number}\n" for number in range(500)))
    log = running.show_log()
    wait_for(lambda: "line 499" in log.text(), "the text")
    desktop.activate_window("Orvane Server Log")
    desktop.press_keys("ctrl+a", "ctrl+c")
    wait_equal(desktop.clipboard, log.text())
    desktop.press_keys("ctrl+Home")
    wait_for(lambda: any(value == 0 < most for value, most in log.scroll_positions()), "the beginning")
    desktop.press_keys("ctrl+f", "4", "2", "1", "Return")
    wait_for(lambda: any(0 < value < most for value, most in log.scroll_positions()), "the place that was found")
    desktop.screenshot(SCREENSHOTS / "log-find.png")


def test_the_log_is_saved_where_the_user_says_or_the_reason_is_told(running, desktop):
    running.launch.say("one\ntwo ⚠\n")
    log = running.show_log()
    wait_for(lambda: "two" in log.text(), "the text")

    def save_as(path):
        desktop.activate_window("Orvane Server Log")
        desktop.press_keys("ctrl+s")
        desktop.activate_window("Save the Log")
        desktop.type(str(path))
        desktop.press_keys("Return")

    saved = running.folder / "saved.txt"
    save_as(saved)
    wait_for(saved.exists, "the file")
    assert saved.read_text() == log.text()
    save_as(saved / "log")  # Not below /proc: the dialog looks into what it lists, and some of that never ends.
    wait_for_dialog(running.pid, "The log could not be saved").press("OK")


@pytest.mark.parametrize("piece", ["0123456789" * 100, "a line\n" * 100, "🎤⚠é" * 100])
def test_the_menu_answers_during_any_flood_into_the_open_window(running, piece):
    running.show_log()
    menu = running.menu()
    flooding = threading.Thread(target=running.launch.flood, args=(piece, 3000))
    flooding.start()
    slowest = 0
    while flooding.is_alive():
        begin, spent = time.monotonic(), cpu_seconds(running.pid)
        menu.status
        took = min(time.monotonic() - begin, cpu_seconds(running.pid) - spent)  # What others use of the processor does not count.
        slowest = max(slowest, took)
    flooding.join()
    assert slowest < 0.2, slowest


def test_opening_it_twice_gives_one_window(running):
    running.show_log()
    running.show_log()
    titles = [window.title for window in windows(running.pid)]
    assert titles.count("Orvane Server Log") == 1


def test_the_window_is_720_by_420(running):
    assert running.show_log().size() == (720, 420)


def close_window(program, desktop):
    desktop.close_window("Orvane Server Log")
    wait_for(lambda: "Orvane Server Log" not in [window.title for window in windows(program.pid)], "the window to close")


