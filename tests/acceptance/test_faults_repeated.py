"""Faults again and again, or for long: nothing may be left of any. The counts are small; ORVANE_FAULTS=FULL makes them large."""

import os
import random
import signal
import threading
import time

import pytest

from harness.faults import PROMPT, WAITING, Holdings, channel_rows, channels, show_phone, timed, times
from harness.installation import allowed_mib
from harness.lines import device_block, device_line, phone_block, session_line
from harness.processes import resident_mib
from harness.settings import BusyReader
from harness.waiting import stays, wait_equal, wait_for
from scripted_adb import DEVICES, MODEL, ScriptedAdb

MIB = 1 << 20
HOUR = 3600
PARTS = range(times(1, 10))  # Of what is done very often, so that they can run beside each other.


@pytest.mark.parametrize("part", PARTS)
def test_killed_again_and_again_under_writes_no_file_is_ever_torn(make_program, tray, part):
    whole = {f"7={pair}\n".encode() for pair in range(8)}
    program = make_program()
    rng = random.Random(part)
    reader = BusyReader(program.settings("channels"), rest=0.001)
    expected = whole | {None}
    between = 0  # Kills that came between two writes.
    try:
        for kills in range(times(50, 1000)):
            if between and kills >= times(5, 100):
                break
            program.start(tray=tray)
            program.launch = program.server.next_launch()
            show_phone(program)
            before = channels(program)
            rows = channel_rows(program)
            menu = program.menu()
            chosen = None
            end = time.monotonic() + rng.uniform(0, 0.02)
            while time.monotonic() < end:
                chosen = rng.randrange(8)
                menu.event_without_reply(rows[chosen].id, "clicked")
            program.process.kill()
            program.process.wait()
            program.launch.wait_until_gone()
            left = channels(program)
            assert left in expected
            between += left not in (before, f"7={chosen}\n".encode())
            expected = expected if left is None else whole  # What was chosen once is not lost.
            folder = program.settings("channels").parent
            assert set(os.listdir(folder) if folder.exists() else []) <= {"channels", ".channels.new"}
            tray.forget_items()
        wait_for(lambda: reader.reads >= times(50, 1000), "as many reads")
    finally:
        reader.stop()
    print(f"{reader.reads} reads, {between} of {kills} kills between two writes")
    assert between
    assert reader.texts <= whole
    assert reader.missed == 0


# Stops

@pytest.fixture
def adb(program):
    """With a phone attached."""
    adb = ScriptedAdb(program.folder / "adb", program.folder / "share/orvane/adb")
    adb.plug_in()
    return adb


@pytest.mark.parametrize("who", ["the program", "its server", "both"])
def test_asleep_for_an_hour_it_goes_on_where_it_was_and_makes_up_for_nothing(adb, faulty, who):
    show_phone(faulty)
    channel_rows(faulty)[3].click()
    menu = faulty.menu()
    menu.close()
    wait_equal(lambda: menu.row("USB:").title, f"USB: ready — {MODEL}")
    holdings = Holdings(faulty)
    stopped = {"the program": [faulty.pid], "its server": [faulty.launch.pid], "both": [faulty.pid, faulty.launch.pid]}[who]
    for night in range(1, times(2, 20) + 1):
        for pid in stopped:
            os.kill(pid, signal.SIGSTOP)
        time.sleep(0.2)
        faulty.faults.put("clock", str(night * HOUR))
        probes = len(adb.probes())
        for pid in stopped:
            os.kill(pid, signal.SIGCONT)
        assert timed(menu.about_to_show) < PROMPT
        assert stays(lambda: menu.find("Phones: 1"), 1)
        assert len(adb.probes()) - probes <= 4, "one for all that was slept through"
        faulty.launch.say("phone=yes\n" if night % 2 else "phone=waiting\n")
        wait_equal(lambda: menu.status, "● 1 phone connected" if night % 2 else WAITING, PROMPT)
    assert faulty.launch.alive
    assert channels(faulty) == b"7=3\n"
    holdings.wait_until_as_before()
    assert faulty.quit() == 0


# Output

def test_ten_gigabytes_of_output_leave_the_memory_as_it_is(running):
    show_phone(running)
    report = device_block(device_line("uid", "Loopback", 16)) + phone_block(*(session_line(index, f"P{index}") for index in range(8)))
    piece = (report + "orvaned: mixing into the loopback device, buffer fine\n" * 1200).encode()
    menu = running.menu()
    for round in range(10):
        for _ in range(times(1, 128)):
            flood = threading.Thread(target=running.launch.flood, args=(piece, 8 * MIB // len(piece)))
            flood.start()
            while flood.is_alive():
                assert timed(menu.about_to_show) < PROMPT
                time.sleep(0.05)
            flood.join()
        menu.row("Phones: 8")
        if round == 2:
            holdings = Holdings(running)
        if round > 2:
            holdings.wait_until_as_before()
        menu.row("Restart Server").click()
        running.launch = running.server.next_launch()


# adb

@pytest.mark.parametrize("part", PARTS)
def test_plugged_in_and_out_again_and_again_the_tunnel_is_there_each_time(adb, program, tray, part):
    program.start(tray=tray)
    program.launch = program.server.next_launch()
    menu = program.menu()
    holdings = None
    for _ in range(times(3, 50)):
        wait_equal(lambda: menu.row("USB:").title, f"USB: ready — {MODEL}")
        wait_for((adb.folder / "tunnels").exists, "the tunnel")
        adb.unplug()
        wait_equal(lambda: menu.row("USB:").title, "USB: no phone connected")
        adb.plug_in()
        if holdings:
            holdings.wait_until_as_before()
        holdings = holdings or Holdings(program)
    assert [probe for probe in adb.probes() if probe[0] != DEVICES] == []
    assert program.launch.alive
    assert program.quit() == 0


# Crashes

def test_a_server_restarted_again_and_again_leaves_nothing_behind(running):
    show_phone(running)
    running.menu().row("Restart Server").click()
    running.launch = running.server.next_launch()
    wait_equal(lambda: running.menu().status, WAITING)
    holdings = Holdings(running)
    for _ in range(times(20, 1000)):
        running.menu().row("Restart Server").click()
        running.launch = running.server.next_launch()
    holdings.wait_until_as_before()


def test_a_server_that_crashes_again_and_again_leaves_nothing_behind(running):
    def crash():
        running.launch.kill(signal.SIGSEGV)
        wait_equal(lambda: running.menu().status, "⚠ Server stopped — restarting…")
        running.menu().row("Restart Server").click()  # Overtakes the delay.
        running.launch = running.server.next_launch()

    crash()
    wait_equal(lambda: running.menu().status, WAITING)
    holdings = Holdings(running)
    for _ in range(times(20, 1000)):
        crash()
    wait_equal(lambda: running.menu().status, WAITING)
    holdings.wait_until_as_before()


def test_a_panel_that_crashes_again_and_again_gets_the_icon_each_time(running, make_tray):
    running.menu().row("Pairing code")
    for round in range(times(10, 100)):
        if round % 2:
            running.menu().open()
        running.tray.close()
        running.tray = make_tray()
        wait_equal(lambda: running.menu().status, WAITING)
        if round == 2:
            holdings = Holdings(running)
    holdings.wait_until_as_before()


def test_an_icon_that_changes_again_and_again_leaves_the_memory_as_it_is(running):
    show_phone(running)
    menu = running.menu()
    before = None
    for round in range(times(100, 1000)):
        running.launch.say("phone=waiting\n" if round % 2 else "phone=yes\n")
        wait_equal(lambda: menu.status, WAITING if round % 2 else "● 1 phone connected")
        if round == 9:
            before = resident_mib(running.pid)
    assert resident_mib(running.pid) - before < allowed_mib(4)
