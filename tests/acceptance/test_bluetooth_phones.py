"""Bluetooth from outside: which phone is called, and when; odd answers; a computer that has nothing left, or another user."""

import os
import sys
import threading
import time

import pytest

from harness.bluetooth import frame, service_record
from harness.bridge import PIXEL, LOOKING, STREAMING, choices, live, machine, row, start, start_on  # noqa: F401
from harness.machine import needs
from harness.processes import stranger
from harness.screen import ScreenReader
from harness.waiting import stays, wait_equal, wait_for

SECOND = "00:11:22:33:44:66"  # The address of a second adapter.
SWEEPS = 40 if os.environ.get("ORVANE_FAULTS") == "FULL" else 4  # One in three seconds.


# ---- Which phone, and when ----

def test_the_remembered_phone_is_called_by_its_name_and_opened_at_once(start, machine):
    phone = machine.phone()
    program = start()
    phone.link(timeout=2.5)
    assert row(program) == LOOKING


def test_a_silent_bluez_does_not_hold_up_the_icon(make_program, make_tray, machine):
    machine.phone()
    machine.bluez.silent = True
    for _ in range(10):  # A busy machine may be late to look.
        program = make_program()
        program.tray = make_tray()
        start_on(machine, program, program.tray, wait_for_server=False)
        if row(program) == "Bluetooth: off":
            return
        program.close()
        program.tray.close()
    pytest.fail("icon and menu came when BlueZ had been waited for")


def test_an_address_remembered_in_another_case_connects(start, machine):
    phone = machine.phone()
    program = start(PIXEL.lower())
    phone.link(timeout=10)
    assert [entry.title for entry in program.menu().row("Bluetooth").open()] == ["Off", "—", "Pixel"]


def test_a_phone_is_called_from_the_adapter_that_it_is_connected_to(start, machine):
    machine.bluez.put("/org/bluez/hci1", "org.bluez.Adapter1", Address=SECOND, Powered=True)
    phone = machine.phone(Connected=False)
    machine.bluez.add_phone(PIXEL, "Pixel", adapter="/org/bluez/hci1")
    start()
    assert phone.link().adapter == SECOND
    assert set(phone.queries) == {SECOND}


def test_a_phone_connected_to_the_second_adapter_is_offered(start, machine):
    machine.bluez.put("/org/bluez/hci1", "org.bluez.Adapter1", Address=SECOND, Powered=True)
    machine.phone(Connected=False)
    machine.bluez.add_phone(PIXEL, "Pixel", adapter="/org/bluez/hci1")
    program = start(chosen=None)
    wait_equal(lambda: [entry.title for entry in choices(program)], ["Off", "—", "Pixel"])


def test_a_mouse_is_never_asked(start, machine):
    mouse = machine.phone("BB:00:00:00:00:02", "Mouse", Class=0, UUIDs=["00001812-0000-1000-8000-00805f9b34fb"])
    phone = machine.phone()
    start(chosen=None)
    wait_for(lambda: len(phone.queries) >= 2, "two sweeps")
    assert mouse.queries == []


def test_a_sweep_that_finds_nothing_new_changes_nothing_that_shows(start, machine):
    phone = machine.phone()
    program = start(chosen=None)
    wait_equal(lambda: [entry.title for entry in choices(program)], ["Off", "—", "Pixel"])
    menu = program.menu()
    menu.open()
    pixel = menu.row("Bluetooth").open()[-1]
    queries = len(phone.queries)
    program.tray.menu_signals.clear()
    wait_for(lambda: len(phone.queries) >= queries + SWEEPS, "the sweeps", 4 * SWEEPS + 10)
    assert program.tray.menu_signals == []
    pixel.click()
    phone.link()


def test_two_phones_found_by_turns_keep_their_rows_while_the_menu_is_open(start, machine):
    pixel = machine.phone()
    machine.phone("BB:00:00:00:00:02", "Galaxy")
    program = start(chosen=None)
    wait_equal(lambda: sorted(entry.title for entry in choices(program)), ["Galaxy", "Off", "Pixel", "—"])
    menu = program.menu()
    menu.open()
    row = next(entry for entry in menu.row("Bluetooth").open() if entry.title == "Pixel")
    program.tray.menu_signals.clear()
    queries = len(pixel.queries)
    wait_for(lambda: len(pixel.queries) >= queries + 2, "a look at each", 20)
    assert program.tray.menu_signals == []
    row.click()
    pixel.link()


def test_a_popped_up_menu_stays_as_it_is_while_sweeps_find_nothing_new(make_program, desktop, machine):
    phone = machine.phone()
    with desktop.older_tray():
        start_on(machine, make_program(), chosen=None)
        x, y = wait_for(desktop.docked_icon, "an icon in the tray")
        wait_for(lambda: len(phone.queries) >= 2, "the phone to be found")
        with desktop.changing():
            desktop.click(x, y)
        with ScreenReader() as reader:
            while "Bluetooth: choose a phone…" not in reader.heard:
                with desktop.changing():
                    desktop.press_keys("Down")
                reader.listen()
            with desktop.changing():
                desktop.press_keys("Right")
            reader.expect("Off")
        shown = desktop.picture()
        queries = len(phone.queries)
        wait_for(lambda: len(phone.queries) >= queries + SWEEPS, "the sweeps", 4 * SWEEPS + 10)
        assert desktop.picture() == shown
        with ScreenReader() as reader:
            desktop.press_keys("Down")
            reader.expect("Pixel")
        desktop.press_keys("Return")
        phone.link()


def test_choosing_off_ends_the_link_and_sweeps_at_once(live, machine):
    program, link, _ = live
    choices(program)[0].click()
    wait_for(link.is_closed, "the end of the link")
    wait_equal(lambda: row(program), "Bluetooth: choose a phone…")


def test_a_phone_that_is_queried_keeps_being_offered(start, machine):
    phone = machine.phone(channels=())
    phone.records = [service_record(7)]
    program = start()
    wait_for(lambda: len(phone.queries) >= 2, "two looks at the phone")
    assert [entry.title for entry in choices(program)] == ["Off", "—", "Pixel"]


def test_channels_are_tried_from_the_highest_down_and_round_again(start, machine):
    phone = machine.phone(channels=(3, 12, 5))
    start()
    for channel in (12, 5, 3, 12):
        phone.link(channel).close()


def test_a_late_answer_opens_no_second_channel(start, machine):
    machine.bluez.put("/org/bluez/hci1", "org.bluez.Adapter1", Address=SECOND, Powered=True)
    phone = machine.phone()
    released = threading.Event()
    phone.before_answer = lambda adapter: adapter == SECOND or released.wait(30)
    start()
    wait_for(lambda: phone.queries, "a query from the first adapter")
    machine.bluez.add_phone(PIXEL, "Pixel of the second", adapter="/org/bluez/hci1")
    machine.bluez.put(phone.path, "org.bluez.Device1", Connected=False)
    link = phone.link()
    assert link.adapter == SECOND
    released.set()
    wait_for(lambda: "Orvane: SDP query for Pixel -> 0" in machine.log(), "the late answer")
    assert not phone.is_called_within(4)
    assert not link.is_closed()


def test_an_adapter_that_goes_takes_the_phone_along_and_brings_it_back(start, machine):
    phone = machine.phone()
    program = start(chosen=None)
    wait_equal(lambda: [entry.title for entry in choices(program)], ["Off", "—", "Pixel"])
    machine.bluez.remove(phone.path)
    machine.bluez.remove("/org/bluez/hci0")
    wait_equal(lambda: choices(program)[-1].title, "Pixel")
    machine.bluez.put("/org/bluez/hci0", "org.bluez.Adapter1", Address="00:11:22:33:44:77", Powered=True)
    machine.bluez.add_phone(PIXEL, "Pixel")
    queries = len(phone.queries)
    wait_for(lambda: "00:11:22:33:44:77" in phone.queries[queries:], "a query from the new adapter")


# ---- Odd answers, and a system that has nothing left ----

def test_a_number_without_content_does_no_harm(start, machine):
    odd = bytes.fromhex("35133511090004350c35031901003505190003 0d00".replace(" ", ""))[2:]
    phone = machine.phone(records=[odd])
    program = start()
    wait_for(lambda: len(phone.queries) >= 2, "two looks at the phone")
    assert program.alive
    phone.records.append(service_record(7, handle=None))
    phone.records.insert(0, service_record(9, uuid=None, name="Other", handle=None))
    phone.link()


def test_bytes_behind_an_answer_make_it_a_failed_query(start, machine):
    phone = machine.phone()
    phone.trailing = b"x"
    start()
    wait_for(lambda: "Orvane: SDP query for Pixel -> 71" in machine.log(), "the failure")
    phone.trailing = b""
    phone.link()


@pytest.mark.slow
def test_a_phone_that_answers_in_drips_is_given_up_after_fifteen_seconds_and_asked_again(start, machine):
    phone = machine.phone()
    phone.piece = 1
    phone.before_answer = lambda adapter: time.sleep(0.5)
    start()
    wait_for(lambda: phone.queries, "a query")
    begin = time.monotonic()
    wait_for(lambda: "Orvane: SDP query for Pixel -> 110" in machine.log(), "the failure", 25)
    assert time.monotonic() - begin > 12, "a sleeping phone needs its time"
    phone.piece = 5
    phone.before_answer = lambda adapter: None
    phone.link()


def test_without_a_thread_the_query_fails_and_it_is_said_once(start, machine):
    machine.phone()
    program = start(chosen=None)
    wait_for(lambda: "Orvane: SDP query for Pixel -> 0" in machine.log(), "an answer")
    machine.worse("no-threads")
    failure = "Orvane: SDP query for Pixel -> 11"
    wait_for(lambda: failure in machine.log(), "the failure")
    assert stays(lambda: program.alive, 7)
    assert machine.log().count(failure) == 1
    machine.worse("no-threads", False)
    wait_for(lambda: machine.log().count("Orvane: SDP query for Pixel -> 0") == 2, "an answer")


def test_without_a_thread_an_attach_is_refused(start, machine):
    phone = machine.phone()
    program = start()
    link = phone.link()
    machine.worse("no-threads")
    link.send(frame("A") * 3)
    wait_equal(lambda: row(program), "Bluetooth: the receiver is not accepting connections")
    refusal = "Orvane: no thread is left for a connection into orvaned"
    wait_for(lambda: refusal in machine.log(), "the refusal")
    assert machine.log().count(refusal) == 1
    machine.worse("no-threads", False)
    link.send(frame("A"))
    wait_equal(lambda: row(program), STREAMING)


def test_without_a_descriptor_the_query_fails_and_it_is_said_once(start, machine):
    machine.worse("no-descriptors")
    phone = machine.phone()
    program = start()
    failure = "Orvane: SDP query for Pixel -> 24"
    wait_for(lambda: failure in machine.log(), "the failure")
    assert stays(lambda: program.alive, 7)
    assert machine.log().count(failure) == 1
    machine.worse("no-descriptors", False)
    phone.link()


def test_bluez_is_not_started_by_being_asked_for(start, machine):
    program = start(with_bluez=False)
    wait_equal(lambda: row(program), f"Bluetooth: looking for {PIXEL}…")
    assert stays(lambda: not machine.bluez_was_started, 4)


# ---- Another user of the computer ----

FOREIGN_SERVER = """
import socket, sys
listener = socket.create_server(("127.0.0.1", 0))
print(listener.getsockname()[1], flush=True)
while True:
    connection, _ = listener.accept()
    if "hide" in sys.argv:
        listener.close()
    print(len(connection.recv(65536)), flush=True)
    if "hide" in sys.argv:
        listener = socket.create_server(("127.0.0.1", 0))
"""


@pytest.mark.parametrize("manners", [[], ["hide"]])
def test_another_user_who_takes_the_servers_port_first_hears_nothing(start, machine, manners):
    needs(os.geteuid() == 0, "root, who can be another user, too")
    with stranger([sys.executable, "-c", FOREIGN_SERVER, *manners]) as foreign:
        machine.server.port = int(foreign.stdout.readline())
        phone = machine.phone()
        program = start()
        link = phone.link()
        link.send(frame("A") + frame("d", b"what the phone hears"))
        wait_equal(lambda: row(program), "Bluetooth: the receiver is not accepting connections")
        assert foreign.stdout.readline() == "0\n", "bytes that another user has got"
        reason = "no program of this user listens at orvaned's port"
        wait_for(lambda: any(reason in line for line in machine.log()), "the reason")
