"""What the server prints, in any amount and any shape."""

import threading
import time

import pytest

from harness.installation import allowed_mib
from harness.processes import Answers, cpu_seconds, resident_mib
from harness.lines import device_block, device_line, phone_block, session_line
from harness.waiting import wait_equal, wait_for

MIB = 1 << 20
KEPT = 0.7  # MiB that a flood may leave behind: a longer log, and code that had not been needed before.
LINE = "orvaned: mixing into the loopback device, nothing to worry about, buffer fine\n"


@pytest.mark.parametrize("kind", ["valid lines", "valid records", "invalid bytes", "no line ends"])
def test_100_mib_keep_the_menu_alive_and_the_memory_bounded(running, kind):
    piece = {
        "valid lines": (LINE * 1000).encode()[:65536],
        "valid records": (phone_block(*(session_line(index, f"P{index}") for index in range(8))) * 100).encode(),
        "invalid bytes": b"\xff\xfe\x80" * 20000,
        "no line ends": b"x" * 65536,
    }[kind]
    menu = running.menu()
    menu.row("Bluetooth: choose")
    answers, before = Answers(running), resident_mib(running.pid)
    flood = threading.Thread(target=running.launch.flood, args=(piece, 100 * MIB // len(piece)))
    flood.start()
    slowest = most = 0
    while flood.is_alive():
        _, took = answers.time(menu.rows)
        slowest = max(slowest, took)
        most = max(most, resident_mib(running.pid))
        time.sleep(0.02)
    flood.join()

    running.launch.say("\npairing code: after the flood\nphone=yes\n")
    menu.row("Pairing code: after the flood")
    assert slowest < 2
    assert most - before < allowed_mib(100)
    log = running.show_log().text()
    assert log.endswith("\npairing code: after the flood\nphone=yes\n")
    assert len(log) <= 200_000
    if kind != "invalid bytes":
        assert len(log) >= 160_000
    else:
        assert "\N{REPLACEMENT CHARACTER}" not in log


def test_what_a_flood_took_is_given_back_when_it_is_over(running):
    running.launch.say("phone=yes\n")
    running.menu().row("● 0 phones connected")
    before = resident_mib(running.pid)
    running.launch.flood((LINE * 1000).encode()[:65536], 50 * 16)
    wait_for(lambda: resident_mib(running.pid) - before < allowed_mib(KEPT), "the memory to be given back")


def test_a_chunk_that_is_not_utf8_is_dropped_whole(running):
    running.launch.say("first\n")
    log = running.show_log()
    wait_equal(log.text, "first\n")
    running.launch.say(b"pairing code: lost \xff\n")
    running.launch.wait_until_read()
    running.launch.say("pairing code: kept\n")
    running.menu().row("Pairing code: kept")
    wait_equal(log.text, "first\npairing code: kept\n")


def test_a_status_line_cut_in_two_is_not_put_together(running):
    running.launch.say("pairing code: 1\n")
    running.menu().row("Pairing code: 1 ")
    running.launch.say("sessions: 1\nsession:\t0\t1\t10")
    running.launch.wait_until_read()
    running.launch.say("00\t1\t1\t0\t1\t1\ta\tb\tc\t9\tname\npairing code: 2\n")
    running.menu().row("Pairing code: 2 ")
    assert running.menu().find("Phones: none")


def test_a_server_that_closes_its_output_lives_on(running):
    running.launch.say("pairing code: before\n")
    menu = running.menu()
    menu.row("Pairing code: before")
    running.launch.close_output()
    before = cpu_seconds(running.pid)
    time.sleep(1)
    assert cpu_seconds(running.pid) - before < 0.1, "the end of the output makes nothing spin"
    assert running.launch.alive
    assert menu.status == "○ Waiting for phone…"
    running.launch.kill()
    running.server.next_launch()
    log = running.show_log()
    wait_equal(log.text, "pairing code: before\n\n— orvaned exited (status 9); restarting in 1s —\n")


def test_what_is_printed_right_before_the_end_is_not_lost(running):
    running.launch.say("x" * 50_000 + "\npairing code: last words\n")
    running.launch.exit(0)
    running.menu().row("Pairing code: last words")


def test_lists_outlive_a_restart_until_the_new_server_reports(running):
    running.launch.say(phone_block(session_line(1, "Kitchen")) + device_block(device_line("a", "Loop")))
    menu = running.menu()
    menu.row("Phones: 1")
    menu.row("Restart Server").click()
    second = running.server.next_launch()
    assert menu.find("Phones: 1") and menu.find("Audio device: Loop")
    second.say("sessions: 0\n")
    menu.row("Phones: none connected")
