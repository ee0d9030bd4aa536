"""The USB row and the tunnel, with an adb that the test plays."""

import os
import signal
import time
from itertools import pairwise
from pathlib import Path

import pytest
from harness.installation import allowed_mib
from harness.processes import alive, cpu_seconds, resident_mib, zombies_of
from harness.waiting import stays, wait_equal, wait_for
from scripted_adb import ADD, DEVICES, GET_MODEL, LIST, MODEL, PHONE, ScriptedAdb

READY = f"USB: ready — {MODEL}"
NO_PHONE = "USB: no phone connected"
NO_TOOLS = "USB: Android tools not installed…"


@pytest.fixture
def adb(program):
    return ScriptedAdb(program.folder / "adb", program.folder / "share/orvane/adb")


@pytest.fixture
def menu(adb, program, tray):
    """The menu of the program, started with no phone attached."""
    program.start(tray=tray)
    program.server.next_launch()
    return program.menu()


@pytest.fixture
def menu_with_phone(adb, program, tray):
    adb.plug_in()
    program.start(tray=tray)
    program.server.next_launch()
    menu = program.menu()
    wait_for_usb(menu, READY)
    return menu


def wait_for_usb(menu, title, **details):
    wait_equal(lambda: menu.row("USB:").title, title, **details)


def wait_for_probes(adb, count):
    """Waits for so many whole probes from now on, and returns the last of them."""
    target = len(adb.probes()) + count + 1
    wait_for(lambda: len(adb.probes()) >= target, f"{count} probes", timeout=40)
    return adb.probes()[target - count - 1 : target - 1]


def test_without_a_phone_only_the_listing_is_asked_for_and_the_row_keeps_its_first_title(menu, adb):
    assert wait_for_probes(adb, 2) == [[DEVICES], [DEVICES]]
    row = menu.row("USB:")
    assert row.title == "USB: checking…"
    assert not row.enabled


def test_a_phone_gets_its_tunnel_with_exactly_these_commands(menu, adb):
    adb.plug_in()
    wait_for_usb(menu, READY)
    assert not menu.row("USB:").enabled
    wait_for_probes(adb, 2)
    busy = [probe for probe in adb.probes() if probe != [DEVICES]]
    assert busy[0] == [DEVICES, LIST, GET_MODEL, ADD]
    assert all(probe == [DEVICES, LIST, GET_MODEL] for probe in busy[1:-1])


def test_a_steady_state_costs_three_commands_every_two_seconds(menu_with_phone, adb):
    assert wait_for_probes(adb, 3) == 3 * [[DEVICES, LIST, GET_MODEL]]
    starts = [command.time for command in adb.commands if command.line == DEVICES]
    gaps = [later - earlier for earlier, later in zip(starts, starts[1:])]
    assert all(1.5 < gap < 2.5 for gap in gaps), gaps
    assert sum(gaps) / len(gaps) == pytest.approx(2, abs=0.2)


def test_a_tunnel_that_is_lost_is_made_again(menu_with_phone, adb):
    adb.lose_tunnel()
    wait_for(lambda: (adb.folder / "tunnels").exists(), "the tunnel")
    assert [command.line for command in adb.commands].count(ADD) == 2
    assert menu_with_phone.row("USB:").title == READY


def test_unplugging_plugging_in_and_an_unauthorized_phone_are_shown(menu_with_phone, adb):
    adb.unplug()
    wait_for_usb(menu_with_phone, NO_PHONE)
    adb.list_phones(f"{PHONE}\tunauthorized")
    wait_for_usb(menu_with_phone, "USB: allow USB debugging on the phone")
    assert not menu_with_phone.row("USB:").enabled
    adb.plug_in()
    wait_for_usb(menu_with_phone, READY)


def test_adb_disappears_and_comes_back(menu_with_phone, adb):
    adb.uninstall()
    wait_for_usb(menu_with_phone, NO_TOOLS)
    assert menu_with_phone.row("USB:").enabled, "the row leads to the help"
    adb.install()
    wait_for_usb(menu_with_phone, READY)
    assert not menu_with_phone.row("USB:").enabled


def test_an_adb_that_may_not_be_executed_is_none(menu_with_phone, adb):
    adb.install(mode=0o644)
    wait_for_usb(menu_with_phone, NO_TOOLS)


def test_an_adb_that_cannot_be_executed_lists_no_phone(menu_with_phone, adb):
    adb.path.write_text("#!/nonexistent/interpreter\n")
    wait_for_usb(menu_with_phone, NO_PHONE)


def test_the_sdk_in_the_home_folder_is_used_when_the_resources_have_no_adb(program, tray, adb):
    adb.uninstall()
    adb.path = program.home / "Library/Android/sdk/platform-tools/adb"
    adb.install()
    adb.plug_in()
    program.start(tray=tray)
    wait_for_usb(program.menu(), READY)


def test_an_adb_in_the_path_is_not_used(program, tray, adb):
    adb.uninstall()
    adb.path = program.folder / "path/adb"
    adb.install()
    program.start(tray=tray)
    wait_for_usb(program.menu(), NO_TOOLS)
    assert adb.commands == []


def test_what_is_not_text_is_no_phone(menu_with_phone, adb):
    adb.put("devices", rf"printf 'List of devices attached\n{PHONE}\tdevice\n\377\376\200\n'")
    wait_for_usb(menu_with_phone, NO_PHONE)


def test_garbage_is_no_phone(menu_with_phone, adb):
    adb.put("devices", r"printf '\001\033[2J%%s\t\t\t\ndevice\n\tdevice\n{\"a\":\t1}\n'")
    wait_for_usb(menu_with_phone, NO_PHONE)


def test_a_command_that_prints_more_than_a_pipe_holds_is_read_whole(menu, adb):
    adb.put("devices", f"yes 'serial\toffline' | head -n 100000; printf '{PHONE}\\tdevice\\n'")
    wait_for_usb(menu, READY)


def test_a_process_that_is_left_behind_and_holds_the_pipe_delays_nothing(menu, adb):
    adb.put("devices", rf"""
        printf 'List of devices attached\n{PHONE}\tdevice\n'
        if [ ! -e left ]; then sleep 1000 & echo $! > left; fi""")
    left = adb.folder / "left"
    wait_for(lambda: left.exists() and left.read_text(), "the process left behind")
    started = time.monotonic()
    wait_for_usb(menu, READY, timeout=5)
    pid = int(left.read_text())
    assert time.monotonic() - started < 5
    assert alive(pid), "it is none of our business"
    os.kill(pid, signal.SIGKILL)


def test_no_zombie_is_left(menu_with_phone, adb, program):
    wait_for_probes(adb, 2)
    wait_for(lambda: not zombies_of(program.pid), "the end of every zombie")
    assert stays(lambda: len(zombies_of(program.pid)) <= 1, 3), "the one that has just ended"


HANGING = {
    "it sleeps": "exec sleep 1000",
    "it prints without end": "exec yes",
    "it fills standard error": "exec yes >&2",
}


@pytest.mark.slow
@pytest.mark.parametrize("shell", HANGING.values(), ids=HANGING.keys())
def test_a_command_that_hangs_is_ended_after_eight_seconds(menu_with_phone, adb, program, shell):
    resident = resident_mib(program.pid)
    adb.put("devices", shell)
    wait_for_usb(menu_with_phone, NO_PHONE, timeout=25)

    def hung_one():
        listings = [command for command in adb.commands if command.line == DEVICES]
        return next((one for one, following in pairwise(listings) if following.time - one.time > 7.9), None)

    hung = wait_for(hung_one, "a probe that keeps the next one waiting in the queue")
    following = next(command for command in adb.commands if command.time > hung.time)
    assert following.time - hung.time < 9
    wait_for(lambda: hung.pid not in adb.running(), "the end of the command")
    assert resident_mib(program.pid) - resident < allowed_mib(40)

    adb.plug_in()
    wait_for_usb(menu_with_phone, READY, timeout=25)


@pytest.mark.slow
def test_commands_that_ignore_the_request_to_end_do_not_pile_up(menu_with_phone, adb, program):
    adb.put("devices", "trap '' TERM; exec sleep 1000")
    wait_for_usb(menu_with_phone, NO_PHONE, timeout=25)
    listings = len(adb.probes())
    wait_for(lambda: len(adb.probes()) >= listings + 2, "two more that hang", timeout=30)
    assert stays(lambda: len(adb.running()) <= 2, 1), "one that hangs, one that is about to be killed"
    wait_for(lambda: len(adb.running()) == 1, "the end of the one before", timeout=4)
    wait_for(lambda: not zombies_of(program.pid), "the end of every zombie")


def test_quitting_while_a_command_hangs_is_immediate(menu, adb, program):
    adb.put("devices", "trap '' TERM; exec sleep 1000")
    wait_for(adb.running, "a command that hangs")
    hung = adb.running()[0]
    started = time.monotonic()
    menu.row("Quit Orvane").click()
    assert program.process.wait(5) == 0
    assert time.monotonic() - started < 1
    wait_for(lambda: not alive(hung), "the end of the command", timeout=2)


def test_a_probe_costs_the_program_less_than_it_costs_adb(menu_with_phone, adb, program, record_property):
    """Three shell scripts that print a line cost about the least that three programs can."""
    def children_cpu_seconds():
        fields = Path(f"/proc/{program.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[13]) + int(fields[14])) / os.sysconf("SC_CLK_TCK")

    wait_for_probes(adb, 1)
    own, children = cpu_seconds(program.pid), children_cpu_seconds()
    probes = len(wait_for_probes(adb, 5))
    own, children = cpu_seconds(program.pid) - own, children_cpu_seconds() - children
    record_property("own_ms_per_probe", round(own / probes * 1000, 2))
    print(f"CPU time per probe: Orvane {own / probes * 1000:.2f} ms, adb's part {children / probes * 1000:.1f} ms")
    assert own < children + 1 / os.sysconf("SC_CLK_TCK"), "the children's time comes in ticks"


def test_a_model_with_line_breaks_is_one_line_and_plays_no_server(menu, adb):
    record = r"session:\t0\t9223372036854775807\t0\t0\t0\t0\t0\t0\tp\tl\tf\t1\tn"
    adb.put("model", rf"printf 'Pixel\nsessions: 1\n{record}\npairing code: 6666\n'")
    adb.plug_in()
    wait_for(lambda: menu.row("USB:").title.startswith("USB: ready — Pixel sessions: 1 session: 0 92233"), "the tunnel")
    assert menu.row("Pairing code:").title == "Pairing code: …"
    assert not menu.row("Phones:").title.startswith("Phones: 1")
